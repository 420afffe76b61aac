#include "Kernels/kernels.h"

namespace teska
{

void install_scalar(tetrab_kernels & /*table*/) noexcept {}

}  // namespace teska
