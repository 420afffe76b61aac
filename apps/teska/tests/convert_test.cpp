// teska convert, as a process: pixels against Little CMS evaluated directly, options, messages, JSON.

#include "support/folder.h"
#include "support/pictures.h"
#include "support/process.h"

#include "profiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace
{

using namespace tool;
using namespace tool_test;
using teska_test::Folder;

constexpr extra_kind straight = extra_kind::unassociated;

outcome convert(const Folder &folder, const std::string &in, const std::string &out, std::vector<std::string> more)
{
    more.insert(more.begin(), {"convert", folder.path(in), folder.path(out), "--force"});
    return run_teska(more);
}

// Largest difference of the colours of two pages, in the samples' own steps.
int largest_step(const whole_page &first, const std::vector<std::uint16_t> &second)
{
    EXPECT_EQ(first.samples.size(), second.size());
    int largest = 0;
    for (std::size_t i = 0; i < std::min(first.samples.size(), second.size()); ++i)
        largest = std::max(largest, std::abs(first.samples[i] - second[i]));
    return largest;
}

// What Little CMS makes of the samples of a page, pixel by pixel.
std::vector<std::uint16_t> directly(const whole_page &page, const std::string &from, const std::string &to, int depth,
                                    cmsUInt32Number intent = INTENT_RELATIVE_COLORIMETRIC, bool bpc = false)
{
    job work("test");
    colour_engine engine;
    const colour_profile target = engine.open(work, to);
    const transform by = engine.connect(engine.open(work, from), target, intent, bpc);
    std::vector<std::uint16_t> in = page.samples;
    if (page.facts.depth == 8)
        for (std::uint16_t &sample : in)
            sample = static_cast<std::uint16_t>(sample * 257);
    const std::size_t pixels = in.size() / static_cast<std::size_t>(page.facts.colours);
    std::vector<std::uint16_t> out(pixels * static_cast<std::size_t>(target.space()->channels));
    by.run(in.data(), out.data(), pixels);
    if (depth == 8)
        for (std::uint16_t &sample : out)
            sample = static_cast<std::uint16_t>((sample + 128) / 257);
    return out;
}

TEST(Convert, DirectlyEqualsLittleCms)
{
    const Folder folder;
    for (const int depth : {8, 16}) {
        const whole_page rgb = random_page(colour_kind::rgb, 3, depth, 61, 40);
        write_pages(folder.path("rgb.tif"), {rgb});
        const std::vector<std::string> targets = {"linear", "gray", "lab", press_profile()};
        for (const std::string &to : targets) {
            if (to.empty())
                continue;
            const outcome result =
                convert(folder, "rgb.tif", "o.tif", {"--to", to, "--tables", "direct", "--threads", "3"});
            ASSERT_EQ(result.code, 0) << result.err;
            std::vector<std::uint16_t> wanted = directly(rgb, "srgb", to, depth);
            // 16-bit Lab is stored with 65280 for L 100.
            for (std::uint16_t &sample : wanted)
                if (to == "lab" && depth == 16)
                    sample = static_cast<std::uint16_t>(((sample * 65280U + 32767) / 65535 * 65535 + 32640) / 65280);
            EXPECT_EQ(read_page(folder.path("o.tif")).samples, wanted) << to << depth;
        }
    }
}

TEST(Convert, ByTableIsNearAndTheSameForEveryNumberOfThreads)
{
    if (press_profile().empty())
        GTEST_SKIP() << "no press profile (libgs-common)";
    const Folder folder;
    const whole_page rgb = random_page(colour_kind::rgb, 3, 8, 700, 500);
    write_pages(folder.path("rgb.tif"), {rgb});
    std::string first;
    for (const char *threads : {"1", "2", "7"}) {
        const outcome result =
            convert(folder, "rgb.tif", "o.tif", {"--to", press_profile(), "--bpc", "--threads", threads});
        ASSERT_EQ(result.code, 0) << result.err;
        if (first.empty())
            first = folder.read("o.tif");
        EXPECT_TRUE(first == folder.read("o.tif")) << threads;
    }
    const whole_page back = read_page(folder.path("o.tif"));
    EXPECT_LE(largest_step(back, directly(rgb, "srgb", press_profile(), 8, INTENT_RELATIVE_COLORIMETRIC, true)), 7);
    // And back: four inputs.
    const outcome result = convert(folder, "o.tif", "b.png", {"--to", "srgb", "--check", "--json", "--quiet"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.out.find("\"n\": 20000"), std::string::npos) << result.out;
    EXPECT_LE(largest_step(read_page(folder.path("b.png")), directly(back, press_profile(), "srgb", 8)), 40);
    EXPECT_TRUE(read_page(folder.path("b.png")).facts.said_srgb);
}

TEST(Convert, KeepsAlphaAndOtherSamples)
{
    const Folder folder;
    whole_page page = random_page(colour_kind::rgb, 3, 16, 30, 20, {extra_kind::unspecified, straight});
    write_pages(folder.path("a.tif"), {page});
    ASSERT_EQ(convert(folder, "a.tif", "o.tif", {"--to", "linear", "--depth", "8"}).code, 0);
    const whole_page kept = read_page(folder.path("o.tif"));
    EXPECT_EQ(kept.facts.extras, page.facts.extras);
    bool same = true;
    for (std::size_t p = 0; p < 600; ++p)
        for (const std::size_t extra : {3U, 4U})
            same = same && kept.samples[5 * p + extra] == (page.samples[5 * p + extra] + 128) / 257;
    EXPECT_TRUE(same);
    ASSERT_EQ(convert(folder, "a.tif", "o.tif", {"--to", "linear", "--alpha", "drop"}).code, 0);
    EXPECT_EQ(read_page(folder.path("o.tif")).facts.extras, std::vector<extra_kind>{extra_kind::unspecified});

    // Half transparent, associated: colours are taken out, converted, and put back.
    whole_page half = random_page(colour_kind::rgb, 3, 8, 1, 1, {extra_kind::associated});
    half.samples = {100, 50, 0, 128};
    write_pages(folder.path("h.tif"), {half});
    ASSERT_EQ(convert(folder, "h.tif", "o.tif", {"--to", "linear", "--tables", "direct"}).code, 0);
    whole_page whole = half;
    whole.facts.extras.clear();
    whole.samples = {199, 100, 0};
    std::vector<std::uint16_t> wanted = directly(whole, "srgb", "linear", 8);
    for (std::uint16_t &sample : wanted)
        sample = static_cast<std::uint16_t>((sample * 128 + 127) / 255);
    wanted.push_back(128);
    EXPECT_EQ(read_page(folder.path("o.tif")).samples, wanted);
    ASSERT_EQ(convert(folder, "h.tif", "o.png", {"--to", "srgb", "--alpha", "white"}).code, 0);
    EXPECT_EQ(read_page(folder.path("o.png")).samples, (std::vector<std::uint16_t>{227, 177, 127}));
}

TEST(Convert, TakesPagesFoldersAndLinksOfSeveralKinds)
{
    const Folder folder;
    std::filesystem::create_directory(folder.path("in"));
    const whole_page rgb = random_page(colour_kind::rgb, 3, 8, 20, 10);
    const whole_page gray = random_page(colour_kind::gray, 1, 16, 8, 8);
    write_pages(folder.path("in/b.tif"), {rgb, gray, rgb});
    write_pages(folder.path("in/a.png"), {rgb});
    folder.write("in/c.png", "\x89PNG\r\n\x1A\nbroken");
    folder.write("in/note.txt", "no picture");
    const outcome result = convert(folder, "in", "out", {"--to", "linear", "--json"});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.out.find("c.png"), std::string::npos);
    EXPECT_NE(result.err.find("c.png: "), std::string::npos);
    const std::vector<whole_page> pages = read_pages(folder.path("out/b.tif"));
    ASSERT_EQ(pages.size(), 3U);
    EXPECT_EQ(pages[1].facts.colours, 3);
    EXPECT_EQ(pages[1].facts.depth, 16);
    EXPECT_TRUE(pages[0].samples == read_page(folder.path("out/a.png")).samples);
    EXPECT_FALSE(std::filesystem::exists(folder.path("out/c.png")));

    // A baked table gives the bytes that the table gives that convert builds itself.
    ASSERT_EQ(run_teska({"bake", folder.path("t.ttab"), "--from", "srgb", "--to", "linear"}).code, 0);
    ASSERT_EQ(convert(folder, "in/a.png", "1.ppm", {"--to", "linear"}).code, 0);
    ASSERT_EQ(convert(folder, "in/a.png", "2.ppm", {"--link", folder.path("t.ttab")}).code, 0);
    EXPECT_TRUE(folder.read("1.ppm") == folder.read("2.ppm"));
    // A device link is of Little CMS' own making, and near.
    ASSERT_EQ(run_teska({"bake", folder.path("l.icc"), "--from", "srgb", "--to", "lab"}).code, 0);
    const std::string link = folder.read("l.icc");
    ASSERT_EQ(run_teska({"bake", folder.path("l.icc"), "--from", "srgb", "--to", "lab", "--force"}).code, 0);
    EXPECT_TRUE(link == folder.read("l.icc"));
    ASSERT_EQ(convert(folder, "in/a.png", "l.tif", {"--link", folder.path("l.icc")}).code, 0);
    EXPECT_LE(largest_step(read_page(folder.path("l.tif")), directly(rgb, "srgb", "lab", 8)), 3);
}

TEST(Convert, LimitsTheInk)
{
    if (press_profile().empty())
        GTEST_SKIP() << "no press profile (libgs-common)";
    const Folder folder;
    whole_page dark = random_page(colour_kind::rgb, 3, 16, 40, 40);
    for (std::uint16_t &sample : dark.samples)
        sample /= 16;
    write_pages(folder.path("d.tif"), {dark});
    ASSERT_EQ(convert(folder, "d.tif", "o.tif", {"--to", press_profile(), "--tac", "200"}).code, 0);
    const whole_page out = read_page(folder.path("o.tif"));
    int largest = 0;
    for (std::size_t p = 0; p < out.samples.size(); p += 4)
        largest = std::max(largest, out.samples[p] + out.samples[p + 1] + out.samples[p + 2] + out.samples[p + 3]);
    EXPECT_LE(largest, 2 * 65535 + 4);
    EXPECT_GT(largest, 1.9 * 65535);
}

TEST(Convert, SaysWhatIsWrong)
{
    const Folder folder;
    write_pages(folder.path("rgb.tif"), {random_page(colour_kind::rgb, 3, 8, 9, 9, {straight})});
    write_pages(folder.path("cmyk.tif"), {random_page(colour_kind::cmyk, 4, 16, 9, 9)});
    folder.write("short.icc", std::string(140, 'x'));
    folder.write("x.cube", "LUT_3D_SIZE 2\n0 0 0\n");
    job work("test");
    std::string cut = colour_engine().open(work, "linear").bytes();
    folder.write("linear.icc", cut);
    folder.write("cut.icc", cut.substr(0, 300));
    struct row {
        std::vector<std::string> arguments;
        int code;
        std::string message;
    };
    const auto path = [&](const std::string &name) { return folder.path(name); };
    const std::vector<row> table = {
        {{"rgb.tif", "o.tif"}, 2, "nothing to do: --to, --link or --cube is missing"},
        {{"rgb.tif", "o.xyz", "--to", "srgb"}, 2, path("o.xyz") + ": what format? --format png, tiff, jpeg or ppm"},
        {{"rgb.tif", "o.jpg", "--to", "srgb"},
         2,
         path("o.jpg") + ": JPEG holds no alpha; --alpha drop or --alpha white"},
        {{"rgb.tif", "o.png", "--to", "lab"}, 2, path("o.png") + ": PNG holds no Lab; use TIFF"},
        {{"rgb.tif", "o.jpg", "--to", "srgb", "--depth", "16"}, 2, path("o.jpg") + ": JPEG holds 8 bits"},
        {{"rgb.tif", "o.tif", "--to", "srgb", "--bpc", "--intent", "absolute"}, 2, "--bpc: has no meaning"},
        {{"rgb.tif", "o.tif", "--to", "gray", "--tac", "200"}, 2, "--tac: the output is gray, which has no inks"},
        {{"rgb.tif", "rgb.tif", "--to", "srgb"}, 1, path("rgb.tif") + ": is the input"},
        {{"rgb.tif", "x/o.tif", "--to", "srgb"}, 1, path("x/o.tif") + ": no such folder"},
        {{"none.tif", "o.tif", "--to", "srgb"}, 1, path("none.tif") + ": no such file"},
        {{"cmyk.tif", "o.tif", "--to", "srgb"},
         1,
         path("cmyk.tif") + ": CMYK without a profile; say which with --from"},
        {{"cmyk.tif", "o.tif", "--from", "gray", "--to", "srgb"},
         1,
         "gray: is for gray, " + path("cmyk.tif") + " is CMYK"},
        {{"cmyk.tif", "o.tif", "--cube", path("x.cube")},
         1,
         path("x.cube") + ": line 2: 8 rows wanted (2 x 2 x 2), the file ends after 1"},
        {{"rgb.tif", "o.tif", "--to", path("short.icc")}, 1, path("short.icc") + ": no ICC profile"},
        {{"rgb.tif", "o.tif", "--to", path("cut.icc")},
         1,
         path("cut.icc") + ": damaged: its header says " + std::to_string(cut.size()) + " bytes, the file has 300"},
        {{"rgb.tif", "o.tif", "--link", path("linear.icc")},
         1,
         path("linear.icc") + ": --link takes device links, this is a profile for RGB"},
        {{"rgb.tif", "o.tif", "--to", "linear", "--max-error", "0.0001", "--tables", "9"},
         1,
         "with 9 points; --max-error"},
    };
    const std::string before = folder.listing();
    for (const row &call : table) {
        std::vector<std::string> arguments = call.arguments;
        arguments[0] = folder.path(arguments[0]);
        arguments[1] = folder.path(arguments[1]);
        arguments.insert(arguments.begin(), "convert");
        arguments.emplace_back("--force");
        const outcome result = run_teska(arguments);
        EXPECT_EQ(result.code, call.code) << call.message;
        EXPECT_NE(result.err.find(call.message), std::string::npos) << call.message << "\n" << result.err;
        EXPECT_EQ(result.out, "");
        arguments.emplace_back("--json");
        EXPECT_TRUE(run_teska(arguments).out.starts_with("{\"ok\": false, \"code\": " + std::to_string(call.code)));
    }
    EXPECT_EQ(folder.listing(), before);
    EXPECT_EQ(run_teska({"convert", folder.path("rgb.tif"), folder.path("cmyk.tif"), "--to", "srgb"}).code, 1);
}

}  // namespace
