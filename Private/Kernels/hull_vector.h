// hull_vector - the search for visible faces of a hull, many faces at a time

#ifndef TESKA_HULL_VECTOR_H
#define TESKA_HULL_VECTOR_H

#include "Kernels/hull_kernels.h"

namespace teska
{

namespace
{

template <class Isa>  // of doubles
struct hull_kernel {
    using vector = typename Isa::vector;

    static unsigned below(const hull_planes &planes, std::ptrdiff_t i, const vector *point, vector limit) noexcept
    {
        const auto at = [i](const double *values) noexcept { return Isa::load(values + i); };
        return Isa::not_at_least(
            at(planes.x) * point[0] + at(planes.y) * point[1] + at(planes.z) * point[2] + at(planes.d), limit);
    }

    // One bit for each plane of the group that begins at i.
    static unsigned group_below(const hull_planes &planes, std::ptrdiff_t i, const vector *point, vector limit) noexcept
    {
        unsigned bits = 0;
        for (int lane = 0; lane < hull_planes::group; lane += Isa::lanes)
            bits |= below(planes, i + lane, point, limit) << lane;
        return bits;
    }

    static std::ptrdiff_t first_below(const hull_planes &planes, std::ptrdiff_t from, const double *point,
                                      double limit) noexcept
    {
        const vector at[3] = {Isa::all(point[0]), Isa::all(point[1]), Isa::all(point[2])};
        const vector limits = Isa::all(limit);
        // The bits of planes before `from` do not count.
        const std::ptrdiff_t before = from % hull_planes::group;
        unsigned wanted = ~0U << before;
        for (std::ptrdiff_t i = from - before; i < planes.count; i += hull_planes::group) {
            const unsigned bits = group_below(planes, i, at, limits) & wanted;
            if (bits != 0)
                return i + __builtin_ctz(bits);
            wanted = ~0U;
        }
        return planes.count;
    }
};

}  // namespace

}  // namespace teska

#endif
