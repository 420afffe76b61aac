// tconvexhull/lists - the records of a hull: making, joining, cleaning up (geometry)
//
// Records are made one by one. Faces enter the plane arrays (Support/hull_priv.h) as soon as they know their vertices,
// and leave them when they are freed. A clean-up touches only what the step has touched; the lists come out as if it
// had walked them from end to end.

#include "Kernels/kernels.h"
#include "Source/tconvexhull/hull_priv.h"

#include "tconvexhull.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

using teska::full;

namespace teska
{

// ---- Planes ---------------------------------------------------------------------------------------------------------

void core::start(const double *half) noexcept
{
    for (int k = 0; k < 3; ++k) {
        half_[k] = half[k];
        per_half_[k] = 1.0 / half[k];
    }
    box_ = ball_ = 0.0;
}

void core::cut(const double *n, double d, double limit) noexcept
{
    // How far the value falls from the centre to the farthest corner of the box, and to the ellipsoid.
    double box_fall = 0.0;
    double ball_fall = 0.0;
    for (int k = 0; k < 3; ++k) {
        const double fall = std::fabs(n[k]) * half_[k];
        box_fall += fall;
        ball_fall += fall * fall;
    }
    ball_fall = std::sqrt(ball_fall);
    const double room = d > limit ? d - limit : 0.0;
    if (!(room > box_ * box_fall))
        box_ = room / box_fall;
    if (!(room > ball_ * ball_fall))
        ball_ = room / ball_fall;
}

void face_planes::start(const double *centre, const double *half, double limit) noexcept
{
    std::copy_n(centre, 3, centre_);
    core_limit_ = limit;
    core_.start(half);
}

void face_planes::cut_core(std::ptrdiff_t slot) noexcept
{
    const double *const at = values_ + slot;
    const double n[3] = {at[0], at[room_], at[2 * room_]};
    core_.cut(n, at[3 * room_], core_limit_);
}

void face_planes::fit_core() noexcept
{
    core_.fill();
    for (std::ptrdiff_t i = 0; i < count_; ++i)
        cut_core(i);
}

bool face_planes::grow() noexcept
{
    constexpr std::size_t line = 64;
    const std::ptrdiff_t room = room_ != 0 ? 2 * room_ : 8 * hull_planes::group;
    heap_block<double> block = zeroed_block<double>(4 * static_cast<std::size_t>(room) + line / sizeof(double));
    heap_block<hull_face *> owners = zeroed_block<hull_face *>(static_cast<std::size_t>(room));
    if (!block || !owners)
        return false;
    const std::size_t over = reinterpret_cast<std::uintptr_t>(block.get()) % line;
    double *const values = block.get() + (over != 0 ? (line - over) / sizeof(double) : 0);
    for (std::ptrdiff_t i = 0; i < count_; ++i) {
        owners.get()[i] = owners_.get()[i];
        for (int k = 0; k < 4; ++k)
            values[k * room + i] = values_[k * room_ + i];
    }
    values_ = values;
    block_.swap(block);
    owners_.swap(owners);
    room_ = room;
    for (std::ptrdiff_t i = count_; i < room; ++i)
        blank(i);
    return true;
}

// What no point is below.
void face_planes::blank(std::ptrdiff_t slot) noexcept
{
    for (int k = 0; k < 3; ++k)
        values_[k * room_ + slot] = 0.0;
    values_[3 * room_ + slot] = std::numeric_limits<double>::infinity();
}

bool face_planes::add(hull_face *face) noexcept
{
    if (count_ == room_ && !grow())
        return false;
    const double *const p = face->vertex[0]->v;
    const double *const q = face->vertex[1]->v;
    const double *const r = face->vertex[2]->v;
    const double a[3] = {q[0] - p[0], q[1] - p[1], q[2] - p[2]};
    const double b[3] = {r[0] - p[0], r[1] - p[1], r[2] - p[2]};
    // The normal points inwards: the volume grows to the inside.
    const double n[3] = {a[2] * b[1] - a[1] * b[2], a[0] * b[2] - a[2] * b[0], a[1] * b[0] - a[0] * b[1]};
    for (int k = 0; k < 3; ++k)
        values_[k * room_ + count_] = n[k];
    values_[3 * room_ + count_] =
        -(n[0] * (p[0] - centre_[0]) + n[1] * (p[1] - centre_[1]) + n[2] * (p[2] - centre_[2]));
    owners_.get()[count_] = face;
    face->slot = count_++;
    for (tVertexStructure *const v : face->vertex)
        full(v)->face = face;
    cut_core(face->slot);
    return true;
}

void face_planes::remove(hull_face *face) noexcept
{
    if (face->slot < 0)
        return;
    const std::ptrdiff_t last = --count_;
    for (int k = 0; k < 4; ++k)
        values_[k * room_ + face->slot] = values_[k * room_ + last];
    owners_.get()[face->slot] = owners_.get()[last];
    owners_.get()[last]->slot = face->slot;
    blank(last);
}

void face_planes::clear() noexcept
{
    while (count_ > 0)
        blank(--count_);
}

std::ptrdiff_t face_planes::first_below(std::ptrdiff_t from, const double *point, double limit) const noexcept
{
    const std::ptrdiff_t filled = (count_ + hull_planes::group - 1) / hull_planes::group * hull_planes::group;
    const double *const x = values_;
    const hull_planes planes{x, x + room_, x + 2 * room_, x + 3 * room_, filled};
    const std::ptrdiff_t found = kernels().hull.first_below(planes, from, point, limit);
    return found < count_ ? found : count_;
}

}  // namespace teska

