// tiling - tetrahedra that fill a hull, with every point as a corner

#ifndef TESKA_TETRA_TILING_H
#define TESKA_TETRA_TILING_H

#include "Source/tetra/hull.h"
#include "Support/growing.h"
#include "Support/memory.h"
#include "Support/vec.h"

#include <cmath>
#include <cstdint>

namespace teska::tetra
{

struct cell {
    int corner[4];  // points; corner[0] is none in a cell that is gone
    int across[4];  // the cell beyond the face opposite to each corner, or none
    int stamp;      // the last hole it was part of
};

class tiling
{
public:
    tiling(const vec3 *points, double tolerance) : points_(points), tolerance_(tolerance) {}

    // The cells of an apex and the triangles of the hull, which must outlive the tiling. False when memory is short.
    bool start(int nr_points, const growing<hull_triangle> &hull, int apex);
    // Makes a point a corner, unless it is one already or lies outside the hull. False when memory is short.
    bool add(int point);
    [[nodiscard]] const growing<cell> &cells() const { return cells_; }
    // Whether tetra_new cannot describe the tetrahedron of four points.
    [[nodiscard]] bool is_sliver(const int *corner) const;

private:
    enum class result { done, refused, no_memory };

    // A face around a hole, and the cell that is made on it.
    struct hole_face {
        int corner[4];   // those of the new cell
        int apex;        // which of them is the new point
        int parent;      // the cell of the hole
        int outer;       // the cell on the other side, or none
        int outer_face;  // the number of the face there
        int made;        // the new cell
    };

    // A side of such a face, which is where the new cells of two faces meet.
    struct hole_side {
        std::int64_t ends;  // its corners
        int face;
        int cell_face;  // of the new cell

        bool operator<(const hole_side &other) const
        {
            return ends != other.ends ? ends < other.ends : face < other.face;
        }
    };

    const vec3 &at(int point) const { return points_[point]; }
    int side(const int *corner, int k, int point) const;
    bool holds(const cell &c, int point) const;
    bool nearly_holds(const cell &c, int point) const;
    double height(const int *face, int point) const;
    bool is_outside(int point) const;
    int walk(int from, int point) const;
    int search(int point) const;
    int box_of(int point) const;
    void set_boxes();
    bool crosses(const cell &c, int k, int point, bool merging) const;
    result make_hole(int point, int first, bool merging);
    result grow_hole(int point, int first, bool merging);
    result list_faces(int point, bool merging);
    result pair_sides();
    bool keeps_corners();
    bool fill_hole(int point);

    const vec3 *points_;
    double tolerance_;
    growing<cell> cells_;
    growing<int> hole_;  // its cells
    growing<hole_face> faces_;
    growing<hole_side> sides_;
    heap_block<int> stamp_;  // of each corner: the last hole that it was a corner of
    int hole_number_ = 0;

    // Boxes over the hull's extent; for each the cell where its last point went. 0 at first, which is a cell too.
    static constexpr int boxes = 16;
    heap_block<int> last_in_box_;
    int last_of_all_ = 0;
    vec3 low_ = {};
    vec3 per_unit_ = {};  // boxes along each axis
    const growing<hull_triangle> *hull_ = nullptr;
};

}  // namespace teska::tetra

#endif
