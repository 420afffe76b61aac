#include "cipher.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::basic_string<unsigned char>;

template <class Direction>
Bytes through(Direction direction, Bytes bytes, unsigned short key, unsigned short multiplier, unsigned short addend)
{
    Bytes out(bytes.size(), 0);
    direction(bytes.data(), static_cast<int>(bytes.size()), out.data(), key, multiplier, addend);
    direction(bytes.data(), static_cast<int>(bytes.size()), bytes.data(), key, multiplier, addend);
    EXPECT_EQ(bytes, out) << "in place";
    return out;
}

}  // namespace

TEST(Cipher, HidesBytesAndShowsThemAgain)
{
    // Calculated in unbounded integers.
    const std::tuple<Bytes, unsigned short, unsigned short, unsigned short, Bytes> cases[] = {
        {{99, 121, 97, 110, 32, 105}, 4711, 52845, 22719, {0x71, 0x57, 0xc4, 0xf6, 0x62, 0xff}},
        {Bytes(8, 0xff), 65535, 65535, 65535, {0x00, 0xff, 0x00, 0xff, 0x01, 0xfe, 0x02, 0xfd}},
        {{0, 1, 2, 3, 4, 5}, 0x1234, 3, 0x4321, {0x12, 0x78, 0xb0, 0x5f, 0x5d, 0x55}}};
    for (const auto &[plain, key, multiplier, addend, hidden] : cases) {
        EXPECT_EQ(through(CipherEncrypt, plain, key, multiplier, addend), hidden) << key;
        EXPECT_EQ(through(CipherDecrypt, hidden, key, multiplier, addend), plain) << key;
    }
}
