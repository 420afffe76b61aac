/* teska_geometry.h - gathers the headers of one subsystem: geometry and gamut */
#ifndef TESKA_GEOMETRY_H
#define TESKA_GEOMETRY_H
#include "clg.h"
#include "convex_hull.h"
#include "proj.h"
#include "tetra.h"
#include "top_surface.h"
#ifdef __cplusplus
#    include "tconvexhull.h"
#    include "tplane.h"
#    include "tquadtree.h"
#    include "ttriangulartopsurface.h"
#endif
#include "volume_export.h"
#endif
