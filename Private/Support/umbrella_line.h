// umbrella_line - the straight line from the apex of an umbrella to its edge

#ifndef TESKA_SUPPORT_UMBRELLA_LINE_H
#define TESKA_SUPPORT_UMBRELLA_LINE_H

#include <cmath>

namespace teska
{

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

}  // namespace teska

#endif
