/* tconvexhull.h - class TConvexHull: the convex hull of points in three dimensions, and whether a point lies inside
 *
 *     TConvexHull hull;
 *     for (const Lab &colour : measured)
 *         hull.AddPoint(colour.L, colour.a, colour.b);
 *     if (hull.Construct() != 0) ...                       all points in one plane, or memory is short
 *     if (hull.InsideHull(50, 12, -7)) ...                 inside, or on the hull
 *
 * Common rules
 *   Coordinates are of the order of colour values, tens to hundreds in each direction. The measure of everything is the
 *   signed volume of a face and a point,
 *
 *       vol = a.x (b.y c.z - b.z c.y) + a.y (b.z c.x - b.x c.z) + a.z (b.x c.y - b.y c.x)
 *
 *   a, b, c the vertices of the face minus the point: six times the volume of the tetrahedron, negative for a point
 *   that the face sees from outside. The face is visible from the point when vol < -0.5.
 *   Kept: the 0.5 does not scale with the coordinates. Points that differ by less than about 0.1 make no volume at all.
 *
 *   Points are taken one after another (O'Rourke's incremental algorithm). One that sees no face is inside; for any
 *   other the faces it sees make way for a cone of new faces over their border. As long as every border is one simple
 *   closed loop, the lists come out as that algorithm makes them, record for record. On dense curved clouds the 0.5
 *   leaves out small faces in the midst of others, so that the border falls apart. The hull is then made anew from the
 *   first point, with the sign of vol in exact arithmetic instead of the 0.5 in all steps.
 *
 *   Guaranteed for every cloud: Construct ends, in a closed surface of triangles oriented alike, with two faces at
 *   every edge and V - E + F = 2. A hull made
 *   by exact signs        is convex, and all points lie in it or on it, at a distance of 0, as long as products of
 *                         three coordinates do not overflow.
 *   by the 0.5            only grows from step to step, and no point that sees a face at its turn is left out. One left
 *                         inside has vol >= -0.5 with every face there was at its turn, so it is beyond the plane of a
 *                         face of area A by no more than 0.25 / A. The surface may be hollow at an edge by as much, and
 *                         InsideHull 0 for a point of the hull: for 2 of 3,000 on a sphere of radius 300, by 0.017.
 *
 *   The surface is closed with any finite coordinates. Where products of three overflow, that is all: points outside
 *   may be left out, and a cloud whose volumes come out as NaN or, to exact signs, as 0 counts as coplanar.
 *
 *   Points with a coordinate that is not finite are not part of the hull, and not inside it.
 *   Any number of threads may ask one object, or copies of it that share lists, and copy them at the same time.
 *   AddPoint and Construct change what all copies share: while one of them runs, no other thread may use the copies,
 *   except to destroy one or to assign another hull to it. Objects that share nothing are independent.
 *   Nothing is reported or thrown.
 *   Source: J. O'Rourke, Computational Geometry in C, 2nd ed., Cambridge University Press 1998, chapter 4.
 */
#ifndef TESKA_TCONVEXHULL_H
#define TESKA_TCONVEXHULL_H
#include "teska_api.h"
#ifdef __cplusplus

struct convex_hull;
struct tEdgeStructure;
struct tFaceStructure;
struct tHullStore;

/* Three circular doubly linked lists. A new record goes to the end, just before the head. Here a vertex. */
struct tVertexStructure {
    double v[3];                   /* x, y, z */
    int vnum;                      /* number of the point in order of adding, from 0 */
    tEdgeStructure *duplicate;     /* edge of the present cone from this vertex, or null */
    int onhull;                    /* 0 */
    int mark;                      /* already processed */
    tVertexStructure *next, *prev; /* in the list */
};

/* An edge, in the second list. */
struct tEdgeStructure {
    tFaceStructure *adjface[2];  /* the faces on both sides */
    tVertexStructure *endpts[2]; /* the ends */
    tFaceStructure *newface;     /* face of the present cone on this edge, or null */
    int del;                     /* to be removed */
    tEdgeStructure *next, *prev; /* in the list */
};

/* A face, in the third list. */
struct tFaceStructure {
    tEdgeStructure *edge[3];     /* edge[i] joins vertex[i] and vertex[(i + 1) % 3] */
    tVertexStructure *vertex[3]; /* the corners */
    int visible;                 /* from the point being added */
    tFaceStructure *next, *prev; /* in the list */
};

