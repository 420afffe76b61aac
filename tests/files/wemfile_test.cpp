#include "wemfile.h"

#include "support/folder.h"
#include "support/reports.h"

#include <wem.h>
#include <zuk.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>

using teska_test::Folder, teska_test::lines, teska_test::Reports;

namespace
{

// Three folders, of which logical names lead to two.
class Wemfile : public testing::Test
{
protected:
    Wemfile()
    {
        for (const char *name : {"user", "user/inks", "system", "system/tables", "system/tables/inks", "etc"})
            std::filesystem::create_directory(folder.path(name));
        wem_lognam_set("USER", folder.path("user").c_str());
        wem_lognam_set("SYSTEM", folder.path("system").c_str());
        wem_lognam_set("PRESS", "inks");
    }
    ~Wemfile() override { wem_lognam_clear(); }

    // A record file with one topic whose item says where it is.
    void write(const std::string &path, const std::string &topic) const
    {
        folder.write(path, "[" + topic + "]\nfrom = " + path + "\n");
    }

    // What is in a database: "topic=file" of the topics a and b; the path that was found without the folder.
    std::string open(const char *name, const char *folders, int mode)
    {
        char found[500] = "untouched";
        const std::shared_ptr<zuk_db> db(teska_wemopen_file(name, folders, mode, found, sizeof found), zuk_close);
        std::string text = found;
        if (text.starts_with(folder.path()))
            text.erase(0, folder.path().size() + 1);
        for (const char *topic : {"a", "b"}) {
            char value[ZUK_VALUE_SIZE];
            if (db && zuk_search(db.get(), topic, "from", value) == 0)
                text += std::string(" ") + topic + "=" + value;
        }
        return text;
    }

    Folder folder;
    std::string etc = folder.path("etc");
    std::string search = "USER:;;SYSTEM:[tables];" + etc;
    Reports reports;
};

}  // namespace

TEST_F(Wemfile, LoadsTheFirstThatExistsOrAllOfThem)
{
    const char *name = "PRESS:[deep]coated.rec";
    wem_lognam_set("PRESS", "inks");
    for (const char *top : {"system/tables/inks/deep", "user/inks/deep"})
        std::filesystem::create_directory(folder.path(top));
    EXPECT_EQ(open(name, search.c_str(), 0), "untouched");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(reports.take(), lines{"teska_wemopen_file: file not found"});
    write("system/tables/inks/deep/coated.rec", "b");
    for (const int mode : {0, 1, 2, 4, 6})
        EXPECT_EQ(open(name, search.c_str(), mode),
                  "system/tables/inks/deep/coated.rec b=system/tables/inks/deep/coated.rec");
    write("user/inks/deep/coated.rec", "a");
    EXPECT_EQ(open(name, search.c_str(), 0), "user/inks/deep/coated.rec a=user/inks/deep/coated.rec");
    EXPECT_EQ(open(name, search.c_str(), 4), "user/inks/deep/coated.rec a=user/inks/deep/coated.rec "
                                             "b=system/tables/inks/deep/coated.rec");
    write("user/inks/deep/coated.rec", "b");
    EXPECT_EQ(open(name, search.c_str(), 5), "user/inks/deep/coated.rec b=user/inks/deep/coated.rec")
        << "the user's topic hides the system's";
    EXPECT_EQ(reports.take(), lines{});
}

TEST_F(Wemfile, TakesTheNameAloneWithoutFoldersOrWhenItIsAbsolute)
{
    write("etc/f.rec", "a");
    const std::string full = etc + "/f.rec";
    for (const char *folders : {static_cast<const char *>(nullptr), "", ";;", "USER:"})
        EXPECT_EQ(open(full.c_str(), folders, 0), "etc/f.rec a=etc/f.rec");
    wem_lognam_set("ETC", (etc + "\\").c_str());
    EXPECT_EQ(open("ETC:f.rec", "USER:", 0), "etc/f.rec a=etc/f.rec");
    EXPECT_EQ(open("f.rec", "USER:;ETC:", 0), "etc/f.rec a=etc/f.rec");
    write("etc/f.rec", "b");
    EXPECT_EQ(open("NOBODY:f.rec", etc.c_str(), 0), "untouched") << "a device that is not there";
    EXPECT_EQ(reports.take(), lines{"teska_wemopen_file: file not found"});
}

