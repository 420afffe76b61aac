// Damaged files: truncated, with changed bits and with changed bytes, a thousand for each reader. A failure with its
// message, or a picture; never anything else, and never an output that was not finished.

#include "support/folder.h"
#include "support/generator.h"
#include "support/pictures.h"
#include "support/process.h"

#include "error_mess.h"
#include "frame/command.h"
#include "frame/command_line.h"
#include "frame/failure.h"
#include "frame/options.h"
#include "profiles.h"
#include "tables/cube.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

namespace
{

using namespace tool;
using namespace tool_test;
using teska_test::Folder;
using teska_test::Generator;

std::string damaged(const std::string &bytes, Generator &numbers)
{
    std::string file = bytes;
    const int kind = numbers.below(4);
    if (kind == 0)
        file.resize(static_cast<std::size_t>(numbers.below(static_cast<int>(bytes.size()))));
    // The first bytes say most about a file.
    const int reach = static_cast<int>(file.size());
    for (int i = kind == 0 ? 0 : 1 + numbers.below(6); i > 0 && reach > 0; --i) {
        const int place = numbers.below(2) == 0 ? numbers.below(reach) : numbers.below(std::min(reach, 300));
        char &byte = file[static_cast<std::size_t>(place)];
        byte = kind == 1 ? static_cast<char>(numbers.byte()) : static_cast<char>(byte ^ (1 << numbers.below(8)));
        if (kind == 3)
            byte = static_cast<char>(numbers.below(2) == 0 ? 0xFF : 0);
    }
    return file;
}

// Reads a thousand damaged copies; most must be refused, or the damage does not reach what is checked.
template <class Read>
void read_damaged(const Folder &folder, const std::string &name, const Read &read, int least_refused)
{
    const std::string bytes = folder.read(name);
    Generator numbers(std::hash<std::string>()(name) | 1U);
    int refused = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 1000; ++i) {
        folder.write(name, damaged(bytes, numbers));
        try {
            read(folder.path(name));
        } catch (const failure &problem) {
            ++refused;
            EXPECT_STRNE(problem.what(), "");
        }
    }
    EXPECT_GE(refused, least_refused) << name;
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 120) << name;
    folder.write(name, bytes);
}

whole_page small_page(colour_kind kind, int colours)
{
    whole_page page = random_page(kind, colours, 8, 24, 17);
    page.facts.profile = std::string(300, 'i');
    return page;
}

TEST(Damage, OfPicturesIsToldOrHarmless)
{
    const Folder folder;
    const auto read = [](const std::string &path) { read_pages(path); };
    write_pages(folder.path("a.png"), {small_page(colour_kind::rgb, 3)});
    read_damaged(folder, "a.png", read, 500);
    write_pages(folder.path("a.jpg"), {small_page(colour_kind::rgb, 3)});
    read_damaged(folder, "a.jpg", read, 200);
    write_pages(folder.path("a.ppm"), {small_page(colour_kind::rgb, 3)});
    read_damaged(folder, "a.ppm", read, 200);
    for (const auto &[name, compression, tile] :
         {std::tuple{"plain.tif", 1, 0U}, {"lzw.tif", 5, 16U}, {"zip.tif", 8, 0U}, {"pack.tif", 32773, 32U}}) {
        whole_page page = small_page(colour_kind::cmyk, 4);
        page.facts.tiff.compression = compression;
        page.facts.tiff.tile_width = page.facts.tiff.tile_height = tile;
        write_pages(folder.path(name), {page, small_page(colour_kind::gray, 1)});
        read_damaged(folder, name, read, 150);
    }
}

TEST(Damage, OfProfilesTablesAndCubesIsToldOrHarmless)
{
    const Folder folder;
    const auto open = [](const std::string &path) {
        job work("test");
        work.quiet = true;
        colour_engine engine;
        const colour_profile profile = engine.open(work, path);
        profile.require_source();
        const transform to_lab = engine.to_lab(profile, INTENT_PERCEPTUAL, false);
        const std::uint16_t in[16] = {};
        double lab[3];
        to_lab.run(in, lab, 1);
    };
    {
        colour_engine engine;
        job work("test");
        folder.write("p.icc", engine.open(work, "linear").bytes());
    }
    read_damaged(folder, "p.icc", open, 200);
    std::string cube = "TITLE \"x\"\nDOMAIN_MIN 0 0 0\nLUT_1D_SIZE 2\nLUT_3D_SIZE 2\n0 0 0\n1 1 1\n";
    for (int i = 0; i < 8; ++i)
        cube += "0.25 " + std::to_string(i) + " -1e-3\n";
    folder.write("a.cube", cube);
    read_damaged(
        folder, "a.cube",
        [](const std::string &path) {
            job work("test");
            work.quiet = true;
            read_cube(work, path);
        },
        300);
    ASSERT_EQ(run_teska({"bake", folder.path("a.ttab"), "--cube", folder.path("a.cube")}).code, 0);
    read_damaged(
        folder, "a.ttab", [](const std::string &path) { read_ttab(path); }, 900);
}

