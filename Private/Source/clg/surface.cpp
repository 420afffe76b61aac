// clg/surface - the triangles that may bound the colours of a model, and the nearest point on them (geometry)
//
// A triangle of the tiling has cells around it: one or two where three channels are free, a ring or a fan of them where
// four are. When corners of these cells lie on both sides of its plane, the colours go on on both sides. All others may
// bound the colours, and so the nearest of them has the nearest point for a colour outside. Sides are decided exactly
// (Support/orient.h).
//
// Source: C. Ericson, Real-Time Collision Detection, Morgan Kaufmann 2005, section 5.1.5.

#include "Source/clg/model.h"
#include "Support/orient.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace teska::cloud
{

namespace
{

// ---- Triangles of pentatopes ----------------------------------------------------------------------------------------

// Triangles with rising corners, and the sides on which corners of their cells were seen.
class triangle_table
{
public:
    // Room for so many triangles at least; false when memory is short.
    bool make(std::size_t most)
    {
        std::size_t size = 16;
        while (size < 2 * most)
            size *= 2;
        slots_ = zeroed_block<slot>(size);
        mask_ = size - 1;
        return static_cast<bool>(slots_);
    }

    // Calls visit with every triangle and its sides.
    template <class Visit>
    void each(const Visit &visit) const
    {
        for (std::size_t i = 0; i <= mask_; ++i)
            if (const std::uint64_t key = slots_[i].key - 1; slots_[i].key != 0)
                visit(triangle{{static_cast<int>(key >> 32), static_cast<int>(key >> 16 & 0xffff),
                                static_cast<int>(key & 0xffff)}},
                      slots_[i].sides);
    }

    // The sides of a triangle, as they were left.
    unsigned &sides(const triangle &t) const
    {
        const std::uint64_t key =
            ((static_cast<std::uint64_t>(t.corner[0]) << 16 | static_cast<unsigned>(t.corner[1])) << 16 |
             static_cast<unsigned>(t.corner[2])) +
            1;
        auto at = static_cast<std::size_t>((key * 0x9e3779b97f4a7c15U) >> 24) & mask_;
        while (slots_[at].key != 0 && slots_[at].key != key)
            at = (at + 1) & mask_;
        slots_[at].key = key;
        return slots_[at].sides;
    }

private:
    struct slot {
        std::uint64_t key;  // 0: none
        unsigned sides;
    };

    heap_block<slot> slots_;
    std::size_t mask_ = 0;
};

constexpr unsigned above = 1, below = 2, both = above | below;

class finder
{
public:
    finder(const tiles &cells, const point_list &points) : cells_(cells), points_(points) {}

    // Calls visit with every triangle of the surface, in the order of the cells.
    template <class Visit>
    void of_tetrahedra(const Visit &visit) const
    {
        for (int c = 0; c < cells_.count; ++c)
            for (int face = 0; face < 4; ++face) {
                const int next = cells_.next[4 * c + face];
                if (next >= 0 && next < c)
                    continue;
                const triangle t = face_of(corners(c), face);
                unsigned sides = side_of(t, corners(c)[face]);
                if (next >= 0)
                    sides |= side_of(t, opposite(next, c));
                if (sides != both)
                    visit(t);
            }
    }

    // The table gets the sides of all triangles.
    void look_at_pentatopes(const triangle_table &table) const
    {
        each_of_pentatopes([&](const triangle &t, int a, int b) {
            unsigned &sides = table.sides(t);
            if (sides != both)
                sides |= side_of(t, a);
            if (sides != both)
                sides |= side_of(t, b);
        });
    }

private:
    [[nodiscard]] const int *corners(int c) const
    {
        return cells_.corner.get() + static_cast<std::ptrdiff_t>(c) * (cells_.dims + 1);
    }

    static triangle sorted(int a, int b, int c)
    {
        if (a > b)
            std::swap(a, b);
        if (b > c)
            std::swap(b, c);
        if (a > b)
            std::swap(a, b);
        return {{a, b, c}};
    }

    static triangle face_of(const int *corner, int face)
    {
        return sorted(corner[(face + 1) % 4], corner[(face + 2) % 4], corner[(face + 3) % 4]);
    }

    // The corner of a tetrahedron that is opposite another one.
    [[nodiscard]] int opposite(int c, int other) const
    {
        int face = 0;
        while (cells_.next[4 * c + face] != other)
            ++face;
        return corners(c)[face];
    }

    [[nodiscard]] vec3 colour(int point) const
    {
        const vec3 &p = points_.colour[point];
        return {orient_coordinate(p.x), orient_coordinate(p.y), orient_coordinate(p.z)};
    }

    [[nodiscard]] unsigned side_of(const triangle &t, int point) const
    {
        const int side = orientation(colour(t.corner[0]), colour(t.corner[1]), colour(t.corner[2]), colour(point));
        return side > 0 ? above : side < 0 ? below : 0;
    }

    // Calls visit with the triangles of every cell and its two other corners.
    template <class Visit>
    void each_of_pentatopes(const Visit &visit) const
    {
        for (int c = 0; c < cells_.count; ++c) {
            const int *const k = corners(c);
            for (int a = 0; a < 4; ++a)
                for (int b = a + 1; b < 5; ++b) {
                    int rest[3];
                    for (int i = 0, n = 0; i < 5; ++i)
                        if (i != a && i != b)
                            rest[n++] = k[i];
                    visit(sorted(rest[0], rest[1], rest[2]), k[a], k[b]);
                }
        }
    }

    const tiles &cells_;
    const point_list &points_;
};

// With infinity the cells are a sphere of four dimensions, which has 2 (vertices + cells) - 4 triangles.
std::size_t most_triangles(const tiles &cells, int points)
{
    const auto size = static_cast<std::size_t>(cells.count) * 5;
    std::size_t sphere = static_cast<std::size_t>(cells.count) + static_cast<std::size_t>(points) + 1;
    for (std::size_t i = 0; i < size; ++i)
        sphere += cells.next[i] < 0 ? 1 : 0;
    return 2 * sphere;
}

// Calls search(visit) twice, to count and to store.
template <class Search>
bool collect(const Search &search, surface &found)
{
    int count = 0;
    search([&](const triangle &) { ++count; });
    found.triangles = zeroed_block<triangle>(static_cast<std::size_t>(count));
    if (!found.triangles)
        return false;
    search([&](const triangle &t) { found.triangles[found.count++] = t; });
    return true;
}

// ---- The nearest point ----------------------------------------------------------------------------------------------

void keep_nearer(const surface_place &found, surface_place &best)
{
    if (found.square < best.square || (found.square == best.square && found.triangle < best.triangle))
        best = found;
}

// The nearest point of a segment between two corners.
void try_side(const vec3 *corner, int a, int b, const vec3 &q, surface_place found, surface_place &best)
{
    const vec3 along = corner[b] - corner[a];
    const double size = dot(along, along);
    const double at = size > 0.0 ? std::clamp(dot(along, q - corner[a]) / size, 0.0, 1.0) : 0.0;
    found.weight[0] = found.weight[1] = found.weight[2] = 0.0;
    found.weight[a] = 1.0 - at;
    found.weight[b] = at;
    found.point = at < 1.0 ? corner[a] + at * along : corner[b];
    const vec3 apart = q - found.point;
    found.square = dot(apart, apart);
    keep_nearer(found, best);
}

// Above the triangle the foot of the perpendicular is the nearest, else a point of a side. The foot is only tried: in
// flat triangles it is not known well, but the sides are.
void try_triangle(const vec3 *corner, const vec3 &q, surface_place found, surface_place &best)
{
    const vec3 ab = corner[1] - corner[0], ac = corner[2] - corner[0], aq = q - corner[0];
    const vec3 normal = cross(ab, ac);
    const double size = dot(normal, normal);
    if (size > 0.0) {
        const double b = dot(normal, cross(aq, ac)) / size;
        const double c = dot(normal, cross(ab, aq)) / size;
        const double a = 1.0 - b - c;
        if (a >= 0.0 && b >= 0.0 && c >= 0.0) {
            found.weight[0] = a;
            found.weight[1] = b;
            found.weight[2] = c;
            found.point = corner[0] + (b * ab + c * ac);
            const vec3 apart = q - found.point;
            found.square = dot(apart, apart);
            keep_nearer(found, best);
        }
    }
    try_side(corner, 0, 1, q, found, best);
    try_side(corner, 0, 2, q, found, best);
    try_side(corner, 1, 2, q, found, best);
}

}  // namespace

bool find_surface(const tiles &cells, const point_list &points, surface &found) noexcept
{
    const finder all(cells, points);
    if (cells.dims == 3)
        return collect([&](const auto &visit) { all.of_tetrahedra(visit); }, found);
    if (cells.dims < 3)
        return collect(
            [&](const auto &visit) {
                for (int c = 0; c < cells.count; ++c) {
                    const int *const k = cells.corner.get() + static_cast<std::ptrdiff_t>(c) * (cells.dims + 1);
                    visit(triangle{{k[0], k[1], k[cells.dims]}});
                }
            },
            found);
    triangle_table table;
    if (!table.make(most_triangles(cells, points.count)))
        return false;
    all.look_at_pentatopes(table);
    return collect(
        [&](const auto &visit) {
            table.each([&](const triangle &t, unsigned sides) {
                if (sides != both)
                    visit(t);
            });
        },
        found);
}

surface_place nearest_place(const model &m, const vec3 &q) noexcept
{
    surface_place best{.triangle = m.outside.count, .square = std::numeric_limits<double>::infinity()};
    double p[3];
    store(q, p);
    m.surface_boxes.nearest(p, best.square, [&](int t) {
        vec3 corner[3];
        for (int i = 0; i < 3; ++i)
            corner[i] = m.points.colour[m.outside.triangles[t].corner[i]];
        try_triangle(corner, q, {.triangle = t}, best);
    });
    return best;
}

}  // namespace teska::cloud
