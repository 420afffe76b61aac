#include "archive.h"

#include "support/folder.h"
#include "support/reports.h"

#include "filepacker.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

using Archive = std::unique_ptr<archive, archive *(*)(archive *)>;

TEST(Archive, HoldsWhatTheClassWrites)
{
    const teska_test::Folder folder;
    const std::string by_class = folder.path("class.fp"), by_face = folder.path("face.fp"), file = folder.path("f");
    folder.write("f", "from a file");
    char *bytes = nullptr, text[ARCHIVE_NAME_SIZE];
    int length = 0, code = -1;
    {
        FilePacker packer(by_class.c_str(), 0, "two");
        packer.AddFileAsBuffer("abc", 3, "a\\b");
        packer.AddFile(file.c_str(), "f");
        const Archive out(archive_create(by_face.c_str(), "two", nullptr), archive_kill);
        EXPECT_EQ(archive_add(out.get(), "a\\b", "abc", 3), 0);
        EXPECT_EQ(archive_add_file(out.get(), file.c_str(), "f"), 0);
        EXPECT_EQ(archive_add(out.get(), "", "abc", 3), 7);
        EXPECT_EQ(archive_get_error(out.get(), text), 7);
        EXPECT_NE(std::string(text).find("Cannot write output file"), std::string::npos);
    }
    EXPECT_EQ(folder.read("face.fp"), folder.read("class.fp"));
    const Archive in(archive_open(by_face.c_str(), &code), archive_kill);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(archive_get_description(in.get(), text), 0);
    EXPECT_STREQ(text, "two");
    for (const char *entry : {"a/b abc", "f from a file"}) {
        EXPECT_EQ(archive_next(in.get(), &bytes, &length, text), 0);
        EXPECT_EQ(text + (' ' + std::string(bytes, static_cast<std::size_t>(length))), entry);
    }
    EXPECT_EQ(archive_next(in.get(), &bytes, &length, text), 9);
}

TEST(Archive, SaysWhyThereIsNone)
{
    const teska_test::Folder folder;
    folder.write("other", "no archive");
    teska_test::Reports reports;
    int codes[3];
    EXPECT_EQ(archive_open(folder.path("missing").c_str(), &codes[0]), nullptr);
    EXPECT_EQ(archive_open(folder.path("other").c_str(), &codes[1]), nullptr);
    EXPECT_EQ(archive_create(folder.path("no/folder").c_str(), "", &codes[2]), nullptr);
    EXPECT_EQ(std::vector(codes, codes + 3), (std::vector{2, 5, 3}));
    EXPECT_EQ(reports.take(),
              (teska_test::lines{"archive_create: cannot create archive", "archive_open: cannot open archive",
                                 "archive_open: cannot open archive"}));
}

}  // namespace
