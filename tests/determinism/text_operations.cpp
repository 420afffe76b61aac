#include "determinism/operations.h"
#include "str_zuk.h"

#include <cmath>
#include <cstring>

namespace teska_test
{

// A power of ten and a double within 40 of it, one between 0 and 16777216, one of any size, and a tie.
static const Operation item_texts("str_itemstr_from_double, 400000 numbers", [](Generator &input, Digest &digest) {
    for (int i = 0; i < 100000; ++i) {
        double power = 1;
        for (int k = input.below(309); k > 0; --k)
            power *= 10;
        double near = power;
        for (int k = input.below(40); k > 0; --k)
            near = std::nextafter(near, 0.0);
        const double fraction = input.unit();
        const std::uint64_t bits = input.next() & ~(std::uint64_t{1} << 52);  // finite
        double values[4] = {near, std::ldexp(fraction, input.below(25)), 0, (input.below(1 << 20) - (1 << 19)) / 16.0};
        std::memcpy(&values[2], &bits, sizeof bits);
        char text[4 * 312 + 1];
        str_itemstr_from_double(values, 4, text);
        digest.add(text, std::strlen(text));
    }
});

}  // namespace teska_test
