// tprimcomb - what a top surface is made of: colorants, parts, hidden triangles, values in lists
//
// A part is a sheet over the levels of two colorants, every other one fixed. Its grid is sampled through the callback
// once (Prepare), each cell gives two triangles, and masking leaves of each the pieces that no other sheet hides.
//
//     axis of a colorant   1 = u0 > u1 > .. > full        its distinct levels, 1 put in front when missing
//     grid point (i, j)    index i * (levels of the second) + j
//     cell                 3 --- 2      diagonal 0-2 or 1-3: the one that makes the sheet convex
//                          |     |
//                          0 --- 1      0 = (i, j), 1 = (i + 1, j)
//
// Colours are kept as (V, h1, h2), the x, y and z of a vec3; they are given back in the caller's order.

#ifndef TESKA_TOPSURFACE_TPRIMCOMB_H
#define TESKA_TOPSURFACE_TPRIMCOMB_H

#include "Source/ttriangulartopsurface/gnomonic.h"
#include "Source/ttriangulartopsurface/guard.h"
#include "Source/ttriangulartopsurface/indexed.h"
#include "Support/vec.h"

#include "tlist.h"

#include <array>

namespace teska
{

using device_callback = int (*)(void *, const double *, double *);

// Device values: none of a colorant, all of it, and the mark of one that varies over a part.
constexpr double no_colorant = 1.0;
constexpr double full_colorant = 0.0;
constexpr double varying = -1.0;

// A colour in the caller's order as (V, h1, h2), and back.
vec3 to_axes(const double *xyz, int vertical);
void from_axes(const vec3 &colour, int vertical, double *xyz);

// A sampled colour.
struct grid_point {
    vec3 colour;  // V, h1, h2
    vec2 direction;
    double q;
    double u, v;  // device values of the two colorants
    bool valid;   // has a direction
};

// V this much below the largest of the part has no direction.
constexpr double darkest_share = 1e-6;

// Asks the callback and fills all but u and v; valid still says only that the colour is finite.
grid_point sample(device_callback callback, void *user, const double *device, int vertical);

// Fills direction and nearness of a valid point brighter than `darkest`; others are not valid.
void sight(grid_point &p, double darkest);

// One piece of a triangle.
struct piece {
    gnomonic::polygon shape;
    int facet;
};

struct grid_facet {
    gnomonic::facet flat;
    std::array<int, 3> vertex;
};

// How a part lies to an older one, by the numbers that AddToUmbrella passes on.
enum class relation {
    no_points = -10,  // none of it has a direction
    failed = -1,
    above = 0,   // farther from the origin
    below = 1,   // hidden
    beside = 2,  // both can be seen
    through = 3,
    same = 4
};

// Keeps what is hidden of what, and drops parts of which too little is seen. 0 or -1.
int mask_and_prune(TList &umbrella);

}  // namespace teska

class TPrimary : public TElement
{
public:
    TPrimary(const double *xyz, int index, int vertAxis);
    TPrimary(const TPrimary &other);  // in no list
    TPrimary &operator=(const TPrimary &) = delete;

    double xyz[3];
    int index;
    int dark;  // 0 in the umbrella, 1 darkening, 2 thrown out
    int vert;
};

class TDumEl : public TElement
{
public:
    explicit TDumEl(double v, double w = 0.0) : value(v), width(w) {}

    double value;  // the index of a colorant, or the start of an interval of hues
    double width;
};

class TMaskedTriangle : public TElement
{
public:
    double xyz[3][3];
    double uv[3][3];
};

class TPrimComb : public TElement
{
public:
    // device holds n values, -1 at the indices of a and b. Everything is copied.
    // Error number 1 with "No memory"; 2 with "Wrong input" or "TPrimCoord: Invalid data". All other calls then give -1
    // with "Bad Initialisation of PrimComb".
    TPrimComb(TPrimary *a, TPrimary *b, const double *device, int n, double *const *levels, const int *counts,
              teska::device_callback callback, void *user, int vertAxis);
    TPrimComb(const TPrimComb &other);  // in no list; throws std::bad_alloc
    TPrimComb &operator=(const TPrimComb &) = delete;

