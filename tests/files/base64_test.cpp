#include "base64.h"

#include <gtest/gtest.h>

TEST(EncodeToBase64, KeptEncodesTheByteAfterAShortGroup)
{
    const std::tuple<const char *, int, const char *> cases[] = {
        {"M\0", 1, "TQ=="}, {"Ma\0", 2, "TWE="}, {"Man", 3, "TWFu"},  {"Ma\xff", 2, "TWH="},
        {"Ma", 1, "TW=="},  {"M\0", 0, "TQ=="},  {"Man", 99, "TWFu"}, {"\xff\xef\xbe", 3, "/+++"}};
    for (const auto &[bytes, n, text] : cases) {
        char out[] = "????";
        EXPECT_EQ(encodeToBase64(reinterpret_cast<const unsigned char *>(bytes), out, n), text[3]) << text;
        EXPECT_STREQ(out, text) << n;
    }
}

TEST(DecodeFromBase64, KeptTakesOtherCharactersAsEightSetBits)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int code = 0; code < 256; ++code) {
        const char text[] = {'T', static_cast<char>(code), 'F', static_cast<char>(code)};
        const unsigned at = static_cast<unsigned>(alphabet.find(text[1])), v = at < 64 ? at : 255;
        unsigned char out[3];
        EXPECT_EQ(decodeFromBase64(text, out), out[2]);
        EXPECT_EQ(unsigned{out[0]} << 16 | unsigned{out[1]} << 8 | out[2], 19U << 18 | v << 12 | 5U << 6 | v) << code;
    }
}
