// gamma - the incomplete gamma function

#ifndef TESKA_GAMMA_H
#define TESKA_GAMMA_H

namespace teska
{

// The complemented incomplete gamma function Q(a, x) = 1 - P(a, x), relative error about 3e-7. For x < 0 or a <= 0
// "Invalid arguments in routine gammq" is reported and some number comes out. Defined in special_functions.cpp.
double gammq(double a, double x) noexcept;

}  // namespace teska

#endif
