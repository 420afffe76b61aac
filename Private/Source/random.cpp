// random - the minimal standard generator of random numbers (numerics)
//
// With M = 2^31 - 1, a = 16807, q = M / a = 127773 and r = M mod a = 2836 the product a s mod M is
//
//     a (s mod q) - r (s / q),   plus M where that is not positive
//
// and neither term leaves 32 bits, because r < q. The state 1 is 1043618065 after 10,000 steps.

#include "random.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <cstdint>

namespace
{

constexpr std::int32_t modulus = 2147483647;
constexpr std::int32_t multiplier = 16807;
constexpr std::int32_t quotient = 127773;  // modulus / multiplier
constexpr std::int32_t rest = 2836;        // modulus % multiplier

std::int32_t first_state(std::int64_t seed)
{
    const std::int64_t state = (seed % modulus + modulus) % modulus;
    return state != 0 ? static_cast<std::int32_t>(state) : 1;
}

}  // namespace

struct random_rec {
    std::int32_t state = 1;  // 1 .. modulus - 1
};

// ---- Life -----------------------------------------------------------------------------------------------------------

random_rec *random_new(int seed) TESKA_NOTHROW
{
    auto generator = teska::make_record<random_rec>();
    if (!generator) {
        TESKA_ERR("Random_new : allocation failed");
        return nullptr;
    }
    generator->state = first_state(seed);
    return generator.release();
}

random_rec *random_kill(random_rec *generator) TESKA_NOTHROW
{
    teska::kill_record(generator);
    return nullptr;
}

// ---- Process --------------------------------------------------------------------------------------------------------

float random_val(random_rec *generator) TESKA_NOTHROW
{
    const std::int32_t k = generator->state / quotient;
    std::int32_t s = multiplier * (generator->state - k * quotient) - rest * k;
    if (s <= 0)
        s += modulus;
    generator->state = s;
    // The product is exact in double; only the conversion to float rounds.
    return static_cast<float>(s * 0x1p-31);
}
