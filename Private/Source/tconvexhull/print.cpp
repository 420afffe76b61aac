// tconvexhull/print - debug output and checks of a hull (geometry)
//
// Records are named by the lower 32 bits of their addresses, which is what a debugger session of one process needs.

#include "Source/tconvexhull/volume.h"
#include "Support/digits.h"

#include "tconvexhull.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace
{

teska::number_text text_of(double coordinate) { return teska::fixed_text(coordinate, 3); }

void print_point(const tVertexStructure *p)
{
    for (const double coordinate : p->v)
        std::printf("\t%4s", text_of(coordinate).data());
    std::printf("\n");
}

unsigned address(const void *record) { return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(record)); }

// Cut towards zero, and to the range of int; NaN is 0.
int whole(double value)
{
    constexpr double most = std::numeric_limits<int>::max();
    return value == value ? static_cast<int>(std::clamp(value, -most, most)) : 0;
}

// Calls visit(record) along a circular list.
template <class Record, class Visit>
void each(Record *head, Visit visit)
{
    if (head == nullptr)
        return;
    Record *record = head;
    do {
        visit(record);
        record = record->next;
    } while (record != head);
}

template <class Record>
int length(Record *head)
{
    int n = 0;
    each(head, [&](const Record *) { ++n; });
    return n;
}

// The extent of the vertices in x (axis 0) or y (axis 1).
struct span {
    double low = 0.0;
    double high = 0.0;

    span(tVertexStructure *head, int axis)
    {
        if (head != nullptr)
            low = high = head->v[axis];
        each(head, [&](const tVertexStructure *v) {
            low = std::min(low, v->v[axis]);
            high = std::max(high, v->v[axis]);
        });
    }
};

void print_picture_of(const tFaceStructure *f)
{
    std::printf("%%%% vnums:  %d  %d  %d\n", f->vertex[0]->vnum, f->vertex[1]->vnum, f->vertex[2]->vnum);
    std::printf("newpath\n");
    for (int i = 0; i < 3; ++i)
        std::printf("%4s\t%4s\t%s\n", text_of(f->vertex[i]->v[0]).data(), text_of(f->vertex[i]->v[1]).data(),
                    i == 0 ? "moveto" : "lineto");
    std::printf("closepath stroke\n\n");
}

}  // namespace

// ---- Output ---------------------------------------------------------------------------------------------------------

void TConvexHull::PrintPoint(tVertexStructure *p) const { print_point(p); }

void TConvexHull::PrintOut(tVertexStructure *v) const
{
    std::fprintf(stderr, "\nHead vertex %d = %6x :\n", v->vnum, address(v));
    PrintVertices();
    PrintEdges();
    PrintFaces();
}

void TConvexHull::PrintVertices() const
{
    std::fprintf(stderr, "Vertex List\n");
    each(vertices, [](const tVertexStructure *v) {
        std::fprintf(stderr, "  addr %6x\t", address(v));
        std::fprintf(stderr, "  vnum %4d", v->vnum);
        std::fprintf(stderr, "   (%6s,%6s,%6s)", text_of(v->v[0]).data(), text_of(v->v[1]).data(),
                     text_of(v->v[2]).data());
        std::fprintf(stderr, "   active:%3d", v->onhull);
        std::fprintf(stderr, "   dup:%5x", address(v->duplicate));
        std::fprintf(stderr, "   mark:%2d\n", v->mark);
    });
}

// Kept: here and for faces, "%4.d" prints four blanks for vertex 0.
void TConvexHull::PrintEdges() const
{
    std::fprintf(stderr, "Edge List\n");
    each(edges, [](const tEdgeStructure *e) {
        std::fprintf(stderr, "  addr: %6x\t", address(e));
        std::fprintf(stderr, "adj: ");
        for (const tFaceStructure *const f : e->adjface)
            std::fprintf(stderr, "%6x", address(f));
        std::fprintf(stderr, "  endpts:");
        for (const tVertexStructure *const v : e->endpts)
            std::fprintf(stderr, "%4.d", v->vnum);
        std::fprintf(stderr, "  del:%3d\n", e->del);
    });
}

