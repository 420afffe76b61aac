#include "archive.h"

#include "support/test.h"

namespace
{

using Archive = std::unique_ptr<archive, archive *(*)(archive *)>;

TEST(Archive, GivesBackWhatWasAddedAndSaysWhatFails)
{
    const teska_test::Folder folder;
    teska_test::Reports reports;
    const std::string path = folder.path("a.fp"), file = folder.path("f");
    folder.write("f", "from a file");
    char *bytes = nullptr, text[ARCHIVE_NAME_SIZE];
    int length = 0, codes[4];
    Archive a(archive_create(path.c_str(), "two", &codes[0]), archive_kill);
    EXPECT_EQ(archive_add(a.get(), "a\\b", "abc", 3), 0);
    EXPECT_EQ(archive_add_file(a.get(), file.c_str(), "f"), 0);
    EXPECT_EQ(archive_add(a.get(), "", "abc", 3), 7);
    EXPECT_EQ(archive_get_error(a.get(), text), 7);
    EXPECT_NE(std::string(text).find("Cannot write output file"), std::string::npos);
    a.reset(archive_open(path.c_str(), nullptr));
    EXPECT_EQ(archive_get_description(a.get(), text), 0);
    EXPECT_STREQ(text, "two");
    for (const char *entry : {"a/b abc", "f from a file"}) {
        EXPECT_EQ(archive_next(a.get(), &bytes, &length, text), 0);
        EXPECT_EQ(text + (' ' + std::string(bytes, static_cast<std::size_t>(length))), entry);
    }
    EXPECT_EQ(archive_next(a.get(), &bytes, &length, text), 9);
    EXPECT_EQ(archive_open(folder.path("missing").c_str(), &codes[1]), nullptr);
    EXPECT_EQ(archive_open(file.c_str(), &codes[2]), nullptr);
    EXPECT_EQ(archive_create(folder.path("no/folder").c_str(), "", &codes[3]), nullptr);
    EXPECT_EQ(std::vector(codes, codes + 4), (std::vector{0, 2, 5, 3}));
    EXPECT_EQ(reports.take(),
              (teska_test::lines{"archive_create: cannot create archive", "archive_open: cannot open archive",
                                 "archive_open: cannot open archive"}));
}

}  // namespace
