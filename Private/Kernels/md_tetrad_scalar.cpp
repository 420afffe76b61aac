#include "Kernels/kernels.h"

namespace teska
{

void install_scalar(tetrad_kernels & /*table*/) noexcept {}

}  // namespace teska
