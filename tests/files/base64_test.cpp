#include "base64.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace
{

constexpr const char *alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string encoded(const char *bytes, int n)
{
    char out[] = "????";
    EXPECT_EQ(encodeToBase64(reinterpret_cast<const unsigned char *>(bytes), out, n), out[3]);
    return out;
}

std::string decoded(const std::string &text)
{
    unsigned char out[3];
    EXPECT_EQ(decodeFromBase64(text.c_str(), out), out[2]);
    return std::string(out, out + 3);
}

}  // namespace

TEST(Base64, GoesThereAndBackInEveryPlace)
{
    for (int value = 0; value < 64; ++value) {
        std::string text;
        for (int place = 0; place < 4; ++place)
            text.push_back(alphabet[(value + 17 * place) % 64]);
        const std::string bytes = decoded(text);
        const int v[] = {value, (value + 17) % 64, (value + 34) % 64, (value + 51) % 64};
        const int all = v[0] << 18 | v[1] << 12 | v[2] << 6 | v[3];
        EXPECT_EQ(bytes,
                  (std::string{static_cast<char>(all >> 16), static_cast<char>(all >> 8), static_cast<char>(all)}));
        EXPECT_EQ(encoded(bytes.c_str(), 3), text);
    }
}

TEST(EncodeToBase64, KeptEncodesTheByteBehindAShortGroup)
{
    const std::tuple<const char *, int, const char *> cases[] = {
        {"M\0\0", 1, "TQ=="}, {"Ma\0", 2, "TWE="}, {"Man", 3, "TWFu"},  {"Ma\xff", 2, "TWH="},
        {"Ma", 1, "TW=="},    {"M\0", 0, "TQ=="},  {"Man", 99, "TWFu"}, {"\xff\xff\xff", 3, "////"}};
    for (const auto &[bytes, n, text] : cases)
        EXPECT_EQ(encoded(bytes, n), text) << n;
}

TEST(DecodeFromBase64, KeptTakesOtherCharactersAsEightSetBits)
{
    EXPECT_EQ(decoded("TQ=="), "\x4d\x3f\xff");
    EXPECT_EQ(decoded("T==="), "\x4f\xff\xff");
    for (int code = 0; code < 256; ++code) {
        const auto character = static_cast<char>(code);
        const bool inside = code != 0 && std::string(alphabet).find(character) != std::string::npos;
        const auto in_second = static_cast<unsigned char>(decoded({'A', character, 'A', 'A'})[0]);
        EXPECT_EQ(in_second == 0x0f, !inside) << code;
    }
}
