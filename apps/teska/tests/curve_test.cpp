// Curves through points, from the command line.

#include "support/folder.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
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

std::vector<std::array<double, 2>> rows_of(const std::string &text)
{
    std::vector<std::array<double, 2>> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("#")) {
            rows.emplace_back();
            std::istringstream(line) >> rows.back()[0] >> rows.back()[1];
        }
    return rows;
}

double member(const std::string &json, const std::string &name)
{
    const std::size_t at = json.find("\"" + name + "\": ");
    return at == std::string::npos ? -1 : std::stod(json.substr(at + name.size() + 4));
}

TEST(Curve, RunsSmoothlyThroughPoints)
{
    const Folder folder;
    folder.write("c.txt", "0 0\n1 1\n3 2\n");
    const std::string file = folder.path("c.txt");
    const auto value = [&](const std::string &at, const char *way = "--quiet") {
        const std::string out = run_teska({"curve", file, "--fit", "cubic", way, "--at", at}).out;
        return std::stod(out.substr(out.find_last_of(' ') + 1));
    };
    // The slopes are 7/6 and 9/13 at both ends of the first piece.
    EXPECT_NEAR(value("0.5"), 0.5 + (7.0 / 6 - 9.0 / 13) / 8, 1e-12);
    EXPECT_NEAR(value("0.25"), 0.15625 + 7.0 / 6 * 9 / 64 - 9.0 / 13 * 3 / 64, 1e-12);
    EXPECT_EQ(value("-1"), 0);
    EXPECT_EQ(value("4"), 2);
    for (const char *x : {"0.01", "0.7", "1", "1.9", "2.999"})
        EXPECT_NEAR(value(std::to_string(value(x)), "--invert"), std::stod(x), 1e-4) << x;
    const auto even = rows_of(run_teska({"curve", file, "--fit", "cubic", "--points", "31"}).out);
    ASSERT_EQ(even.size(), 31U);
    EXPECT_EQ(even[10], (std::array<double, 2>{1, 1}));
    EXPECT_EQ(even.back(), (std::array<double, 2>{3, 2}));
    for (std::size_t i = 1; i < even.size(); ++i)
        EXPECT_GT(even[i][1], even[i - 1][1]);
    // Lines at even steps, of a falling curve turned over.
    folder.write("c.txt", "0 4\n1 2\n2 0\n");
    EXPECT_EQ(run_teska({"curve", file, "--points", "5", "--invert"}).out, "0 2\n1 1.5\n2 1\n3 0.5\n4 0\n");
}

TEST(Curve, ComesNearPointsAsOneSegment)
{
    const Folder folder;
    const std::string file = folder.path("c.txt");
    // A steep S: its segment misses more upwards than along the curve, as the slope says.
    std::string text;
    std::vector<std::array<double, 2>> given;
    for (int i = 0; i <= 20; ++i) {
        given.push_back({i / 20.0, std::tanh(i * 0.4 - 4) * 0.9});
        std::ostringstream row;
        row.precision(17);
        row << given.back()[0] << ' ' << given.back()[1] << '\n';
        text += row.str();
    }
    folder.write("c.txt", text);
    const outcome json = run_teska({"curve", file, "--fit", "bezier", "--json"});
    EXPECT_EQ(json.code, 0) << json.err;
    const outcome plain = run_teska({"curve", file, "--fit", "bezier"});
    const auto rows = rows_of(plain.out);
    ASSERT_EQ(rows.size(), given.size());
    double miss = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i][0], given[i][0]);
        miss = std::max(miss, std::abs(rows[i][1] - given[i][1]));
    }
    EXPECT_NEAR(member(json.out, "vertical"), miss, 1e-5);
    EXPECT_GT(member(json.out, "vertical"), 1.2 * member(json.out, "parametric"));
    EXPECT_GT(member(json.out, "parametric"), 0.01);
    EXPECT_EQ(rows.front()[1], rows_of(text).front()[1]);
    EXPECT_NE(json.out.find("\"fit\": \"bezier\", \"bezier\": [[0, -0.89"), std::string::npos) << json.out;
    EXPECT_EQ(plain.out.substr(0, 16), "# vertical_miss ");
    EXPECT_EQ(run_teska({"curve", file, "--fit", "bezier", "--at", "0.5"}).out.substr(0, 14), "vertical_miss ");
    // What it tells is a curve again, and its inverse leads back.
    folder.write("again.txt", plain.out);
    EXPECT_EQ(rows_of(run_teska({"curve", folder.path("again.txt")}).out), rows);
    for (const auto &[x, y] : rows_of(run_teska({"curve", file, "--fit", "bezier", "--invert"}).out)) {
        std::ostringstream at;
        at.precision(17);
        at << "--at=" << y;
        const std::string out = run_teska({"curve", file, "--fit", "bezier", at.str()}).out;
        EXPECT_NEAR(std::stod(out.substr(out.find_last_of(' ') + 1)), x, 1e-4);
    }
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
    // An arch, a steep step, and numbers without measure.
    folder.write("c.txt", "0 0\n.25 .8\n.5 1\n.6 .95\n.75 .8\n1 0\n");
    const outcome arch = run_teska({"curve", folder.path("c.txt"), "--fit", "bezier", "--invert"});
    EXPECT_EQ(arch.code, 1);
    EXPECT_NE(arch.err.find(" turns "), std::string::npos) << arch.err;
    folder.write("c.txt", "0 0\n.01 5\n.02 9\n.5 10\n.98 9\n.99 5\n1 0\n");
    EXPECT_NE(run_teska({"curve", folder.path("c.txt"), "--fit", "bezier"}).err.find("the Bezier segment turns back"),
              std::string::npos);
    folder.write("c.txt", "0 0\n1e200 1\n");
    EXPECT_NE(run_teska({"curve", folder.path("c.txt"), "--fit", "cubic"}).err.find("too large for a fit"),
              std::string::npos);
    EXPECT_EQ(run_teska({"curve", folder.path("c.txt"), "--points", "9", "--table", "256"}).code, 2);
    EXPECT_EQ(run_teska({"curve", folder.path("c.txt"), "--range", "0,1"}).code, 2);
    EXPECT_EQ(run_teska({"curve", folder.path("c.txt"), "--table", "300"}).code, 2);
}

}  // namespace
