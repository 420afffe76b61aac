#include "cipher.h"

#include <gtest/gtest.h>

#include <climits>
#include <numeric>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

struct Case {
    Bytes plain;
    unsigned short key, multiplier, addend;
    Bytes hidden;
};

// Calculated in unbounded integers.
const Case cases[] = {
    {{'c', 'y', 'a', 'n', ' ', 'i', 'n', 'k'}, 4711, 52845, 22719, {0x71, 0x57, 0xc4, 0xf6, 0x62, 0xff, 0xa7, 0x20}},
    {Bytes(8, 0xff), 65535, 65535, 65535, {0x00, 0xff, 0x00, 0xff, 0x01, 0xfe, 0x02, 0xfd}},
    {{0, 1, 2, 3, 4, 5, 6, 7}, 0x1234, 3, 0x4321, {0x12, 0x78, 0xb0, 0x5f, 0x5d, 0x55, 0x32, 0xe7}},
};

}  // namespace

TEST(Cipher, HidesBytesAndShowsThemAgainInPlaceToo)
{
    for (const auto &[plain, key, multiplier, addend, hidden] : cases) {
        Bytes out(8);
        CipherEncrypt(plain.data(), 8, out.data(), key, multiplier, addend);
        EXPECT_EQ(out, hidden) << key;
        CipherDecrypt(out.data(), 8, out.data(), key, multiplier, addend);
        EXPECT_EQ(out, plain) << key;
        CipherEncrypt(out.data(), 8, out.data(), key, multiplier, addend);
        EXPECT_EQ(out, hidden) << key;
        Bytes shown(8);
        CipherDecrypt(hidden.data(), 8, shown.data(), key, multiplier, addend);
        EXPECT_EQ(shown, plain) << key;
    }
    for (const int count : {0, -1, INT_MIN}) {
        CipherEncrypt(nullptr, count, nullptr, 1, 2, 3);
        CipherDecrypt(nullptr, count, nullptr, 1, 2, 3);
    }
}
