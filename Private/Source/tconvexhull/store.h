// store - what TConvexHull keeps in addition to its lists: for speed, and to take a construction back

#ifndef TESKA_TCONVEXHULL_STORE_H
#define TESKA_TCONVEXHULL_STORE_H

#include "Source/tconvexhull/compass.h"
#include "Source/tconvexhull/planes.h"
#include "Source/tconvexhull/records.h"
#include "Source/tconvexhull/volume.h"
#include "Support/growing.h"
#include "Support/vec.h"

#include "tconvexhull.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace teska
{

// What a point does to a hull.
enum hull_step : int {
    torn = -2,  // the border of what it sees is not one simple closed loop
    no_memory = -1,
    inside = 0,
    outside = 1,
};

}  // namespace teska

struct tHullStore {
    teska::vec3 centre = {};
    teska::vec3 half = {};  // no vertex is farther from the centre along each axis
    double extent = 0.0;    // the largest of these
    bool exact = false;     // the hull is made in exact steps
    bool flat = false;      // the last construction found no four points to begin with
    std::int64_t edges_made = 0;
    int pieces_grown = 0;  // in this construction
    teska::face_planes planes;
    teska::compass compass;  // in exact steps

    teska::spares<teska::hull_edge> spare_edges;
    teska::spares<teska::hull_face> spare_faces;

    // One step: the visible faces, the edges at their border in the order of the list, and those between them.
    teska::growing<tFaceStructure *> seen;
    teska::growing<tEdgeStructure *> border;
    teska::growing<tEdgeStructure *> buried;
    // One construction: all vertices in the order of the list; those found inside, for which there is room, and how
    // many of them are out of the list.
    teska::growing<tVertexStructure *> all;
    teska::growing<tVertexStructure *> inside;
    int unlinked = 0;

    // Marks a face as visible; false: memory is short.
    [[nodiscard]] bool see(tFaceStructure *f) noexcept
    {
        f->visible = 1;
        return seen.push(f);
    }

    // After an exact step outside: adds the point to the compass, or opens the eye in the middle of the first four.
    void orient(tVertexStructure *added) noexcept;

    void drop(tVertexStructure *v) noexcept
    {
        teska::full(v)->gone = true;
        static_cast<void>(inside.push(v));  // there is room
    }

    // How far the value of a plane may be from the promised expression, at a point no coordinate of which is farther
    // from the centre than this.
    [[nodiscard]] double band(double largest) const noexcept
    {
        const double s = std::max(extent, largest);
        return 0x1p-42 * s * s * s;
    }
};

namespace teska
{

// A point, seen from the centre.
struct centred_point {
    vec3 at;
    double largest;  // magnitude of a coordinate

    centred_point(const tHullStore &store, const vec3 &v) noexcept
        : at(v - store.centre), largest(std::max(std::max(std::fabs(at.x), std::fabs(at.y)), std::fabs(at.z)))
    {
    }
};

}  // namespace teska

#endif
