// tran3 - a subtractive generator of random numbers (numerics)
//
// One step, with both indices moving round the ring 1 .. 55:
//
//     ma[inext] = (ma[inext] - ma[inextp]) mod MBIG
//
// The constructor spreads the seed over the ring, neighbours 21 indices apart, and subtracts from each number the one
// 31 indices further on, four times over, which is the warm-up. Every number is in 0 .. MBIG - 1 at all times, so that
// no difference leaves 32 bits.

#include "tran3.h"

#include <cstdint>

const int TRan3::MBIG;
const int TRan3::MSEED;
const int TRan3::MZ;

static_assert(sizeof(TRan3) == 58 * sizeof(std::int32_t));

namespace
{

constexpr int last = 55;  // index of the ring's last number

int difference(int a, int b)
{
    const int d = a - b;
    return d < TRan3::MZ ? d + TRan3::MBIG : d;
}

int next_index(int index) { return index == last ? 1 : index + 1; }

// |MSEED - |seed|| mod MBIG. The magnitude of the least long is no long.
int first_number(long seed)
{
    const auto bits = static_cast<std::uint64_t>(seed);
    const std::uint64_t magnitude = seed < 0 ? 0 - bits : bits;
    constexpr std::uint64_t middle = TRan3::MSEED;
    const std::uint64_t distance = magnitude > middle ? magnitude - middle : middle - magnitude;
    return static_cast<int>(distance % TRan3::MBIG);
}

}  // namespace

TRan3::TRan3(long seed) : ma(), inext(0), inextp(31)
{
    int mj = first_number(seed);
    ma[last] = mj;
    int mk = 1;
    for (int i = 1; i < last; ++i) {
        const int index = 21 * i % last;
        ma[index] = mk;
        mk = difference(mj, mk);
        mj = ma[index];
    }
    for (int round = 0; round < 4; ++round)
        for (int i = 1; i <= last; ++i)
            ma[i] = difference(ma[i], ma[1 + (i + 30) % last]);
}

TRan3 &TRan3::operator=(const TRan3 &other) = default;

float TRan3::Generate()
{
    inext = next_index(inext);
    inextp = next_index(inextp);
    ma[inext] = difference(ma[inext], ma[inextp]);
    return static_cast<float>(ma[inext] * FAC);
}