TEST_F(Wemfile, MakesAnEmptyFileInTheFirstFolder)
{
    EXPECT_EQ(open("new.rec", search.c_str(), 2), "user/new.rec");
    EXPECT_EQ(folder.read("user/new.rec"), "");
    EXPECT_EQ(open("more.rec", search.c_str(), 6), "user/more.rec");
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(open("none/new.rec", search.c_str(), 2), "untouched");
    EXPECT_EQ(reports.take(), lines{"teska_wemopen_file: file not found"});
    std::filesystem::create_directory(folder.path("etc/new.rec"));
    EXPECT_EQ(open("new.rec", etc.c_str(), 2), "untouched") << "what is there is never replaced";
    EXPECT_EQ(reports.take(), lines{"teska_wemopen_file: bad record file"});
}

TEST_F(Wemfile, WritesToTheFileThatWasChanged)
{
    write("user/f.rec", "a");
    write("system/tables/f.rec", "b");
    zuk_db *db = teska_wemopen_file("f.rec", search.c_str(), 5, nullptr, 0);
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(zuk_add_item(db, "b", "from", "changed", ""), 0);
    EXPECT_EQ(zuk_flush(db) + zuk_close(db), 0);
    EXPECT_EQ(open("f.rec", search.c_str(), 4), "user/f.rec a=user/f.rec b=changed");
    EXPECT_EQ(folder.read("user/f.rec"), "[a]\nfrom = user/f.rec\n");
}

TEST_F(Wemfile, RefusesAFirstFileThatCannotBeWrittenOrRead)
{
    write("user/f.rec", "a");
    write("system/tables/f.rec", "b");
    std::filesystem::permissions(folder.path("user/f.rec"), std::filesystem::perms::owner_read);
    for (const int mode : {1, 2, 5, 6})
        EXPECT_EQ(open("f.rec", search.c_str(), mode), "untouched");
    EXPECT_EQ(reports.take(), lines(4, "teska_wemopen_file: file is read-only"));
    EXPECT_EQ(open("f.rec", search.c_str(), 4), "user/f.rec a=user/f.rec b=system/tables/f.rec");
    std::filesystem::permissions(folder.path("user/f.rec"), std::filesystem::perms::owner_all);
    folder.write("user/f.rec", "[a");
    for (const int mode : {0, 1, 2, 4, 5})
        EXPECT_EQ(open("f.rec", search.c_str(), mode), "untouched");
    EXPECT_EQ(reports.take(), lines(5, "teska_wemopen_file: bad record file"));
    EXPECT_EQ(folder.read("user/f.rec"), "[a");
}

TEST_F(Wemfile, ReportsTheFirstThatIsWrong)
{
    for (const char *name : {static_cast<const char *>(nullptr), ""})
        EXPECT_EQ(teska_wemopen_file(name, "", 9, nullptr, 0), nullptr);
    EXPECT_EQ(reports.take(), lines(2, "teska_wemopen_file: illegal name"));
    for (const int mode : {-1, 3, 7, 8, 4096, -4})
        EXPECT_EQ(teska_wemopen_file("x", "", mode, nullptr, 0), nullptr);
    EXPECT_EQ(reports.take(), lines(6, "teska_wemopen_file: illegal mode"));
    const std::string longest(255, 'x');
    const std::string longer(256, 'x');
    EXPECT_EQ(open(longer.c_str(), "", 0) + open("x", ("y;" + longer).c_str(), 2), "untoucheduntouched");
    EXPECT_EQ(reports.take(), lines(2, "teska_wemopen_file: path too long"));
    EXPECT_EQ(open(longest.c_str(), longest.c_str(), 0), "untouched");
    EXPECT_EQ(reports.take(), lines{"teska_wemopen_file: file not found"});
    // The room for the path is looked at before anything is made.
    const std::string path = etc + "/n.rec";
    const int length = static_cast<int>(path.size());
    std::string found(path.size() + 1, '#');
    for (const int size : {-1, 0, length}) {
        EXPECT_EQ(teska_wemopen_file("n.rec", etc.c_str(), 2, found.data(), size), nullptr);
        EXPECT_EQ(reports.take(), lines{"teska_wemopen_file: path too long"});
    }
    EXPECT_EQ(std::count(found.begin(), found.end(), '#'), length + 1);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(zuk_close(teska_wemopen_file("n.rec", etc.c_str(), 2, found.data(), length + 1)), 0);
    EXPECT_STREQ(found.c_str(), path.c_str());
}
