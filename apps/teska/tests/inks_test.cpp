// Umbrellas of devices, from the command line.

#include "support/folder.h"
#include "support/pictures.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <sstream>

namespace
{

using namespace tool_test;
using teska_test::Folder;
using lab = std::array<double, 3>;

// Inks as they print on white: cyan, magenta, yellow, black.
lab printed(const std::array<int, 4> &ink)
{
    const double rest = 1 - 0.8 * ink[3];
    return {rest * (95 - 35 * ink[0] - 45 * ink[1] - 6 * ink[2]), rest * (-40 * ink[0] + 75 * ink[1] - 5 * ink[2]),
            rest * (-50 * ink[0] - 5 * ink[1] + 90 * ink[2])};
}

std::string row(const std::array<int, 4> &ink, const lab &colour, double full)
{
    std::ostringstream text;
    for (const int amount : ink)
        text << amount * full << ' ';
    text << colour[0] << ' ' << colour[1] << ' ' << colour[2] << '\n';
    return text.str();
}

// Solids and overprints of `print`, but for one.
template <class Print>
std::string chart(const Print &print, int left_out = -1)
{
    std::string text =
        "CTI3\nBEGIN_DATA_FORMAT\nCMYK_C CMYK_M CMYK_Y CMYK_K LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\nBEGIN_DATA\n"
        "50 0 0 0 1 2 3\n";
    for (int i = 0; i < 16; ++i) {
        const std::array<int, 4> ink = {i & 1, i >> 1 & 1, i >> 2 & 1, i >> 3 & 1};
        if (i != left_out)
            text += row(ink, print(ink), 100);
    }
    return text + "END_DATA\n";
}

// The points that are told as the edge.
std::vector<lab> edge_of(const std::string &out)
{
    std::vector<lab> points;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);)
        if (std::istringstream words(line); line.starts_with("edge ")) {
            std::string name;
            lab point{};
            words >> name >> point[0] >> point[1] >> point[2];
            points.push_back(point);
        }
    return points;
}

double distance(const std::vector<lab> &points, const lab &to)
{
    double least = 1e9;
    for (const lab &point : points)
        least = std::min(least, std::hypot(point[0] - to[0], point[1] - to[1], point[2] - to[2]));
    return least;
}

TEST(Inks, OfAChart)
{
    const Folder folder;
    folder.write("c.txt", chart(printed));
    const outcome plain = run_teska({"inks", folder.path("c.txt"), "--picture", folder.path("p.png"), "--vrml",
                                     folder.path("p.wrl"), "--levels", "9"});
    EXPECT_EQ(plain.code, 0) << plain.err;
    EXPECT_EQ(plain.out.substr(0, plain.out.find("edge")),
              "ink Cyan\nink Magenta\nink Yellow\nink Black\n"
              "part Cyan + Magenta\npart Cyan + Yellow\npart Magenta + Yellow\n");
    const std::vector<lab> edge = edge_of(plain.out);
    EXPECT_EQ(edge.size(), 361U);
    EXPECT_LT(distance({edge.front()}, edge.back()), 0.02);
    for (const std::array<int, 4> &on_the_rim :
         {std::array{1, 0, 0, 0}, {1, 1, 0, 0}, {0, 1, 0, 0}, {0, 1, 1, 0}, {0, 0, 1, 0}, {1, 0, 1, 0}})
        EXPECT_LT(distance(edge, printed(on_the_rim)), 1.5);
    EXPECT_GT(distance(edge, printed({1, 1, 1, 0})), 10);
    EXPECT_NE(run_teska({"inks", folder.path("c.txt"), "--json"})
                  .out.find("{\"ok\": true, \"inks\": [\"Cyan\", \"Magenta\", \"Yellow\", \"Black\"], \"parts\": "
                            "[{\"inks\": [0, 1], \"full\": []}, {\"inks\": [0, 2], \"full\": []}, {\"inks\": [1, 2], "
                            "\"full\": []}], \"edge\": [["),
              std::string::npos);

    // Three pixels to a unit: white beside the middle, yellow far up, nothing beyond.
    const whole_page picture = read_page(folder.path("p.png"));
    ASSERT_EQ(picture.facts.width, 768U);
    const auto pixel = [&](int a, int b) {
        const std::size_t at =
            3 * (static_cast<std::size_t>(384 - 3 * b) * 768 + static_cast<std::size_t>(384 + 3 * a));
        return std::array{picture.samples[at], picture.samples[at + 1], picture.samples[at + 2]};
    };
    EXPECT_GT(pixel(1, 1)[2], 220);
    EXPECT_LT(pixel(-3, 70)[2], 110);
    EXPECT_GT(pixel(-3, 70)[0], 220);
    EXPECT_EQ(pixel(-60, -60), (std::array<std::uint16_t, 3>{255, 255, 255}));
    const std::string scene = folder.read("p.wrl");
    EXPECT_EQ(scene.substr(0, 15), "#VRML V2.0 utf8");
    EXPECT_EQ(std::count(scene.begin(), scene.end(), '{'), std::count(scene.begin(), scene.end(), '}'));
    EXPECT_NE(scene.find("colorPerVertex TRUE"), std::string::npos);

    // What was measured twice counts by its mean; 255 is full then.
    const lab cyan = printed({1, 0, 0, 0});
    std::string twice = "BEGIN_DATA_FORMAT\nCMY_C CMY_M CMY_Y LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\nBEGIN_DATA\n";
    for (int i = 0; i < 8; ++i) {
        const std::array<int, 4> ink = {i & 1, i >> 1 & 1, i >> 2 & 1, 0};
        for (const double off : {-8.0, 8.0}) {
            std::ostringstream text;
            text << ink[0] * 255 << ' ' << ink[1] * 255 << ' ' << ink[2] * 255 << ' ' << printed(ink)[0] << ' '
                 << printed(ink)[1] + (i == 1 ? off : 0) << ' ' << printed(ink)[2] << '\n';
            twice += text.str();
        }
    }
    folder.write("t.txt", twice + "END_DATA\n");
    const outcome mean = run_teska({"inks", folder.path("t.txt")});
    EXPECT_EQ(mean.code, 0) << mean.err;
    EXPECT_LT(distance(edge_of(mean.out), cyan), 1.5);
}

