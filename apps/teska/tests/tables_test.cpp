// What conversions are made of: colour differences, .cube files, tables kept in files.

#include "support/folder.h"
#include "support/pictures.h"
#include "support/process.h"

#include "delta_e.h"
#include "frame/failure.h"
#include "frame/job.h"
#include "tables/cube.h"

#include <gtest/gtest.h>

namespace
{

using namespace tool;
using namespace tool_test;
using teska_test::Folder;

// The test data of the source that delta_e.h names, table 1.
TEST(DeltaE, AgreesWithThePublishedPairs)
{
    struct row {
        lab_colour first;
        lab_colour second;
        double difference;
    };
    const row rows[] = {
        {{50, 2.6772, -79.7751}, {50, 0, -82.7485}, 2.0425},
        {{50, 3.1571, -77.2803}, {50, 0, -82.7485}, 2.8615},
        {{50, 2.8361, -74.0200}, {50, 0, -82.7485}, 3.4412},
        {{50, -1.3802, -84.2814}, {50, 0, -82.7485}, 1.0000},
        {{50, -1.1848, -84.8006}, {50, 0, -82.7485}, 1.0000},
        {{50, -0.9009, -85.5211}, {50, 0, -82.7485}, 1.0000},
        {{50, 0, 0}, {50, -1, 2}, 2.3669},
        {{50, -1, 2}, {50, 0, 0}, 2.3669},
        {{50, 2.4900, -0.0010}, {50, -2.4900, 0.0009}, 7.1792},
        {{50, 2.4900, -0.0010}, {50, -2.4900, 0.0010}, 7.1792},
        {{50, 2.4900, -0.0010}, {50, -2.4900, 0.0011}, 7.2195},
        {{50, 2.4900, -0.0010}, {50, -2.4900, 0.0012}, 7.2195},
        {{50, -0.0010, 2.4900}, {50, 0.0009, -2.4900}, 4.8045},
        {{50, -0.0010, 2.4900}, {50, 0.0010, -2.4900}, 4.8045},
        {{50, -0.0010, 2.4900}, {50, 0.0011, -2.4900}, 4.7461},
        {{50, 2.5, 0}, {50, 0, -2.5}, 4.3065},
        {{50, 2.5, 0}, {73, 25, -18}, 27.1492},
        {{50, 2.5, 0}, {61, -5, 29}, 22.8977},
        {{50, 2.5, 0}, {56, -27, -3}, 31.9030},
        {{50, 2.5, 0}, {58, 24, 15}, 19.4535},
        {{50, 2.5, 0}, {50, 3.1736, 0.5854}, 1.0000},
        {{50, 2.5, 0}, {50, 3.2972, 0}, 1.0000},
        {{50, 2.5, 0}, {50, 1.8634, 0.5757}, 1.0000},
        {{50, 2.5, 0}, {50, 3.2592, 0.3350}, 1.0000},
        {{60.2574, -34.0099, 36.2677}, {60.4626, -34.1751, 39.4387}, 1.2644},
        {{63.0109, -31.0961, -5.8663}, {62.8187, -29.7946, -4.0864}, 1.2630},
        {{61.2901, 3.7196, -5.3901}, {61.4292, 2.2480, -4.9620}, 1.8731},
        {{35.0831, -44.1164, 3.7933}, {35.0232, -40.0716, 1.5901}, 1.8645},
        {{22.7233, 20.0904, -46.6940}, {23.0331, 14.9730, -42.5619}, 2.0373},
        {{36.4612, 47.8580, 18.3852}, {36.2715, 50.5065, 21.2231}, 1.4146},
        {{90.8027, -2.0831, 1.4410}, {91.1528, -1.6435, 0.0447}, 1.4441},
        {{90.9257, -0.5406, -0.9208}, {88.6381, -0.8985, -0.7239}, 1.5381},
        {{6.7747, -0.2908, -2.4247}, {5.8714, -0.0985, -2.2286}, 0.6377},
        {{2.0776, 0.0795, -1.1350}, {0.9033, -0.0636, -0.5514}, 0.9082},
    };
    for (const row &pair : rows) {
        EXPECT_NEAR(delta_e_2000(pair.first, pair.second), pair.difference, 0.00005);
        EXPECT_NEAR(delta_e_2000(pair.second, pair.first), pair.difference, 0.00005);
    }
}

colour_table cube_of(const Folder &folder, const std::string &text)
{
    job work("test");
    work.quiet = true;
    folder.write("x.cube", text);
    return read_cube(work, folder.path("x.cube"));
}

std::vector<std::uint16_t> through(const colour_table &table, std::vector<std::uint16_t> pixel)
{
    std::vector<std::uint16_t> out(3);
    table.run(pixel.data(), 16, 3, out.data(), 16, 3, 1);
    return out;
}

std::string identity(int points)
{
    std::string text;
    char line[80];
    for (int b = 0; b < points; ++b)
        for (int g = 0; g < points; ++g)
            for (int r = 0; r < points; ++r) {
                const double d = points - 1;
                std::snprintf(line, sizeof line, "%.6f %.6f %.6f\n", r / d, g / d, b / d);
                text += line;
            }
    return text;
}

TEST(Cube, OfTheIdentityChangesNothing)
{
    const Folder folder;
    const colour_table table = cube_of(folder, "\xEF\xBB\xBF# x\r\nlut_3d_size 33\r\n" + identity(33));
    std::vector<unsigned char> all;
    for (int i = 0; i < 256; ++i)
        all.insert(all.end(), {static_cast<unsigned char>(i), static_cast<unsigned char>(255 - i),
                               static_cast<unsigned char>(i * 7)});
    std::vector<unsigned char> out(all.size());
    table.run(all.data(), 8, 3, out.data(), 8, 3, 256);
    EXPECT_EQ(out, all);
    for (int v = 0; v < 65536; v += 13) {
        const auto sample = static_cast<std::uint16_t>(v);
        EXPECT_NEAR(through(table, {sample, 0, 65535})[0], v, 1);
    }
}

TEST(Cube, PassesDomainShaperAndValuesBeyondTheRange)
{
    const Folder folder;
    // Red fastest; a row above 1 and below 0 are kept until after the interpolation.
    std::string corners;
    for (int i = 0; i < 8; ++i)
        corners +=
            std::string((i & 1) != 0 ? "2 " : "-1 ") + ((i & 2) != 0 ? "1 " : "0 ") + ((i & 4) != 0 ? "1\n" : "0\n");
    const colour_table wide = cube_of(folder, "LUT_3D_SIZE 2\n" + corners);
    // Red is 3 r - 1, cut.
    EXPECT_EQ(through(wide, {0, 20000, 65535}), (std::vector<std::uint16_t>{0, 20000, 65535}));
    EXPECT_NEAR(through(wide, {32768, 0, 0})[0], 32768, 2);
    EXPECT_NEAR(through(wide, {40000, 0, 0})[0], 3 * 40000 - 65535, 3);
    EXPECT_EQ(through(wide, {50000, 0, 0})[0], 65535);
    // A domain to 2: the largest sample is in its middle.
    const colour_table half = cube_of(folder, "DOMAIN_MIN 0 0 0\nDOMAIN_MAX 2 2 2\nLUT_3D_SIZE 2\n" + identity(2));
    EXPECT_NEAR(through(half, {65535, 30000, 0})[0], 32768, 1);
    EXPECT_NEAR(through(half, {65535, 30000, 0})[1], 15000, 1);
    // Shaper in front of the grid.
    const colour_table shaped =
        cube_of(folder, "LUT_1D_SIZE 3\nLUT_3D_SIZE 2\n0 0 0\n0.25 0.5 1\n1 1 1\n" + identity(2));
    const std::vector<std::uint16_t> middle = through(shaped, {32768, 32768, 32768});
    EXPECT_NEAR(middle[0], 16384, 2);
    EXPECT_NEAR(middle[1], 32768, 2);
    EXPECT_NEAR(middle[2], 65535, 2);
    const colour_table curves = cube_of(folder, "LUT_1D_SIZE 2\n1 1 1\n0 0 0\n");
    EXPECT_EQ(through(curves, {0, 1000, 65535}), (std::vector<std::uint16_t>{65535, 64535, 0}));
}

TEST(Cube, IsRefusedWithItsLine)
{
    const Folder folder;
    const std::pair<std::string, std::string> rows[] = {
        {"LUT_3D_SIZE 2\n0 0 0\n", "line 2: 8 rows wanted (2 x 2 x 2), the file ends after 1"},
        {"LUT_3D_SIZE 2\n" + identity(2) + "0 0 0\n", "line 10: more than 8 rows"},
        {"# x\nLUT_3D_SIZE 1\n", "line 2: LUT_3D_SIZE 1: 2 to 129"},
        {"LUT_1D_SIZE 70000\n", "line 1: LUT_1D_SIZE 70000: 2 to 65536"},
        {"DOMAIN_MIN 0 1 0\nLUT_3D_SIZE 2\n", "line 1: DOMAIN_MIN 1 is not below DOMAIN_MAX 1"},
        {"LUT_1D_SIZE 2\n0,5 0 0\n", "line 2: three numbers wanted"},
        {"LUT_1D_SIZE 2\n0 0\n", "line 2: three numbers wanted"},
        {"LUT_1D_SIZE 2\n0 0 nan\n", "line 2: a number is not finite"},
        {"TITLE \"a\"\n", "no LUT_1D_SIZE and no LUT_3D_SIZE"},
        {"0 0 0\n", "line 1: no LUT_1D_SIZE and no LUT_3D_SIZE"},
    };
    for (const auto &[text, message] : rows) {
        try {
            cube_of(folder, text);
            ADD_FAILURE() << message;
        } catch (const failure &problem) {
            EXPECT_EQ(problem.what(), message);
        }
    }
    const outcome result = run_teska({"bake", folder.path("o.cube"), "--cube", folder.path("x.cube")});
    EXPECT_EQ(result.code, 1);
}

TEST(Ttab, KeepsTheTableAndSaysWhatIsDamaged)
{
    const Folder folder;
    ASSERT_EQ(run_teska({"bake", folder.path("a.ttab"), "--from", "linear", "--to", "gray", "--tables", "5"}).code, 0);
    const kept_table kept = read_ttab(folder.path("a.ttab"));
    EXPECT_EQ(kept.names.source, "RGB ");
    EXPECT_EQ(kept.names.target, "GRAY");
    EXPECT_EQ(kept.table.points(), 5);
    EXPECT_TRUE(kept.table.has_curves());
    std::string bytes = folder.read("a.ttab");
    EXPECT_EQ(bytes.size(), 28U + 3 * (4 + 131072) + 2 * 125 + 32 + 16);
    const auto refusal = [&](std::string changed) {
        folder.write("b.ttab", changed);
        return run_teska({"bake", folder.path("o.ttab"), "--link", folder.path("b.ttab")}).err;
    };
    std::string other = bytes;
    other[100] = static_cast<char>(other[100] ^ 1);
    EXPECT_NE(refusal(other).find("damaged (its digest differs)"), std::string::npos);
    other[4] = 2;
    EXPECT_NE(refusal(other).find("version 2 is newer than this program"), std::string::npos);
    EXPECT_EQ(refusal(bytes), "");
    EXPECT_TRUE(folder.read("o.ttab").size() == bytes.size());
}

TEST(Bake, WritesACubeThatReadsBack)
{
    const Folder folder;
    ASSERT_EQ(run_teska({"bake", folder.path("a.cube"), "--from", "linear", "--to", "srgb", "--tables", "9"}).code, 0);
    const std::string text = folder.read("a.cube");
    EXPECT_EQ(text.find("DOMAIN"), std::string::npos);
    EXPECT_NE(text.find("LUT_3D_SIZE 9\n0.000000 0.000000 0.000000\n"), std::string::npos);
    job work("test");
    const colour_table table = read_cube(work, folder.path("a.cube"));
    // One eighth of the light is L 42 or sRGB 0.388573.
    EXPECT_NEAR(through(table, {8192, 8192, 8192})[0], 25465, 12);
    EXPECT_EQ(run_teska({"bake", folder.path("b.cube"), "--from", "srgb", "--to", "gray"}).code, 2);
}

}  // namespace
