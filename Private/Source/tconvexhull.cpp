// tconvexhull - the convex hull of points in three dimensions: the incremental algorithm (geometry)
//
// The hull starts as both sides of the triangle of three points. Each further point either sees no face, and is inside,
// or sees some:
//
//           p                                      p
//                                                / | \                 seen faces and the edges between them go;
//      ____  seen  ____          ->             / cone \               every edge of their border gets a face up to p
//     /    \______/    \                  _____/________\_____
//    hidden  border  hidden              hidden            hidden
//
// The promised result is what comes out when every step walks all faces, edges and vertices in the order of their
// lists. Here a search through plane coefficients finds the few faces that may be visible, the promised expression
// decides on them, and the border is put into the order of the edge list before the cone is made of it; whatever else
// the walks would do is nothing. Example: the corners of a cube, one after another, give 8 vertices, 18 edges and 12
// faces.
//
// Invariant between steps: a closed surface of triangles, oriented alike. A border that is one simple closed loop keeps
// it so (the visible faces are then a disc, and so is the cone); any other is found before a list is changed, and the
// construction begins again in exact steps (tconvexhull/step.cpp).
//
// A construction can be abandoned at every allocation: faces and edges are freed, and all vertices, which live until
// the end, return to their places.
//
// Objects that share their lists form a ring, and each change is copied to all of them. Threads may copy, assign and
// destroy the objects of one ring at the same time, so rings change under a lock, the only process-wide state here. An
// object that is alone in its ring knows it without the lock: only a copy of that very object could change it.
//
// Source: J. O'Rourke, Computational Geometry in C, 2nd ed., Cambridge University Press 1998, chapter 4.

#include "tconvexhull.h"

#include "Source/tconvexhull/store.h"
#include "Support/hull_store.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <thread>

using teska::full;

