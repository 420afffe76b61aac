// What the readers and writers make of pictures: round trips, encodings of files by hand, and what they refuse.

#include "support/pictures.h"

#include "support/folder.h"

#include "frame/failure.h"

#include <gtest/gtest.h>
#include <lcms2.h>

namespace
{

using namespace tool;
using namespace tool_test;
using teska_test::Folder;

constexpr extra_kind straight = extra_kind::unassociated;

std::string refusal(const std::string &path)
{
    try {
        read_pages(path);
    } catch (const failure &problem) {
        return problem.what();
    }
    return "";
}

TEST(Pictures, KeepEverySampleThroughEveryFormat)
{
    const Folder folder;
    struct row {
        const char *name;
        colour_kind kind;
        int colours;
        std::vector<extra_kind> extras;
    };
    const std::vector<row> rows = {
        {"gray.png", colour_kind::gray, 1, {}},
        {"alpha.png", colour_kind::gray, 1, {straight}},
        {"rgb.png", colour_kind::rgb, 3, {}},
        {"rgba.png", colour_kind::rgb, 3, {straight}},
        {"gray.pgm", colour_kind::gray, 1, {}},
        {"rgb.ppm", colour_kind::rgb, 3, {}},
        {"gray.tif", colour_kind::gray, 1, {}},
        {"rgb.tif", colour_kind::rgb, 3, {extra_kind::unspecified, extra_kind::associated}},
        {"cmyk.tif", colour_kind::cmyk, 4, {extra_kind::unspecified}},
        {"six.tif", colour_kind::inks, 6, {straight}},
        {"lab.tif", colour_kind::lab, 3, {}},
    };
    for (const row &kind : rows)
        for (const int depth : {8, 16}) {
            SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(depth));
            whole_page made = random_page(kind.kind, kind.colours, depth, 37, 23, kind.extras);
            // The V2 encoding of 16-bit Lab keeps what was read from it.
            for (std::uint16_t &sample : made.samples)
                if (kind.kind == colour_kind::lab && depth == 16)
                    sample = static_cast<std::uint16_t>(((sample * 65280U + 32767) / 65535 * 65535 + 32640) / 65280);
            write_pages(folder.path(kind.name), {made});
            const whole_page back = read_page(folder.path(kind.name));
            EXPECT_EQ(back.facts.kind, kind.kind);
            EXPECT_EQ(back.facts.colours, kind.colours);
            EXPECT_EQ(back.facts.extras, kind.extras);
            EXPECT_EQ(back.samples, made.samples);
        }
}

TEST(Tiff, KeepsLayoutsTagsAndPages)
{
    const Folder folder;
    for (const int compression : {1, 5, 8, 32773})
        for (const std::uint32_t tile : {0U, 16U}) {
            SCOPED_TRACE(std::to_string(compression) + " " + std::to_string(tile));
            whole_page first = random_page(colour_kind::rgb, 3, 8, 50, 41);
            first.facts.density = {300, 150, resolution::unit::centimetre};
            first.facts.orientation = 6;
            first.facts.tiff = {true, 3, compression, tile, tile, 0, "front", "book", ""};
            first.facts.profile = "not looked at here";
            whole_page second = random_page(colour_kind::cmyk, 4, 16, 9, 7);
            second.facts.tiff = {true, 3, compression, 0, 0, 1, "", "", ""};
            write_pages(folder.path("a.tif"), {first, second, first});
            const std::vector<whole_page> back = read_pages(folder.path("a.tif"));
            ASSERT_EQ(back.size(), 3U);
            EXPECT_EQ(back[0].samples, first.samples);
            EXPECT_EQ(back[1].samples, second.samples);
            EXPECT_EQ(back[2].samples, first.samples);
            const page_facts &facts = back[0].facts;
            EXPECT_EQ(facts.tiff.compression, compression);
            EXPECT_EQ(facts.tiff.tile_width, tile);
            EXPECT_TRUE(facts.tiff.big);
            EXPECT_EQ(facts.tiff.page_name, "front");
            EXPECT_EQ(facts.tiff.document_name, "book");
            EXPECT_EQ(facts.profile, first.facts.profile);
            EXPECT_EQ(facts.orientation, 6);
            EXPECT_EQ(facts.density.x, 300);
            EXPECT_EQ(facts.density.per, resolution::unit::centimetre);
            EXPECT_EQ(back[1].facts.tiff.subfile, 1U);
        }
}

