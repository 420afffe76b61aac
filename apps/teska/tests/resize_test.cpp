// teska resize, as a process: all samples against the library fed with whole pages, sizes, light, alpha, messages.

#include "support/folder.h"
#include "support/pictures.h"
#include "support/process.h"

#include "izat.h"
#include "profiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace
{

using namespace tool;
using namespace tool_test;
using teska_test::Folder;
using samples = std::vector<std::uint16_t>;

constexpr extra_kind straight = extra_kind::unassociated;
const char *const kernels[] = {"area", "triangle", "catmull", "mitchell", "lanczos3"};

outcome resize(const Folder &folder, const std::string &in, const std::string &out, std::vector<std::string> more)
{
    more.insert(more.begin(), {"resize", folder.path(in), folder.path(out), "--force"});
    return run_teska(more);
}

struct lines {
    std::uint16_t *next;
    std::size_t step;
    static void advance(void *context, int)
    {
        static_cast<lines *>(context)->next += static_cast<lines *>(context)->step;
    }
};

// Samples as they are, or as bytes, through the library in one piece.
samples directly(const whole_page &page, int kernel, int width, int height, bool bytes)
{
    const int step = page.facts.samples();
    const auto in_line = static_cast<std::size_t>(page.facts.width) * static_cast<unsigned>(step);
    samples out(static_cast<std::size_t>(width * height * step));
    izat *by = izat_new(kernel);
    if (bytes) {
        std::vector<std::uint8_t> line(static_cast<std::size_t>(width * step));
        struct taken {
            std::vector<std::uint8_t> &line;
            samples::iterator to;
            static void take(void *context, int)
            {
                auto *all = static_cast<taken *>(context);
                all->to = std::copy(all->line.begin(), all->line.end(), all->to);
            }
        } all = {line, out.begin()};
        izat_start(by, step, static_cast<int>(page.facts.height), static_cast<int>(page.facts.width), height, width,
                   taken::take, &all, step, step);
        const std::vector<std::uint8_t> in(page.samples.begin(), page.samples.end());
        std::uint8_t *to = line.data();
        for (std::size_t y = 0; y < page.facts.height; ++y)
            izat_line_b(by, in.data() + y * in_line, &to);
    } else {
        lines all = {out.data(), static_cast<std::size_t>(width * step)};
        izat_start(by, step, static_cast<int>(page.facts.height), static_cast<int>(page.facts.width), height, width,
                   lines::advance, &all, step, step);
        for (std::size_t y = 0; y < page.facts.height; ++y)
            izat_line(by, page.samples.data() + y * in_line, &all.next);
    }
    izat_kill(by);
    return out;
}

TEST(Resize, EqualsTheLibraryForEveryKernelAndNumberOfThreads)
{
    const Folder folder;
    struct row {
        colour_kind kind;
        int colours;
        std::vector<extra_kind> extras;
    };
    const row rows[] = {{colour_kind::gray, 1, {}},
                        {colour_kind::rgb, 3, {extra_kind::unspecified}},
                        {colour_kind::cmyk, 4, {}},
                        {colour_kind::inks, 7, {}}};
    for (const row &of : rows)
        for (const int depth : {8, 16}) {
            // Several bands of lines.
            const auto width = static_cast<std::uint32_t>(40000 / of.colours);
            write_pages(folder.path("in.tif"), {random_page(of.kind, of.colours, depth, width, 37, of.extras)});
            const whole_page page = read_page(folder.path("in.tif"));
            for (int k = 0; k < 5; ++k) {
                SCOPED_TRACE(name_of(of.kind, of.colours) + " " + std::to_string(depth) + " " + kernels[k]);
                const int to_width = k % 2 == 0 ? 301 : static_cast<int>(width) + 17;
                const int to_height = k % 2 == 0 ? 50 : 11;
                const std::string size = std::to_string(to_width) + "x" + std::to_string(to_height);
                std::string first;
                for (const char *threads : {"1", "3"}) {
                    const outcome result = resize(folder, "in.tif", "o.tif",
                                                  {"--size", size, "--kernel", kernels[k], "--threads", threads});
                    ASSERT_EQ(result.code, 0) << result.err;
                    first = first.empty() ? folder.read("o.tif") : first;
                    EXPECT_TRUE(folder.read("o.tif") == first) << threads;
                }
                EXPECT_TRUE(read_page(folder.path("o.tif")).samples ==
                            directly(page, k, to_width, to_height, depth == 8));
            }
        }
}

TEST(Resize, TakesSizesAndKernelsFromWhatIsSaid)
{
    const Folder folder;
    write_pages(folder.path("in.tif"), {random_page(colour_kind::rgb, 3, 8, 60, 45)});
    struct row {
        std::vector<std::string> said;
        std::uint32_t width;
        std::uint32_t height;
        std::string kernel;
    };
    const row rows[] = {{{"--width", "40"}, 40, 30, "lanczos3"},
                        {{"--width", "20"}, 20, 15, "area"},
                        {{"--height=15"}, 20, 15, "area"},
                        {{"--height", "10"}, 13, 10, "lanczos3"},
                        {{"--scale", "0.5"}, 30, 23, "lanczos3"},
                        {{"--scale", "0.001"}, 1, 1, "area"},
                        {{"--scale", "1.5", "--kernel", "nearest"}, 90, 68, "nearest"},
                        {{"--size", "30x45"}, 30, 45, "lanczos3"},
                        {{"--size", "7x9"}, 7, 9, "lanczos3"},
                        {{"--width", "10", "--window", "10,5,20,40"}, 10, 20, "area"},
                        {{"--scale", "1", "--window", "0.5,0.5,30.5,10"}, 31, 10, "lanczos3"}};
    for (const row &of : rows) {
        SCOPED_TRACE(of.said[0] + " " + of.said.back());
        std::vector<std::string> said = of.said;
        said.emplace_back("--json");
        const outcome result = resize(folder, "in.tif", "o.tif", said);
        ASSERT_EQ(result.code, 0) << result.err;
        const whole_page page = read_page(folder.path("o.tif"));
        EXPECT_EQ(page.facts.width, of.width);
        EXPECT_EQ(page.facts.height, of.height);
        EXPECT_NE(result.out.find("\"kernel\": \"" + of.kernel + "\""), std::string::npos) << result.out;
    }
    // 11 x 2 pixels of one bit, repeated and never mixed.
    folder.write("bits.tif", plain_tiff(false,
                                        {{256, 3, 1, 11},
                                         {257, 3, 1, 2},
                                         {258, 3, 1, 1},
                                         {259, 3, 1, 1},
                                         {262, 3, 1, 1},
                                         {273, 4, 1, 8},
                                         {277, 3, 1, 1},
                                         {278, 3, 1, 2},
                                         {279, 4, 1, 4}},
                                        std::string("\xA5\x60\x0F\x20", 4)));
    const outcome result = resize(folder, "bits.tif", "o.tif", {"--size", "22x4"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, folder.path("o.tif") + ": 22 x 4 from 11 x 2 by nearest\n");
    const whole_page bits = read_page(folder.path("bits.tif"));
    const whole_page twice = read_page(folder.path("o.tif"));
    for (std::size_t i = 0; i < twice.samples.size(); ++i)
        EXPECT_EQ(twice.samples[i], bits.samples[i / 44 * 11 + i % 22 / 2]) << i;
}

TEST(Resize, GivesPartsOfPicturesAsTheyAre)
{
    const Folder folder;
    const whole_page page = random_page(colour_kind::rgb, 3, 16, 40, 30);
    write_pages(folder.path("in.tif"), {page});
    for (const char *kernel : {"lanczos3", "nearest"}) {
        ASSERT_EQ(resize(folder, "in.tif", "o.tif", {"--scale", "1", "--window", "5,7,20,10", "--kernel", kernel}).code,
                  0);
        samples wanted;
        for (std::ptrdiff_t y = 7; y < 17; ++y)
            wanted.insert(wanted.end(), page.samples.begin() + (y * 40 + 5) * 3,
                          page.samples.begin() + (y * 40 + 25) * 3);
        EXPECT_TRUE(read_page(folder.path("o.tif")).samples == wanted) << kernel;
    }
}

TEST(Resize, KeepsPixelsOfTheSameSize)
{
    const Folder folder;
    const whole_page page = random_page(colour_kind::rgb, 3, 8, 50, 20, {straight});
    write_pages(folder.path("in.tif"), {page});
    for (const char *kernel : {"area", "triangle", "catmull", "lanczos3", "nearest", "mitchell"}) {
        ASSERT_EQ(resize(folder, "in.tif", "o.tif", {"--width", "50", "--kernel", kernel, "--linear"}).code, 0);
        EXPECT_EQ(read_page(folder.path("o.tif")).samples == page.samples, std::string(kernel) != "mitchell");
    }
}

TEST(Resize, WeighsColoursByTheirAlpha)
{
    const Folder folder;
    // Red beside what cannot be seen: no fringe of its green.
    whole_page edge = random_page(colour_kind::rgb, 3, 8, 2, 1, {straight});
    edge.samples = {255, 0, 0, 255, 0, 255, 0, 0};
    write_pages(folder.path("edge.png"), {edge});
    ASSERT_EQ(resize(folder, "edge.png", "o.png", {"--size", "1x1"}).code, 0);
    EXPECT_EQ(read_page(folder.path("o.png")).samples, (samples{255, 0, 0, 128}));

    for (const int depth : {8, 16})
        for (const bool associated : {false, true}) {
            whole_page page =
                random_page(colour_kind::rgb, 3, depth, 60, 50, {associated ? extra_kind::associated : straight});
            for (std::size_t i = 0; associated && i < page.samples.size(); ++i)
                page.samples[i] = std::min(page.samples[i], page.samples[i / 4 * 4 + 3]);
            write_pages(folder.path("in.tif"), {page});
            ASSERT_EQ(resize(folder, "in.tif", "o.tif", {"--size", "33x71"}).code, 0);
            const whole_page sized = read_page(folder.path("o.tif"));
            EXPECT_EQ(sized.facts.extras, page.facts.extras);
            // Straight ones are associated with 16 bits; associated ones are as they are.
            for (std::size_t i = 0; !associated && i < page.samples.size(); ++i) {
                const unsigned factor = depth == 8 ? 257 : 1;
                const std::uint64_t alpha = i % 4 == 3 ? 65535 : page.samples[i / 4 * 4 + 3] * factor;
                page.samples[i] =
                    static_cast<std::uint16_t>((page.samples[i] * std::uint64_t{factor} * alpha + 32767) / 65535);
            }
            samples wanted = directly(page, IZAT_LANCZOS3, 33, 71, associated && depth == 8);
            for (std::size_t i = 0; i < wanted.size(); ++i) {
                const std::uint64_t alpha = wanted[i / 4 * 4 + 3];
                if (associated)
                    wanted[i] = std::min(wanted[i], static_cast<std::uint16_t>(alpha));
                else if (i % 4 != 3)
                    wanted[i] = static_cast<std::uint16_t>(
                        alpha == 0 ? 0 : std::min<std::uint64_t>(65535, (wanted[i] * 65535ULL + alpha / 2) / alpha));
            }
            for (std::uint16_t &sample : wanted)
                if (!associated && depth == 8)
                    sample = static_cast<std::uint16_t>((sample + 128) / 257);
            EXPECT_TRUE(sized.samples == wanted) << depth << associated;
        }
}

TEST(Resize, AveragesLight)
{
    const Folder folder;
    whole_page board = random_page(colour_kind::gray, 1, 8, 40, 40);
    for (std::size_t i = 0; i < board.samples.size(); ++i)
        board.samples[i] = (i + i / 40) % 2 == 0 ? 255 : 0;
    write_pages(folder.path("board.tif"), {board});
    const outcome result = resize(folder, "board.tif", "o.png", {"--scale", "0.5", "--linear"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "teska resize: " + folder.path("board.tif") +
                              ": note: no profile, taken as gray with the curve of sRGB\n");
    // ((0.5^(1/2.4)) 1.055 - 0.055) 255 = 187.5
    EXPECT_EQ(read_page(folder.path("o.png")).samples, samples(400, 188));

    // Random colours: the light of what is written, against the light of what was read, in steps of 16 bits.
    const auto light = [](std::uint16_t sample) {
        const double v = sample / 65535.0;
        return 65535 * (v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4));
    };
    whole_page colours = random_page(colour_kind::rgb, 3, 16, 60, 50);
    write_pages(folder.path("rgb.tif"), {colours});
    ASSERT_EQ(resize(folder, "rgb.tif", "o.tif", {"--size", "25x70", "--linear"}).code, 0);
    for (std::uint16_t &sample : colours.samples)
        sample = static_cast<std::uint16_t>(light(sample) + 0.5);
    const samples wanted = directly(colours, IZAT_LANCZOS3, 25, 70, false);
    const samples there = read_page(folder.path("o.tif")).samples;
    ASSERT_EQ(there.size(), wanted.size());
    for (std::size_t i = 0; i < there.size(); ++i)
        EXPECT_NEAR(light(there[i]), wanted[i], 3) << i;

    // Linear samples stay what they are, and the profile does too.
    job work("test");
    colour_engine engine;
    whole_page page = random_page(colour_kind::rgb, 3, 16, 60, 50);
    page.facts.profile = engine.open(work, "linear").bytes();
    write_pages(folder.path("in.tif"), {page});
    ASSERT_EQ(resize(folder, "in.tif", "o.tif", {"--width", "25", "--linear"}).code, 0);
    const whole_page sized = read_page(folder.path("o.tif"));
    EXPECT_TRUE(sized.samples == directly(page, IZAT_LANCZOS3, 25, 21, false));
    EXPECT_EQ(sized.facts.profile, page.facts.profile);

    // Black, white and one colour stay, half transparent too.
    whole_page flat = random_page(colour_kind::rgb, 3, 8, 9, 8, {extra_kind::associated});
    for (std::size_t i = 0; i < flat.samples.size(); ++i)
        flat.samples[i] = samples{0, 128, 77, 128}[i % 4];
    write_pages(folder.path("flat.tif"), {flat});
    ASSERT_EQ(resize(folder, "flat.tif", "o.tif", {"--size", "4x4", "--linear"}).code, 0);
    const samples out = read_page(folder.path("o.tif")).samples;
    EXPECT_TRUE(std::equal(out.begin(), out.end(), flat.samples.begin()));

    write_pages(folder.path("cmyk.tif"), {random_page(colour_kind::cmyk, 4, 8, 9, 8)});
    const outcome inks = resize(folder, "cmyk.tif", "c.tif", {"--size", "4x4", "--linear"});
    EXPECT_EQ(inks.code, 1);
    EXPECT_EQ(inks.err,
              "teska resize: " + folder.path("cmyk.tif") + ": --linear works on RGB and gray, this is CMYK\n");
}

TEST(Resize, KeepsTheSizeInPrintOfEachPage)
{
    const Folder folder;
    whole_page first = random_page(colour_kind::rgb, 3, 8, 50, 40);
    first.facts.density = {300, 150, resolution::unit::inch};
    first.facts.tiff.pages = 2;
    whole_page second = random_page(colour_kind::lab, 3, 16, 30, 20);
    second.facts.density = {100, 100, resolution::unit::centimetre};
    second.facts.tiff.pages = 2;
    write_pages(folder.path("in.tif"), {first, second});
    ASSERT_EQ(resize(folder, "in.tif", "o.tif", {"--size", "25x10"}).code, 0);
    const std::vector<whole_page> pages = read_pages(folder.path("o.tif"));
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].facts.density.x, 150);
    EXPECT_EQ(pages[0].facts.density.y, 37.5);
    EXPECT_NEAR(pages[1].facts.density.x, 100 * 25 / 30.0, 1e-4);
    EXPECT_EQ(pages[1].facts.density.y, 50);
    EXPECT_EQ(pages[1].facts.kind, colour_kind::lab);
    EXPECT_TRUE(pages[0].samples == directly(first, IZAT_AREA, 25, 10, true));
    EXPECT_EQ(resize(folder, "in.tif", "o.png", {"--size", "25x10"}).code, 2);
}

