// ttriangulartopsurface - the light side of the gamut of a device with several colorants (geometry)
//
// The object owns its lists, level arrays, curves and tables. The constructor finds the umbrella (rings, colorants,
// darkening); what the conversions need of it is prepared at the first one (edge, convert), and a failure there is
// tried again at the next. Colours are taken as (V, h1, h2) at once and given back in the caller's order.
//
// Threads: what is prepared is published by one pointer each, tetaMaxMin and tabVT, set last. A thread that finds them
// does not wait; the others prepare in turn (preparing.h).

#include "ttriangulartopsurface.h"

#include "Source/ttriangulartopsurface/elements.h"
#include "Source/ttriangulartopsurface/preparing.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "interp_double.h"
#include "md_tetrad.h"

#include <algorithm>
#include <new>

using namespace teska;

namespace
{

template <class Element>
bool copy_list(const TList *from, TList *&to)
{
    if (from == nullptr)
        return true;
    to = new (std::nothrow) TList(nullptr);
    if (to == nullptr)
        return false;
    for (const Element &e : elements<Element>(from))
        to->Add(new Element(e), nullptr);
    return true;
}

bool copy_curve(const lin_interp_double *from, lin_interp_double *&to)
{
    if (from == nullptr)
        return true;
    const int count = lin_interp_double_num(from);
    to = lin_interp_double_new(count, nullptr);
    bool room = to != nullptr;
    for (int i = 0; i < count && room; ++i) {
        double x = 0.0, y = 0.0;
        lin_interp_double_getp(from, i, &x, &y);
        room = lin_interp_double_insert(to, x, y) == 0;
    }
    return room;
}

TPrimComb *part_at(const TList *umbrella, int part)
{
    // The list would give its first element for a negative position.
    return umbrella != nullptr && part >= 0 ? static_cast<TPrimComb *>(umbrella->Get(part)) : nullptr;
}

// One step of a scan: asks the part at the cursor, and those after it until one has a triangle.
template <class Ask>
int scan(const TList *umbrella, int first, int &cursor, Ask ask)
{
    if (first != 0)
        cursor = 0;
    bool further = false;
    for (TPrimComb *part = part_at(umbrella, cursor); part != nullptr; part = part_at(umbrella, ++cursor)) {
        if (part->Prepare() != 0)
            return -1;
        // In a part that is met anew the first triangle is next.
        if (ask(*part, further || first != 0) == 0)
            return further ? 1 : 0;
        further = true;
    }
    return -1;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

void TTriangularTopSurface::SetToZero()
{
    errNo = 0;
    primaries = umbrella = darkening = nullptr;
    vertAxis = nrPrims = 0;
    levels = nullptr;
    nrLevels = nullptr;
    userData = nullptr;
    callback = nullptr;
    horAxis1 = horAxis2 = 0;
    VTMax = PosPhiMin = PosDeltaPhi = 0.0;
    nrPhiSteps = nrTetaSteps = 0;
    cursorTriangles = cursorMasked = cursorPrimCombs = 0;
    tetaMax = edgeHeight = tetaMaxMin = nullptr;
    tabVT = tabTetar = nullptr;
}

TTriangularTopSurface::TTriangularTopSurface(int primCount, double const **levelsOf, int const *levelCounts, void *user,
                                             int vertical, int (*convert)(void *, double const *, double *),
                                             int phiSteps, int tetaSteps)
{
    SetToZero();
    if (primCount < 1 || user == nullptr || convert == nullptr || vertical < 0 || vertical > 2 ||
        phiSteps != tetaSteps) {
        TESKA_ERR("Invalid Parameters, nrphisteps and nrtetasteps still need to be the same");
        errNo = 2;
        return;
    }
    vertAxis = vertical;
    userData = user;
    callback = convert;
    nrPhiSteps = phiSteps;
    nrTetaSteps = tetaSteps;
    horAxis1 = vertical == 0 ? 1 : 0;
    horAxis2 = vertical == 2 ? 1 : 2;
    if (CopyLevels(primCount, levelsOf, levelCounts) != 0)
        return;
    if ((DetermineTopUmbrella() != 0 || FindDarkeningPrimaries() != 0) && errNo == 0)
        errNo = 1;
}

// Nothing is kept of levels that cannot be used.
int TTriangularTopSurface::CopyLevels(int primCount, double const *const *levelsOf, int const *levelCounts)
{
    bool usable = levelsOf != nullptr && levelCounts != nullptr;
    for (int i = 0; i < primCount && usable; ++i)
        usable = levelsOf[i] != nullptr && levelCounts[i] >= 2;
    if (!usable) {
        TESKA_ERR("Invalid Parameters");
        errNo = 2;
        return -1;
    }
    const auto count = static_cast<std::size_t>(primCount);
    levels = zeroed_block<double *>(count).release();
    nrLevels = zeroed_block<int>(count).release();
    if (levels == nullptr || nrLevels == nullptr) {
        TESKA_ERR("Not enough memory");
        errNo = 1;
        return -1;
    }
    nrPrims = primCount;
    for (std::size_t i = 0; i < count; ++i) {
        nrLevels[i] = levelCounts[i];
        levels[i] = zeroed_block<double>(static_cast<std::size_t>(nrLevels[i])).release();
        if (levels[i] == nullptr) {
            TESKA_ERR("No Memory");
            errNo = 1;
            return -1;
        }
        std::copy_n(levelsOf[i], nrLevels[i], levels[i]);
    }
    return 0;
}

TTriangularTopSurface::TTriangularTopSurface(TTriangularTopSurface const &other)
{
    SetToZero();
    CopyFrom(other);
}

TTriangularTopSurface &TTriangularTopSurface::operator=(TTriangularTopSurface const &other)
{
    if (this != &other) {
        Release();
        SetToZero();
        CopyFrom(other);
    }
    return *this;
}

TTriangularTopSurface::~TTriangularTopSurface() { Release(); }

void TTriangularTopSurface::Release()
{
    for (const TList *list : {primaries, umbrella, darkening})
        delete list;
    for (int i = 0; i < nrPrims && levels != nullptr; ++i)
        std::free(levels[i]);
    std::free(levels);
    std::free(nrLevels);
    DropEdge();
    md_tetrad_kill(tabVT);
    md_tetrad_kill(tabTetar);
}

int TTriangularTopSurface::CopyFrom(TTriangularTopSurface const &other)
{
    vertAxis = other.vertAxis;
    horAxis1 = other.horAxis1;
    horAxis2 = other.horAxis2;
    userData = other.userData;
    callback = other.callback;
    nrPhiSteps = other.nrPhiSteps;
    nrTetaSteps = other.nrTetaSteps;
    // The copy takes what the other object has prepared, or nothing of it.
    const preparing turn(&other);
    // Without memory for the levels nothing that was made of them is copied either.
    if (other.primaries != nullptr && CopyLevels(other.nrPrims, other.levels, other.nrLevels) != 0)
        return -1;
    errNo = other.errNo;
    VTMax = other.VTMax;
    PosPhiMin = other.PosPhiMin;
    PosDeltaPhi = other.PosDeltaPhi;
    cursorTriangles = other.cursorTriangles;
    cursorMasked = other.cursorMasked;
    cursorPrimCombs = other.cursorPrimCombs;
    const auto lists = [&] {
        return copy_list<TPrimary>(other.primaries, primaries) && copy_list<TPrimComb>(other.umbrella, umbrella) &&
               copy_list<TPrimary>(other.darkening, darkening) && copy_curve(other.tetaMax, tetaMax) &&
               copy_curve(other.edgeHeight, edgeHeight) && copy_curve(other.tetaMaxMin, tetaMaxMin);
    };
    if (!guarded(false, lists)) {
        TESKA_ERR("Not enough memory");
        DropEdge();  // half a curve is none
        errNo = 1;
        return -1;
    }
    return 0;
}

int TTriangularTopSurface::ErrNo() { return errNo; }

// ---- Query ----------------------------------------------------------------------------------------------------------

int TTriangularTopSurface::GetNrDifferentPrimCombs() { return umbrella != nullptr ? umbrella->Count() : 0; }

int TTriangularTopSurface::GetPrimComb(int part, double *device)
{
    const TPrimComb *found = part_at(umbrella, part);
    return found != nullptr ? found->GetDevice(device) : -1;
}

int TTriangularTopSurface::GetNrVarCoordPrimComb(int part)
{
    const TPrimComb *found = part_at(umbrella, part);
    return found != nullptr ? found->NrVar() : -1;
}

int TTriangularTopSurface::ScanDifferentPrimCombs(int first, double *device)
{
    if (first != 0)
        cursorPrimCombs = 0;
    // Kept: -1 says that there is a part, and the cursor moves on where there is none.
    if (GetPrimComb(cursorPrimCombs, device) == 0)
        return -1;
    ++cursorPrimCombs;
    return 0;
}

int TTriangularTopSurface::GetDevCoord(int part, double const *coords, double *device)
{
    const TPrimComb *found = part_at(umbrella, part);
    if (found == nullptr) {
        TESKA_ERR("No such umbrella surface");
        return -1;
    }
    return found->GetDevCoord(coords, device);
}

int TTriangularTopSurface::ScanTriangles(int first, double (*const xyz)[3], double (*const coords)[3])
{
    return scan(umbrella, first, cursorTriangles,
                [=](TPrimComb &part, bool restart) { return part.NextTriangle(restart, xyz, coords); });
}

int TTriangularTopSurface::ScanMaskedTriangles(int first, double (*const xyz)[3])
{
    return scan(umbrella, first, cursorMasked,
                [=](TPrimComb &part, bool restart) { return part.NextMasked(restart, xyz); });
}
