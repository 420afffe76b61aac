// bezier - segments and chains with any coefficients: points on them, where they meet lines, halves, chains through
// points
//
// An input is a degree, control points and a parameter, or points of a chain, all any numbers.

#include "bezier.h"

#include "error_mess.h"
#include "fuzz/target.h"
#include "p_bezierd_base.h"

#include <algorithm>
#include <cmath>
#include <memory>

using fuzz::expect;

namespace
{

using Numbers = std::vector<double>;
using Segment = std::unique_ptr<bezier, int (*)(bezier *)>;
using Chain = std::unique_ptr<poly_bezier, poly_bezier *(*)(poly_bezier *)>;

bool all_below(const Numbers &numbers, double limit)
{
    return std::all_of(numbers.begin(), numbers.end(), [=](double v) { return std::fabs(v) < limit; });
}

// A curve stays in the box of its control points; a little more, because it is searched a little beyond its ends.
void expect_in_range(const double *found, int count, const Numbers &control)
{
    const auto [low, high] = std::minmax_element(control.begin(), control.end());
    const double margin = 0.01 * (*high - *low) + 1e-6;
    for (int i = 0; i < count; ++i)
        expect(found[i] >= *low - margin && found[i] <= *high + margin);
}

void segment(fuzz::Input &input)
{
    const int degree = input.byte() < 240 ? 2 + input.below(3) : input.integer();
    const Segment b(bezier_new(degree, input.number(), input.number(), input.number(), input.number()), bezier_kill);
    expect((b != nullptr) == (degree >= 2 && degree <= 4));
    if (b == nullptr)
        return;
    const Numbers xs = input.numbers(degree + 1), ys = input.numbers(degree + 1);
    const double t = input.number();
    bezier_set_control_poly(b.get(), xs.data(), ys.data());
    const bool plain = all_below(xs, 200) && all_below(ys, 200);
    double x = 0, y = 0;
    expect(bezier_get(b.get(), t, &x, &y) == 1);
    expect(!plain || !(std::fabs(t) < 2) || (std::isfinite(x) && std::isfinite(y)));

    const std::vector<std::pair<decltype(&bezier_get_y), int>> searches = {
        {bezier_get_y, 3}, {bezier_get_x, 3}, {bezier_fget_y, 4}, {bezier_fget_x, 4}};
    for (const auto &[search, room] : searches) {
        Numbers found(static_cast<std::size_t>(room));
        const int count = search(b.get(), input.number(), found.data());
        expect(count >= 0 && count <= (degree == 4 || room == 3 ? room : 3));
        if (plain && room == 3)
            expect_in_range(found.data(), count, search == bezier_get_y ? ys : xs);
    }

    bezier *halves[2];
    expect(bezier_subdivide(b.get(), t, &halves[0], &halves[1]) == (t >= 0 && t <= 1 && degree < 4 ? 1 : 0));
    const Segment first(halves[0], bezier_kill), second(halves[1], bezier_kill);
    if (first != nullptr && plain) {
        double joint[2], end[2];
        bezier_get_endp(first.get(), 1, &joint[0], &joint[1]);
        bezier_get_endp(second.get(), 0, &end[0], &end[1]);
        expect(std::fabs(joint[0] - x) < 1e-9 && std::fabs(joint[1] - y) < 1e-9);
        expect(joint[0] == end[0] && joint[1] == end[1]);
    }
    // Through what were the control points.
    expect(bezier_cpoly_det(b.get(), xs.data(), ys.data()) == 1);
    for (int i = 0; i <= degree && plain; ++i) {
        bezier_get(b.get(), 1.0 * i / degree, &x, &y);
        expect(std::fabs(x - xs[static_cast<std::size_t>(i)]) < 1e-8);
        expect(std::fabs(y - ys[static_cast<std::size_t>(i)]) < 1e-8);
    }
}

void ask(const Chain &chain, fuzz::Input &input)
{
    double box[4], line[4], x = 0, y = 0, u = 0;
    poly_bezier_box(chain.get(), box);
    poly_bezier_get(chain.get(), input.number(), &x, &y);
    poly_bezier_slope(chain.get(), input.number(), &x, &y);
    poly_bezier_at_length(chain.get(), poly_bezier_length(chain.get(), input.number(), input.number()));
    std::generate_n(line, 4, [&] { return input.number(); });
    Numbers us(2);
    poly_bezier_line(chain.get(), line, us.data(), 2);
    poly_bezier_winding(chain.get(), line[0], line[1]);
    const bool finite = std::isfinite(line[0]) && std::isfinite(line[1]);
    expect(poly_bezier_nearest(chain.get(), line[0], line[1], &u, &x) == (finite ? 1 : 0));
    bezier_kill(poly_bezier_get_bezier(chain.get(), input.integer()));
}

void chain(fuzz::Input &input)
{
    const int n = input.below(10);
    const Numbers xs = input.numbers(n), ys = input.numbers(n);
    const double bound = input.number(), corner = input.number();
    const int closed = input.below(2);
    const bool plain = all_below(xs, 200) && all_below(ys, 200);
    const Chain fit(poly_bezier_fit(n, xs.data(), ys.data(), bound, corner, closed), poly_bezier_kill);
    const Chain spline(poly_bezier_spline(n, xs.data(), ys.data(), closed), poly_bezier_kill);
    const Chain rising(poly_bezier_monotone(n, xs.data(), ys.data()), poly_bezier_kill);
    for (const Chain *one : {&fit, &spline, &rising})
        if (*one != nullptr)
            ask(*one, input);
    for (std::size_t i = 0; i < xs.size() && plain; ++i) {
        double u = 0, dist = 0, y = 0;
        if (fit != nullptr && bound > 1e-6)
            expect(poly_bezier_nearest(fit.get(), xs[i], ys[i], &u, &dist) == 1 && dist <= bound * (1 + 1e-6));
        if (spline != nullptr)
            expect(poly_bezier_nearest(spline.get(), xs[i], ys[i], &u, &dist) == 1 && dist < 1e-9);
        if (rising == nullptr || i == 0)
            continue;
        const double between = xs[i - 1] + (xs[i] - xs[i - 1]) * input.byte() / 255;
        expect(poly_bezier_get_y(rising.get(), between, &y) >= 1);
        expect(y >= std::min(ys[i - 1], ys[i]) - 1e-9 && y <= std::max(ys[i - 1], ys[i]) + 1e-9);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    error_set(0);
    fuzz::Input input{data, size};
    (input.below(2) == 0 ? segment : chain)(input);
    return 0;
}
