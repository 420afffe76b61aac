// tconvexhull/step - which faces a new point takes away from a hull (geometry)
//
// The promised choice is every face with a volume below -0.5. Where faces are small it leaves out some in the midst of
// others: the border falls into several loops, or touches itself at a vertex, and a cone over it would give an edge
// more or fewer than two faces. And where it happens to be a loop, the surface stays a little hollow at the faces
// left out, and a later point may see into the hollow from afar: no choice of faces mends that step alone.
//
// In exact steps the choice is every face with a volume below 0 in exact arithmetic. From a first triangle and a point
// outside its plane on, the surface is then convex without any slack, and the faces below a point are a disc: those in
// the plane of the point do not count, so they are also the faces below a point moved a little towards the inside, from
// which no face is seen edge-on. They hang together, so they are grown around one of them. A neighbour joins when the
// piece stays a disc: it meets the piece in one edge and its opposite vertex is not of the piece, or in two edges; one
// with three would leave no other side. Any disc of triangles can be built up that way in any order, so this never
// stops short; the rule is there for coordinates whose products overflow, where exact arithmetic ends.
//
// The first of them is found by a walk. From a point inside, the eye, every other point lies in the direction of one
// face: it is outside when it is below that one. A walk starts at a vertex in about that direction and crosses the
// sides beyond which the point lies. With n the normal of a face as long as 1 / its distance from the eye, every step
// to a face that is not in the same plane makes n * point larger, so the walk ends; among faces in one plane it may go
// round in circles, and is given up. Then, and before there is an eye, the search through the planes serves.

#include "Source/tconvexhull/store.h"

#include "tconvexhull.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

using teska::full;

namespace teska
{

namespace
{

// Whether the border, of which every vertex knows its follower, comes back to its beginning only after all its edges.
bool one_loop(const tVertexStructure *begin, int edges) noexcept
{
    int length = 0;
    const tVertexStructure *v = begin;
    do {
        v = static_cast<const hull_vertex *>(v)->follower;
        ++length;
    } while (v != begin);
    return length == edges;
}

// The face of a convex hull in the direction of the point; null: not found in so many steps.
tFaceStructure *walk(const vec3 &eye, tFaceStructure *from, const vec3 &p, std::ptrdiff_t steps) noexcept
{
    tFaceStructure *f = from;
    const tEdgeStructure *crossed = nullptr;
    for (; steps > 0; --steps) {
        const auto lies_beyond = [&](int i) {
            return f->edge[i] != crossed &&
                   exact_volume_sign(position(f->vertex[i]), position(f->vertex[(i + 1) % 3]), p, eye) < 0;
        };
        int i = 0;
        while (i < 3 && !lies_beyond(i))
            ++i;
        if (i == 3)
            return f;
        crossed = f->edge[i];
        f = across(crossed, f);
    }
    return nullptr;
}

// Which side of the double triangle is visible from a point, by the sign of the first side's volume; null: neither. The
// point that opens the triangle must see one, even where overflow hides it from the search or the sides contradict each
// other: without it the surface stays flat.
tFaceStructure *visible_side(tFaceStructure *first, int sign) noexcept
{
    if (sign == 0)
        return nullptr;
    return sign < 0 ? first : first->next;
}

// A face below the point; null: there is none. Any face will do to start from; of a double triangle, the first side.
tFaceStructure *find_below(const tHullStore &store, tFaceStructure *any, const vec3 &p) noexcept
{
    const face_planes &planes = store.planes;
    if (store.compass.has_eye()) {
        const hull_vertex *const v = store.compass.nearest(p);
        // Steps that cost about as much as the search are enough.
        tFaceStructure *const f = walk(store.compass.eye(), v != nullptr ? v->face : any, p, 64 + planes.faces() / 16);
        if (f != nullptr)
            return exact_volume_sign(f, p) < 0 ? f : nullptr;
    }
    const centred_point point(store, p);
    const double band = store.band(point.largest);
    for (std::ptrdiff_t i = 0; (i = planes.first_below(i, point.at, band)) < planes.faces(); ++i)
        if (exact_volume_sign(planes.face(i), p) < 0)
            return planes.face(i);
    return planes.faces() == 2 ? visible_side(any, exact_volume_sign(any, p)) : nullptr;
}

// A piece of the surface that stays a disc.
class piece
{
public:
    explicit piece(int number) noexcept : number_(number) {}

