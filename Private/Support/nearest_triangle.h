// nearest_triangle - the point of a triangle that is nearest to a query point, and what a search for it takes
//
// Both by the formulas of Kernels/nearest_measure.h, so that the distance is the one by which a search chooses a
// triangle. In Source/proj/nearest.cpp.
//
// Used by convex_hull, proj and tetra.

#ifndef TESKA_SUPPORT_NEAREST_TRIANGLE_H
#define TESKA_SUPPORT_NEAREST_TRIANGLE_H

#include "Kernels/nearest_kernels.h"
#include "Support/vec.h"

namespace teska
{

// A triangle by its corners in their order.
struct triangle_corners {
    vec3 at[3];
};

struct nearest_on_triangle {
    vec3 point;
    double distance;
    double weight[3];  // of the corners
};

nearest_on_triangle nearest_of_triangle(const triangle_corners &t, const vec3 &q) noexcept;

// Puts a triangle into a lane of a packet.
void put_triangle(const triangle_corners &t, nearest_packet &packet, int lane) noexcept;

}  // namespace teska

#endif
