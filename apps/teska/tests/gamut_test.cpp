// Charts as instruments write them and damaged ones, and the bodies of their colours.

#include "support/folder.h"
#include "support/generator.h"
#include "support/pictures.h"
#include "support/process.h"

#include "charts.h"
#include "frame/failure.h"
#include "frame/job.h"
#include "gamut_body.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

using namespace tool;
using namespace tool_test;
using teska_test::Folder;
using teska_test::Generator;

const std::string head = "CTI3\nNUMBER_OF_FIELDS 4\nBEGIN_DATA_FORMAT\nSAMPLE_ID LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\n";

// A cube of colours as a chart.
std::string cube(double lo, double hi)
{
    std::string text = head + "NUMBER_OF_SETS 8\nBEGIN_DATA\n";
    for (int i = 0; i < 8; ++i) {
        text += std::to_string(i + 1);
        for (int bit = 1; bit < 8; bit *= 2)
            text += " " + std::to_string((i & bit) != 0 ? hi : lo);
        text += "\n";
    }
    return text + "END_DATA\n";
}

chart read(const Folder &folder, const std::string &text)
{
    job work("test");
    work.quiet = true;
    folder.write("c.txt", text);
    return read_chart(work, folder.path("c.txt"));
}

TEST(Chart, IsReadInEveryForm)
{
    const Folder folder;
    const std::vector<lab_colour> wanted = {{50, 1.5, -2}, {95, 0, -2.25}};
    const std::string texts[] = {
        head + "NUMBER_OF_SETS 2\nBEGIN_DATA\n1 50 1.5 -2\n2 95 0 -2.25\nEND_DATA\n",
        // Any case and order, quotes, comments, a mark, line ends of all kinds, sets over lines, bytes of Latin-1.
        "\xEF\xBB\xBF"
        "cgats.17\rORIGINATOR \"d'\xE9t\xE9 # 1\"\r\nbegin_data_format lab_b\r\nLab_L\tname LAB_A "
        "end_data_format\r# 1 2 3\rBegin_Data -2 50 \"BEGIN \"\"x\"\" # no\" 1.5\r\n-2.25 95\n\xE9 0 end_data",
        // Decimal commas, and no END_DATA.
        head + "NUMBER_OF_SETS 2\nBEGIN_DATA\nA1.1 50 1,5 -2\n2 95,0 0 -2,25\n",
        // A table without colours first; its counts do not matter.
        "BEGIN_DATA_FORMAT\nRGB_R\nEND_DATA_FORMAT\nNUMBER_OF_SETS 7\nBEGIN_DATA\n1\nEND_DATA\n"
        "BEGIN_DATA_FORMAT\nXYZ_X L* XYZ_Y a* XYZ_Z b*\nEND_DATA_FORMAT\n"
        "BEGIN_DATA\n1 50 1 1.5 1 -2\n1 95 1 0 1 -2.25\nEND_DATA\nBEGIN_DATA\nwhat follows is not read",
    };
    for (const std::string &text : texts)
        EXPECT_EQ(read(folder, text).colours, wanted) << text;
    // XYZ of 1 and of 100: white, a gray of 18 %, and a dark one in the straight part of the curve.
    for (const std::string rows : {"96.42 100 82.49\n17.3556 18 14.8482\n.4821 .5 .41245\n",
                                   "0.9642 1 0.8249\n.173556 .18 .148482\n.004821 .005 .0041245\n"}) {
        const chart made =
            read(folder, "BEGIN_DATA_FORMAT\nXYZ_X XYZ_Y XYZ_Z\nEND_DATA_FORMAT\nBEGIN_DATA\n" + rows + "END_DATA\n");
        ASSERT_EQ(made.colours.size(), 3U);
        const double lightness[] = {100, 49.4961, 4.5164};
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(made.colours[i][0], lightness[i], 0.0001);
            EXPECT_NEAR(made.colours[i][1], 0, 1e-9);
            EXPECT_NEAR(made.colours[i][2], 0, 1e-9);
        }
    }
}

