// fusm_scalar - sharpening of image lines: the definition
//
// The high-pass h is the sum of the window's samples with the weights of fusm_window.h, and 0 in the columns at either
// end where the window does not fit. With level reduction it becomes
//
//     factors[min(sample, top)] * h, arithmetically shifted right by 8
//
// in 64 bits: a product of 16 and 21 bits. The result is the sample plus table[min(h, last)], or minus
// table[min(-h, last)] for a negative h; at least 0, then at most the limit of the pixel or, without limits, top. No
// result exceeds the largest sample, even where top does.

#include "Kernels/fusm_window.h"
#include "Kernels/kernels.h"

namespace teska
{

namespace
{

using std::int32_t;
using std::int64_t;
using std::ptrdiff_t;

constexpr int factor_bits = 8;

template <int Radius, class Sample>
int32_t weighted_sum(const fusm_line<Sample> &line, ptrdiff_t x) noexcept
{
    using window = fusm_window<Radius>;
    int32_t sum = 0;
#pragma GCC unroll 32
    for (int t = 0; t < window::count; ++t) {
        const fusm_tap &tap = window::taps[t];
        sum += tap.weight * line.rows[fusm_reach(Radius) + tap.row][x * line.row_step + tap.column * line.distance];
    }
    return sum;
}

template <int Radius, class Sample>
void fill_high_pass(const fusm_line<Sample> &line, ptrdiff_t first, ptrdiff_t end) noexcept
{
    for (ptrdiff_t x = first; x < end; ++x)
        line.high_pass[x] = x >= line.border && x < line.width - line.border ? weighted_sum<Radius>(line, x) : 0;
}

// The value with its sign taken off, cut to the last entry of the table.
int32_t magnitude(int64_t h, int32_t last) noexcept
{
    const int64_t size = h < 0 ? -h : h;
    return static_cast<int32_t>(size < last ? size : last);
}

template <class Sample>
void correct(const fusm_curve &curve, const fusm_line<Sample> &line, ptrdiff_t first, ptrdiff_t end) noexcept
{
    constexpr int32_t largest = static_cast<Sample>(-1);
    const int32_t top = curve.top < largest ? curve.top : largest;
    for (ptrdiff_t x = first; x < end; ++x) {
        const int32_t sample = line.samples[x * line.step];
        int64_t h = line.high_pass[x];
        if (curve.factors != nullptr)
            h = h * curve.factors[sample < curve.top ? sample : curve.top] >> factor_bits;
        const int32_t correction = curve.table[magnitude(h, curve.last)];
        int32_t result = h < 0 ? sample - correction : sample + correction;
        if (result < 0)
            result = 0;
        const int32_t limit = line.limits != nullptr ? line.limits[x * line.limit_step] : top;
        line.out[x * line.out_step] = static_cast<Sample>(result < limit ? result : limit);
    }
}

template <class Sample>
void sharpen_pixels(int radius, const fusm_curve &curve, const fusm_line<Sample> &line, ptrdiff_t first,
                    ptrdiff_t end) noexcept
{
    if (radius == 0)
        fill_high_pass<0>(line, first, end);
    else if (radius == 1)
        fill_high_pass<1>(line, first, end);
    else
        fill_high_pass<2>(line, first, end);
    correct(curve, line, first, end);
}

template <int Radius, class Sample>
void sharpen(const fusm_curve &curve, const fusm_line<Sample> &line) noexcept
{
    sharpen_pixels(Radius, curve, line, 0, line.width);
}

}  // namespace

void fusm_pixels(int radius, const fusm_curve &curve, const fusm_bytes &line, ptrdiff_t first, ptrdiff_t end) noexcept
{
    sharpen_pixels(radius, curve, line, first, end);
}

void fusm_pixels(int radius, const fusm_curve &curve, const fusm_words &line, ptrdiff_t first, ptrdiff_t end) noexcept
{
    sharpen_pixels(radius, curve, line, first, end);
}

void install_scalar(fusm_kernels &table, bool /*gathers*/) noexcept
{
    table = {{sharpen<0, std::uint8_t>, sharpen<1, std::uint8_t>, sharpen<2, std::uint8_t>},
             {sharpen<0, std::uint16_t>, sharpen<1, std::uint16_t>, sharpen<2, std::uint16_t>}};
}

}  // namespace teska
