// tetras_set - tables of 16-bit samples over the same inputs: what md_tetras and mmd_tetras are made of
//
// A set has K grids of R^N * M samples, one after the other, and after the last some bytes of padding, so that kernels
// may read four samples at the last vertex; N input curves; and M output curves for each grid. An md_tetras is a set of
// one.
//
// A curve is kept as its 65536 samples, in a block of its own, or as null when it is the identity. What an input byte
// says, its position in the grid, is kept for all 256 bytes of each input and changes with the curve: with R = 17, byte
// 100 is the sample 25700, x = 411200, index 6, remainder 17990.
//
// Evaluation reads the set only. Nothing is made on demand.

#ifndef TESKA_SUPPORT_TETRAS_SET_H
#define TESKA_SUPPORT_TETRAS_SET_H

#include "Kernels/kernels.h"
#include "Support/checked_size.h"
#include "Support/grid.h"
#include "Support/memory.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <utility>

namespace teska
{

constexpr int tetras_max_resolution = 65536;
constexpr int tetras_max_tables = 255;
constexpr std::size_t tetras_curve_size = 65536;  // samples of a curve, and the most entries it is made of
constexpr std::size_t tetras_read_ahead = 32;     // samples that a kernel may read after the last vertex
constexpr std::uint32_t tetras_whole = 65535;     // the largest sample, and the length of a cell

enum class curve_change { done, illegal, no_memory };

// Lower point and remainder of sample v among `cells` cells; the last point is the end of the last cell.
struct tetras_point {
    std::uint32_t index;
    std::uint32_t rest;
};

constexpr tetras_point tetras_position(std::uint32_t v, std::uint32_t cells) noexcept
{
    const std::uint32_t x = v * cells;
    const std::uint32_t index = std::min(x / tetras_whole, cells - 1);
    return {.index = index, .rest = x - tetras_whole * index};
}

// A run of `count` pixels between lines of bytes or words, through no table yet.
template <class In, class Out>
md_tetras_run tetras_run(const In *const *in, int in_step, Out *const *out, int out_step, int count) noexcept
{
    md_tetras_run run{};
    if constexpr (sizeof(In) == 1)
        run.in_bytes = in;
    else
        run.in = in;
    if constexpr (sizeof(Out) == 1)
        run.out_bytes = out;
    else
        run.out = out;
    run.in_step = in_step;
    run.out_step = out_step;
    run.count = count;
    return run;
}

class tetras_set
{
public:
    tetras_set() noexcept = default;
    tetras_set(const tetras_set &) = delete;
    tetras_set &operator=(const tetras_set &) = delete;
    ~tetras_set()
    {
        for (int i = 0; curves_ && i < curve_count(); ++i)
            std::free(curves_[i]);
    }

    // ---- Creation ---------------------------------------------------------------------------------------------------

    static bool legal(int tables, const grid_shape &shape) noexcept
    {
        return tables >= 1 && tables <= tetras_max_tables && shape.inputs >= 1 && shape.outputs >= 1 &&
               shape.resolution >= 2 && shape.resolution <= tetras_max_resolution;
    }

    // Whether all samples together can be counted.
    static bool fits(int tables, const grid_shape &shape) noexcept
    {
        checked_size samples(static_cast<std::uint64_t>(tables), INT_MAX);
        samples *= grid_fits(shape) ? grid_values(shape).get() : std::uint64_t{INT_MAX} + 1;
        return samples.valid();
    }

    // Of a legal shape that fits; false when memory is short.
    bool make(int tables, const grid_shape &shape) noexcept
    {
        shape_ = shape;
        tables_ = tables;
        values_ = static_cast<int>(grid_values(shape).get());
        points_ = static_cast<int>(grid_points(shape).get());
        grid_strides(shape, strides_);
        const auto samples = static_cast<std::size_t>(tables) * static_cast<std::size_t>(values_);
        vertices_ = zeroed_block<std::uint16_t>(samples + tetras_read_ahead);
        if (!vertices_)
            return false;
        bytes_ = zeroed_block<md_tetras_position>(static_cast<std::size_t>(shape.inputs) * 256);
        if (!bytes_)
            return false;
        for (int d = 0; d < shape.inputs; ++d)
            place_bytes(d, nullptr);
        curves_ = zeroed_block<std::uint16_t *>(static_cast<std::size_t>(curve_count()));
        return static_cast<bool>(curves_);
    }

    // A copy of another set, into one that is empty; false when memory is short.
    bool copy(const tetras_set &other) noexcept
    {
        if (!make(other.tables_, other.shape_))
            return false;
        const auto samples = static_cast<std::size_t>(tables_) * static_cast<std::size_t>(values_);
        std::copy_n(other.vertices_.get(), samples, vertices_.get());
        std::copy_n(other.bytes_.get(), 256 * std::ptrdiff_t{shape_.inputs}, bytes_.get());
        for (int i = 0; i < curve_count(); ++i) {
            if (other.curves_[i] == nullptr)
                continue;
            curves_[i] = zeroed_block<std::uint16_t>(tetras_curve_size).release();
            if (curves_[i] == nullptr)
                return false;
            std::copy_n(other.curves_[i], tetras_curve_size, curves_[i]);
        }
        curved_outputs_ = other.curved_outputs_;
        return true;
    }

    // ---- Curves -----------------------------------------------------------------------------------------------------

    curve_change set_in_curve(int d, int n, const std::uint16_t *entries) noexcept
    {
        if (d < 0 || d >= shape_.inputs)
            return curve_change::illegal;
        const curve_change change = set_curve(curves_[d], n, entries);
        if (change == curve_change::done)
            place_bytes(d, curves_[d]);
        return change;
    }

