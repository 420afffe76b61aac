// outline - a closed row of points as a chain of cubics

#include "support/failure.h"
#include "support/foreign.h"

#include "curves/job.h"
#include "p_bezierd_base.h"

#include <algorithm>
#include <cstdlib>

namespace examples
{

fitted_outline fit_outline(const std::vector<xy> &points, double bound, double corner)
{
    std::vector<double> x, y;
    for (const xy &p : points) {
        x.push_back(p.x);
        y.push_back(p.y);
    }
    const foreign<poly_bezier, poly_bezier_kill> chain(
        poly_bezier_fit(static_cast<int>(points.size()), x.data(), y.data(), bound, corner, 1));
    if (!chain)
        throw_report();

    fitted_outline made{};
    for (int i = 0; i < poly_bezier_num(chain.get()); ++i) {
        double xs[4], ys[4];
        const int degree = poly_bezier_segment(chain.get(), i, xs, ys);
        std::vector<xy> &controls = made.segments.emplace_back();
        for (int k = 0; k <= degree; ++k)
            controls.push_back({xs[k], ys[k]});
    }
    for (const xy &p : points) {
        double distance = 0;
        poly_bezier_nearest(chain.get(), p.x, p.y, nullptr, &distance);
        made.farthest = std::max(made.farthest, distance);
    }
    double *vertices = nullptr;
    const int sections = poly_bezier_vector(chain.get(), bound / 10, &vertices);
    for (int i = 0; i <= sections; ++i)
        made.curve.push_back({vertices[2 * i], vertices[2 * i + 1]});
    std::free(vertices);
    made.length = poly_bezier_length(chain.get(), 0, poly_bezier_num(chain.get()));
    made.area = poly_bezier_area(chain.get());
    return made;
}

}  // namespace examples
