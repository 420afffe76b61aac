// hull_priv - what TConvexHull keeps behind its four members: its records with room for marks, and arrays for speed
//
// Every face has a slot in four arrays of plane coefficients, and the value of slot i at a point is the face's volume
// as far as rounding allows: at most `band` away from the promised expression, for points within `extent` of the
// centre. A search through the arrays finds all faces that may be visible; the expression itself decides on those.
//
// The bound. With all coordinates relative to the centre at most s, and u = 2^-53, differences of coordinates are at
// most 2 s, off by 2 u s; products of two of them make minors of at most 8 s^2, off by 32 u s^2. The three terms of the
// expression are then off by 64 u s^3 each and their sum, at most 48 s^3, by less than 400 u s^3. A plane's value sums
// three products of at most 8 s^3 and as much for d, likewise off by less than 400 u s^3. band = 2048 u s^3 leaves more
// than twice that: 4.8e-7 for s = 128.

#ifndef TESKA_HULL_PRIV_H
#define TESKA_HULL_PRIV_H

#include "Kernels/hull_kernels.h"
#include "Support/memory.h"
#include "Support/orient.h"

#include "tconvexhull.h"

#include <cstdint>
#include <utility>

namespace teska
{

// A face is visible from a point below this volume.
constexpr double visible_volume = 0.5;

struct hull_vertex : tVertexStructure {
    tVertexStructure *follower;  // along the border of a step
    tFaceStructure *face;        // one of its faces, while it is of the hull
    int piece;                   // the last piece grown that this vertex belongs to
    bool gone;                   // found inside
};

struct hull_edge : tEdgeStructure {
    std::int64_t order;  // rises along the list
};

struct hull_face : tFaceStructure {
    std::ptrdiff_t slot;
};

inline hull_vertex *full(tVertexStructure *v) noexcept { return static_cast<hull_vertex *>(v); }
inline hull_edge *full(tEdgeStructure *e) noexcept { return static_cast<hull_edge *>(e); }
inline hull_face *full(tFaceStructure *f) noexcept { return static_cast<hull_face *>(f); }

// A growing array of pointers.
template <class T>
class pointers
{
public:
    // False: memory is short.
    bool push(T *item) noexcept
    {
        if (count_ == room_ && !reserve(room_ != 0 ? 2 * room_ : 64))
            return false;
        items_[count_++] = item;
        return true;
    }
    void clear() noexcept { count_ = 0; }
    [[nodiscard]] std::size_t size() const noexcept { return count_; }
    T *operator[](std::size_t i) const noexcept { return items_[i]; }
    T **begin() const noexcept { return items_.get(); }
    T **end() const noexcept { return items_.get() + count_; }

    bool reserve(std::size_t room) noexcept
    {
        if (room <= room_)
            return true;
        heap_block<T *> larger = zeroed_block<T *>(room);
        if (!larger)
            return false;
        for (std::size_t i = 0; i < count_; ++i)
            larger[i] = items_[i];
        items_.swap(larger);
        room_ = room;
        return true;
    }

private:
    heap_block<T *> items_;
    std::size_t count_ = 0;
    std::size_t room_ = 0;
};

// A box and an ellipsoid about the centre in the proportions of the cloud, so large that no face of the hull can be
// visible from a point in them: most points of most clouds need no search.
class core
{
public:
    // Half the extent of the cloud in each direction; nothing is in the core yet.
    void start(const double *half) noexcept;
    void fill() noexcept { box_ = ball_ = 1.0; }
    // A face, with the normal n and the value d at the centre, which may not have a value below the limit in the core.
    void cut(const double *n, double d, double limit) noexcept;
    [[nodiscard]] bool holds(const double *point) const noexcept
    {
        double largest = 0.0;
        double sum = 0.0;
        for (int k = 0; k < 3; ++k) {
            const double u = point[k] * per_half_[k];
            const double magnitude = __builtin_fabs(u);
            largest = magnitude > largest ? magnitude : largest;
            sum += u * u;
        }
        return largest < box_ || sum < ball_ * ball_;
    }

private:
    double half_[3] = {};
    double per_half_[3] = {};
    double box_ = 0.0;  // 1: as large as the cloud
    double ball_ = 0.0;
};

// Records that were taken out of a list and wait for their next use: a step frees nearly as many as it makes.
template <class Record>
class spares
{
public:
    spares() = default;
    spares(const spares &) = delete;
    spares &operator=(const spares &) = delete;
    ~spares() { release(); }