// A command in this process; what it throws comes out, what it tells is dropped.
void run_inside(const std::vector<std::string> &arguments)
{
    const command &called = *find_command(arguments.front());
    const std::unique_ptr<action> made = called.make();
    options take;
    common_options common = {};
    made->describe(take);
    describe_common(take, common);
    parse_arguments(called, take, {arguments.begin() + 1, arguments.end()});
    job work(called.name);
    work.threads = 1;
    work.json_wanted = work.quiet = true;
    made->run(work);
}

// Solids and overprints of three inks in one table, the same colours again in another.
std::string two_tables()
{
    std::string text;
    for (const char *name : {"first", "second"}) {
        text += std::string("CTI3\nTABLE_NAME \"") + name +
                "\"\nNUMBER_OF_FIELDS 6\nBEGIN_DATA_FORMAT\nCMY_C CMY_M CMY_Y LAB_L LAB_A LAB_B\n"
                "END_DATA_FORMAT\nNUMBER_OF_SETS 8\nBEGIN_DATA\n";
        for (int i = 0; i < 8; ++i) {
            const int c = i & 1, m = i >> 1 & 1, y = i >> 2;
            for (const int value : {100 * c, 100 * m, 100 * y, 95 - 35 * c - 45 * m - 6 * y, 75 * m - 40 * c - 5 * y,
                                    90 * y - 50 * c - 5 * m})
                text += std::to_string(value) + " ";
            text += "\n";
        }
        text += "END_DATA\n";
    }
    return text;
}

TEST(Damage, OfChartsAndCurvesIsToldOrHarmless)
{
    const Folder folder;
    const int before = error_set_thread(2);
    folder.write("c.txt", two_tables());
    read_damaged(
        folder, "c.txt",
        [](const std::string &path) {
            run_inside({"gamut", path, "--sets", "second"});
        },
        400);
    read_damaged(
        folder, "c.txt",
        [](const std::string &path) {
            run_inside({"inks", path});
        },
        400);
    {
        colour_engine engine;
        job work("test");
        folder.write("p.icc", engine.open(work, "srgb").bytes());
    }
    read_damaged(
        folder, "p.icc",
        [](const std::string &path) {
            run_inside({"inks", path, "--levels", "2"});
        },
        200);
    std::string rows;
    for (int i = 0; i <= 20; ++i)
        rows += std::to_string(i / 20.0) + " " + std::to_string(i * i / 400.0) + "\n";
    folder.write("c.txt", rows);
    for (const char *fit : {"lines", "cubic", "bezier"})
        read_damaged(
            folder, "c.txt",
            [fit](const std::string &path) {
                run_inside({"curve", path, "--fit", fit, "--invert", "--table", "256", "--at", "0.5"});
            },
            200);
    error_set_thread(before);
}

// The program itself: an exit code of its own, a line, and nothing left.
TEST(Damage, LeavesNoOutput)
{
    const Folder folder;
    folder.write("keep", "");
    for (const char *name : {"a.png", "a.tif", "a.jpg"}) {
        write_pages(folder.path(name), {small_page(colour_kind::rgb, 3)});
        const std::string bytes = folder.read(name);
        Generator numbers(7);
        for (int i = 0; i < 40; ++i) {
            folder.write(name, damaged(bytes, numbers));
            const outcome result = run_teska({"convert", folder.path(name), folder.path("out.tif"), "--from", "srgb",
                                              "--to", "gray", "--json", "--quiet"});
            EXPECT_FALSE(is_crash(result)) << i << result.err;
            EXPECT_EQ(result.code != 0, folder.listing().find("out") == std::string::npos) << i;
            EXPECT_EQ(result.code != 0, !result.err.empty()) << i;
            EXPECT_EQ(result.out.front(), '{');
            std::filesystem::remove(folder.path("out.tif"));
        }
        std::filesystem::remove(folder.path(name));
    }
    EXPECT_EQ(folder.listing(), "keep");
}

#ifndef _WIN32
TEST(Interruption, LeavesNothing)
{
    const Folder folder;
    whole_page page = random_page(colour_kind::rgb, 3, 8, 3000, 1500);
    write_pages(folder.path("in.tif"), {page});
    folder.write("old.tif", "old");
    int ended = 0;
    for (int i = 0; i < 12; ++i) {
        const int signal = i % 3 == 0 ? 9 : i % 3 == 1 ? 15 : 2;
        const std::string out = i % 2 == 0 ? "new.tif" : "old.tif";
        const outcome result = run_teska_killed({"convert", folder.path("in.tif"), folder.path(out), "--to", "linear",
                                                 "--force", "--tables", "direct", "--quiet"},
                                                signal, 5000 + 15000 * i);
        if (result.code == 0) {
            std::filesystem::remove(folder.path("new.tif"));
            folder.write("old.tif", "old");
            continue;
        }
        ++ended;
        EXPECT_EQ(result.code, 128 + signal);
        EXPECT_EQ(folder.listing(), "in.tif old.tif");
        EXPECT_EQ(folder.read("old.tif"), "old");
    }
    EXPECT_GT(ended, 0);
}
#endif

}  // namespace
