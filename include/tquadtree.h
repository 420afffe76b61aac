/* tquadtree.h - class TQuadTree: points and boxes in the plane, found by place
 *
 *     TQuadTree dots;
 *     for (Dot &dot : screen)
 *         dots.Insert(dot.x, dot.y, &dot);
 *     TQuadHit hit;
 *     if (dots.Nearest(mouse.x, mouse.y, 5, &hit) == 1) ...        the dot under the mouse, no farther than 5 away
 *     dots.InBox({0, 0, 100, 100}, draw, &canvas);                 every dot in the window
 *
 * The tree divides the plane by the centres of the items, and every part knows the tight bounds of what lies in it.
 * Searches go by these bounds: answers are exact, a large box costs nothing special, and nothing is stored twice.
 *
 * Common rules
 *   An item is a box with edges parallel to the axes, or a point, which is a box of size 0. The void pointer is the
 *   caller's and is never followed; it may be null or hold a number, and may occur often.
 *   Coordinates are finite and at most 1e150 in magnitude, so that squares of distances do not overflow. Units are the
 *   caller's; y may go up or down.
 *   The distance of a point (x, y) to a box is
 *
 *       sqrt(dx^2 + dy^2),   dx = max(x0 - x, 0, x - x1),   dy = max(y0 - y, 0, y - y1)
 *
 *   0 inside and on the edge. Order and equality of distances go by dx^2 + dy^2 as calculated in doubles; reaches and
 *   radii are compared with its root. Distances that are equal are in the order of insertion, everywhere. Asked from
 *   so far away that squares overflow, all distances are HUGE_VAL and equal.
 *   Pointers are not null, contexts apart. Queries allocate nothing and write to their arguments alone: any number of
 *   threads may ask one object at the same time, while no thread changes it. Objects are independent of each other.
 *   Nothing is reported or thrown.
 *   Insert, Remove and queries of few items are O(log n) for items that are spread out, however unevenly; O(n) at
 *   worst, when all centres are equal, or crowd towards a place through more than 60 halvings.
 *   A point takes about 75 to 85 bytes, a box 95 to 110.
 */
#ifndef TESKA_TQUADTREE_H
#define TESKA_TQUADTREE_H
#include "teska_api.h"
#ifdef __cplusplus

struct tQuadStore;

/* x0 <= x <= x1, y0 <= y <= y1: edges belong to the box. It is upside down, and holds nothing, when x0 > x1 or
 * y0 > y1. */
struct TQuadBox {
    double x0, y0, x1, y1; /* the low corner and the high one */
};

/* What a query found. */
struct TQuadHit {
    void *item;      /* as given to Insert */
    TQuadBox box;    /* likewise; of a point x0 = x1, y0 = y1 */
    double distance; /* from the point asked about; 0 in InBox and Walk */
};

/* Called for an item found, on the caller's thread, inside the query.
 *
 * hit      valid until the call ends
 * context  as given to the query
 * It must neither change the tree nor throw; it may ask the tree. Returns 0 to go on; anything else ends the query.
 */
typedef int (*TQuadVisit)(const TQuadHit *hit, void *context);

class TESKA_API TQuadTree
{
public:
    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* An empty tree. Allocates nothing. */
    TQuadTree();
    ~TQuadTree();

    /* The entries have one owner. */
    TQuadTree(TQuadTree const &) = delete;
    TQuadTree &operator=(TQuadTree const &) = delete;

    /* ---- Change -------------------------------------------------------------------------------------------------- */

    /* Insert - add a point, or a box.
     *
     * x, y, box  where it is, within 1e150 of 0
     * item       the caller's; not looked at
     * Equal entries are kept as often as they are inserted.
     * Returns 0, or -1 with nothing changed: a coordinate that is not finite or above 1e150 in magnitude, a box that is
     * upside down, memory is short, or 2^31 - 1 entries are held.
     */
    int Insert(double x, double y, void *item);
    int Insert(TQuadBox const &box, void *item);

    /* Remove - take out one entry with exactly this box and this item, of several the one inserted first.
     *
     * x, y, box  where it is. Coordinates are compared by ==, so that -0.0 is 0.0; a point is the box (x, y, x, y)
     * item       as given to Insert
     * Returns 0, or -1 when there is no such entry. Allocates nothing; the room is used for later entries.
     */
    int Remove(double x, double y, void *item);
    int Remove(TQuadBox const &box, void *item);

    /* Clear - take out all entries and free their memory. */
    void Clear();

    /* ---- Query --------------------------------------------------------------------------------------------------- */

    /* Count - the number of entries. */
    int Count() const;

    /* Bounds - the smallest box that holds all entries.
     *
     * box  receives it
     * Returns 1, or 0 when there are none; the box is then untouched. O(1).
     */
    int Bounds(TQuadBox *box) const;

    /* Nearest - the entry nearest to a point, of equally near ones the one inserted first.
     *
     * x, y   the point
     * reach  greatest distance, itself included; HUGE_VAL for any
     * hit    receives the entry
     * Returns 1 and the hit, or 0 when no entry is within reach, when x, y or reach is NaN, or when reach is below 0;
     * the hit is then untouched.
     */
    int Nearest(double x, double y, double reach, TQuadHit *hit) const;

    /* Nearest - the k entries nearest to a point, in rising distance, equally near ones in the order of insertion; that
     * decides too which of them are left out.
     *
     * x, y   the point
     * reach  as above
     * k      how many are wanted
     * hits   room for k
     * Returns how many were stored, at most k; 0 also for k < 1. Further room is untouched.
     */
    int Nearest(double x, double y, double reach, int k, TQuadHit *hits) const;

    /* InBox - visit the entries that share a point with a box, edges included.
     *
     * box      may be infinite; one that is upside down, or has a NaN, holds nothing
     * visit    called for each of them, once, in an order that depends only on the calls made so far
     * context  handed to visit; may be null
     * Returns the number of visits, with the one that ended the query.
     */
    int InBox(TQuadBox const &box, TQuadVisit visit, void *context) const;

    /* InCircle - visit the entries at a distance of at most the radius; otherwise as InBox.
     *
     * x, y            the centre
     * radius          itself included; HUGE_VAL for any
     * visit, context  as for InBox
     * Returns the number of visits; 0 when x, y or radius is NaN or radius is below 0.
     */
    int InCircle(double x, double y, double radius, TQuadVisit visit, void *context) const;

    /* Walk - visit all entries; otherwise as InBox.
     *
     * visit, context  as for InBox
     * Returns the number of visits.
     */
    int Walk(TQuadVisit visit, void *context) const;

private:
    tQuadStore *store; /* null before the first entry */
};

#endif
#endif
