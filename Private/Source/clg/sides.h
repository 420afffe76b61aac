// sides - cells of a tiling, and on which side of them a point lies, decided exactly
//
// A cell keeps the plane through its corners lifted by q: which side of it a point lies on, and so whether the sphere
// holds it, takes a scalar product in doubles with a bound of its error, or else a determinant in integers. Coordinates
// are differences of 16 bits: the largest determinant, 5! (2^16)^4 2^38, is below 2^110.

#ifndef TESKA_CLG_SIDES_H
#define TESKA_CLG_SIDES_H

#include "Source/clg/determinants.h"
#include "Source/clg/tiling.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace teska::cloud
{

constexpr int infinity = -1;  // the vertex

// The corner or neighbour at a place of a cell is opposite the face of all other corners.
template <int D>
struct cell {
    int corner[D + 1];
    int next[D + 1];       // in a cell of the hole: ~n where the new cell n has this face
    int tested;            // the last point that asked whether the sphere holds it
    bool holds;            // the answer
    double normal[D + 1];  // of the plane: positive where the sphere holds the point, or the face of the hull is seen
    double error, error_lift;
};

template <int D>
int place_of(const cell<D> &c, int corner)
{
    int at = 0;
    while (c.corner[at] != corner)
        ++at;
    return at;
}

template <int D>
int place_of_next(const cell<D> &c, int next)
{
    int at = 0;
    while (c.next[at] != next)
        ++at;
    return at;
}

// The place of infinity, or D + 1.
template <int D>
int place_of_infinity(const cell<D> &c)
{
    return static_cast<int>(std::find(c.corner, c.corner + D + 1, infinity) - c.corner);
}

// What is asked of the points of a tiling, by their numbers.
template <int D>
class sides
{
public:
    explicit sides(std::span<const lattice_point> points) : points_(points) {}

    // v = to - from
    template <class Number>
    void difference(int to, int from, Number *v) const
    {
        for (int j = 0; j < D; ++j)
            v[j] = static_cast<Number>(points_.data()[to].x[j] - points_.data()[from].x[j]);
    }

    // The sign of the determinant of a cell in which p takes a place, exactly.
    int exact_orientation(const int *corner, int place, int p) const
    {
        std::int64_t rows[most_corners][most_corners];
        const int from = place == 0 ? p : corner[0];
        for (int k = 1; k <= D; ++k)
            difference(k == place ? p : corner[k], from, rows[k - 1]);
        return exact_sign<D, false>(rows);
    }

    // Whether that is negative, for a finite cell: the face opposite the place hides p. First in doubles: of 3
    // dimensions and less they are exact.
    bool hides(const cell<D> &c, int place, int p) const
    {
        double rows[most_free][D];
        double normal[D];
        double largest = 0.0;
        int r = 0;
        for (int k = 0; k <= D; ++k) {
            if (k == place)
                continue;
            difference(c.corner[k], p, rows[r]);
            for (int j = 0; j < D; ++j)
                largest = std::max(largest, std::fabs(rows[r][j]));
            ++r;
        }
        normal_of<D>(rows, normal);
        double value = 0.0;
        for (int j = 0; j < D; ++j)
            value += normal[j] * rows[D - 1][j];
        // That was with p before all others.
        if (place % 2 != 0)
            value = -value;
        const double square = largest * largest;
        if (D < 4 || std::fabs(value) > error_factor * square * square)
            return value < 0.0;
        return exact_orientation(c.corner, place, p) < 0;
    }

    // The plane of a finite cell.
    void set_plane(cell<D> &c) const
    {
        double rows[most_free][D + 1];
        double largest = 0.0, largest_lift = 0.0;
        for (int i = 1; i <= D; ++i) {
            largest = set_row(c.corner[i], c.corner[0], rows[i - 1], largest);
            rows[i - 1][D] = lifted<D>(rows[i - 1]);
            largest_lift = std::max(largest_lift, rows[i - 1][D]);
        }
        normal_of<D + 1>(rows, c.normal);
        for (double &x : c.normal)
            x = -x;
        c.error = power_of(largest) * largest_lift;
        c.error_lift = power_of(largest) * largest;
    }

    // The plane of the face, upright in the lifted space: the determinant with the point in the place of infinity. Of 3
    // dimensions and less it is exact.
    void set_upright_plane(cell<D> &c, int place) const
    {
        double rows[most_free][D] = {};
        double largest = 0.0;
        const int base = base_of(c);
        int r = 0;
        for (const int corner : c.corner)
            if (corner != infinity && corner != base)
                largest = set_row(corner, base, rows[r++], largest);
        normal_of<D>(rows, c.normal);
        // That was with the point after all others.
        if ((D - place) % 2 != 0)
            for (double &x : c.normal)
                x = -x;
        c.normal[D] = 0.0;
        c.error = D < 4 ? 0.0 : power_of(largest);
        c.error_lift = 0.0;
    }

    // 1 where the cell's sphere holds the point or its face of the hull is seen, 0 on them, else -1.
    int side(const cell<D> &c, int p) const
    {
        double v[D];
        difference(p, base_of(c), v);
        double value = 0.0, far = 0.0;
        for (int j = 0; j < D; ++j) {
            value += c.normal[j] * v[j];
            far += std::fabs(v[j]);
        }
        const double lift = lifted<D>(v);
        value += c.normal[D] * lift;
        const double bound = c.error * far + c.error_lift * lift;
        if (std::fabs(value) > bound || bound == 0.0)
            return (value > 0.0 ? 1 : 0) - (value < 0.0 ? 1 : 0);
        return exact_side(c, p);
    }

private:
    static constexpr double error_factor = 0x1p-43;  // 2^-53 times 4! terms, some 30 roundings of each, and more

    static int base_of(const cell<D> &c) { return c.corner[0] != infinity ? c.corner[0] : c.corner[1]; }

    // A row of the determinant; returns the largest magnitude of it and of before.
    double set_row(int corner, int base, double *row, double largest) const
    {
        difference(corner, base, row);
        for (int j = 0; j < D; ++j)
            largest = std::max(largest, std::fabs(row[j]));
        return largest;
    }

    static double power_of(double largest)
    {
        double power = error_factor;
        for (int i = 1; i < D; ++i)
            power *= largest;
        return power;
    }

    [[gnu::noinline]] int exact_side(const cell<D> &c, int p) const
    {
        const int place = place_of_infinity(c);
        if (place <= D)
            return exact_orientation(c.corner, place, p);
        std::int64_t rows[most_corners][most_corners];
        for (int k = 0; k <= D; ++k) {
            difference(k < D ? c.corner[k + 1] : p, c.corner[0], rows[k]);
            rows[k][D] = lifted<D>(rows[k]);
        }
        return -exact_sign<D + 1, true>(rows);
    }

    std::span<const lattice_point> points_;
};

}  // namespace teska::cloud

#endif