TEST(Inks, OfProfilesOfInksAndOfLights)
{
    const outcome lights = run_teska({"inks", "srgb"});
    EXPECT_EQ(lights.code, 0) << lights.err;
    EXPECT_EQ(lights.out.substr(0, lights.out.find("edge")),
              "ink Red\nink Green\nink Blue\npart Red + Green\npart Red + Blue\npart Green + Blue\n");
    // The strongest colours of sRGB, of light D50.
    for (const lab &strong : {lab{54.29, 80.81, 69.89},
                              {97.61, -15.75, 93.39},
                              {87.82, -79.29, 80.99},
                              {90.67, -50.67, -14.96},
                              {29.57, 68.30, -112.03},
                              {60.17, 93.55, -60.50}})
        EXPECT_LT(distance(edge_of(lights.out), strong), 2) << strong[0];
    if (const std::string press = press_profile(); !press.empty()) {
        const outcome inks = run_teska({"inks", press, "--levels", "5", "--json"});
        EXPECT_EQ(inks.code, 0) << inks.err;
        EXPECT_NE(inks.out.find("\"parts\": [{\"inks\": [0, 1], \"full\": []}"), std::string::npos) << inks.out;
        EXPECT_NE(run_teska({"inks", press, "--vert", "a"}).err.find("on the other side"), std::string::npos);
    }
}

TEST(Inks, AreRefusedWithWhatIsWrong)
{
    const Folder folder;
    const auto refusal = [&](const std::string &text) {
        folder.write("c.txt", text);
        const outcome made = run_teska({"inks", folder.path("c.txt"), "--picture", folder.path("p.png")});
        EXPECT_EQ(made.code, 1);
        EXPECT_EQ(folder.listing(), "c.txt");
        return made.err;
    };
    const std::string start = "teska inks: " + folder.path("c.txt") + ": ";
    EXPECT_EQ(refusal(chart(printed, 3)),
              start + "has no patch of Cyan + Magenta in full; solids and overprints are needed\n");
    EXPECT_EQ(refusal(chart(printed, 0)), start + "has no patch of no ink at all; solids and overprints are needed\n");
    EXPECT_EQ(refusal(chart([](const auto &) { return lab{50, 0, 0}; })), start + "its colours have no light side\n");
    EXPECT_EQ(refusal(chart([](const auto &ink) {
                  return lab{1e-5 * printed(ink)[0], printed(ink)[1], printed(ink)[2]};
              })),
              start + "Such a small or big gamut is just not possible\n");
    EXPECT_EQ(refusal("BEGIN_DATA_FORMAT\nLAB_L LAB_A LAB_B\nEND_DATA_FORMAT\nBEGIN_DATA\n1 2 3\nEND_DATA\n"),
              start + "has no columns of 3 to 8 inks\n");
    EXPECT_EQ(refusal("a picture"), start + "is no ICC profile and no chart\n");
    EXPECT_EQ(run_teska({"inks", "gray"}).err, "teska inks: gray: has 1 channel: 3 to 8 wanted\n");
    EXPECT_EQ(run_teska({"inks", "lab"}).err, "teska inks: lab: is for Lab, which no device has\n");
    EXPECT_EQ(run_teska({"inks", "srgb", "--levels", "1"}).code, 2);
    EXPECT_EQ(run_teska({"inks", "srgb", "--vert", "l"}).code, 2);
}

}  // namespace
