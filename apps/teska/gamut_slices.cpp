// gamut_slices - pictures of the planes L = 10 .. 90 through a body of colours

#include "gamut_slices.h"

#include "plot.h"
#include "profiles.h"

#include <cstdint>

namespace tool
{

namespace
{

constexpr int side = 256;  // of a slice

void fill(plot &picture, int left, int top, double lightness, const gamut_body &body, const transform &to_srgb)
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

}  // namespace

void write_slices(job &work, colour_engine &engine, const gamut_body &body, output_file &file)
{
    const transform to_srgb = engine.from_lab(engine.open(work, "srgb"), INTENT_RELATIVE_COLORIMETRIC, false);
    plot picture(3 * side, 3 * side);
    for (int slice = 0; slice < 9; ++slice) {
        const int left = slice % 3 * side;
        const int top = slice / 3 * side;
        fill(picture, left, top, 10.0 * (slice + 1), body, to_srgb);
        picture.draw_axes(left, top, 1);
        picture.write(left + 5, top + 5, "L " + std::to_string(10 * (slice + 1)));
    }
    picture.write_png(work, file);
}

}  // namespace tool
