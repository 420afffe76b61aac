// lanes - integers side by side in a vector of any length, by the compiler's own operators
//
// Names here and in v128.h, avx2.h and avx512.h: the number at the end is the width of a lane in bits. A letter before
// it says whether lanes are unsigned (u) or signed (s), where that makes a difference. Saturated results stop at the
// ends of their range; all others are taken modulo the width. Vectors also know &, | and ^.
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_LANES_H
#define TESKA_LANES_H

#include <cstddef>
#include <cstdint>

namespace teska
{

namespace
{

// Register::vector is the type that the intrinsics take.
template <class Register>
struct integer_lanes {
    using vector = typename Register::vector;
    static constexpr int size = static_cast<int>(sizeof(vector));  // bytes

    // The same bits as lanes, for operators and for single lanes.
    typedef std::uint8_t lanes8 __attribute__((vector_size(sizeof(vector))));
    typedef std::uint16_t lanes16 __attribute__((vector_size(sizeof(vector))));
    typedef std::uint32_t lanes32 __attribute__((vector_size(sizeof(vector))));
    typedef std::uint64_t lanes64 __attribute__((vector_size(sizeof(vector))));
    typedef std::int16_t signed_lanes16 __attribute__((vector_size(sizeof(vector))));
    typedef std::int32_t signed_lanes32 __attribute__((vector_size(sizeof(vector))));

    template <class To, class From>
    static To as(From value) noexcept
    {
        return reinterpret_cast<To>(value);
    }

    static vector zero() noexcept { return as<vector>(lanes32{}); }
    static vector all8(int value) noexcept { return as<vector>(lanes8{} + static_cast<std::uint8_t>(value)); }
    static vector all16(int value) noexcept { return as<vector>(lanes16{} + static_cast<std::uint16_t>(value)); }
    static vector all32(std::uint32_t value) noexcept { return as<vector>(lanes32{} + value); }
    static vector all32(std::int32_t value) noexcept { return all32(static_cast<std::uint32_t>(value)); }

    static vector add8(vector a, vector b) noexcept { return as<vector>(as<lanes8>(a) + as<lanes8>(b)); }
    static vector add16(vector a, vector b) noexcept { return as<vector>(as<lanes16>(a) + as<lanes16>(b)); }
    static vector add32(vector a, vector b) noexcept { return as<vector>(as<lanes32>(a) + as<lanes32>(b)); }
    static vector subtract8(vector a, vector b) noexcept { return as<vector>(as<lanes8>(a) - as<lanes8>(b)); }
    static vector subtract16(vector a, vector b) noexcept { return as<vector>(as<lanes16>(a) - as<lanes16>(b)); }
    static vector subtract32(vector a, vector b) noexcept { return as<vector>(as<lanes32>(a) - as<lanes32>(b)); }
    static vector multiply_low16(vector a, vector b) noexcept { return as<vector>(as<lanes16>(a) * as<lanes16>(b)); }
    static vector multiply_low32(vector a, vector b) noexcept { return as<vector>(as<lanes32>(a) * as<lanes32>(b)); }

    // a & all(bits), of which compilers make better code when it is said in lanes.
    static vector mask8(vector a, std::uint8_t bits) noexcept { return as<vector>(as<lanes8>(a) & bits); }
    static vector mask16(vector a, std::uint16_t bits) noexcept { return as<vector>(as<lanes16>(a) & bits); }
    static vector mask32(vector a, std::uint32_t bits) noexcept { return as<vector>(as<lanes32>(a) & bits); }

    static vector shift_left16(vector a, int by) noexcept { return as<vector>(as<lanes16>(a) << by); }
    static vector shift_left32(vector a, int by) noexcept { return as<vector>(as<lanes32>(a) << by); }
    static vector shift_left64(vector a, int by) noexcept { return as<vector>(as<lanes64>(a) << by); }
    static vector shift_right_u16(vector a, int by) noexcept { return as<vector>(as<lanes16>(a) >> by); }
    static vector shift_right_u32(vector a, int by) noexcept { return as<vector>(as<lanes32>(a) >> by); }
    static vector shift_right_u64(vector a, int by) noexcept { return as<vector>(as<lanes64>(a) >> by); }
    static vector shift_right_s16(vector a, int by) noexcept { return as<vector>(as<signed_lanes16>(a) >> by); }
    static vector shift_right_s32(vector a, int by) noexcept { return as<vector>(as<signed_lanes32>(a) >> by); }
};

}  // namespace

}  // namespace teska

#endif
