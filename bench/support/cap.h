// cap - the instruction sets that a benchmark may use

#ifndef BENCH_CAP_H
#define BENCH_CAP_H

#include "Kernels/kernels.h"

namespace bench
{

// Nothing above the level while it lives. For programs that link the static library.
class Cap
{
public:
    explicit Cap(teska::simd_level level) : before_(teska::simd_limit(level)) {}
    Cap(const Cap &) = delete;
    Cap &operator=(const Cap &) = delete;
    ~Cap() { teska::simd_limit(before_); }

private:
    teska::simd_level before_;
};

}  // namespace bench

#endif
