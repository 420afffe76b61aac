// tfastpow_bench - powers of 16-bit fractions from a table beside the same with std::pow, one thread

#include "tfastpow.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace
{

using Samples = std::vector<unsigned short>;

constexpr int count = 4096;

Samples random_samples(unsigned seed)
{
    std::mt19937 random(seed);
    Samples samples;
    while (samples.size() < count)
        samples.push_back(static_cast<unsigned short>(random()));
    return samples;
}

struct Case {
    void ours() { power.MultiCalculate(count, bases.data(), exponents.data(), results.data()); }
    void theirs()
    {
        for (std::size_t k = 0; k < count; ++k)
            results[k] = static_cast<unsigned short>(65535 * std::pow(bases[k] / 65535.0, exponents[k] / 65535.0));
    }

    TFastPow power{10, 8};
    Samples bases = random_samples(1);
    Samples exponents = random_samples(2);
    Samples results = Samples(count);
};

// The table knows its operands to 10 and 8 bits alone.
void check(Case &c)
{
    c.theirs();
    const Samples exact = c.results;
    c.ours();
    for (std::size_t k = 0; k < count; ++k)
        if (c.bases[k] > 4096 && std::abs(c.results[k] - exact[k]) > 1000) {
            std::fprintf(stderr, "%d to the %d: %d here, %d there\n", c.bases[k], c.exponents[k], c.results[k],
                         exact[k]);
            std::exit(1);
        }
}

void add(const std::string &name, Case &c, void (Case::*run)())
{
    benchmark::RegisterBenchmark(name.c_str(), [&c, run](benchmark::State &state) {
        for (auto _ : state) {
            (c.*run)();
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * count);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    Case c;
    check(c);
    add("10 and 8 bits/ours", c, &Case::ours);
    add("10 and 8 bits/peer", c, &Case::theirs);
    return bench::run_pairs(argc, argv);
}
