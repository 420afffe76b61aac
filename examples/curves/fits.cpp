// fits - curves through measured tones, and the searches for the bottom of a valley

#include "support/failure.h"
#include "support/foreign.h"

#include "bezierd_fit.h"
#include "condirmin.h"
#include "curves/job.h"
#include "dhsm.h"
#include "error_mess.h"

namespace examples
{

namespace
{

constexpr int steps = 20;  // of 5 per cent
constexpr int curve_points = 100;

// The light that an ink holds back, of a colour with the profile's white.
// ---- Tones and their fits -------------------------------------------------------------------------------------------

double light(const cmsCIELab &colour, std::size_t ink)
{
    cmsCIEXYZ xyz;
    cmsLab2XYZ(nullptr, &xyz, &colour);
    return ink == 0 ? xyz.X : ink == 2 ? xyz.Z : xyz.Y;
}

std::vector<xy> tone_points(const transform &print, std::size_t ink)
{
    std::vector<xy> points;
    for (int step = 0; step <= steps; ++step) {
        std::array<double, 4> plate{};
        plate[ink] = 100.0 * step / steps;
        cmsCIELab colour;
        print.run(plate.data(), &colour, 1);
        points.push_back({plate[ink], light(colour, ink)});
    }
    const double paper = points.front().y;
    const double solid = points.back().y;
    for (xy &p : points)
        p.y = 100.0 * (paper - p.y) / (paper - solid);
    return points;
}

tone_fit fitted(std::vector<xy> points)
{
    std::vector<double> xs, ys;
    for (const xy &p : points) {
        xs.push_back(p.x);
        ys.push_back(p.y);
    }
    const foreign<bezier, bezier_kill> b(bezier_new(3, 0, 0, 0, 0));
    tone_fit fit{std::move(points), {}, {}, 0, 0};
    double lse = 0;
    if (!b || bezier_fit(b.get(), steps + 1, xs.data(), ys.data(), 0, 0, 0, 0, 0, 0, &lse, &fit.largest_error, 0) != 1)
        throw failure("no curve fits the tones");
    bezier_get_control_poly(b.get(), xs.data(), ys.data());
    for (std::size_t i = 0; i < 4; ++i)
        fit.controls[i] = {xs[i], ys[i]};
    for (int i = 0; i <= curve_points; ++i) {
        xy &at = fit.curve.emplace_back();
        bezier_get(b.get(), 1.0 * i / curve_points, &at.x, &at.y);
    }
    std::array<double, 3> at_half{};
    if (bezier_get_y(b.get(), 50, at_half.data()) < 1)
        throw failure("the curve of a tone does not reach half ink");
    fit.gain = at_half[0] - 50;
    return fit;
}

// ---- The valley -----------------------------------------------------------------------------------------------------

double valley(void *asked, void *, const double *x)
{
    const double off = x[1] - x[0] * x[0];
    const double value = 100 * off * off + (1 - x[0]) * (1 - x[0]);
    static_cast<std::vector<question> *>(asked)->push_back({{x[0], x[1]}, value});
    return value;
}

constexpr std::array<double, 2> start = {-1.2, 1};
constexpr double tolerance = 1e-6;

}  // namespace

std::array<tone_fit, 4> run_tone_fits(const profile &press, colour_engine &engine)
{
    const transform print = engine.connect(
        {press, TYPE_CMYK_DBL, engine.lab(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct);
    std::array<tone_fit, 4> fits;
    for (std::size_t ink = 0; ink < fits.size(); ++ink)
        fits[ink] = fitted(tone_points(print, ink));
    return fits;
}

descent descend_by_simplex()
{
    descent d{};
    auto x = start;
    const foreign<dhsm, dhsm_kill> search(dhsm_new(valley, nullptr, 2));
    if (!search || dhsm_solve(search.get(), &d.asked, nullptr, tolerance, x.data(), 0, &d.least) != 0)
        throw failure("the simplex did not come to rest");
    d.found = {x[0], x[1]};
    return d;
}

descent descend_by_directions()
{
    descent d{};
    auto x = start;
    int passes = 0;
    teska_warn_level(1);  // no trace
    if (condirmin(x.data(), 2, tolerance, &passes, &d.least, valley, &d.asked, nullptr) != 1)
        throw failure("the directions did not come to rest");
    d.found = {x[0], x[1]};
    return d;
}

}  // namespace examples
