// records - the records of a hull with fields of our own after the public ones, and the lists they are kept in

#ifndef TESKA_TCONVEXHULL_RECORDS_H
#define TESKA_TCONVEXHULL_RECORDS_H

#include "Support/memory.h"

#include "tconvexhull.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace teska
{

struct hull_vertex : tVertexStructure {
    tVertexStructure *follower;  // the next vertex along the border of a step
    tFaceStructure *face;        // one of its faces, while it is a vertex of the hull
    int piece;                   // number of the last piece that this vertex joined
    bool gone;                   // found inside
};

struct hull_edge : tEdgeStructure {
    std::int64_t order;  // rises along the list
};

struct hull_face : tFaceStructure {
    std::ptrdiff_t slot;  // of its plane; -1: none
};

inline hull_vertex *full(tVertexStructure *v) noexcept { return static_cast<hull_vertex *>(v); }
inline hull_edge *full(tEdgeStructure *e) noexcept { return static_cast<hull_edge *>(e); }
inline hull_face *full(tFaceStructure *f) noexcept { return static_cast<hull_face *>(f); }

inline tFaceStructure *across(const tEdgeStructure *e, const tFaceStructure *f) noexcept
{
    return e->adjface[e->adjface[0] == f ? 1 : 0];
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

// Takes a record out; if it was the head, the next one becomes the head.
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

// Records out of use, kept for the next use: a step frees nearly as many as it makes.
template <class Record>
class spares
{
public:
    spares() = default;
    spares(const spares &) = delete;
    spares &operator=(const spares &) = delete;
    ~spares() { release(); }

    // A zeroed record; null: memory is short.
    Record *make() noexcept
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

}  // namespace teska

#endif
