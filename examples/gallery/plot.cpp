// plot - drawings with two axes, as SVG text for a page

#include "gallery/plot.h"

#include "gallery/html.h"

#include <cmath>

namespace examples
{

namespace
{

// Room for the numbers of the axes, and for dots on the edges.
constexpr double left = 34;
constexpr double below = 24;
constexpr double edge = 8;

std::string numbered(double value, int digits) { return decimals(value == 0 ? 0 : value, digits); }

}  // namespace

plot::plot(range x, range y, double width, double height) : x_(x), y_(y), width_(width), height_(height) {}

void plot::grid(double x_step, double y_step, int digits)
{
    constexpr double rounding = 1e-9;
    for (double i = std::ceil(x_.lo / x_step - rounding); i * x_step <= x_.hi + rounding; ++i)
        axes_ += expanded(R"(<path class="grid" d="M{x} 0V{h}"/><text class="x" x="{x}" y="{at}">{value}</text>)",
                          {{"x", decimals(across(i * x_step), 1)},
                           {"h", decimals(height_, 1)},
                           {"at", decimals(height_ + 17, 1)},
                           {"value", numbered(i * x_step, digits)}});
    for (double i = std::ceil(y_.lo / y_step - rounding); i * y_step <= y_.hi + rounding; ++i)
        axes_ += expanded(R"(<path class="grid" d="M0 {y}H{w}"/><text class="y" x="-7" y="{at}">{value}</text>)",
                          {{"y", decimals(down(i * y_step), 1)},
                           {"w", decimals(width_, 1)},
                           {"at", decimals(down(i * y_step) + 4, 1)},
                           {"value", numbered(i * y_step, digits)}});
}

std::string plot::place(const xy &at) const { return decimals(across(at.x), 1) + " " + decimals(down(at.y), 1); }

void plot::path(const std::vector<xy> &points, const std::string &kind, const char *end)
{
    std::string way;
    for (const xy &at : points) {
        way += way.empty() ? 'M' : 'L';
        way += place(at);
    }
    inside_ += expanded("<path class=\"{kind}\" d=\"{way}{end}\"/>\n", {{"kind", kind}, {"way", way}, {"end", end}});
}

void plot::dot(const xy &at, double radius, const std::string &kind, const std::string &title)
{
    if (at.x < x_.lo || at.x > x_.hi || at.y < y_.lo || at.y > y_.hi)
        return;
    above_ +=
        expanded(R"(<circle class="{kind}" cx="{x}" cy="{y}" r="{r}">{title}</circle>
)",
                 {{"kind", kind},
                  {"x", decimals(across(at.x), 1)},
                  {"y", decimals(down(at.y), 1)},
                  {"r", decimals(radius, 1)},
                  {"title", title.empty() ? "" : expanded("<title>{title}</title>", {{"title", escaped(title)}})}});
}

void plot::label(const xy &at, double dx, double dy, const std::string &text, const std::string &kind)
{
    above_ += expanded(R"(<text class="{kind}" x="{x}" y="{y}">{text}</text>
)",
                       {{"kind", kind},
                        {"x", decimals(across(at.x) + dx, 1)},
                        {"y", decimals(down(at.y) + dy, 1)},
                        {"text", escaped(text)}});
}

std::string plot::svg(const std::string &label) const
{
    return expanded(R"(<svg class="plot" viewBox="{left} {top} {w} {h}" role="img" aria-label="{label}">
{axes}
<svg width="{inner_w}" height="{inner_h}">
{inside}</svg>
{above}</svg>
)",
                    {{"left", decimals(-left, 0)},
                     {"top", decimals(-edge, 0)},
                     {"w", decimals(width_ + left + edge, 0)},
                     {"h", decimals(height_ + below + edge, 0)},
                     {"label", escaped(label)},
                     {"axes", axes_},
                     {"inner_w", decimals(width_, 1)},
                     {"inner_h", decimals(height_, 1)},
                     {"inside", inside_},
                     {"above", above_}});
}

}  // namespace examples
