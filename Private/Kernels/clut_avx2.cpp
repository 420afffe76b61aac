// clut_avx2 - a point along its tetrahedron with AVX2

#include "Kernels/clut_vector.h"

namespace teska
{

void install_avx2(clut_kernels &table, bool /*gathers*/) noexcept { table.tetra = tetra; }

}  // namespace teska
