// tetra/hull - convex hull of a set of points, as triangles that know their neighbours (geometry)
//
// The hull grows by one corner at a time from a tetrahedron of extreme points. Each triangle keeps the points that lie
// beyond it, more than the tolerance away, and no point is kept twice. The farthest of them becomes the next corner:
//
//     seen      the triangles beyond whose plane it lies, decided exactly (Support/orient.h)
//     border    the sides between seen and unseen triangles, one closed loop
//     new       one triangle per side, up to the point; the points of the seen ones are distributed among these
//
// With exact signs the body is convex after each step, triangles in one plane side by side included. The border is then
// a simple loop: what a point sees, planes through it not counted, is also what is seen from a place just below it,
// which lies in no plane, and that is a disc. Nor has any triangle corners in a line: a point on the line of a side
// lies in the planes of both triangles there and sees neither.
//
// The tolerance decides only which points become corners: those that lie in a face of the hull but for rounding do not,
// so there are no needles along the sides of the face. Taking the farthest, and among those the one farthest from the
// first corner, finds the true corners of a face before the points within it.
//
// Source: Barber, Dobkin and Huhdanpaa, The Quickhull Algorithm for Convex Hulls, ACM Transactions on Mathematical
// Software 22, 1996, p. 472. Cost: O(n log n) for points in no particular order.

#include "Source/tetra/hull.h"