namespace
{

template <class Record, class Listed>
void free_list(Listed *&head) noexcept
{
    while (head != nullptr) {
        Listed *const record = head;
        teska::unlink(head, record);
        teska::kill_record(static_cast<Record *>(record));
    }
}

}  // namespace

// ---- Making ---------------------------------------------------------------------------------------------------------

tVertexStructure *TConvexHull::MakeNullVertex()
{
    tVertexStructure *const v = teska::make_record<teska::hull_vertex>().release();
    if (v != nullptr)
        teska::append(vertices, v);
    return v;
}

tEdgeStructure *TConvexHull::MakeNullEdge()
{
    teska::hull_edge *const e = store->spare_edges.take();
    if (e != nullptr) {
        e->order = store->edges_made++;
        teska::append<tEdgeStructure>(edges, e);
    }
    return e;
}

tFaceStructure *TConvexHull::MakeNullFace()
{
    teska::hull_face *const f = store->spare_faces.take();
    if (f != nullptr) {
        f->slot = -1;
        teska::append<tFaceStructure>(faces, f);
    }
    return f;
}

// With `fold` the new face is its other side and shares its edges. Null: memory is short.
tFaceStructure *TConvexHull::MakeFace(tVertexStructure *v0, tVertexStructure *v1, tVertexStructure *v2,
                                      tFaceStructure *fold)
{
    tVertexStructure *const corner[3] = {v0, v1, v2};
    tEdgeStructure *side[3];
    for (int i = 0; i < 3; ++i) {
        // The other side runs through the edges the other way: its first side is the fold's second one.
        side[i] = fold != nullptr ? fold->edge[(4 - i) % 3] : MakeNullEdge();
        if (side[i] == nullptr)
            return nullptr;
        if (fold == nullptr) {
            side[i]->endpts[0] = corner[i];
            side[i]->endpts[1] = corner[(i + 1) % 3];
        }
    }
    tFaceStructure *const f = MakeNullFace();
    if (f == nullptr)
        return nullptr;
    for (int i = 0; i < 3; ++i) {
        f->edge[i] = side[i];
        f->vertex[i] = corner[i];
        if (fold == nullptr)
            side[i]->adjface[0] = f;
    }
    return store->planes.add(full(f)) ? f : nullptr;
}

