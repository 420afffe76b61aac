/* ttriangulartopsurface.h - the light side of the gamut of a device with several colorants
 *
 * Seen from the origin of the colour space, the darkest point, the gamut ends where the colours lie farthest along
 * their ray. That end is the umbrella: parts over which two colorants vary while every other one is at none or at its
 * full amount. White is near its top, the ramps of the full colorants run along its rim.
 *
 *     V  (vertical axis, lightness)
 *     |  white                                       teta  angle between a colour and the vertical axis
 *     *---__                                         phi   angle of (h1, h2), its hue, 0 .. 2 pi
 *     |  part --__     line apex - edge              V(teta)  height of the straight line from the apex (0, VTMax)
 *     |teta /     --* edge of the umbrella                    to the edge point (tetamax, VT) of the same hue
 *     |   /     /
 *     |  c   /   tetamax                             h1, h2  the two horizontal axes, in ascending order
 *     | / /
 *     0-------------------> horizontal radius
 *
 * The normalised coordinates of a colour are
 *
 *     tetar = teta / tetamax(phir)      0 on the vertical axis, 1 at the edge of the umbrella
 *     phir                              the hue, 0 .. 1 over the umbrella's range of hues
 *     vtr   = c[vertical] / V(teta)     0 at the level of the origin, 1 on the line from apex to edge
 *     V(teta) = VTMax / (tan(teta) (VTMax - VT(phir)) / (tan(tetamax(phir)) VT(phir)) + 1)
 *
 * in the order tetar, phir, vtr.
 *
 *     static int press(void *user, const double *device, double *lab);         1 is no ink, 0 full ink
 *
 *     const double levels[3] = {1.0, 0.5, 0.0};
 *     const double *of[4] = {levels, levels, levels, levels};
 *     const int counts[4] = {3, 3, 3, 3};
 *     TTriangularTopSurface top(4, of, counts, &data, 0, press, 91, 91);
 *     if (top.ErrNo() == 0 && top.DetermineNormCoord(lab, norm, penalty, 1000) == 0)
 *         ...
 *     double corner[3][3], own[3][3];
 *     for (int more = top.ScanTriangles(1, corner, own); more >= 0; more = top.ScanTriangles(0, corner, own))
 *         ...
 *
 * Common rules
 *   Colours are three doubles in the callback's order and unit. Angles are radians. Device values run from 1 (none of
 *   the colorant, a channel fully on) to 0; what is smallest among its levels is the full amount of a colorant.
 *   Colorants count from 0, parts too, in the order in which the umbrella lists them.
 *   Arrays belong to the caller and are not kept; levels and counts are copied. The user data and the callback are used
 *   as long as the object lives, and by its copies.
 *   The callback must not throw, and gives the same colour for the same device values. Of its result only the sign
 *   counts: negative is a failure. Where it fails, or gives what is not finite, the surface has a hole. It must not use
 *   the object that calls it.
 *   Failures are reported through error_mess_fl (error_mess.h) unless the block says otherwise. When memory runs out
 *   the line is one of "Not enough memory", "No Memory", "No memory", "no Memory", "No Mem", "No more memory", "Out of
 *   memory", "out of memory", "No More Memory".
 *   Kept: pi is 3.1415926535 and 2 pi 6.283185307, cut after these digits. Converting a colour there and back differs
 *   from it by up to 2e-10 of its length.
 *   Threads: any number of them may ask one object at once, by the conversions, UmbrellaEdge, GetNrDifferentPrimCombs,
 *   GetPrimComb, GetNrVarCoordPrimComb, GetDevCoord, the dumps and by copying it, and get the bits of one thread.
 *   One thread at a time makes, assigns or destroys an object, scans it (a scan moves the object's cursor), exports it
 *   (that may set the error number) or calls the protected steps; the scans may go on while others convert.
 *   The callback is called in the thread that makes the object, and in the one that first asks for a conversion, the
 *   edge or a script; others that ask meanwhile wait. So one object never calls it from two threads at once. Objects
 *   with the same callback, copies too, may do so: what it shares between them is its own affair.
 */
#ifndef TESKA_TTRIANGULARTOPSURFACE_H
#define TESKA_TTRIANGULARTOPSURFACE_H
#include "teska_api.h"
#ifdef __cplusplus
#    include "tlist.h"