TEST(Chart, HasTablesOfNames)
{
    const Folder folder;
    const auto table = [](const std::string &start, const std::string &rows) {
        return start + "BEGIN_DATA_FORMAT\nLAB_L LAB_A LAB_B\nEND_DATA_FORMAT\nBEGIN_DATA\n" + rows + "END_DATA\n";
    };
    folder.write("c.txt",
                 table("CGATS.17\nDESCRIPTOR \"Coated, 2026\"\nTABLE_NAME \"Solids\"\n", "1 0 0\n2 0 0\n") +
                     table("TABLE_NAME\nTABLE_DESCRIPTOR tints\n", "3 0 0\n") + table("CTI3\n", "4 0 0\n") +
                     table("TABLE_NAME solids\n", "5 0 0\n") +
                     "DESCRIPTOR none\nBEGIN_DATA_FORMAT\nSAMPLE_ID\nEND_DATA_FORMAT\nBEGIN_DATA\n1\nEND_DATA\n");
    const auto lightness = [&](const std::string &name) {
        job work("test");
        std::string found;
        try {
            for (const lab_colour &colour : read_chart(work, folder.path("c.txt"), name).colours)
                found += std::to_string(static_cast<int>(colour[0]));
        } catch (const failure &problem) {
            found = problem.what();
        }
        return found;
    };
    const std::pair<std::string, std::string> wanted[] = {
        {"", "12"},
        {"Solids", "125"},
        {"coated, 2026", "12"},
        {"cgats.17", "12"},
        {"2", "3"},
        {"TINTS", "3"},
        {"cti3", "4"},
        {"4", "5"},
        {"none", "has no Lab and no XYZ columns"},
        {"table_descriptor", "has no table \"table_descriptor\"; it has \"Solids\", \"tints\", \"CTI3\", "
                             "\"solids\", \"none\""}};
    for (const auto &[name, found] : wanted)
        EXPECT_EQ(lightness(name), found) << name;
    folder.write("c.txt", cube(20, 80) + cube(10, 20));
    EXPECT_EQ(run_teska({"gamut", folder.path("c.txt"), "--sets", "2"}).out.substr(0, 23), "colours 8\nvolume 1000.0");
    EXPECT_EQ(run_teska({"gamut", "srgb", "--sets", "2"}).err,
              "teska gamut: srgb: is a profile; --sets chooses a table of a chart\n");
}

TEST(Chart, IsRefusedWithItsLine)
{
    const Folder folder;
    const std::string rows = "BEGIN_DATA\n1 50 1 2\n2 60 1 2\n";
    const std::pair<std::string, std::string> wrong[] = {
        {head + "NUMBER_OF_SETS 3\n" + rows + "END_DATA\n", "line 10: 3 sets wanted, 2 found"},
        {head + "NUMBER_OF_SETS 1\n" + rows + "END_DATA\n", "line 10: 1 sets wanted, 2 found"},
        {head + "NUMBER_OF_SETS many\n", "line 6: NUMBER_OF_SETS: a number wanted"},
        {head + rows + "3 70\nEND_DATA\n", "line 10: the last set has 2 of 4 values"},
        {head + rows, "line 9: the file ends without END_DATA"},
        {head + "BEGIN_DATA\n1 50 n/a 2\nEND_DATA\n", "line 7: column lab_a: \"n/a\" is not a number"},
        {head + "BEGIN_DATA\n1 50 1 -\nEND_DATA\n", "line 7: column lab_b: \"-\" is not a number"},
        {head + "BEGIN_DATA\n1 nan 1 2\nEND_DATA\n", "line 7: column lab_l: \"nan\" is not a number"},
        {head + "BEGIN_DATA\n1 50,5 1.5 2\nEND_DATA\n", "line 7: column lab_l: \"50,5\" is not a number"},
        {head + "BEGIN_DATA\n1 5,0,5 1 2\nEND_DATA\n", "line 7: column lab_l: \"5,0,5\" is not a number"},
        {head + "BEGIN_DATA\n1 50 1e99 2\nEND_DATA\n", "line 7: column lab_a: \"1e99\" is no colour"},
        {head + "BEGIN_DATA\n\"1 50 1 2\nEND_DATA\n", "line 7: a quoted text has no end"},
        {"NUMBER_OF_FIELDS 5\n" + head.substr(24) + rows + "END_DATA\n", "line 4: 5 fields wanted, 4 found"},
        {"BEGIN_DATA_FORMAT\nLAB_L LAB_A LAB_B\nBEGIN_DATA\n", "line 3: BEGIN_DATA before END_DATA_FORMAT"},
        {"BEGIN_DATA_FORMAT\nLAB_L\n", "line 3: the file ends without END_DATA_FORMAT"},
        {"BEGIN_DATA_FORMAT\nSPECTRAL_NM400\nEND_DATA_FORMAT\n" + rows + "END_DATA\n", "has no Lab and no XYZ columns"},
        {"a picture", "is no ICC profile and no chart"},
    };
    for (const auto &[text, message] : wrong) {
        try {
            read(folder, text);
            ADD_FAILURE() << message;
        } catch (const failure &problem) {
            EXPECT_EQ(problem.what(), message);
        }
    }
}

