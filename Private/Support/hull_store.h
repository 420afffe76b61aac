// hull_store - what the C face of a hull asks of it beside its lists
//
// Used by convex_hull and tconvexhull.

#ifndef TESKA_SUPPORT_HULL_STORE_H
#define TESKA_SUPPORT_HULL_STORE_H

struct tHullStore;

namespace teska
{

// Whether the last construction failed because all points lie in one plane.
bool hull_was_flat(const tHullStore &store) noexcept;

}  // namespace teska

#endif