    curve_change set_out_curve(int table, int c, int n, const std::uint16_t *entries) noexcept
    {
        if (!has(table) || c < 0 || c >= shape_.outputs)
            return curve_change::illegal;
        const curve_change change = set_curve(out_curves()[std::ptrdiff_t{table} * shape_.outputs + c], n, entries);
        const auto outputs = std::span(out_curves(), static_cast<std::size_t>(curve_count() - shape_.inputs));
        curved_outputs_ =
            std::any_of(outputs.begin(), outputs.end(), [](const std::uint16_t *curve) { return curve != nullptr; });
        return change;
    }

    // ---- Vertices ---------------------------------------------------------------------------------------------------

    [[nodiscard]] bool has(int table) const noexcept { return table >= 0 && table < tables_; }
    [[nodiscard]] int tables() const noexcept { return tables_; }
    [[nodiscard]] int points() const noexcept { return points_; }  // R^N
    [[nodiscard]] int values() const noexcept { return values_; }  // R^N * M
    [[nodiscard]] const grid_shape &shape() const noexcept { return shape_; }

    [[nodiscard]] std::uint16_t *grid(int table) noexcept { return &vertices_[std::ptrdiff_t{table} * values_]; }

    // The vertex at coord; the input samples it belongs to go to in_samples, unless that is null.
    std::uint16_t *vertex(int table, const int *coord, std::uint16_t *in_samples) noexcept
    {
        const auto cells = static_cast<std::uint64_t>(shape_.resolution - 1);
        std::uint16_t *at = grid(table);
        for (int k = 0; k < shape_.inputs; ++k) {
            at += std::ptrdiff_t{coord[k]} * static_cast<std::ptrdiff_t>(strides_[k]);
            const auto index = static_cast<std::uint64_t>(coord[k]);
            if (in_samples != nullptr)
                in_samples[k] = static_cast<std::uint16_t>((index * tetras_whole * 2 + cells) / (2 * cells));
        }
        return at;
    }

    // ---- Evaluation -------------------------------------------------------------------------------------------------

    // Runs the kernel for these inputs; the run says what is read, what is chosen and what is written.
    void convert(const md_tetras_run &run) const noexcept
    {
        if (run.count <= 0)
            return;
        const md_tetras_table table{.inputs = shape_.inputs,
                                    .outputs = shape_.outputs,
                                    .vertices = vertices_.get(),
                                    .distance = static_cast<std::uint32_t>(values_),
                                    .strides = strides_,
                                    .cells = static_cast<std::uint32_t>(shape_.resolution - 1),
                                    .bytes = bytes_.get(),
                                    .in_curves = curves_.get(),
                                    .out_curves = out_curves(),
                                    .curved_outputs = curved_outputs_};
        kernels().md_tetras.convert[std::min(shape_.inputs, 5) - 1](table, run);
    }

private:
    [[nodiscard]] int curve_count() const noexcept { return shape_.inputs + tables_ * shape_.outputs; }
    [[nodiscard]] std::uint16_t **out_curves() const noexcept { return &curves_[shape_.inputs]; }

    static curve_change set_curve(std::uint16_t *&curve, int n, const std::uint16_t *entries) noexcept
    {
        if (entries == nullptr) {
            std::free(std::exchange(curve, nullptr));
            return curve_change::done;
        }
        if (n < 2 || static_cast<std::size_t>(n) > tetras_curve_size)
            return curve_change::illegal;
        if (curve == nullptr)
            curve = zeroed_block<std::uint16_t>(tetras_curve_size).release();
        if (curve == nullptr)
            return curve_change::no_memory;
        fill_curve(std::span(entries, static_cast<std::size_t>(n)), curve);
        return curve_change::done;
    }

    static void fill_curve(std::span<const std::uint16_t> entries, std::uint16_t *curve) noexcept
    {
        for (std::uint32_t v = 0; v < tetras_curve_size; ++v) {
            const tetras_point at = tetras_position(v, static_cast<std::uint32_t>(entries.size() - 1));
            const std::uint32_t sum = entries[at.index] * (tetras_whole - at.rest) + entries[at.index + 1] * at.rest;
            curve[v] = static_cast<std::uint16_t>((sum + tetras_whole / 2) / tetras_whole);
        }
    }

    void place_bytes(int d, const std::uint16_t *curve) noexcept
    {
        for (std::uint32_t b = 0; b < 256; ++b) {
            const std::uint32_t sample = curve != nullptr ? curve[257 * b] : 257 * b;
            const tetras_point at = tetras_position(sample, static_cast<std::uint32_t>(shape_.resolution - 1));
            bytes_[256 * d + static_cast<int>(b)] = {.offset = at.index * strides_[d],
                                                     .rest = static_cast<std::uint16_t>(at.rest),
                                                     .sample = static_cast<std::uint16_t>(sample)};
        }
    }

    grid_shape shape_{};
    int tables_ = 0;                            // K
    int points_ = 0;                            // R^N
    int values_ = 0;                            // R^N * M, samples of one grid
    bool curved_outputs_ = false;               // whether there is any output curve
    std::uint32_t strides_[grid_max_inputs]{};  // N, samples between neighbouring vertices
    heap_block<std::uint16_t> vertices_;        // K grids and padding
    heap_block<md_tetras_position> bytes_;      // N rows of 256
    heap_block<std::uint16_t *> curves_;        // N of inputs, M of each table; owned, null is the identity
};

}  // namespace teska

#endif
