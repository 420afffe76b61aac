// clg - the gamut of a device by a cloud of measured points, and its colours backwards (geometry)
//
// Pairs are kept as they were added. A build makes a model of them (clg/model.h):
//
//     pairs -> points of a lattice, repeated ones as one     clg/points
//           -> cells that tile the device values             clg/tiling
//           -> triangles that may bound their colours        clg/surface
//           -> three trees of boxes (clg/boxes.h): of the cells' colours, of their device values, of the triangles
//
// A colour is looked for in the cells whose boxes hold it (clg/images), and when none reaches it, on the surface.
//
// Example: CMYK in percent, 9 x 9 x 9 CMY patches. The patch (25, 50, 0) is the point (16384, 32768, 0) of the lattice;
// with 728 others it makes 3072 tetrahedra. A colour at (0.1, 0.2, 0.3, 0.4) of the colours of one of them gets the
// same mean of its device values.
//
// Queries write to their results and the stack only. No process-wide state.

#include "clg.h"

#include "Source/clg/model.h"
#include "Support/growing.h"
#include "Support/report.h"
#include "Support/table_shape.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

using namespace teska;
using namespace teska::cloud;

namespace
{

constexpr int most_channels = 16;
constexpr int most_pairs = 65535;
constexpr double largest_range = 1e300;   // sums of all pairs and products with 65535 stay finite
constexpr double largest_colour = 1e6;    // of a pair
constexpr double farthest_search = 1e12;  // from there on distances from all points of a gamut look alike

}  // namespace

struct clg {
    int channels = 0;
    int free = 0;
    double lo = 0.0;
    double hi = 0.0;
    growing<double> values;  // channels device values and a colour for each pair
    int pairs = 0;
    int room = 0;                // pairs for which values has room
    double cost[most_channels];  // of the rule, scaled by a power of two to at most 1
    double place = 0.0;
    heap_record<model> built;
};