    // Whether a neighbour of the piece leaves it a disc.
    [[nodiscard]] bool may_join(const tFaceStructure *f) const noexcept
    {
        int shared = 0;
        int corners = 0;
        for (int i = 0; i < 3; ++i) {
            shared += across(f->edge[i], f)->visible;
            corners += full(f->vertex[i])->piece == number_ ? 1 : 0;
        }
        return shared == 2 || (shared == 1 && corners == 2);
    }

    // False: memory is short.
    [[nodiscard]] bool join(tHullStore &store, tFaceStructure *f) const noexcept
    {
        for (tVertexStructure *const v : f->vertex)
            full(v)->piece = number_;
        return store.see(f);
    }

private:
    int number_;
};

}  // namespace

}  // namespace teska

void tHullStore::orient(tVertexStructure *added) noexcept
{
    if (compass.has_eye())
        compass.add(teska::full(added));
    if (compass.has_eye() || planes.faces() != 4)
        return;
    // Every vertex of a tetrahedron is a corner of three faces.
    teska::vec3 mean = {};
    for (int i = 0; i < 4; ++i)
        for (const tVertexStructure *const v : planes.face(i)->vertex)
            mean = mean + teska::position(v) / 12;
    // Four of the largest doubles may have a mean beyond them.
    bool inside_all = std::isfinite(mean.x) && std::isfinite(mean.y) && std::isfinite(mean.z);
    for (int i = 0; i < 4; ++i)
        inside_all = inside_all && teska::exact_volume_sign(planes.face(i), mean) > 0;
    if (inside_all)
        compass.look_from(mean, half);
}

// The faces that the point takes away are marked and in `seen`, and their border is known. Returns a hull_step.
int TConvexHull::FindVisible(tVertexStructure *p)
{
    const teska::centred_point point(*store, teska::position(p));
    if (store->planes.in_core(point.at))
        return teska::inside;
    if (store->exact)
        return FindBelow(p);
    const double limit = store->band(point.largest) - teska::visible_volume;
    const teska::face_planes &planes = store->planes;
    for (std::ptrdiff_t i = 0; (i = planes.first_below(i, point.at, limit)) < planes.faces(); ++i)
        if (VolumeSign(planes.face(i), p) < 0 && !store->see(planes.face(i)))
            return teska::no_memory;
    if (store->seen.size() == 0 && planes.faces() == 2) {
        tFaceStructure *const side = teska::visible_side(faces, VolumeSign(faces, p));
        if (side != nullptr && !store->see(side))
            return teska::no_memory;
    }
    return store->seen.size() == 0 ? teska::inside : FindBorder();
}

// The same in exact steps.
int TConvexHull::FindBelow(tVertexStructure *p)
{
    tFaceStructure *const start = teska::find_below(*store, faces, teska::position(p));
    if (start == nullptr)
        return teska::inside;
    const teska::piece grown(++store->pieces_grown);
    if (!grown.join(*store, start))
        return teska::no_memory;
    for (int i = 0; i < store->seen.size(); ++i)
        for (const tEdgeStructure *const e : store->seen[i]->edge) {
            tFaceStructure *const f = teska::across(e, store->seen[i]);
            const bool joins =
                f->visible == 0 && grown.may_join(f) && teska::exact_volume_sign(f, teska::position(p)) < 0;
            if (joins && !grown.join(*store, f))
                return teska::no_memory;
        }
    return FindBorder();
}

// The edges at the border of the marked faces, in the order of the list, and those between them. Returns a hull_step.
int TConvexHull::FindBorder()
{
    store->border.clear();
    store->buried.clear();
    // Every vertex of the border gets to know its follower; in a simple loop each has one.
    bool simple = true;
    const tVertexStructure *begin = nullptr;
    for (tFaceStructure *const f : store->seen)
        for (int i = 0; i < 3; ++i) {
            tEdgeStructure *const e = f->edge[i];
            if (teska::across(e, f)->visible != 0) {
                // Met from both faces, listed once.
                if (e->adjface[0] == f && !store->buried.push(e))
                    return teska::no_memory;
                continue;
            }
            if (!store->border.push(e))
                return teska::no_memory;
            begin = f->vertex[i];
            tVertexStructure *&follower = full(f->vertex[i])->follower;
            simple = simple && follower == nullptr;
            follower = f->vertex[(i + 1) % 3];
        }
    simple = simple && begin != nullptr && teska::one_loop(begin, store->border.size());
    for (const tEdgeStructure *const e : store->border)
        for (tVertexStructure *const end : e->endpts)
            full(end)->follower = nullptr;
    std::sort(store->border.begin(), store->border.end(),
              [](tEdgeStructure *a, tEdgeStructure *b) { return full(a)->order < full(b)->order; });
    return simple ? teska::outside : teska::torn;
}
