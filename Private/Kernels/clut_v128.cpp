// clut_v128 - a point along its tetrahedron with SSE4.1

#include "Kernels/clut_vector.h"

namespace teska
{

void install_v128(clut_kernels &table, bool /*gathers*/) noexcept { table.tetra = tetra; }

}  // namespace teska