namespace
{

// ---- Building -------------------------------------------------------------------------------------------------------

bool is_finite(const vec3 &p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

// Room for one more pair.
bool make_room(clg &c)
{
    constexpr int first_room = 64;
    if (c.pairs < c.room)
        return true;
    const int room = c.room != 0 ? std::min(2 * c.room, most_pairs) : first_room;
    if (!c.values.reserve(room * (c.channels + 3)))
        return false;
    c.room = room;
    return true;
}

// ---- Queries --------------------------------------------------------------------------------------------------------

struct found_colour {
    bool inside;
    double dist;
    vec3 nearest;
    int count;  // corners
    int corner[most_corners];
    double weight[most_corners];
};

// A colour from which the nearest point can be told.
vec3 within_reach(const vec3 &q)
{
    const double largest = std::max({std::fabs(q.x), std::fabs(q.y), std::fabs(q.z)});
    return largest > farthest_search ? farthest_search / largest * q : q;
}

// Squares of the largest doubles overflow, their root need not.
double distance(const vec3 &a, const vec3 &b)
{
    constexpr double down = 0x1p-600;
    const double near = length(a - b);
    return std::isfinite(near) ? near : length(down * (a - b)) / down;
}

found_colour find(const clg &c, const vec3 &q)
{
    const model &m = *c.built;
    found_colour found{
        .inside = true, .dist = 0.0, .nearest = q, .count = m.cells.dims + 1, .corner = {}, .weight = {}};
    const mixture answer = choose(m, q, c.place);
    if (answer.cell >= 0) {
        std::copy_n(&m.cells.corner[static_cast<std::ptrdiff_t>(answer.cell) * found.count], found.count, found.corner);
        std::copy_n(answer.weight, found.count, found.weight);
        return found;
    }
    const surface_place nearest = nearest_place(m, within_reach(q));
    found.inside = false;
    found.dist = distance(q, nearest.point);
    found.nearest = nearest.point;
    found.count = 3;
    std::copy_n(m.outside.triangles[nearest.triangle].corner, 3, found.corner);
    std::copy_n(nearest.weight, 3, found.weight);
    return found;
}

// The means of the corners' device values. Rounding must not take them out of their range.
void mix_device(const clg &c, const found_colour &found, double *device)
{
    const heap_block<double> &values = c.built->points.device;
    for (int k = 0; k < c.channels; ++k) {
        double sum = 0.0;
        for (int i = 0; i < found.count; ++i)
            sum += found.weight[i] * values[static_cast<std::ptrdiff_t>(found.corner[i]) * c.channels + k];
        device[k] = std::clamp(sum, c.lo, c.hi);
    }
}

int hand_out(const clg &c, const found_colour &found, double *nearest, double *device, double *dist)
{
    if (nearest != nullptr)
        store(found.nearest, nearest);
    if (device != nullptr)
        mix_device(c, found, device);
    if (dist != nullptr)
        *dist = found.dist;
    return found.inside ? 1 : 0;
}

// ---- Tables ---------------------------------------------------------------------------------------------------------

// How the vertices of a kind of table are reached.
template <class Table, class Sample>
struct vertex_access {
    Table *table;
    Sample *(*get)(Table *table, const int *coord, Sample *in);
    int (*scan)(Table *table, int *coord);
};

// From inputs to colours.
struct mapping {
    const double *scale;
    const double *offset;

    template <class Sample>
    [[nodiscard]] vec3 colour(const Sample *in) const
    {
        double p[3];
        for (int k = 0; k < 3; ++k)
            p[k] = (offset != nullptr ? offset[k] : 0.0) + (scale != nullptr ? scale[k] : 1.0) * in[k];
        return vec3_at(p);
    }
};

template <class Table>
bool fits(const clg &c, const Table &table)
{
    return shape_of(table).inputs == 3 && shape_of(table).outputs == c.channels;
}

// Each coordinate of a colour comes from one input.
template <class Table, class Sample>
bool all_finite(const vertex_access<Table, Sample> &vertices, const mapping &map)
{
    for (int i = 0; i < shape_of(*vertices.table).resolution; ++i) {
        const int coord[3] = {i, i, i};
        Sample in[3];
        vertices.get(vertices.table, coord, in);
        if (!is_finite(map.colour(in)))
            return false;
    }
    return true;
}

// Returns how many colours are inside.
template <class Table, class Sample, class Convert>
int fill(const clg &c, const vertex_access<Table, Sample> &vertices, const mapping &map, const Convert &convert)
{
    int inside = 0;
    int coord[3] = {0, 0, 0};
    do {
        Sample in[3];
        Sample *const out = vertices.get(vertices.table, coord, in);
        const found_colour found = find(c, map.colour(in));
        double device[most_channels];
        mix_device(c, found, device);
        for (int k = 0; k < c.channels; ++k)
            out[k] = convert(device[k]);
        inside += found.inside ? 1 : 0;
    } while (vertices.scan(vertices.table, coord) != 0);
    return inside;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

clg *clg_new(int channels, int free_channels, double lo, double hi) TESKA_NOTHROW
{
    if (channels < 1 || channels > most_channels || free_channels < 1 ||
        free_channels > std::min(most_free, channels)) {
        TESKA_ERR("clg_new: illegal dimension");
        return nullptr;
    }
    // Not-a-number fails every comparison.
    if (!(std::fabs(lo) <= largest_range && std::fabs(hi) <= largest_range && lo < hi)) {
        TESKA_ERR("clg_new: illegal range");
        return nullptr;
    }
    auto c = make_record<clg>();
    if (!c) {
        TESKA_ERR("clg_new: malloc failure");
        return nullptr;
    }
    c->channels = channels;
    c->free = free_channels;
    c->lo = lo;
    c->hi = hi;
    std::fill(c->cost, c->cost + most_channels, 1.0);
    return c.release();
}

clg *clg_kill(clg *c) TESKA_NOTHROW
{
    kill_record(c);
    return nullptr;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int clg_add(clg *c, const double *device, const double colour[3]) TESKA_NOTHROW
{
    const bool in_range = std::all_of(device, device + c->channels, [&](double v) { return v >= c->lo && v <= c->hi; });
    if (!in_range || !std::all_of(colour, colour + 3, [](double v) { return std::fabs(v) <= largest_colour; })) {
        TESKA_ERR("clg_add: illegal value");
        return -1;
    }
    if (c->pairs == most_pairs) {
        TESKA_ERR("clg_add: too many points");
        return -1;
    }
    if (!make_room(*c)) {
        TESKA_ERR("clg_add: malloc failure");
        return -1;
    }
    // There is room.
    for (int k = 0; k < c->channels; ++k)
        static_cast<void>(c->values.push(device[k]));
    for (int k = 0; k < 3; ++k)
        static_cast<void>(c->values.push(colour[k]));
    ++c->pairs;
    return 0;
}

int clg_build(clg *c) TESKA_NOTHROW
{
    auto made = make_record<model>();
    const pair_list pairs{.values = c->values.begin(),
                          .count = c->pairs,
                          .channels = c->channels,
                          .free = c->free,
                          .lo = c->lo,
                          .hi = c->hi};
    switch (made ? build_model(pairs, *made) : tiling_result::no_memory) {
    case tiling_result::made:
        set_costs(c->cost, *made);
        c->built = std::move(made);
        return 0;
    case tiling_result::too_few:
        TESKA_ERR("clg_build: too few points");
        return -1;
    case tiling_result::flat:
        TESKA_ERR("clg_build: device values do not span the free channels");
        return -1;
    default:
        TESKA_ERR("clg_build: malloc failure");
        return -1;
    }
}

int clg_rule(clg *c, const double *cost, double place) TESKA_NOTHROW
{
    double given[most_channels];
    double largest = 0.0;
    bool legal = place >= 0.0 && place <= 1.0;
    for (int k = 0; k < c->channels; ++k) {
        given[k] = cost != nullptr ? cost[k] : 1.0;
        legal = legal && std::isfinite(given[k]);
        largest = std::max(largest, std::fabs(given[k]));
    }
    if (!legal) {
        TESKA_ERR("clg_rule: illegal value");
        return -1;
    }
    // Costs are only compared with each other; large ones must not overflow.
    int exponent = 0;
    std::frexp(largest, &exponent);
    for (int k = 0; k < c->channels; ++k)
        c->cost[k] = std::ldexp(given[k], -exponent);
    c->place = place;
    if (c->built)
        set_costs(c->cost, *c->built);
    return 0;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int clg_num_points(const clg *c) TESKA_NOTHROW { return c->built ? c->built->points.count : 0; }

int clg_num_cells(const clg *c) TESKA_NOTHROW { return c->built ? c->built->cells.count : 0; }

int clg_box(const clg *c, double box[6]) TESKA_NOTHROW
{
    if (!c->built) {
        TESKA_ERR("clg_box: nothing built");
        return -1;
    }
    std::copy_n(c->built->colours.lo, 3, box);
    std::copy_n(c->built->colours.hi, 3, box + 3);
    return 0;
}

int clg_inside(const clg *c, const double colour[3]) TESKA_NOTHROW
{
    if (!c->built) {
        TESKA_ERR("clg_inside: nothing built");
        return -1;
    }
    if (!is_finite(vec3_at(colour))) {
        TESKA_ERR("clg_inside: illegal colour");
        return -1;
    }
    return is_inside(*c->built, vec3_at(colour)) ? 1 : 0;
}

int clg_find(const clg *c, const double colour[3], double *device, double *dist) TESKA_NOTHROW
{
    if (!c->built) {
        TESKA_ERR("clg_find: nothing built");
        return -1;
    }
    if (!is_finite(vec3_at(colour))) {
        TESKA_ERR("clg_find: illegal colour");
        return -1;
    }
    return hand_out(*c, find(*c, vec3_at(colour)), nullptr, device, dist);
}

int clg_nearest(const clg *c, const double colour[3], double nearest[3], double *device, double *dist) TESKA_NOTHROW
{
    if (!c->built) {
        TESKA_ERR("clg_nearest: nothing built");
        return -1;
    }
    if (!is_finite(vec3_at(colour))) {
        TESKA_ERR("clg_nearest: illegal colour");
        return -1;
    }
    return hand_out(*c, find(*c, vec3_at(colour)), nearest, device, dist);
}

int clg_colour(const clg *c, const double *device, double colour[3]) TESKA_NOTHROW
{
    if (!c->built) {
        TESKA_ERR("clg_colour: nothing built");
        return -1;
    }
    double share[most_free];
    for (int j = 0; j < c->free; ++j)
        share[j] = (device[j] - c->lo) / (c->hi - c->lo);
    const model &m = *c->built;
    const mixture found = locate(m, share);
    if (found.cell < 0)
        return 0;
    vec3 sum{};
    for (int i = 0; i <= c->free; ++i)
        sum = sum + found.weight[i] *
                        m.points.colour[m.cells.corner[static_cast<std::ptrdiff_t>(found.cell) * (c->free + 1) + i]];
    store(sum, colour);
    return 1;
}

// ---- Process --------------------------------------------------------------------------------------------------------

int clg_fill_tetrad(const clg *c, md_tetrad *table, const double scale[3], const double offset[3]) TESKA_NOTHROW
{
    if (!c->built) {
        TESKA_ERR("clg_fill_tetrad: nothing built");
        return -1;
    }
    if (!fits(*c, *table)) {
        TESKA_ERR("clg_fill_tetrad: table does not fit");
        return -1;
    }
    const vertex_access<md_tetrad, double> vertices{table, md_tetrad_vertex_get, md_tetrad_scan_vertex};
    const mapping map{scale, offset};
    if (!all_finite(vertices, map)) {
        TESKA_ERR("clg_fill_tetrad: illegal colour");
        return -1;
    }
    return fill(*c, vertices, map, [](double v) { return v; });
}

int clg_fill_tetrab(const clg *c, md_tetrab *table, const double scale[3], const double offset[3]) TESKA_NOTHROW
{
    if (!c->built) {
        TESKA_ERR("clg_fill_tetrab: nothing built");
        return -1;
    }
    if (!fits(*c, *table)) {
        TESKA_ERR("clg_fill_tetrab: table does not fit");
        return -1;
    }
    const vertex_access<md_tetrab, unsigned char> vertices{table, md_tetrab_vertex_get, md_tetrab_scan_vertex};
    const mapping map{scale, offset};
    if (!all_finite(vertices, map)) {
        TESKA_ERR("clg_fill_tetrab: illegal colour");
        return -1;
    }
    const double lo = c->lo, range = c->hi - c->lo;
    return fill(*c, vertices, map,
                [=](double v) { return static_cast<unsigned char>(std::floor(255.0 * (v - lo) / range + 0.5)); });
}
