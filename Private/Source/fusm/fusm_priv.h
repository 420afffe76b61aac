// fusm_priv - what both sources of the sharpening filter share: the numbers by which components are corrected

#ifndef TESKA_FUSM_PRIV_H
#define TESKA_FUSM_PRIV_H

#include "Kernels/fusm_kernels.h"
#include "Support/memory.h"

namespace teska::fusm_numbers
{

constexpr int max_processed = 4;

struct corrections {
    int radius = 0;
    int top = 0;        // V
    int processed = 0;  // K
    double strengths[max_processed]{};
    double noise[max_processed]{};
    heap_block<std::int16_t> factors;  // K rows of V + 1; empty: no level reduction
    heap_block<std::uint16_t> tables;  // K rows of V + 1; empty when there was no memory for them
    fusm_curve curves[max_processed]{};
    bool alike = false;  // all components are corrected by the same numbers
};

// Makes tables and curves of strengths and noise. Without memory for tables the curves correct nothing; no report.
void build_tables(corrections &c) noexcept;

// As fusm_level_red_set; false when level reduction is off although points were given.
bool set_levels(corrections &c, int points, const double *levels, const double *factors) noexcept;

}  // namespace teska::fusm_numbers

#endif
