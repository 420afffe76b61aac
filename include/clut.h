/* clut.h - colour lookup table: an N-dimensional grid of float vectors, interpolated at any point of the unit
 * cube
 *
 * Three inputs are interpolated along tetrahedra, any other number multilinearly over the 2^N corners of the
 * cell.
 *
 *     unsigned char grid[3] = {17, 17, 17};
 *     std::vector<float> values(17 * 17 * 17 * 4);              four inks at each grid point
 *     ...                                                       fill them in the order below
 *     CLUT table(3, grid, 4, 0, values.data());                 copies the values
 *     double ink[4], rgb[3] = {0.25, 0.5, 1.0};
 *     table.Interpolate(ink, rgb);
 *
 * Common rules
 *   Order of the values: channel c of grid point (g0, g1, ..) is element g0*s0 + g1*s1 + .. + c, where the
 * last input has the stride s(N-1) = M and s(k) = grid(k+1) * s(k+1). So channels are innermost and the first
 * input varies slowest. Corners of a cell are numbered the other way round: corner c is one step up along
 * input k exactly when bit k of c is set; corner 1 lies along the slowest input. Nothing is checked: N must
 * be 1 .. 16, every grid count at least 2, every index in range. Kept: copies share their arrays with the
 * source, and the destructor releases nothing, because some copy may still be in use. A table costs its
 * memory until the program ends; build it once. Several threads may interpolate one table, or copies, at once
 * when N is 3, 4, 5 or 6. Other tables work in arrays of their own, which copies share: callers serialise
 * those. Results are the same bits on every machine; all sums and products are rounded to float, in the order
 * stated.
 */
#ifndef TESKA_CLUT_H
#define TESKA_CLUT_H
#include "teska_api.h"
#ifdef __cplusplus

class TESKA_API CLUT
{
public:
    /* ---- Life
     * ---------------------------------------------------------------------------------------------------- */

    /* CLUT - build a table from values, which are copied.
     *
     * inputDim        N, number of inputs, 1 .. 16; more are cut to 16, and 0 gives a table that holds and
     * does nothing gridPoints      N counts, each at least 2 outputChannels  M, values at each grid point;
     * with 0 Interpolate writes nothing aux             a byte for the caller: carried and copied, never
     * looked at data            M * NumPoints() values in the order above Throws std::bad_alloc when memory
     * runs out, and when NumPoints(), a stride or the number of values exceeds 2^32 - 1; nothing stays
     * allocated then.
     */
    CLUT(unsigned char inputDim, unsigned char *gridPoints, unsigned char outputChannels, unsigned char aux,
         float *data);

    /* Copy and assignment take over every field, pointers included: both tables then see each other's element
     * changes. */
    CLUT(const CLUT &other);
    CLUT &operator=(const CLUT &other);

    /* Kept: releases nothing. */
    virtual ~CLUT();

    /* ---- Query
     * --------------------------------------------------------------------------------------------------- */

    /* Number of grid points: the product of all counts. */
    unsigned int NumPoints() const;

    /* Grid count of input 0. */
    unsigned char GridPoints() const;

    /* Grid count of input i, 0 .. 15; 0 beyond N. */
    unsigned char GridPoint(int i) const;

    /* Elements from one grid point to the next along input i, 0 .. 15; 0 beyond N. */
    unsigned int GetDimSize(unsigned char i) const;

    /* N */
    unsigned char GetInputDim() const;

    /* M */
    unsigned char GetOutputChannels() const;

    /* ---- Change
     * -------------------------------------------------------------------------------------------------- */

    /* Element i of the values (not grid point i), 0 .. M * NumPoints() - 1, and its address; valid as long as
     * any copy of the table is used. Elements may be changed at any time. */
    float &operator[](int i);
    float *GetData(int i);

    /* ---- Process
     * ------------------------------------------------------------------------------------------------- */

