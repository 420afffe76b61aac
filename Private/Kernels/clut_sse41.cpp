// clut_sse41 - a point along its tetrahedron with SSE4.1

#include "Kernels/clut_vector.h"

namespace teska
{

void install_sse41(clut_kernels &table) noexcept { table.tetra = tetra; }

}  // namespace teska
