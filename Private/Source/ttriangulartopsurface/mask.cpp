// ttriangulartopsurface/mask - what the parts of an umbrella hide of each other (geometry)
//
// Of each triangle the pieces are cut away that some other triangle hides, of its own part as well. Where two lie at
// one distance the earlier one is seen: earlier are parts with fewer full colorants, then those that stand earlier in
// the list, then the triangles of smaller number. So of two sheets that coincide one stays, and each direction is seen
// once.
//
// Example: two squares over the same directions, one tilted through the other. Of each a half is seen, and the two
// halves meet in the straight line in which the squares cross.
//
// Cost: n triangles with k overlapping ones each take O(n log n + n k) cuts. No process-wide state.

#include "Source/ttriangulartopsurface/guard.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/report.h"

#include <algorithm>

using teska::grid_facet;
using teska::piece;
using teska::gnomonic::polygon;

namespace
{

constexpr double tie = 1e-9;                   // of the larger nearness: within it two triangles are at one distance
constexpr double least_seen = 0.001;           // share of its area below which a part is dropped
constexpr double least_seen_saturated = 0.05;  // for parts with full colorants: less is a bulge of the dark side
constexpr double unseen = 1e-9;
// Surfaces have a few pieces per triangle. A triangle in thousands of pieces lies in no surface, but in noise.
constexpr std::size_t most_pieces = 2000;

enum class answer { done, no_memory, no_end };

struct seen_part {
    TPrimComb *part;
    bool gone = false;
    double share = 1.0;
    std::vector<piece> visible;
    std::vector<piece> hidden;
    std::vector<bool> hiders;  // which parts hide something of it
};

struct seen_facet {
    const teska::gnomonic::facet *flat;
    int part;
};

class Masking
{
public:
    explicit Masking(const TList &umbrella);
    answer run();
    // Hands out what is seen and deletes what is not. 0 or -1.
    int settle(TList *umbrella);

private:
    answer mask(std::size_t part);
    answer mask_facet(std::size_t at, int number, seen_part *of);
    bool drop();
    bool is_due(const seen_part &p) const;

    std::vector<seen_part> parts;    // in the order in which the earlier one is seen
    std::vector<seen_facet> facets;  // of all parts, in the same order
    teska::gnomonic::box_tree tree;
    std::vector<int> found;
    std::vector<polygon> pieces, rest;
};

Masking::Masking(const TList &umbrella)
{
    for (TElement *e = umbrella.First(); e != nullptr; e = e->Next()) {
        parts.emplace_back();
        parts.back().part = static_cast<TPrimComb *>(e);
    }
    std::stable_sort(parts.begin(), parts.end(), [](const seen_part &a, const seen_part &b) {
        return a.part->NrSaturated() < b.part->NrSaturated();
    });
    std::vector<teska::gnomonic::box> boxes;
    for (std::size_t k = 0; k < parts.size(); ++k) {
        for (const grid_facet &f : parts[k].part->Facets()) {
            facets.push_back({&f.flat, static_cast<int>(k)});
            boxes.push_back(f.flat.bounds);
        }
        parts[k].hiders.assign(parts.size(), true);
    }
    tree.build(boxes);
}

// One triangle: `at` among all, `number` in its part.
answer Masking::mask_facet(std::size_t at, int number, seen_part *of)
{
    const teska::gnomonic::facet &under = *facets[at].flat;
    pieces.assign(1, under.shape());
    tree.find(under.bounds, &found);
    for (const int i : found) {
        const auto other = static_cast<std::size_t>(i);
        if (other == at || parts[static_cast<std::size_t>(facets[other].part)].gone)
            continue;
        const teska::gnomonic::facet &over = *facets[other].flat;
        const double lead = tie * std::max(under.qmax, over.qmax);
        rest.clear();
        for (const polygon &shape : pieces) {
            const polygon hidden = hidden_piece(shape, under, over, other < at ? lead : -lead);
            if (hidden.empty()) {
                rest.push_back(shape);
                continue;
            }
            of->hidden.push_back({hidden, number});
            of->hiders[static_cast<std::size_t>(facets[other].part)] = true;
            subtract(shape, hidden, &rest);
        }
        pieces.swap(rest);
        if (pieces.size() > most_pieces)
            return answer::no_end;
        if (pieces.empty())
            break;
    }
    for (const polygon &shape : pieces)
        of->visible.push_back({shape, number});
    return answer::done;
}

answer Masking::mask(std::size_t part)
{
    seen_part &of = parts[part];
    of.visible.clear();
    of.hidden.clear();
    of.hiders.assign(parts.size(), false);
    int number = 0;
    for (std::size_t at = 0; at < facets.size(); ++at) {
        if (facets[at].part != static_cast<int>(part))
            continue;
        const answer given = mask_facet(at, number++, &of);
        if (given != answer::done)
            return given;
    }
    double area = 0.0;
    for (const piece &p : of.visible)
        area += p.shape.area();
    of.share = number > 0 ? area / of.part->Area() : 0.0;
    return answer::done;
}

bool Masking::is_due(const seen_part &p) const
{
    return !p.gone && p.share < (p.part->NrSaturated() > 0 ? least_seen_saturated : least_seen);
}

// The least visible of the parts of which too little is seen, and all that are not seen at all: others hide them, with
// or without those that go. False: none.
bool Masking::drop()
{
    std::vector<bool> going(parts.size(), false);
    auto least = parts.end();
    auto left = std::count_if(parts.begin(), parts.end(), [](const seen_part &p) { return !p.gone; });
    for (auto p = parts.begin(); p != parts.end(); ++p)
        if (is_due(*p) && (least == parts.end() || p->share < least->share))
            least = p;
    if (least == parts.end() || left < 2)
        return false;
    for (auto p = parts.begin(); p != parts.end() && left > 1; ++p) {
        if (p != least && !(is_due(*p) && p->share < unseen))
            continue;
        p->gone = true;
        going[static_cast<std::size_t>(p - parts.begin())] = true;
        --left;
    }
    for (seen_part &p : parts)  // what they hid is to be looked at again: a share of -1 says so
        for (std::size_t k = 0; k < parts.size(); ++k)
            if (going[k] && p.hiders[k])
                p.share = -1.0;
    return true;
}

answer Masking::run()
{
    for (seen_part &p : parts)
        p.share = -1.0;
    do {
        for (std::size_t k = 0; k < parts.size(); ++k) {
            if (parts[k].gone || parts[k].share >= 0.0)
                continue;
            const answer given = mask(k);
            if (given != answer::done)
                return given;
        }
    } while (drop());
    return answer::done;
}

int Masking::settle(TList *umbrella)
{
    for (seen_part &p : parts) {
        if (!p.gone && p.part->SetPieces(std::move(p.visible), p.hidden) != 0)
            return -1;
    }
    for (const seen_part &p : parts) {
        if (!p.gone)
            continue;
        umbrella->Subtract(p.part);
        delete p.part;
    }
    return 0;
}

}  // namespace

namespace teska
{

int mask_and_prune(TList *umbrella)
{
    if (umbrella->First() == nullptr)
        return 0;
    std::vector<Masking> work;
    const answer given = guarded(answer::no_memory, [&] {
        work.reserve(1);
        work.emplace_back(*umbrella);
        return work.front().run();
    });
    if (given == answer::no_memory)
        TESKA_ERR("No more memory");
    if (given == answer::no_end)
        TESKA_ERR("Algorithm does not converge");
    return given == answer::done ? work.front().settle(umbrella) : -1;
}

}  // namespace teska
