// teska sharpen, as a process: all samples against the library's filter fed with whole pages.

#include "support/folder.h"
#include "support/pictures.h"
#include "support/process.h"

#include "fusm.h"
#include "profiles.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using namespace tool;
using namespace tool_test;
using teska_test::Folder;

outcome sharpen(const Folder &folder, const std::string &in, const std::string &out, std::vector<std::string> more)
{
    more.insert(more.begin(), {"sharpen", folder.path(in), folder.path(out), "--force"});
    return run_teska(more);
}

// A channel of a page, sharpened by itself as 16-bit samples up to its largest; limited by another one, or -1.
void sharpen_channel(whole_page &page, int channel, int radius, double strength, double noise, int limit = -1)
{
    const auto step = static_cast<std::size_t>(page.facts.samples());
    const std::size_t width = page.facts.width;
    std::vector<std::uint16_t> plane;
    std::vector<std::uint16_t> limits;
    for (std::size_t p = 0; p < width * page.facts.height; ++p) {
        plane.push_back(page.samples[p * step + static_cast<std::size_t>(channel)]);
        limits.push_back(page.samples[p * step + static_cast<std::size_t>(std::max(limit, 0))]);
    }
    std::vector<std::uint16_t> sharp(plane.size());
    std::uint16_t *next = sharp.data();
    fusm *filter = fusm_new(radius, page.facts.depth == 8 ? 255 : 65535, 1, 1, nullptr, nullptr);
    fusm_stren_set(filter, &strength);
    fusm_noise_red_set(filter, &noise);
    // The callback sees one line after the other, so the output moves on by a line.
    struct lines {
        std::uint16_t **next;
        std::size_t width;
        static void advance(void *context, int)
        {
            *static_cast<lines *>(context)->next += static_cast<lines *>(context)->width;
        }
    } all = {&next, width};
    fusm_start_with(filter, static_cast<int>(page.facts.height), static_cast<int>(width), lines::advance, &all, 1, 1,
                    1);
    for (std::size_t y = 0; y < page.facts.height; ++y) {
        std::uint16_t *line = plane.data() + y * width;
        fusm_do(filter, &line, &next, limit < 0 ? nullptr : limits.data() + y * width);
    }
    fusm_kill(filter);
    for (std::size_t p = 0; p < sharp.size(); ++p)
        page.samples[p * step + static_cast<std::size_t>(channel)] = sharp[p];
}

// L of 16 bits, as a file holds it: 65280 for 100.
std::uint16_t stored_lightness(std::uint32_t sample)
{
    return static_cast<std::uint16_t>(((sample * 65280 + 32767) / 65535 * 65535 + 32640) / 65280);
}

struct kind_row {
    colour_kind kind;
    int colours;
    int sharpened;
};

TEST(Sharpen, EqualsTheFilterOnEachChannelForEveryNumberOfThreads)
{
    const Folder folder;
    const kind_row rows[] = {{colour_kind::gray, 1, 1},
                             {colour_kind::rgb, 3, 3},
                             {colour_kind::cmyk, 4, 4},
                             {colour_kind::lab, 3, 1},
                             {colour_kind::inks, 6, 6}};
    int radius = 0;
    for (const kind_row &row : rows)
        for (const int depth : {8, 16}) {
            SCOPED_TRACE(name_of(row.kind, row.colours) + " " + std::to_string(depth) + " " + std::to_string(radius));
            // Bands of 16 lines or a few more.
            const auto width = static_cast<std::uint32_t>(131072 / row.colours / (depth / 8));
            write_pages(folder.path("in.tif"),
                        {random_page(row.kind, row.colours, depth, width, 37, {extra_kind::unassociated})});
            whole_page wanted = read_page(folder.path("in.tif"));
            for (int c = 0; c < row.sharpened; ++c)
                sharpen_channel(wanted, c, radius, 0.4, 0.1);
            if (row.kind == colour_kind::lab && depth == 16)
                for (std::size_t i = 0; i < wanted.samples.size(); i += 4)
                    wanted.samples[i] = stored_lightness(wanted.samples[i]);
            std::string first;
            for (const char *threads : {"1", "3"}) {
                const outcome result = sharpen(
                    folder, "in.tif", "o.tif",
                    {"--radius", std::to_string(radius), "--strength=0.4", "--noise", "0.1", "--threads", threads});
                ASSERT_EQ(result.code, 0) << result.err;
                first = first.empty() ? folder.read("o.tif") : first;
                EXPECT_TRUE(folder.read("o.tif") == first) << threads;
            }
            EXPECT_TRUE(read_page(folder.path("o.tif")).samples == wanted.samples);
            radius = (radius + 1) % 3;
        }
}

