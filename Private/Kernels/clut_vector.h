// clut_vector - a point along its tetrahedron, the inputs side by side and then the channels side by side
//
// Vectors of 16 bytes; with the flags of a newer instruction set the same operations take fewer moves.

#ifndef TESKA_CLUT_VECTOR_H
#define TESKA_CLUT_VECTOR_H

#include "Kernels/clut_kernels.h"
#include "Kernels/clut_place.h"
#include "Kernels/v128.h"

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

using floats = v128_floats;
using doubles = v128_doubles;

// A NaN passes: a minimum or maximum is its second operand where they cannot be compared.
inline doubles::vector clamp_unit(doubles::vector value) noexcept
{
    return doubles::min(doubles::all(1.0), doubles::max(doubles::zero(), value));
}

template <std::size_t Count>
floats::vector load_channels(const float *from) noexcept
{
    if constexpr (Count == 4)
        return floats::load(from);
    if constexpr (Count == 3)
        return floats::join_lower(floats::load_2(from), floats::load_1(from + 2));
    return Count == 2 ? floats::load_2(from) : floats::load_1(from);
}

template <std::size_t Count>
void store_channels(double (*clamp)(float), double *out, floats::vector value) noexcept
{
    if (clamp != nullptr) {
        float values[4];
        floats::store(values, value);
        for (std::size_t c = 0; c < Count; ++c)
            out[c] = clamp(values[c]);
        return;
    }
    const floats::vector unit = floats::min(floats::all(1.0F), floats::max(floats::zero(), value));
    const doubles::vector low = doubles::from_floats(unit);
    if constexpr (Count == 1)
        return doubles::store_1(out, low);
    doubles::store(out, low);
    const doubles::vector high = doubles::from_floats(floats::upper(unit));
    if constexpr (Count == 3)
        doubles::store_1(out + 2, high);
    if constexpr (Count == 4)
        doubles::store(out + 2, high);
}

// What the channels of a point have in common.
struct clut_path {
    const float *cell;
    std::uint32_t corner[3];  // those after the first
    floats::vector fraction[3];

    template <std::size_t Count>
    [[gnu::always_inline]] void run(const clut_grid &grid, std::size_t first, double *out) const noexcept
    {
        const float *from = cell + first;
        floats::vector value = load_channels<Count>(from);
        floats::vector former = value;
        for (int k = 0; k < 3; ++k) {
            const floats::vector next = load_channels<Count>(from + corner[k]);
            value = value + (next - former) * fraction[k];
            former = next;
        }
        store_channels<Count>(grid.clamp, out + first, value);
    }
};

// The cell and the path of a point. Of the fourth input, which is not there, everything is 0.
inline clut_path find_path(const clut_grid &grid, const double *in) noexcept
{
    // The three inputs as places along the grid, of which `top` is the last one.
    const v128::vector top = v128::widen_8_to_32(v128::load_4_bytes(grid.max_index) & v128::all32(0xFFFFFF));
    const doubles::vector scaled01 = doubles::from_integers(top) * clamp_unit(doubles::load(in));
    const doubles::vector scaled2 =
        doubles::from_integers(v128::zip_high64(top, top)) * clamp_unit(doubles::load_1(in + 2));
    const floats::vector x = floats::join_lower(doubles::to_floats(scaled01), doubles::to_floats(scaled2));

    // The cell and the fractions in it. The top grid point is the far end of the last cell; all ones are -1.
    const v128::vector whole = floats::truncate_to_integers(floats::max(x, floats::zero()));
    const v128::vector index = v128::add32(whole, v128::equal32(whole, top));
    const floats::vector f = x - floats::from_integers(index);

    // The offset of the cell is the sum of three.
    const v128::vector offset = v128::multiply_low32(index, v128::load(grid.stride));
    const v128::vector sum02 = v128::add32(offset, v128::zip_high64(offset, offset));
    const std::uint32_t base = v128::lane32<0>(sum02) + v128::lane32<1>(offset);

    // The fractions in the order of the path, one in all lanes each.
    const floats::vector left = floats::pick<2, 0, 2, 1>(f, f);
    const floats::vector right = floats::pick<1, 2, 0, 0>(f, f);
    const path_choice &choice = path_choices[floats::below(left, right)];
    const floats::vector q = floats::from_bits(v128::shuffle8(floats::bits(f), v128::load(choice.places)));
    return {grid.data + base,
            {grid.corner[choice.corner[0]], grid.corner[choice.corner[1]], grid.corner[7]},
            {floats::spread<0>(q), floats::spread<1>(q), floats::spread<2>(q)}};
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
