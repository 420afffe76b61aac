// grad_tab - tone curves, kept in table files or in memory (curves)
//
// The file holds parts of the range, the curve values in it:
//
//     lo = 0, hi = 255:    "p50 =  0.500  0.600 "    <->    (127.5, 153)

#include "grad_tab.h"

#include "Support/memory.h"
#include "Support/report.h"

#include "file_double.h"
#include "interp_double.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>

namespace
{

using curve = teska::handle<lin_interp_double, lin_interp_double_kill>;

constexpr int growth = 25;
constexpr int columns = 2;
constexpr int name_size = 400;  // more than the largest number has digits

}  // namespace

struct grad_tab {
    teska::handle<file_double, file_double_kill> table;  // none: in memory
    curve forward;
    curve inverse;
    double hi = 0.0;
    double lo = 0.0;
    char name[name_size] = {};  // of the point listed last, in memory
};

namespace
{

double value_of(const grad_tab &g, double part) { return part * (g.hi - g.lo) + g.lo; }
double part_of(const grad_tab &g, double value) { return (value - g.lo) / (g.hi - g.lo); }

// The points of the file become those of the curve. Returns whether there was room for them.
bool load(const grad_tab &g)
{
    double pair[columns] = {};
    for (int state = 0; file_double_list(g.table.get(), &state, pair) != nullptr;)
        if (lin_interp_double_insert(g.forward.get(), value_of(g, pair[0]), value_of(g, pair[1])) < 0)
            return false;
    return true;
}

// The name of a point by the part of the range where it is; false when that is no number.
bool print_name(double part, char (&name)[name_size])
{
    const double number = (1.0 - part) * 100.0;
    // How such numbers are spelt is the host's business.
    if (!std::isfinite(number))
        return false;
    std::snprintf(name, sizeof name, "p%1.0lf", number);
    return true;
}

bool invert(grad_tab &g)
{
    curve inverse(lin_interp_double_invert(g.forward.get(), nullptr));
    if (!inverse)
        return false;
    g.inverse.swap(inverse);
    return true;
}

// Adds a point to a curve that no file keeps.
int add_to_curve(grad_tab &g, const double *point)
{
    if (!std::isfinite(point[0]) || !std::isfinite(point[1]))
        return -1;
    return lin_interp_double_insert(g.forward.get(), point[0], point[1]) < 0 ? -1 : 0;
}

// The next point of such a curve.
const char *next_point(grad_tab &g, int &cursor, double *pair)
{
    if (lin_interp_double_getp(g.forward.get(), cursor, &pair[0], &pair[1]) < 0)
        return nullptr;
    ++cursor;
    print_name(part_of(g, pair[0]), g.name);
    return g.name;
}

int apply(const curve &c, const double *in, std::ptrdiff_t in_stride, double *out, std::ptrdiff_t out_stride, int n)
{
    for (int i = 0; i < n; ++i) {
        double y = 0.0;
        if (lin_interp_double_inter(c.get(), in[i * in_stride], &y) < 0)
            return -1;
        out[i * out_stride] = y;
    }
    return 0;
}

}  // namespace

// ---- Life ----------------------------------------------------------------------------------------------------------

grad_tab *grad_tab_new(const char *path, int mode, double hi, double lo) TESKA_NOTHROW
{
    auto g = teska::make_record<grad_tab>();
    if (!g)
        return nullptr;
    g->hi = hi;
    g->lo = lo;
    g->table.reset(file_double_new(path, columns, mode));
    if (g->table)
        g->forward.reset(lin_interp_double_new(growth, nullptr));
    if (!g->forward || (mode == 0 && !load(*g)))
        return nullptr;
    return invert(*g) ? g.release() : nullptr;
}

grad_tab *grad_tab_new_points(const double *points, int n, double hi, double lo) TESKA_NOTHROW
{
    const auto finite = [](double v) { return std::isfinite(v); };
    if (n < 0 || !std::all_of(points, points + columns * static_cast<std::ptrdiff_t>(n), finite)) {
        TESKA_ERR("grad_tab_new_points: illegal points");
        return nullptr;
    }
    auto g = teska::make_record<grad_tab>();
    if (!g)
        return nullptr;
    g->hi = hi;
    g->lo = lo;
    g->forward.reset(lin_interp_double_new(growth, nullptr));
    if (!g->forward)
        return nullptr;
    for (std::ptrdiff_t i = 0; i < n; ++i)
        if (add_to_curve(*g, points + columns * i) < 0)
            return nullptr;
    return invert(*g) ? g.release() : nullptr;
}

grad_tab *grad_tab_kill(grad_tab *g) TESKA_NOTHROW
{
    teska::kill_record(g);
    return nullptr;
}

// ---- Change --------------------------------------------------------------------------------------------------------

int grad_tab_add_point(grad_tab *g, const double *point) TESKA_NOTHROW
{
    if (!g->table)
        return add_to_curve(*g, point);
    if (lin_interp_double_insert(g->forward.get(), point[0], point[1]) < 0)
        return -1;
    const double parts[columns] = {part_of(*g, point[0]), part_of(*g, point[1])};
    char name[name_size];
    if (!print_name(parts[0], name) || !std::isfinite(parts[1]))
        return -1;
    return file_double_add_item(g->table.get(), name, parts);
}

int grad_tab_invert(grad_tab *g) TESKA_NOTHROW { return invert(*g) ? 0 : -1; }

// ---- Query ---------------------------------------------------------------------------------------------------------

const char *grad_tab_list(grad_tab *g, int *cursor, double *pair) TESKA_NOTHROW
{
    if (!g->table)
        return next_point(*g, *cursor, pair);
    const char *name = file_double_list(g->table.get(), cursor, pair);
    if (name != nullptr)
        for (int k = 0; k < columns; ++k)
            pair[k] = value_of(*g, pair[k]);
    return name;
}

// ---- Process -------------------------------------------------------------------------------------------------------

int grad_tab_do(grad_tab *g, const double *in, int in_stride, double *out, int out_stride, int n) TESKA_NOTHROW
{
    return apply(g->forward, in, in_stride, out, out_stride, n);
}

int grad_tab_do_inv(grad_tab *g, const double *in, int in_stride, double *out, int out_stride, int n) TESKA_NOTHROW
{
    return apply(g->inverse, in, in_stride, out, out_stride, n);
}

int grad_tab_save(grad_tab *g) TESKA_NOTHROW
{
    if (g == nullptr)
        return -1;
    if (!g->table) {
        TESKA_ERR("grad_tab_save: table without a file");
        return -1;
    }
    return file_double_save(g->table.get());
}
