// MD5_check_file on a disk that does not give back what it holds
#include "support/folder.h"

#include "faults/injector.h"
#include "md5_digest.h"

#include <gtest/gtest.h>

#include <string>

namespace teska_test
{

TEST(MD5CheckFile, KeptCountsWhatItCannotReadAsZeros)
{
    // Three reads of 16384, 16384 and 7232 bytes; one of them gives nothing, or half.
    const Folder folder;
    for (int n = 0; n < 3; ++n)
        for (const bool half : {false, true}) {
            std::string content(40000, 'x');
            folder.write("whole", content);
            const std::size_t size = n < 2 ? 16384 : 7232;
            const std::size_t lost = half ? size / 2 : size;
            content.replace(static_cast<std::size_t>(n) * 16384 + size - lost, lost, lost, '\0');
            folder.write("zeros", content);
            char found[33], expected[33];
            EXPECT_EQ(MD5_check_file(folder.path("zeros").c_str(), expected), 0);
            arm(fault_kind::files, n, false, {.partial = half});
            EXPECT_EQ(MD5_check_file(folder.path("whole").c_str(), found), 0);
            EXPECT_EQ(disarm(), 1);
            EXPECT_STREQ(found, expected) << n << ", half " << half;
        }
}

}  // namespace teska_test
