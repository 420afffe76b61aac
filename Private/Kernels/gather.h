// gather - whether tables should be read with gather instructions

#ifndef TESKA_GATHER_H
#define TESKA_GATHER_H

namespace teska
{

// Whether a gather is faster here than single loads, by a short measurement. Not to be called on a processor without
// AVX2.
bool measure_gather() noexcept;

}  // namespace teska

#endif
