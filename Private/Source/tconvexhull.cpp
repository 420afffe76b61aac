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
// it so (the visible faces are then a disc, and so is the cone); any other is replaced before a list is changed
// (tconvexhull_step.cpp).
//
// A construction can be abandoned at every allocation: faces and edges are freed, and all vertices, which live until
// the end, return to their places. Objects that share their lists stand in a ring, and each change is copied to all.
//
// Source: J. O'Rourke, Computational Geometry in C, 2nd ed., Cambridge University Press 1998, chapter 4.

#include "tconvexhull.h"

#include "Source/tconvexhull/hull_priv.h"

#include <algorithm>
#include <cmath>

using teska::full;

namespace
{

// Components of a cross product below this are 0: the distance from 1 to the next double.
constexpr double collinear_limit = 2.220446049250313e-16;

bool finite(double x, double y, double z) { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

TConvexHull::TConvexHull()
    : vertices(nullptr), edges(nullptr), faces(nullptr), count(0), sharer(this), store(nullptr), lost(0)
{
}

TConvexHull::TConvexHull(TConvexHull const &other)
    : vertices(other.vertices), edges(other.edges), faces(other.faces), count(other.count), sharer(other.sharer),
      store(other.store), lost(other.lost)
{
    other.sharer = this;
}

TConvexHull::~TConvexHull() { Leave(); }

TConvexHull &TConvexHull::operator=(TConvexHull const &other)
{
    if (this == &other)
        return *this;
    Leave();
    sharer = other.sharer;
    other.sharer = this;
    Take(other);
    return *this;
}

// The last one to leave frees what was shared.
void TConvexHull::Leave()
{
    if (sharer == this) {
        if (store != nullptr)
            FreeSurface();
        FreeVertices();
        teska::kill_record(store);
        return;
    }
    TConvexHull *before = sharer;
    while (before->sharer != this)
        before = before->sharer;
    before->sharer = sharer;
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

void TConvexHull::Publish() const
{
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

// Clears what an earlier construction has left, and lists and measures the vertices. False: fewer than three, or memory
// is short.
bool TConvexHull::Prepare()
{
    FreeSurface();
    double low[3];
    double high[3];
    std::copy_n(vertices->v, 3, low);
    std::copy_n(vertices->v, 3, high);
    store->all.clear();
    store->inside.clear();
    tVertexStructure *v = vertices;
    do {
        if (!store->all.push(v))
            return false;
        v->mark = 0;
        full(v)->piece = 0;
        for (int k = 0; k < 3; ++k) {
            low[k] = std::min(low[k], v->v[k]);
            high[k] = std::max(high[k], v->v[k]);
        }
        v = v->next;
    } while (v != vertices);
    store->extent = 0.0;
    store->pieces_grown = 0;
    for (int k = 0; k < 3; ++k) {
        store->centre[k] = low[k] / 2 + high[k] / 2;
        store->half[k] = std::max(store->centre[k] - low[k], high[k] - store->centre[k]);
        store->extent = std::max(store->extent, store->half[k]);
    }
    return store->all.size() >= 3 && store->inside.reserve(store->all.size());
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
        teska::append(vertices, v);
    }
}

int TConvexHull::Collinear(tVertexStructure const *a, tVertexStructure const *b, tVertexStructure const *c) const
{
    double u[3];
    double w[3];
    SubVec(b->v, a->v, u);
    SubVec(c->v, a->v, w);
    return std::fabs(u[1] * w[2] - u[2] * w[1]) < collinear_limit &&
                   std::fabs(u[2] * w[0] - u[0] * w[2]) < collinear_limit &&
                   std::fabs(u[0] * w[1] - u[1] * w[0]) < collinear_limit
               ? 1
               : 0;
}

// Both sides of the first triangle there is; the head moves on to a point beside its plane. Returns 0, or -1: no such
// points, or memory is short.
int TConvexHull::DoubleTriangle()
{
    tVertexStructure *u0 = vertices;
    while (Collinear(u0, u0->next, u0->next->next) != 0) {
        u0 = u0->next;
        if (u0 == vertices)
            return -1;
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
    while (VolumeSign(f0, u3) == 0 || (store->exact && teska::exact_volume_sign(f0, u3->v) == 0)) {
        u3 = u3->next;
        if (u3 == u0)
            return -1;
    }
    vertices = u3;
    return 0;
}

// Returns 0; -1: memory is short; or torn.
int TConvexHull::ConstructHull()
{
    // The core is fitted again whenever the number of points has doubled.
    std::size_t taken = 0;
    std::size_t fit_at = 16;
    tVertexStructure *v = vertices;
    do {
        tVertexStructure *next = v->next;
        if (v->mark == 0) {
            v->mark = 1;
            if (++taken == fit_at) {
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
    const teska::centred_point point(*store, p->v);
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
    const double volume = teska::face_volume(f, p->v);
    if (volume > teska::visible_volume)
        return 1;
    return volume < -teska::visible_volume ? -1 : 0;
}

void TConvexHull::SubVec(double const *a, double const *b, double *c) const
{
    for (int k = 0; k < 3; ++k)
        c[k] = a[k] - b[k];
}
