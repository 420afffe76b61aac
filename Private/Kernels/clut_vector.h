// clut_vector - a point along its tetrahedron, the inputs side by side and then the channels side by side
//
// Needs SSE4.1; with the flags of a newer set the same operations take fewer moves.

#ifndef TESKA_CLUT_VECTOR_H
#define TESKA_CLUT_VECTOR_H

#include "Kernels/clut_kernels.h"
#include "Kernels/clut_place.h"

#include <immintrin.h>

namespace teska
{

namespace
{

// The path by the answers to fz < fy, fx < fz, fz < fx and fy < fx, the first one in the lowest bit.
struct path_choice {
    std::uint8_t places[16];  // byte by byte: the fractions in the order of the path
    std::uint8_t corner[2];

    constexpr explicit path_choice(unsigned answers) : places{}, corner{}
    {
        const unsigned z_below_y = answers & 1;
        const unsigned z_over_x = z_below_y != 0 ? answers >> 1 & 1 : ~(answers >> 2) & 1;
        const path_rule &rule = path_rules[4 * z_below_y + 2 * z_over_x + (answers >> 3 & 1)];
        for (int k = 0; k < 2; ++k)
            corner[k] = rule.corner[k];
        for (int k = 0; k < 16; ++k)
            places[k] = static_cast<std::uint8_t>(k < 12 ? 4 * rule.input[k / 4] + k % 4 : 0x80);
    }
};

constexpr path_choice path_choices[16] = {path_choice(0),  path_choice(1),  path_choice(2),  path_choice(3),
                                          path_choice(4),  path_choice(5),  path_choice(6),  path_choice(7),
                                          path_choice(8),  path_choice(9),  path_choice(10), path_choice(11),
                                          path_choice(12), path_choice(13), path_choice(14), path_choice(15)};

// The second operand of a minimum or maximum is the result where they cannot be compared: a NaN passes.
inline __m128d clamp_unit(__m128d value) noexcept
{
    return _mm_min_pd(_mm_set1_pd(1.0), _mm_max_pd(_mm_setzero_pd(), value));
}

template <std::size_t Count>
__m128 load_channels(const float *from) noexcept
{
    if constexpr (Count == 4)
        return _mm_loadu_ps(from);
    if constexpr (Count == 1)
        return _mm_load_ss(from);
    double pair;  // of floats
    __builtin_memcpy(&pair, from, sizeof(pair));
    const __m128 two = _mm_castpd_ps(_mm_set_sd(pair));
    return Count == 2 ? two : _mm_movelh_ps(two, _mm_load_ss(from + 2));
}

template <std::size_t Count>
void store_channels(double (*clamp)(float), double *out, __m128 value) noexcept
{
    if (clamp != nullptr) {
        float values[4];
        _mm_storeu_ps(values, value);
        for (std::size_t c = 0; c < Count; ++c)
            out[c] = clamp(values[c]);
        return;
    }
    const __m128 unit = _mm_min_ps(_mm_set1_ps(1.0F), _mm_max_ps(_mm_setzero_ps(), value));
    const __m128d low = _mm_cvtps_pd(unit);
    if constexpr (Count == 1)
        return _mm_store_sd(out, low);
    _mm_storeu_pd(out, low);
    const __m128d high = _mm_cvtps_pd(_mm_movehl_ps(unit, unit));
    if constexpr (Count == 3)
        _mm_store_sd(out + 2, high);
    if constexpr (Count == 4)
        _mm_storeu_pd(out + 2, high);
}

// What the channels of a point have in common.
struct clut_path {
    const float *cell;
    std::uint32_t corner[3];  // behind the first
    __m128 fraction[3];

    template <std::size_t Count>
    [[gnu::always_inline]] void run(const clut_grid &grid, std::size_t first, double *out) const noexcept
    {
        const float *from = cell + first;
        __m128 value = load_channels<Count>(from);
        __m128 former = value;
        for (int k = 0; k < 3; ++k) {
            const __m128 next = load_channels<Count>(from + corner[k]);
            value = _mm_add_ps(value, _mm_mul_ps(_mm_sub_ps(next, former), fraction[k]));
            former = next;
        }
        store_channels<Count>(grid.clamp, out + first, value);
    }
};

// The cell and the path of a point. Of the fourth input, which is not there, everything is 0.
inline clut_path find_path(const clut_grid &grid, const double *in) noexcept
{
    int bytes;
    __builtin_memcpy(&bytes, grid.max_index, sizeof(bytes));
    const __m128i top = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes & 0xffffff));
    const __m128d scaled01 = _mm_mul_pd(_mm_cvtepi32_pd(top), clamp_unit(_mm_loadu_pd(in)));
    const __m128d scaled2 = _mm_mul_pd(_mm_cvtepi32_pd(_mm_unpackhi_epi64(top, top)), clamp_unit(_mm_load_sd(in + 2)));
    const __m128 x = _mm_movelh_ps(_mm_cvtpd_ps(scaled01), _mm_cvtpd_ps(scaled2));
    const __m128i whole = _mm_cvttps_epi32(_mm_max_ps(x, _mm_setzero_ps()));
    // The top grid point is the far end of the last cell; all ones are -1.
    const __m128i index = _mm_add_epi32(whole, _mm_cmpeq_epi32(whole, top));
    const __m128 f = _mm_sub_ps(x, _mm_cvtepi32_ps(index));

    const __m128i stride = _mm_loadu_si128(reinterpret_cast<const __m128i *>(grid.stride));
    const __m128i offset = _mm_mullo_epi32(index, stride);
    const __m128i sum02 = _mm_add_epi32(offset, _mm_unpackhi_epi64(offset, offset));
    const auto base =
        static_cast<std::uint32_t>(_mm_cvtsi128_si32(sum02)) + static_cast<std::uint32_t>(_mm_extract_epi32(offset, 1));

    const __m128 left = _mm_shuffle_ps(f, f, _MM_SHUFFLE(1, 2, 0, 2));
    const __m128 right = _mm_shuffle_ps(f, f, _MM_SHUFFLE(0, 0, 2, 1));
    const path_choice &choice = path_choices[_mm_movemask_ps(_mm_cmplt_ps(left, right))];
    const __m128i places = _mm_loadu_si128(reinterpret_cast<const __m128i *>(choice.places));
    const __m128 q = _mm_castsi128_ps(_mm_shuffle_epi8(_mm_castps_si128(f), places));
    return {grid.data + base,
            {grid.corner[choice.corner[0]], grid.corner[choice.corner[1]], grid.corner[7]},
            {_mm_shuffle_ps(q, q, 0x00), _mm_shuffle_ps(q, q, 0x55), _mm_shuffle_ps(q, q, 0xaa)}};
}

void tetra(const clut_grid &grid, const double *in, double *out)
{
    const clut_path path = find_path(grid, in);
    std::size_t first = 0;
    for (; first + 4 <= grid.channels; first += 4)
        path.run<4>(grid, first, out);
    switch (grid.channels - first) {
    case 3:
        return path.run<3>(grid, first, out);
    case 2:
        return path.run<2>(grid, first, out);
    case 1:
        return path.run<1>(grid, first, out);
    default:
        return;
    }
}

}  // namespace

}  // namespace teska

#endif