// Pixels 2 x 1 with the samples by hand; what a reader has to make of them.
TEST(Tiff, ReadsEveryEncodingByItsTags)
{
    const Folder folder;
    const auto read = [&](bool big_endian, std::uint32_t bits, std::uint32_t samples, std::uint32_t photometric,
                          const std::string &data, std::vector<std::vector<std::uint32_t>> more = {}) {
        std::vector<std::vector<std::uint32_t>> entries = {
            {256, 3, 1, 2},           {257, 3, 1, 1},
            {258, 3, 1, bits},        {259, 3, 1, 1},
            {262, 3, 1, photometric}, {273, 4, 1, 8},
            {277, 3, 1, samples},     {279, 4, 1, static_cast<std::uint32_t>(data.size())}};
        if (samples > 2)
            entries[2] = {258, 3, 1, bits};
        entries.insert(entries.end(), more.begin(), more.end());
        std::sort(entries.begin(), entries.end());
        folder.write("t.tif", plain_tiff(big_endian, entries, data));
        return read_page(folder.path("t.tif"));
    };
    using samples = std::vector<std::uint16_t>;
    EXPECT_EQ(read(false, 8, 1, 0, std::string("\x00\x10", 2)).samples, (samples{255, 239}));
    EXPECT_EQ(read(false, 1, 1, 0, "\x40").samples, (samples{255, 0}));
    EXPECT_EQ(read(false, 1, 1, 1, "\x40").samples, (samples{0, 255}));
    EXPECT_EQ(read(true, 16, 1, 1, std::string("\x01\x02\xFF\x00", 4)).samples, (samples{0x0102, 0xFF00}));
    EXPECT_EQ(read(false, 16, 1, 1, std::string("\x01\x02\xFF\x00", 4)).samples, (samples{0x0201, 0x00FF}));
    // CIELab: a, b in two's complement; ICCLab: 128 is zero.
    EXPECT_EQ(read(false, 8, 3, 8, "\xFF\xFF\x01\x80\x80\x7F").samples, (samples{255, 127, 129, 128, 0, 255}));
    EXPECT_EQ(read(false, 8, 3, 9, "\xFF\x80\x01\x80\x80\x7F").samples, (samples{255, 128, 1, 128, 128, 127}));
    EXPECT_EQ(read(true, 16, 3, 9, std::string("\xFF\x00\x80\x00\x80\x00\x7F\x80\x00\x00\xFF\xFF", 12)).samples,
              (samples{65535, 32896, 32896, 32768, 0, 65535}));
    EXPECT_EQ(read(true, 16, 3, 8, std::string("\xFF\xFF\x00\x00\x01\x00\x80\x00\x80\x00\x7F\xFF", 12)).samples,
              (samples{65535, 32896, 33153, 32768, 0, 65535}));
    // Six inks, counted as extra samples too; five samples of which four are inks.
    const std::string twelve = "abcdefghijkl";
    const whole_page six = read(false, 8, 6, 5, twelve, {{334, 3, 1, 6}, {332, 3, 1, 2}, {338, 3, 2, 0, 0}});
    EXPECT_EQ(six.facts.colours, 6);
    EXPECT_EQ(six.facts.kind, colour_kind::inks);
    EXPECT_TRUE(six.facts.extras.empty());
    const whole_page five = read(false, 8, 5, 5, twelve.substr(0, 10), {{338, 3, 1, 0}});
    EXPECT_EQ(five.facts.kind, colour_kind::cmyk);
    EXPECT_EQ(five.facts.extras, std::vector<extra_kind>{extra_kind::unspecified});
    // Separate planes, each in a strip of its own, follow each other from byte 8 on.
    const std::string planes = "adbecf";
    std::vector<std::vector<std::uint32_t>> entries = {{256, 3, 1, 2},  {257, 3, 1, 1},  {258, 3, 1, 8}, {259, 3, 1, 1},
                                                       {262, 3, 1, 2},  {273, 4, 3, 14}, {277, 3, 1, 3}, {278, 3, 1, 1},
                                                       {279, 4, 3, 26}, {284, 3, 1, 2}};
    const std::string numbers("\x08\0\0\0\x0A\0\0\0\x0C\0\0\0\x02\0\0\0\x02\0\0\0\x02\0\0\0", 24);
    folder.write("p.tif", plain_tiff(false, entries, planes + numbers));
    EXPECT_EQ(read_page(folder.path("p.tif")).samples, (samples{'a', 'b', 'c', 'd', 'e', 'f'}));
}