    // A zeroed record; null: memory is short.
    Record *take() noexcept
    {
        if (first_ == nullptr)
            return make_record<Record>().release();
        Record *const record = first_;
        first_ = static_cast<Record *>(record->next);
        *record = Record{};
        return record;
    }
    void keep(Record *record) noexcept
    {
        record->next = first_;
        first_ = record;
    }
    void release() noexcept
    {
        while (first_ != nullptr)
            kill_record(std::exchange(first_, static_cast<Record *>(first_->next)));
    }

private:
    Record *first_ = nullptr;
};

// The planes of all faces.
class face_planes
{
public:
    // A new hull about a centre. No plane's value may be below `limit`, with room for rounding, in the core.
    void start(const double *centre, const double *half, double limit) noexcept;
    // Takes the face in, and tells its corners; false: memory is short.
    bool add(hull_face *face) noexcept;
    void remove(hull_face *face) noexcept;
    void clear() noexcept;

    // The first slot, from `from` on, whose face may have less volume than the limit; faces() when there is none.
    [[nodiscard]] std::ptrdiff_t first_below(std::ptrdiff_t from, const double *point, double limit) const noexcept;
    [[nodiscard]] std::ptrdiff_t faces() const noexcept { return count_; }
    [[nodiscard]] hull_face *face(std::ptrdiff_t slot) const noexcept { return owners_.get()[slot]; }

    // Makes the core as large as the faces allow. O(faces).
    void fit_core() noexcept;
    [[nodiscard]] bool in_core(const double *point) const noexcept { return core_.holds(point); }

private:
    bool grow() noexcept;
    void blank(std::ptrdiff_t slot) noexcept;

    void cut_core(std::ptrdiff_t slot) noexcept;

    heap_block<double> block_;
    double *values_ = nullptr;  // four runs of room_, at a cache line in block_
    heap_block<hull_face *> owners_;
    std::ptrdiff_t count_ = 0;
    std::ptrdiff_t room_ = 0;  // a multiple of the group
    double centre_[3] = {};
    double core_limit_ = 0.0;
    core core_;
};

// The vertices of a hull by the direction in which they lie from a point inside, the eye: where a walk to the face in
// some direction begins. Directions meet the sides of a cube, which are divided into squares, coarse ones to fine ones;
// each square knows the last vertex in it.
class compass
{
public:
    // For so many vertices; there is no eye yet. False: memory is short.
    bool reserve(std::size_t vertices) noexcept;
    void release() noexcept;
    // Distances count in the proportions of the cloud.
    void look_from(const double *eye, const double *half) noexcept;
    [[nodiscard]] bool has_eye() const noexcept { return has_eye_; }
    [[nodiscard]] const double *eye() const noexcept { return eye_; }

    void enter(hull_vertex *v) noexcept;
    // A vertex of the hull in about the same direction; null when none is known.
    [[nodiscard]] const hull_vertex *nearest(const double *point) const noexcept;

private:
    struct square {
        std::size_t side;
        std::size_t x;
        std::size_t y;
    };
    [[nodiscard]] square finest(const double *point) const noexcept;
    [[nodiscard]] std::size_t place(const square &of, int level) const noexcept;

    heap_block<hull_vertex *> last_;
    int levels_ = 0;  // level k divides every side into 2^k by 2^k squares
    bool has_eye_ = false;
    double eye_[3] = {};
    double half_[3] = {};
};

// What a point does to a hull.
enum hull_step : int {
    torn = -2,  // the border of what it sees is not one simple closed loop
    no_memory = -1,
    inside = 0,
    outside = 1,
};

}  // namespace teska