#    include <cstdio>
#    include <ostream>

struct lin_interp_double;
struct md_tetrad;
class TPrimary;
class TPrimComb;
namespace teska
{
struct edge_point;
}

class TESKA_API TTriangularTopSurface
{
public:
    /* ---- Life ---------------------------------------------------------------------------------------------------- */

    /* TTriangularTopSurface - find the umbrella of a device.
     *
     * nrPrims     colorants, 1 and more. One alone has no umbrella: the object then has no parts
     * levels      of each colorant its device values in any order, 0 .. 1, none of them null; 1 is added when missing
     * nrLevels    how many levels each colorant has, at least 2
     * userData    handed to the callback; not null
     * vertAxis    which of the three colour coordinates is vertical, 0 .. 2
     * callback    callback(userData, device, colour): from nrPrims device values to three coordinates; not null
     * nrPhiSteps, nrTetaSteps  points at which the edge and the tables are sampled; both the same
     * ErrNo() tells how it went:
     *     0  the object is complete
     *     1  memory ran out or a step failed: the callback for a colorant alone, or for what it gave twice two colours.
     *        Reported besides the lines of memory: "Inconsistent common bound algorithm", "No Common Bounds!",
     *        "Algorithm does not converge" (pieces without end: what the callback gives has no shape),
     *        "Algorithm sucks" (it fails for all colours of a pair; the pair is left out)
     *     2  "Invalid Parameters, nrphisteps and nrtetasteps still need to be the same" for what is out of range above;
     *        "Invalid Parameters" for null levels or less than two;
     *        "TPrimCoord: Invalid data" for a level outside 0 .. 1
     * Every object can be asked and destroyed; without an umbrella queries give their failure value.
     * The callback is called n times for n colorants, and for each pair of them as often as their levels multiply.
     */
    TTriangularTopSurface(int nrPrims, double const **levels, int const *nrLevels, void *userData, int vertAxis,
                          int (*callback)(void *, double const *, double *), int nrPhiSteps, int nrTetaSteps);

    /* Deep: a copy shares nothing but user data and callback. The tables of the smaller gamut are made again when they
     * are needed. ErrNo() of the copy is 1 with "Not enough memory" when memory runs out. */
    TTriangularTopSurface(TTriangularTopSurface const &other);
    TTriangularTopSurface &operator=(TTriangularTopSurface const &other);
    virtual ~TTriangularTopSurface();

    /* ---- Process ------------------------------------------------------------------------------------------------- */

    /* ForBinaryStream - write a script for GNU Octave or a like tool that draws the parts seen along the vertical axis.
     *
     * For each part k the corners of its visible triangles (x_k, y_k), its two outer bounds (xs_k, ys_k), the edge over
     * the hue and a plot command. Numbers have a point and six digits whatever the locale. A stream that fails sets the
     * error number to 2. Returns the stream.
     */
    virtual std::ostream &ForBinaryStream(std::ostream &stream);

    /* The error number. */
    int ErrNo();

    /* DetermineNormCoord - colours to normalised coordinates.
     *
     * xyz      3 * count coordinates of colours
     * norm     3 * count results: tetar, phir, vtr
     * penalty  count results: 0 inside; negative outside, as much as phir and tetar lie outside 0 .. 1, added; may be
     *          null
     * phir is cut to 0 .. 1, tetar and vtr to at most 1; vtr is not cut from below. Below the level of the origin
     * V(teta) may be negative too, and vtr then positive; tetar is 1 there and the penalty negative.
     * A colour on the vertical axis has the hue 0, also where the range of hues does not hold that.
     * Returns 0, or -1 when there is no umbrella or its tables cannot be prepared: besides the lines of memory
     * "lin_interp : too little function points" (fewer than 2 steps) and "Such a small or big gamut is just not
     * possible".
     * Kept: a vtr cut to 1 costs no penalty. The line from apex to edge is a chord, above which colours do lie.
     * Kept: V(teta) is taken at the colour's own teta, also when tetar is cut.
     * Kept: the margin around a partial range of hues scales the angles (0.9 of its start, 1.1 of its width), and hues
     * do not wrap around its ends: the far end of a range that starts late lies outside.
     */
    int DetermineNormCoord(double const *xyz, double *norm, double *penalty, int count);

