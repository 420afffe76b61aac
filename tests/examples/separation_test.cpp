// The gallery: each job does on a small picture, with a press made here, what its page shows; the program writes the
// page, or says in one line what it cannot use. What the jobs check themselves ends the program.

#include "support/failure.h"
#include "support/png_file.h"
#include "support/test.h"

#include "cloud/job.h"
#include "gamut/job.h"
#include "lines/job.h"
#include "objects/job.h"
#include "separation/job.h"

#include <sys/wait.h>

namespace
{

using namespace examples;
namespace fs = std::filesystem;

// All colours in coarse steps, and neighbours that differ little.
picture colours(int width, int height, int channels)
{
    picture result(width, height, channels);
    unsigned value = 0;
    for (unsigned char &sample : result.samples)
        sample = static_cast<unsigned char>(value = (value * 5 + 7) % 251);
    return result;
}

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

class Gallery : public testing::Test
{
protected:
    Gallery()
    {
        write_png(photo, colours(40, 30, 3));
        const profile made(cmsCreateProfilePlaceholder(nullptr));
        cmsSetProfileVersion(made.get(), 2.1);
        cmsSetDeviceClass(made.get(), cmsSigOutputClass);
        cmsSetColorSpace(made.get(), cmsSigCmykData);
        cmsSetPCS(made.get(), cmsSigLabData);
        cmsWriteTag(made.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
        add_table(made, cmsSigAToB0Tag, 9, 4, 3, print_inks);
        add_table(made, cmsSigBToA0Tag, 33, 3, 4, choose_inks);
        EXPECT_TRUE(cmsSaveProfileToFile(made.get(), press.c_str()));
    }

    // The program's exit code; what it wrote to standard error is left in the file errors.
    int run_gallery(const std::string &arguments) const
    {
        const std::string command = GALLERY_PROGRAM " " + arguments + " 2>" + folder.path("errors") + " >/dev/null";
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    teska_test::Folder folder;
    const std::string photo = folder.path("photo.png"), press = folder.path("press.icc");
    colour_engine engine;
};

TEST_F(Gallery, SeparatesAsDirectEvaluationDoes)
{
    const separation_results r = run_separation(read_png(photo), engine.open_press(press), engine, 1);
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

TEST_F(Gallery, SendsEachObjectThroughItsOwnTable)
{
    const objects_results r = run_objects(colours(400, 320, 3), engine.open_press(press), engine, 1);
    const std::vector<unsigned char> &tags = r.page.tags.samples;
    for (std::size_t i = 0; i < tags.size(); ++i) {
        const unsigned char *ink = &r.by_tag.plates.samples[i * inks], *one = &r.by_one.plates.samples[i * inks];
        const int coloured = ink[0] + ink[1] + ink[2];
        EXPECT_TRUE(tags[i] != photograph_object || std::equal(ink, ink + inks, one)) << i;
        EXPECT_EQ(tags[i] == text_object ? coloured : tags[i] == paper ? coloured + ink[3] : 0, 0) << i;
    }
    EXPECT_EQ(std::count(tags.begin(), tags.end(), photograph_object), 300 * 300);
    EXPECT_NEAR(r.by_tag.loads[text_object].heaviest, 100, 1);
    EXPECT_GT(r.by_one.loads[text_object].coloured, 10);
}

TEST(Lines, AreSharpenedReducedFilledAndTakenThroughTables)
{
    const picture wide = magnified(colours(1, 1, 3), 40), other = resampled(magnified(colours(1, 1, 3), 90), 13, 90);
    EXPECT_EQ(sharpened(wide, 2, 3, 0).samples, wide.samples);
    EXPECT_EQ(resampled(wide, 13, 90).samples, other.samples);
    EXPECT_EQ(averaged(wide, 13, 90, 4).samples, other.samples);
    const std::vector<reduction> halves = reduce_zone_plate(128).made;
    EXPECT_GT(halves[0].false_rings, 95);  // ibilin: every second pixel
    for (std::size_t i = 1; i < halves.size(); ++i)
        EXPECT_LT(halves[i].false_rings, halves[i].kept / 2) << halves[i].name;
    EXPECT_EQ(fill_maze(7, 5).pixels, 7 * 5 * 9 + (7 * 5 - 1) * 3);  // rooms, and a door less than rooms
    for (const table_answer &answer : compare_tables().answers)
        EXPECT_LT(answer.mean, 1) << answer.name;
}

TEST_F(Gallery, FindsTheWayBackToColoursThatPrintInTheSolidAndTheCloud)
{
    const profile bent = engine.open_press(press);
    const gamut solid(bent, engine);
    for (const shortcut &way : shortcuts(solid)) {
        EXPECT_FALSE(solid.holds(way.wanted));
        const colour inner = {0.99 * (way.printed[0] - 50) + 50, 0.99 * way.printed[1], 0.99 * way.printed[2]};
        EXPECT_TRUE(solid.holds(inner)) << testing::PrintToString(way.printed);
    }
    EXPECT_GT(round_trip(solid, bent, engine, 3).missed, 0);  // its own direction to inks is a rough one
    EXPECT_EQ(round_trip(solid, bent, engine, 1000).missed, 0);

    const transform print = engine.connect(
        {bent, TYPE_CMYK_DBL, engine.lab(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct);
    const cloud model(printed(even_chart(3, 5), print, 0));
    const colour paper = printed(even_chart(3, 2), print, 0).patches[0].lab;
    EXPECT_NEAR(model.way_to(paper).distance, 0, 1e-6);
    EXPECT_FALSE(model.holds({paper[0], 200, 0}));
}

TEST_F(Gallery, ReadsAChartThatCountsFromItsPaper)
{
    folder.write("chart.txt", "BEGIN_DATA_FORMAT\nID CMYK_C CMYK_M CMYK_Y CMYK_K XYZ_X XYZ_Y XYZ_Z\nEND_DATA_FORMAT\n"
                              "BEGIN_DATA\n1 0 0 0 0 80 83 68\n2 100 0 50 10 20 25 40\nEND_DATA\n");
    const chart read = read_chart(folder.path("chart.txt"));
    ASSERT_EQ(read.patches.size(), 2U);
    EXPECT_EQ(read.patches[1].inks, (ink_set{100, 0, 50, 10}));
    EXPECT_NEAR(read.patches[0].lab[0], 100, 1e-9);
    EXPECT_NEAR(read.patches[1].lab[0], 116 * std::cbrt(25.0 / 83) - 16, 1e-9);
    EXPECT_THROW(read_chart(photo), failure);
}

TEST_F(Gallery, WritesThePageAndEveryPictureItShows)
{
    const std::string out = folder.path("new/gallery");
    ASSERT_EQ(run_gallery("--photo " + photo + " --profile " + press + " --out " + out), 0);
    EXPECT_EQ(folder.read("errors"), "");
    const std::string page = folder.read("new/gallery/index.html");
    int pictures = 0;
    for (auto at = page.find("src=\""); at != page.npos; at = page.find("src=\"", at + 1), ++pictures) {
        const std::string name = page.substr(at + 5, page.find('"', at + 5) - at - 5);
        if (name != "gamut/hull-postscript.png") {  // drawn by another program
            EXPECT_GT(read_png(out + "/" + name).width, 0) << name;
        }
    }
    // Separation 11, live 2, objects 6, curves 5, the solid 12, the chart 8, the umbrella 4, lines 26.
    EXPECT_EQ(pictures, 74);
    EXPECT_EQ(page.find("://"), page.npos) << "the page must not need a network";
}

TEST_F(Gallery, SaysInOneLineWhatItCannotUse)
{
    const std::string text = folder.path("text.png"), cut = folder.path("cut.png"), screen = folder.path("screen.icc");
    folder.write("text.png", "no picture at all\n");
    folder.write("cut.png", folder.read("photo.png").substr(0, fs::file_size(photo) / 2));
    ASSERT_TRUE(cmsSaveProfileToFile(profile(cmsCreate_sRGBProfile()).get(), screen.c_str()));
    const std::string out = folder.path("out");
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
        const std::string errors = folder.read("errors");
        EXPECT_NE(errors.find(row.said), std::string::npos) << errors;
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    }
}

}  // namespace