TEST(Limits, HoldBeforeAnythingIsAllocated)
{
    const Folder folder;
    const auto tiff = [&](std::uint32_t width, std::uint32_t height, std::uint32_t bits, std::uint32_t samples) {
        folder.write("t.tif", plain_tiff(false,
                                         {{256, 4, 1, width},
                                          {257, 4, 1, height},
                                          {258, 3, 1, bits},
                                          {259, 3, 1, 1},
                                          {262, 3, 1, 1},
                                          {273, 4, 1, 8},
                                          {277, 3, 1, samples},
                                          {279, 4, 1, 4}},
                                         "abcd"));
        return refusal(folder.path("t.tif"));
    };
    EXPECT_EQ(tiff(2000000000, 1, 8, 1), "2000000000 x 1 pixels are more than teska takes");
    EXPECT_EQ(tiff(1000000, 1000000, 8, 1), "1000000 x 1000000 pixels are more than teska takes");
    EXPECT_EQ(tiff(4, 1, 8, 33), "33 samples a pixel are more than teska takes");
    EXPECT_EQ(tiff(4, 1, 32, 1), "32-bit samples are not supported");
    EXPECT_EQ(tiff(40, 3, 8, 1), "page 1, line 3: the file ends early");
    EXPECT_EQ(tiff(4, 1, 8, 1), "");
    folder.write("a.ppm", "P6 1000001 1 255\n");
    EXPECT_EQ(refusal(folder.path("a.ppm")), "1000001 x 1 pixels are more than teska takes");
    folder.write("b.ppm", "P6 2 2 255\nabcdefg");
    EXPECT_EQ(refusal(folder.path("b.ppm")), "line 2: the file ends early");
    folder.write("c.ppm", "P2 # none\n3 1 100 0 50 101");
    EXPECT_EQ(refusal(folder.path("c.ppm")), "line 1: sample 101 is above 100");
    folder.write("d.ppm", "P2 # none\n3 1 # wide\n100 0 50 100");
    EXPECT_EQ(read_page(folder.path("d.ppm")).samples, (std::vector<std::uint16_t>{0, 128, 255}));
    folder.write("e", "");
    EXPECT_EQ(refusal(folder.path("e")), "is empty");
}

TEST(Orientation, TurnsEveryWayAndBack)
{
    const Folder folder;
    picture_options turned;
    turned.orient = "apply";
    whole_page made = random_page(colour_kind::gray, 1, 8, 40, 21);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        made.facts.orientation = orientation;
        write_pages(folder.path("o.tif"), {made});
        const whole_page back = read_page(folder.path("o.tif"), turned);
        const bool swaps = orientation >= 5;
        ASSERT_EQ(back.facts.width, swaps ? 21U : 40U);
        bool same = true;
        for (std::uint32_t y = 0; y < 21; ++y)
            for (std::uint32_t x = 0; x < 40; ++x) {
                // Where line y and column x of the file stand: from which side lines and columns are counted.
                const bool from_bottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
                const bool from_right = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
                const std::uint32_t line = from_bottom ? 20 - y : y;
                const std::uint32_t column = from_right ? 39 - x : x;
                const std::size_t at = swaps ? std::size_t{column} * 21 + line : std::size_t{line} * 40 + column;
                same = same && back.samples[at] == made.samples[y * 40 + x];
            }
        EXPECT_TRUE(same) << orientation;
    }
}

