// clut_kernels - points through a grid of floats: what the inner loops see, and their entries of the table

#ifndef TESKA_CLUT_KERNELS_H
#define TESKA_CLUT_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// One point of a float table, located in its cell.
struct clut_point {
    const float *cell;            // the cell's lowest corner, channel 0
    const std::uint32_t *corner;  // offset of every corner from there, in elements
    std::size_t channels;
    double *out;
    double (*clamp)(float);  // for every result; null: the clamp to 0 .. 1
};

// A float table of three inputs as the kernels see it.
struct clut_grid {
    const float *data;
    const std::uint8_t *max_index;  // grid points less one, by input
    const std::uint32_t *stride;    // elements from grid point to grid point, by input; four may be read
    const std::uint32_t *corner;    // as for a point
    std::size_t channels;
    double (*clamp)(float);
};

struct clut_kernels {
    // One point along the tetrahedron that holds it. out may overlap in.
    void (*tetra)(const clut_grid &grid, const double *in, double *out);
    // Over the 2^n corners, by one fraction per input.
    void (*linear3)(const clut_point &point, const float *fraction);
    void (*linear4)(const clut_point &point, const float *fraction);
    void (*linear5)(const clut_point &point, const float *fraction);
    void (*linear6)(const clut_point &point, const float *fraction);
    // Over any number of corners, by one weight per corner.
    void (*weighted)(const clut_point &point, const float *weight, std::size_t corners);
};

}  // namespace teska

#endif
