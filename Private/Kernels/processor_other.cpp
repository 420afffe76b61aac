// processor_other - every processor but x86: what was built is what all of its kind have, and none has a gather

#include "Kernels/processor.h"

namespace teska
{

simd_level detect_level() noexcept { return highest_kernel_level; }

bool gathers_pay(simd_level /*detected*/) noexcept { return false; }

}  // namespace teska