TEST(Jpeg, KeepsProfileDensityOrientationAndInks)
{
    const Folder folder;
    whole_page made = random_page(colour_kind::cmyk, 4, 8, 48, 32);
    for (std::size_t i = 0; i < made.samples.size(); ++i)
        made.samples[i] = static_cast<std::uint16_t>(40 * (i % 4) + i / 4 % 48);
    made.facts.profile = std::string(187003, 'p');
    made.facts.density = {300, 300, resolution::unit::inch};
    made.facts.orientation = 3;
    picture_options best;
    best.quality = 100;
    write_pages(folder.path("a.jpg"), {made}, best);
    const whole_page back = read_page(folder.path("a.jpg"));
    EXPECT_EQ(back.facts.kind, colour_kind::cmyk);
    EXPECT_EQ(back.facts.profile, made.facts.profile);
    EXPECT_EQ(back.facts.density.x, 300);
    EXPECT_EQ(back.facts.orientation, 3);
    int largest = 0;
    for (std::size_t i = 0; i < made.samples.size(); ++i)
        largest = std::max(largest, std::abs(made.samples[i] - back.samples[i]));
    EXPECT_LE(largest, 2);
    picture_options plain;
    plain.jpeg_cmyk = "plain";
    EXPECT_NEAR(read_page(folder.path("a.jpg"), plain).samples[0], 255 - made.samples[0], 2);

    const std::string bytes = folder.read("a.jpg");
    std::string cut = bytes.substr(0, bytes.size() - 400);
    folder.write("cut.jpg", cut);
    EXPECT_NE(refusal(folder.path("cut.jpg")).find("the file ends early"), std::string::npos);
    std::string missing = bytes;
    missing[missing.find("ICC_PROFILE") + 12] = 2;
    folder.write("twice.jpg", missing);
    EXPECT_EQ(refusal(folder.path("twice.jpg")),
              "its profile is incomplete (piece 2 of 3 is there twice); --from names another");
}

// Which chunk says the colours when several do.
TEST(Png, TakesTheProfileWhateverOtherChunksSay)
{
    const Folder folder;
    whole_page made = random_page(colour_kind::rgb, 3, 8, 5, 4);
    const auto facts_with = [&](const page_facts &facts) {
        whole_page page = made;
        page.facts = facts;
        write_pages(folder.path("a.png"), {page});
        return folder.read("a.png");
    };
    page_facts profile = made.facts;
    profile.profile = "any bytes are kept";
    page_facts gamma = made.facts;
    gamma.gamma = gamma_facts{0.5, std::array<double, 8>{0.3127, 0.329, 0.64, 0.33, 0.3, 0.6, 0.15, 0.06}};
    const std::string with_profile = facts_with(profile);
    const std::string with_gamma = facts_with(gamma);
    constexpr std::size_t start = 33;  // signature and IHDR
    const auto before_data = [&](const std::string &file) { return file.substr(start, file.find("IDAT") - 4 - start); };
    // Both orders of the chunks in one file.
    for (const std::string &chunks :
         {before_data(with_profile) + before_data(with_gamma), before_data(with_gamma) + before_data(with_profile)}) {
        folder.write("both.png",
                     with_profile.substr(0, start) + chunks + with_profile.substr(with_profile.find("IDAT") - 4));
        EXPECT_EQ(read_page(folder.path("both.png")).facts.profile, "any bytes are kept");
    }
    folder.write("gamma.png", with_gamma);
    const page_facts back = read_page(folder.path("gamma.png")).facts;
    ASSERT_TRUE(back.gamma && back.gamma->white);
    EXPECT_EQ(back.gamma->gamma, 0.5);
    EXPECT_FALSE(back.said_srgb);
    folder.write("cut.png", with_gamma.substr(0, with_gamma.size() - 20));
    EXPECT_NE(refusal(folder.path("cut.png")).find("the file ends early"), std::string::npos);
}

}  // namespace
