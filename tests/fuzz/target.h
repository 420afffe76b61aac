// target - what the targets of this folder share: a check, an input that is taken piece by piece

#ifndef TESKA_TESTS_TARGET_H
#define TESKA_TESTS_TARGET_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace fuzz
{

// A hunter keeps the input that ends it.
inline void expect(bool holds, int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "What line %d expects does not hold\n", line);
    std::abort();
}

// Whether inputs come by the thousand: what takes ten times as long as the rest is then done for some of them.
#ifdef TESKA_CORPUS
extern bool in_bulk;
#else
inline constexpr bool in_bulk = true;
#endif

inline std::string without_blanks(std::string text)
{
    text.erase(0, text.find_first_not_of(" \t"));
    return text.erase(text.find_last_not_of(" \t") + 1);
}

// Bytes that are missing are zero.
struct Input {
    const std::uint8_t *at;
    std::size_t left;

    int byte() { return left > 0 ? --left, *at++ : 0; }
    int below(int limit) { return byte() % limit; }

    // In memory of its own, so that reading past the end is noticed.
    std::vector<char> bytes(int count)
    {
        std::vector<char> taken(static_cast<std::size_t>(count > 1 ? count : 1));  // null would mean something else
        taken.resize(static_cast<std::size_t>(count));
        for (char &one : taken)
            one = static_cast<char>(byte());
        return taken;
    }

    // A whole number of -100 .. 99 as a rule, or any number.
    double number()
    {
        using limits = std::numeric_limits<double>;
        constexpr double nan = limits::quiet_NaN(), inf = limits::infinity(), max = limits::max(), min = limits::min();
        constexpr double least = limits::denorm_min(), step = limits::epsilon();
        static const double odd[] = {nan,  inf,      -inf,    max, -max, min,   least, -0.0,
                                     step, 1 + step, 1.0 / 3, 0.1, 1e-5, 1e100, -1e16, 0.5};
        const int kind = byte();
        if (kind < 236)
            return kind < 200 ? kind - 100 : kind < 216 ? odd[kind - 200] : (kind - 216) / 20.0;
        double value;
        std::memcpy(&value, bytes(sizeof value).data(), sizeof value);
        return value;
    }
};

}  // namespace fuzz

#endif