void TConvexHull::PrintFaces() const
{
    std::fprintf(stderr, "Face List\n");
    each(faces, [](const tFaceStructure *f) {
        std::fprintf(stderr, "  addr: %10x", address(f));
        std::fprintf(stderr, "  edges:");
        for (const tEdgeStructure *const e : f->edge)
            std::fprintf(stderr, "%10x", address(e));
        std::fprintf(stderr, "  vert:");
        for (const tVertexStructure *const v : f->vertex)
            std::fprintf(stderr, "%4.d", v->vnum);
        std::fprintf(stderr, "  vis: %d\n", f->visible);
    });
}

// A PostScript picture: the hull from above, its records as comments.
void TConvexHull::Print() const
{
    const span x(vertices, 0);
    const span y(vertices, 1);
    std::printf("%%!PS\n");
    std::printf("%%%%BoundingBox: %d %d %d %d\n", whole(x.low), whole(y.low), whole(x.high), whole(y.high));
    std::printf("%%%%HiResBoundingBox: %d %d %d %d\n", whole(x.low), whole(y.low), whole(x.high), whole(y.high));
    std::printf("0 setlinewidth\n");
    std::printf("%s %s translate\n", teska::fixed_text(0.0 - x.low, 6).data(),
                teska::fixed_text(0.0 - y.low, 6).data());
    std::printf("\n%%%% Vertices:\tV = %d\n", length(vertices));
    std::printf("%%%% index:\tx\ty\tz\n");
    each(vertices, [](const tVertexStructure *v) {
        std::printf("%%%% %5d:", v->vnum);
        print_point(v);
    });
    std::printf("\n%%%% Faces:\tF = %d\n", length(faces));
    std::printf("%%%% Visible faces only: \n");
    each(faces, [this](const tFaceStructure *f) {
        double a[3];
        double b[3];
        SubVec(f->vertex[1]->v, f->vertex[0]->v, a);
        SubVec(f->vertex[2]->v, f->vertex[1]->v, b);
        if (a[0] * b[1] - a[1] * b[0] >= 0)
            print_picture_of(f);
    });
    std::printf("%%%% List of all faces: \n");
    std::printf("%%%%\tv0\tv1\tv2\t(vertex indices)\n");
    each(faces, [](const tFaceStructure *f) {
        std::printf("%%%%\t%d\t%d\t%d\n", f->vertex[0]->vnum, f->vertex[1]->vnum, f->vertex[2]->vnum);
    });
    std::printf("\n%%%% Edges:\tE = %d\n", length(edges));
    std::printf("\nshowpage\n\n");
}

// ---- Checks ---------------------------------------------------------------------------------------------------------

int TConvexHull::Volumei(tFaceStructure *f, tVertexStructure *p) const
{
    return whole(teska::face_volume(f, teska::position(p)));
}

// Every edge is a side of two faces, edge[i] of each joins vertex[i] to the next.
int TConvexHull::CheckEndpts() const
{
    bool good = true;
    each(faces, [&](const tFaceStructure *f) {
        for (int i = 0; i < 3; ++i) {
            const tEdgeStructure *const e = f->edge[i];
            const tVertexStructure *const from = f->vertex[i];
            const tVertexStructure *const to = f->vertex[(i + 1) % 3];
            good = good && e->adjface[0] != e->adjface[1] && (e->adjface[0] == f || e->adjface[1] == f) &&
                   ((e->endpts[0] == from && e->endpts[1] == to) || (e->endpts[1] == from && e->endpts[0] == to));
        }
    });
    return good ? 1 : 0;
}

// The two faces of every edge run through it in opposite directions.
int TConvexHull::Consistency() const
{
    const auto forward = [](const tFaceStructure *f, const tEdgeStructure *e) {
        for (int i = 0; i < 3; ++i)
            if (f->vertex[i] == e->endpts[0] && f->vertex[(i + 1) % 3] == e->endpts[1])
                return true;
        return false;
    };
    bool good = true;
    each(edges,
         [&](const tEdgeStructure *e) { good = good && forward(e->adjface[0], e) != forward(e->adjface[1], e); });
    return good ? 1 : 0;
}

// No face is visible from a vertex of the hull.
int TConvexHull::Convexity() const
{
    bool good = true;
    each(vertices, [&](tVertexStructure *v) { good = good && InsideHull(v) == 1; });
    return good ? 1 : 0;
}

void TConvexHull::CheckEuler(int, int, int) const {}

void TConvexHull::Checks() const {}