TEST(Chart, DamagedIsToldOrHarmless)
{
    const Folder folder;
    const std::string whole = cube(20, 80);
    Generator numbers(16);
    int refused = 0;
    for (int i = 0; i < 500; ++i) {
        std::string text = whole;
        if (i % 2 == 0)
            text.resize(static_cast<std::size_t>(numbers.below(static_cast<int>(text.size()))));
        for (int flips = i % 4; flips > 0 && !text.empty(); --flips) {
            char &byte = text[static_cast<std::size_t>(numbers.below(static_cast<int>(text.size())))];
            byte = static_cast<char>(byte ^ (1 << numbers.below(8)));
        }
        try {
            const gamut_body body("c.txt", read(folder, text).colours);
            EXPECT_GT(body.volume(), 0);
        } catch (const failure &problem) {
            EXPECT_STRNE(problem.what(), "");
            ++refused;
        }
    }
    EXPECT_GE(refused, 240);
}

std::vector<lab_colour> box(const lab_colour &lo, const lab_colour &hi)
{
    std::vector<lab_colour> corners;
    for (int i = 0; i < 8; ++i)
        corners.push_back({(i & 1) != 0 ? hi[0] : lo[0], (i & 2) != 0 ? hi[1] : lo[1], (i & 4) != 0 ? hi[2] : lo[2]});
    return corners;
}

TEST(GamutBody, KnowsWhatIsInsideAndNearest)
{
    const gamut_body body("c", box({20, -30, -30}, {80, 30, 30}));
    EXPECT_NEAR(body.volume(), 216000, 1e-9);
    EXPECT_NEAR(body.area(), 21600, 1e-9);
    EXPECT_EQ(body.faces().size(), 2 * body.vertices().size() - 4);
    for (const lab_colour &colour : {lab_colour{50, 0, 0}, {80, 30, 30}, {80, 0, 0}, {20, -30, 30}, {80.0000009, 1, 1}})
        EXPECT_TRUE(body.inside(colour));
    for (const lab_colour &colour : {lab_colour{80.000002, 0, 0}, {50, 31, 0}, {19, 31, 31}, {500, 0, 0}})
        EXPECT_FALSE(body.inside(colour));
    EXPECT_EQ(body.nearest({50, 1, 2}), (lab_colour{50, 1, 2}));
    const lab_colour found = body.nearest({90, 40, 5});
    EXPECT_NEAR(found[0], 80, 1e-9);
    EXPECT_NEAR(found[1], 30, 1e-9);
    EXPECT_NEAR(found[2], 5, 1e-9);
    for (const std::vector<lab_colour> &flat :
         {std::vector<lab_colour>{{1, 2, 3}, {4, 5, 6}, {7, 8, 1}}, box({20, -30, 1}, {80, 30, 1}),
          box({2, 0, 0}, {2, 0, 0}), std::vector<lab_colour>()})
        EXPECT_THROW(gamut_body("c", flat), failure);
}

TEST(GamutBody, SharesWhatBothHold)
{
    const gamut_body cube60("c", box({20, -30, -30}, {80, 30, 30}));
    const auto shared = [&](const lab_colour &lo, const lab_colour &hi) {
        const gamut_body other("c", box(lo, hi));
        EXPECT_NEAR(shared_volume(cube60, other), shared_volume(other, cube60), 1e-4);
        return shared_volume(cube60, other);
    };
    EXPECT_NEAR(shared({30, -10, -20}, {40, 10, 20}), 8000, 1e-4);     // inside
    EXPECT_NEAR(shared({50, 0, 0}, {100, 100, 100}), 27000, 1e-4);     // a corner
    EXPECT_NEAR(shared({20, -30, 0}, {80, 30, 90}), 108000, 1e-4);     // three sides in common
    EXPECT_NEAR(shared({0, -10, -100}, {100, 10, 100}), 72000, 1e-4);  // goes through
    EXPECT_NEAR(shared({80, -30, -30}, {100, 30, 30}), 0, 1e-3);       // touches
    EXPECT_EQ(shared({90, -30, -30}, {100, 30, 30}), 0);               // apart
    // Round bodies: with itself everything, and turned by hand against counted points.
    Generator numbers(7);
    const auto ball = [&](double L, double a, double radius) {
        std::vector<lab_colour> colours;
        for (int i = 0; i < 300; ++i) {
            lab_colour way = {numbers.between(-1, 1), numbers.between(-1, 1), numbers.between(-1, 1)};
            const double length = std::sqrt(way[0] * way[0] + way[1] * way[1] + way[2] * way[2]);
            colours.push_back({L + way[0] / length * radius, a + way[1] / length * radius, way[2] / length * radius});
        }
        return gamut_body("c", colours);
    };
    const gamut_body first = ball(50, 0, 40);
    const gamut_body second = ball(60, 25, 30);
    EXPECT_NEAR(shared_volume(first, first), first.volume(), 1e-9 * first.volume());
    const double both = shared_volume(first, second);
    EXPECT_NEAR(both, shared_volume(second, first), 1e-9 * both + 1e-4);
    int counted = 0;
    for (int i = 0; i < 20000; ++i) {
        const lab_colour colour = {numbers.between(10, 90), numbers.between(-40, 40), numbers.between(-40, 40)};
        counted += first.inside(colour) && second.inside(colour) ? 1 : 0;
    }
    EXPECT_NEAR(both, counted * 80.0 * 80 * 80 / 20000, 0.05 * both);
}

