// hull_scalar - the search for visible faces of a hull: the definition

#include "Kernels/hull_kernels.h"

namespace teska
{

namespace
{

std::ptrdiff_t first_below(const hull_planes &planes, std::ptrdiff_t from, const double *point, double limit) noexcept
{
    for (std::ptrdiff_t i = from; i < planes.count; ++i) {
        const double value = planes.x[i] * point[0] + planes.y[i] * point[1] + planes.z[i] * point[2] + planes.d[i];
        if (!(value >= limit))
            return i;
    }
    return planes.count;
}

}  // namespace

void install_scalar(hull_kernels &table, bool /*gathers*/) noexcept { table = {first_below}; }

}  // namespace teska
