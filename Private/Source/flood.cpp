// flood - fills a connected region of an image that only the caller sees (image)
//
// A shadow is a span of a row that a filled run of the row above or below, its parent row, leads to:
//
//     parent row      . . # # # # # # . .      run
//     row             . .[? ? ? ? ? ?]. .      shadow: pixels to be tested
//
// The shadows of one row are filled together, by ascending left end. A run found in a shadow casts one of the same width
// on the row beyond, and one on the parent row for each end that reaches beyond its shadow: what lay above the shadow is
// filled already, and the pixel beside it ended the run there. So the back pieces leave out two pixels:
//
//     parent row     [? ?] x # # # # x [?]     x outside
//     row             # # # # # # # # # #      run
//                           |shadow|
//
// Where a run goes on into a later shadow T of its row, two regions have met. T's pixels need no second test, and the run
// has just cast a shadow Q on T's parent row: of Q only what reaches beyond T remains, of T what reaches beyond Q.
//
// The pending shadows wait in a list, newest first. Selecting the row of the first one takes its shadows out; the others
// are pushed back, which reverses them. This order is part of the contract: it shows in the order of the calls.
//
// Columns are calculated in 64 bits and rows end at those of int, so nothing overflows at the edges of the plane.
// No process-wide state.

#include "flood.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <climits>
#include <cstdint>
#include <utility>

namespace
{

struct shadow {
    shadow *next;
    int left;
    int right;
    int row;
    int parent;  // the row whose run cast it
    bool valid;
};

// A chain of shadows, which it owns.
class chain
{
public:
    chain() = default;
    chain(const chain &) = delete;
    chain &operator=(const chain &) = delete;
    ~chain() { clear(); }

    void clear()
    {
        while (shadow *s = pop())
            std::free(s);
    }

    void push(shadow *s) { s->next = std::exchange(head, s); }

    shadow *pop() { return head != nullptr ? std::exchange(head, head->next) : nullptr; }

    shadow *head = nullptr;
};

// Filled pixels of one row, and the columns beside them.
struct run {
    std::int64_t left;
    std::int64_t right;
    int row;
};

}  // namespace

struct flood {
    flood_inside inside = nullptr;
    flood_fill fill = nullptr;
    int row = 0;      // whose shadows are being filled
    chain pending;    // newest first
    chain row_list;   // of the current row, by ascending left end
    chain free_list;  // to be used again
    void *user = nullptr;
};

namespace
{

// Casts a shadow; false, reported, without memory. There is nothing beyond the last rows.
bool cast(flood &f, std::int64_t left, std::int64_t right, std::int64_t row, int parent)
{
    if (row < INT_MIN || row > INT_MAX)
        return true;
    shadow *s = f.free_list.pop();
    if (s == nullptr)
        s = static_cast<shadow *>(std::malloc(sizeof(shadow)));
    if (s == nullptr) {
        TESKA_ERR("new_shdw: malloc failure");
        return false;
    }
    *s = {.next = nullptr,
          .left = static_cast<int>(left),
          .right = static_cast<int>(right),
          .row = static_cast<int>(row),
          .parent = parent,
          .valid = true};
    f.pending.push(s);
    return true;
}

// Takes the shadows of one row, that of the first valid one, out of the pending ones.
void select_row(flood &f)
{
    bool selected = false;
    shadow *last = nullptr;  // inserted
    chain waiting;
    std::swap(waiting.head, f.pending.head);
    while (shadow *s = waiting.pop()) {
        if (!s->valid) {
            f.free_list.push(s);
            continue;
        }
        if (!std::exchange(selected, true) || s->row == f.row) {
            f.row = s->row;
            // Before the first whose left end is not smaller; mostly that place follows the last one.
            shadow **place = last != nullptr && last->left < s->left ? &last->next : &f.row_list.head;
            while (*place != nullptr && (*place)->left < s->left)
                place = &(*place)->next;
            s->next = std::exchange(*place, s);
            last = s;
        } else {
            f.pending.push(s);
        }
    }
}

// A run went on into the later shadow t.
void remove_overlap(flood &f, shadow &t)
{
    shadow *q = f.pending.head;
    while (q != nullptr && q->row != t.parent)
        q = q->next;
    if (q == nullptr) {
        TESKA_ERR("remove_overlap: algorithm failure");
        return;
    }
    const std::int64_t left = q->left;
    const std::int64_t right = q->right;
    if (left < std::int64_t{t.left} - 1)
        cast(f, left, std::int64_t{t.left} - 2, q->row, t.row);
    if (right > std::int64_t{t.right} + 1)
        cast(f, std::int64_t{t.right} + 2, right, q->row, t.row);
    q->valid = false;
    if (t.right <= right + 1)
        t.valid = false;
    else
        t.left = static_cast<int>(right + 2);
}

// The shadows of a run that was found in the shadow p.
void cast_shadows(flood &f, const run &r, const shadow &p)
{
    const std::int64_t y = r.row;
    const std::int64_t away = y >= p.parent ? 1 : -1;
    cast(f, r.left, r.right, y + away, r.row);
    if (y == p.parent) {
        cast(f, r.left, r.right, y - away, r.row);
    } else {
        if (r.left < std::int64_t{p.left} - 1)
            cast(f, r.left, std::int64_t{p.left} - 2, y - away, r.row);
        if (r.right > std::int64_t{p.right} + 1)
            cast(f, std::int64_t{p.right} + 2, r.right, y - away, r.row);
    }
    for (shadow *t = f.row_list.head; t != nullptr && t->left <= r.right; t = t->next)
        if (t->valid)
            remove_overlap(f, *t);
}

void fill_shadow(flood &f, const shadow &s)
{
    const flood_inside inside = f.inside;
    void *const user = f.user;
    const int y = s.row;
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
        cast_shadows(f, {.left = start, .right = x - 1, .row = y}, s);
    }
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
    if (!cast(f, x, x, y, y)) {
        TESKA_ERR("flood_do: new_shdw failed");
        return 1;
    }
    while (f.pending.head != nullptr) {
        select_row(f);
        while (shadow *s = f.row_list.pop()) {
            if (s->valid)
                fill_shadow(f, *s);
            f.free_list.push(s);
        }
    }
    f.free_list.clear();
    return 1;
}