#include "Support/memory.h"
#include "Support/orient.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace teska::tetra
{

namespace
{

constexpr double relative_tolerance = 1e-9;  // of the largest coordinate: what decimal input leaves of a plane

struct face {
    hull_triangle sides;
    vec3 normal;  // of length 1
    int outside;  // the first of the points that it keeps; none
    bool seen;    // by the point that is being added
    bool gone;
};

struct border_side {
    int from, to;     // corners
    int beyond;       // the face that stays
    int beyond_side;  // its side
    int made;         // the new face
};

class hull_builder
{
public:
    hull_builder(const vec3 *points, double tolerance) : points_(points), tolerance_(tolerance) {}

    bool build(int nr_points, const growing<int> &chosen);
    bool store(growing<hull_triangle> &hull);

private:
    const vec3 &at(int point) const { return points_[point]; }

    template <class Measure>
    int farthest(int first, int from, Measure measure) const;
    bool start(int first, bool &flat);
    bool make_first(const int *corner, int first);
    int spread_in_plane(int first, const int *corner) const;
    face face_of(int a, int b, int c) const;
    double height(const face &f, int point) const { return dot(f.normal, at(point) - at(f.sides.corner[0])); }
    bool sees(int point, const face &f) const;
    bool assign(int f, int point);
    void release(int f, int point);
    int face_below(int point, const int *faces, int nr_faces) const;
    bool distribute(int first, const int *faces, int nr_faces);
    bool add(int point, int through);
    bool find_border(int point, int through);
    bool replace_seen(int point);
    void join();

    const vec3 *points_;
    double tolerance_;
    growing<face> faces_;
    growing<int> waiting_;  // faces that keep points
    growing<int> seen_;
    growing<border_side> border_;
    growing<int> new_faces_;
    heap_block<int> next_;     // of each point: the next one that its face keeps
    heap_block<int> side_at_;  // of each corner of the border: the side that starts there
};

// The point of a chain with the largest measure; among those within the tolerance of it, the one farthest from a point.
template <class Measure>
int hull_builder::farthest(int first, int from, Measure measure) const
{
    double most = -1.0;
    for (int p = first; p != none; p = next_[p])
        most = std::max(most, measure(p));
    int best = none;
    double best_length = -1.0;
    for (int p = first; p != none; p = next_[p]) {
        if (measure(p) < most - tolerance_)
            continue;
        const double l = length(at(p) - at(from));
        if (l > best_length) {
            best = p;
            best_length = l;
        }
    }
    return best;
}

face hull_builder::face_of(int a, int b, int c) const
{
    const vec3 n = cross(at(b) - at(a), at(c) - at(a));
    const double l = length(n);
    const vec3 unit = l > 0.0 ? n / l : vec3{0.0, 0.0, 0.0};
    return {.sides = {{a, b, c}, {none, none, none}}, .normal = unit, .outside = none, .seen = false, .gone = false};
}

bool hull_builder::sees(int point, const face &f) const
{
    const int *c = f.sides.corner;
    return orientation(at(c[0]), at(c[1]), at(c[2]), at(point)) > 0;
}

// The point farthest from the line through two corners.
int hull_builder::spread_in_plane(int first, const int *corner) const
{
    const vec3 along = at(corner[1]) - at(corner[0]);
    const double l = length(along);
    const vec3 unit = along / l;
    const auto off_line = [&](int p) { return length(cross(unit, at(p) - at(corner[0]))); };
    const int best = farthest(first, corner[0], off_line);
    return off_line(best) > tolerance_ ? best : none;
}

// The first tetrahedron, of points as far from each other as can be; `flat` when there is none.
bool hull_builder::start(int first, bool &flat)
{
    flat = true;
    const auto from = [this](int p) { return [this, p](int q) { return length(at(q) - at(p)); }; };
    int corner[4];
    corner[0] = farthest(first, first, from(first));
    corner[1] = farthest(first, corner[0], from(corner[0]));
    if (!(length(at(corner[1]) - at(corner[0])) > tolerance_))
        return true;
    corner[2] = spread_in_plane(first, corner);
    if (corner[2] == none)
        return true;
    const face base = face_of(corner[0], corner[1], corner[2]);
    const auto off_plane = [&](int p) { return std::fabs(height(base, p)); };
    corner[3] = farthest(first, corner[0], off_plane);
    if (!(off_plane(corner[3]) > tolerance_))
        return true;
    const int side = orientation(at(corner[0]), at(corner[1]), at(corner[2]), at(corner[3]));
    if (side > 0)
        std::swap(corner[1], corner[2]);
    flat = side == 0;
    return flat || make_first(corner, first);
}

// The four faces of the first tetrahedron. False when memory is short.
bool hull_builder::make_first(const int *corner, int first)
{
    // The fourth point is on the inner side of the first face; across[k] is the face beyond the side that starts at
    // corner k.
    static constexpr hull_triangle shape[4] = {
        {{0, 1, 2}, {1, 2, 3}}, {{1, 0, 3}, {0, 3, 2}}, {{2, 1, 3}, {0, 1, 3}}, {{0, 2, 3}, {0, 2, 1}}};
    for (const hull_triangle &t : shape) {
        face f = face_of(corner[t.corner[0]], corner[t.corner[1]], corner[t.corner[2]]);
        std::copy(t.across, t.across + 3, f.sides.across);
        if (!faces_.push(f))
            return false;
    }
    static constexpr int all[4] = {0, 1, 2, 3};
    return distribute(first, all, 4);
}

// Puts a point first among those that a face keeps. False when memory is short.
bool hull_builder::assign(int f, int point)
{
    if (faces_[f].outside == none && !waiting_.push(f))
        return false;
    next_[point] = std::exchange(faces_[f].outside, point);
    return true;
}

void hull_builder::release(int f, int point)
{
    int *link = &faces_[f].outside;
    while (*link != point)
        link = &next_[*link];
    *link = next_[point];
}

// The first of some faces that a point lies beyond; none. A point near those faces, yet beyond none of them by the
// tolerance, may lie beyond any other face where the hull has a sharp edge.
int hull_builder::face_below(int point, const int *faces, int nr_faces) const
{
    double most = -HUGE_VAL;
    for (int i = 0; i < nr_faces; ++i) {
        most = std::max(most, height(faces_[faces[i]], point));
        if (most > tolerance_)
            return faces[i];
    }
    for (int f = 0; most > -tolerance_ && f < faces_.size(); ++f)
        if (!faces_[f].gone && height(faces_[f], point) > tolerance_)
            return f;
    return none;
}

// Each point of a chain is kept by a face that it lies beyond, if there is one. False when memory is short.
bool hull_builder::distribute(int first, const int *faces, int nr_faces)
{
    for (int p = first, next; p != none; p = next) {
        next = next_[p];
        const int f = face_below(p, faces, nr_faces);
        if (f != none && !assign(f, p))
            return false;
    }
    return true;
}

// The faces that a point sees are marked and listed, and so are the sides around them. False when memory is short.
bool hull_builder::find_border(int point, int through)
{
    seen_.clear();
    border_.clear();
    faces_[through].seen = true;
    if (!seen_.push(through))
        return false;
    for (int i = 0; i < seen_.size(); ++i) {
        const hull_triangle sides = faces_[seen_[i]].sides;
        for (const int f : sides.across) {
            if (faces_[f].seen || !sees(point, faces_[f]))
                continue;
            faces_[f].seen = true;
            if (!seen_.push(f))
                return false;
        }
    }
    for (const int f : seen_)
        for (int k = 0; k < 3; ++k) {
            const hull_triangle &sides = faces_[f].sides;
            const int other = sides.across[k];
            if (faces_[other].seen)
                continue;
            const int *back = std::find(faces_[other].sides.across, faces_[other].sides.across + 3, f);
            const border_side side{.from = sides.corner[k],
                                   .to = sides.corner[(k + 1) % 3],
                                   .beyond = other,
                                   .beyond_side = static_cast<int>(back - faces_[other].sides.across),
                                   .made = none};
            if (!border_.push(side))
                return false;
        }
    return true;
}

// Puts a new face on each side of the border, into the places of the faces that were seen as far as there are. False
// when memory is short.
bool hull_builder::replace_seen(int point)
{
    new_faces_.clear();
    for (int i = 0; i < border_.size(); ++i) {
        border_side &side = border_[i];
        face f = face_of(side.from, side.to, point);
        f.sides.across[0] = side.beyond;
        side.made = i < seen_.size() ? seen_[i] : faces_.size();
        if (side.made == faces_.size()) {
            if (!faces_.push(f))
                return false;
        } else {
            faces_[side.made] = f;
        }
        if (!new_faces_.push(side.made))
            return false;
    }
    // There are more new faces than seen ones only while few are seen.
    for (int i = border_.size(); i < seen_.size(); ++i)
        faces_[seen_[i]].gone = true;
    return true;
}

// Makes neighbours of the new faces and those around them.
void hull_builder::join()
{
    for (int i = 0; i < border_.size(); ++i)
        side_at_[border_[i].from] = i;
    for (const border_side &side : border_) {
        faces_[side.beyond].sides.across[side.beyond_side] = side.made;
        const int after = border_[side_at_[side.to]].made;
        faces_[side.made].sides.across[1] = after;
        faces_[after].sides.across[2] = side.made;
    }
}

// Makes a point a corner. False when memory is short.
bool hull_builder::add(int point, int through)
{
    if (!find_border(point, through))
        return false;
    // Chains the points of the seen faces, but for the new corner.
    int orphans = none;
    for (const int f : seen_)
        for (int p = faces_[f].outside, next; p != none; p = next) {
            next = next_[p];
            if (p == point)
                continue;
            next_[p] = orphans;
            orphans = p;
        }
    if (!replace_seen(point))
        return false;
    join();
    return distribute(orphans, new_faces_.begin(), new_faces_.size());
}

// False when memory is short.
bool hull_builder::build(int nr_points, const growing<int> &chosen)
{
    next_ = zeroed_block<int>(static_cast<std::size_t>(nr_points));
    side_at_ = zeroed_block<int>(static_cast<std::size_t>(nr_points));
    if (!next_ || !side_at_)
        return false;
    int first = none;
    for (int i = chosen.size() - 1; i >= 0; --i) {
        next_[chosen[i]] = first;
        first = chosen[i];
    }
    bool flat = false;
    if (!start(first, flat))
        return false;
    while (!flat && waiting_.size() > 0) {
        const int f = waiting_.last();
        waiting_.pop();
        if (faces_[f].gone || faces_[f].outside == none)
            continue;
        const int first_corner = faces_[f].sides.corner[0];
        const int point = farthest(faces_[f].outside, first_corner, [&](int p) { return height(faces_[f], p); });
        // The normal of a narrow triangle is not exact, but the sign is: a point that is not beyond it after all is no
        // corner.
        if (!sees(point, faces_[f])) {
            release(f, point);
            if (faces_[f].outside != none && !waiting_.push(f))
                return false;
        } else if (!add(point, f)) {
            return false;
        }
    }
    return true;
}

// The faces that are left, numbered anew. False when memory is short.
bool hull_builder::store(growing<hull_triangle> &hull)
{
    growing<int> number;
    int count = 0;
    for (const face &f : faces_)
        if (!number.push(f.gone ? none : count++))
            return false;
    for (const face &f : faces_) {
        if (f.gone)
            continue;
        hull_triangle t = f.sides;
        for (int &across : t.across)
            across = number[across];
        if (!hull.push(t))
            return false;
    }
    return true;
}

}  // namespace

double hull_tolerance(const vec3 *points, const growing<int> &chosen) noexcept
{
    double largest = 0.0;
    for (const int i : chosen)
        largest = std::max({largest, std::fabs(points[i].x), std::fabs(points[i].y), std::fabs(points[i].z)});
    return relative_tolerance * largest;
}

bool convex_hull(const vec3 *points, int nr_points, const growing<int> &chosen, growing<hull_triangle> &hull) noexcept
{
    hull.clear();
    if (chosen.size() < 4)
        return true;
    hull_builder builder(points, hull_tolerance(points, chosen));
    return builder.build(nr_points, chosen) && builder.store(hull);
}

}  // namespace teska::tetra
