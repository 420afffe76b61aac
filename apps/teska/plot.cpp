// plot - a small picture with axes and numbers, and a scene of triangles: what commands draw of bodies of colours

#include "plot.h"

#include "frame/text.h"
#include "pictures/formats.h"

#include <string_view>
#include <tuple>

namespace tool
{

namespace
{

constexpr int units = 256;  // along an axis
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

std::string triple(const lab_colour &values, int digits)
{
    return fixed_text(values[0], digits) + " " + fixed_text(values[1], digits) + " " + fixed_text(values[2], digits);
}

}  // namespace

plot::plot(int width, int height)
    : width_(width), height_(height),
      pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), pixel{255, 255, 255})
{
}

void plot::write(int x, int y, const std::string &text)
{
    for (const char sign : text) {
        const std::string_view dots = dots_of(sign);
        for (int i = 0; i < digit_width * digit_height; ++i)
            if (dots[static_cast<std::size_t>(i)] == '#')
                at(x + i % digit_width, y + i / digit_width) = {0, 0, 0};
        x += digit_width + 1;
    }
}

void plot::draw_axes(int left, int top, int scale)
{
    const int side = units * scale;
    const int middle = side / 2;
    for (int i = 0; i < side; ++i) {
        at(left + i, top + middle) = at(left + middle, top + i) = {128, 128, 128};
        at(left + i, top) = at(left, top + i) = {192, 192, 192};
    }
    for (const int value : {-100, -50, 50, 100}) {
        for (int i = -2; i <= 2; ++i) {
            at(left + middle + value * scale, top + middle + i) = {0, 0, 0};
            at(left + middle + i, top + middle - value * scale) = {0, 0, 0};
        }
        const std::string text = std::to_string(value);
        write(left + middle + value * scale - 2 * static_cast<int>(text.size()), top + middle + 5, text);
        write(left + middle + 5, top + middle - value * scale - 2, text);
    }
}

void plot::write_png(job &work, output_file &file) const
{
    const std::unique_ptr<picture_writer> png = make_png(work, file);
    page_facts page;
    page.width = static_cast<std::uint32_t>(width_);
    page.height = static_cast<std::uint32_t>(height_);
    page.said_srgb = true;
    png->begin_page(page);
    png->write_lines(pixels_.front().data(), page.height);
    png->end_page();
    png->finish();
}

std::string vrml_text(const scene &shown)
{
    std::string text = "#VRML V2.0 utf8\n";
    for (const auto &[place, size, colour] :
         {std::tuple{"50 0 0", "100 1 1", "1 1 1"}, {"0 0 0", "1 256 1", "1 0 0"}, {"0 0 0", "1 1 256", "1 1 0"}})
        text += std::string("Transform { translation ") + place +
                " children Shape { appearance Appearance { material Material { diffuseColor " + colour +
                " } } geometry Box { size " + size + " } } }\n";
    text += "Shape {\nappearance Appearance { material Material { } }\ngeometry IndexedFaceSet {\nsolid FALSE\n";
    text += std::string("colorPerVertex ") + (shown.of_corners ? "TRUE" : "FALSE") + "\ncoord Coordinate { point [\n";
    for (const lab_colour &corner : shown.corners)
        text += triple(corner, 4) + ",\n";
    text += "] }\ncoordIndex [\n";
    for (const auto &face : shown.triangles)
        text += std::to_string(face[0]) + " " + std::to_string(face[1]) + " " + std::to_string(face[2]) + " -1,\n";
    text += "]\ncolor Color { color [\n";
    for (const lab_colour &colour : shown.colours)
        text += triple(colour, 3) + ",\n";
    return text + "] }\n}\n}\n";
}

}  // namespace tool
