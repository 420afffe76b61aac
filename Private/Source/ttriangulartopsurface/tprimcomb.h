// tprimcomb - what a top surface is made of: colorants, parts, hidden triangles, values in lists
//
// A part is a sheet over the levels of two colorants, every other one fixed. Its grid is sampled through the callback
// once (Prepare), each cell gives two triangles, and masking leaves of each the pieces that no other sheet hides.
//
//     axis of a colorant   1 = u0 > u1 > .. > full        its distinct levels, 1 put in front when missing
//     grid point (i, j)    index i * (levels of the second) + j
//     cell                 3 --- 2      diagonal 0-2 or 1-3: the one that makes the sheet convex
//                          |     |
//                          0 --- 1      0 = (i, j), 1 = (i + 1, j)
//
// Colours are kept as (V, h1, h2); they are given back in the caller's order.

#ifndef TESKA_TOPSURFACE_TPRIMCOMB_H
#define TESKA_TOPSURFACE_TPRIMCOMB_H

#include "Source/ttriangulartopsurface/gnomonic.h"

#include "tlist.h"

#include <array>
#include <vector>

namespace teska
{

using device_callback = int (*)(void *, const double *, double *);

// The caller's index of V, h1 and h2.
std::array<std::size_t, 3> colour_axes(int vertical);

// Hue of a direction, 0 .. 2 pi, 0 for none; and its distance from the axis, tan(teta).
double hue_of(gnomonic::point p);
double radius_of(gnomonic::point p);

// A sampled colour.
struct grid_point {
    std::array<double, 3> colour;  // V, h1, h2
    gnomonic::point at;
    double q;
    double u, v;  // device values of the two colorants
    bool valid;   // has a direction
};

// V this much below the largest of the part has no direction.
constexpr double darkest_share = 1e-6;

// Asks the callback and fills all but u and v; valid still says only that the colour is finite.
grid_point sample(device_callback callback, void *user, const double *device, int vertical);

// Fills direction and nearness of a valid point brighter than `darkest`; others are not valid.
void sight(grid_point *p, double darkest);

// One piece of a triangle.
struct piece {
    gnomonic::polygon shape;
    int facet;
};

struct grid_facet {
    gnomonic::facet flat;
    std::array<int, 3> vertex;
};

// Keeps what is hidden of what, and drops parts of which too little is seen. 0 or -1.
int mask_and_prune(TList *umbrella);

}  // namespace teska

class TPrimary : public TElement
{
public:
    TPrimary(const double *xyz, int index, int vertAxis);
    TPrimary(const TPrimary &other);  // in no list
    TPrimary &operator=(const TPrimary &) = delete;

    double xyz[3];
    int index;
    int dark;  // 0 in the umbrella, 1 darkening, 2 thrown out
    int vert;
};

class TDumEl : public TElement
{
public:
    explicit TDumEl(double v, double w = 0.0) : value(v), width(w) {}

    double value;  // the index of a colorant, or the start of an interval of hues
    double width;
};

class TMaskedTriangle : public TElement
{
public:
    double xyz[3][3];
    double uv[3][3];
};

class TPrimComb : public TElement
{
public:
    // device holds n values, -1 at the indices of a and b. Everything is copied.
    // Error number 1 with "No memory"; 2 with "Wrong input" or "TPrimCoord: Invalid data". All other calls then give -1
    // with "Bad Initialisation of PrimComb".
    TPrimComb(TPrimary *a, TPrimary *b, const double *device, int n, double *const *levels, const int *counts,
              teska::device_callback callback, void *user, int vertAxis);
    TPrimComb(const TPrimComb &other);  // in no list; throws std::bad_alloc
    TPrimComb &operator=(const TPrimComb &) = delete;

    int ErrNo() const { return error; }

    // Samples the grid and forms the triangles, once. -1 when memory runs out.
    int Prepare();

    int NrVar() const;
    int AddFurther(int colorant);
    int GetDevice(double *dev) const;
    int GetDevCoord(const double *coords, double *dev) const;

    // (-1, -1) when nothing of the part is seen.
    int HueInterval(double *start, double *width);
    double HighestVertical();

    // How this part lies to an older one: 4 the same, 2 beside it, 1 below, 0 above, 3 through it; -10 without points.
    int Compare(TPrimComb *old);
    // After 0: whether the older part may go.
    bool MayReplace() const { return oldRest <= smallest_rest; }

    // 0, or -1 when there is none left.
    int NextTriangle(int first, double (*xyz)[3], double (*uv)[3]);
    int NextMasked(int first, double (*xyz)[3]);

    // The part that starts where a bound of this part and one of the other are the same: two colorants that vary, what
    // is common at the full amount. False: there is none.
    bool SharesBound(const TPrimComb &other, int *a, int *b, double *dev) const;
    // The same where there must be one. -1 with "No Common Bounds!" or, when the two parts do not meet there,
    // "Inconsistent common bound algorithm".
    int CommonBound(const TPrimComb &other, int *a, int *b, double *dev) const;

    // ---- For the surface ----
    bool Uses(int colorant) const { return colorant == first || colorant == second; }
    int First() const { return first; }
    int Second() const { return second; }
    int NrSaturated() const;
    double Full(int colorant) const { return axes[static_cast<std::size_t>(colorant)].back(); }
    const std::vector<double> &Device() const { return device; }
    const std::vector<teska::grid_point> &Points() const { return points; }
    const std::vector<teska::grid_facet> &Facets() const { return facets; }
    const std::vector<teska::piece> &Pieces() const { return visible; }
    double Area() const;
    // The far corner of a triangle of points: the smallest q in a direction. False: no triangle there.
    bool Nearest(teska::gnomonic::point p, double *q, std::vector<int> *found) const;
    // The grid points along the outer bound on which `colorant` varies and the other one is full.
    std::vector<const teska::grid_point *> Bound(int colorant) const;
    // Replaces the pieces; throws std::bad_alloc before anything changed.
    int SetPieces(std::vector<teska::piece> &&seen, const std::vector<teska::piece> &hidden);
    const teska::grid_point &Point(int i, int j) const;
    int Count(int colorant) const { return static_cast<int>(axes[static_cast<std::size_t>(colorant)].size()); }

private:
    static constexpr double smallest_rest = 0.001;

    bool Usable() const;
    bool Accept(const double *dev, double *const *levels, const int *counts);
    void FillGrid();
    void MakeFacets();
    void SplitCell(int i, int j);
    bool AddFacet(int a, int b, int c);
    bool Same(const TPrimComb &old) const;
    bool Beside(const TPrimComb &old);
    int Classify(const TPrimComb &old) const;
    int SetMasked(const std::vector<teska::piece> &hidden);
    const teska::grid_point *Corner(int colorant) const;
    void Describe(const teska::piece &of, int corner, double *xyz, double *uv) const;

    int error;
    int vertical;
    int first, second;  // the two colorants that vary, in ascending order
    std::vector<double> device;
    std::vector<std::vector<double>> axes;
    TList further;  // of TDumEl
    teska::device_callback callback;
    void *user;
    bool prepared;
    double oldRest;
    std::vector<teska::grid_point> points;
    std::vector<teska::grid_facet> facets;
    teska::gnomonic::box_tree tree;
    std::vector<teska::piece> visible;
    TList masked;  // of TMaskedTriangle
    std::size_t cursorPiece;
    int cursorFan;
};

#endif
