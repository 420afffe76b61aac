#include "md5_digest.h"

#include "support/test.h"

namespace
{

std::string pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [i = 0]() mutable { return static_cast<char>(i++ * 37); });
    return bytes;
}

std::string file_digest(const std::string &content)
{
    const teska_test::Folder folder;
    folder.write("gr\xc3\xbcn", content);
    char text[34] = "?????????????????????????????????";
    EXPECT_EQ(MD5_check_file(folder.path("gr\xc3\xbcn").c_str(), text), 0);
    return text;
}

}  // namespace

TEST(MD5CheckFile, GivesThePublishedDigestsAndLeavesTheTextAloneWithoutAFile)
{
    // RFC 1321, appendix A.5; then digests of another implementation.
    const std::pair<std::string, const char *> cases[] = {{"", "D41D8CD98F00B204E9800998ECF8427E"},
                                                          {"abc", "900150983CD24FB0D6963F7D28E17F72"},
                                                          {pattern(40000), "E18BCFE872C400C549D99334C9521156"}};
    for (const auto &[content, digest] : cases)
        EXPECT_EQ(file_digest(content), digest);
    const teska_test::Folder folder;
    const std::string missing = folder.path("missing");
    char text[33] = "untouched";
    for (const char *path : {missing.c_str(), ".", static_cast<const char *>(nullptr)})
        EXPECT_EQ(MD5_check_file(path, text), 1);
    EXPECT_STREQ(text, "untouched");
}

TEST(MD5Update, TakesAnyNumberOfBytesInPiecesOfAnySize)
{
    for (const std::size_t piece : {1U, 63U, 65U, 1000U}) {
        std::string all;
        for (std::size_t size = 0; size < 300; ++size) {
            const std::string bytes = pattern(size);
            MD5_CTX context;
            unsigned char digest[16];
            MD5Init(&context);
            for (std::size_t at = 0; at < size; at += piece)
                MD5Update(&context, &bytes[at], static_cast<unsigned>(std::min(piece, size - at)));
            MD5Update(&context, nullptr, 0);
            MD5Final(digest, &context);
            EXPECT_EQ(context.count[0] | context.state[0], 0U) << "is cleared";
            all.append(digest, digest + 16);
        }
        EXPECT_EQ(file_digest(all), "6EFFBF790DE46BAFBC10C045B9C36DF7") << piece << ": another implementation's";
    }
}

TEST(MD5Final, EndsWithTheNumberOfBitsInBothWords)
{
    // After 2^32 - 512 bits of which nothing else is left; and the same with the end put together by hand.
    MD5_CTX counted, by_hand;
    MD5Init(&counted);
    MD5Init(&by_hand);
    counted.count[0] = 0xfffffe00;
    MD5Update(&counted, pattern(70).data(), 70);
    const std::string end = pattern(70) + '\x80' + std::string(49, '\0') + std::string("\x30\0\0\0\1\0\0\0", 8);
    MD5Update(&by_hand, end.data(), 128);
    unsigned char digest[16];
    MD5Final(digest, &counted);
    for (unsigned i = 0; i < 16; ++i)
        EXPECT_EQ(digest[i], by_hand.state[i / 4] >> i % 4 * 8 & 255);
}
