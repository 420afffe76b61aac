// tree - how the quadtree changes

#include "tree.h"

namespace teska::quad
{

namespace
{

constexpr int most_in_leaf = 8;
constexpr int merged = 4;  // children with so many entries in all become one leaf, which then has one block

int side_of(place middle, place p) noexcept { return (p.x >= middle.x ? 1 : 0) + (p.y >= middle.y ? 2 : 0); }

bool same(place a, place b) noexcept { return a.x == b.x && a.y == b.y; }

// The places between which all centres are.
struct span_of_places {
    place low;
    place high;

    void add(place p) noexcept
    {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
};

}  // namespace

// ---- Nodes ----------------------------------------------------------------------------------------------------------

template <int coordinates>
int tree<coordinates>::child(int node, place centre) const noexcept
{
    return first_child(node) + side_of(children(node).middle, centre);
}

// A record with four empty leaves.
template <int coordinates>
int tree<coordinates>::new_quad(int parent, const cell &extent) noexcept
{
    const int number = quads_.take();
    quad_node &made = quads_[number];
    for (int i = 0; i < 4; ++i) {
        made.bounds.set(i, no_box);
        made.link[i] = none;
        made.count[i] = 0;
    }
    made.middle = extent.middle();
    made.extent = extent;
    made.parent = parent;
    made.height = 1;
    return number;
}

// Makes room for whatever one insertion takes, and the root.
template <int coordinates>
bool tree<coordinates>::prepare() noexcept
{
    // The root and a quad; a block of each child while the blocks of a leaf are not yet empty, and one for the entry.
    if (!quads_.reserve(2) || !blocks_.reserve(5))
        return false;
    if (!made_)
        static_cast<void>(new_quad(none, {}));
    made_ = true;
    return true;
}

// Says what a node is, and its children where it is.
template <int coordinates>
void tree<coordinates>::place_node(int node, int link, int count) noexcept
{
    this->link(node) = link;
    this->count(node) = count;
    if (count == divided)
        quads_[link].parent = node;
}

// Renews the heights above a node of which the height has changed.
template <int coordinates>
void tree<coordinates>::settle_heights(int node) noexcept
{
    for (int number = node / 4; number != 0; number = quads_[number].parent / 4) {
        int highest = 0;
        for (int i = 0; i < 4; ++i)
            highest = std::max(highest, height(4 * number + i));
        if (quads_[number].height == highest + 1)
            return;
        quads_[number].height = highest + 1;
    }
}

// ---- Insertion ------------------------------------------------------------------------------------------------------

// A divided node whose extent does not hold a centre becomes a child of a new quad, which does.
template <int coordinates>
void tree<coordinates>::raise(int node, place centre) noexcept
{
    const int former = link(node);
    const cell extent = quads_[former].extent;
    const int above = new_quad(node, common_cell(extent, centre));
    const int lowered = 4 * above + side_of(quads_[above].middle, extent.low);
    place_node(lowered, former, divided);
    set_bounds(lowered, bounds(node));
    quads_[above].height = quads_[former].height + 1;
    place_node(node, above, divided);
    settle_heights(node);
}

// A leaf that is full for one centre more becomes a quad with its entries in the children, at least two of which will
// have some. False when all have the same centre.
template <int coordinates>
bool tree<coordinates>::divide(int leaf, place centre) noexcept
{
    // Of a long chain with one centre only the first entry is looked at.
    if (count(leaf) > most_in_leaf && same(centre_of(blocks_[link(leaf)].shapes.box(0)), centre))
        return false;
    span_of_places centres{.low = centre, .high = centre};
    each_block(leaf, [&](const block &b, int held) {
        for (int i = 0; i < held; ++i)
            centres.add(centre_of(b.shapes.box(i)));
        return true;
    });
    if (same(centres.low, centres.high))
        return false;
    const int number = new_quad(leaf, common_cell(centres.low, centres.high));
    // The leaf's chain hangs on the unused part of quad 0 while it is emptied.
    constexpr int emptied = root + 1;
    place_node(emptied, link(leaf), count(leaf));
    place_node(leaf, number, divided);
    while (count(emptied) > 0) {
        TQuadBox box;
        const entry moved = drop_last(emptied, box);
        const int into = child(leaf, centre_of(box));
        append(into, box, moved);
        widen(into, box);
    }
    settle_heights(leaf);
    return true;
}

template <int coordinates>
void tree<coordinates>::append(int leaf, const TQuadBox &box, const entry &added) noexcept
{
    const int at = count(leaf) % 4;
    if (at == 0) {
        const int number = blocks_.take();
        blocks_[number] = {};
        blocks_[number].next = link(leaf);
        link(leaf) = number;
    }
    block &first = blocks_[link(leaf)];
    first.shapes.set(at, box);
    first.entries[at] = added;
    ++count(leaf);
}

template <int coordinates>
bool tree<coordinates>::insert(const TQuadBox &box, const entry &added) noexcept
{
    if (!prepare())
        return false;
    const place centre = centre_of(box);
    int node = root;
    int level = 0;
    for (; is_divided(node); node = child(node, centre), ++level) {
        quad_node &below = quads_[link(node)];
        if (!below.extent.holds(centre)) {
            if (level + 1 + below.height <= max_levels)
                raise(node, centre);
            else
                below.extent = common_cell(below.extent, centre);
        }
        widen(node, box);
    }
    widen(node, box);
    if (count(node) >= most_in_leaf && level < max_levels && divide(node, centre)) {
        node = child(node, centre);
        widen(node, box);
    }
    append(node, box, added);
    return true;
}

// ---- Removal --------------------------------------------------------------------------------------------------------

// Takes out the entry that is last in the first block.
template <int coordinates>
entry tree<coordinates>::drop_last(int leaf, TQuadBox &box) noexcept
{
    const int number = link(leaf);
    const int at = --count(leaf) % 4;
    const block &first = blocks_[number];
    box = first.shapes.box(at);
    const entry last = first.entries[at];
    if (at == 0) {
        link(leaf) = first.next;
        blocks_.give_back(number);
    }
    return last;
}

template <int coordinates>
auto tree<coordinates>::find(int leaf, const TQuadBox &box, const void *item) const noexcept -> position
{
    position found{none, 0};
    int left = count(leaf);
    for (int number = link(leaf); left > 0; number = blocks_[number].next) {
        const int held = (left - 1) % 4 + 1;
        left -= held;
        for (int i = 0; i < held; ++i) {
            const block &b = blocks_[number];
            const bool earlier =
                found.block == none || b.entries[i].number < blocks_[found.block].entries[found.at].number;
            if (b.entries[i].item == item && earlier && equal(b.shapes.box(i), box))
                found = {number, i};
        }
    }
    return found;
}

template <int coordinates>
TQuadBox tree<coordinates>::bounds_of_entries(int leaf) const noexcept
{
    TQuadBox all = no_box;
    each_block(leaf, [&](const block &b, int held) {
        for (int i = 0; i < held; ++i)
            all = joined(all, b.shapes.box(i));
        return true;
    });
    return all;
}

// Children that are too few become part of the node above them: those with four entries in all one leaf, an only one
// with entries what it is. Nothing is allocated.
template <int coordinates>
bool tree<coordinates>::collapse(int quad) noexcept
{
    const quad_node &former = quads_[quad];
    int occupied = 0;
    int kept = 0;
    int entries = 0;
    for (int i = 3; i >= 0; --i) {
        if (former.count[i] == 0)
            continue;
        ++occupied;
        kept = i;
        entries += is_divided(4 * quad + i) ? merged + 1 : std::min(former.count[i], merged + 1);
    }
    if (occupied > 1 && entries > merged)
        return false;
    const int above = former.parent;
    place_node(above, former.link[kept], former.count[kept]);
    // The block that is kept has room for the entries of the others.
    for (int i = kept + 1; i < 4; ++i)
        while (count(4 * quad + i) > 0) {
            TQuadBox box;
            const entry moved = drop_last(4 * quad + i, box);
            append(above, box, moved);
        }
    quads_.give_back(quad);
    settle_heights(above);
    return true;
}

// Renews bounds from a leaf upwards until they stay the same.
template <int coordinates>
void tree<coordinates>::renew_above(int leaf) noexcept
{
    TQuadBox renewed = bounds_of_entries(leaf);
    bool changed = !equal(renewed, bounds(leaf));
    set_bounds(leaf, renewed);
    for (int node = leaf; node != root;) {
        const int quad = node / 4;
        renewed = no_box;
        for (int i = 0; i < 4; ++i)
            renewed = joined(renewed, quads_[quad].bounds.box(i));
        node = quads_[quad].parent;
        const bool collapsed = collapse(quad);
        if (!collapsed && !changed)
            return;
        changed = !equal(renewed, bounds(node));
        set_bounds(node, renewed);
    }
}

template <int coordinates>
bool tree<coordinates>::remove(const TQuadBox &box, const void *item) noexcept
{
    if (!made_)
        return false;
    int leaf = root;
    while (is_divided(leaf))
        leaf = child(leaf, centre_of(box));
    const position found = find(leaf, box, item);
    if (found.block == none)
        return false;
    TQuadBox last_box;
    // The last one takes its place, unless it is the last one itself, whose block may be gone.
    const bool is_last = found.block == link(leaf) && found.at == (count(leaf) - 1) % 4;
    const entry last = drop_last(leaf, last_box);
    if (!is_last) {
        blocks_[found.block].shapes.set(found.at, last_box);
        blocks_[found.block].entries[found.at] = last;
    }
    renew_above(leaf);
    return true;
}

template class tree<2>;
template class tree<4>;

}  // namespace teska::quad
