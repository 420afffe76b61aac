#include "support/generator.h"

#include <bit>
#include <cmath>
#include <cstdlib>

namespace teska_test
{

std::uint64_t Generator::next()
{
    state_ += 0x9e3779b97f4a7c15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    return z ^ (z >> 31);
}

bool runs_slowly() { return std::getenv("TESKA_SLOW") != nullptr; }

// What is next to 0 is 0, and all that is not a number is one.
std::int64_t Digest::six_digits(double number)
{
    if (std::isnan(number) || std::fabs(number) < 1e-12)
        return std::isnan(number) ? 1 : 0;
    int exponent = 9999;
    const double fraction = std::isinf(number) ? std::copysign(0.5, number) : std::frexp(number, &exponent);
    std::int64_t digits = std::llround(fraction * 0x1p20);
    if (std::llabs(digits) == 0x100000)
        digits /= 2, ++exponent;
    return digits * 65536 + exponent;
}

void Digest::add_bytes(const unsigned char *bytes, std::size_t size, std::size_t number_size)
{
    // The position of byte i of a number in the host's order.
    const std::size_t highest_first = std::endian::native == std::endian::big ? number_size - 1 : 0;
    for (std::size_t i = 0; i < size; ++i)
        value_ = (value_ ^ bytes[i ^ highest_first]) * 0x100000001b3U;
}

}  // namespace teska_test
