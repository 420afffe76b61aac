// gamut_slices - pictures of the planes L = 10 .. 90 through a body of colours

#include "gamut_slices.h"

#include "frame/job.h"
#include "pictures/formats.h"
#include "profiles.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace tool
{

namespace
{

constexpr int side = 256;  // of a slice
constexpr int all = 3 * side;
constexpr int digit_width = 3;
constexpr int digit_height = 5;

// Rows of three dots for each sign, the upper row first.
std::string_view dots_of(char sign)
{
    constexpr std::string_view digits[10] = {"###"
                                             "#.#"
                                             "#.#"
                                             "#.#"
                                             "###",
                                             ".#."
                                             "##."
                                             ".#."
                                             ".#."
                                             "###",
                                             "###"
                                             "..#"
                                             "###"
                                             "#.."
                                             "###",
                                             "###"
                                             "..#"
                                             "###"
                                             "..#"
                                             "###",
                                             "#.#"
                                             "#.#"
                                             "###"
                                             "..#"
                                             "..#",
                                             "###"
                                             "#.."
                                             "###"
                                             "..#"
                                             "###",
                                             "###"
                                             "#.."
                                             "###"
                                             "#.#"
                                             "###",
                                             "###"
                                             "..#"
                                             ".#."
                                             ".#."
                                             ".#.",
                                             "###"
                                             "#.#"
                                             "###"
                                             "#.#"
                                             "###",
                                             "###"
                                             "#.#"
                                             "###"
                                             "..#"
                                             "###"};
    if (sign >= '0' && sign <= '9')
        return digits[sign - '0'];
    return sign == '-' ? "......###......" : sign == 'L' ? "#..#..#..#..###" : "...............";
}

class slice_picture
{
public:
    using pixel = std::array<std::uint8_t, 3>;

    slice_picture() : pixels_(std::size_t{all} * all, pixel{255, 255, 255}) {}

    pixel &at(int x, int y) { return pixels_[static_cast<std::size_t>(y) * all + static_cast<std::size_t>(x)]; }

    void write(int x, int y, const std::string &text)
    {
        for (const char sign : text) {
            const std::string_view dots = dots_of(sign);
            for (int i = 0; i < digit_width * digit_height; ++i)
                if (dots[static_cast<std::size_t>(i)] == '#')
                    at(x + i % digit_width, y + i / digit_width) = {0, 0, 0};
            x += digit_width + 1;
        }
    }

    [[nodiscard]] const std::uint8_t *samples() const { return pixels_.front().data(); }

private:
    std::vector<pixel> pixels_;
};

void fill(slice_picture &picture, int left, int top, double lightness, const gamut_body &body, const transform &to_srgb)
{
    for (int y = 0; y < side; ++y) {
        const double b = side / 2 - y - 0.5;
        const std::optional<std::array<double, 2>> reach = body.reach(lightness, b);
        for (int x = 0; x < side; ++x) {
            const double a = x + 0.5 - side / 2;
            if (!reach || a < (*reach)[0] || a > (*reach)[1])
                continue;
            const lab_colour colour = {lightness, a, b};
            std::uint16_t rgb[3];
            to_srgb.run(colour.data(), rgb, 1);
            for (std::size_t c = 0; c < 3; ++c)
                picture.at(left + x, top + y)[c] = static_cast<std::uint8_t>((rgb[c] + 128) / 257);
        }
    }
}

void draw_axes(slice_picture &picture, int left, int top, int lightness)
{
    constexpr int middle = side / 2;
    for (int i = 0; i < side; ++i) {
        picture.at(left + i, top + middle) = picture.at(left + middle, top + i) = {128, 128, 128};
        picture.at(left + i, top) = picture.at(left, top + i) = {192, 192, 192};
    }
    for (const int value : {-100, -50, 50, 100}) {
        for (int i = -2; i <= 2; ++i) {
            picture.at(left + middle + value, top + middle + i) = {0, 0, 0};
            picture.at(left + middle + i, top + middle - value) = {0, 0, 0};
        }
        const std::string text = std::to_string(value);
        picture.write(left + middle + value - 2 * static_cast<int>(text.size()), top + middle + 5, text);
        picture.write(left + middle + 5, top + middle - value - 2, text);
    }
    picture.write(left + 5, top + 5, "L " + std::to_string(lightness));
}

}  // namespace

void write_slices(job &work, colour_engine &engine, const gamut_body &body, output_file &file)
{
    const transform to_srgb = engine.from_lab(engine.open(work, "srgb"), INTENT_RELATIVE_COLORIMETRIC, false);
    slice_picture picture;
    for (int slice = 0; slice < 9; ++slice) {
        const int left = slice % 3 * side;
        const int top = slice / 3 * side;
        fill(picture, left, top, 10.0 * (slice + 1), body, to_srgb);
        draw_axes(picture, left, top, 10 * (slice + 1));
    }
    const std::unique_ptr<picture_writer> png = make_png(work, file);
    page_facts page;
    page.width = page.height = all;
    page.said_srgb = true;
    png->begin_page(page);
    png->write_lines(picture.samples(), all);
    png->end_page();
    png->finish();
}

}  // namespace tool
