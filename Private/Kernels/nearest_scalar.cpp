// nearest_scalar - the search for the nearest triangle: the definition, which asks for its number alone
//
// The formulas are in nearest_measure.h.

#include "Kernels/nearest_vector.h"

namespace teska
{

void install_scalar(nearest_kernels &table, bool /*gathers*/) noexcept
{
    table = {nearest_kernel<single_doubles>::triangle};
}

}  // namespace teska
