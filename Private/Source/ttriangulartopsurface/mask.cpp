// ttriangulartopsurface/mask - what the parts of an umbrella hide of each other (geometry)
//
// Of each triangle the pieces are cut away that some other triangle hides, of its own part as well. Where two lie at
// one distance the earlier one is seen: earlier are parts with fewer full colorants, then those earlier in the list,
// then the triangles of smaller number. So of two sheets that coincide one stays, and each direction is seen once.
//
// Example: two squares over the same directions, one tilted through the other. Of each a half is seen, and the two
// halves meet in the straight line in which the squares cross.
//
// Cost: n triangles with k overlapping ones each take O(n log n + n k) cuts. No process-wide state.

#include "Source/ttriangulartopsurface/elements.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/report.h"

#include <algorithm>
#include <optional>

using namespace teska;
using gnomonic::polygon;

namespace
{

constexpr double tie = 1e-9;                   // of the larger nearness: within it two triangles are at one distance
constexpr double least_seen = 0.001;           // share of its area below which a part is dropped
constexpr double least_seen_saturated = 0.05;  // for parts with full colorants: less is a bulge of the dark side
constexpr double unseen = 1e-9;
constexpr double to_do = -1.0;  // in place of a share
// Surfaces have a few pieces per triangle. A triangle in thousands of pieces lies in no surface, but in noise.
constexpr std::size_t most_pieces = 2000;

struct seen_part {
    TPrimComb *part;
    bool gone = false;
    double share = to_do;  // of its area that is seen
    indexed<piece> visible;
    indexed<piece> hidden;
    indexed<bool> hiders;  // which parts hide something of it
};

struct seen_facet {
    const gnomonic::facet *flat;
    int part;
};

class masking
{
public:
    explicit masking(const TList &umbrella);
    outcome run();
    // Hands each part what is seen of it and deletes those that are gone. 0 or -1.
    int hand_out(TList &umbrella);

private:
    outcome mask(seen_part &part, int number);
    outcome mask_facet(std::size_t at, int number, seen_part &of);
    bool drop();
    [[nodiscard]] static bool is_due(const seen_part &p);

    indexed<seen_part> parts_;    // in the order in which the earlier one is seen
    indexed<seen_facet> facets_;  // of all parts, in the same order
    gnomonic::box_tree tree_;
    indexed<int> found_;
    indexed<polygon> pieces_, rest_;
};

masking::masking(const TList &umbrella)
{
    for (TPrimComb &part : elements<TPrimComb>(&umbrella)) {
        parts_.emplace_back();
        parts_.back().part = &part;
    }
    std::stable_sort(parts_.begin(), parts_.end(), [](const seen_part &a, const seen_part &b) {
        return a.part->NrSaturated() < b.part->NrSaturated();
    });
    indexed<gnomonic::box> boxes;
    for (std::size_t k = 0; k < parts_.size(); ++k) {
        for (const grid_facet &f : parts_[k].part->Facets()) {
            facets_.push_back({&f.flat, static_cast<int>(k)});
            boxes.push_back(f.flat.bounds);
        }
    }
    tree_.build(boxes);
}

// One triangle: `at` among all, `number` in its part.
outcome masking::mask_facet(std::size_t at, int number, seen_part &of)
{
    const gnomonic::facet &under = *facets_[at].flat;
    pieces_.assign(1, under.shape());
    tree_.find(under.bounds, found_);
    for (const int i : found_) {
        const auto other = static_cast<std::size_t>(i);
        if (other == at || parts_[facets_[other].part].gone)
            continue;
        const gnomonic::facet &over = *facets_[other].flat;
        const double lead = tie * std::max(under.qmax, over.qmax);
        // What the other triangle hides moves to the hidden pieces; the rest of each piece goes on.
        rest_.clear();
        for (const polygon &shape : pieces_) {
            const polygon hidden = hidden_piece(shape, under, over, other < at ? lead : -lead);
            if (hidden.empty()) {
                rest_.push_back(shape);
                continue;
            }
            of.hidden.push_back({hidden, number});
            of.hiders[facets_[other].part] = true;
            subtract(shape, hidden, rest_);
        }
        pieces_.swap(rest_);
        if (pieces_.size() > most_pieces)
            return outcome::no_end;
        if (pieces_.empty())
            break;
    }
    for (const polygon &shape : pieces_)
        of.visible.push_back({shape, number});
    return outcome::done;
}

outcome masking::mask(seen_part &part, int number)
{
    part.visible.clear();
    part.hidden.clear();
    part.hiders.assign(parts_.size(), false);
    int facet = 0;
    for (std::size_t at = 0; at < facets_.size(); ++at) {
        if (facets_[at].part != number)
            continue;
        const outcome given = mask_facet(at, facet++, part);
        if (given != outcome::done)
            return given;
    }
    double area = 0.0;
    for (const piece &p : part.visible)
        area += p.shape.area();
    part.share = facet > 0 ? area / part.part->Area() : 0.0;
    return outcome::done;
}

bool masking::is_due(const seen_part &p)
{
    return !p.gone && p.share < (p.part->NrSaturated() > 0 ? least_seen_saturated : least_seen);
}

// The least visible of the parts of which too little is seen, and all that are not seen at all: others hide them, with
// or without those that go. False: none.
bool masking::drop()
{
    auto least = parts_.end();
    auto left = std::count_if(parts_.begin(), parts_.end(), [](const seen_part &p) { return !p.gone; });
    for (auto p = parts_.begin(); p != parts_.end(); ++p)
        if (is_due(*p) && (least == parts_.end() || p->share < least->share))
            least = p;
    if (least == parts_.end() || left < 2)
        return false;
    indexed<bool> going(parts_.size(), false);
    for (auto p = parts_.begin(); p != parts_.end() && left > 1; ++p) {
        if (p != least && !(is_due(*p) && p->share < unseen))
            continue;
        p->gone = true;
        going[p - parts_.begin()] = true;
        --left;
    }
    // Whatever they hid a piece of is to be looked at again.
    for (seen_part &p : parts_)
        for (std::size_t k = 0; k < parts_.size(); ++k)
            if (going[k] && p.hiders[k])
                p.share = to_do;
    return true;
}

outcome masking::run()
{
    do {
        for (std::size_t k = 0; k < parts_.size(); ++k) {
            if (parts_[k].gone || parts_[k].share != to_do)
                continue;
            const outcome given = mask(parts_[k], static_cast<int>(k));
            if (given != outcome::done)
                return given;
        }
    } while (drop());
    return outcome::done;
}

int masking::hand_out(TList &umbrella)
{
    for (seen_part &p : parts_)
        if (!p.gone && p.part->SetPieces(std::move(p.visible), p.hidden) != 0)
            return -1;
    for (const seen_part &p : parts_) {
        if (!p.gone)
            continue;
        umbrella.Subtract(p.part);
        delete p.part;
    }
    return 0;
}

}  // namespace

namespace teska
{

int mask_and_prune(TList &umbrella)
{
    if (umbrella.First() == nullptr)
        return 0;
    std::optional<masking> work;
    const outcome given = guarded(outcome::no_memory, [&] {
        work.emplace(umbrella);
        return work->run();
    });
    if (given == outcome::no_memory)
        TESKA_ERR("No more memory");
    if (given == outcome::no_end)
        TESKA_ERR("Algorithm does not converge");
    return given == outcome::done ? work->hand_out(umbrella) : -1;
}

}  // namespace teska
