// cie - between screen colours and CIELAB, by formula

#ifndef EXAMPLES_CIE_H
#define EXAMPLES_CIE_H

#include <algorithm>
#include <array>
#include <cmath>

namespace examples
{

using colour = std::array<double, 3>;

// The transfer curve of IEC 61966-2-1, both ways, 0 .. 1.
inline double linear_light(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
inline double encoded_light(double v) { return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055; }

// CIE 15; the white of the screen is L = 100.
inline colour lab_of_screen(const colour &rgb)
{
    const auto root = [](double t) { return t > 216.0 / 24389 ? std::cbrt(t) : (24389.0 / 27 * t + 16) / 116; };
    const double r = linear_light(rgb[0]), g = linear_light(rgb[1]), b = linear_light(rgb[2]);
    const double fx = root((0.4124 * r + 0.3576 * g + 0.1805 * b) / 0.9505);
    const double fy = root(0.2126 * r + 0.7152 * g + 0.0722 * b);
    const double fz = root((0.0193 * r + 0.1192 * g + 0.9505 * b) / 1.089);
    return {116 * fy - 16, 500 * (fx - fy), 200 * (fy - fz)};
}

// Not cut: below 0 and above 1 is beyond what the screen shows.
inline colour screen_of_lab(const colour &lab)
{
    const auto cube = [](double f) { return f > 6.0 / 29 ? f * f * f : (116 * f - 16) * 27 / 24389; };
    const double fy = (lab[0] + 16) / 116;
    const double x = 0.9505 * cube(fy + lab[1] / 500), y = cube(fy), z = 1.089 * cube(fy - lab[2] / 200);
    return {encoded_light(3.2406 * x - 1.5372 * y - 0.4986 * z), encoded_light(-0.9689 * x + 1.8758 * y + 0.0415 * z),
            encoded_light(0.0557 * x - 0.2040 * y + 1.0570 * z)};
}

// 0 .. 1 as a byte, cut.
inline unsigned char sample_of(double v)
{
    return static_cast<unsigned char>(std::lround(255 * std::clamp(v, 0.0, 1.0)));
}

}  // namespace examples

#endif