    int ErrNo() const { return error_; }

    // Samples the grid and forms the triangles, once. -1 when memory runs out.
    int Prepare();

    int NrVar() const;
    int AddFurther(int colorant);
    int GetDevice(double *dev) const;
    int GetDevCoord(const double *coords, double *dev) const;

    // (-1, -1) when nothing of the part is seen.
    int HueInterval(double &start, double &width);
    double HighestVertical();

    // How this part lies to an older one.
    teska::relation Compare(TPrimComb &old);
    // After relation::above: whether the older part may go.
    bool MayReplace() const { return old_rest_ <= smallest_rest; }

    // 0, or -1 when there is none left.
    int NextTriangle(bool restart, double (*xyz)[3], double (*uv)[3]);
    int NextMasked(bool restart, double (*xyz)[3]);

    // The part that starts where a bound of this part and one of the other are the same: two colorants that vary, what
    // is common at the full amount. False: there is none.
    bool SharesBound(const TPrimComb &other, int &a, int &b, double *dev) const;
    // The same where there must be one. -1 with "No Common Bounds!" or, when the two parts do not meet there,
    // "Inconsistent common bound algorithm".
    int CommonBound(const TPrimComb &other, int &a, int &b, double *dev) const;

    // ---- For the surface ----
    bool Uses(int colorant) const { return colorant == first_ || colorant == second_; }
    int First() const { return first_; }
    int Second() const { return second_; }
    int NrSaturated() const;
    double Full(int colorant) const { return axes_[colorant].back(); }
    int Count(int colorant) const { return static_cast<int>(axes_[colorant].size()); }
    const teska::indexed<double> &Device() const { return device_; }
    const teska::indexed<teska::grid_point> &Points() const { return points_; }
    const teska::grid_point &Point(int i, int j) const { return points_[i * Count(second_) + j]; }
    const teska::indexed<teska::grid_facet> &Facets() const { return facets_; }
    const teska::indexed<teska::piece> &Pieces() const { return visible_; }
    double Area() const;
    // The smallest q in a direction, infinity where there is no triangle. `found` is room to search with.
    double Nearest(const teska::vec2 &direction, teska::indexed<int> &found) const;
    // The grid points along the outer bound on which `colorant` varies and the other one is full.
    teska::indexed<const teska::grid_point *> Bound(int colorant) const;
    // Replaces the pieces; the hidden ones become triangles. -1 with "No Mem".
    int SetPieces(teska::indexed<teska::piece> &&seen, const teska::indexed<teska::piece> &hidden);

private:
    static constexpr double smallest_rest = 0.001;

    bool Usable() const;
    bool Accept(const double *dev, double *const *levels, const int *counts);
    void FillGrid();
    void MakeFacets();
    void SplitCell(int i, int j);
    bool AddFacet(int a, int b, int c);
    bool Same(const TPrimComb &old) const;
    bool Beside(const TPrimComb &old);
    teska::relation Classify(const TPrimComb &old) const;
    int SetMasked(const teska::indexed<teska::piece> &hidden);
    const teska::grid_point &Corner(int colorant) const;
    void Describe(const teska::piece &seen, int corner, double *xyz, double *uv) const;

    int error_;
    int vertical_;
    int first_, second_;  // the two colorants that vary, in ascending order
    teska::indexed<double> device_;
    teska::indexed<teska::indexed<double>> axes_;
    TList further_;  // of TDumEl
    teska::device_callback callback_;
    void *user_;
    bool prepared_;
    double old_rest_;  // share of the older part that was seen at the last comparison
    teska::indexed<teska::grid_point> points_;
    teska::indexed<teska::grid_facet> facets_;
    teska::gnomonic::box_tree tree_;
    teska::indexed<teska::piece> visible_;
    TList masked_;  // of TMaskedTriangle
    std::size_t cursor_piece_;
    int cursor_fan_;
};

#endif