    /* Interpolate - evaluate the table at one point.
     *
     * out  M values, owned by the caller, 0 .. 1; may overlap in
     * in   N values; below 0 counts as 0, above 1 as 1
     * A NaN in the input makes every output NaN. A NaN among the values comes out as NaN wherever it takes
     * part: with three inputs that is on the four corners of the path, otherwise on all corners of the cell,
     * also at weight 0. Allocates nothing. O(M * 2^N), with three inputs O(M). Kept: with three inputs the
     * path crosses where the third fraction is the largest (see Interp3dTetra).
     */
    void Interpolate(double *out, const double *in);

protected:
    /* For derived classes. In all routines `in` holds N values already clamped to 0 .. 1, and each input k is
     * located by
     *
     *     x = (float)(maxIndex[k] * in[k]);  i = (int)x;  f = x - i;   at the top: i = maxIndex[k] - 1, f = 1
     *
     * Every value then goes through clampFn into out. A derived class may set clampFn to a function of its
     * own, which must not throw; the routines call it for each value, first channel first. */

    /* Begin - prepare maximum indices, corner offsets and, when N is not 3 .. 6, the work arrays.
     *
     * Called by the constructor. Allocates first and frees the former arrays last: copies that share those
     * must not be used any more. Throws std::bad_alloc with nothing changed in the arrays. */
    void Begin();

    /* Interp3dTetra - along the tetrahedron that the fractions fx, fy, fz (inputs 0, 1, 2) choose. P(c) is
     * the value at corner c:
     *
     *     fz <  fy, fz >  fx            P0 + (P2-P0)*fy + (P6-P2)*fz + (P7-P6)*fx
     *     fz <  fy, fz <= fx, fy <  fx  P0 + (P1-P0)*fx + (P3-P1)*fy + (P7-P3)*fz
     *     fz <  fy, fz <= fx, fy >= fx  P0 + (P2-P0)*fy + (P3-P2)*fx + (P7-P3)*fz
     *     fz >= fy, fz <  fx            P0 + (P1-P0)*fx + (P5-P1)*fz + (P7-P5)*fy
     *     fz >= fy, fz >= fx, fy <  fx  P0 + (P4-P0)*fz + (P6-P4)*fy + (P7-P6)*fx
     *     fz >= fy, fz >= fx, fy >= fx  P0 + (P4-P0)*fz + (P5-P4)*fx + (P7-P5)*fy
     *
     * Kept: in the last two rows the two middle corners stand exchanged against the order of the fractions,
     * which gives a negative weight inside; at (1, 0, 1) the result is P4 - P6 + P7, not P5. */
    void Interp3dTetra(double *out, const double *in);

    /* Interp3d .. Interp6d - multilinear over 8, 16, 32, 64 corners: the weight of corner c is the product
     * over k = 0, 1, .. of f(k) where bit k of c is set and of 1 - f(k) elsewhere; the products are added
     * from corner 0 upwards. Interp3d is there for derived classes; Interpolate does not use it. */
    void Interp3d(double *out, const double *in);
    void Interp4d(double *out, const double *in);
    void Interp5d(double *out, const double *in);
    void Interp6d(double *out, const double *in);

    /* InterpND - the same for any N by the work arrays; the weights are multiplied in the order k = N-1, N-2,
     * .. 0. */
    void InterpND(double *out, const double *in);

    double (*clampFn)(float); /* applied to every result; at first the clamp to 0 .. 1, which lets NaN pass */
    unsigned char inputDim;   /* N */
    unsigned char outputChannels; /* M */
    unsigned char auxByte;        /* the caller's byte */
    unsigned char gridPoints[16]; /* counts, 0 beyond N */
    unsigned int numPoints;       /* product of the counts */
    unsigned int dimSize[16];     /* strides in elements, 0 beyond N */
    float *data;                  /* M * numPoints values */
    unsigned char maxIndex[16];   /* counts - 1 */
    unsigned int corner3[8];      /* N = 3: offsets of the corners from the cell's lowest one, in elements */
    unsigned int *cornerN;        /* the same, 2^N entries; filled when N is not 3 */
    unsigned int cornerCount;     /* 2^N */
    float *workScaled;            /* N values x; the work arrays are null when N is 3 .. 6 */
    float *workFraction;          /* N fractions, that of input k at N-1-k */
    int *workIndex;               /* N cell indices */
    float *workWeight;            /* 2^N weights by corner */
    unsigned int
        bitPeriod[16]; /* 2^(N-1-i) at i: how far apart the corners stand that differ in input N-1-i */
};

#endif
#endif
