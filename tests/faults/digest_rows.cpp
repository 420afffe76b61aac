// MD5_check_file on a disk that does not give back what it holds
#include "faults/injector.h"

#include "md5_digest.h"
#include "support/folder.h"

#include <gtest/gtest.h>

#include <string>

namespace teska_test
{

namespace
{

std::string digest_of(const std::string &path)
{
    char text[33] = "";
    EXPECT_EQ(MD5_check_file(path.c_str(), text), 0);
    return text;
}

TEST(MD5CheckFile, KeptCountsWhatItCannotReadAsZeros)
{
    // Three reads of 16384, 16384 and 7232 bytes, then the file is closed; the whole or its second half is missing.
    const Folder folder;
    const std::string content(40000, 'x');
    folder.write("whole", content);
    for (int n = 0; n < 4; ++n)
        for (const bool sticky : {false, true})
            for (const bool half : {false, true}) {
                std::string read = content;
                for (int k = n; k < (sticky ? 3 : n + 1); ++k) {
                    const auto begin = static_cast<std::size_t>(k) * 16384;
                    const std::size_t size = k < 2 ? 16384 : k == 2 ? 7232 : 0;
                    const std::size_t got = half ? size / 2 : 0;
                    if (size > got)
                        read.replace(begin + got, size - got, size - got, '\0');
                }
                folder.write("read", read);
                const std::string expected = digest_of(folder.path("read"));
                arm(fault_kind::files, n, sticky, {.partial = half});
                const std::string digest = digest_of(folder.path("whole"));
                EXPECT_GT(disarm(), 0);
                EXPECT_EQ(digest, expected) << n << ", sticky " << sticky << ", half " << half;
            }
}

}  // namespace

}  // namespace teska_test
