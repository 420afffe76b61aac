// gather_avx2 - whether gathers of eight words are faster than single loads
//
// On some processors a gather takes several times as long, by design or since a correction of its microcode; which ones
// cannot be told from their numbers. Kernels read many words whose places are known, so what counts is how many are read
// in a time, not how long one takes: both ways read the same 256 words of 16 KiB, several times each in turn, and the
// fastest of the times counts, since other work on the machine only adds. The answer decides between two ways to the
// same bits.

#include "Kernels/kernels.h"

#include <immintrin.h>

namespace teska
{

namespace
{

constexpr int table_words = 4096;
constexpr int reads = 256;
constexpr int rounds = 8;

__m256i gathered(const int *table, __m256i at) noexcept { return _mm256_i32gather_epi32(table, at, 4); }

__m128i four_single(const int *table, __m128i at) noexcept
{
    const auto low = static_cast<unsigned long long>(_mm_cvtsi128_si64(at));
    const auto high = static_cast<unsigned long long>(_mm_extract_epi64(at, 1));
    __m128i words = _mm_cvtsi32_si128(table[low & 0xFFFFFFFFU]);
    words = _mm_insert_epi32(words, table[low >> 32], 1);
    words = _mm_insert_epi32(words, table[high & 0xFFFFFFFFU], 2);
    return _mm_insert_epi32(words, table[high >> 32], 3);
}

__m256i single(const int *table, __m256i at) noexcept
{
    return _mm256_set_m128i(four_single(table, _mm256_extracti128_si256(at, 1)),
                            four_single(table, _mm256_castsi256_si128(at)));
}

// Ticks of the time-stamp counter for all reads; `sum` keeps them from being left out.
template <class Read>
unsigned long long ticks(const int *table, const int *places, __m256i &sum, const Read &read) noexcept
{
    const unsigned long long start = __rdtsc();
    for (int i = 0; i < reads; i += 8)
        sum = _mm256_xor_si256(sum, read(table, _mm256_loadu_si256(reinterpret_cast<const __m256i *>(places + i))));
    return __rdtsc() - start;
}

}  // namespace

bool measure_gather() noexcept
{
    int table[table_words];
    int places[reads];
    for (int i = 0; i < table_words; ++i)
        table[i] = i;
    for (int i = 0; i < reads; ++i)
        places[i] = i * 1237 % table_words;
    __m256i sum = _mm256_setzero_si256();
    unsigned long long fastest[2] = {~0ULL, ~0ULL};
    for (int round = 0; round < rounds; ++round) {
        const unsigned long long times[2] = {ticks(table, places, sum, gathered), ticks(table, places, sum, single)};
        for (int way = 0; way < 2; ++way)
            fastest[way] = times[way] < fastest[way] ? times[way] : fastest[way];
    }
    // Both ways read the same an even number of times in all, so nothing is left of the sum.
    return _mm256_testz_si256(sum, sum) != 0 && fastest[0] <= fastest[1];
}

}  // namespace teska
