// The examples' own parts, and the program's answer to inputs it cannot use.

#include "gallery/html.h"
#include "separation/difference.h"
#include "separation/job.h"
#include "support/failure.h"
#include "support/png_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <sys/wait.h>

namespace
{

using namespace examples;
namespace fs = std::filesystem;

// A folder that is gone with the test.
class Folder
{
public:
    Folder()
    {
        std::string name = (fs::temp_directory_path() / "gallery-XXXXXX").string();
        path = mkdtemp(name.data());
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder() { fs::remove_all(path); }

    std::string write(const std::string &name, const std::string &bytes) const
    {
        std::ofstream(path / name, std::ios::binary) << bytes;
        return (path / name).string();
    }

    fs::path path;
};

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
    const double paper = (1 - 0.85 * k) * (1 - 0.3 * c * c) * (1 - 0.4 * m);
    out[0] = static_cast<cmsUInt16Number>(60000 * paper);
    out[1] = static_cast<cmsUInt16Number>(32768 + 20000 * (m - 0.6 * c) * (1 - k));
    out[2] = static_cast<cmsUInt16Number>(32768 + 24000 * (y - 0.5 * c) * (1 - k));
    return 1;
}

int choose_inks(const cmsUInt16Number in[], cmsUInt16Number out[], void *)
{
    const double dark = 1 - in[0] / 65535.0, a = in[1] / 65535.0 - 0.5, b = in[2] / 65535.0 - 0.5;
    const auto ink = [](double value) { return static_cast<cmsUInt16Number>(65535 * std::clamp(value, 0.0, 1.0)); };
    out[0] = ink(0.6 * dark - a);
    out[1] = ink(0.6 * dark + a);
    out[2] = ink(0.6 * dark + b);
    out[3] = ink(dark * dark);
    return 1;
}

void add_table(cmsHPROFILE press, cmsTagSignature tag, unsigned points, unsigned in, unsigned out, cmsSAMPLER16 fill)
{
    const foreign<cmsPipeline, cmsPipelineFree> lut(cmsPipelineAlloc(nullptr, in, out));
    cmsStage *table = cmsStageAllocCLut16bit(nullptr, points, in, out, nullptr);
    ASSERT_TRUE(cmsStageSampleCLut16bit(table, fill, nullptr, 0));
    cmsPipelineInsertStage(lut.get(), cmsAT_END, cmsStageAllocToneCurves(nullptr, in, nullptr));
    cmsPipelineInsertStage(lut.get(), cmsAT_END, table);
    cmsPipelineInsertStage(lut.get(), cmsAT_END, cmsStageAllocToneCurves(nullptr, out, nullptr));
    ASSERT_TRUE(cmsWriteTag(press, tag, lut.get()));
}

std::string write_press(const Folder &folder)
{
    const profile press(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(press.get(), 2.1);
    cmsSetDeviceClass(press.get(), cmsSigOutputClass);
    cmsSetColorSpace(press.get(), cmsSigCmykData);
    cmsSetPCS(press.get(), cmsSigLabData);
    cmsWriteTag(press.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
    add_table(press.get(), cmsSigAToB0Tag, 9, 4, 3, print_inks);
    add_table(press.get(), cmsSigBToA0Tag, 33, 3, 4, choose_inks);
    const std::string file = (folder.path / "press.icc").string();
    EXPECT_TRUE(cmsSaveProfileToFile(press.get(), file.c_str()));
    return file;
}

std::string write_screen(const Folder &folder)
{
    const profile screen(cmsCreate_sRGBProfile());
    const std::string file = (folder.path / "screen.icc").string();
    EXPECT_TRUE(cmsSaveProfileToFile(screen.get(), file.c_str()));
    return file;
}

std::string write_photo(const Folder &folder)
{
    write_png(folder.path / "photo.png", colours(16, 12, 3));
    return (folder.path / "photo.png").string();
}

// ---- Parts ----------------------------------------------------------------------------------------------------------

TEST(Difference, SummarisesByRank)
{
    std::vector<double> values(100);
    std::iota(values.begin(), values.end(), 1.0);
    const difference d = summarise(values);
    EXPECT_EQ(d.mean, 50.5);
    EXPECT_EQ(d.percentile_95, 95);
    EXPECT_EQ(d.largest, 100);
    EXPECT_EQ(summarise({7}).percentile_95, 7);
    EXPECT_EQ(summarise({}).largest, 0);
}

TEST(Difference, CountsBothDirectionsAndCutsWhenMagnified)
{
    picture a(3, 1, 1);
    picture b(3, 1, 1);
    a.samples = {10, 200, 255};
    b.samples = {12, 199, 0};
    EXPECT_EQ(compare(a, b).mean, 86);
    EXPECT_EQ(compare(a, b).largest, 255);
    EXPECT_EQ(magnified_difference(a, b, 16).samples, (std::vector<unsigned char>{32, 16, 255}));
}

TEST(Png, ComesBackAsWritten)
{
    const Folder folder;
    const picture colour = colours(7, 5, 3);
    write_png(folder.path / "colour.png", colour);
    EXPECT_EQ(read_png(folder.path / "colour.png").samples, colour.samples);

    const picture grey = colours(7, 5, 1);
    write_png(folder.path / "grey.png", grey);
    const picture back = read_png(folder.path / "grey.png");
    ASSERT_EQ(back.channels, 3);
    for (std::size_t i = 0; i < back.samples.size(); ++i)
        ASSERT_EQ(back.samples[i], grey.samples[i / 3]);
}

TEST(Html, ReplacesNamesAndLeavesOtherBraces)
{
    EXPECT_EQ(expanded("a{x}b{ x: 1 }{y}{", {{"x", "{y}"}, {"y", "2"}}), "a{y}b{ x: 1 }2{");
    EXPECT_THROW(expanded("{missing}", {}), std::logic_error);
    EXPECT_EQ(escaped("<\"&\">"), "&lt;&quot;&amp;&quot;&gt;");
    EXPECT_EQ(grouped(83521), "83\u202f521");
    EXPECT_EQ(grouped(999), "999");
}

TEST(Separation, AgreesWithDirectEvaluation)
{
    const Folder folder;
    colour_engine engine;
    const profile press = engine.open_press(write_press(folder));
    const separation_results r = run_separation(colours(40, 30, 3), press, engine, 1);

    EXPECT_EQ(r.to_press.vertices, 33 * 33 * 33);
    EXPECT_EQ(r.to_screen.vertices, 17 * 17 * 17 * 17);
    // The press is smooth: what is left is the rounding of vertices, products and proofs.
    EXPECT_LT(r.separation.library.mean, 1.5);
    EXPECT_LT(r.proofing.library.mean, 1.5);
    EXPECT_LT(r.chain.library.mean, 2.5);
    // The pictures are no blanks that agree by having nothing on them.
    for (const ink_figures &ink : r.ink)
        EXPECT_GT(ink.largest - ink.mean, 10);
    EXPECT_GT(compare(r.proof, r.photograph).mean, 1);
}

// ---- The program ----------------------------------------------------------------------------------------------------

struct Answer {
    int code;
    std::string errors;
};

Answer run_gallery(const std::string &arguments)
{
    const std::string command = std::string(GALLERY_PROGRAM) + " " + arguments + " 2>&1 >/dev/null";
    std::FILE *pipe = popen(command.c_str(), "r");
    std::string errors;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        errors += static_cast<char>(c);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, errors};
}

TEST(Gallery, WritesThePageAndEveryPictureItShows)
{
    const Folder folder;
    const fs::path out = folder.path / "new" / "gallery";
    const Answer answer =
        run_gallery("--photo " + write_photo(folder) + " --profile " + write_press(folder) + " --out " + out.string());
    ASSERT_EQ(answer.code, 0) << answer.errors;
    EXPECT_EQ(answer.errors, "");

    const std::string page = bytes_of(out / "index.html");
    int pictures = 0;
    for (auto at = page.find("src=\""); at != page.npos; at = page.find("src=\"", at + 1), ++pictures) {
        const std::string name = page.substr(at + 5, page.find('"', at + 5) - at - 5);
        EXPECT_EQ(read_png(out / name).width, 16) << name;
    }
    EXPECT_EQ(pictures, 11);  // photograph, proof, difference, four plates twice
    EXPECT_EQ(page.find("://"), page.npos) << "the page must not need a network";
}

TEST(Gallery, SaysInOneLineWhatItCannotUse)
{
    const Folder folder;
    const std::string photo = write_photo(folder);
    const std::string press = write_press(folder);
    const std::string text = folder.write("text.png", "no picture at all\n");
    const std::string whole = bytes_of(photo);
    const std::string cut = folder.write("cut.png", whole.substr(0, whole.size() / 2));
    const std::string missing = (folder.path / "missing").string();
    const std::string out = " --out " + (folder.path / "out").string();

    const struct {
        std::string arguments;
        std::string said;
    } rows[] = {
        {"--photo " + missing + " --profile " + press + out, "cannot read the photograph " + missing},
        {"--photo " + text + " --profile " + press + out, text + " is not a PNG picture"},
        {"--photo " + cut + " --profile " + press + out, cut + " is damaged"},
        {"--photo " + photo + " --profile " + missing + out, "cannot read the profile " + missing},
        {"--photo " + photo + " --profile " + text + out, text + " is not a colour profile"},
        {"--photo " + photo + " --profile " + write_screen(folder) + out, "is not a profile of a CMYK press"},
        {"--photo " + photo + " --profile " + press + " --out " + photo + "/out", "cannot make the folder"},
        {"--photo " + photo + " --profile " + press, "usage: gallery"},
        {"--picture " + photo + " --profile " + press + out, "unknown option --picture"},
    };
    for (const auto &row : rows) {
        const Answer answer = run_gallery(row.arguments);
        EXPECT_EQ(answer.code, 1) << row.arguments;
        EXPECT_NE(answer.errors.find(row.said), std::string::npos) << answer.errors;
        EXPECT_EQ(std::count(answer.errors.begin(), answer.errors.end(), '\n'), 1) << answer.errors;
    }
}

}  // namespace
