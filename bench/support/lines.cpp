#include "support/lines.h"

#include <cmath>
#include <random>

namespace bench
{

namespace
{

using std::size_t;

std::uint8_t byte(std::mt19937 &random) { return static_cast<std::uint8_t>(random() >> 24); }

std::vector<std::uint8_t> smooth_line(std::mt19937 &random, int channels)
{
    constexpr int distance = 64;
    std::vector<std::uint8_t> line;
    std::vector<int> from(static_cast<size_t>(channels));
    std::vector<int> to(static_cast<size_t>(channels));
    for (int &value : to)
        value = byte(random);
    for (int p = 0; p < line_pixels; ++p) {
        const int place = p % distance;
        if (place == 0) {
            from = to;
            for (int &value : to)
                value = byte(random);
        }
        for (size_t c = 0; c < from.size(); ++c)
            line.push_back(static_cast<std::uint8_t>(from[c] + (to[c] - from[c]) * place / distance));
    }
    return line;
}

std::vector<std::uint8_t> graphics_line(std::mt19937 &random, int channels)
{
    std::vector<std::uint8_t> line;
    std::vector<std::uint8_t> colour(static_cast<size_t>(channels));
    for (int p = 0, left = 0; p < line_pixels; ++p, --left) {
        if (left == 0) {
            left = byte(random) + 1;
            for (std::uint8_t &value : colour)
                value = byte(random);
        }
        line.insert(line.end(), colour.begin(), colour.end());
    }
    return line;
}

}  // namespace

const char *name(Texture texture)
{
    switch (texture) {
    case Texture::random:
        return "random";
    case Texture::smooth:
        return "smooth";
    case Texture::graphics:
        break;
    }
    return "graphics";
}

std::vector<std::uint8_t> make_line(Texture texture, int channels)
{
    std::mt19937 random(static_cast<unsigned>(channels));
    if (texture == Texture::smooth)
        return smooth_line(random, channels);
    if (texture == Texture::graphics)
        return graphics_line(random, channels);
    std::vector<std::uint8_t> line(static_cast<size_t>(line_pixels * channels));
    for (std::uint8_t &value : line)
        value = byte(random);
    return line;
}

std::vector<std::uint8_t> make_grid(int points, int inputs, int outputs)
{
    std::vector<std::uint8_t> grid;
    std::vector<int> at(static_cast<size_t>(inputs), 0);
    for (size_t d = 0; d < at.size();) {
        for (int c = 0; c < outputs; ++c) {
            // Each output follows one input, bent, and gives way a little to the others.
            double value = 0;
            for (int k = 0; k < inputs; ++k) {
                const double x = static_cast<double>(at[static_cast<size_t>(k)]) / (points - 1);
                value += (k == c % inputs ? 0.7 : 0.3 / inputs) * std::pow(x, 1.0 + 0.3 * c);
            }
            grid.push_back(static_cast<std::uint8_t>(std::lround(255 * std::min(value, 1.0))));
        }
        for (d = at.size(); d > 0 && ++at[d - 1] == points; --d)
            at[d - 1] = 0;
        d = d == 0 ? at.size() : 0;
    }
    return grid;
}

}  // namespace bench
