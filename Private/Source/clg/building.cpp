// clg/building - a model made of pairs, step by step (geometry)

#include "Source/clg/model.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace teska::cloud
{

namespace
{

constexpr double share_widening = 2e-5;  // of boxes of device values: more than the step of the lattice
constexpr double image_widening = 1e-8;  // of boxes of colours, a part of the side: more than weights outside reach

// The box of the values of a figure's corners.
template <int K, class Values>
box<K> box_around(const int *corner, int count, const Values &values)
{
    box<K> b = box_at<K>(values(corner[0]).data());
    for (int i = 1; i < count; ++i)
        b.take(values(corner[i]).data());
    return b;
}

template <int K>
box<K> widened(box<K> b, double by)
{
    for (int k = 0; k < K; ++k) {
        b.lo[k] -= by;
        b.hi[k] += by;
    }
    return b;
}

double longest_side(const box<3> &b) { return std::max({b.hi[0] - b.lo[0], b.hi[1] - b.lo[1], b.hi[2] - b.lo[2]}); }

// The trees of boxes; false when memory is short.
bool index(model &m)
{
    const int corners = m.cells.dims + 1;
    const auto colour = [&](int i) {
        const vec3 &p = m.points.colour[i];
        return std::array{p.x, p.y, p.z};
    };
    const auto share = [&](int i) {
        std::array<double, most_free> p;
        std::copy_n(&m.points.share[i * most_free], most_free, p.begin());
        return p;
    };
    const auto cell = [&](int i) { return &m.cells.corner[static_cast<std::ptrdiff_t>(i) * corners]; };
    const auto image_box = [&](int i) {
        const box<3> b = box_around<3>(cell(i), corners, colour);
        return widened(b, image_widening * longest_side(b));
    };
    const auto share_box = [&](int i) {
        return widened(box_around<most_free>(cell(i), corners, share), share_widening);
    };
    const auto surface_box = [&](int i) { return box_around<3>(m.outside.triangles[i].corner, 3, colour); };
    m.colours = box_at<3>(colour(0).data());
    for (int i = 1; i < m.points.count; ++i)
        m.colours.take(colour(i).data());
    return m.images.build(m.cells.count, image_box) && m.shares.build(m.cells.count, share_box) &&
           m.surface_boxes.build(m.outside.count, surface_box);
}

}  // namespace

tiling_result build_model(const pair_list &pairs, model &made) noexcept
{
    if (!merge_pairs(pairs, made.points))
        return tiling_result::no_memory;
    const tiling_result result = tile(pairs.free, made.points.at.first(made.points.count), made.cells);
    if (result != tiling_result::made)
        return result;
    made.channels = pairs.channels;
    if (!find_surface(made.cells, made.points, made.outside) || !index(made))
        return tiling_result::no_memory;
    return result;
}

void set_costs(const double *cost, model &m) noexcept
{
    const double *device = m.points.device.get();
    for (int i = 0; i < m.points.count; ++i) {
        double sum = 0.0;
        for (int k = 0; k < m.channels; ++k)
            sum += cost[k] * *device++;
        m.points.cost[i] = sum;
    }
}

}  // namespace teska::cloud
