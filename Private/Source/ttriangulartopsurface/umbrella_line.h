// umbrella_line - the straight line from the apex of an umbrella to its edge, and the edge for many colours

#ifndef TESKA_TOPSURFACE_UMBRELLA_LINE_H
#define TESKA_TOPSURFACE_UMBRELLA_LINE_H

#include "Support/memory.h"

#include "interp_double.h"

#include <cmath>
#include <cstddef>

namespace teska
{

constexpr double knots_apart = 1e-7;     // of the edge, in phir: nearer ones are one
constexpr double largest_edge = 1.5707;  // of teta, in radians: just below a right angle

// The edge at one hue: its angle from the vertical axis and its height.
struct edge_point {
    double tetamax;
    double height;
};

// Height of the line where its points have the angle of which the tangent is given.
inline double height_at_tangent(double tangent, edge_point edge, double apex)
{
    return apex / (tangent * (apex - edge.height) / (std::tan(edge.tetamax) * edge.height) + 1.0);
}

inline double height_at(double teta, edge_point edge, double apex)
{
    return height_at_tangent(std::tan(teta), edge, apex);
}

// A colour's height by that of the line at its angle, tangent = radius / vertical. A colour that is nearly black has a
// tangent beyond all numbers: its share then follows from where it is below the line, height = apex - fall * radius.
inline double share_of_line(double vertical, double radius, double tangent, edge_point edge, double apex)
{
    const double height = height_at_tangent(tangent, edge, apex);
    if (std::abs(height) > 0.0 || std::isnan(tangent))
        return vertical / height;
    const double fall = (apex - edge.height) / (std::tan(edge.tetamax) * edge.height);
    return (fall > 0.0 ? vertical + radius * fall : vertical) / apex;
}

// The two curves of an edge laid out for a run of colours: both are evaluated at the knots that a hue's cell leads to,
// with the bits of lin_interp_double_inextp.
class edge_curve
{
public:
    // False: no memory, or curves that are not such a pair; the caller then evaluates them one by one.
    bool load(const lin_interp_double *tetamax, const lin_interp_double *height) noexcept
    {
        count_ = lin_interp_double_num(tetamax);
        if (count_ < 2 || lin_interp_double_num(height) != count_)
            return false;
        const auto size = static_cast<std::size_t>(count_);
        knots_ = zeroed_block<knot>(size);
        cells_ = zeroed_block<int>(size + 1);
        if (!knots_ || !cells_)
            return false;
        for (int i = 0; i < count_; ++i) {
            knot &k = knots_[i];
            double same = 0.0;
            if (lin_interp_double_getp(tetamax, i, &k.x, &k.edge.tetamax) != 0 ||
                lin_interp_double_getp(height, i, &same, &k.edge.height) != 0 || same != k.x || !(k.x >= 0.0) ||
                !(k.x <= 1.0) || (i > 0 && !(k.x - knots_[i - 1].x > least_distance)))
                return false;
        }
        for (int cell = 0, i = 0; cell <= count_; ++cell) {
            while (i < count_ && cell_of(knots_[i].x) < cell)
                ++i;
            cells_[cell] = i;
        }
        return true;
    }

    // x in 0 .. 1
    [[nodiscard]] edge_point at(double x) const noexcept
    {
        int i = cells_[cell_of(x)];
        while (i < count_ && knots_[i].x <= x)
            ++i;
        if (i == 0 || i == count_)
            return knots_[i == 0 ? 0 : count_ - 1].edge;
        const knot &right = knots_[i];
        const knot &left = knots_[i - 1];
        const auto line = [&](double y, double y_left) {
            return y + ((x - right.x) * (y_left - y)) / (left.x - right.x);
        };
        return {line(right.edge.tetamax, left.edge.tetamax), line(right.edge.height, left.edge.height)};
    }

private:
    static constexpr double least_distance = 1e-20;
    struct knot {
        double x;
        edge_point edge;
    };
    [[nodiscard]] int cell_of(double x) const noexcept { return static_cast<int>(x * count_); }

    int count_ = 0;
    heap_block<knot> knots_;
    heap_block<int> cells_;  // the first knot in each cell or after it
};

}  // namespace teska

#endif
