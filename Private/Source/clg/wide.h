// wide - signed integers of 128 bits, of two halves, so that every host calculates alike

#ifndef TESKA_CLG_WIDE_H
#define TESKA_CLG_WIDE_H

#include <cstdint>

namespace teska::cloud
{

// Sums and products wrap at 2^127; callers know that theirs do not get there.
struct wide {
    std::uint64_t low = 0;
    std::uint64_t high = 0;

    constexpr wide() noexcept = default;
    constexpr wide(std::uint64_t upper, std::uint64_t lower) noexcept : low(lower), high(upper) {}
    explicit constexpr wide(std::int64_t value) noexcept
        : low(static_cast<std::uint64_t>(value)), high(value < 0 ? ~std::uint64_t{0} : 0)
    {
    }
};

constexpr int sign(const wide &a) noexcept
{
    if ((a.high >> 63) != 0)
        return -1;
    return (a.high | a.low) != 0 ? 1 : 0;
}

constexpr wide operator+(const wide &a, const wide &b) noexcept
{
    const std::uint64_t low = a.low + b.low;
    return {a.high + b.high + (low < a.low ? 1U : 0U), low};
}

constexpr wide operator-(const wide &a, const wide &b) noexcept
{
    return {a.high - b.high - (a.low < b.low ? 1U : 0U), a.low - b.low};
}

// By halves of 32 bits.
constexpr wide unsigned_product(std::uint64_t a, std::uint64_t b) noexcept
{
    constexpr std::uint64_t lower = 0xffffffffU;
    const std::uint64_t low = (a & lower) * (b & lower);
    const std::uint64_t cross = (a >> 32) * (b & lower) + (low >> 32);
    const std::uint64_t middle = (a & lower) * (b >> 32) + (cross & lower);
    return {(a >> 32) * (b >> 32) + (cross >> 32) + (middle >> 32), (middle << 32) | (low & lower)};
}

// A negative factor counts as one 2^64 larger: the other one is taken away from the upper half.
constexpr wide product(std::int64_t a, std::int64_t b) noexcept
{
    const auto x = static_cast<std::uint64_t>(a), y = static_cast<std::uint64_t>(b);
    wide p = unsigned_product(x, y);
    p.high -= (a < 0 ? y : 0) + (b < 0 ? x : 0);
    return p;
}

constexpr wide product(const wide &a, std::int64_t b) noexcept
{
    const auto y = static_cast<std::uint64_t>(b);
    wide p = unsigned_product(a.low, y);
    p.high += a.high * y - (b < 0 ? a.low : 0);
    return p;
}

}  // namespace teska::cloud

#endif
