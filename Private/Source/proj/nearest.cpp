// proj/nearest - the nearest point of a triangle (geometry)
//
// The formulas, and why they need no tolerance, are in Kernels/nearest_measure.h. They want the longest side first; the
// weights go back to the corners as the caller has them.

#include "Kernels/nearest_measure.h"
#include "Source/proj/proj_priv.h"
#include "Support/nearest_triangle.h"

#include "proj.h"

#include <cmath>

using namespace teska;

namespace
{

// Squares of lengths below this are 0, so that none has an infinite reciprocal.
constexpr double least_square = 1e-300;

using frame = triangle_frame<single_doubles>;

double square(const vec3 &a) { return dot(a, a); }
double reciprocal(const vec3 &side) { return square(side) > least_square ? 1.0 / square(side) : 0.0; }
vec3_of<single_doubles> single(const vec3 &a) { return {a.x, a.y, a.z}; }

// The number of the corner opposite to the longest side, the first of equals.
int apex_of(const triangle_corners &t)
{
    const double across[3] = {square(t.at[2] - t.at[1]), square(t.at[0] - t.at[2]), square(t.at[1] - t.at[0])};
    const int of_two = across[1] > across[0] ? 1 : 0;
    return across[2] > across[of_two] ? 2 : of_two;
}

frame frame_of(const triangle_corners &t, int apex)
{
    const vec3 &base = t.at[(apex + 1) % 3];
    const vec3 bottom = t.at[(apex + 2) % 3] - base;
    const vec3 left = t.at[apex] - base;
    const double per_bottom = reciprocal(bottom);
    const double slant = dot(left, bottom) * per_bottom;
    const vec3 height = left - slant * bottom;
    return {.base = single(base),
            .bottom = single(bottom),
            .left = single(left),
            .height = single(height),
            .slant = slant,
            .per_bottom = per_bottom,
            .per_left = reciprocal(left),
            .per_right = reciprocal(bottom - left),
            .per_height = reciprocal(height)};
}

}  // namespace

namespace teska
{

nearest_on_triangle nearest_of_triangle(const triangle_corners &t, const vec3 &q) noexcept
{
    const int apex = apex_of(t);
    const triangle_measure<single_doubles> m(frame_of(t, apex), single(q));
    const double nearest = m.nearest();
    double at_apex = 0.0, at_base = 0.0, at_end = 0.0;
    if (!m.beside) {
        at_apex = m.at_apex;
        at_base = m.at_base;
        at_end = m.at_end;
    } else if (nearest == m.bottom) {
        at_base = 1.0 - m.along_bottom;
        at_end = m.along_bottom;
    } else if (nearest == m.left) {
        at_base = 1.0 - m.along_left;
        at_apex = m.along_left;
    } else {
        at_apex = 1.0 - m.along_right;
        at_end = m.along_right;
    }
    const int base = (apex + 1) % 3, end = (apex + 2) % 3;
    nearest_on_triangle found;
    found.distance = std::sqrt(nearest);
    found.weight[apex] = at_apex;
    found.weight[base] = at_base;
    found.weight[end] = at_end;
    // A corner comes out as it is.
    if (at_apex == 1.0)
        found.point = t.at[apex];
    else if (at_end == 1.0)
        found.point = t.at[end];
    else
        found.point = t.at[base] + (at_end * (t.at[end] - t.at[base]) + at_apex * (t.at[apex] - t.at[base]));
    return found;
}

void put_triangle(const triangle_corners &t, nearest_packet &packet, int lane) noexcept
{
    const frame f = frame_of(t, apex_of(t));
    const auto put = [lane](double(&to)[3][4], const vec3_of<single_doubles> &from) {
        to[0][lane] = from.x;
        to[1][lane] = from.y;
        to[2][lane] = from.z;
    };
    put(packet.base, f.base);
    put(packet.bottom, f.bottom);
    put(packet.left, f.left);
    put(packet.height, f.height);
    packet.slant[lane] = f.slant;
    packet.per_bottom[lane] = f.per_bottom;
    packet.per_left[lane] = f.per_left;
    packet.per_right[lane] = f.per_right;
    packet.per_height[lane] = f.per_height;
}

}  // namespace teska

int proj_nearest_triangle(const double tri[9], const double q[3], ProjResult *r, double *dist) TESKA_NOTHROW
{
    const nearest_on_triangle found = nearest_of_triangle({{vertex(tri), vertex(tri, 1), vertex(tri, 2)}}, vertex(q));
    store(found.point, r->point);
    for (int i = 0; i < 3; ++i)
        r->weight[i] = found.weight[i];
    if (dist != nullptr)
        *dist = found.distance;
    return 0;
}
