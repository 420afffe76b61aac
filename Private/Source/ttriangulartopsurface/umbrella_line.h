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

// The two curves of an edge laid out for a run of colours: a place is found from the number of its cell, and both
// curves are evaluated there, with the bits of lin_interp_double_inextp.
class edge_curve
{
public:
    // False: no memory, or curves that are not such a pair; the caller then evaluates them one by one.
    bool load(const lin_interp_double *tetamax, const lin_interp_double *height) noexcept
    {
        count = lin_interp_double_num(tetamax);
        if (count < 2 || lin_interp_double_num(height) != count)
            return false;
        const auto size = static_cast<std::size_t>(count);
        knots = zeroed_block<knot>(size);
        cells = zeroed_block<int>(size + 1);
        if (!knots || !cells)
            return false;
        for (int i = 0; i < count; ++i) {
            knot &k = knots[static_cast<std::size_t>(i)];
            double same = 0.0;
            if (lin_interp_double_getp(tetamax, i, &k.x, &k.edge.tetamax) != 0 ||
                lin_interp_double_getp(height, i, &same, &k.edge.height) != 0 || same != k.x || !(k.x >= 0.0) ||
                !(k.x <= 1.0) || (i > 0 && !(k.x - knots[static_cast<std::size_t>(i - 1)].x > least_distance)))
                return false;
        }
        for (int cell = 0, i = 0; cell <= count; ++cell) {
            while (i < count && cell_of(knots[static_cast<std::size_t>(i)].x) < static_cast<std::size_t>(cell))
                ++i;
            cells[static_cast<std::size_t>(cell)] = i;
        }
        return true;
    }

    // x in 0 .. 1
    [[nodiscard]] edge_point at(double x) const noexcept
    {
        int i = cells[cell_of(x)];
        while (i < count && knots[static_cast<std::size_t>(i)].x <= x)
            ++i;
        if (i == 0 || i == count)
            return knots[static_cast<std::size_t>(i == 0 ? 0 : count - 1)].edge;
        const knot &right = knots[static_cast<std::size_t>(i)];
        const knot &left = knots[static_cast<std::size_t>(i - 1)];
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
    [[nodiscard]] std::size_t cell_of(double x) const noexcept { return static_cast<std::size_t>(x * count); }

    int count = 0;
    heap_block<knot> knots;
    heap_block<int> cells;  // the first knot in each cell or behind it
};

}  // namespace teska

#endif
