// restriction_priv - what the minimiser asks of a restriction beyond its public functions

#ifndef TESKA_SUPPORT_RESTRICTION_PRIV_H
#define TESKA_SUPPORT_RESTRICTION_PRIV_H

#include "restriction.h"

namespace teska
{

// Coordinates of a full point.
int coordinates(const restriction &r) noexcept;

// Whether a full point keeps the inequalities, each but for 1e-9 * (1 + |b|).
bool keeps_inequalities(const restriction &r, const double *x) noexcept;

// The free variables of a full point.
void pick_free(const restriction &r, const double *x, double *free_vars) noexcept;

}  // namespace teska

#endif
