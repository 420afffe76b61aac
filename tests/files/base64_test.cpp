#include "base64.h"

#include <gtest/gtest.h>

namespace
{

const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string encoded(const char *bytes, int n)
{
    char out[] = "????";
    EXPECT_EQ(encodeToBase64(reinterpret_cast<const unsigned char *>(bytes), out, n), out[3]);
    return out;
}

// The three bytes as one number.
unsigned decoded(const std::string &text)
{
    unsigned char out[3];
    EXPECT_EQ(decodeFromBase64(text.c_str(), out), out[2]);
    return unsigned{out[0]} << 16 | unsigned{out[1]} << 8 | out[2];
}

}  // namespace

TEST(EncodeToBase64, KeptEncodesTheByteAfterAShortGroup)
{
    const std::tuple<const char *, int, const char *> cases[] = {
        {"M\0", 1, "TQ=="}, {"Ma\0", 2, "TWE="}, {"Man", 3, "TWFu"},  {"Ma\xff", 2, "TWH="},
        {"Ma", 1, "TW=="},  {"M\0", 0, "TQ=="},  {"Man", 99, "TWFu"}, {"\xff\xef\xbe", 3, "/+++"}};
    for (const auto &[bytes, n, text] : cases)
        EXPECT_EQ(encoded(bytes, n), text) << n;
}

TEST(DecodeFromBase64, KeptTakesOtherCharactersAsEightSetBits)
{
    EXPECT_EQ(decoded("TWFu"), 0x4d616eU);
    EXPECT_EQ(decoded("T==="), 0x4fffffU);
    for (int code = 0; code < 256; ++code) {
        const auto v = alphabet.find(static_cast<char>(code));
        EXPECT_EQ(decoded({'A', static_cast<char>(code), 'A', 'A'}), v < 64 ? v << 12 : 0x0ff000U) << code;
    }
}