TEST(Gamut, OfChartsAndProfiles)
{
    const Folder folder;
    folder.write("c.txt", cube(20, 80));
    folder.write("colours.txt", "# two\n50 40 50\n10 0 0\n");
    const outcome plain = run_teska({"gamut", folder.path("c.txt"), "--inside", "50,50,50", "--inside=-3,4,5"});
    EXPECT_EQ(plain.code, 0) << plain.err;
    EXPECT_EQ(plain.out, "colours 8\nvolume 216000.00\narea 21600.00\nvertices 8\ntriangles 12\n"
                         "white 80.00 20.00 20.00\nblack 20.00 20.00 20.00\ninside 50 50 50 1\ninside -3 4 5 0\n");
    EXPECT_NE(plain.err.find("note: hull: what lies in its hollows counts as inside"), std::string::npos);
    const outcome all = run_teska({"gamut", folder.path("c.txt"), "--json", "--colours", folder.path("colours.txt"),
                                   "--nearest", "50,90,50", "--compare", folder.path("c.txt"), "--out",
                                   folder.path("o.json"), "--vrml", folder.path("o.wrl")});
    EXPECT_EQ(all.code, 0) << all.err;
    for (const char *part : {"\"kind\": \"chart\"", "\"intent\": null", "{\"lab\": [50, 40, 50], \"inside\": true}",
                             "{\"lab\": [10, 0, 0], \"inside\": false}", "\"nearest\": [50, 80, 50], \"distance\": 10,",
                             "\"compare\": {\"volume\": 216000, \"intersection\": 216000, \"union\": 216000, "
                             "\"coverage\": 1}"})
        EXPECT_NE(all.out.find(part), std::string::npos) << part << all.out;
    EXPECT_EQ(folder.read("o.json").substr(0, 200), all.out.substr(0, 200));
    const std::string scene = folder.read("o.wrl");
    EXPECT_EQ(scene.substr(0, 15), "#VRML V2.0 utf8");
    EXPECT_EQ(std::count(scene.begin(), scene.end(), '{'), std::count(scene.begin(), scene.end(), '}'));

    EXPECT_EQ(run_teska({"gamut", folder.path("c.txt"), "--slices", folder.path("s.png")}).code, 0);
    const whole_page slices = read_pages(folder.path("s.png")).front();
    ASSERT_EQ(slices.facts.width, 768U);
    ASSERT_EQ(slices.facts.height, 768U);
    // L 10 is below the cube and white; in L 50 it begins at a = 20, b = 20.
    const auto is_white = [&](int left, int top, int a, int b) {
        const std::size_t at =
            (static_cast<std::size_t>(top + 128 - b) * 768 + static_cast<std::size_t>(left + 128 + a)) * 3;
        return slices.samples[at] == 255 && slices.samples[at + 1] == 255 && slices.samples[at + 2] == 255;
    };
    EXPECT_TRUE(is_white(0, 0, 40, 40));
    EXPECT_FALSE(is_white(256, 256, 40, 40));
    EXPECT_FALSE(is_white(256, 256, 21, 79));
    EXPECT_TRUE(is_white(256, 256, 18, 40));
    EXPECT_TRUE(is_white(256, 256, 40, 82));
    EXPECT_TRUE(is_white(256, 256, -40, 40));

    const outcome srgb = run_teska({"gamut", "srgb"});
    EXPECT_EQ(srgb.code, 0) << srgb.err;
    const double volume = std::stod(srgb.out.substr(srgb.out.find("volume ") + 7));
    EXPECT_NEAR(volume, 905292, 905);
    EXPECT_NE(srgb.out.find("white 100.00 "), std::string::npos);

    EXPECT_EQ(run_teska({"gamut", "gray"}).err, "teska gamut: gray: its colours span no volume\n");
    EXPECT_EQ(run_teska({"gamut", "srgb", "--tac", "300"}).code, 1);
    EXPECT_EQ(run_teska({"gamut", folder.path("colours.txt")}).code, 1);
    EXPECT_EQ(run_teska({"gamut", "srgb", "--inside", "1,2"}).code, 2);
    EXPECT_EQ(run_teska({"gamut", folder.path("c.txt"), "--out", folder.path("c.txt"), "--force"}).code, 1);
}

}  // namespace
