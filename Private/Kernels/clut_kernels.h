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

struct clut_kernels {
    // Along a path from corner 0 by two middle corners (offsets a, b) to corner 7, with one fraction for each edge. By
    // value: a fraction stored alone and read back as part of a vector would wait for the store.
    void (*tetra)(const clut_point &point, std::uint32_t a, std::uint32_t b, float q0, float q1, float q2);
    // Over the 2^n corners, by one fraction per input.
    void (*linear3)(const clut_point &point, const float *fraction);
    void (*linear4)(const clut_point &point, const float *fraction);
    void (*linear5)(const clut_point &point, const float *fraction);
    void (*linear6)(const clut_point &point, const float *fraction);
    // Over any number of corners, by one weight per corner.
    void (*weighted)(const clut_point &point, const float *weight, std::size_t corners);
};

void install_scalar(clut_kernels &table) noexcept;

}  // namespace teska

#endif
