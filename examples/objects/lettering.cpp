// lettering - letters drawn with a round pen

#include "support/failure.h"

#include "objects/page.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace examples
{

namespace
{

constexpr double pen = 0.95;     // width of a stroke, units
constexpr double between = 1.9;  // from the right edge of a letter to the next, units
constexpr double blank = 2.6;    // width of a blank, units

// Strokes are divided by '/'; two digits are a point: units to the right of the left edge and below the top.
struct letter {
    char name;
    const char *strokes;
};
constexpr letter letters[] = {
    {'A', "062046/1434"},
    {'B', "00063645443303/3342413000"},
    {'C', "4130100105163645"},
    {'E', "40000646/0333"},
    {'G', "41301001051636454323"},
    {'H', "0006/4046/0343"},
    {'I', "0006"},
    {'K', "0006/400346"},
    {'L', "000636"},
    {'N', "06004640"},
    {'O', "103041453616050110"},
    {'P', "06003041423303"},
    {'R', "06003041423303/2346"},
    {'S', "413010010213334445361605"},
    {'T', "0040/2026"},
    {'U', "000516364540"},
    {'X', "0046/4006"},
    {'Y', "002340/2326"},
    {',', "1507"},
    {':', "02/06"},
};

struct point {
    double x, y;
};

struct segment {
    point from, to;
};

double distance(const segment &line, double x, double y)
{
    const double dx = line.to.x - line.from.x, dy = line.to.y - line.from.y;
    const double square = dx * dx + dy * dy;
    const double along = square > 0 ? ((x - line.from.x) * dx + (y - line.from.y) * dy) / square : 0;
    const double t = std::clamp(along, 0.0, 1.0);
    return std::hypot(x - line.from.x - t * dx, y - line.from.y - t * dy);
}

const char *strokes_of(char name)
{
    for (const letter &one : letters)
        if (one.name == name)
            return one.strokes;
    throw failure(std::string("no letter ") + name);
}

// In pixels; a dot is a segment without length. x moves on to the next letter.
std::vector<segment> segments_of(char name, double &x, double y, double unit)
{
    std::vector<segment> lines;
    double widest = 0;
    bool begins = true;
    point last{};
    for (const char *at = strokes_of(name); *at != '\0'; begins = *at == '/', at += begins ? 1 : 2) {
        if (*at == '/')
            continue;
        const double right = at[0] - '0';
        const point next = {x + right * unit, y + (at[1] - '0') * unit};
        lines.push_back({begins ? next : last, next});
        last = next;
        widest = std::max(widest, right);
    }
    x += (widest + between) * unit;
    return lines;
}

// The pen covers a pixel as far as its edge is beyond the pixel's centre.
void darken(picture &page, const std::vector<segment> &lines, double half_pen)
{
    point low = lines[0].from, high = low;
    for (const segment &line : lines) {
        low = {std::min(low.x, line.to.x), std::min(low.y, line.to.y)};
        high = {std::max(high.x, line.to.x), std::max(high.y, line.to.y)};
    }
    const double margin = half_pen + 1;
    const int left = std::max(static_cast<int>(low.x - margin), 0), top = std::max(static_cast<int>(low.y - margin), 0);
    const int right = std::min(static_cast<int>(high.x + margin) + 1, page.width);
    const int bottom = std::min(static_cast<int>(high.y + margin) + 1, page.height);
    for (int y = top; y < bottom; ++y)
        for (int x = left; x < right; ++x) {
            double nearest = std::numeric_limits<double>::infinity();
            for (const segment &line : lines)
                nearest = std::min(nearest, distance(line, x + 0.5, y + 0.5));
            const double light = 1 - std::clamp(half_pen + 0.5 - nearest, 0.0, 1.0);
            unsigned char *pixel = page.line(y) + x * page.channels;
            for (int c = 0; c < page.channels; ++c)
                pixel[c] = static_cast<unsigned char>(std::lround(light * pixel[c]));
        }
}

}  // namespace

void draw_text(picture &page, double x, double y, double unit, const std::string &text)
{
    for (const char name : text)
        if (name == ' ')
            x += blank * unit;
        else
            darken(page, segments_of(name, x, y, unit), pen * unit / 2);
}

}  // namespace examples
