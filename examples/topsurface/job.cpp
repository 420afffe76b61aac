// job - umbrellas, drawn

#include "topsurface/job.h"

#include "support/failure.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace examples
{

namespace
{

constexpr int sampled_hues = 181;

using corners = double[3][3];

struct spot {
    double x, y;
};

double cross(const spot &a, const spot &b, double x, double y)
{
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

// Calls paint(x, y) for the pixels in a triangle of colours seen from above.
template <class Paint>
void for_pixels(const corners &lab, int size, const Paint &paint)
{
    spot p[3];
    for (int i = 0; i < 3; ++i)
        p[i] = {size * (0.5 + lab[i][1] / (2 * reach)), size * (0.5 - lab[i][2] / (2 * reach))};
    const double area = cross(p[0], p[1], p[2].x, p[2].y);
    if (area == 0)
        return;
    const auto [left, right] = std::minmax({p[0].x, p[1].x, p[2].x});
    const auto [top, bottom] = std::minmax({p[0].y, p[1].y, p[2].y});
    for (int y = std::max(0, static_cast<int>(top)); y <= std::min(size - 1.0, bottom); ++y)
        for (int x = std::max(0, static_cast<int>(left)); x <= std::min(size - 1.0, right); ++x)
            if (cross(p[0], p[1], x, y) / area >= 0 && cross(p[1], p[2], x, y) / area >= 0 &&
                cross(p[2], p[0], x, y) / area >= 0)
                paint(x, y);
}

void put(picture &image, int x, int y, const colour &rgb)
{
    if (x >= 0 && y >= 0 && x < image.width && y < image.height)
        std::transform(rgb.begin(), rgb.end(), image.line(y) + 3 * x, sample_of);
}

}  // namespace

device press_device(const profile &press, colour_engine &engine)
{
    const auto print = std::make_shared<transform>(engine.connect(
        {press, TYPE_CMYK_DBL, engine.lab(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct));
    return {"the press", 4, [print](const double *values, double *found) {
                double inks[4];
                std::transform(values, values + 4, inks, [](double v) { return 100 * (1 - v); });
                cmsCIELab lab;
                print->run(inks, &lab, 1);
                found[0] = lab.L;
                found[1] = lab.a;
                found[2] = lab.b;
            }};
}

umbrella::umbrella(device of, int levels) : device_(std::move(of))
{
    std::vector<double> steps;
    for (int i = 0; i < levels; ++i)
        steps.push_back(1.0 - static_cast<double>(i) / (levels - 1));
    const std::vector<const double *> of_each(static_cast<std::size_t>(device_.colorants), steps.data());
    const std::vector<int> counts(static_cast<std::size_t>(device_.colorants), levels);
    auto *list = const_cast<const double **>(of_each.data());
    surface_ = std::make_unique<TTriangularTopSurface>(device_.colorants, list, counts.data(), &device_, 0,
                                                       device::answer, sampled_hues, sampled_hues);
    if (surface_->ErrNo() != 0 || surface_->GetNrDifferentPrimCombs() == 0)
        throw failure(device_.name + " has no umbrella");
}

// ---- The edge -------------------------------------------------------------------------------------------------------

std::vector<edge_point> umbrella::edge()
{
    constexpr double degree = std::numbers::pi / 180;
    std::vector<edge_point> points;
    for (int hue = 0; hue < 360; ++hue) {
        double angle = 0;
        double lightness = 0;
        if (surface_->UmbrellaEdge(hue * degree, &angle, &lightness) != 0)
            throw failure("the umbrella has no edge");
        const double chroma = lightness * std::tan(angle);
        points.push_back({static_cast<double>(hue), angle / degree, lightness, chroma * std::cos(hue * degree),
                          chroma * std::sin(hue * degree)});
    }
    return points;
}

// ---- Seen from above ------------------------------------------------------------------------------------------------

picture umbrella::seen_from_above(int size)
{
    picture image(size, size, 3);
    std::fill(image.samples.begin(), image.samples.end(), sample_of(0.96));
    std::vector<double> inks(static_cast<std::size_t>(device_.colorants));
    corners lab;
    corners own;
    colour shade{};
    int part = -1;
    for (int more = surface_->ScanTriangles(1, lab, own); more >= 0; more = surface_->ScanTriangles(0, lab, own)) {
        if (part < 0 || more == 1) {
            surface_->GetPrimComb(++part, inks.data());
            std::replace_if(
                inks.begin(), inks.end(), [](double v) { return v < 0; }, 0.3);
            colour found;
            device_.convert(inks.data(), found.data());
            shade = screen_of_lab(found);
        }
        for_pixels(lab, size, [&](int x, int y) { put(image, x, y, shade); });
    }
    for (int more = surface_->ScanMaskedTriangles(1, lab); more >= 0; more = surface_->ScanMaskedTriangles(0, lab))
        for_pixels(lab, size, [&](int x, int y) {
            if ((x + y) % 8 < 2)
                put(image, x, y, {0.2, 0.2, 0.2});
        });
    const std::vector<edge_point> rim = edge();
    constexpr int dots = 24;  // from point to point
    for (std::size_t i = 0; i < dots * rim.size(); ++i) {
        const edge_point &p = rim[i / dots], &q = rim[(i / dots + 1) % rim.size()];
        const double t = static_cast<double>(i % dots) / dots;
        const int x = static_cast<int>(size * (0.5 + (p.a + t * (q.a - p.a)) / (2 * reach)));
        const int y = static_cast<int>(size * (0.5 - (p.b + t * (q.b - p.b)) / (2 * reach)));
        for (int k = 0; k < 4; ++k)
            put(image, x + k % 2, y + k / 2, {0.1, 0.1, 0.1});
    }
    return image;
}

// ---- Penalties ------------------------------------------------------------------------------------------------------

picture umbrella::penalties(double hue, int width, int height)
{
    picture image(width, height, 3);
    const double angle = hue * std::numbers::pi / 180;
    std::vector<double> lab(3 * static_cast<std::size_t>(width));
    std::vector<double> norm(lab.size());
    std::vector<double> cost(static_cast<std::size_t>(width));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double chroma = 2 * reach * x / (width - 1) - reach;
            double *at = &lab[3 * static_cast<std::size_t>(x)];
            at[0] = 100 - 99.9 * y / (height - 1);
            at[1] = chroma * std::cos(angle);
            at[2] = chroma * std::sin(angle);
        }
        if (surface_->DetermineNormCoord(lab.data(), norm.data(), cost.data(), width) != 0)
            throw failure("the umbrella has no coordinates");
        for (int x = 0; x < width; ++x) {
            const auto i = static_cast<std::size_t>(x);
            const double paid = -cost[i];
            if (paid <= 0) {
                put(image, x, y, screen_of_lab({lab[3 * i], lab[3 * i + 1], lab[3 * i + 2]}));
                continue;
            }
            const bool line = x > 0 && std::floor(paid * 4) != std::floor(-cost[i - 1] * 4);
            const double grey = line ? 0.4 : 0.95 - 0.3 * std::min(paid, 1.5);
            put(image, x, y, {grey, grey, grey});
        }
    }
    return image;
}

}  // namespace examples
