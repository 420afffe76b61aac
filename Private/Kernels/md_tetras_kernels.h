// md_tetras_kernels - pixels through grids of 16-bit samples: what the inner loops see, and their entries of the table

#ifndef TESKA_MD_TETRAS_KERNELS_H
#define TESKA_MD_TETRAS_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// What an input byte says after the input curve.
struct md_tetras_position {
    std::uint32_t offset;  // samples from vertex 0 to the lower vertex along this input
    std::uint16_t rest;    // the fraction inside the cell, in 65535ths
    std::uint16_t sample;  // of which both follow
};

// Tables over the same inputs as the kernels see them. The grids are followed by readable padding, so that four samples
// may be read at any channel of any vertex.
struct md_tetras_table {
    int inputs;                              // N, 1 .. 30
    int outputs;                             // M, at least 1
    const std::uint16_t *vertices;           // of grid 0; the outputs of one vertex are adjacent
    std::uint32_t distance;                  // samples from a grid to the next
    const std::uint32_t *strides;            // N: samples between neighbouring vertices, strictly falling
    std::uint32_t cells;                     // R - 1
    const md_tetras_position *bytes;         // N rows of 256
    const std::uint16_t *const *in_curves;   // N, 65536 samples each; null: the identity
    const std::uint16_t *const *out_curves;  // the same, M of each table
    bool curved_outputs;                     // whether there is any that is not null
};

enum class md_tetras_choice {
    each,    // tables first .. first + count - 1, each to M outputs of its own
    by_tag,  // for each pixel the table that its tag names
    blend    // of tables first and second
};

// A run of pixels: pixel p of input d is sample p * in_step of in[d].
struct md_tetras_run {
    const std::uint16_t *const *in;       // N lines of words; null: of bytes
    const std::uint8_t *const *in_bytes;  // N lines of bytes; null: of words
    std::uint16_t *const *out;            // M lines, of `each` M for each table; a null line is skipped
    std::uint8_t *const *out_bytes;       // one of both is null too
    std::ptrdiff_t in_step;
    std::ptrdiff_t out_step;
    std::ptrdiff_t count;
    const std::uint8_t *mask;  // null, or only pixels with mask[p] >= lowest are converted
    int lowest;
    md_tetras_choice choice;
    int first;
    int tables;                    // of `each` the number of tables, of `by_tag` all there are
    const std::uint8_t *tags;      // of `by_tag`: tables and above leave the outputs as they are
    int second;                    // of `blend`
    const std::uint16_t *weights;  // of the second table, for each pixel; null: `weight` for all
    std::uint16_t weight;
};

struct md_tetras_kernels {
    using convert_fn = void (*)(const md_tetras_table &table, const md_tetras_run &run) noexcept;
    convert_fn convert[5];  // by number of inputs: 1, 2, 3, 4, 5 and more
};

}  // namespace teska

#endif
