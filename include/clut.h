/* clut.h - colour lookup table: an N-dimensional grid of float vectors, evaluated at any point of the unit cube
 *
 * Three inputs are interpolated along tetrahedra, any other number multilinearly over the 2^N corners of the cell.
 *
 *     unsigned char grid[3] = {17, 17, 17};
 *     std::vector<float> values(17 * 17 * 17 * 4);              four inks at each grid point
 *     ...                                                       fill them in the order below
 *     CLUT table(3, grid, 4, 0, values.data());                 copies the values
 *     double ink[4], rgb[3] = {0.25, 0.5, 1.0};
 *     table.Interpolate(ink, rgb);
 *
 * Common rules
 *   Order of the values: channel c of grid point (g0, g1, ..) is element g0*s0 + g1*s1 + .. + c. The last input has the
 *   stride s(N-1) = M, and s(k) = grid(k+1) * s(k+1): channels are innermost, the first input varies slowest.
 *   Corners of a cell are numbered the other way round: corner c is one step up along input k exactly when bit k of c
 *   is set. So corner 1 lies along the first, slowest input.
 *   Indices are not checked: they must be in range.
 *   Kept: copies share their arrays with the source, and the destructor releases nothing, because some copy may still
 *   be in use. A table costs its memory until the program ends; build it once.
 *   Any number of threads may interpolate and query one table, or copies of it, at once; the results are the same bits
 *   as in one thread. No thread may change elements of the table or of a copy, or assign to it, meanwhile.
 *   Results are the same bits on every machine: sums and products are rounded to float one by one, in stated order.
 */
#ifndef TESKA_CLUT_H
#define TESKA_CLUT_H
#include "teska_api.h"
#ifdef __cplusplus

class TESKA_API CLUT
{
public:
    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* CLUT - build a table from values, which are copied.
     *
     * inputDim        N, number of inputs, 1 .. 16; more are cut to 16, and a table of 0 inputs computes nothing
     * gridPoints      N counts, each at least 2
     * outputChannels  M, values at each grid point; with 0 Interpolate writes nothing
     * aux             a byte for the caller's use: carried and copied, never looked at
     * data            M * NumPoints() values in the order above
     * Throws std::bad_alloc when a count is 0 or 1, when NumPoints(), a stride or the number of values exceeds
     * 2^32 - 1, or when memory runs out; nothing stays allocated then.
     */
    CLUT(unsigned char inputDim, unsigned char *gridPoints, unsigned char outputChannels, unsigned char aux,
         float *data);

    /* Copy and assignment take over every field, pointers included: both tables see each other's element changes. */
    CLUT(const CLUT &other);
    CLUT &operator=(const CLUT &other);

    /* Kept: releases nothing. */
    virtual ~CLUT();

    /* ---- Query --------------------------------------------------------------------------------------------------- */

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

    /* ---- Change -------------------------------------------------------------------------------------------------- */

    /* Element i of the values (not grid point i), 0 .. M * NumPoints() - 1, and its address in the table's array, valid
     * for ever. Elements may be changed whenever no thread interpolates; all copies see it. */
    float &operator[](int i);
    float *GetData(int i);

    /* ---- Process ------------------------------------------------------------------------------------------------- */

    /* Interpolate - evaluate the table at one point.
     *
     * out  M values, owned by the caller, 0 .. 1; may overlap in
     * in   N values; below 0 counts as 0, above 1 as 1
     * A NaN among the inputs makes every output NaN. A NaN or an infinity in the table reaches the output from the four
     * corners of the path when N is 3, and otherwise from every corner of the cell, those of weight 0 too.
     * Allocates nothing. O(M * 2^N); with three inputs O(M).
     * Kept: with three inputs the path is crossed where the third fraction is the largest, see Interp3dTetra.
     */
    void Interpolate(double *out, const double *in);

protected:
    /* For derived classes. In all routines `in` holds N values already clamped to 0 .. 1; input k is located by
     *
     *     x = (float)(maxIndex[k] * in[k]);  i = (int)x;  f = x - i;     and at the top: i = maxIndex[k] - 1, f = 1
     *
     * Every result goes through clampFn into out, first channel first. A derived class may set clampFn to a function
     * of its own; it must not throw. */

    /* Begin - prepare maximum indices, corner offsets and, unless N is 3 .. 6, work arrays.
     *
     * Called by the constructor. A second call frees the former arrays: copies that share them are then unusable.
     * Throws std::bad_alloc and leaves the arrays as they were. */
    void Begin();

    /* Interp3dTetra - along the tetrahedron chosen by the fractions fx, fy, fz of inputs 0, 1, 2; P(c) is at corner c:
     *
     *     fz <  fy, fz >  fx            P0 + (P2-P0)*fy + (P6-P2)*fz + (P7-P6)*fx
     *     fz <  fy, fz <= fx, fy <  fx  P0 + (P1-P0)*fx + (P3-P1)*fy + (P7-P3)*fz
     *     fz <  fy, fz <= fx, fy >= fx  P0 + (P2-P0)*fy + (P3-P2)*fx + (P7-P3)*fz
     *     fz >= fy, fz <  fx            P0 + (P1-P0)*fx + (P5-P1)*fz + (P7-P5)*fy
     *     fz >= fy, fz >= fx, fy <  fx  P0 + (P4-P0)*fz + (P6-P4)*fy + (P7-P6)*fx
     *     fz >= fy, fz >= fx, fy >= fx  P0 + (P4-P0)*fz + (P5-P4)*fx + (P7-P5)*fy
     *
     * Kept: in the last two rows the middle corners are exchanged against the order of the fractions. One weight is
     * then negative; at (1, 0, 1) the result is P4 - P6 + P7, not P5. */
    void Interp3dTetra(double *out, const double *in);

    /* Interp3d .. Interp6d - multilinear over 8, 16, 32, 64 corners. The weight of corner c is the product over
     * k = 0, 1, .. of f(k) where bit k of c is set, else of 1 - f(k); the terms are added from corner 0 upwards.
     * Interp3d is there for derived classes only: Interpolate never chooses it. */
    void Interp3d(double *out, const double *in);
    void Interp4d(double *out, const double *in);
    void Interp5d(double *out, const double *in);
    void Interp6d(double *out, const double *in);

    /* InterpND - the same for any N; each weight is multiplied in the order k = N-1, N-2, .. 0. */
    void InterpND(double *out, const double *in);

    double (*clampFn)(float);     /* for every result; at first the clamp to 0 .. 1, through which NaN passes */
    unsigned char inputDim;       /* N */
    unsigned char outputChannels; /* M */
    unsigned char auxByte;        /* the caller's byte */
    unsigned char gridPoints[16]; /* counts, 0 beyond N */
    unsigned int numPoints;       /* product of the counts */
    unsigned int dimSize[16];     /* strides in elements, 0 beyond N */
    float *data;                  /* M * numPoints values */
    unsigned char maxIndex[16];   /* counts - 1 */
    unsigned int corner3[8];      /* for N = 3: offset of each corner from the cell's lowest one, in elements */
    unsigned int *cornerN;        /* the same for every N: 2^N entries */
    unsigned int cornerCount;     /* 2^N */
    /* Room for the routines of a derived class; those of this class neither read nor write it, and copies share it. At
     * first zero; null when N is 3 .. 6. */
    float *workScaled;          /* N values */
    float *workFraction;        /* N values */
    int *workIndex;             /* N values */
    float *workWeight;          /* 2^N values */
    unsigned int bitPeriod[16]; /* general N: 2^(N-1-i) at i: the step between corners that differ in input N-1-i */
};

#endif
#endif
