/* tplane - pixels of a picture on a plane section through Lab space
 *
 *     TPlane hue(301, 201, TPlane::ConstHuePlane, 45.0, 0.0, 150.0, 0.0, 100.0);
 *     double lab[3];
 *     hue.GetLab(150, 0, lab, false);                          (100, 53.03.., 53.03..)
 *     int x, y;
 *     hue.GetXY(lab, &x, &y, false);                           150, 0
 *
 * Common rules
 *   Colours are (L, a, b). Pixel columns count from 0 at xmin to W - 1 at xmax, rows from 0 at ymax, the top, down to
 *   H - 1 at ymin. In a picture of one column every column is at xmin, in one of one row every row is at ymax.
 *
 *     type  plane                        across       down
 *     0     L = value                    a            b
 *     1     a = value                    b            L
 *     2     b = value                    a            L
 *     3     hue angle = value degrees    chroma       L        any other type counts as this one
 *
 *   A pixel position is rounded to the nearest pixel, halves away from 0, and kept within +-2147483647; where it is not
 *   a number, because a range is empty or a coordinate NaN, it is 0.
 *   Nothing is checked: any size, type, range and colour may be given. No member allocates, throws or reports.
 *   Any number of threads may query one object at the same time; only an assignment changes it.
 *   Types 0 to 2 give the same bits everywhere; type 3 takes sine, cosine and angle from the C library.
 */
#ifndef TESKA_TPLANE_H
#define TESKA_TPLANE_H
#include "teska_api.h"
#ifdef __cplusplus

class TESKA_API TPlane
{
public:
    /* What is constant: a coordinate, or the hue. */
    enum PlaneType : int { ConstLPlane = 0, ConstAPlane = 1, ConstBPlane = 2, ConstHuePlane = 3 };

    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* TPlane - a picture of W columns and H rows. The grid points are computed here.
     *
     * W, H        columns and rows
     * type        the kind of plane
     * value       its constant
     * xmin, xmax  range of the across axis
     * ymin, ymax  range of the down axis, the largest at the top
     */
    TPlane(int W, int H, enum TPlane::PlaneType type, double value, double xmin, double xmax, double ymin, double ymax);

    /* Copies take over the grid points, too. */
    TPlane(TPlane const &other);
    TPlane &operator=(TPlane const &other);

    /* ---- Query --------------------------------------------------------------------------------------------------- */

    /* 1 when size, type, value and ranges of other are exactly equal, else 0; and the reverse. */
    int operator==(TPlane const &other) const;
    int operator!=(TPlane const &other) const;

    /* What was given: columns, ranges, constant. */
    int W() const;
    double XMin() const;
    double XMax() const;
    double YMin() const;
    double YMax() const;
    double Value() const;

    /* ---- Process ------------------------------------------------------------------------------------------------- */

    /* Coordinate of column i and of row j, also of those outside the picture.
     *
     *     X(i) = xmin + (xmax - xmin) * i / (W - 1),    Y(j) = ymax - (ymax - ymin) * j / (H - 1)
     */
    double X(int i) const;
    double Y(int j) const;

    /* GetLab - the colour of pixel (x, y).
     *
     * lab    3 values
     * clamp  whether x is limited to 0 .. W and y to 0 .. H first
     * Kept: the limits are W and H, one beyond the last pixel.
     */
    void GetLab(int x, int y, double *lab, bool clamp) const;

    /* GetXY - the pixel of a colour, which is projected onto the plane; on a hue plane by its chroma towards that hue,
     * negative on the far side of the grey axis.
     *
     * lab      3 values
     * x, y     out: the pixel
     * noClamp  whether x and y may lie outside 0 .. W and 0 .. H
     * Kept: the same limits, one beyond the last pixel, and a flag of the opposite sense.
     */
    void GetXY(double const *lab, int *x, int *y, bool noClamp) const;

    /* GetXGridPoints, GetYGridPoints - pixel positions of the grid lines of an axis.
     *
     *     across, and down for type 0    -125, -100, .. 125
     *     down for types 1 to 3          0, 10, .. 100
     *
     * nr     11, the number of positions
     * steps  what the axis says about its steps: 5 for the range of -125 to 125, 10 for that of 0 to 100
     * Returns the positions, owned by the object and valid as long as it is; a copy has its own. They may lie outside
     * the picture.
     * Kept: positions on the down axis count from ymin, that is from the bottom row upwards, unlike rows.
     */
    int const *GetXGridPoints(int *nr, int *steps) const;
    int const *GetYGridPoints(int *nr, int *steps) const;

private:
    int X2x(double v) const;
    int Y2y(double v) const;
    void CalculateAxes();
    void GetGridPoints(double high, double low, double axisMax, double axisMin, int pixels, int nr, int *out) const;

    int w;
    int h;
    PlaneType type;
    double value;
    double xmin;
    double xmax;
    double ymin;
    double ymax;
    int axesDone; /* whether the fields below are filled: 1 in every object */
    int xSteps;
    int ySteps;
    int xGrid[11];
    int yGrid[11];
};

#endif
#endif
