// checked_size - products and sums of sizes that cannot wrap
//
// Table sizes are powers of caller-given numbers; a product that wraps would turn into a small block and a large
// write. A checked_size remembers that it left its range and stays invalid from then on. It calculates in 64 bits
// everywhere, and what is valid fits a size_t, of 32 bits too.
//
// Used by every module whose blocks have sizes that a caller gives.

#ifndef TESKA_SUPPORT_CHECKED_SIZE_H
#define TESKA_SUPPORT_CHECKED_SIZE_H

#include <cstddef>
#include <cstdint>

namespace teska
{

class checked_size
{
public:
    constexpr checked_size(std::uint64_t value, std::uint64_t limit) noexcept
        : value_(value), limit_(limit < SIZE_MAX ? limit : SIZE_MAX), valid_(value <= limit_)
    {
    }

    constexpr checked_size &operator*=(std::uint64_t factor) noexcept
    {
        return settle(__builtin_mul_overflow(value_, factor, &value_));
    }

    constexpr checked_size &operator+=(std::uint64_t term) noexcept
    {
        return settle(__builtin_add_overflow(value_, term, &value_));
    }

    [[nodiscard]] constexpr bool valid() const noexcept { return valid_; }

    // Meaningful only while valid().
    [[nodiscard]] constexpr std::size_t get() const noexcept { return static_cast<std::size_t>(value_); }

private:
    constexpr checked_size &settle(bool wrapped) noexcept
    {
        valid_ = valid_ && !wrapped && value_ <= limit_;
        return *this;
    }

    std::uint64_t value_;
    std::uint64_t limit_;
    bool valid_;
};

// base to the power exponent, checked against limit at every step.
constexpr checked_size checked_power(std::uint64_t base, int exponent, std::uint64_t limit) noexcept
{
    checked_size power(1, limit);
    for (int i = 0; i < exponent && power.valid(); ++i)
        power *= base;
    return power;
}

}  // namespace teska

#endif
