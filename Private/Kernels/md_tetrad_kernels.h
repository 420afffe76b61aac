// md_tetrad_kernels - points through a grid of doubles: what the inner loops see, and their entries of the table

#ifndef TESKA_MD_TETRAD_KERNELS_H
#define TESKA_MD_TETRAD_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// A table of doubles as the kernels see it.
struct md_tetrad_table {
    int inputs;                 // N, 1 .. 30
    int outputs;                // M, at least 1
    int resolution;             // R, vertices along each input
    double low;                 // the input at index 0
    double high;                // the input at index R - 1
    double step;                // from vertex to vertex
    const double *data;         // a double more than the vertices take may be read after them
    const int *const *offsets;  // N rows of R: where the vertices of an index begin, in doubles
    const int *strides;         // N, doubles between neighbouring vertices
    int far_corner;             // sum of the strides
    // Scratch of the general routine.
    double *fractions;    // N, sorted
    int *order;           // N strides, in the order of their fractions
    double *weights;      // N + 1
    const double **path;  // N + 1 vertices
};

// A run of points: point p of input d is in[d][p * in_step].
struct md_tetrad_run {
    const double *const *in;  // N lines
    double *const *out;       // M lines; null: the output is skipped
    std::ptrdiff_t in_step;
    std::ptrdiff_t out_step;
    std::ptrdiff_t count;
};

struct md_tetrad_kernels {
    using evaluate_fn = void (*)(const md_tetrad_table &table, const md_tetrad_run &run) noexcept;
    // Both by number of inputs: 1, 2, 3, 4, 5 and more.
    evaluate_fn evaluate[5];
    evaluate_fn evaluate_long[5];  // for runs of several points
};

}  // namespace teska

#endif