// The triangle of an edge and the new point. Null: memory is short.
tFaceStructure *TConvexHull::MakeConeFace(tEdgeStructure *e, tVertexStructure *p)
{
    tEdgeStructure *side[2];
    for (int i = 0; i < 2; ++i) {
        tVertexStructure *const end = e->endpts[i];
        if (end->duplicate == nullptr) {
            tEdgeStructure *const made = MakeNullEdge();
            if (made == nullptr)
                return nullptr;
            made->endpts[0] = end;
            made->endpts[1] = p;
            end->duplicate = made;
        }
        side[i] = end->duplicate;
    }
    tFaceStructure *const f = MakeNullFace();
    if (f == nullptr)
        return nullptr;
    f->edge[0] = e;
    f->edge[1] = side[0];
    f->edge[2] = side[1];
    MakeCcw(f, e, p);
    for (tEdgeStructure *const s : side)
        s->adjface[s->adjface[0] != nullptr ? 1 : 0] = f;
    return store->planes.add(full(f)) ? f : nullptr;
}

// The new face takes the place of the visible one, so it runs the same way along their edge.
void TConvexHull::MakeCcw(tFaceStructure *f, tEdgeStructure *e, tVertexStructure *p)
{
    const tFaceStructure *const visible = e->adjface[0]->visible != 0 ? e->adjface[0] : e->adjface[1];
    int i = 0;
    while (visible->vertex[i] != e->endpts[0])
        ++i;
    const bool along = visible->vertex[(i + 1) % 3] == e->endpts[1];
    f->vertex[0] = e->endpts[along ? 0 : 1];
    f->vertex[1] = e->endpts[along ? 1 : 0];
    f->vertex[2] = p;
    if (along)
        std::swap(f->edge[1], f->edge[2]);
}

// ---- Clean-up -------------------------------------------------------------------------------------------------------

void TConvexHull::CleanUp(tVertexStructure **next)
{
    CleanEdges();
    CleanFaces();
    CleanVertices(next);
    store->seen.clear();
    store->border.clear();
    store->buried.clear();
}

// The new faces take the places of the visible ones; edges between visible faces go.
void TConvexHull::CleanEdges()
{
    for (tEdgeStructure *const e : store->border) {
        e->adjface[e->adjface[0]->visible != 0 ? 0 : 1] = e->newface;
        e->newface = nullptr;
    }
    for (tEdgeStructure *const e : store->buried) {
        teska::unlink(edges, e);
        store->spare_edges.keep(full(e));
    }
}

// A vertex of a visible face without an edge of the cone has lost all its faces.
void TConvexHull::CleanFaces()
{
    for (tFaceStructure *const f : store->seen) {
        for (tVertexStructure *const v : f->vertex)
            if (v->duplicate == nullptr && !full(v)->gone)
                store->drop(v);
        store->planes.remove(full(f));
        teska::unlink(faces, f);
        store->spare_faces.keep(full(f));
    }
}

// `next` is where the walk through the list goes on. Vertices live on outside the list until the construction has
// succeeded.
void TConvexHull::CleanVertices(tVertexStructure **next)
{
    for (; store->unlinked < store->inside.size(); ++store->unlinked) {
        tVertexStructure *const v = store->inside[store->unlinked];
        if (*next == v)
            *next = v->next;
        teska::unlink(vertices, v);
    }
    for (const tEdgeStructure *const e : store->border)
        for (tVertexStructure *const end : e->endpts)
            end->duplicate = nullptr;
}

// On every face the edges in the order of the vertices.
void TConvexHull::EdgeOrderOnFaces()
{
    tFaceStructure *f = faces;
    do {
        for (int i = 0; i < 2; ++i) {
            const tVertexStructure *const from = f->vertex[i];
            const tVertexStructure *const to = f->vertex[i + 1];
            const auto joins = [&](const tEdgeStructure *e) {
                return (e->endpts[0] == from && e->endpts[1] == to) || (e->endpts[0] == to && e->endpts[1] == from);
            };
            for (int j = i + 1; j < 3 && !joins(f->edge[i]); ++j)
                std::swap(f->edge[i], f->edge[j]);
        }
        f = f->next;
    } while (f != faces);
}

// ---- Freeing --------------------------------------------------------------------------------------------------------

void TConvexHull::FreeSurface()
{
    free_list<teska::hull_edge>(edges);
    free_list<teska::hull_face>(faces);
    store->planes.clear();
}

void TConvexHull::FreeVertices() { free_list<teska::hull_vertex>(vertices); }
