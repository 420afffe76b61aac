// Archives, digests and record files, as the commands show and change them.

#include "support/folder.h"
#include "support/process.h"

#include "md5_digest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

namespace
{

using teska_test::Folder;
using tool_test::is_crash;
using tool_test::outcome;
using tool_test::run_teska;

const std::string entry_of_sub = {'s', 'u', 'b', '/', 'b', '\0', 3, 0, 0, 0, 'a', 'b', 'c'};

// An archive made by hand: the header, an empty description, entries as (name, content).
std::string archive_of(const std::vector<std::pair<std::string, std::string>> &entries)
{
    std::string bytes("QWFP\0ver1.0\0", 12);
    bytes.resize(140);
    bytes += '\0';
    for (const auto &[name, content] : entries) {
        bytes += name + '\0';
        for (std::size_t shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(content.size() >> shift);
        bytes += content;
    }
    return bytes;
}

class Archives : public ::testing::Test
{
protected:
    Archives()
    {
        std::filesystem::create_directories(folder.path("in/sub"));
        folder.write("in/a", "hello");
        folder.write("in/sub/b", "abc");
        folder.write("in/a-c", std::string(100000, 'x'));
    }

    outcome unpack(const std::string &archive, const std::vector<std::string> &more = {})
    {
        std::vector<std::string> arguments = {"unpack", folder.path(archive), "--to", folder.path("out")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run_teska(arguments);
    }

    Folder folder;
};

TEST_F(Archives, GiveBackWhatWasPacked)
{
    const outcome packed = run_teska(
        {"pack", folder.path("x.fp"), folder.path("in"), "--base", folder.path("in"), "--description", "proofs"});
    EXPECT_EQ(packed.code, 0) << packed.err;
    EXPECT_EQ(packed.out, "entries 3\nbytes 100008\n");
    EXPECT_EQ(folder.read("x.fp").substr(0, 147), archive_of({}).substr(0, 140) + "proofs" + '\0');
    EXPECT_TRUE(folder.read("x.fp").ends_with(entry_of_sub));
    EXPECT_EQ(run_teska({"list", folder.path("x.fp")}).out, "5 a\n100000 a-c\n3 sub/b\n");

    const outcome again = run_teska({"pack", folder.path("x.fp"), folder.path("in/a"), "--base", folder.path("in")});
    EXPECT_EQ(again.code, 1);
    EXPECT_EQ(again.err, "teska pack: " + folder.path("x.fp") + ": exists; --force replaces it\n");

    EXPECT_EQ(unpack("x.fp").out, "entries 3\n");
    EXPECT_EQ(folder.read("out/a"), "hello");
    EXPECT_EQ(folder.read("out/sub/b"), "abc");
    EXPECT_EQ(folder.read("out/a-c").size(), 100000u);
    EXPECT_EQ(unpack("x.fp", {"a"}).code, 1);
    folder.write("out/a", "other");
    EXPECT_EQ(unpack("x.fp", {"a", "--force"}).code, 0);
    EXPECT_EQ(folder.read("out/a"), "hello");
    EXPECT_EQ(unpack("x.fp", {"c", "--force"}).err, "teska unpack: " + folder.path("x.fp") + ": has no entry \"c\"\n");
}

TEST_F(Archives, RefuseNamesThatTheyCannotHold)
{
    const std::string longest(199, 'n');
    folder.write("in/" + longest, "1");
    folder.write("in/" + longest + "n", "2");
    const outcome refused =
        run_teska({"pack", folder.path("x.fp"), folder.path("in/" + longest + "n"), "--base", folder.path("in")});
    EXPECT_EQ(refused.code, 2);
    EXPECT_EQ(refused.err,
              "teska pack: " + folder.path("in/" + longest + "n") + ": its name has more than 199 bytes\n");
    EXPECT_EQ(run_teska({"pack", folder.path("y.fp"), folder.path("in/" + longest), "--base", folder.path("in")}).code,
              0);
    EXPECT_EQ(run_teska({"pack", folder.path("z.fp"), folder.path("x"), "--base", folder.path("in")}).code, 2);
    EXPECT_EQ(folder.listing(), "in/ y.fp");
}

// Nothing outside the folder is touched, whatever an archive says; the other entries are there.
TEST_F(Archives, StayBelowTheFolder)
{
    std::filesystem::create_directories(folder.path("out"));
    std::filesystem::create_directory_symlink(folder.path("in"), folder.path("out/link"));
    std::filesystem::create_symlink(folder.path("in/a"), folder.path("out/file"));
    folder.write("x.fp", archive_of({{"../x", "1"},
                                     {"/tmp/x", "1"},
                                     {"link/x", "1"},
                                     {"a/../../x", "1"},
                                     {"file", "1"},
                                     {"..\\x", "1"},
                                     {"@END", "end"},
                                     {"good", "2"}}));
    const outcome result = unpack("x.fp", {"--force"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 6);
    EXPECT_TRUE(result.err.starts_with("teska unpack: " + folder.path("x.fp") +
                                       ": entry \"../x\" leaves the folder; skipped\n"))
        << result.err;
    EXPECT_EQ(folder.listing(), "in/ out/ x.fp");
    EXPECT_EQ(folder.read("in/a"), "hello");
    EXPECT_EQ(folder.read("out/good"), "2");
    EXPECT_EQ(folder.read("out/@END"), "end");
}

// Every archive cut short and many with changed bytes: a message, all that stands before the damage, never a crash.
TEST_F(Archives, OfWhichPartsAreDamagedGiveWhatStandsBefore)
{
    const std::string whole = archive_of({{"one", "1"}, {"two", std::string(40, '2')}});
    std::mt19937 random(7);
    for (int i = 0; i < 60; ++i) {
        std::string bytes = whole;
        const std::size_t place = random() % whole.size();
        if (i % 2 == 0)
            bytes.resize(place);
        else
            bytes[place] = static_cast<char>(bytes[place] ^ (1 << random() % 8));
        folder.write("x.fp", bytes);
        std::filesystem::remove_all(folder.path("out"));
        const outcome result = unpack("x.fp");
        EXPECT_FALSE(is_crash(result)) << place;
        if (i % 2 != 0)
            continue;
        // Between two entries the archive is whole.
        EXPECT_EQ(result.code, place == 141 || place == 150 ? 0 : 1) << place << result.err;
        EXPECT_EQ(std::filesystem::exists(folder.path("out/one")), place >= 150) << place;
    }
}

TEST_F(Archives, AreDigestedEntryByEntry)
{
    folder.write("x.fp", archive_of({{"a", "abc"}, {"@END", ""}}));
    EXPECT_EQ(run_teska({"digest", "--entries", folder.path("x.fp")}).out,
              "900150983cd24fb0d6963f7d28e17f72  a\nd41d8cd98f00b204e9800998ecf8427e  @END\n");
    EXPECT_EQ(run_teska({"list", "--json", folder.path("x.fp")}).out,
              "{\"ok\": true, \"description\": \"\", \"entries\": [{\"name\": \"a\", \"size\": 3, \"md5\": "
              "\"900150983cd24fb0d6963f7d28e17f72\", \"offset\": 147}, {\"name\": \"@END\", \"size\": 0, \"md5\": "
              "\"d41d8cd98f00b204e9800998ecf8427e\", \"offset\": 159}], \"notes\": []}\n");
}

TEST_F(Archives, DigestsAreCheckedAgainstTheirList)
{
    folder.write("in/odd\nname\\", "odd");
    const std::vector<std::string> files = {folder.path("in/a-c"), folder.path("in/odd\nname\\")};
    const outcome shown = run_teska({"digest", files[0], files[1]});
    char expected[33];
    ASSERT_EQ(MD5_check_file(files[0].c_str(), expected), 0);
    std::string lower = expected;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    EXPECT_TRUE(shown.out.starts_with(lower + "  " + files[0] + "\n\\"));
    folder.write("list", shown.out);
    EXPECT_EQ(run_teska({"digest", "--check", folder.path("list")}).code, 0);
    folder.write("in/a-c", "changed");
    const outcome checked = run_teska({"digest", "--check", folder.path("list")});
    EXPECT_EQ(checked.code, 1);
    EXPECT_TRUE(checked.out.starts_with(files[0] + ": FAILED\n")) << checked.out;
    folder.write("list", "nothing of the kind\n");
    EXPECT_EQ(run_teska({"digest", "--check", folder.path("list")}).code, 1);
}

class Records : public ::testing::Test
{
protected:
    outcome records(const std::vector<std::string> &words)
    {
        std::vector<std::string> arguments = {"records", folder.path("f.rec")};
        arguments.insert(arguments.end(), words.begin(), words.end());
        return run_teska(arguments);
    }

    Folder folder;
};

TEST_F(Records, AreMadeChangedAndShown)
{
    EXPECT_EQ(records({"set", "patches", "cyan", " 0.25 150 "}).code, 0);
    EXPECT_EQ(records({"set", "Patches", "black", "1"}).code, 0);
    EXPECT_EQ(folder.read("f.rec"), "[patches]\ncyan = 0.25 150\nblack = 1\n");
    EXPECT_EQ(records({"get", "PATCHES", "cyan"}).out, "0.25 150\n");
    EXPECT_EQ(records({"get", "patches"}).out, "cyan = 0.25 150\nblack = 1\n");
    EXPECT_EQ(records({"topics"}).out, "patches\n");
    EXPECT_EQ(records({"items", "patches", "--json"}).out, "{\"ok\": true, \"items\": [\"cyan\", \"black\"], "
                                                           "\"notes\": []}\n");
    const outcome missing = records({"get", "patches", "Cyan"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_EQ(missing.err, "teska records: " + folder.path("f.rec") + ": [patches] has no \"Cyan\"\n");
    EXPECT_EQ(records({"get", "paper", "x"}).code, 1);
    EXPECT_EQ(records({"set", "patches", "a=b", "1"}).code, 2);
    EXPECT_EQ(records({"set", "patches", "a"}).code, 2);
    EXPECT_EQ(records({"set", "patches", "a", std::string(257, 'v')}).code, 2);
}

TEST_F(Records, ThatHoldTheValueAlreadyAreNotWritten)
{
    ASSERT_EQ(records({"set", "t", "n", "v"}).code, 0);
    std::filesystem::create_hard_link(folder.path("f.rec"), folder.path("same"));
    EXPECT_EQ(records({"set", "t", "n", "v"}).code, 0);
    EXPECT_TRUE(std::filesystem::equivalent(folder.path("f.rec"), folder.path("same")));
    EXPECT_EQ(records({"set", "t", "n", "w"}).code, 0);
    EXPECT_FALSE(std::filesystem::equivalent(folder.path("f.rec"), folder.path("same")));
}

TEST_F(Records, AreCheckedLineByLine)
{
    folder.write("f.rec", "[a]\nx = 1\r\ny = " + std::string(257, 'v') + "\nx = 2\r[B ] note\n[A]\nx = 3\n");
    const outcome checked = records({"check"});
    EXPECT_EQ(checked.code, 1);
    EXPECT_EQ(checked.out, "line 3: the value of \"y\" is cut at 256 characters\n"
                           "line 4: \"x\" is there already, in line 2: never reached\n"
                           "line 6: topic [A] is there already, in line 1: never reached\n");
    EXPECT_EQ(records({"topics"}).out, "a\nB\n");
    folder.write("f.rec", "[a]\nx = 1\n[b\n");
    EXPECT_EQ(records({"get", "a", "x"}).err,
              "teska records: " + folder.path("f.rec") + ": line 3: \"[\" without \"]\"\n");
    folder.write("f.rec", "[a]\nx = 1");
    EXPECT_EQ(records({"check"}).out, "line 2: the last line has no end: the file was cut\n");
    folder.write("f.rec", "[a]\nx = 1\n");
    EXPECT_EQ(records({"check"}).code, 0);
}

}  // namespace
