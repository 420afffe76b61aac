#include "archive.h"

#include "support/folder.h"
#include "support/reports.h"

#include "filepacker.h"

#include <gtest/gtest.h>

#include <memory>

using teska_test::lines;
using teska_test::Reports;

namespace
{

using Archive = std::unique_ptr<archive, archive *(*)(archive *)>;

TEST(Archive, HoldsWhatTheClassWrites)
{
    const teska_test::Folder folder;
    const std::string by_class = folder.path("class.fp"), by_face = folder.path("face.fp"), file = folder.path("f");
    folder.write("f", "from a file");
    {
        FilePacker packer(by_class.c_str(), 0, "two");
        packer.AddFileAsBuffer("abc", 3, "a\\b");
        packer.AddFile(file.c_str(), "f");
        const Archive out(archive_create(by_face.c_str(), "two", nullptr), archive_kill);
        EXPECT_EQ(archive_add(out.get(), "a\\b", "abc", 3), 0);
        EXPECT_EQ(archive_add_file(out.get(), file.c_str(), "f"), 0);
        EXPECT_EQ(archive_add(out.get(), "", "abc", 3), 7);
        char text[ARCHIVE_TEXT_SIZE];
        EXPECT_EQ(archive_get_error(out.get(), text), 7);
        EXPECT_NE(std::string(text).find("Cannot write output file"), std::string::npos);
    }
    EXPECT_EQ(folder.read("face.fp"), folder.read("class.fp"));

    int code = -1;
    const Archive in(archive_open(by_face.c_str(), &code), archive_kill);
    EXPECT_EQ(code, 0);
    char *bytes = nullptr, name[ARCHIVE_NAME_SIZE], description[ARCHIVE_NAME_SIZE];
    int length = 0;
    EXPECT_EQ(archive_get_description(in.get(), description), 0);
    EXPECT_STREQ(description, "two");
    EXPECT_EQ(archive_next(in.get(), &bytes, &length, name), 0);
    EXPECT_EQ(std::string(name) + ' ' + std::string(bytes, static_cast<std::size_t>(length)), "a/b abc");
    EXPECT_EQ(archive_next(in.get(), &bytes, &length, name), 0);
    EXPECT_EQ(std::string(name) + ' ' + std::string(bytes, static_cast<std::size_t>(length)), "f from a file");
    EXPECT_EQ(archive_next(in.get(), &bytes, &length, name), 9);
}

TEST(Archive, SaysWhyThereIsNone)
{
    const teska_test::Folder folder;
    const std::string other = folder.path("other");
    folder.write("other", "no archive");
    Reports reports;
    int code = 0;
    EXPECT_EQ(archive_open(folder.path("missing").c_str(), &code), nullptr);
    EXPECT_EQ(code, 2);
    EXPECT_EQ(archive_open(other.c_str(), &code), nullptr);
    EXPECT_EQ(code, 5);
    EXPECT_EQ(archive_create(folder.path("no/folder").c_str(), "", &code), nullptr);
    EXPECT_EQ(code, 3);
    EXPECT_EQ(reports.take(), (lines{"archive_create: cannot create archive", "archive_open: cannot open archive",
                                     "archive_open: cannot open archive"}));
}

}  // namespace
