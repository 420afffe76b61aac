// pairs - runs the registered benchmarks and sets ours beside the peer's
//
// Benchmarks are named "<case>/ours" and "<case>/peer" and set the items processed. Each runs many times for a moment,
// in random order, and the table takes the medians of the runs.

#ifndef BENCH_PAIRS_H
#define BENCH_PAIRS_H

namespace bench
{

// The body of main. Arguments are those of Google Benchmark and override the defaults set here; every single run is
// written with --benchmark_out=<file>. Returns 1 when a case lacks its other half.
int run_pairs(int argc, char **argv);

}  // namespace bench

#endif
