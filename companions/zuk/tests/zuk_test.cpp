// zuk - record files, through the library's face
#include "zuk.h"

#include "support/test.h"

#include "record_text.h"

namespace
{

namespace fs = std::filesystem;

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
        return zuk_add_item(db, topic, name.c_str(), value.c_str(), "") == 0;
    }

    bool add_topic(zuk_rfile *file, const std::string &topic, const char *comment = "")
    {
        return zuk_add_topic(db, file, topic.c_str(), comment) == 0;
    }

    std::string search(const char *topic, const std::string &name)
    {
        char value[ZUK_VALUE_SIZE] = {};
        return zuk_search(db, topic, name.c_str(), value) == 0 ? value : "(none)";
    }

    // A topic's items, each with its value.
    std::string list(const char *topic, int state = 0)
    {
        std::string items;
        for (int last = std::max(state, 16); const char *name = zuk_list_item(db, topic, &state); ++last) {
            items.append(name).append("=").append(search(topic, name)).append(";");
            EXPECT_EQ(state, last + 1);
        }
        return items;
    }

    std::string saved()
    {
        EXPECT_EQ(zuk_flush(db), 0);
        return folder.read("f");
    }

    teska_test::Folder folder;
    zuk_db *db = zuk_open();
};

TEST_F(Zuk, LeavesEveryOtherLineWhereItStood)
{
    ASSERT_NE(push("before = 0\r\n\r\r\n \t[ A \t]  comment ] [\r\n; note\nk=1 2 \t\n\n = none\nk = 3\n\tm  =\t4\n\n"
                   "[B=x]\n[a]\nk = 5\n[B]\n; last\n"),
              nullptr);
    EXPECT_EQ(list(" A") + "|" + list(" a") + "|" + list("A"), "k=1 2;\tm=4;|k=1 2;\tm=4;|k=5;");
    EXPECT_TRUE(add(" A", "\tm", "4") && add(" A", "new", "6") && add("B", "first", "7"));
    EXPECT_EQ(saved(),
              "before = 0\n\n\n \t[ A \t]  comment ] [\n; note\nk=1 2 \t\n\n = none\nk = 3\n\tm = 4\nnew = 6\n\n"
              "[B=x]\n[a]\nk = 5\n[B]\nfirst = 7\n; last\n");
}

TEST_F(Zuk, TakesTextsThatComeBackFromTheFileAsTheyAre)
{
    // As a topic, an item, a value and a comment.
    const std::tuple<std::string, bool, bool, bool, bool> rows[] = {{std::string(256, 'n'), true, true, true, true},
                                                                    {std::string(257, 'n'), false, false, false, true},
                                                                    {"", false, false, true, true},
                                                                    {" a", true, true, true, true},
                                                                    {"a ", false, false, true, true},
                                                                    {"a\t", false, false, true, true},
                                                                    {"\t[a", true, false, true, true},
                                                                    {"a]", false, true, true, true},
                                                                    {"a=b", true, false, true, true},
                                                                    {"a\rb", false, false, false, false},
                                                                    {"\n", false, false, false, false}};
    zuk_rfile *file = push("[t]\nk = 1\n");
    for (const auto &[text, topic, item, value, comment] : rows) {
        EXPECT_EQ(add_topic(file, text), topic) << text;
        EXPECT_EQ(add("t", text, "2"), item) << text;
        EXPECT_EQ(search("t", text), item ? "2" : "(none)");
        EXPECT_EQ(add("t", "k", text), value) << text;
        EXPECT_EQ(add_topic(file, "u", text.c_str()), comment) << text;
    }
}

TEST_F(Zuk, AsksTheTopmostFileThatHasTheTopicInAnyCase)
{
    push("[aZ{]\nk = 1\nlow = 1\n");
    EXPECT_TRUE(add_topic(zuk_create_rfile(db, folder.path("g").c_str()), "Az{"));
    EXPECT_TRUE(add("AZ{", "k", "2"));
    EXPECT_EQ(list("az{") + search("az[", "k"), "k=2;(none)");
    EXPECT_EQ(saved(), "[aZ{]\nk = 1\nlow = 1\n");
    EXPECT_EQ(folder.read("g"), "[Az{]\nk = 2\n");
}

