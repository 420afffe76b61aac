// The examples' own parts, and the program's answer to inputs it cannot use.

#include "support/failure.h"
#include "support/png_file.h"

#include "cloud/job.h"
#include "curves/job.h"
#include "gallery/html.h"
#include "gamut/job.h"
#include "lines/job.h"
#include "objects/job.h"
#include "records/job.h"
#include "separation/difference.h"
#include "separation/job.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>

namespace
{

using namespace examples;
namespace fs = std::filesystem;

std::string bytes_of(const fs::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// All colours in coarse steps, and neighbours that differ little.
picture colours(int width, int height, int channels)
{
    picture result(width, height, channels);
    unsigned value = 0;
    for (unsigned char &sample : result.samples)
        sample = static_cast<unsigned char>(value = (value * 5 + 7) % 251);
    return result;
}

// ---- A press that bends, made here ----------------------------------------------------------------------------------

int print_inks(const cmsUInt16Number in[], cmsUInt16Number out[], void *)
{
    const double c = in[0] / 65535.0, m = in[1] / 65535.0, y = in[2] / 65535.0, k = in[3] / 65535.0;
    out[0] = static_cast<cmsUInt16Number>(60000 * (1 - 0.85 * k) * (1 - 0.3 * c * c) * (1 - 0.4 * m));
    out[1] = static_cast<cmsUInt16Number>(32768 + 20000 * (m - 0.6 * c) * (1 - k));
    out[2] = static_cast<cmsUInt16Number>(32768 + 24000 * (y - 0.5 * c) * (1 - k));
    return 1;
}

int choose_inks(const cmsUInt16Number in[], cmsUInt16Number out[], void *)
{
    const double dark = 1 - in[0] / 65535.0, a = in[1] / 65535.0 - 0.5, b = in[2] / 65535.0 - 0.5;
    const double inks[] = {0.6 * dark - a, 0.6 * dark + a, 0.6 * dark + b, dark * dark};
    for (double ink : inks)
        *out++ = static_cast<cmsUInt16Number>(65535 * std::clamp(ink, 0.0, 1.0));
    return 1;
}

void add_table(const profile &press, cmsTagSignature tag, unsigned points, unsigned in, unsigned out, cmsSAMPLER16 fill)
{
    const foreign<cmsPipeline, cmsPipelineFree> lut(cmsPipelineAlloc(nullptr, in, out));
    cmsStage *table = cmsStageAllocCLut16bit(nullptr, points, in, out, nullptr);
    ASSERT_TRUE(cmsStageSampleCLut16bit(table, fill, nullptr, 0));
    cmsPipelineInsertStage(lut.get(), cmsAT_END, table);
    ASSERT_TRUE(cmsWriteTag(press.get(), tag, lut.get()));
}

// Each test has a folder with a photograph and the profile of a press in it.
class Examples : public testing::Test
{
protected:
    Examples()
    {
        std::string name = (fs::temp_directory_path() / "gallery-XXXXXX").string();
        folder = mkdtemp(name.data());
        photo = folder / "photo.png";
        write_png(photo, colours(16, 12, 3));

        const profile made(cmsCreateProfilePlaceholder(nullptr));
        cmsSetProfileVersion(made.get(), 2.1);
        cmsSetDeviceClass(made.get(), cmsSigOutputClass);
        cmsSetColorSpace(made.get(), cmsSigCmykData);
        cmsSetPCS(made.get(), cmsSigLabData);
        cmsWriteTag(made.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
        add_table(made, cmsSigAToB0Tag, 9, 4, 3, print_inks);
        add_table(made, cmsSigBToA0Tag, 33, 3, 4, choose_inks);
        press = folder / "press.icc";
        EXPECT_TRUE(cmsSaveProfileToFile(made.get(), press.c_str()));
    }

    ~Examples() override { fs::remove_all(folder); }

    std::string write(const char *name, const std::string &bytes) const
    {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        return folder / name;
    }

    // The program's exit code; what it wrote to standard error is left in the file errors.
    int run_gallery(const std::string &arguments) const
    {
        const std::string command = GALLERY_PROGRAM " " + arguments + " 2>" + (folder / "errors").string();
        const int status = std::system((command + " >/dev/null").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    fs::path folder;
    std::string photo;
    std::string press;
};

// ---- Parts ----------------------------------------------------------------------------------------------------------

TEST(Difference, SummarisesByRankAndCountsBothDirections)
{
    std::vector<double> values(100);
    std::iota(values.begin(), values.end(), 1.0);
    EXPECT_EQ(summarise(values).percentile_95, 95);
    EXPECT_EQ(summarise({7}).percentile_95, 7);
    EXPECT_EQ(summarise({}).largest, 0);
    picture a(3, 1, 1), b(3, 1, 1);
    a.samples = {10, 200, 255};
    b.samples = {12, 199, 0};
    EXPECT_EQ(compare(a, b).mean, 86);
    EXPECT_EQ(compare(a, b).largest, 255);
    // Evenly lighter up to the top, and no further.
    const picture map = difference_map({0, 1, 2, 9}, 4, 1, 2);
    for (std::size_t x = 0; x < 2; ++x)
        EXPECT_GT(map.samples[3 * x + 4], map.samples[3 * x + 1]);
    EXPECT_TRUE(std::equal(&map.samples[6], &map.samples[9], &map.samples[9]));
}

TEST_F(Examples, ReadPicturesBackAsWritten)
{
    EXPECT_EQ(read_png(photo).samples, colours(16, 12, 3).samples);

    const picture grey = colours(7, 5, 1);
    write_png(folder / "grey.png", grey);
    std::vector<unsigned char> of_three;
    for (const unsigned char sample : grey.samples)
        of_three.insert(of_three.end(), 3, sample);
    EXPECT_EQ(read_png(folder / "grey.png").samples, of_three);
}

TEST(Html, ReplacesNamesAndLeavesOtherBraces)
{
    EXPECT_EQ(expanded("a{x}b{ x: 1 }{y}{", {{"x", "{y}"}, {"y", "2"}}), "a{y}b{ x: 1 }2{");
    EXPECT_THROW(expanded("{missing}", {}), std::logic_error);
    EXPECT_EQ(escaped("<\"&\">"), "&lt;&quot;&amp;&quot;&gt;");
    EXPECT_EQ(grouped(83521), "83\u202f521");
    EXPECT_EQ(grouped(999), "999");
}

TEST_F(Examples, SeparateAsDirectEvaluationDoes)
{
    colour_engine engine;
    const separation_results r = run_separation(colours(40, 30, 3), engine.open_press(press), engine, 1);

    EXPECT_EQ(r.to_press[0].vertices, 33 * 33 * 33);
    EXPECT_EQ(r.to_screen[1].vertices, 17 * 17 * 17 * 17);
    // The press is smooth: what is left is the rounding of vertices, products and proofs.
    for (const agreement &step : {r.separation, r.proofing, r.chain}) {
        EXPECT_LT(step.bytes.mean, 1.5);
        EXPECT_LE(step.words.mean, step.bytes.mean);
    }
    // The pictures are no blanks that agree by having nothing on them.
    for (const ink_figures &ink : r.ink)
        EXPECT_GT(ink.largest - ink.mean, 10);
    EXPECT_GT(compare(r.proof, r.photograph).mean, 1);
}

TEST_F(Examples, SendEachObjectThroughItsOwnTable)
{
    colour_engine engine;
    const objects_results r = run_objects(colours(400, 320, 3), engine.open_press(press), engine, 1);
    std::array<int, object_kinds> pixels{};
    for (std::size_t i = 0; i < r.page.tags.samples.size(); ++i) {
        const unsigned char *ink = &r.by_tag.plates.samples[i * inks], *one = &r.by_one.plates.samples[i * inks];
        const unsigned char object = r.page.tags.samples[i];
        if (object < object_kinds)
            ++pixels[object];
        const int three = ink[0] + ink[1] + ink[2];
        EXPECT_TRUE(object != photograph_object || std::equal(ink, ink + inks, one)) << i;
        EXPECT_TRUE(object != text_object || three == 0) << i;
        EXPECT_TRUE(object != paper || three + ink[3] == 0) << i;
    }
    EXPECT_EQ(pixels[photograph_object], 300 * 300);
    EXPECT_GT(std::min(pixels[graphic_object], pixels[text_object]), 3000);
    EXPECT_NEAR(r.by_tag.loads[text_object].heaviest, 100, 1);
    EXPECT_GT(r.by_one.loads[text_object].coloured, 10);
}

TEST_F(Examples, PackPicturesAndNoticeWhatIsNotAsItWas)
{
    fs::create_directories(folder / "pages" / "records");
    write_png(folder / "pages" / "photo.png", colours(9, 7, 1));
    const records_results r = run_records(folder, folder / "pages" / "records");
    ASSERT_EQ(r.listed.size(), 1U);
    EXPECT_EQ(r.listed[0].name, "pages/photo.png");
    EXPECT_EQ(r.listed[0].values[0], static_cast<double>(fs::file_size(folder / "pages" / "photo.png")));
    EXPECT_EQ(r.packed.layout.entries[0].content_at, 140 + r.packed.layout.description.size() + 1 + 16 + 4);
    EXPECT_GT(r.turned.bits, 0);
    EXPECT_EQ(differing_bits(std::string(32, '0'), std::string(16, '0') + "8000000F0000000F"), 9);

    EXPECT_THROW(layout_of(r.packed.bytes.substr(0, r.packed.bytes.size() - 1)), failure);
    EXPECT_THROW(require_same({"a", "b"}, {"1", "2"}, {"1", "3"}), failure);
    // No item takes more than 159 characters.
    EXPECT_THROW(written_and_listed(folder / "wide.rec", {{"wide", std::vector<double>(40, 1e9)}}), failure);
}

TEST_F(Examples, BendTonesAndFindTheEndOfTheValley)
{
    const tone_results t = run_tone(colours(40, 30, 3), {{0, 0}, {51, 102}, {255, 255}}, folder / "tone.rec");
    EXPECT_EQ(t.points.size(), 3U);
    EXPECT_NEAR(t.curve[51].y + t.inverse[102].y, 153, 0.3);
    EXPECT_EQ(t.toned.samples[0], 14);  // 7 before
    EXPECT_EQ(std::accumulate(t.after.counts.begin(), t.after.counts.end(), 0), 1200);
    EXPECT_GT(t.after.median, t.before.median);

    colour_engine engine;
    for (const tone_fit &fit : run_tone_fits(engine.open_press(press), engine)) {
        EXPECT_EQ(fit.points[20].y, 100);
        EXPECT_LT(fit.largest_error, 1);
    }
    const dither_results d = run_dither(colours(40, 30, 3));
    for (std::size_t level = 0; level < d.cells.size(); ++level)
        EXPECT_EQ(std::count(d.cells[level].begin(), d.cells[level].end(), 1), static_cast<int>(level));
    for (const descent &way : {descend_by_simplex(), descend_by_directions()})
        EXPECT_LT(std::hypot(way.found.x - 1, way.found.y - 1), 1e-3);
}

TEST_F(Examples, TakePicturesLineByLine)
{
    const picture flat = cropped(colours(1, 1, 3), 0, 0, 1, 1), wide = magnified(flat, 40);
    EXPECT_EQ(sharpened(wide, 2, 3, 0).samples, wide.samples);
    EXPECT_EQ(resampled(wide, 13, 90).samples, resampled(magnified(flat, 90), 13, 90).samples);
    EXPECT_EQ(averaged(wide, 13, 90, 4).samples, resampled(magnified(flat, 90), 13, 90).samples);
    const std::vector<reduction> halves = reduce_zone_plate(128).made;
    EXPECT_GT(halves[0].false_rings, 95);  // ibilin: every second pixel
    for (std::size_t i = 1; i < halves.size(); ++i)
        EXPECT_LT(halves[i].false_rings, halves[i].kept / 2) << halves[i].name;
    const filled_maze maze = fill_maze(7, 5);
    EXPECT_EQ(maze.pixels, 7 * 5 * 9 + (7 * 5 - 1) * 3);  // rooms, and a door less than rooms
    for (const table_answer &answer : compare_tables().answers)
        EXPECT_LT(answer.mean, 1) << answer.name;
}

TEST_F(Examples, FindTheWayBackToColoursThatPrintAndSayHowManyComeBackElsewhere)
{
    colour_engine engine;
    const profile bent = engine.open_press(press);
    const gamut solid(bent, engine);
    for (const shortcut &way : shortcuts(solid)) {
        EXPECT_FALSE(solid.holds(way.wanted));
        EXPECT_NEAR(
            std::hypot(way.wanted[0] - way.printed[0], way.wanted[1] - way.printed[1], way.wanted[2] - way.printed[2]),
            way.distance, 1e-9);
        const colour inner = {0.99 * (way.printed[0] - 50) + 50, 0.99 * way.printed[1], 0.99 * way.printed[2]};
        EXPECT_TRUE(solid.holds(inner)) << testing::PrintToString(way.printed);
    }
    const missed_colours near = round_trip(solid, bent, engine, 3), any = round_trip(solid, bent, engine, 1000);
    EXPECT_GT(near.missed, near.colours / 10);  // its own direction to inks is a rough one
    EXPECT_EQ(any.missed, 0);
    EXPECT_EQ(any.missed_2000, 0);
    EXPECT_EQ(near.colours, any.colours);
}

TEST_F(Examples, KnowAPressByItsChart)
{
    colour_engine engine;
    const transform print = engine.connect(
        {engine.open_press(press), TYPE_CMYK_DBL, engine.lab(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC},
        evaluation::direct);
    const cloud model(printed(even_chart(3, 5), print, 0));
    const colour paper = printed(even_chart(3, 2), print, 0).patches[0].lab;
    EXPECT_NEAR(model.way_to(paper).distance, 0, 1e-6);
    const way_to_print far = model.way_to({paper[0], 200, 0});
    EXPECT_FALSE(model.holds({paper[0], 200, 0}));
    EXPECT_NEAR(std::hypot(far.printed[0] - paper[0], far.printed[1] - 200, far.printed[2]), far.distance, 1e-9);
    EXPECT_LT(hollow_part(model), 1);

    // A measured chart counts from its paper.
    const std::string text = "X\nBEGIN_DATA_FORMAT\nID CMYK_C CMYK_M CMYK_Y CMYK_K XYZ_X XYZ_Y XYZ_Z\nEND_DATA_FORMAT\n"
                             "BEGIN_DATA\n1 0 0 0 0 80 83 68\n2 100 0 50 10 20 25 40\nEND_DATA\n";
    const chart read = read_chart(write("chart.txt", text));
    ASSERT_EQ(read.patches.size(), 2U);
    EXPECT_EQ(read.patches[1].inks, (ink_set{100, 0, 50, 10}));
    EXPECT_NEAR(read.patches[0].lab[0], 100, 1e-9);
    EXPECT_NEAR(read.patches[1].lab[0], 116 * std::cbrt(25.0 / 83) - 16, 1e-9);
    EXPECT_THROW(read_chart(photo), failure);
}

TEST_F(Examples, FitAnOutlineAndCorrectOneColour)
{
    std::vector<xy> ring;
    for (int i = 0; i < 90; ++i)
        ring.push_back({std::cos(i * 0.0698131700797732), std::sin(i * 0.0698131700797732)});
    const fitted_outline fit = fit_outline(ring, 0.001, 60);
    EXPECT_LE(fit.farthest, 0.001);
    EXPECT_NEAR(fit.area, 3.1416, 0.01);
    EXPECT_LT(fit.segments.size(), 12U);

    picture pair(2, 1, 3);
    pair.samples = {240, 100, 30, 40, 90, 200};
    const selective_results made = correct_selectively(pair);
    EXPECT_EQ(made.moved, 1);
    EXPECT_GT(made.limit, 1);
    EXPECT_GT(made.corrected.samples[2], 30);
    EXPECT_TRUE(std::equal(&pair.samples[3], &pair.samples[5] + 1, &made.corrected.samples[3]));
}

// ---- The program ----------------------------------------------------------------------------------------------------

TEST_F(Examples, WriteThePageAndEveryPictureItShows)
{
    const fs::path out = folder / "new" / "gallery";
    ASSERT_EQ(run_gallery("--photo " + photo + " --profile " + press + " --out " + out.string()), 0);
    EXPECT_EQ(bytes_of(folder / "errors"), "");

    const std::string page = bytes_of(out / "index.html");
    int pictures = 0;
    for (auto at = page.find("src=\""); at != page.npos; at = page.find("src=\"", at + 1), ++pictures) {
        const std::string name = page.substr(at + 5, page.find('"', at + 5) - at - 5);
        if (name != "gamut/hull-postscript.png") {  // drawn by another program
            EXPECT_GT(read_png(out / name).width, 0) << name;
        }
    }
    // Separation 11, live 2, objects 6, curves 5, the solid 12, the chart 8, the umbrella 4, lines 26.
    EXPECT_EQ(pictures, 74);
    EXPECT_EQ(page.find("://"), page.npos) << "the page must not need a network";

    // Every figure leads to its code, which is short.
    const auto count = [&page](const std::string &what) {
        int found = 0;
        for (auto at = page.find(what); at != page.npos; at = page.find(what, at + 1))
            ++found;
        return found;
    };
    EXPECT_EQ(count("<a class=\"code\" href=\"code/"), count("</figure>") + 1);  // and a table
    for (const auto &code : fs::directory_iterator(out / "code")) {
        const std::string text = bytes_of(code.path());
        EXPECT_NE(page.find(code.path().filename().string()), page.npos);
        EXPECT_LT(std::count(text.begin(), text.end(), '\n'), 80) << code.path();
    }
}

TEST_F(Examples, SayInOneLineWhatTheyCannotUse)
{
    const std::string text = write("text.png", "no picture at all\n");
    const std::string cut = write("cut.png", bytes_of(photo).substr(0, bytes_of(photo).size() / 2));
    const std::string screen = folder / "screen.icc";
    ASSERT_TRUE(cmsSaveProfileToFile(profile(cmsCreate_sRGBProfile()).get(), screen.c_str()));
    const std::string out = folder / "out";
    const struct {
        std::string photo, profile, output, said;
    } rows[] = {
        {"missing", press, out, "cannot read the photograph missing"},
        {text, press, out, text + " is not a PNG picture"},
        {cut, press, out, cut + " is damaged"},
        {photo, "missing", out, "cannot read the profile missing"},
        {photo, text, out, text + " is not a colour profile"},
        {photo, screen, out, "is not a profile of a CMYK press"},
        {photo, press, photo + "/out", "cannot make the folder"},
        {photo, press, out + " --out", "usage: gallery"},
        {photo, press, out + " --picture x", "unknown option --picture"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(run_gallery("--photo " + row.photo + " --profile " + row.profile + " --out " + row.output), 1);
        const std::string errors = bytes_of(folder / "errors");
        EXPECT_NE(errors.find(row.said), std::string::npos) << errors;
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    }
}

}  // namespace