class TESKA_API TConvexHull
{
public:
    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* An empty hull. */
    TConvexHull();
    ~TConvexHull();

    /* Copies refer to the same lists: what is done to one is done to all. The last one frees them. Copying allocates
     * nothing. O(copies). */
    TConvexHull(TConvexHull const &other);
    TConvexHull &operator=(TConvexHull const &other);

    /* ---- Change -------------------------------------------------------------------------------------------------- */

    /* AddPoint - add the point (x, y, z), in any order.
     *
     * Returns 0. A point that is not finite takes a number and is left out. When memory is short the point is lost, and
     * Construct gives -1 from then on.
     */
    int AddPoint(double x, double y, double z);

    /* Construct - build the hull of all points added.
     *
     * Returns 0, or -1 when all points are collinear, or coplanar as far as the 0.5 tells, or when memory is short. The
     * points are then all there, so that more can be added or the call repeated.
     * Points inside are forgotten. Further points may be added and a further call made: the vertices of the hull are
     * the points that are left then.
     * Kept: without three consecutive points that are not collinear, the last followed by the first, the result is -1:
     * points that were all added twice in a row have no hull.
     * O(n F) for n points and F faces, with a small constant: of the points of a cloud usually few are vertices. Where
     * all are and each sees most faces before it, as along a curve in space, that is O(n^2). By exact signs about
     * O(n log n) on round clouds: 100,000 points on a sphere take a second.
     */
    int Construct();

    /* ---- Query --------------------------------------------------------------------------------------------------- */

    /* IsEmpty - non-zero when no point was added, finite or not. */
    int IsEmpty() const;

    /* InsideHull - 1 when no face is visible from the point (x, y, z), which then lies inside or on the hull; else 0.
     *
     * 0 without a hull, and for a point that is not finite. O(F).
     */
    int InsideHull(double x, double y, double z) const;

private:
    tVertexStructure *vertices; /* heads of the lists */
    tEdgeStructure *edges;
    tFaceStructure *faces;
    int count; /* points added, and the next number */

    mutable TConvexHull *sharer; /* the next of the objects with these lists, in a ring */
    tHullStore *store;           /* what makes it fast; null before the first point */
    int lost;                    /* a point has found no memory */

    tVertexStructure *MakeNullVertex();
    tEdgeStructure *MakeNullEdge();
    tFaceStructure *MakeNullFace();
    tFaceStructure *MakeFace(tVertexStructure *, tVertexStructure *, tVertexStructure *, tFaceStructure *fold);
    int Collinear(tVertexStructure const *, tVertexStructure const *, tVertexStructure const *) const;
    int DoubleTriangle();
    int ConstructHull();
    int AddPoint(tVertexStructure *);
    int VolumeSign(tFaceStructure *, tVertexStructure *) const;
    tFaceStructure *MakeConeFace(tEdgeStructure *, tVertexStructure *);
    void MakeCcw(tFaceStructure *, tEdgeStructure *, tVertexStructure *);
    void CleanUp(tVertexStructure **);
    void CleanEdges();
    void CleanFaces();
    void CleanVertices(tVertexStructure **);
    void EdgeOrderOnFaces();
    int InsideHull(tVertexStructure *) const;
    void SubVec(double const *, double const *, double *) const;

    /* Debug output, to standard error and (PrintPoint, Print) to standard output; the checks give 1 for good. */
    int Volumei(tFaceStructure *, tVertexStructure *) const;
    void PrintPoint(tVertexStructure *) const;
    void PrintOut(tVertexStructure *) const;
    void PrintVertices() const;
    void PrintEdges() const;
    void PrintFaces() const;
    void Print() const;
    int CheckEndpts() const;
    int Consistency() const;
    int Convexity() const;
    void CheckEuler(int, int, int) const;
    void Checks() const;

    void Join(TConvexHull const &);
    void Leave();
    void Take(TConvexHull const &);
    void Publish() const;
    bool Prepare();
    int Build();
    void Abandon();
    void FreeSurface();
    void FreeVertices();
    int FindVisible(tVertexStructure *);
    int FindBelow(tVertexStructure *);
    int FindBorder();

    friend struct convex_hull; /* the C face, convex_hull.h */
    friend struct TConvexHullTest;
};

#endif
#endif