TEST(ZukNames, AreFoundWhateverTheirHashesAre)
{
    struct alike : zuk::exactly {
        static zuk::hashed_name hashed(std::string_view name) { return {7, name}; }
    };
    zuk::name_table<alike, const std::string> table;
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i)
        names.push_back("name" + std::to_string(i));
    for (const std::string &name : names)
        table.add(name, &name);
    table.add(names[3], nullptr);
    for (const std::string &name : names)
        EXPECT_EQ(table.find(name), &name);
    EXPECT_EQ(table.find("name"), nullptr);
}

TEST_F(Zuk, FindsEachOfManyTopicsAndItems)
{
    std::string text;
    for (int i = 0; i < 250; ++i)
        text += "[@Topic`{" + std::to_string(i) + "}]\nitem = x\n" + std::string(static_cast<std::size_t>(i), 'n') +
                "1=" + std::to_string(i) + "\n";
    ASSERT_NE(push(text), nullptr);
    for (int i = 0; i < 250; ++i)
        EXPECT_EQ(
            search(("@tOPIC`{" + std::to_string(i) + "}").c_str(), std::string(static_cast<std::size_t>(i), 'n') + "1"),
            std::to_string(i));
    EXPECT_EQ(search("`tOPIC`{1}", "n1") + search("@tOPIC@{1}", "n1") + search("@tOPIC`[1}", "n1"),
              "(none)(none)(none)");
}

TEST_F(Zuk, CutsWhatIsTooLongOnlyWhenItIsRead)
{
    const std::string name(257, 'n'), value(256, 'v'), shorter = value.substr(1);
    const std::string text = "[t]\n" + name + " = 1\nk = " + value + "w\nm = " + shorter + " w\n";
    ASSERT_NE(push(text), nullptr);
    EXPECT_EQ(list("t"), "k=" + value + ";m=" + shorter + ";");
    EXPECT_EQ(search("t", name), "(none)");
    EXPECT_EQ(saved(), text);
}

TEST_F(Zuk, ListsFromAnyState)
{
    ASSERT_NE(push("[t]\na = 1\nb = 2\n[empty]\n"), nullptr);
    for (int state : {-2147483647 - 1, 2, 15, 16})
        EXPECT_EQ(list("t", state), "a=1;b=2;") << state;
    EXPECT_EQ(list("t", 17), "b=2;");
    int state = 18;
    EXPECT_EQ(zuk_list_item(db, "t", &state), nullptr);
    EXPECT_EQ(state, 18);
    EXPECT_EQ(list("t", 2147483647) + list("empty") + list("none"), "");
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
    EXPECT_EQ(folder.read("g"), "");
    EXPECT_TRUE(add("t", "k", "3") && add_topic(other, "u", " of today") && add_topic(other, "U", " again"));
    EXPECT_TRUE(add("U", " lead", "\t= 1  2 ") && add("u", "Lead", ""));
    fs::create_directory(folder.path("f"));
    EXPECT_EQ(zuk_flush(db), -1);
    EXPECT_EQ(folder.read("g"), "[u] of today\n lead = = 1  2\nLead = \n");
    fs::remove(folder.path("f"));
    EXPECT_EQ(saved(), "[t]\nk = 3\n");
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
    EXPECT_EQ(zuk_push_rfile(db, "/dev/null"), nullptr);
}
#endif

TEST_F(Zuk, RefusesWhatIsNotThere)
{
    for (const std::string &path : {folder.path("none/f"), folder.path("."), std::string()}) {
        EXPECT_EQ(zuk_push_rfile(db, path.c_str()), nullptr) << path;
        EXPECT_EQ(zuk_create_rfile(db, path.c_str()), nullptr) << path;
    }
    EXPECT_EQ(zuk_create_rfile(nullptr, folder.path("f").c_str()), nullptr);
    EXPECT_FALSE(add(nullptr, "k", "1"));
    EXPECT_EQ(folder.listing(), "");
    // A file of another database's, or none.
    zuk_rfile *file = push("[t]\n");
    zuk_db *other = zuk_open();
    EXPECT_FALSE(add_topic(nullptr, "u"));
    EXPECT_EQ(zuk_add_topic(other, file, "u", ""), -1);
    EXPECT_EQ(zuk_close(other), 0);
    EXPECT_EQ(saved(), "[t]\n");
}

}  // namespace
