// plot - a small picture with axes and numbers, and a scene of triangles: what commands draw of bodies of colours

#ifndef TESKA_TOOL_PLOT_H
#define TESKA_TOOL_PLOT_H

#include "delta_e.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool
{

class job;
class output_file;

// A picture of 8-bit RGB, white at first.
class plot
{
public:
    using pixel = std::array<std::uint8_t, 3>;

    plot(int width, int height);

    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }
    pixel &at(int x, int y)
    {
        return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x)];
    }

    // Digits, "-" and "L", 3 by 5 dots each.
    void write(int x, int y, const std::string &text);

    // Axes of a square of 256 units, -128 .. 128 both ways, with marks and numbers at 50 and 100; the square's upper
    // left corner, and pixels in a unit.
    void draw_axes(int left, int top, int scale);

    // As a PNG that says sRGB; publishing is left.
    void write_png(job &work, output_file &file) const;

private:
    int width_;
    int height_;
    std::vector<pixel> pixels_;
};

// Triangles of corners by their index, with a colour (0 .. 1) for each corner or for each triangle.
struct scene {
    std::vector<lab_colour> corners;
    std::vector<std::array<int, 3>> triangles;
    std::vector<lab_colour> colours;
    bool of_corners;
};

// The scene as VRML 2.0, its coordinates being L, a, b, with the axes as three bars.
std::string vrml_text(const scene &shown);

}  // namespace tool

#endif