// Heights around the reach of the window, and around the seam between two bands.
TEST(Sharpen, TakesPicturesOfAnyHeight)
{
    const Folder folder;
    for (const std::uint32_t height : {1U, 4U, 5U, 15U, 16U, 17U, 18U, 19U, 33U}) {
        write_pages(folder.path("in.tif"), {random_page(colour_kind::gray, 1, 16, 20000, height)});
        whole_page wanted = read_page(folder.path("in.tif"));
        sharpen_channel(wanted, 0, 1, 1, 0.02);
        ASSERT_EQ(sharpen(folder, "in.tif", "o.tif", {"--threads", "2"}).code, 0);
        EXPECT_TRUE(read_page(folder.path("o.tif")).samples == wanted.samples) << height;
    }
}

TEST(Sharpen, LimitsAssociatedSamplesByTheirAlpha)
{
    const Folder folder;
    whole_page page = random_page(colour_kind::rgb, 3, 8, 40, 30, {extra_kind::associated, extra_kind::unspecified});
    for (std::size_t p = 0; p < page.samples.size(); p += 5)
        for (std::size_t c = 0; c < 3; ++c)
            page.samples[p + c] = std::min(page.samples[p + c], page.samples[p + 3]);
    write_pages(folder.path("in.tif"), {page});
    ASSERT_EQ(sharpen(folder, "in.tif", "o.tif", {}).code, 0);
    for (int c = 0; c < 3; ++c)
        sharpen_channel(page, c, 1, 1, 0.02, 3);
    const whole_page sharp = read_page(folder.path("o.tif"));
    EXPECT_TRUE(sharp.samples == page.samples);
    EXPECT_EQ(sharp.facts.extras, page.facts.extras);
}

TEST(Sharpen, KeepsProfilesPagesAndTags)
{
    const Folder folder;
    job work("test");
    colour_engine engine;
    whole_page first = random_page(colour_kind::rgb, 3, 16, 50, 40);
    first.facts.profile = engine.open(work, "linear").bytes();
    first.facts.density = {300, 150, resolution::unit::inch};
    first.facts.orientation = 6;
    first.facts.tiff.page_name = "one";
    first.facts.tiff.pages = 2;
    whole_page second = random_page(colour_kind::cmyk, 4, 8, 30, 20);
    second.facts.tiff.pages = 2;
    write_pages(folder.path("in.tif"), {first, second});
    const outcome result = sharpen(folder, "in.tif", "o.tif", {"--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.out.find("\"width\": 50, \"height\": 40, \"pages\": 2, \"colours\": 3, \"depth\": 16"),
              std::string::npos)
        << result.out;
    const std::vector<whole_page> pages = read_pages(folder.path("o.tif"));
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].facts.profile, first.facts.profile);
    EXPECT_EQ(pages[0].facts.density.x, 300);
    EXPECT_EQ(pages[0].facts.density.y, 150);
    EXPECT_EQ(pages[0].facts.orientation, 6);
    EXPECT_EQ(pages[0].facts.tiff.page_name, "one");
    for (int c = 0; c < 4; ++c)
        sharpen_channel(second, c, 1, 1, 0.02);
    EXPECT_TRUE(pages[1].samples == second.samples);

    // JPEG has 8 bits and one page.
    EXPECT_EQ(sharpen(folder, "in.tif", "o.jpg", {}).code, 2);
    first.facts.tiff.pages = 1;
    write_pages(folder.path("one.tif"), {first});
    ASSERT_EQ(sharpen(folder, "one.tif", "o.jpg", {}).code, 0);
    EXPECT_EQ(read_page(folder.path("o.jpg")).facts.profile, first.facts.profile);
}

TEST(Sharpen, SaysWhatIsWrong)
{
    const Folder folder;
    write_pages(folder.path("in.tif"), {random_page(colour_kind::rgb, 3, 8, 9, 9)});
    EXPECT_EQ(sharpen(folder, "in.tif", "o.tif", {"--strength", "0,5"}).err,
              "teska sharpen: --strength 0,5: not a number\n");
    EXPECT_EQ(sharpen(folder, "in.tif", "o.tif", {"--radius", "3"}).code, 2);
    EXPECT_EQ(sharpen(folder, "in.tif", "o.xyz", {}).err,
              "teska sharpen: " + folder.path("o.xyz") + ": what format? --format png, tiff, jpeg or ppm\n");
    const std::string whole = folder.read("in.tif");
    folder.write("cut.tif", whole.substr(0, whole.size() / 2));
    const outcome cut = sharpen(folder, "cut.tif", "o.tif", {});
    EXPECT_EQ(cut.code, 1) << cut.err;
    EXPECT_EQ(folder.listing(), "cut.tif in.tif");
}

}  // namespace
