// base64 - bytes as text of 64 characters, one group at a time (files)
//
//     bytes        00000011 11112222 22333333
//     characters   000000 111111 222222 333333

#include "base64.h"

#include <array>

namespace
{

using byte = unsigned char;

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char padding = '=';
constexpr int first = '+';  // the characters of the alphabet lie between these two
constexpr int last = 'z';

// By character: its value plus 1, and 0 for those outside the alphabet.
constexpr auto values = [] {
    std::array<byte, last - first + 1> table = {};
    for (int value = 0; value < 64; ++value)
        table[static_cast<unsigned>(alphabet[value] - first)] = static_cast<byte>(value + 1);
    return table;
}();

// Kept: 255 for a character outside the alphabet, which is more than six bits.
unsigned value_of(char character)
{
    const int code = static_cast<byte>(character);
    const int found = code >= first && code <= last ? values[static_cast<unsigned>(code - first)] : 0;
    return static_cast<byte>(found - 1);
}

}  // namespace

char encodeToBase64(const unsigned char *in, char *out, int n) TESKA_NOTHROW
{
    // Kept: the byte after the group reaches into its last character. What lies further on is not read.
    const unsigned bits = unsigned{in[0]} << 16 | unsigned{in[1]} << 8 | (n < 2 ? 0U : in[2]);
    out[0] = alphabet[bits >> 18];
    out[1] = alphabet[bits >> 12 & 63];
    out[2] = n < 2 ? padding : alphabet[bits >> 6 & 63];
    out[3] = n < 3 ? padding : alphabet[bits & 63];
    return out[3];
}

unsigned char decodeFromBase64(const char *in, unsigned char *out) TESKA_NOTHROW
{
    const unsigned v[4] = {value_of(in[0]), value_of(in[1]), value_of(in[2]), value_of(in[3])};
    out[0] = static_cast<byte>(v[0] << 2 | v[1] >> 4);
    out[1] = static_cast<byte>(v[1] << 4 | v[2] >> 2);
    out[2] = static_cast<byte>(v[2] << 6 | v[3]);
    return out[2];
}
