// func - a function given by points of any fixed size (curves)
//
// Two lists side by side; index i of both is point i, and both always hold the same number of elements:
//
//     x list, sorted by the order function  | x0 | x1 | x2 | ...
//     y list, without an order              | y0 | y1 | y2 | ...
//
// The list finds the index of a new x, and the y goes to the same index. With an order that answers "sorts after"
// this is an upper bound, so equal x keep the order of their insertion. Insertion O(log n) comparisons
// and O(n) bytes moved.

#include "func.h"

#include "Support/memory.h"
#include "Support/report.h"

#include "list.h"

struct func {
    teska::handle<list_rec, list_kill> x;
    teska::handle<list_rec, list_kill> y;
    func_order order = nullptr;  // what x was created with
};

// ---- Life ----------------------------------------------------------------------------------------------------------

func *func_new(int ext, unsigned int x_size, unsigned int y_size, func_order order) TESKA_NOTHROW
{
    auto f = teska::make_record<func>();
    if (f)
        f->x.reset(list_new(ext, x_size, order));
    if (f && f->x)
        f->y.reset(list_new(ext, y_size, nullptr));
    if (!f || !f->y) {
        TESKA_ERR("func_new : unable to create new instance of function");
        return nullptr;
    }
    f->order = order;
    return f.release();
}

int func_kill(func *f) TESKA_NOTHROW
{
    teska::kill_record(f);
    return 0;
}

// ---- Change --------------------------------------------------------------------------------------------------------

int func_insert(func *f, const void *x, const void *y) TESKA_NOTHROW
{
    const int index = list_insert(f->x.get(), x);
    if (index < 0)
        return -1;
    if (list_insert_index(f->y.get(), y, static_cast<unsigned>(index), 1) < 0) {
        // An x without its y would shift every point after it.
        list_rem_element(f->x.get(), index);
        return -1;
    }
    return index;
}

int func_changep(func *f, int index, const void *x, const void *y) TESKA_NOTHROW
{
    // Kept: the x list is not sorted again. The lists are equally long: both accept the index or the first
    // refuses.
    if (list_changep(f->x.get(), index, x) < 0)
        return -1;
    return list_changep(f->y.get(), index, y);
}

int func_rem_point(func *f, int index) TESKA_NOTHROW
{
    // Kept: an index without a point is ignored, by either list alike.
    list_rem_element(f->x.get(), index);
    list_rem_element(f->y.get(), index);
    return 0;
}

int func_alloc(func *f, int count) TESKA_NOTHROW
{
    // Kept: a list that could not grow has reported it; the result does not say so.
    list_alloc(f->x.get(), count);
    list_alloc(f->y.get(), count);
    return 0;
}

// ---- Query ---------------------------------------------------------------------------------------------------------

int func_num(const func *f) TESKA_NOTHROW { return list_num(f->x.get()); }

int func_pos(const func *f, const void *x) TESKA_NOTHROW { return list_pos(f->x.get(), x); }

int func_get_point(const func *f, int index, void **x, void **y) TESKA_NOTHROW
{
    void *const x_element = list_get_element(f->x.get(), index);
    void *const y_element = list_get_element(f->y.get(), index);
    if (x_element == nullptr || y_element == nullptr)
        return -1;
    *x = x_element;
    *y = y_element;
    return 0;
}

int func_search_el(const func *f, const void *key, void **y, func_match match) TESKA_NOTHROW
{
    // Kept: the list asks only the key's position, where a strict order never puts an equal element.
    const int index = list_search_el(f->x.get(), key, match);
    if (index < 0)
        return -1;
    *y = list_get_element(f->y.get(), index);
    return index;
}

// ---- Process -------------------------------------------------------------------------------------------------------

func *func_invert(const func *f, func_order order) TESKA_NOTHROW
{
    if (f == nullptr)
        return nullptr;
    const auto x_size = static_cast<unsigned>(list_get_el_size(f->x.get()));
    const auto y_size = static_cast<unsigned>(list_get_el_size(f->y.get()));
    teska::heap_record<func> inverse(func_new(list_get_ext(f->x.get()), y_size, x_size, order));
    if (!inverse)
        return nullptr;
    void *x = nullptr;
    void *y = nullptr;
    for (int i = 0; func_get_point(f, i, &x, &y) == 0; ++i)
        if (func_insert(inverse.get(), y, x) < 0)
            return nullptr;
    return inverse.release();
}
