// page - a page with a photograph, a graphic and text, and which pixel is of which

#include "objects/page.h"

#include "izat.h"
#include "lines/job.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>

namespace examples
{

namespace
{

struct box {
    int left, top, width, height;
};

constexpr int page_width = 640;
constexpr int page_height = 408;
constexpr box photograph_box = {24, 84, 300, 300};
constexpr box graphic_box = {380, 84, 204, 204};
constexpr box headline_box = {24, 24, 592, 44};
constexpr box notes_box = {348, 304, 268, 84};

constexpr unsigned char white = 255;
constexpr int sectors = 12;
constexpr int parts = 4;  // of a pixel, across and down, that are looked at where an edge may cross it

using rgb = std::array<double, 3>;

// Full colours, 0 at red, 1/3 at green, 2/3 at blue; 0 .. 255.
rgb hue(double turn)
{
    const auto part = [turn](double centre) {
        const double away = std::abs(turn - centre - std::round(turn - centre));
        return 255 * std::clamp(2 - 6 * away, 0.0, 1.0);
    };
    return {part(0), part(1.0 / 3), part(2.0 / 3)};
}

// Two rings of sectors: full colours outside, the same half way to white inside. Radii from 0 at the centre to 1.
rgb wheel(double x, double y)
{
    const double radius = std::hypot(x, y);
    const double turn = std::atan2(y, x) / (2 * std::numbers::pi) + 0.5;
    rgb colour = hue(std::floor(turn * sectors) / sectors);
    if (radius > 1 || radius < 0.3)
        return {white, white, white};
    if (radius < 0.65)
        for (double &sample : colour)
            sample = (sample + white) / 2;
    return colour;
}

void draw_wheel(picture &page, const box &place)
{
    const double half = place.width / 2.0;
    for (int y = 0; y < place.height; ++y)
        for (int x = 0; x < place.width; ++x) {
            rgb sum{};
            for (int part = 0; part < parts * parts; ++part) {
                const rgb one = wheel((x + (part % parts + 0.5) / parts) / half - 1,
                                      (y + (static_cast<double>(part / parts) + 0.5) / parts) / half - 1);
                std::transform(sum.begin(), sum.end(), one.begin(), sum.begin(), std::plus<>());
            }
            unsigned char *pixel = page.line(place.top + y) + (place.left + x) * 3;
            for (const double sample : sum)
                *pixel++ = static_cast<unsigned char>(std::lround(sample / (parts * parts)));
        }
}

void place_photograph(picture &page, const picture &photograph, const box &place)
{
    const int side = std::min(photograph.width, photograph.height);
    const picture square =
        cropped(photograph, (photograph.width - side) / 2, (photograph.height - side) / 2, side, side);
    const picture small = averaged(square, place.width, place.height, IZAT_LANCZOS3);
    for (int y = 0; y < place.height; ++y)
        std::copy_n(small.line(y), place.width * 3, page.line(place.top + y) + place.left * 3);
}

// Whatever is not white in the box; of a photograph all.
void tag(tagged_page &page, const box &place, unsigned char object)
{
    for (int y = place.top; y < place.top + place.height; ++y)
        for (int x = place.left; x < place.left + place.width; ++x) {
            const unsigned char *pixel = page.colours.line(y) + x * 3;
            if (object == photograph_object ||
                std::any_of(pixel, pixel + 3, [](int sample) { return sample != white; }))
                page.tags.line(y)[x] = object;
        }
}

}  // namespace

tagged_page compose_page(const picture &photograph)
{
    tagged_page page{picture(page_width, page_height, 3), picture(page_width, page_height, 1)};
    std::fill(page.colours.samples.begin(), page.colours.samples.end(), white);
    std::fill(page.tags.samples.begin(), page.tags.samples.end(), paper);

    place_photograph(page.colours, photograph, photograph_box);
    draw_wheel(page.colours, graphic_box);
    draw_text(page.colours, 30, 32, 4.3, "ONE PAGE, THREE TABLES");
    double y = notes_box.top + 6;
    for (const char *note : {"PHOTOGRAPH: PERCEPTUAL", "GRAPHIC: PURE INKS", "TEXT: BLACK INK ONLY"}) {
        draw_text(page.colours, notes_box.left + 6, y, 2, note);
        y += 26;
    }
    tag(page, photograph_box, photograph_object);
    tag(page, graphic_box, graphic_object);
    tag(page, headline_box, text_object);
    tag(page, notes_box, text_object);
    return page;
}

}  // namespace examples
