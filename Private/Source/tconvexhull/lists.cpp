// tconvexhull/lists - the records of a hull: making, joining, cleaning up (geometry)
//
// Records are made one by one. Faces enter the plane arrays (planes.h) as soon as they know their vertices, and leave
// them when they are freed. A clean-up touches only what the step has touched; the lists come out as if it had walked
// them from end to end.

#include "Source/tconvexhull/store.h"

#include "tconvexhull.h"

#include <utility>

using teska::full;

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
    teska::hull_edge *const e = store->spare_edges.make();
    if (e != nullptr) {
        e->order = store->edges_made++;
        teska::append<tEdgeStructure>(edges, e);
    }
    return e;
}

tFaceStructure *TConvexHull::MakeNullFace()
{
    teska::hull_face *const f = store->spare_faces.make();
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

// `next` is the vertex with which the walk through the list goes on. Vertices found inside leave the list but live on
// until the construction has succeeded.
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

// Puts the edges of every face into the order of its vertices.
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
