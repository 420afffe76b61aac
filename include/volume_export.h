/* volume_export.h - tetrahedral volumes made visible
 *
 *     tetra_volume *gamut = tetra_volume_new(points);
 *     writeVRML(gamut, "faces.wrl", "corners.wrl");
 *     double eye[3] = {50, 200, 300};
 *     tetra_volume_dump_to_file(gamut, eye, "edges.txt");     three columns, for a plotting program
 *
 * Common rules
 *   Files are named in UTF-8 and replaced when they exist. Numbers have a point whatever the locale; coordinates are
 *   rounded as by "%10.2f" and "%7.1lf", so -0.00 may appear.
 *   Nothing is reported. Any number of threads may write or view one volume at the same time, to different files, as
 *   long as nobody changes it.
 */
#ifndef TESKA_VOLUME_EXPORT_H
#define TESKA_VOLUME_EXPORT_H
#include "teska_api.h"
#include "tetra.h"
TESKA_BEGIN_C

/* writeVRML - write the boundary as a VRML 2.0 scene of triangles, and its corners as another one of points.
 *
 * Both show the axes as three bars. A triangle's colour tells where it faces: red, green and blue are
 *
 *     (n / |n| + 1) / 2,   n = (a, b, c) of its plane;   0.5 each for a triangle without area
 *
 * facefile   the first scene; an empty volume gives one without triangles
 * pointfile  the second one: the three points of every plane, in the order of the list
 * Returns 0; -1 when the volume or a name is null or when the first file cannot be opened, which leaves no file,
 * or cannot be written to its end, which leaves what was written. The second file is not begun then.
 * Kept: 0 also when the second file cannot be opened or written.
 */
TESKA_API int writeVRML(const tetra_volume *v, const char *facefile, const char *pointfile) TESKA_NOTHROW;

/* tetra_volume_view - which parts of each boundary triangle can be seen from a point.
 *
 *     flags[k][0 .. 2]  the corners of plane k
 *     flags[k][3]       its centroid
 *     flags[k][4 .. 6]  the middles of the sides p0 p1, p1 p2, p2 p0; looked at only when one of the above is hidden
 *
 * 1 when tetra_volume_line_hasintersects says no for the segment from the eye to there, else 0.
 *
 * flags  one int[7] for each plane
 * Returns 0; -1 for a null volume or null flags. O(planes^2).
 * Kept: a triangle seen at its corners and centroid has 0 for the middles.
 */
TESKA_API int tetra_volume_view(const tetra_volume *v, const double eye[3], int (*flags)[7]) TESKA_NOTHROW;

/* tetra_volume_dump_to_file - write the sides of the boundary triangles as points, one per line, and the axes.
 *
 * A side is 100 points when both its ends and its middle are seen (tetra_volume_view), nothing when one end and the
 * middle are, and 10 points otherwise. Points run from its first end and stop short of the second.
 *
 * name  a text file
 * Returns 0; -1 for a null volume or name, when memory is short or the file cannot be opened, which leaves
 * no file, or when it cannot be written to its end.
 * Kept: the sides of a triangle that is seen as a whole are sparse, because its middles count as hidden.
 */
TESKA_API int tetra_volume_dump_to_file(const tetra_volume *v, const double eye[3], const char *name) TESKA_NOTHROW;

TESKA_END_C
#endif
