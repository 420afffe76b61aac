// gather_avx2 - whether a gather of eight words is faster than eight single loads
//
// On some processors a gather takes several times as long, by design or since a correction of its microcode; which ones
// cannot be told from their numbers. Both ways read the same 4 KiB, three times each; the fastest of the three counts.
// The answer decides between two ways to the same bits.

#include "Kernels/gather.h"

#include <immintrin.h>

namespace teska
{

namespace
{

constexpr int words = 1024;
constexpr int steps = 128;

// Ticks of the time-stamp counter; read(indices) gives eight words of the table.
template <class Read>
unsigned long long fastest_of_three(const Read &read) noexcept
{
    unsigned long long fastest = ~0ULL;
    for (int round = 0; round < 3; ++round) {
        __m256i indices = _mm256_setr_epi32(0, 129, 258, 387, 516, 645, 774, 903);
        const unsigned long long start = __rdtsc();
        for (int step = 0; step < steps; ++step)
            // What was read decides where to read next; all words are 1.
            indices = _mm256_and_si256(_mm256_add_epi32(indices, read(indices)), _mm256_set1_epi32(words - 1));
        const unsigned long long ticks = __rdtsc() - start;
        // The last indices count, so that the loop cannot be left out.
        if (_mm256_extract_epi32(indices, 0) >= 0 && ticks < fastest)
            fastest = ticks;
    }
    return fastest;
}

}  // namespace

bool measure_gather() noexcept
{
    alignas(64) int table[words];
    for (int &word : table)
        word = 1;
    const unsigned long long gathered =
        fastest_of_three([&](__m256i indices) { return _mm256_i32gather_epi32(table, indices, 4); });
    const unsigned long long single = fastest_of_three([&](__m256i indices) {
        alignas(32) int at[8];
        _mm256_store_si256(reinterpret_cast<__m256i *>(at), indices);
        return _mm256_setr_epi32(table[at[0]], table[at[1]], table[at[2]], table[at[3]], table[at[4]], table[at[5]],
                                 table[at[6]], table[at[7]]);
    });
    return gathered <= single;
}

}  // namespace teska
