// gather_avx2 - whether gathers of eight words are faster than single loads
//
// On some processors a gather takes several times as long, by design or since a correction of its microcode; which ones
// cannot be told from their numbers. Kernels read many words at places that are known, so what counts is how many are
// read in a time, not how long one takes: both ways read the same 256 words of 16 KiB, several times each in turn, and
// the fastest of the times counts, since other work on the machine only adds. The answer decides between two ways to
// the same bits.

#include "Kernels/avx2.h"
#include "Kernels/gather.h"

namespace teska
{

namespace
{

constexpr int table_words = 4096;
constexpr int reads = 256;
constexpr int rounds = 8;

// Ticks of the time-stamp counter for all reads by Reader; `sum` keeps them from being left out.
template <class Reader>
unsigned long long ticks(const int *table, const int *indices, avx2::vector &sum) noexcept
{
    const unsigned long long start = __rdtsc();
    for (int i = 0; i < reads; i += 8)
        sum ^= Reader::template words_at<4>(table, avx2::load(indices + i));
    return __rdtsc() - start;
}

}  // namespace

bool measure_gather() noexcept
{
    int table[table_words];
    int indices[reads];
    for (int i = 0; i < table_words; ++i)
        table[i] = i;
    for (int i = 0; i < reads; ++i)
        indices[i] = i * 1237 % table_words;
    avx2::vector sum = avx2::zero();
    unsigned long long fastest[2] = {~0ULL, ~0ULL};
    for (int round = 0; round < rounds; ++round) {
        const unsigned long long times[2] = {ticks<avx2_gathers>(table, indices, sum),
                                             ticks<avx2_loads>(table, indices, sum)};
        for (int way = 0; way < 2; ++way)
            fastest[way] = times[way] < fastest[way] ? times[way] : fastest[way];
    }
    // Both ways read the same an even number of times in all, so nothing is left of the sum.
    return avx2::is_zero(sum) && fastest[0] <= fastest[1];
}

}  // namespace teska
