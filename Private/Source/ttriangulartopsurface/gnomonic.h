// gnomonic - flat triangles of colours as the origin sees them
//
// A colour (V, h1, h2) lies in the direction (x, y) = (h1, h2) / V at the nearness q = 1 / V. In this plane a flat
// triangle of colours is a flat triangle again, and q is affine on it:
//
//     q(x, y) = q0 + gx (x - x0) + gy (y - y0)             farther along the ray  <=>  smaller q
//
// so what hides what is arithmetic of convex polygons. A point with the plane weights m_i is the colour with the
// weights m_i q_i / q; neither colours nor device values may be mixed with the plane weights.
//
// What keeps the arithmetic together: lines have unit normals; distances below `touch` are none; corners closer than
// that are one; shorter edges do not cut. Without it edges of length 1e-15 get arbitrary normals, and the pieces of a
// triangle no longer add up to it.

#ifndef TESKA_TOPSURFACE_GNOMONIC_H
#define TESKA_TOPSURFACE_GNOMONIC_H

#include "Source/ttriangulartopsurface/indexed.h"
#include "Support/vec.h"

#include <array>
#include <cstddef>

namespace teska::gnomonic
{

constexpr double touch = 1e-11;

// Hues are measured by these, cut as the interface promises.
constexpr double half_circle = 3.1415926535;
constexpr double full_circle = 6.283185307;

// Hue of a direction, 0 .. 2 pi; 0 on the vertical axis. Its distance from there, tan(teta), is its length.
double hue_of(const vec2 &direction);

struct box {
    double left, right, bottom, top;
};

bool overlap(const box &a, const box &b);

// A directed line; its inside is where the distance is positive.
struct line {
    vec2 through;
    vec2 normal;    // of length 1
    double offset;  // distance of `through`

    [[nodiscard]] double distance(const vec2 &p) const
    {
        const double d = dot(normal, p - through) + offset;
        return d < touch && d > -touch ? 0.0 : d;
    }
};

// A convex polygon, anticlockwise, of at most `room` corners; further ones are left out, which only makes it smaller.
class polygon
{
public:
    static constexpr int room = 16;

    [[nodiscard]] int size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }
    const vec2 &operator[](int i) const { return corners_[static_cast<std::size_t>(i)]; }
    [[nodiscard]] const vec2 &after(int i) const { return (*this)[i + 1 < count_ ? i + 1 : 0]; }
    [[nodiscard]] double area() const;
    [[nodiscard]] box bounds() const;
    // The smallest distance of a point from the edges, positive inside.
    [[nodiscard]] double depth(const vec2 &p) const;

    // Adds a corner after the others unless it lies on the last one.
    void add(const vec2 &p);
    // Ends adding: fewer than three corners are no polygon.
    void close();

private:
    std::array<vec2, room> corners_;
    int count_ = 0;
};

// The line along an edge, inside to its left. False: the edge is too short to have one.
bool line_along(const vec2 &a, const vec2 &b, line &result);

// What of a polygon lies on either side of a line.
struct halves {
    polygon inside, outside;
};
halves cut(const polygon &shape, const line &along);

// A triangle of colours in the plane.
struct facet {
    std::array<vec2, 3> corner;  // anticlockwise
    std::array<double, 3> q;
    vec2 slope;      // of q
    double doubled;  // twice the area
    double qmax;
    box bounds;

    [[nodiscard]] double nearness(const vec2 &p) const
    {
        return q[0] + slope.x * (p.x - corner[0].x) + slope.y * (p.y - corner[0].y);
    }
    // Plane weights of the corners.
    [[nodiscard]] std::array<double, 3> weights(const vec2 &p) const;
    [[nodiscard]] bool holds(const vec2 &p, double tolerance) const;
    [[nodiscard]] polygon shape() const;
};

// Twice the area of a triangle, positive when it runs anticlockwise.
constexpr double doubled_area(const vec2 &a, const vec2 &b, const vec2 &c) { return cross(b - a, c - a); }

// Corners must run anticlockwise and have an area.
facet make_facet(const std::array<vec2, 3> &corner, const std::array<double, 3> &q);

// The common piece of a polygon and a facet.
polygon intersect(const polygon &shape, const facet &f);

// The piece of a polygon on `under` that `over` hides: where q_under - q_over + lead >= 0.
polygon hidden_piece(const polygon &shape, const facet &under, const facet &over, double lead);

// Adds what is left of a polygon without a convex one to a list.
void subtract(const polygon &shape, const polygon &convex, indexed<polygon> &rest);

// Boxes in a binary tree: which ones overlap a given one is found without looking at all.
class box_tree
{
public:
    void build(const indexed<box> &all);
    // The indices of the overlapping boxes in ascending order.
    void find(const box &wanted, indexed<int> &found) const;

private:
    struct node {
        box bounds;
        int begin, end;  // of the indices below
        int right;       // the second child, the first one follows directly; 0: a leaf
    };
    void grow(int begin, int end);

    indexed<box> boxes_;
    indexed<int> index_;
    indexed<node> nodes_;
};

}  // namespace teska::gnomonic

#endif
