// delta_e - the difference of two colours as the eye sees it, CIEDE2000

#include "delta_e.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tool
{

namespace
{

// Hues that are opposite exactly may come out a little further apart; the mean hue jumps there.
constexpr double half_turn = 180 + 1e-9;

double degrees(double radians) { return radians * 180 / std::numbers::pi; }
double radians(double degrees) { return degrees * std::numbers::pi / 180; }

double hue(double a, double b)
{
    if (a == 0 && b == 0)
        return 0;
    const double angle = degrees(std::atan2(b, a));
    return angle < 0 ? angle + 360 : angle;
}

double mean_hue(double first, double second, bool gray)
{
    const double sum = first + second;
    if (gray)
        return sum;
    if (std::abs(first - second) <= half_turn)
        return sum / 2;
    return sum < 360 ? (sum + 360) / 2 : (sum - 360) / 2;
}

double hue_step(double first, double second, bool gray)
{
    if (gray)
        return 0;
    const double step = second - first;
    if (step > half_turn)
        return step - 360;
    return step < -half_turn ? step + 360 : step;
}

// sqrt(c^7 / (c^7 + 25^7))
double high_chroma(double chroma)
{
    const double seventh = std::pow(chroma, 7);
    return std::sqrt(seventh / (seventh + 6103515625.0));
}

}  // namespace

double delta_e_2000(const lab_colour &first, const lab_colour &second)
{
    const double mean_chroma = (std::hypot(first[1], first[2]) + std::hypot(second[1], second[2])) / 2;
    const double stretch = 1 + 0.5 * (1 - high_chroma(mean_chroma));
    const double a1 = stretch * first[1];
    const double a2 = stretch * second[1];
    const double chroma1 = std::hypot(a1, first[2]);
    const double chroma2 = std::hypot(a2, second[2]);
    const double hue1 = hue(a1, first[2]);
    const double hue2 = hue(a2, second[2]);
    const bool gray = chroma1 * chroma2 == 0;

    const double lightness_step = second[0] - first[0];
    const double chroma_step = chroma2 - chroma1;
    const double hue_difference = 2 * std::sqrt(chroma1 * chroma2) * std::sin(radians(hue_step(hue1, hue2, gray)) / 2);

    const double lightness = (first[0] + second[0]) / 2;
    const double chroma = (chroma1 + chroma2) / 2;
    const double angle = mean_hue(hue1, hue2, gray);
    const double t = 1 - 0.17 * std::cos(radians(angle - 30)) + 0.24 * std::cos(radians(2 * angle)) +
                     0.32 * std::cos(radians(3 * angle + 6)) - 0.20 * std::cos(radians(4 * angle - 63));
    const double from_blue = (angle - 275) / 25;
    const double turn = 30 * std::exp(-from_blue * from_blue);
    const double from_middle = (lightness - 50) * (lightness - 50);
    const double lightness_weight = 1 + 0.015 * from_middle / std::sqrt(20 + from_middle);
    const double chroma_weight = 1 + 0.045 * chroma;
    const double hue_weight = 1 + 0.015 * chroma * t;
    const double rotation = -std::sin(radians(2 * turn)) * 2 * high_chroma(chroma);

    const double l = lightness_step / lightness_weight;
    const double c = chroma_step / chroma_weight;
    const double h = hue_difference / hue_weight;
    return std::sqrt(std::max(0.0, l * l + c * c + h * h + rotation * c * h));
}

}  // namespace tool
