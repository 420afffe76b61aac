// fitted_curve - y of x by points: straight lines or a smooth curve through them, or one Bezier segment near them

#include "fitted_curve.h"

#include "bezierd_fit.h"
#include "frame/failure.h"
#include "frame/text.h"
#include "p_bezierd_base.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace tool
{

namespace
{

using segment = std::array<fitted_curve::point, 4>;

constexpr double largest = 1e100;  // products of three of them are still numbers

double at(const segment &piece, std::size_t axis, double t)
{
    const double s = 1 - t;
    return s * s * s * piece[0][axis] + 3 * s * s * t * piece[1][axis] + 3 * s * t * t * piece[2][axis] +
           t * t * t * piece[3][axis];
}

// The first t where a coordinate stops going one way, 1 up and -1 down; empty when it goes so throughout. Where it only
// stands still for a moment it goes on.
std::optional<double> first_turn(const segment &piece, std::size_t axis, double way)
{
    // The derivative is d0 (1 - t)^2 + 2 d1 (1 - t) t + d2 t^2, but for a factor.
    const double d0 = way * (piece[1][axis] - piece[0][axis]);
    const double d1 = way * (piece[2][axis] - piece[1][axis]);
    const double d2 = way * (piece[3][axis] - piece[2][axis]);
    const double root = d1 * d1 - d0 * d2;
    if (d0 < 0 || !(way * (piece[3][axis] - piece[0][axis]) > 0))
        return 0;
    if (root > 0 && (d1 < 0 || d2 < 0))
        return d0 / (d0 - d1 + std::sqrt(root));
    return std::nullopt;
}

std::array<std::vector<double>, 2> coordinates(const std::vector<fitted_curve::point> &points)
{
    std::array<std::vector<double>, 2> lists;
    for (const fitted_curve::point &p : points) {
        lists[0].push_back(p[0]);
        lists[1].push_back(p[1]);
    }
    return lists;
}

segment segment_of(const double *x, const double *y)
{
    return {{{x[0], y[0]}, {x[1], y[1]}, {x[2], y[2]}, {x[3], y[3]}}};
}

}  // namespace

fitted_curve::fitted_curve(const std::string &file, fit_kind kind, const std::vector<point> &points)
    : file_(file), kind_(kind), points_(points)
{
    if (kind == fit_kind::lines) {
        lines_ = lines_through(points);
        return;
    }
    for (const point &p : points)
        if (std::abs(p[0]) > largest || std::abs(p[1]) > largest)
            throw failure(file, "its numbers are too large for a fit");
    if (kind == fit_kind::cubic)
        fit_cubics();
    else
        fit_bezier();
    for (const point &p : points)
        vertical_miss_ = std::max(vertical_miss_, std::abs(value(p[0]) - p[1]));
}

fitted_curve::lines fitted_curve::lines_through(const std::vector<point> &points) const
{
    lines made(lin_interp_double_new(static_cast<int>(points.size()), nullptr));
    if (!made)
        throw_report(file_);
    for (const point &p : points)
        if (lin_interp_double_insert(made.get(), p[0], p[1]) != 0)
            throw_report(file_);
    return made;
}

void fitted_curve::fit_cubics()
{
    const auto [xs, ys] = coordinates(points_);
    const std::unique_ptr<poly_bezier, decltype(&poly_bezier_kill)> chain(
        poly_bezier_monotone(static_cast<int>(xs.size()), xs.data(), ys.data()), poly_bezier_kill);
    if (!chain)
        throw_report(file_);
    for (int i = 0; i < poly_bezier_num(chain.get()); ++i) {
        double x[4];
        double y[4];
        poly_bezier_segment(chain.get(), i, x, y);
        segments_.push_back(segment_of(x, y));
    }
}

void fitted_curve::fit_bezier()
{
    const auto [xs, ys] = coordinates(points_);
    const std::unique_ptr<bezier, decltype(&bezier_kill)> fit(bezier_new(3, 0, 0, 0, 0), bezier_kill);
    double square = 0;
    if (!fit || bezier_fit(fit.get(), static_cast<int>(xs.size()), xs.data(), ys.data(), 0, 0, 0, 0, 0, 0, &square,
                           &parametric_miss_, 0) != 1)
        throw_report(file_);
    double x[4];
    double y[4];
    bezier_get_control_poly(fit.get(), x, y);
    segments_.push_back(segment_of(x, y));
    const auto within = [](const point &p) { return std::abs(p[0]) <= largest && std::abs(p[1]) <= largest; };
    if (!std::all_of(segments_[0].begin(), segments_[0].end(), within))
        throw failure(file_, "no Bezier segment comes near its points", "--fit cubic goes through them");
    if (const std::optional<double> t = first_turn(segments_[0], 0, 1))
        throw failure(file_, "the Bezier segment turns back at x " + number_text(at(segments_[0], 0, *t)),
                      "--fit cubic goes through the points");
}

std::optional<double> fitted_curve::turn() const
{
    if (kind_ == fit_kind::bezier) {
        const segment &whole = segments_.front();
        const std::optional<double> t = first_turn(whole, 1, whole[3][1] < whole[0][1] ? -1 : 1);
        return t ? std::optional(at(whole, 0, *t)) : std::nullopt;
    }
    const bool rises = points_[1][1] > points_[0][1];
    for (std::size_t i = 1; i < points_.size(); ++i)
        if (points_[i][1] == points_[i - 1][1] || (points_[i][1] > points_[i - 1][1]) != rises)
            return points_[i - 1][0];
    return std::nullopt;
}

void fitted_curve::invert()
{
    if (const std::optional<double> x = turn())
        throw failure(file_, "y turns at x " + number_text(*x) + "; it has no inverse");
    inverse_ = true;
    if (kind_ == fit_kind::lines)
        lines_ = lines_through(points());
}

double fitted_curve::value(double at) const
{
    if (kind_ != fit_kind::lines)
        return other(inverse_ ? 1 : 0, at);
    double y = 0;
    if (lin_interp_double_inextp(lines_.get(), at, &y) != 0)
        throw_report(file_);
    return y;
}

std::vector<fitted_curve::point> fitted_curve::points() const
{
    std::vector<point> found = points_;
    if (kind_ == fit_kind::bezier)
        for (point &p : found)
            p[1] = other(0, p[0]);
    if (!inverse_)
        return found;
    for (point &p : found)
        std::swap(p[0], p[1]);
    if (found.back()[0] < found.front()[0])
        std::reverse(found.begin(), found.end());
    return found;
}

double fitted_curve::other(std::size_t axis, double value) const
{
    const std::size_t wanted = 1 - axis;
    const point &first = segments_.front()[0];
    const point &last = segments_.back()[3];
    const double way = last[axis] < first[axis] ? -1 : 1;
    if (!(way * value > way * first[axis]))
        return first[wanted];
    if (way * value >= way * last[axis])
        return last[wanted];
    const auto piece = std::partition_point(segments_.begin(), segments_.end(),
                                            [&](const segment &before) { return way * before[3][axis] < way * value; });
    // The coordinate goes one way: halving finds where it has the value, to the last bit.
    double low = 0;
    double high = 1;
    for (double middle = 0.5; low < middle && middle < high; middle = (low + high) / 2)
        (way * at(*piece, axis, middle) < way * value ? low : high) = middle;
    return at(*piece, wanted, high);
}

}  // namespace tool
