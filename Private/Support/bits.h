// bits - the bits of a double as an integer and back, also where the library has no std::bit_cast
//
// Used by p_bezierd_base and tquadtree.

#ifndef TESKA_SUPPORT_BITS_H
#define TESKA_SUPPORT_BITS_H

#include <cstdint>
#include <cstring>

namespace teska
{

inline std::uint64_t bits_of(double value) noexcept
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

inline double double_of(std::uint64_t bits) noexcept
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

}  // namespace teska

#endif