    /* DetermineXYZ - the inverse. penalty receives zeros; may be null. Returns as DetermineNormCoord. */
    int DetermineXYZ(double const *norm, double *xyz, double *penalty, int count);

    /* The same relative to a smaller gamut, the umbrella minimum: tetar relative to the umbrella's own edge, without
     * what bulges out of it on the dark side, and vtr relative to the lower of V(teta) and the umbrella itself. V is
     * taken at the tetar that was cut, in both directions. */
    int DetermineNormCoordMinGam(double const *xyz, double *norm, double *penalty, int count);
    int DetermineXYZMinGam(double const *norm, double *xyz, double *penalty, int count);

    /* UmbrellaEdge - the edge at a hue.
     *
     * phi      any angle; outside the umbrella's range the end of the range counts
     * tetamax  out: the angle of the edge. Within the range of hues the cone below it holds the samples that were taken
     *          of the device's faces; where a face is curved, colours between them may reach a little farther
     * vt       out: the height on the line from apex to edge there
     * Returns as DetermineNormCoord.
     * Over 119 random devices at 361 steps the farthest of 20,000 random colours of the faces lay beyond the edge by
     * 0.32 % of the angle in the median, by less than 1.7 % in nine devices of ten.
     */
    int UmbrellaEdge(double phi, double *tetamax, double *vt);

    /* ---- Query --------------------------------------------------------------------------------------------------- */

    /* Number of parts. */
    int GetNrDifferentPrimCombs();

    /* GetPrimComb - the device values of a part: fixed ones, -1 for its two main variable colorants; those of its list
     * of further ones -2, -3, .. in its order.
     *
     * Returns 0, or -1 when there is no such part; not reported.
     * Kept: an entry of the list below 1 ends it.
     */
    int GetPrimComb(int part, double *device);

    /* Variable coordinates of a part, 2 and those of its further list; -1 when there is no such part. */
    int GetNrVarCoordPrimComb(int part);

    /* ScanDifferentPrimCombs - GetPrimComb at a cursor.
     *
     * first  not 0: the cursor goes to part 0
     * Returns -1 when there is a part; the cursor stays. 0 when there is none; the cursor moves on.
     * Kept: the result is the wrong way round, and so is what moves the cursor.
     */
    int ScanDifferentPrimCombs(int first, double *device);

    /* GetDevCoord - device values of a point of a part.
     *
     * coords  device values of the main variable colorants, in ascending order of the colorants, and of those of the
     *         further list; 0 .. 1
     * Returns 0, or -1 with "No such umbrella surface" or "TPrimCoord: Invalid data".
     */
    int GetDevCoord(int part, double const *coords, double *device);

    /* ScanTriangles - the next visible triangle of the umbrella.
     *
     * first   not 0: starts with part 0
     * xyz     out: the colours of its corners
     * coords  out: for each corner what GetDevCoord takes; the third is 0. Weights that add to 1 lead from corners to
     *         points in both alike, except that colours are straight between them only as far as the device is
     * Returns 0, or 1 when the triangle is the first one of a further part; -1 when there is no more.
     * Parts without triangles are passed over.
     */
    int ScanTriangles(int first, double (*const xyz)[3], double (*const coords)[3]);

    /* The same for triangles of parts that other parts hide; 0, 1 and -1 likewise. */
    int ScanMaskedTriangles(int first, double (*const xyz)[3]);

    /* Export - ForBinaryStream to a file.
     *
     * file  its name in UTF-8; an existing one is replaced
     * Returns 0, or -1 with "cannot open export file %s" or, when ErrNo() is not 0 then, "Cannot export process"; the
     * error number is then 0 again.
     */
    int Export(char const *file);

    /* Text about one part, for debugging: device values and colours of its grid; its two outer bounds (FP) with their
     * second and first differences. Return 0; nothing happens when there is no such part. */
    int DumpGrid(std::FILE *file, int part);
    int DumpFP(std::FILE *file, int part);
    int DumpSecDer(std::FILE *file, int part);
    int DumpFirstDer(std::FILE *file, int part);

protected:
    /* ---- Steps --------------------------------------------------------------------------------------------------- */

    /* In the order in which they are called; each returns 0, or -1 and reports unless a block says otherwise. Steps of
     * the conversions do nothing when their result is there. */

