// numb - digits of integers (text)
//
// Digit arrays are least significant first: 26 in base 16 is {10, 1}, the text "1a". Sums and products are formed
// unsigned, where a wrap is defined, and read as int at the end. No state.

#include "numb.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace
{

constexpr int int_bits = 32;
constexpr int hex_base = 16;
constexpr int most_hex_digits = 32;

// 34! and all further factorials hold the factor 2^32.
constexpr int least_wrapped_factorial = 34;

std::uint32_t wrapped(int value) { return static_cast<std::uint32_t>(value); }

// -1 when the character is no hexadecimal digit.
int hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

void split_bits(int value, int *digits, int n)
{
    for (int i = 0; i < n; ++i)
        digits[i] = value >> std::min(i, int_bits - 1) & 1;
}

}  // namespace

int numb_decimal_to_base(int value, int *digits, int n, int base) TESKA_NOTHROW
{
    if (base == 2) {
        split_bits(value, digits, n);
        return 0;
    }
    // Wider than int: the smallest one has no quotient by -1.
    std::int64_t rest = base != 0 ? value : 0;
    for (int i = 0; i < n; ++i) {
        digits[i] = rest != 0 ? static_cast<int>(rest % base) : 0;
        rest = rest != 0 ? rest / base : 0;
    }
    return 0;
}

int numb_base_to_decimal(const int *digits, int *value, int n, int base) TESKA_NOTHROW
{
    std::uint32_t sum = 0;
    for (int i = n; i > 0; --i)
        sum = sum * wrapped(base) + wrapped(digits[i - 1]);
    *value = static_cast<int>(sum);
    return 0;
}

int numb_combination(int n, int k) TESKA_NOTHROW
{
    if (k > n)
        return -1;
    if (k >= least_wrapped_factorial)
        return 0;
    std::uint32_t numerator = 1;
    std::uint32_t denominator = 1;
    for (int i = 0; i < k; ++i) {
        numerator *= wrapped(n - i);
        denominator *= wrapped(i + 1);
    }
    return static_cast<int>(numerator) / static_cast<int>(denominator);
}

int numb_hex_string_to_decimal(const char *text, int *value) TESKA_NOTHROW
{
    std::uint32_t sum = 0;
    int digit = 0;
    for (; *text != 0; ++text) {
        const int here = hex_digit(*text);
        const bool last = text[1] == 0;
        if (here < 0 && !last)
            return -1;
        // Kept: a last character that is no digit counts as the digit before it.
        digit = here >= 0 ? here : digit;
        sum = (sum + wrapped(digit)) * (last ? 1 : hex_base);
    }
    *value = static_cast<int>(sum);
    return 0;
}

int numb_hex_to_hex_string(const int *digits, int n, char *text) TESKA_NOTHROW
{
    constexpr int longest = 11;  // INT_MIN
    char *at = text;
    *at = 0;
    for (int i = n; i > 0; --i) {
        const int digit = digits[i - 1];
        if (digit >= hex_base)
            return -1;
        if (digit == 0 && at == text)
            continue;
        // Kept: what is below 0 comes out in decimal.
        at = std::to_chars(at, at + longest, digit, digit < 0 ? 10 : hex_base).ptr;
        *at = 0;
    }
    return 0;
}

int numb_decimal_to_hex_string(int value, char *text) TESKA_NOTHROW
{
    int digits[most_hex_digits];
    numb_decimal_to_base(value, digits, most_hex_digits, hex_base);
    return numb_hex_to_hex_string(digits, most_hex_digits, text);
}
