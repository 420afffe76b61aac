// kernels - the inner loops and the table through which the modules call them
//
// For every operation <op>_scalar.cpp is the definition; a variant <op>_<isa>.cpp is a faster copy that gives the same
// bits. The table starts with all scalar entries; every instruction set the processor has overrides what it offers, in
// rising order. It is filled once, at the first use.
//
// Kernel sources are islands: intrinsics, <cstdint>, <cstddef>, this header and simplex.h, no other; everything else
// stands in unnamed namespaces. A function that a kernel source shared with others by an inline definition would be
// merged by the linker, possibly to the copy built for a newer processor.

#ifndef TESKA_KERNELS_H
#define TESKA_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// In rising order; each includes those before it.
enum class simd_level : int { scalar = 0, sse41 = 1, avx2 = 2, avx512 = 3 };

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

// A byte table as the kernels see it. The data is followed by readable padding, so that four bytes may be read at any
// channel of any vertex of a path.
struct tetrab_table {
    int inputs;                      // N, 1 .. 30
    int outputs;                     // M, at least 1
    const std::uint8_t *data;        // vertices; outputs of one vertex are adjacent
    const std::uint8_t *in_curves;   // N rows of 256
    const std::uint8_t *out_curves;  // M rows of 256
    const std::uint32_t *offsets;    // N rows of 256: byte offset of the lower vertex, by value behind the input curve
    const std::uint64_t *fractions;  // 256: weight of the place inside the cell, in bits 32 .. 39; all others zero
    const std::uint64_t *strides;    // N: bytes between neighbouring vertices, strictly falling, below 2^31
    std::uint64_t far_corner;        // sum of the strides
    std::uint32_t high;              // H, the weights of a path sum to it
    const std::uint8_t *products;    // 256 rows of 256, by value and weight; null: round(value * weight / 255), H = 255
};

// A run of pixels: pixel p of input d is in[d][p * in_step].
struct tetrab_run {
    const std::uint8_t *const *in;  // N lines
    std::uint8_t *const *out;       // M lines; null: the output is skipped
    std::ptrdiff_t in_step;
    std::ptrdiff_t out_step;
    std::ptrdiff_t first;  // pixels first .. end - 1 are converted
    std::ptrdiff_t end;
};

struct tetrab_kernels {
    using convert_fn = void (*)(const tetrab_table &table, const tetrab_run &run) noexcept;
    convert_fn convert[5];  // by number of inputs: 1, 2, 3, 4, 5 and more
};

// A table of doubles as the kernels see it.
struct tetrad_table {
    int inputs;      // N, 1 .. 30
    int outputs;     // M, at least 1
    int resolution;  // R, vertices along each input
    double low;      // the input at index 0
    double high;     // the input at index R - 1
    double step;     // from vertex to vertex
    const double *data;
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
struct tetrad_run {
    const double *const *in;  // N lines
    double *const *out;       // M lines; null: the output is skipped
    std::ptrdiff_t in_step;
    std::ptrdiff_t out_step;
    std::ptrdiff_t count;
};

struct tetrad_kernels {
    using evaluate_fn = void (*)(const tetrad_table &table, const tetrad_run &run) noexcept;
    evaluate_fn evaluate[5];  // by number of inputs: 1, 2, 3, 4, 5 and more
};

// A matrix on its way to its triangular factors: the lower one without its diagonal of ones below the upper one.
struct lu_matrix {
    int n;                  // rows and columns
    std::ptrdiff_t stride;  // doubles from row to row, a multiple of 8 not below n; what is behind column n is scratch
    double *lu;             // the matrix, then its factors
    double *sums;           // scratch of the same shape
    double *columns;        // scratch, 16 rows of the same stride
    double *scale;          // n, by row; those of pivots move with their rows
    std::int32_t *pivots;   // n: the row that was exchanged with this one
    double *parity;         // negated with every exchange
};

struct mat_kernels {
    // Return whether no pivot had to be replaced.
    bool (*decompose)(const lu_matrix &m) noexcept;
    bool (*decompose_small)(const lu_matrix &m) noexcept;  // where vectors do not pay
};

struct kernel_table {
    clut_kernels clut;
    tetrab_kernels tetrab;
    tetrad_kernels tetrad;
    mat_kernels mat;
};

// The table in force; filled at the first call, which may come from any thread.
const kernel_table &kernels() noexcept;

// Test switch: no instruction set above the given level is used from now on. Returns the previous limit. Not locked.
simd_level simd_limit(simd_level level) noexcept;

// What this processor has, whatever the limit.
simd_level simd_available() noexcept;

void install_scalar(clut_kernels &table) noexcept;
void install_scalar(tetrab_kernels &table) noexcept;
void install_scalar(tetrad_kernels &table) noexcept;
void install_scalar(mat_kernels &table) noexcept;

// Not to be called on a processor without the instructions.
void install_avx2(mat_kernels &table) noexcept;
void install_avx512(mat_kernels &table) noexcept;

}  // namespace teska

#endif
