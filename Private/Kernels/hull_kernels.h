// hull_kernels - which faces of a hull may be visible from a point: the search through all of them

#ifndef TESKA_HULL_KERNELS_H
#define TESKA_HULL_KERNELS_H

#include <cstddef>

namespace teska
{

// Planes side by side; plane i has the value x[i] px + y[i] py + z[i] pz + d[i] at a point. As many as fill vectors of
// every size: the last ones may be planes with the value d alone, far above every limit.
struct hull_planes {
    static constexpr std::ptrdiff_t group = 16;
    const double *x;
    const double *y;
    const double *z;
    const double *d;
    std::ptrdiff_t count;  // a multiple of group
};

struct hull_kernels {
    // The first plane, from `from` on, whose value at the point is below the limit or not comparable with it; count
    // when there is none. The value is summed in the order above.
    std::ptrdiff_t (*first_below)(const hull_planes &planes, std::ptrdiff_t from, const double *point,
                                  double limit) noexcept;
};

// Not to be called on a processor without the instructions.

}  // namespace teska

#endif
