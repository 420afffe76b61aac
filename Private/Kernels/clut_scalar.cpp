// clut, scalar - the definition: one point in one cell of a float table
//
// A path runs from the lowest corner (value P0) over two middle corners (Pa, Pb) to the highest (P7):
//
//     ((P0 + (Pa - P0) * q0) + (Pb - Pa) * q1) + (P7 - Pb) * q2
//
// The multilinear sum is w0 * P0, then + w1 * P1, + w2 * P2 and so on, corner by corner. Every difference, product and
// sum is rounded to float by itself. Channels are adjacent in memory and go in blocks of up to four side by side; the
// sum of one channel is never split.

#include "Kernels/clut_kernels.h"
#include "Kernels/clut_place.h"

namespace teska
{

namespace
{

constexpr std::size_t block = 4;

// Below 0 gives 0, above 1 gives 1; -0 and NaN pass.
float unit(float value)
{
    const float above = value < 0.0F ? 0.0F : value;
    return above > 1.0F ? 1.0F : above;
}

// Four channels side by side, in the compiler's own vector type: plain operators work lane by lane on every processor.
using quad = float __attribute__((vector_size(16)));

// Count values; the other lanes are zero. Nothing after the values is read.
template <std::size_t Count>
quad load(const float *from)
{
    if constexpr (Count == 4) {
        quad values;
        __builtin_memcpy(&values, from, sizeof(values));
        return values;
    }
    return quad{from[0], Count > 1 ? from[1] : 0.0F, Count > 2 ? from[2] : 0.0F, 0.0F};
}

template <std::size_t Count>
void store(const clut_point &point, std::size_t first, quad value)
{
    if (point.clamp == nullptr)
        for (std::size_t c = 0; c < Count; ++c)
            point.out[first + c] = static_cast<double>(unit(value[c]));
    else
        for (std::size_t c = 0; c < Count; ++c)
            point.out[first + c] = point.clamp(value[c]);
}

// Calls step.run<n>(first) for every block of channels; only the last one is shorter.
template <class Step>
void for_blocks(std::size_t channels, const Step &step)
{
    std::size_t first = 0;
    for (; first + block <= channels; first += block)
        step.template run<block>(first);
    switch (channels - first) {
    case 3:
        return step.template run<3>(first);
    case 2:
        return step.template run<2>(first);
    case 1:
        return step.template run<1>(first);
    default:
        return;
    }
}

struct path_step {
    const clut_point &point;
    std::uint32_t a;
    std::uint32_t b;
    float q0;
    float q1;
    float q2;

    template <std::size_t Count>
    void run(std::size_t first) const
    {
        const float *cell = point.cell + first;
        const auto p0 = load<Count>(cell);
        const auto pa = load<Count>(cell + a);
        const auto pb = load<Count>(cell + b);
        const auto p7 = load<Count>(cell + point.corner[7]);
        const auto first_two = p0 + (pa - p0) * q0;
        const auto first_three = first_two + (pb - pa) * q1;
        store<Count>(point, first, first_three + (p7 - pb) * q2);
    }
};

// fz = fx counts as "z over x" only when z is not below y. A NaN takes some rule or other: every one gives NaN.
const path_rule &choose_path(float fx, float fy, float fz)
{
    const bool z_below_y = fz < fy;
    const bool z_over_x = (z_below_y & (fz > fx)) | (!z_below_y & !(fz < fx));
    return path_rules[4 * z_below_y + 2 * z_over_x + (fy < fx)];
}

void tetra(const clut_grid &grid, const double *in, double *out)
{
    const float *cell = grid.data;
    float f[3];
    for (std::size_t k = 0; k < 3; ++k) {
        const location at = locate(grid.max_index[k], in[k]);
        cell += static_cast<std::size_t>(at.index) * grid.stride[k];
        f[k] = at.fraction;
    }
    const path_rule &rule = choose_path(f[0], f[1], f[2]);
    const clut_point point{cell, grid.corner, grid.channels, out, grid.clamp};
    for_blocks(grid.channels, path_step{point, grid.corner[rule.corner[0]], grid.corner[rule.corner[1]],
                                        f[rule.input[0]], f[rule.input[1]], f[rule.input[2]]});
}

// Adds the terms of corners Corner .. Corners - 1 to the sum, written out one after the other.
template <std::size_t Corner, std::size_t Corners, std::size_t Count>
[[gnu::always_inline]] inline quad add_corners(quad sum, const float *cell, const std::uint32_t *corner,
                                               const float *weight)
{
    sum = sum + load<Count>(cell + corner[Corner]) * weight[Corner];
    if constexpr (Corner + 1 < Corners)
        sum = add_corners<Corner + 1, Corners, Count>(sum, cell, corner, weight);
    return sum;
}

template <std::size_t Corners>
struct corners_step {
    const clut_point &point;
    const float *weight;

    template <std::size_t Count>
    void run(std::size_t first) const
    {
        const float *cell = point.cell + first;
        store<Count>(point, first,
                     add_corners<1, Corners, Count>(load<Count>(cell) * weight[0], cell, point.corner, weight));
    }
};

// Doubling: a weight goes on to corner c with 1 - f(k) and to the corner one step up along input k with f(k).
template <std::size_t K, std::size_t Inputs>
[[gnu::always_inline]] inline void split_weights(float *weight, const float *fraction)
{
    constexpr std::size_t half = std::size_t{1} << K;
    const float without = 1.0F - fraction[K];
    for (std::size_t c = 0; c < half; c += block) {
        const quad known = load<block>(weight + c);
        const quad stepped = known * fraction[K];
        const quad stayed = known * without;
        __builtin_memcpy(weight + half + c, &stepped, sizeof(stepped));
        __builtin_memcpy(weight + c, &stayed, sizeof(stayed));
    }
    if constexpr (K + 1 < Inputs)
        split_weights<K + 1, Inputs>(weight, fraction);
}

template <std::size_t Inputs>
void linear(const clut_point &point, const float *fraction)
{
    constexpr std::size_t corners = std::size_t{1} << Inputs;
    float weight[corners];
    const float without[2] = {1.0F - fraction[0], 1.0F - fraction[1]};
    const quad first_two =
        quad{without[0], fraction[0], without[0], fraction[0]} * quad{without[1], without[1], fraction[1], fraction[1]};
    __builtin_memcpy(weight, &first_two, sizeof(first_two));
    split_weights<2, Inputs>(weight, fraction);
    for_blocks(point.channels, corners_step<corners>{point, weight});
}

// Any number of corners, a multiple of two; four a step, added one after the other.
struct sum_step {
    const clut_point &point;
    const float *weight;
    std::size_t corners;

    template <std::size_t Count>
    void run(std::size_t first) const
    {
        const float *cell = point.cell + first;
        auto sum = load<Count>(cell) * weight[0];
        std::size_t i = 1;
        for (; i + 4 <= corners; i += 4)
            sum = add_corners<0, 4, Count>(sum, cell, point.corner + i, weight + i);
        for (; i < corners; ++i)
            sum = add_corners<0, 1, Count>(sum, cell, point.corner + i, weight + i);
        store<Count>(point, first, sum);
    }
};

void weighted(const clut_point &point, const float *weight, std::size_t corners)
{
    for_blocks(point.channels, sum_step{point, weight, corners});
}

}  // namespace

void install_scalar(clut_kernels &table, bool /*gathers*/) noexcept
{
    table.tetra = tetra;
    table.linear3 = linear<3>;
    table.linear4 = linear<4>;
    table.linear5 = linear<5>;
    table.linear6 = linear<6>;
    table.weighted = weighted;
}

}  // namespace teska
