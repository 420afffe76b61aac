// fusm_kernels - sharpening of image lines: what the inner loops see, and their entries of the table

#ifndef TESKA_FUSM_KERNELS_H
#define TESKA_FUSM_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace teska
{

// A run of corrections that is one multiplication: min(table[d], largest sample) is min(d * multiplier >> shift, the
// same) for every d up to `last`.
struct fusm_ramp {
    bool fits;  // the rest means nothing otherwise
    std::uint32_t multiplier;
    int shift;
};

constexpr int fusm_row = 16;          // entries of a table that a shuffle reads
constexpr int fusm_most_repairs = 8;  // rows

// Level factors of bytes, all within 4.0 of 0, in rows of 16 samples. Between the points of a curve factors lie on
// lines. Entry i of row r is, in 32nds of the unit of factors and modulo 2^16,
//
//     start[r] + 32 * ((i * slope[r] + offset[r]) >> 8)
//
// Rows that are no line, and zeros by this formula, are repaired: each has all its entries, to be put in place by
// exclusive or. Numbers of 16 bits are split, low bytes before high ones.
struct fusm_factor_rows {
    bool fits;  // the rest means nothing otherwise
    std::uint8_t start[2][fusm_row];
    std::uint8_t slope[2][fusm_row];
    std::uint8_t offset[fusm_row];
    int repairs;
    std::uint8_t repaired[fusm_most_repairs];  // first samples of these rows
    std::uint8_t repair[fusm_most_repairs][2][fusm_row];
};

constexpr int fusm_factor_shift = 5;

// How one component is corrected. Tables are followed by two readable bytes, so that a word may be read at any entry.
struct fusm_curve {
    const std::uint16_t *table;   // corrections by min(|high-pass|, last)
    const std::int16_t *factors;  // in 256ths, by min(sample, top); null: the high-pass counts as it is
    std::int32_t last;            // not negative
    std::int32_t top;             // results without a limit line end here, or at the largest sample

    // The same for samples of 8 bits, where last and top are at most 255.
    std::uint8_t bytes[256];            // min(table[min(d, last)], 255)
    std::uint8_t factor_bytes[2][256];  // low and high byte of factors[min(sample, top)]
    fusm_factor_rows factor_rows;
    fusm_ramp byte_ramp;  // multiplier below 2^16, shift 9 .. 16; wrong in the rows repaired
    int byte_repairs;     // rows from the first on
    // By exclusive or with min(ramp, 255): entry d is changed by row d / 16 and all after it, by entry d % 16 of each.
    std::uint8_t repairs[fusm_most_repairs * fusm_row];
    fusm_ramp ramp;  // for samples of 16 bits; shift 25 .. 32
};

// Samples of a line on their way from the window to the output: one component, or components alike that lie side by
// side. Steps lead from one to the next. The output overlaps nothing that is read.
template <class Sample>
struct fusm_line {
    const Sample *rows[5];  // first samples of the lines in the window, 3 or 5 of them, oldest first
    std::ptrdiff_t row_step;
    std::ptrdiff_t distance;  // in the rows, from a sample to its neighbour: row_step, or larger where row_step is 1
    std::ptrdiff_t border;    // samples at either end that the window does not reach
    const Sample *samples;    // what is corrected: the line in the middle, perhaps before its conversion
    std::ptrdiff_t step;
    const Sample *limits;  // upper bounds of the results; null: top
    std::ptrdiff_t limit_step;
    Sample *out;
    std::ptrdiff_t out_step;
    std::ptrdiff_t width;
    std::int32_t *high_pass;  // scratch, width values
};

using fusm_bytes = fusm_line<std::uint8_t>;
using fusm_words = fusm_line<std::uint16_t>;

struct fusm_kernels {
    // By radius 0, 1, 2.
    void (*bytes[3])(const fusm_curve &curve, const fusm_bytes &line) noexcept;
    void (*words[3])(const fusm_curve &curve, const fusm_words &line) noexcept;
};

// The definition for the samples first .. end - 1 of a line.
void fusm_pixels(int radius, const fusm_curve &curve, const fusm_bytes &line, std::ptrdiff_t first,
                 std::ptrdiff_t end) noexcept;
void fusm_pixels(int radius, const fusm_curve &curve, const fusm_words &line, std::ptrdiff_t first,
                 std::ptrdiff_t end) noexcept;

}  // namespace teska

#endif
