// flood - fills a connected region of an image that only the caller sees (image)
//
// A shadow is a span of a row that a filled run of the row above or below, its parent row, leads to:
//
//     parent row      . . # # # # # # . .      run
//     row             . .[? ? ? ? ? ?]. .      shadow: pixels to be tested
//
// The shadows of one row are filled together, by ascending left end. A run found in a shadow casts one of the same
// width on the row beyond, and one on the parent row for each end that reaches beyond its shadow: what lay above the
// shadow is filled already, and the pixel beside it ended the run there. So the back pieces leave out two pixels:
//
//     parent row     [? ?] x # # # # x [?]     x outside
//     row             # # # # # # # # # #      run
//                           |shadow|
//
// Where a run goes on into a later shadow T of its row, the fill has gone round an obstacle and meets itself. T's
// pixels need no second test, and the run has just cast a shadow Q on T's parent row: of Q only what reaches beyond T
// remains, of T what reaches beyond Q. A T that ends before the run begins is not met: what Q would be widened to there
// may be reached from the region through a corner only.
//
// The pending shadows wait in a list, newest first. Selecting the row of the first one takes its shadows out; the
// others are pushed back, which reverses them. This order is part of the contract: it shows in the order of the calls.
//
// Nothing is pushed back here: either end of the list may be its head, and selecting a row changes ends. Each row has a
// list of its own shadows too, in the same order, so they are found without a walk past the others. The rows are a
// chain from the topmost to the lowest, since a run leads to its neighbours only. A shadow that becomes invalid stays
// where it is until the next selection, as overlaps are looked for among the invalid ones too.
//
// Columns are calculated in 64 bits and rows end at those of int, so nothing overflows at the edges of the plane. O(1)
// for a shadow, but for its place in its row. No process-wide state.

#include "flood.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <climits>
#include <cstdint>
#include <utility>

namespace
{

constexpr int above = 0;  // directions from a row to the next
constexpr int below = 1;

struct row;

struct shadow {
    shadow *in_row[2];      // neighbours among the pending ones of its row, toward either end
    shadow *in_pending[2];  // and among all pending ones
    shadow *next;           // in a chain
    row *of;
    int left;
    int right;
    int parent;  // the row whose run cast it
    bool valid;
};

// A list of pending shadows; either end may be its head.
template <shadow *(shadow::*links)[2]>
struct two_ended {
    shadow *ends[2] = {};

    void push(int end, shadow *s)
    {
        shadow *const before = std::exchange(ends[end], s);
        (s->*links)[end] = nullptr;
        (s->*links)[1 - end] = before;
        (before != nullptr ? (before->*links)[end] : ends[1 - end]) = s;
    }

    void remove(const shadow *s)
    {
        for (const int end : {0, 1}) {
            shadow *const beside = (s->*links)[end];
            (beside != nullptr ? (beside->*links)[1 - end] : ends[end]) = (s->*links)[1 - end];
        }
    }
};

struct row {
    row *beside[2] = {};  // above and below; null until a shadow falls there
    two_ended<&shadow::in_row> pending;
    int y = 0;
};

// Shadows one after the other.
struct chain {
    shadow *head = nullptr;

    void push(shadow *s) { s->next = std::exchange(head, s); }

    shadow *pop() { return head != nullptr ? std::exchange(head, head->next) : nullptr; }
};

// Filled pixels of the current row, and the columns beside them.
struct run {
    std::int64_t left;
    std::int64_t right;
};

}  // namespace

// Between fills there are no rows and no shadows.
struct flood {
    flood_inside inside = nullptr;
    flood_fill fill = nullptr;
    row *current = nullptr;                  // whose shadows are being filled
    int head = 0;                            // the end of all pending lists where the newest are
    two_ended<&shadow::in_pending> pending;  // of all rows
    chain invalid;                           // pending ones
    chain row_list;                          // of the current row, by ascending left end
    chain free_list;                         // to be used again
    void *user = nullptr;
};