namespace
{

// Components of a cross product below this are 0: the distance from 1 to the next double.
constexpr double collinear_limit = 2.220446049250313e-16;

bool finite(double x, double y, double z) { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }

// ---- Rings ----------------------------------------------------------------------------------------------------------

// Held while the rings of all objects stay as they are, or one changes: for a few steps along a ring at most. A flag is
// ready before any constructor runs, and there is nothing to destroy.
constinit std::atomic_flag rings_in_use;

class ring_lock
{
public:
    ring_lock() noexcept
    {
        while (rings_in_use.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    ring_lock(const ring_lock &) = delete;
    ring_lock &operator=(const ring_lock &) = delete;
    ~ring_lock() { rings_in_use.clear(std::memory_order_release); }
};

// The next object of a ring, read without the lock and changed under it.
TConvexHull *next_in_ring(TConvexHull *const &sharer) noexcept { return __atomic_load_n(&sharer, __ATOMIC_ACQUIRE); }
void set_next_in_ring(TConvexHull *&sharer, TConvexHull *next) noexcept
{
    __atomic_store_n(&sharer, next, __ATOMIC_RELEASE);
}

}  // namespace

bool teska::hull_was_flat(const tHullStore &store) noexcept { return store.flat; }

// ---- Life -----------------------------------------------------------------------------------------------------------

TConvexHull::TConvexHull()
    : vertices(nullptr), edges(nullptr), faces(nullptr), count(0), sharer(this), store(nullptr), lost(0)
{
}

TConvexHull::TConvexHull(TConvexHull const &other) : TConvexHull() { Join(other); }

TConvexHull::~TConvexHull() { Leave(); }

TConvexHull &TConvexHull::operator=(TConvexHull const &other)
{
    if (this != &other) {
        Leave();
        Join(other);
    }
    return *this;
}

// Enters the ring of another object, which has its lists from then on.
void TConvexHull::Join(TConvexHull const &other)
{
    const ring_lock lock;
    set_next_in_ring(sharer, other.sharer);
    set_next_in_ring(other.sharer, this);
    Take(other);
}

// The last one to leave frees what was shared.
void TConvexHull::Leave()
{
    if (next_in_ring(sharer) != this) {
        const ring_lock lock;
        TConvexHull *before = sharer;
        while (before->sharer != this)
            before = before->sharer;
        if (before != this) {
            set_next_in_ring(before->sharer, sharer);
            return;
        }
    }
    if (store != nullptr)
        FreeSurface();
    FreeVertices();
    teska::kill_record(store);
}

void TConvexHull::Take(TConvexHull const &other)
{
    vertices = other.vertices;
    edges = other.edges;
    faces = other.faces;
    count = other.count;
    store = other.store;
    lost = other.lost;
}

// After a change: all objects of the ring get the new members.
void TConvexHull::Publish() const
{
    if (next_in_ring(sharer) == this)
        return;
    const ring_lock lock;
    for (TConvexHull *other = sharer; other != this; other = other->sharer)
        other->Take(*this);
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int TConvexHull::AddPoint(double x, double y, double z)
{
    if (store == nullptr)
        store = teska::make_record<tHullStore>().release();
    if (finite(x, y, z)) {
        tVertexStructure *const v = store != nullptr ? MakeNullVertex() : nullptr;
        if (v != nullptr) {
            v->v[0] = x;
            v->v[1] = y;
            v->v[2] = z;
            v->vnum = count;
        } else
            lost = 1;
    }
    ++count;
    Publish();
    return 0;
}

int TConvexHull::Construct()
{
    if (lost != 0 || vertices == nullptr)
        return -1;
    int result = -1;
    if (Prepare()) {
        store->exact = false;
        result = Build();
        if (result == teska::torn) {
            store->exact = true;
            result = store->compass.reserve(store->all.size()) ? Build() : -1;
        }
        store->inside.clear();
        store->all.clear();
        store->compass.release();
        store->spare_edges.release();
        store->spare_faces.release();
    }
    Publish();
    return result == 0 ? 0 : -1;
}

// Clears what an earlier construction has left; the vertices are listed and measured. False: fewer than three, or
// memory is short.
bool TConvexHull::Prepare()
{
    FreeSurface();
    store->flat = vertices->next->next == vertices;
    teska::vec3 low = teska::position(vertices);
    teska::vec3 high = low;
    store->all.clear();
    store->inside.clear();
    tVertexStructure *v = vertices;
    do {
        if (!store->all.push(v))
            return false;
        v->mark = 0;
        full(v)->piece = 0;
        const teska::vec3 at = teska::position(v);
        low = {std::min(low.x, at.x), std::min(low.y, at.y), std::min(low.z, at.z)};
        high = {std::max(high.x, at.x), std::max(high.y, at.y), std::max(high.z, at.z)};
        v = v->next;
    } while (v != vertices);
    // Halves first: the sum of the two may overflow.
    const teska::vec3 centre = low / 2 + high / 2;
    const teska::vec3 below = centre - low, above = high - centre;
    store->centre = centre;
    store->half = {std::max(below.x, above.x), std::max(below.y, above.y), std::max(below.z, above.z)};
    store->extent = std::max({store->half.x, store->half.y, store->half.z});
    store->pieces_grown = 0;
    return !store->flat && store->inside.reserve(store->all.size());
}

// The whole construction, by promised steps or by exact ones. Returns 0, -1, or torn.
int TConvexHull::Build()
{
    store->unlinked = 0;
    // Twice the band: once for the planes, once for the core.
    const double rounding = 2 * store->band(0.0);
    store->planes.start(store->centre, store->half, store->exact ? rounding : rounding - teska::visible_volume);
    int result = DoubleTriangle();
    if (result == 0)
        result = ConstructHull();
    if (result != 0) {
        Abandon();
        return result;
    }
    EdgeOrderOnFaces();
    store->planes.fit_core();
    for (tVertexStructure *const v : store->inside)
        teska::kill_record(full(v));
    return 0;
}

// Everything as it was before Construct, but for a surface from an earlier call.
void TConvexHull::Abandon()
{
    FreeSurface();
    store->seen.clear();
    store->border.clear();
    store->buried.clear();
    store->inside.clear();
    vertices = nullptr;
    for (tVertexStructure *const v : store->all) {
        v->duplicate = nullptr;
        v->onhull = v->mark = 0;
        full(v)->gone = false;
        full(v)->follower = nullptr;
        teska::append(vertices, v);
    }
}

int TConvexHull::Collinear(tVertexStructure const *a, tVertexStructure const *b, tVertexStructure const *c) const
{
    const teska::vec3 from = teska::position(a);
    const teska::vec3 n = cross(teska::position(b) - from, teska::position(c) - from);
    const bool none =
        std::fabs(n.x) < collinear_limit && std::fabs(n.y) < collinear_limit && std::fabs(n.z) < collinear_limit;
    return none ? 1 : 0;
}

// The hull is both sides of the first triangle there is, and the head is a point outside its plane. Returns 0, or -1:
// no such points, or memory is short.
int TConvexHull::DoubleTriangle()
{
    tVertexStructure *u0 = vertices;
    while (Collinear(u0, u0->next, u0->next->next) != 0) {
        u0 = u0->next;
        if (u0 == vertices) {
            store->flat = true;
            return -1;
        }
    }
    tVertexStructure *const u1 = u0->next;
    tVertexStructure *const u2 = u1->next;
    u0->mark = u1->mark = u2->mark = 1;
    tFaceStructure *const f0 = MakeFace(u0, u1, u2, nullptr);
    tFaceStructure *const f1 = f0 != nullptr ? MakeFace(u2, u1, u0, f0) : nullptr;
    if (f1 == nullptr)
        return -1;
    for (tEdgeStructure *const e : f0->edge)
        e->adjface[1] = f1;
    tVertexStructure *u3 = u2->next;
    while (VolumeSign(f0, u3) == 0 || (store->exact && teska::exact_volume_sign(f0, teska::position(u3)) == 0)) {
        u3 = u3->next;
        if (u3 == u0) {
            store->flat = true;
            return -1;
        }
    }
    vertices = u3;
    return 0;
}

// Returns 0; -1: memory is short; or torn.
int TConvexHull::ConstructHull()
{
    // The core is fitted again whenever the number of points has doubled.
    std::int64_t processed = 0;
    std::int64_t fit_at = 16;
    tVertexStructure *v = vertices;
    do {
        tVertexStructure *next = v->next;
        if (v->mark == 0) {
            v->mark = 1;
            if (++processed == fit_at) {
                store->planes.fit_core();
                fit_at *= 2;
            }
            const int step = AddPoint(v);
            if (step < 0)
                return step;
            CleanUp(&next);
            if (store->exact && step == teska::outside)
                store->orient(v);
        }
        v = next;
    } while (v != vertices);
    return 0;
}

// Returns a hull_step.
int TConvexHull::AddPoint(tVertexStructure *p)
{
    const int step = FindVisible(p);
    if (step == teska::inside) {
        p->onhull = 0;
        store->drop(p);
    }
    if (step != teska::outside)
        return step;
    for (tEdgeStructure *const e : store->buried)
        e->del = 1;
    for (tEdgeStructure *const e : store->border) {
        e->newface = MakeConeFace(e, p);
        if (e->newface == nullptr)
            return teska::no_memory;
    }
    return teska::outside;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int TConvexHull::IsEmpty() const { return count == 0 ? 1 : 0; }

int TConvexHull::InsideHull(double x, double y, double z) const
{
    if (faces == nullptr || !finite(x, y, z))
        return 0;
    tVertexStructure p{};
    p.v[0] = x;
    p.v[1] = y;
    p.v[2] = z;
    return InsideHull(&p) == 1 ? 1 : 0;
}

int TConvexHull::InsideHull(tVertexStructure *p) const
{
    const teska::centred_point point(*store, teska::position(p));
    if (store->planes.in_core(point.at))
        return 1;
    const double limit = store->band(point.largest) - teska::visible_volume;
    const teska::face_planes &planes = store->planes;
    for (std::ptrdiff_t i = 0; (i = planes.first_below(i, point.at, limit)) < planes.faces(); ++i)
        if (VolumeSign(planes.face(i), p) < 0)
            return 0;
    return 1;
}

int TConvexHull::VolumeSign(tFaceStructure *f, tVertexStructure *p) const
{
    const double volume = teska::face_volume(f, teska::position(p));
    if (volume > teska::visible_volume)
        return 1;
    return volume < -teska::visible_volume ? -1 : 0;
}

void TConvexHull::SubVec(double const *a, double const *b, double *c) const
{
    for (int k = 0; k < 3; ++k)
        c[k] = a[k] - b[k];
}
