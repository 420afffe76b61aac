// fitted_curve - y of x by points: straight lines or a smooth curve through them, or one Bezier segment near them
//
//     fitted_curve tone(path, fit_kind::cubic, points);
//     tone.value(0.5);                                  the end values go on outside of the points
//     tone.invert();
//     tone.value(0.5);                                  x where y is 0.5

#ifndef TESKA_TOOL_FITTED_CURVE_H
#define TESKA_TOOL_FITTED_CURVE_H

#include "interp_double.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool
{

enum class fit_kind { lines, cubic, bezier };

class fitted_curve
{
public:
    using point = std::array<double, 2>;

    // At least two points, x strictly rising. Throws a failure about the file when there is no such fit, as when a
    // Bezier segment turns back in x.
    fitted_curve(const std::string &file, fit_kind kind, const std::vector<point> &points);

    // From now on x by y. Throws a failure that tells the first x where y turns or stands still.
    void invert();

    [[nodiscard]] double value(double at) const;

    // Points of the curve: at the x of those it was made of, in the order of what value() takes.
    [[nodiscard]] std::vector<point> points() const;

    // Of a Bezier segment: the largest distance of a point upwards or downwards; the largest one to the place of the
    // curve that belongs to the point, as the fit itself tells it; the control points.
    [[nodiscard]] double vertical_miss() const { return vertical_miss_; }
    [[nodiscard]] double parametric_miss() const { return parametric_miss_; }
    [[nodiscard]] const std::array<point, 4> &control_points() const { return segments_.front(); }

private:
    using segment = std::array<point, 4>;
    struct kills {
        void operator()(lin_interp_double *record) const { lin_interp_double_kill(record); }
    };
    using lines = std::unique_ptr<lin_interp_double, kills>;

    [[nodiscard]] lines lines_through(const std::vector<point> &points) const;
    [[nodiscard]] std::optional<double> turn() const;
    void fit_cubics();
    void fit_bezier();
    [[nodiscard]] double other(std::size_t axis, double value) const;

    std::string file_;
    fit_kind kind_;
    std::vector<point> points_;
    bool inverse_ = false;
    lines lines_;                    // straight ones
    std::vector<segment> segments_;  // else: cubic Bezier segments, one after the other
    double vertical_miss_ = 0;
    double parametric_miss_ = 0;
};

}  // namespace tool

#endif