struct tHullStore {
    double centre[3] = {};
    double half[3] = {};  // no vertex is farther from the centre in each direction
    double extent = 0.0;  // no vertex has a coordinate farther from the centre's
    bool exact = false;   // the hull is made in exact steps
    std::int64_t edges_made = 0;
    int pieces_grown = 0;  // in this construction
    teska::face_planes planes;
    teska::compass compass;  // in exact steps

    teska::spares<teska::hull_edge> spare_edges;
    teska::spares<teska::hull_face> spare_faces;

    // One step: the visible faces, the edges at their border in the order of the list, and those between them.
    teska::pointers<tFaceStructure> seen;
    teska::pointers<tEdgeStructure> border;
    teska::pointers<tEdgeStructure> buried;
    // One construction: all vertices in the order of the list; those found inside, for which there is room, and how
    // many of them are out of the list.
    teska::pointers<tVertexStructure> all;
    teska::pointers<tVertexStructure> inside;
    std::size_t unlinked = 0;

    // Marks a face as visible; false: memory is short.
    bool see(tFaceStructure *f) noexcept
    {
        f->visible = 1;
        return seen.push(f);
    }

    // After an exact step outside: enters the point, or opens the eye in the middle of the first four.
    void orient(tVertexStructure *added) noexcept;

    void drop(tVertexStructure *v) noexcept
    {
        teska::full(v)->gone = true;
        inside.push(v);
    }

    // How far the value of a plane may be from the promised expression, at a point with these coordinates at most.
    [[nodiscard]] double band(double largest) const noexcept
    {
        const double s = largest > extent ? largest : extent;
        return 0x1p-42 * s * s * s;
    }
};

namespace teska
{

// A point, seen from the centre.
struct centred_point {
    double at[3];
    double largest;  // magnitude of a coordinate

    centred_point(const tHullStore &store, const double *v) noexcept : at{}, largest(0.0)
    {
        for (int k = 0; k < 3; ++k) {
            at[k] = v[k] - store.centre[k];
            const double magnitude = __builtin_fabs(at[k]);
            largest = magnitude > largest ? magnitude : largest;
        }
    }
};

// The promised expression.
inline double face_volume(const tFaceStructure *f, const double *p) noexcept
{
    const double *const u = f->vertex[0]->v;
    const double *const v = f->vertex[1]->v;
    const double *const w = f->vertex[2]->v;
    const double a[3] = {u[0] - p[0], u[1] - p[1], u[2] - p[2]};
    const double b[3] = {v[0] - p[0], v[1] - p[1], v[2] - p[2]};
    const double c[3] = {w[0] - p[0], w[1] - p[1], w[2] - p[2]};
    return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) + a[2] * (b[0] * c[1] - b[1] * c[0]);
}

// The sign of the same volume, of a face or of any triangle, in exact arithmetic: 1, 0 or -1. Exact unless products of
// three coordinates overflow or underflow.
inline int exact_volume_sign(const double *a, const double *b, const double *c, const double *p) noexcept
{
    return -orientation(a, b, c, p);
}
inline int exact_volume_sign(const tFaceStructure *f, const double *p) noexcept
{
    return exact_volume_sign(f->vertex[0]->v, f->vertex[1]->v, f->vertex[2]->v, p);
}

// Appends a record to a circular list: just before the head, or as the head.
template <class Record>
void append(Record *&head, Record *record) noexcept
{
    if (head == nullptr) {
        head = record->next = record->prev = record;
        return;
    }
    record->next = head;
    record->prev = head->prev;
    head->prev = record;
    record->prev->next = record;
}

// Takes a record out; if it was the head, the next one is.
template <class Record>
void unlink(Record *&head, Record *record) noexcept
{
    if (record->next == record)
        head = nullptr;
    else if (record == head)
        head = record->next;
    record->next->prev = record->prev;
    record->prev->next = record->next;
}

}  // namespace teska

#endif
