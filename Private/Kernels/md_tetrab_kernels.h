// md_tetrab_kernels - pixels through a grid of bytes: what the inner loops see, and their entries of the table

#ifndef TESKA_MD_TETRAB_KERNELS_H
#define TESKA_MD_TETRAB_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// A byte table as the kernels see it. The data is followed by readable padding, so that four bytes may be read at any
// channel of any vertex of a path.
struct md_tetrab_table {
    int inputs;                      // N, 1 .. 30
    int outputs;                     // M, at least 1
    const std::uint8_t *data;        // vertices; outputs of one vertex are adjacent
    const std::uint8_t *in_curves;   // N rows of 256
    const std::uint8_t *out_curves;  // M rows of 256
    const std::uint32_t *offsets;    // N rows of 256: byte offset of the lower vertex, by value after the input curve
    const std::uint64_t *fractions;  // 256: weight of the place inside the cell, in bits 32 .. 39; all others zero
    const std::uint64_t *strides;    // N: bytes between neighbouring vertices, strictly falling, below 2^31
    std::uint64_t far_corner;        // sum of the strides
    std::uint32_t high;              // H, the weights of a path sum to it
    const std::uint8_t *products;    // 256 rows of 256, by value and weight; null: round(value * weight / 255), H = 255
    // The rest is for convert_line. Rows by the input byte before its curve:
    const std::uint32_t *places;  // N rows of 256: weight << 24 | byte offset of the lower vertex
    const std::uint8_t *indices;  // N rows of 256: grid index of the lower vertex; null when the side of the grid is
                                  // above 127 or stride 1 above 32767, and with fewer than 3 inputs
    const std::uint8_t *weights;  // N rows of 256: weight
    const std::uint8_t *late;     // null, or a byte u after its curve has the index u * cells / 255, and as weight the
                                  // remainder, or 1 less when bit u / 16 % 8 of late[u / 128 * 16 + u % 16] is set
    int cells;                    // R - 1
    bool curved_inputs;           // whether any curve is not the identity
    bool curved_outputs;
};

// A run of pixels: pixel p of input d is in[d][p * in_step].
struct md_tetrab_run {
    const std::uint8_t *const *in;  // N lines
    std::uint8_t *const *out;       // M lines; null: the output is skipped
    std::ptrdiff_t in_step;
    std::ptrdiff_t out_step;
    std::ptrdiff_t first;  // pixels first .. end - 1 are converted
    std::ptrdiff_t end;
};

// Of convert_line: at most so many outputs, and all the offsets of the data below that limit.
constexpr int md_tetrab_line_outputs = 16;
constexpr std::size_t md_tetrab_line_data = std::size_t{1} << 24;

struct md_tetrab_kernels {
    using convert_fn = void (*)(const md_tetrab_table &table, const md_tetrab_run &run) noexcept;
    convert_fn convert[5];       // any run; by number of inputs: 1, 2, 3, 4, 5 and more
    convert_fn convert_line[5];  // null, or the same faster, for products and tables within the limits above and runs
                                 // in which no pixel's outputs are bytes of another pixel or of another output
};

}  // namespace teska

#endif
