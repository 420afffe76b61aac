#include "wemfile.h"

#include "support/test.h"

#include <lopra.h>
#include <wem.h>
#include <zuk.h>

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

    // What is in a database: "topic=file" of the topics a and b after the path that was found, without the folder; or
    // what was reported.
    std::string open(const std::string &name, const char *folders, int mode)
    {
        char found[500] = "untouched", value[ZUK_VALUE_SIZE];
        const std::shared_ptr<zuk_db> db(teska_wemopen_file(name.c_str(), folders, mode, found, sizeof found),
                                         zuk_close);
        const lines reported = reports.take();
        EXPECT_EQ(reported.size(), db ? 0U : 1U);
        EXPECT_EQ(std::string(found) == "untouched", db == nullptr);
        if (!db)
            return reported.empty() ? "" : reported[0];
        std::string text = found;
        if (text.starts_with(folder.path()))
            text.erase(0, folder.path().size() + 1);
        for (const char *topic : {"a", "b"})
            if (zuk_search(db.get(), topic, "from", value) == 0)
                text += std::string(" ") + topic + "=" + value;
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
    const std::string user = "user/inks/deep/coated.rec", system = "system/tables/inks/deep/coated.rec";
    for (const char *top : {"system/tables/inks/deep", "user/inks/deep"})
        std::filesystem::create_directory(folder.path(top));
    EXPECT_EQ(open(name, search.c_str(), 0), "teska_wemopen_file: file not found");
    EXPECT_EQ(errno, ENOENT);
    write(system, "b");
    const auto next_descriptor = [&] {
        const int next = open_utf8(folder.path(system).c_str(), LOPRA_O_RDONLY);
        close_utf8(next);
        return next;
    };
    const int descriptor = next_descriptor();
    for (const int mode : {0, 1, 2, 4, 6})
        EXPECT_EQ(open(name, search.c_str(), mode), system + " b=" + system);
    EXPECT_EQ(next_descriptor(), descriptor);
    write(user, "a");
    EXPECT_EQ(open(name, search.c_str(), 0), user + " a=" + user);
    EXPECT_EQ(open(name, search.c_str(), 4), user + " a=" + user + " b=" + system);
    zuk_db *db = teska_wemopen_file(name, search.c_str(), 5, nullptr, 0);
    EXPECT_EQ(zuk_add_item(db, "b", "from", "changed", ""), 0);
    EXPECT_EQ(zuk_flush(db) + zuk_close(db), 0);
    EXPECT_EQ(open(name, search.c_str(), 4), user + " a=" + user + " b=changed") << "saved where it was found";
    EXPECT_EQ(folder.read(user), "[a]\nfrom = " + user + "\n");
    write(user, "b");
    EXPECT_EQ(open(name, search.c_str(), 5), user + " b=" + user) << "the user's topic hides the system's";
}

TEST_F(Wemfile, TakesTheNameAloneWithoutFoldersOrWhenItIsAbsolute)
{
    write("etc/f.rec", "a");
    wem_lognam_set("ETC", (etc + "\\").c_str());
    const std::string full = etc + "/f.rec";
    const std::pair<std::string, const char *> cases[] = {
        {full, nullptr}, {full, ""}, {full, ";;"}, {full, "USER:"}, {"ETC:f.rec", "USER:"}, {"f.rec", "USER:;ETC:"}};
    for (const auto &[name, folders] : cases)
        EXPECT_EQ(open(name, folders, 0), "etc/f.rec a=etc/f.rec");
    EXPECT_EQ(open("NOBODY:f.rec", etc.c_str(), 0), "teska_wemopen_file: file not found") << "no such device";
}

TEST_F(Wemfile, MakesAnEmptyFileInTheFirstFolder)
{
    EXPECT_EQ(open("new.rec", search.c_str(), 2), "user/new.rec");
    EXPECT_EQ(open("more.rec", search.c_str(), 6), "user/more.rec");
    EXPECT_EQ(folder.read("user/new.rec") + folder.read("user/more.rec"), "");
    EXPECT_EQ(open("none/new.rec", search.c_str(), 2), "teska_wemopen_file: file not found");
    std::filesystem::create_directory(folder.path("etc/new.rec"));
    EXPECT_EQ(open("new.rec", etc.c_str(), 2), "teska_wemopen_file: bad record file") << "is never replaced";
}

TEST_F(Wemfile, RefusesAFirstFileThatCannotBeWrittenOrRead)
{
    const std::string first = folder.path("user/f.rec");
    write("user/f.rec", "a");
    write("system/tables/f.rec", "b");
    std::filesystem::permissions(first, std::filesystem::perms::owner_read);
    for (const int mode : {1, 2, 5, 6})
        EXPECT_EQ(open("f.rec", search.c_str(), mode), "teska_wemopen_file: file is read-only");
    EXPECT_EQ(open("f.rec", search.c_str(), 4), "user/f.rec a=user/f.rec b=system/tables/f.rec");
    std::filesystem::permissions(first, std::filesystem::perms::owner_all);
    folder.write("user/f.rec", "[a");
    for (const int mode : {0, 1, 2, 4, 5})
        EXPECT_EQ(open("f.rec", search.c_str(), mode), "teska_wemopen_file: bad record file");
    EXPECT_EQ(folder.read("user/f.rec"), "[a");
}

TEST_F(Wemfile, ReportsTheFirstThatIsWrong)
{
    const std::string longest(255, 'x'), longer(256, 'x'), with_longer = "y;" + longer, path = etc + "/n.rec";
    const int length = static_cast<int>(path.size());
    std::string found(path.size() + 1, '#');
    const std::tuple<const char *, const char *, int, int, const char *> cases[] = {
        {nullptr, "", 9, 0, "illegal name"},
        {"", "", 9, 0, "illegal name"},
        {longer.c_str(), "", -1, 0, "illegal mode"},
        {"x", "", 3, 0, "illegal mode"},
        {"x", "", 8, 0, "illegal mode"},
        {longer.c_str(), "", 0, length, "path too long"},
        {"x", with_longer.c_str(), 2, length, "path too long"},
        {longest.c_str(), longest.c_str(), 0, length, "file not found"},
        {"n.rec", etc.c_str(), 2, -1, "path too long"},
        {"n.rec", etc.c_str(), 2, length, "path too long"}};
    for (const auto &[name, folders, mode, size, text] : cases) {
        EXPECT_EQ(teska_wemopen_file(name, folders, mode, found.data(), size), nullptr);
        EXPECT_EQ(reports.take(), lines{std::string("teska_wemopen_file: ") + text});
    }
    EXPECT_EQ(std::count(found.begin(), found.end(), '#'), length + 1);
    EXPECT_FALSE(std::filesystem::exists(path)) << "the room is looked at before anything is made";
    EXPECT_EQ(zuk_close(teska_wemopen_file("n.rec", etc.c_str(), 2, found.data(), length + 1)), 0);
    EXPECT_STREQ(found.c_str(), path.c_str());
}
