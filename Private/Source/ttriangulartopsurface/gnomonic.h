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

#include <array>
#include <cstddef>
#include <vector>

namespace teska::gnomonic
{

constexpr double touch = 1e-11;

struct point {
    double x, y;
};

struct box {
    double left, right, bottom, top;
};

bool overlap(const box &a, const box &b);

// A directed line; its inside is where the distance is positive.
struct line {
    point through;
    point normal;   // of length 1
    double offset;  // distance of `through`

    [[nodiscard]] double distance(point p) const
    {
        const double d = normal.x * (p.x - through.x) + normal.y * (p.y - through.y) + offset;
        return d < touch && d > -touch ? 0.0 : d;
    }
};

// A convex polygon, anticlockwise, of at most `room` corners; further ones are left out, which only makes it smaller.
class polygon
{
public:
    static constexpr int room = 16;

    [[nodiscard]] int size() const { return count; }
    [[nodiscard]] bool empty() const { return count == 0; }
    const point &operator[](int i) const { return corner[static_cast<std::size_t>(i)]; }
    [[nodiscard]] const point &after(int i) const { return (*this)[i + 1 < count ? i + 1 : 0]; }
    [[nodiscard]] double area() const;
    [[nodiscard]] box bounds() const;
    // The smallest distance of a point from the edges, positive inside.
    [[nodiscard]] double depth(point p) const;

    // Puts a corner behind the others unless it lies on the last one.
    void add(point p);
    // Ends adding: fewer than three corners are no polygon.
    void close();

private:
    std::array<point, room> corner;
    int count = 0;
};

// The line along an edge, inside to its left. False: the edge is too short to have one.
bool line_along(point a, point b, line *result);

// The parts of a polygon inside and outside of a line; either pointer may be null.
void cut(const polygon &shape, const line &along, polygon *inside, polygon *outside);

// A triangle of colours in the plane.
struct facet {
    std::array<point, 3> corner;  // anticlockwise
    std::array<double, 3> q;
    point slope;     // of q
    double doubled;  // twice the area
    double qmax;
    box bounds;

    [[nodiscard]] double nearness(point p) const
    {
        return q[0] + slope.x * (p.x - corner[0].x) + slope.y * (p.y - corner[0].y);
    }
    // Plane weights of the corners.
    [[nodiscard]] std::array<double, 3> weights(point p) const;
    [[nodiscard]] bool holds(point p, double tolerance) const;
    [[nodiscard]] polygon shape() const;
};

// Twice the area of a triangle, positive when it runs anticlockwise.
double doubled_area(point a, point b, point c);

// Corners must run anticlockwise and have an area.
facet make_facet(const std::array<point, 3> &corner, const std::array<double, 3> &q);

// The common piece of a polygon and a facet.
polygon intersect(const polygon &shape, const facet &f);

// The piece of a polygon on `under` that `over` hides: where q_under - q_over + lead >= 0.
polygon hidden_piece(const polygon &shape, const facet &under, const facet &over, double lead);

// Adds what is left of a polygon without a convex one to a list.
void subtract(const polygon &shape, const polygon &convex, std::vector<polygon> *rest);

// Boxes in a binary tree: which ones overlap a given one is found without looking at all.
class box_tree
{
public:
    void build(const std::vector<box> &all);
    // The indices of the overlapping boxes in ascending order.
    void find(const box &wanted, std::vector<int> *found) const;

private:
    struct node {
        box bounds;
        int begin, end;  // of the indices below
        int right;       // the second child, the first one follows directly; 0: a leaf
    };
    void grow(int begin, int end);

    std::vector<box> boxes;
    std::vector<int> index;
    std::vector<node> nodes;
};

}  // namespace teska::gnomonic

#endif
