// zuk - record files, through the library's face
#include "zuk.h"

#include "support/folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace
{

namespace fs = std::filesystem;

const std::string missing = "(missing)";

class Zuk : public testing::Test
{
protected:
    ~Zuk() override { EXPECT_EQ(zuk_close(db), 0); }

    zuk_rfile *push(const std::string &text)
    {
        folder.write("f", text);
        return zuk_push_rfile(db, folder.path("f").c_str());
    }

    bool add(const char *topic, const std::string &name, const std::string &value)
    {
        const int result = zuk_add_item(db, topic, name.c_str(), value.c_str(), "");
        EXPECT_TRUE(result == 0 || result == -1) << result;
        return result == 0;
    }

    std::string search(const char *topic, const std::string &name)
    {
        char value[ZUK_VALUE_SIZE] = {};
        return zuk_search(db, topic, name.c_str(), value) == 0 ? value : missing;
    }

    // The names of a topic's items, each with the state after it.
    std::string list(const char *topic, int state = 0)
    {
        std::string names;
        while (const char *name = zuk_list_item(db, topic, &state))
            names.append(name).append(" ").append(std::to_string(state)).append("; ");
        return names;
    }

    std::string saved()
    {
        EXPECT_EQ(zuk_flush(db), 0);
        return folder.read("f");
    }

    teska_test::Folder folder;
    zuk_db *db = zuk_open();
};

TEST_F(Zuk, MakesSavesAndLoadsARecordFile)
{
    const std::string path = folder.path("f");
    zuk_rfile *file = zuk_create_rfile(db, path.c_str());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(folder.read("f"), "");
    EXPECT_EQ(zuk_add_topic(db, file, "patches", " of today"), 0);
    EXPECT_EQ(zuk_add_topic(db, file, "PATCHES", " again"), 0);
    EXPECT_TRUE(add("Patches", "cyan", "\t 0.250  150.0 "));
    EXPECT_TRUE(add("patches", " lead", ""));
    EXPECT_TRUE(add("patches", "cyan", "= 1"));
    EXPECT_EQ(zuk_flush(db), 0);
    EXPECT_EQ(zuk_close(std::exchange(db, zuk_open())), 0);
    ASSERT_NE(zuk_push_rfile(db, path.c_str()), nullptr);
    EXPECT_EQ(list("patches"), "cyan 17;  lead 18; ");
    EXPECT_EQ(search("PATCHES", "cyan"), "= 1");
    EXPECT_EQ(search("patches", " lead"), "");
    EXPECT_EQ(search("patches", "lead") + search("patches", "Cyan") + search("patch", "cyan"),
              missing + missing + missing);
    EXPECT_EQ(folder.listing(), "f");
}

TEST_F(Zuk, LeavesEveryOtherLineWhereItStood)
{
    ASSERT_NE(push("before = 0\r\n\r\r\n \t[ A \t]  comment ] [\r\n; note\nk=1 2 \t\n\n = none\nk = 3\n\tm  =\t4\n\n"
                   "[B=x]\n[a]\nk = 5\n[B]\n; last\n"),
              nullptr);
    EXPECT_EQ(search(" A", "k") + "|" + search(" a", "\tm") + "|" + search("A", "k"), "1 2|4|5");
    EXPECT_EQ(list(" A"), "k 17; \tm 18; ");
    const std::string as_read =
        "before = 0\n\n\n \t[ A \t]  comment ] [\n; note\nk=1 2 \t\n\n = none\nk = 3\n\tm  =\t4\n\n"
        "[B=x]\n[a]\nk = 5\n[B]\n; last\n";
    EXPECT_TRUE(add(" A", "\tm", "4"));
    EXPECT_TRUE(add(" A", "new", "6"));
    EXPECT_TRUE(add("B", "first", "7"));
    std::string expected = as_read;
    expected.replace(expected.find("\tm  =\t4\n"), 8, "\tm = 4\nnew = 6\n");
    expected.insert(expected.find("; last"), "first = 7\n");
    EXPECT_EQ(saved(), expected);
}

TEST_F(Zuk, RefusesWhatWouldReadDifferently)
{
    zuk_rfile *file = push("[t]\nk = 1\n");
    ASSERT_NE(file, nullptr);
    const std::string longest(256, 'n');
    for (const std::string &name :
         std::vector<std::string>{"", "a=b", "[a", "\t [a", "a\nb", "a\r", "a ", "a\t", longest + "n"})
        EXPECT_FALSE(add("t", name, "1")) << name;
    for (const std::string &value : std::vector<std::string>{"1\n2", "1\r", longest + "n"})
        EXPECT_FALSE(add("t", "k", value)) << value;
    for (const std::string &topic : std::vector<std::string>{"", "a]", "a\nb", "a\r", "a ", "a\t", longest + "n"})
        EXPECT_EQ(zuk_add_topic(db, file, topic.c_str(), ""), -1) << topic;
    EXPECT_FALSE(add("u", "k", "1"));
    EXPECT_EQ(zuk_add_topic(db, file, "u", "a\nb"), -1);
    zuk_db *other = zuk_open();
    EXPECT_EQ(zuk_add_topic(other, file, "u", ""), -1);
    zuk_close(other);
    EXPECT_EQ(saved(), "[t]\nk = 1\n");
    EXPECT_TRUE(add("t", longest, longest));
    EXPECT_EQ(zuk_add_topic(db, file, longest.c_str(), nullptr), 0);
    EXPECT_EQ(saved(), "[t]\nk = 1\n" + longest + " = " + longest + "\n[" + longest + "]\n");
    EXPECT_EQ(search("t", longest), longest);
}

TEST_F(Zuk, CutsWhatIsTooLongOnlyWhenItIsRead)
{
    const std::string name(257, 'n');
    const std::string text = "[t]\n" + name + " = 1\nk = " + std::string(255, 'v') + " w\n";
    ASSERT_NE(push(text), nullptr);
    EXPECT_EQ(list("t"), "k 17; ");
    EXPECT_EQ(search("t", "k"), std::string(255, 'v'));
    EXPECT_EQ(search("t", name), missing);
    EXPECT_EQ(saved(), text);
}

TEST_F(Zuk, AsksTheTopmostFileThatHasTheTopic)
{
    ASSERT_NE(push("[a]\nk = 1\nl = 2\n[b]\nk = 3\n"), nullptr);
    folder.write("g", "[A]\nk = 4\n");
    ASSERT_NE(zuk_push_rfile(db, folder.path("g").c_str()), nullptr);
    EXPECT_EQ(search("a", "k") + search("a", "l") + search("b", "k"), "4" + missing + "3");
    EXPECT_EQ(list("a") + list("b"), "k 17; k 17; ");
    EXPECT_TRUE(add("a", "l", "5"));
    EXPECT_TRUE(add("b", "l", "6"));
    EXPECT_EQ(saved(), "[a]\nk = 1\nl = 2\n[b]\nk = 3\nl = 6\n");
    EXPECT_EQ(folder.read("g"), "[A]\nk = 4\nl = 5\n");
}

TEST_F(Zuk, ListsFromAnyState)
{
    ASSERT_NE(push("[t]\na = 1\nb = 2\n[empty]\n"), nullptr);
    for (int state : {-2147483647 - 1, -1, 0, 1, 2, 15, 16})
        EXPECT_EQ(list("t", state), "a 17; b 18; ") << state;
    EXPECT_EQ(list("t", 17), "b 18; ");
    EXPECT_EQ(list("t", 18) + list("t", 2147483647) + list("empty") + list("none"), "");
    int state = 18;
    EXPECT_EQ(zuk_list_item(db, "t", &state), nullptr);
    EXPECT_EQ(state, 18);
}

TEST_F(Zuk, RefusesFilesThatAreNoRecordText)
{
    using namespace std::string_literals;
    for (const std::string &text :
         {"\0"s, "[a]\nk = 1\0\n"s, "[a]\nk = 1"s, "a"s, "[a\nk]\n"s, " \t["s, "[a]"s, "[\r]\n"s})
        EXPECT_EQ(push(text), nullptr) << text;
    for (const char *path : {".", "none", "none/none", ""})
        EXPECT_EQ(zuk_push_rfile(db, folder.path(path).c_str()), nullptr) << path;
    EXPECT_EQ(zuk_create_rfile(db, folder.path("none/f").c_str()), nullptr);
    EXPECT_EQ(zuk_create_rfile(db, folder.path(".").c_str()), nullptr);
    for (const std::string &text : {""s, "\n"s, "no topic\n"s, "[]\n"s, "\xef\xbb\xbf[a]\n\x01\xff\n"s})
        EXPECT_NE(push(text), nullptr) << text;
    EXPECT_EQ(folder.listing(), "f");
}

TEST_F(Zuk, SavesOnlyWhatChangedAndTriesAgain)
{
    ASSERT_NE(push("[t]\nk = 1\n"), nullptr);
    zuk_rfile *other = zuk_create_rfile(db, folder.path("g").c_str());
    EXPECT_TRUE(add("t", "k", "2"));
    EXPECT_EQ(saved(), "[t]\nk = 2\n");
    EXPECT_TRUE(add("t", "k", "2"));
    fs::remove(folder.path("f"));
    EXPECT_EQ(zuk_flush(db), 0);
    EXPECT_EQ(folder.listing(), "g");
    // One that cannot be saved keeps no other from it.
    EXPECT_TRUE(add("t", "k", "3"));
    EXPECT_EQ(zuk_add_topic(db, other, "u", ""), 0);
    fs::create_directory(folder.path("f"));
    EXPECT_EQ(zuk_flush(db), -1);
    EXPECT_EQ(folder.read("g"), "[u]\n");
    fs::remove(folder.path("f"));
    EXPECT_EQ(saved(), "[t]\nk = 3\n");
    fs::permissions(folder.path("f"), fs::perms::owner_write, fs::perm_options::remove);
    EXPECT_TRUE(add("t", "k", "4"));
    EXPECT_EQ(zuk_flush(db), -1);
    EXPECT_EQ(folder.read("f"), "[t]\nk = 3\n");
    fs::permissions(folder.path("f"), fs::perms::owner_write, fs::perm_options::add);
    EXPECT_EQ(saved(), "[t]\nk = 4\n");
    EXPECT_EQ(folder.listing(), "f g");
}

#if !defined(_WIN32)
TEST_F(Zuk, KeepsTheFileMeantItsLinksAndPermissions)
{
    folder.write("f", "[t]\n");
    fs::create_directory(folder.path("sub"));
    fs::create_symlink("../f", folder.path("sub/link"));
    fs::permissions(folder.path("f"), fs::perms(0640));
    const fs::path before = fs::current_path();
    fs::current_path(folder.path("sub"));
    ASSERT_NE(zuk_push_rfile(db, "link"), nullptr);
    ASSERT_NE(zuk_create_rfile(db, "g"), nullptr);
    fs::current_path(before);
    EXPECT_TRUE(add("t", "k", "1"));
    EXPECT_EQ(saved(), "[t]\nk = 1\n");
    EXPECT_EQ(fs::status(folder.path("f")).permissions(), fs::perms(0640));
    EXPECT_TRUE(fs::is_symlink(folder.path("sub/link")));
}
#endif

TEST_F(Zuk, RefusesNull)
{
    char value[ZUK_VALUE_SIZE];
    int state = 0;
    EXPECT_EQ(zuk_close(nullptr), 0);
    EXPECT_EQ(zuk_flush(nullptr), -1);
    EXPECT_EQ(zuk_create_rfile(nullptr, folder.path("f").c_str()), nullptr);
    EXPECT_EQ(zuk_push_rfile(db, nullptr), nullptr);
    EXPECT_EQ(zuk_add_topic(db, nullptr, "t", ""), -1);
    EXPECT_EQ(zuk_add_item(db, nullptr, "k", "1", ""), -1);
    EXPECT_EQ(zuk_list_item(nullptr, "t", &state), nullptr);
    EXPECT_EQ(zuk_search(db, "t", nullptr, value), -1);
    EXPECT_EQ(folder.listing(), "");
}

}  // namespace
