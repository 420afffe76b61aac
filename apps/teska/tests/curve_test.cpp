// Curves through points, from the command line.

#include "support/folder.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

namespace
{

using namespace tool_test;
using teska_test::Folder;

TEST(Curve, GivesValuesInversesAndTables)
{
    const Folder folder;
    folder.write("c.txt", "# gain\r\n1 1\r0 0 # start\n\n0.5\t0.75\n");
    const std::string file = folder.path("c.txt");
    EXPECT_EQ(run_teska({"curve", file}).out, "0 0\n0.5 0.75\n1 1\n");
    EXPECT_EQ(run_teska({"curve", file, "--at", "0.25", "--at=-3", "--at", "1"}).out,
              "at 0.25 0.375\nat -3 0\nat 1 1\n");
    EXPECT_EQ(run_teska({"curve", file, "--invert", "--at", "0.375", "--json"}).out,
              "{\"ok\": true, \"points\": 3, \"at\": [{\"x\": 0.375, \"y\": 0.25}], \"notes\": []}\n");
    EXPECT_EQ(run_teska({"curve", file, "--table", "256", "--out", folder.path("o.txt")}).code, 0);
    std::istringstream table(folder.read("o.txt"));
    const std::vector<int> entries(std::istream_iterator<int>(table), {});
    ASSERT_EQ(entries.size(), 256U);
    for (const auto &[at, entry] : {std::pair{0, 0}, {2, 3}, {100, 150}, {126, 189}, {253, 254}, {255, 255}})
        EXPECT_EQ(entries[static_cast<std::size_t>(at)], entry);
    // A falling curve, beyond a range that is smaller than its own.
    folder.write("f.txt", "0 100\n100 0\n");
    const std::string cut = run_teska({"curve", folder.path("f.txt"), "--table", "256", "--range", "0,50"}).out;
    EXPECT_EQ(cut.substr(0, 8), "255\n255\n");
    EXPECT_EQ(run_teska({"curve", folder.path("f.txt"), "--invert"}).out, "0 100\n100 0\n");
}

TEST(Curve, IsRefusedWithWhatIsWrong)
{
    const Folder folder;
    const std::pair<std::string, std::string> wrong[] = {
        {"0 0\n0.5 1\n1 1\n.5 2\n", "line 4: x 0.5 is there twice"},
        {"0 0\n0.4 1\n1 0.5\n", "y turns at x 0.4; it has no inverse"},
        {"0 0\n0.4 1\n1 1\n", "y turns at x 0.4; it has no inverse"},
        {"0 0\n1\n", "line 2: two numbers wanted"},
        {"0 0\n1 0,5\n", "line 2: two numbers wanted"},
        {"0 0\n", "two points wanted, it has 1"},
    };
    for (const auto &[text, message] : wrong) {
        folder.write("c.txt", text);
        const outcome made = run_teska({"curve", folder.path("c.txt"), "--invert", "--out", folder.path("o.txt")});
        EXPECT_EQ(made.code, 1) << message;
        EXPECT_EQ(made.err, "teska curve: " + folder.path("c.txt") + ": " + message + "\n");
        EXPECT_EQ(folder.listing(), "c.txt") << message;
    }
    EXPECT_EQ(run_teska({"curve", folder.path("c.txt"), "--range", "0,1"}).code, 2);
    EXPECT_EQ(run_teska({"curve", folder.path("c.txt"), "--table", "300"}).code, 2);
}

}  // namespace
