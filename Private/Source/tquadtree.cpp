// tquadtree - class TQuadTree: points and boxes in the plane, found by place (geometry)
//
// Two trees of the same kind, one of points and one of boxes that are none (tquadtree/tree.h): a point then takes half
// the room, and few callers have both. A query asks one after the other and carries on what it has found. Entries are
// numbered in the order of insertion, over both trees, which decides between equal distances.
//
// No process-wide state.

#include "tquadtree.h"

#include "Source/tquadtree/search.h"
#include "Source/tquadtree/tree.h"
#include "Support/memory.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

using teska::quad::place;

struct tQuadStore {
    teska::quad::tree<2> points;
    teska::quad::tree<4> boxes;
    std::uint64_t inserted = 0;  // entries ever, and the next number
    int count = 0;
};

namespace
{

constexpr double largest_coordinate = 1e150;

// Negated comparisons would let NaN in.
bool legal(const TQuadBox &box)
{
    return box.x0 >= -largest_coordinate && box.x0 <= box.x1 && box.x1 <= largest_coordinate &&
           box.y0 >= -largest_coordinate && box.y0 <= box.y1 && box.y1 <= largest_coordinate;
}

bool is_point(const TQuadBox &box) { return box.x0 == box.x1 && box.y0 == box.y1; }

bool legal(place from, double reach) { return !std::isnan(from.x) && !std::isnan(from.y) && reach >= 0.0; }

// Visits what a shape meets, points first. Returns how often.
template <class Shape>
int visit_both(const tQuadStore *store, const Shape &shape, TQuadVisit visit, void *context)
{
    teska::quad::visitor caller{.visit = visit, .context = context, .visits = 0};
    if (store != nullptr && visit_met(store->points, shape, caller))
        visit_met(store->boxes, shape, caller);
    return caller.visits;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

TQuadTree::TQuadTree() : store(nullptr) {}

TQuadTree::~TQuadTree() { Clear(); }

// ---- Change ---------------------------------------------------------------------------------------------------------

int TQuadTree::Insert(double x, double y, void *item) { return Insert(TQuadBox{x, y, x, y}, item); }

int TQuadTree::Insert(TQuadBox const &box, void *item)
{
    if (!legal(box) || Count() == INT_MAX)
        return -1;
    if (store == nullptr)
        store = teska::make_record<tQuadStore>().release();
    if (store == nullptr)
        return -1;
    const teska::quad::entry added{.number = store->inserted, .item = item};
    if (!(is_point(box) ? store->points.insert(box, added) : store->boxes.insert(box, added)))
        return -1;
    ++store->inserted;
    ++store->count;
    return 0;
}

int TQuadTree::Remove(double x, double y, void *item) { return Remove(TQuadBox{x, y, x, y}, item); }

int TQuadTree::Remove(TQuadBox const &box, void *item)
{
    if (store == nullptr || !legal(box))
        return -1;
    if (!(is_point(box) ? store->points.remove(box, item) : store->boxes.remove(box, item)))
        return -1;
    --store->count;
    return 0;
}

void TQuadTree::Clear()
{
    teska::kill_record(store);
    store = nullptr;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int TQuadTree::Count() const { return store != nullptr ? store->count : 0; }

int TQuadTree::Bounds(TQuadBox *box) const
{
    if (Count() == 0)
        return 0;
    *box = teska::quad::joined(store->points.bounds(), store->boxes.bounds());
    return 1;
}

int TQuadTree::Nearest(double x, double y, double reach, TQuadHit *hit) const { return Nearest(x, y, reach, 1, hit); }

int TQuadTree::Nearest(double x, double y, double reach, int k, TQuadHit *hits) const
{
    const place from{x, y};
    if (store == nullptr || k < 1 || !legal(from, reach))
        return 0;
    teska::quad::nearest_hits found(hits, k, teska::quad::largest_square(reach));
    offer_nearest(store->points, from, found);
    offer_nearest(store->boxes, from, found);
    return found.finish();
}

int TQuadTree::InBox(TQuadBox const &box, TQuadVisit visit, void *context) const
{
    if (!(box.x0 <= box.x1 && box.y0 <= box.y1))
        return 0;
    return visit_both(store, teska::quad::window{box}, visit, context);
}

int TQuadTree::InCircle(double x, double y, double radius, TQuadVisit visit, void *context) const
{
    const place from{x, y};
    if (!legal(from, radius))
        return 0;
    return visit_both(store, teska::quad::disc{from, teska::quad::largest_square(radius)}, visit, context);
}

int TQuadTree::Walk(TQuadVisit visit, void *context) const
{
    constexpr double endless = std::numeric_limits<double>::infinity();
    return visit_both(store, teska::quad::window{{-endless, -endless, endless, endless}}, visit, context);
}
