// byte_table - tables of 256 bytes, read by shuffles of 16 bytes
//
// A table is cut into 16 rows. Of each half, rows are read in turn by an index that walks down by 16, and a shuffle
// gives 0 once the index is negative. So an entry is what the shuffles up to its own row have in common: each holds
// the difference to the row before, as an exclusive or.
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_BYTE_TABLE_H
#define TESKA_BYTE_TABLE_H

#include <cstdint>

namespace teska
{

namespace
{

// Replaces every byte of Count vectors by its entry. difference(i) is row i, by exclusive or with the row before it
// unless it begins a half; repeated in every 16 bytes of a vector.
template <class Isa, int Count, class Difference>
[[gnu::always_inline]] inline void look_up_bytes(typename Isa::vector (&bytes)[Count],
                                                 const Difference &difference) noexcept
{
    typename Isa::vector entries[Count];
    for (auto &entry : entries)
        entry = Isa::zero();
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
        typename Isa::vector left[Count];
        for (int v = 0; v < Count; ++v)
            left[v] = bytes[v] ^ Isa::all8(128 * half);
#pragma GCC unroll 8
        for (int row = 0; row < 8; ++row) {
            const auto change = difference(8 * half + row);
            for (int v = 0; v < Count; ++v) {
                entries[v] ^= Isa::shuffle8(change, left[v]);
                left[v] = Isa::subtract_saturated_s8(left[v], Isa::all8(16));
            }
        }
    }
    for (int v = 0; v < Count; ++v)
        bytes[v] = entries[v];
}

// A table that is used for many vectors: the differences are kept.
template <class Isa>
class shuffled_byte_table
{
    using vector = typename Isa::vector;

public:
    // A table that is not used need not be given.
    shuffled_byte_table(const std::uint8_t *bytes, bool used) noexcept
    {
        for (int i = 0; used && i < 256; ++i)
            rows_[i] = static_cast<std::uint8_t>(bytes[i] ^ (i % 128 < 16 ? 0 : bytes[i - 16]));
    }

    vector look_up(vector bytes) const noexcept
    {
        vector found[1] = {bytes};
        look_up_bytes<Isa>(found, [this](int row) noexcept { return Isa::repeat(rows_ + 16 * row); });
        return found[0];
    }

private:
    std::uint8_t rows_[256];
};

}  // namespace

}  // namespace teska

#endif
