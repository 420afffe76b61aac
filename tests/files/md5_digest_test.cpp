#include "md5_digest.h"

#include "support/folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

namespace
{

using Bytes = std::basic_string<unsigned char>;

// The digest of bytes given in pieces of one size.
Bytes digest_of(const Bytes &bytes, std::size_t piece)
{
    MD5_CTX context;
    Bytes digest(16, 0);
    MD5Init(&context);
    for (std::size_t at = 0; at < bytes.size(); at += piece)
        MD5Update(&context, &bytes[at], static_cast<unsigned>(std::min(piece, bytes.size() - at)));
    MD5Update(&context, nullptr, 0);
    MD5Final(digest.data(), &context);
    EXPECT_TRUE(context.count[0] == 0 && context.state[0] == 0);
    return digest;
}

std::string hexadecimal(const Bytes &digest)
{
    std::string text;
    char digits[3];
    for (const unsigned char byte : digest)
        text.append(digits, static_cast<std::size_t>(std::snprintf(digits, sizeof digits, "%02x", byte)));
    return text;
}

Bytes pattern(std::size_t size)
{
    Bytes bytes(size, 0);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(i * 37);
    return bytes;
}

}  // namespace

TEST(MD5Final, GivesThePublishedDigests)
{
    // RFC 1321, appendix A.5.
    const std::pair<const char *, const char *> cases[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"}};
    for (const auto &[text, digest] : cases)
        EXPECT_EQ(hexadecimal(digest_of(Bytes(text, text + std::strlen(text)), 100)), digest) << text;
}

TEST(MD5Update, TakesAnyNumberOfBytesInPiecesOfAnySize)
{
    // The digest of all digests, from another implementation.
    for (const std::size_t piece : {1U, 3U, 63U, 64U, 65U, 127U, 1000U}) {
        Bytes all;
        for (std::size_t size = 0; size < 300; ++size)
            all += digest_of(pattern(size), piece);
        EXPECT_EQ(hexadecimal(digest_of(all, piece)), "6effbf790de46bafbc10c045b9c36df7") << piece;
    }
}

TEST(MD5Update, CountsBitsBeyond32)
{
    MD5_CTX context;
    MD5Init(&context);
    context.count[0] = 0xfffffe00;
    MD5Update(&context, pattern(70).data(), 70);
    EXPECT_TRUE(context.count[0] == 48 && context.count[1] == 1);
}

TEST(MD5CheckFile, DigestsFilesOfAnySize)
{
    const teska_test::Folder folder;
    const std::pair<std::size_t, const char *> cases[] = {{0, "D41D8CD98F00B204E9800998ECF8427E"},
                                                          {16384, "BDAE97DF4D4E197313D7E378B507588E"},
                                                          {16385, "69E53B9D8A2D496EA38C7A54266A469A"},
                                                          {40000, "E18BCFE872C400C549D99334C9521156"}};
    for (const auto &[size, digest] : cases) {
        const Bytes bytes = pattern(size);
        folder.write("gr\xc3\xbcn", std::string(bytes.begin(), bytes.end()));
        char text[33];
        std::memset(text, '?', sizeof text);
        EXPECT_EQ(MD5_check_file(folder.path("gr\xc3\xbcn").c_str(), text), 0);
        EXPECT_STREQ(text, digest) << size;
    }
}

TEST(MD5CheckFile, LeavesTheTextAloneWhenThereIsNoFile)
{
    const teska_test::Folder folder;
    char text[33] = "untouched";
    EXPECT_EQ(MD5_check_file(folder.path("missing").c_str(), text), 1);
    EXPECT_EQ(MD5_check_file(folder.path().c_str(), text), 1) << "a folder";
    EXPECT_EQ(MD5_check_file(nullptr, text), 1);
    EXPECT_STREQ(text, "untouched");
}
