// hist - histogram of integers (curves)
//
// One block of counts; value v has bin v - lo + 1:
//
//     | below lo | lo | lo + 1 | .. | hi | above hi |          bins = hi - lo + 3, at least 1
//
// With hi = lo - 1 the two outer bins are all there is, with hi = lo - 2 one bin serves for both. Bounds may lie at the
// ends of the range of int, so everything that steps over them is 64 bits wide.

#include "hist.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>

struct hist {
    teska::heap_block<std::int32_t> counts;
    std::int32_t lo = 0;
    std::int32_t hi = 0;
    std::int32_t bins = 0;
    std::int32_t total = 0;  // values entered, unless the caller says otherwise
};

namespace
{

std::size_t bin_of(const hist &h, std::int64_t value)
{
    if (value < h.lo)
        return 0;
    // One bin for all: the first is the last.
    const std::int64_t last = h.bins - 1;
    return static_cast<std::size_t>(std::min(value - h.lo + 1, last));
}

// Unsigned, because a count may wrap.
std::int32_t sum(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

// sum of count(v) * term(v), v = lo .. hi, divided by the total unless that is 0.
template <class Term>
double mean_of(const hist &h, Term term)
{
    double total = 0.0;
    for (std::int64_t v = h.lo; v <= h.hi; ++v)
        total += h.counts[bin_of(h, v)] * term(static_cast<double>(v));
    return h.total != 0 ? total / h.total : total;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

hist *hist_new(int lo, int hi) TESKA_NOTHROW
{
    const std::int64_t bins = std::int64_t{hi} - lo + 3;
    if (bins < 1) {
        TESKA_ERR("hist_new: illegal bounds");
        return nullptr;
    }
    auto h = teska::make_record<hist>();
    if (!h) {
        TESKA_ERR("hist_new: alloc self failed");
        return nullptr;
    }
    if (bins <= INT_MAX)
        h->counts = teska::zeroed_block<std::int32_t>(static_cast<std::size_t>(bins));
    if (!h->counts) {
        // Kept: the text does not tell missing memory from bounds out of order.
        TESKA_ERR("hist_new: illegal bounds");
        return nullptr;
    }
    h->lo = lo;
    h->hi = hi;
    h->bins = static_cast<std::int32_t>(bins);
    return h.release();
}

int hist_kill(hist *h) TESKA_NOTHROW
{
    teska::kill_record(h);
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int hist_point(hist *h, const int *values, int n) TESKA_NOTHROW
{
    for (int i = 0; i < n; ++i) {
        std::int32_t &count = h->counts[bin_of(*h, values[i])];
        count = sum(count, 1);
    }
    // Kept: a negative n counts too.
    h->total = sum(h->total, n);
    return 0;
}

int hist_set(hist *h, int total) TESKA_NOTHROW
{
    h->total = total;
    return total;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int *hist_get(hist *h, int *total) TESKA_NOTHROW
{
    if (total != nullptr)
        *total = h->total;
    return h->counts.get();
}

int hist_med(const hist *h, double *mean, double *sd) TESKA_NOTHROW
{
    const double middle = mean_of(*h, [](double v) { return v; });
    *mean = middle;
    *sd = std::sqrt(mean_of(*h, [=](double v) { return (v - middle) * (v - middle); }));
    return 0;
}

int hist_percentile(const hist *h, double percent) TESKA_NOTHROW
{
    // The product first: 100 values and 29 percent give 29, while 29 / 100 is a little less than that part of 100.
    const double target = std::trunc(h->total * percent / 100.0);
    std::int64_t v = std::int64_t{h->lo} - 1;
    // Negated, so that NaN is refused.
    if (!(target >= 1.0))
        return static_cast<int>(v);
    // Kept: the step after the bin that reaches the target stays in the result.
    for (std::int64_t reached = 0; static_cast<double>(reached) < target && v <= h->hi; ++v)
        reached += h->counts[bin_of(*h, v)];
    return static_cast<int>(v);
}