namespace
{

row *make_row(int y)
{
    auto r = teska::make_record<row>();
    if (r)
        r->y = y;
    return r.release();
}

// A pending shadow on row r; false, reported, without memory, which the row may have lacked already.
bool make_shadow(flood &f, row *r, std::int64_t left, std::int64_t right, int parent)
{
    shadow *s = r != nullptr ? f.free_list.pop() : nullptr;
    if (s == nullptr && r != nullptr)
        s = static_cast<shadow *>(std::malloc(sizeof(shadow)));
    if (s == nullptr) {
        TESKA_ERR("new_shdw: malloc failure");
        return false;
    }
    *s = {.in_row = {},
          .in_pending = {},
          .next = nullptr,
          .of = r,
          .left = static_cast<int>(left),
          .right = static_cast<int>(right),
          .parent = parent,
          .valid = true};
    r->pending.push(f.head, s);
    f.pending.push(f.head, s);
    return true;
}

// Casts a shadow from the current row on the one above or below. There is nothing beyond the last rows.
void cast(flood &f, std::int64_t left, std::int64_t right, int direction)
{
    row &from = *f.current;
    if (from.y == (direction == above ? INT_MIN : INT_MAX))
        return;
    row *&to = from.beside[direction];
    if (to == nullptr) {
        to = make_row(direction == above ? from.y - 1 : from.y + 1);
        if (to != nullptr)
            to->beside[1 - direction] = &from;
    }
    make_shadow(f, to, left, right, from.y);
}

// Before the first whose left end is not smaller; mostly right after the last one that was inserted.
void insert_in_row(chain &row_list, shadow *last, shadow *s)
{
    shadow **link = last != nullptr && last->left < s->left ? &last->next : &row_list.head;
    while (*link != nullptr && (*link)->left < s->left)
        link = &(*link)->next;
    s->next = std::exchange(*link, s);
}

// Takes the shadows of one row, that of the first valid one, out of the pending ones; reverses the others.
void select_row(flood &f)
{
    while (shadow *s = f.invalid.pop()) {
        s->of->pending.remove(s);
        f.pending.remove(s);
        f.free_list.push(s);
    }
    if (f.pending.ends[f.head] == nullptr)
        return;
    f.current = f.pending.ends[f.head]->of;
    shadow *s = f.current->pending.ends[f.head];
    for (shadow *last = nullptr; s != nullptr; last = s, s = s->in_row[1 - f.head]) {
        f.pending.remove(s);
        insert_in_row(f.row_list, last, s);
    }
    f.current->pending = {};
    f.head = 1 - f.head;
}

// A run went on into the later shadow t.
void remove_overlap(flood &f, shadow &t)
{
    const int direction = t.parent > f.current->y ? below : above;
    const row *const parent = f.current->beside[direction];
    shadow *const q = parent != nullptr ? parent->pending.ends[f.head] : nullptr;
    if (q == nullptr) {
        TESKA_ERR("remove_overlap: algorithm failure");
        return;
    }
    const std::int64_t left = q->left;
    const std::int64_t right = q->right;
    if (left < std::int64_t{t.left} - 1)
        cast(f, left, std::int64_t{t.left} - 2, direction);
    if (right > std::int64_t{t.right} + 1)
        cast(f, std::int64_t{t.right} + 2, right, direction);
    if (std::exchange(q->valid, false))
        f.invalid.push(q);
    if (t.right <= right + 1)
        t.valid = false;
    else
        t.left = static_cast<int>(right + 2);
}

// The shadows of a run that was found in the shadow p.
void cast_shadows(flood &f, const run &r, const shadow &p)
{
    const int y = f.current->y;
    const int away = y >= p.parent ? below : above;
    cast(f, r.left, r.right, away);
    if (y == p.parent) {
        cast(f, r.left, r.right, 1 - away);
    } else {
        if (r.left < std::int64_t{p.left} - 1)
            cast(f, r.left, std::int64_t{p.left} - 2, 1 - away);
        if (r.right > std::int64_t{p.right} + 1)
            cast(f, std::int64_t{p.right} + 2, r.right, 1 - away);
    }
    for (shadow *t = f.row_list.head; t != nullptr && t->left <= r.right; t = t->next)
        if (t->valid && t->right >= r.left)
            remove_overlap(f, *t);
}

void fill_shadow(flood &f, const shadow &s)
{
    const flood_inside inside = f.inside;
    void *const user = f.user;
    const int y = f.current->y;
    for (std::int64_t x = s.left; x <= s.right; ++x) {
        if (inside(user, static_cast<int>(x), y) == 0)
            continue;
        std::int64_t start = x;
        if (x == s.left)
            while (start > INT_MIN && inside(user, static_cast<int>(start - 1), y) != 0)
                --start;
        do
            ++x;
        while (x <= INT_MAX && inside(user, static_cast<int>(x), y) != 0);
        f.fill(user, static_cast<int>(start), static_cast<int>(x - 1), y);
        cast_shadows(f, {.left = start, .right = x - 1}, s);
    }
}

void give_back(flood &f)
{
    while (shadow *s = f.free_list.pop())
        std::free(s);
    if (f.current != nullptr)
        for (const int direction : {above, below})
            for (row *r = f.current->beside[direction]; r != nullptr;)
                std::free(std::exchange(r, r->beside[direction]));
    std::free(std::exchange(f.current, nullptr));
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

flood *flood_new(flood_inside inside, flood_fill fill) TESKA_NOTHROW
{
    auto record = teska::make_record<flood>();
    if (!record) {
        TESKA_ERR("flood_new: malloc failure");
        return nullptr;
    }
    record->inside = inside;
    record->fill = fill;
    return record.release();
}

int flood_kill(flood *record) TESKA_NOTHROW
{
    teska::kill_record(record);
    return 0;
}

// ---- Process --------------------------------------------------------------------------------------------------------

int flood_do(flood *record, void *user, int x, int y) TESKA_NOTHROW
{
    flood &f = *record;
    f.user = user;
    f.current = make_row(y);
    if (!make_shadow(f, f.current, x, x, y))
        TESKA_ERR("flood_do: new_shdw failed");
    while (f.pending.ends[f.head] != nullptr) {
        select_row(f);
        while (shadow *s = f.row_list.pop()) {
            if (s->valid)
                fill_shadow(f, *s);
            f.free_list.push(s);
        }
    }
    give_back(f);
    return 1;
}