    /* Colours of the full colorants, sorted by hue. Also -1 when the callback fails; that is not reported. */
    int MakeSortedPrimList();
    /* A new umbrella, by the next two. */
    int DetermineTopUmbrella();
    int DetermineNonSaturatedUmbrellaParts();
    int DetermineSaturatedUmbrellaParts();
    /* Offers a part. 1: it belongs to the umbrella now; 0: it does not; negative: failure. */
    int AddToUmbrella(TPrimComb *part);
    /* Copies of the colorants that only darken. Returns 0; without primaries that comes with
     * "Not yet supported, for every part of the umbrella we need to find darkening inks first". */
    int FindDarkeningPrimaries();

    /* The height of the apex; the range of hues; the edge over the hue. */
    int DetermineVTMax();
    int DeterminePosPhiMinPosDeltaPhi();
    int DeterminePhirTetaMaxAndVTMin();
    /* Table 1: height of the umbrella over (phir, tetar of the smaller gamut). */
    int DeterminePhirTetarVTMax();
    /* Table 2: the tetar of the smaller gamut up to which the umbrella reaches vtr V(teta), over (phir, vtr); made only
     * for classes that derive from this. "Check code, has to be an error somewhere!" where there is none. */
    int DeterminePhirVTrTetar();
    /* The edge at phir reaches at least teta; its height moves on the line from the apex. */
    int RecalcTetarDTeta(double phir, double teta);
    /* The edge reaches over the sampled faces of the device. */
    int RecalcTetarForOutDarkGamPrims();
    /* phir, the place of a hue phi in the range of hues, 0 .. 1 inside it; and back. */
    int PhiToPhir(double phi, double *phir);
    int PhirToPhi(double phir, double *phi);
    /* 1 when a colour lies nearer than the umbrella on its ray; part is the one that hides it. 0 otherwise. */
    int PointUnderNeathTopUmbrella(double const *xyz, TPrimComb const **part);
    /* 1 when all amounts of the colorant prim lie underneath parts that do not use it. */
    int PrimaryUnderneathTopUmbrella(TPrimary *prim);
    /* Takes colorants other than i and j out of the umbrella when they lie underneath it. device and xyz are not looked
     * at; nrThrown receives how many. */
    int ThrowOutRedundantPrimaries(double *device, double *xyz, int i, int j, int *nrThrown);
    /* Every member 0. */
    void SetToZero();

    int errNo;
    TList *primaries; /* of TPrimary, one per colorant */
    TList *umbrella;  /* of TPrimComb */
    TList *darkening; /* of TPrimary */
    int vertAxis;
    int nrPrims;
    double **levels;
    int *nrLevels;
    void *userData;
    int (*callback)(void *, double const *, double *);
    int horAxis1, horAxis2;
    double VTMax;       /* height of the apex; 0 until computed */
    double PosPhiMin;   /* start of the range of hues */
    double PosDeltaPhi; /* its width; 0 until computed */
    int nrPhiSteps, nrTetaSteps;
    int cursorTriangles, cursorMasked, cursorPrimCombs;
    lin_interp_double *tetaMax;    /* tetamax over phir */
    lin_interp_double *edgeHeight; /* VT over phir */
    lin_interp_double *tetaMaxMin; /* tetamax of the smaller gamut */
    md_tetrad *tabVT, *tabTetar;   /* tables 1 and 2 */

private:
    enum class Offer { failed, refused, taken };
    Offer OfferPart(int i, int j, double const *device);
    bool OnlyDarkens(int colorant);
    double HighestOfParts();
    lin_interp_double *MakeEdge();
    void DropEdge();
    bool EdgeIsReady() const;
    int PrepareEdge();
    int PrepareSmallerGamut();
    int EdgeAt(double phir, teska::edge_point &edge) const;
    int NormalisedHue(double const *xyz, double &phir, double &penalty);
    int ColourAt(double teta, double phir, double vertical, double *xyz);
    int SmallerTop(double phir, double tetar, double &teta, double &top);
    int ReachOf(double phir, double vtr, double &tetar);
    int CopyLevels(int primCount, double const *const *levelsOf, int const *levelCounts);
    int CopyFrom(TTriangularTopSurface const &other);
    void Release();
};

#endif
#endif
