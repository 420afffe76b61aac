// pictures - planes through the colours of a chart: what prints, and what its convex hull promises in vain

#include "cloud/job.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace examples
{

namespace
{

constexpr double reach = 125;  // of a, b and chroma, from the middle of a picture to its edge

colour shade_of(const cloud &press, const colour &lab, int x, int y)
{
    if (lab[0] >= 0 && lab[0] <= 100 && press.hull_holds(lab)) {
        if (press.holds(lab))
            return screen_of_lab(lab);
        return (x + y) % 6 < 2 ? colour{0.75, 0.1, 0.1} : colour{1, 1, 1};
    }
    return {0.93, 0.93, 0.92};
}

template <class Place>
picture plane(const cloud &press, int width, int height, const Place &place)
{
    picture image(width, height, 3);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double across = reach * (2 * (x + 0.5) / width - 1), up = 1 - 2 * (y + 0.5) / height;
            const colour shade = shade_of(press, place(across, up), x, y);
            std::transform(shade.begin(), shade.end(), image.line(y) + 3 * x, sample_of);
        }
    return image;
}

}  // namespace

picture hollow_at_lightness(const cloud &press, double lightness, int size)
{
    return plane(press, size, size, [=](double across, double up) { return colour{lightness, across, reach * up}; });
}

picture hollow_at_hue(const cloud &press, double hue, int size)
{
    const double angle = hue * std::numbers::pi / 180;
    return plane(press, size, size * 2 / 5, [=](double across, double up) {
        return colour{50 + 50 * up, across * std::cos(angle), across * std::sin(angle)};
    });
}

double hollow_part(const cloud &press)
{
    constexpr double step = 4;
    long asked = 0, empty = 0;
    for (double l = 0; l <= 100; l += step)
        for (double a = -128; a < 128; a += step)
            for (double b = -128; b < 128; b += step)
                if (const colour lab = {l, a, b}; press.hull_holds(lab)) {
                    ++asked;
                    empty += press.holds(lab) ? 0 : 1;
                }
    return asked == 0 ? 0 : static_cast<double>(empty) / static_cast<double>(asked);
}

}  // namespace examples
