// md_tetrab/positions - where an input byte lies in the grid: by its value after the curve, and before it
//
// With step = 255 / (R - 1), t = u / step and i = floor(t), a byte u after its input curve has
//
//     index i        offset i * stride[d]        weight floor((t - i) * (H - L) + L)
//
// The faster kernels look all of them up at once by the byte before its curve. Callers may write to a curve at any time
// between two conversions, so these rows carry the curves they were made from, and every conversion compares.
//
// Any number of threads may ask for the rows at once. There are two sets: one in force, which nobody writes, and a
// spare one. Who finds that the curves have changed fills the spare set and puts it in force; whoever asks meanwhile
// gets nothing and has to do without. The set that went out of force is filled again only after the next change of
// curves, and no conversion may run during a change, so then nobody reads it any more.

#ifndef TESKA_MD_TETRAB_POSITIONS_H
#define TESKA_MD_TETRAB_POSITIONS_H

#include "Support/grid.h"
#include "Support/memory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace teska
{

constexpr std::size_t md_tetrab_curve = 256;  // bytes of a curve, entries of a row

// By the byte after its curve.
struct md_tetrab_positions {
    heap_block<std::uint32_t> offsets;         // N rows of 256
    std::uint64_t weights[md_tetrab_curve]{};  // shifted up by 32: kernels sort them together with the strides
    std::uint8_t indices[md_tetrab_curve]{};   // of grids with at most 256 points a side, others have none
    std::uint8_t late[md_tetrab_curve / 8]{};  // see md_tetrab_table
    bool calculable = false;                   // whether late and integers give every index and weight

    // Of a grid with the given strides, in bytes. Weights run from `low` at the lower vertex of a cell to `high` for a
    // whole cell. False without memory.
    [[nodiscard]] bool make(const grid_shape &shape, const std::uint64_t *strides, int low, int high) noexcept;
};

// By the byte before its curve: N rows of 256 each.
struct md_tetrab_rows {
    heap_block<std::uint8_t> curves;  // which the others were made from
    heap_block<std::uint8_t> indices;
    heap_block<std::uint8_t> weights;
    heap_block<std::uint32_t> places;  // weight << 24 | offset; of grids below 2^24 bytes
    bool curved = false;               // whether any curve is not the identity
};

// The identity, 256 bytes.
[[nodiscard]] const std::uint8_t *md_tetrab_identity() noexcept;

// Whether any of `count` curves is not the identity.
[[nodiscard]] bool md_tetrab_curved(const std::uint8_t *curves, int count) noexcept;

class md_tetrab_row_sets
{
public:
    // False without memory. The first rows() makes the rows.
    [[nodiscard]] bool reserve(int inputs) noexcept;

    // The rows of N curves as they are now; null while another thread is making them.
    [[nodiscard]] const md_tetrab_rows *rows(const md_tetrab_positions &positions,
                                             const std::uint8_t *curves) const noexcept;

private:
    int inputs_ = 0;
    mutable md_tetrab_rows sets_[2];
    mutable std::atomic<const md_tetrab_rows *> in_force_{nullptr};  // null until the first rows()
    mutable std::atomic<bool> busy_{false};                          // a thread is filling the spare set
};

}  // namespace teska

#endif