TEST(Resize, SaysWhatIsWrong)
{
    const Folder folder;
    write_pages(folder.path("in.tif"), {random_page(colour_kind::rgb, 3, 8, 60, 45)});
    const std::string start = "teska resize: ";
    const std::string in = folder.path("in.tif");
    const std::string out = folder.path("o.tif");
    struct row {
        std::vector<std::string> said;
        int code;
        std::string message;
    };
    const row rows[] = {
        {{}, 2, "nothing to do: --size, --width, --height or --scale is missing"},
        {{"--width", "3", "--scale", "2"}, 2, "--scale: stands beside --width; --size gives both sides"},
        {{"--size", "30"}, 2, "--size 30: WIDTHxHEIGHT wanted"},
        {{"--size", "0x30"}, 2, "--size 0x30: 1 to 1000000"},
        {{"--scale", "1,5"}, 2, "--scale 1,5: not a number"},
        {{"--scale", "1", "--window", "1,2,3"}, 2, "--window 1,2,3: 4 numbers with commas between wanted"},
        {{"--scale", "1", "--window", "-1,2,3,4"}, 2, "--window -1,2,3,4: X and Y from 0, W and H above 0"},
        {{"--scale", "1", "--window", "0,0.5,3,4", "--kernel", "nearest"},
         2,
         "--window 0,0.5,3,4: whole numbers wanted for kernel nearest"},
        {{"--scale", "1", "--window", "40,2,21,4"}, 1, in + ": --window 40,2,21,4 reaches beyond the 60 x 45 pixels"},
        {{"--scale", "900000"}, 1, out + ": 54000000 x 40500000 pixels are more than teska takes"}};
    for (const row &of : rows) {
        const outcome result = resize(folder, "in.tif", "o.tif", of.said);
        EXPECT_EQ(result.code, of.code);
        EXPECT_EQ(result.err, start + of.message + "\n");
    }
    const std::string whole = folder.read("in.tif");
    folder.write("cut.tif", whole.substr(0, whole.size() / 2));
    EXPECT_EQ(resize(folder, "cut.tif", "o.tif", {"--scale", "2"}).code, 1);
    EXPECT_EQ(folder.listing(), "cut.tif in.tif");
}

}  // namespace
