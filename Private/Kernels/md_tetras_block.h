// md_tetras_block - conversion through grids of 16-bit samples: what is the same at every level
//
// Pixels go in blocks of 64, in four steps. The first two belong to a level (Steps); the definition is in
// md_tetras_scalar.cpp.
//
//     lines -> find_paths -> N + 1 vertices and weights of each pixel -> sum -> 4 outputs of each pixel -> put -> lines
//
// Paths are offsets into any grid: they are found once for all tables and all groups of four outputs. A block's inputs
// are all read before its first output is stored, which conversion in place needs.
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_MD_TETRAS_BLOCK_H
#define TESKA_MD_TETRAS_BLOCK_H

#include "Kernels/kernels.h"

namespace teska
{

namespace
{

using std::ptrdiff_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr int tetras_block = 64;
constexpr int most_inputs = 30;
constexpr uint32_t whole = 65535;  // the weights of a path sum to it
constexpr uint32_t half_whole = 32767;

// Vertices and weights of the pixels of a block, for N inputs or any number when N is 0. Behind the last pixel come
// zeros to the next multiple of 16.
template <int N>
constexpr unsigned room_for = N != 0 ? N : most_inputs;

template <int N>
struct md_tetras_paths {
    alignas(64) uint32_t at[room_for<N> + 1][tetras_block];  // samples from vertex 0
    alignas(64) uint32_t weight[room_for<N> + 1][tetras_block];
};

// Four outputs of each pixel.
struct md_tetras_results {
    alignas(64) uint16_t of[tetras_block][4];
};

// [(sum + 32767) / 65535], of a sum that has the 32767 already: at most 65535 * 65535 + 32767.
inline uint32_t divided(uint32_t sum) noexcept { return (sum + (sum >> 16) + 1) >> 16; }

// [(sample + 128) / 257]
inline uint8_t to_byte(uint16_t sample) noexcept { return static_cast<uint8_t>((sample * 255U + 32895U) >> 16); }

// ---- Finish ---------------------------------------------------------------------------------------------------------

inline void through_curves(const md_tetras_table &table, int k, int channel, int width, int count,
                           md_tetras_results &results) noexcept
{
    for (int c = 0; c < width; ++c)
        if (const uint16_t *curve = table.out_curves[ptrdiff_t{k} * table.outputs + channel + c])
            for (int p = 0; p < count; ++p)
                results.of[p][c] = curve[results.of[p][c]];
}

// The same with a table for each pixel.
inline void through_tagged_curves(const md_tetras_table &table, const uint8_t *tags, const uint8_t *chosen, int channel,
                                  int width, int count, md_tetras_results &results) noexcept
{
    for (int p = 0; p < count; ++p)
        if (chosen == nullptr || chosen[p] != 0)
            for (int c = 0; c < width; ++c)
                if (const uint16_t *curve = table.out_curves[ptrdiff_t{tags[p]} * table.outputs + channel + c])
                    results.of[p][c] = curve[results.of[p][c]];
}

template <class Sample>
inline void put_line(const md_tetras_results &results, int c, Sample *line, ptrdiff_t step, int count,
                     const uint8_t *chosen) noexcept
{
    for (int p = 0; p < count; ++p, line += step)
        if (chosen == nullptr || chosen[p] != 0) {
            if constexpr (sizeof(Sample) == 1)
                *line = to_byte(results.of[p][c]);
            else
                *line = results.of[p][c];
        }
}

// Stores up to four outputs from line `line` on, whatever the layout of the lines.
inline void put_lines(const md_tetras_run &run, ptrdiff_t line, int width, ptrdiff_t first, int count,
                      const uint8_t *chosen, const md_tetras_results &results) noexcept
{
    const ptrdiff_t start = first * run.out_step;
    for (int c = 0; c < width; ++c) {
        if (run.out != nullptr && run.out[line + c] != nullptr)
            put_line(results, c, run.out[line + c] + start, run.out_step, count, chosen);
        if (run.out_bytes != nullptr && run.out_bytes[line + c] != nullptr)
            put_line(results, c, run.out_bytes[line + c] + start, run.out_step, count, chosen);
    }
}

// ---- Blocks ---------------------------------------------------------------------------------------------------------

// What a block needs beside its paths.
struct md_tetras_pixels {
    ptrdiff_t first;
    int count;
    const uint8_t *chosen;        // null: all
    uint8_t marks[tetras_block];  // what `chosen` points to
};

// Marks the pixels that the mask or the tags choose; false when there are none.
inline bool choose(const md_tetras_run &run, md_tetras_pixels &pixels) noexcept
{
    const uint8_t *const by = run.choice == md_tetras_choice::by_tag ? run.tags : run.mask;
    pixels.chosen = nullptr;
    if (by == nullptr)
        return true;
    int marked = 0;
    for (int p = 0; p < pixels.count; ++p) {
        const int value = by[pixels.first + p];
        const bool mark = run.choice == md_tetras_choice::by_tag ? value < run.tables : value >= run.lowest;
        pixels.marks[p] = mark;
        marked += mark;
    }
    if (marked != pixels.count)
        pixels.chosen = pixels.marks;
    return marked != 0;
}

inline bool all_equal(const uint8_t *bytes, int count) noexcept
{
    uint32_t change = 0;
    for (int p = 1; p < count; ++p)
        change |= uint32_t{bytes[0]} ^ bytes[p];
    return change == 0;
}

// The kernels of a level are static functions of Steps, but for `put`, which may remember the layout of the lines.
template <class Steps, int N>
class md_tetras_block
{
public:
    md_tetras_block(const md_tetras_table &table, const md_tetras_run &run) noexcept
        : table_(table), run_(run), steps_(table_, run_)
    {
    }

    void convert() noexcept
    {
        for (pixels_.first = 0; pixels_.first < run_.count; pixels_.first += tetras_block) {
            const ptrdiff_t left = run_.count - pixels_.first;
            pixels_.count = left < tetras_block ? static_cast<int>(left) : tetras_block;
            if (!choose(run_, pixels_))
                continue;
            steps_.find_paths(pixels_.first, pixels_.count, paths_);
            if (run_.choice == md_tetras_choice::each)
                convert_each();
            else if (run_.choice == md_tetras_choice::blend)
                convert_blend();
            else
                convert_by_tag();
        }
    }

private:
    [[nodiscard]] int width(int channel) const noexcept
    {
        return table_.outputs - channel < 4 ? table_.outputs - channel : 4;
    }
    [[nodiscard]] const uint16_t *grid(int k, int channel) const noexcept
    {
        return table_.vertices + static_cast<size_t>(k) * table_.distance + channel;
    }

    void put(ptrdiff_t line, int channel, const md_tetras_results &results) noexcept
    {
        steps_.put(line, width(channel), pixels_.first, pixels_.count, pixels_.chosen, results);
    }

    // Four outputs of Tables tables after their curves.
    template <unsigned Tables>
    void results_of(const int *tables, int channel, md_tetras_results *results) const noexcept
    {
        const uint16_t *grids[Tables];
        for (unsigned t = 0; t < Tables; ++t)
            grids[t] = grid(tables[t], channel);
        steps_.template sum<Tables>(grids, pixels_.count, paths_, results);
        for (unsigned t = 0; t < Tables; ++t)
            through_curves(table_, tables[t], channel, width(channel), pixels_.count, results[t]);
    }

    // Tables first .. first + Tables - 1 to M lines each, from line `line` on.
    template <unsigned Tables>
    void convert_tables(int first, ptrdiff_t line) noexcept
    {
        int tables[Tables];
        for (unsigned t = 0; t < Tables; ++t)
            tables[t] = first + static_cast<int>(t);
        md_tetras_results results[Tables];
        for (int c = 0; c < table_.outputs; c += 4) {
            results_of<Tables>(tables, c, results);
            for (unsigned t = 0; t < Tables; ++t)
                put(line + static_cast<ptrdiff_t>(t) * table_.outputs + c, c, results[t]);
        }
    }

    void convert_each() noexcept
    {
        constexpr int at_once = Steps::tables_at_once;
        int k = 0;
        for (; k + at_once <= run_.tables; k += at_once)
            convert_tables<at_once>(run_.first + k, ptrdiff_t{k} * table_.outputs);
        if (at_once > 1 && k + 2 == run_.tables)
            return convert_tables<2>(run_.first + k, ptrdiff_t{k} * table_.outputs);
        for (; k < run_.tables; ++k)
            convert_tables<1>(run_.first + k, ptrdiff_t{k} * table_.outputs);
    }

    void convert_blend() noexcept
    {
        const int tables[] = {run_.first, run_.second};
        md_tetras_results results[2];
        uint16_t weights[tetras_block];
        for (int p = 0; p < pixels_.count; ++p)
            weights[p] = run_.weights != nullptr ? run_.weights[pixels_.first + p] : run_.weight;
        for (int c = 0; c < table_.outputs; c += 4) {
            results_of<2>(tables, c, results);
            Steps::blend(results[0], results[1], weights, pixels_.count);
            put(c, c, results[0]);
        }
    }

    // Runs of one tag are those of one table. Otherwise the paths lead to the grid of each pixel.
    void convert_by_tag() noexcept
    {
        const uint8_t *const tags = run_.tags + pixels_.first;
        if (all_equal(tags, pixels_.count))
            return convert_tables<1>(tags[0], 0);
        uint32_t grids[tetras_block] = {};
        for (int p = 0; p < pixels_.count; ++p)
            grids[p] = tags[p] < run_.tables ? tags[p] * table_.distance : 0;
        for (int i = 0; i <= table_.inputs; ++i)
            for (int p = 0; p < pixels_.count; ++p)
                paths_.at[i][p] += grids[p];
        md_tetras_results results[1];
        for (int c = 0; c < table_.outputs; c += 4) {
            const uint16_t *const start = grid(0, c);
            steps_.template sum<1>(&start, pixels_.count, paths_, results);
            if (table_.curved_outputs)
                through_tagged_curves(table_, tags, pixels_.chosen, c, width(c), pixels_.count, results[0]);
            put(c, c, results[0]);
        }
    }

    // Copies, because the compiler must assume that a store to an output changes whatever is not local.
    const md_tetras_table table_;
    const md_tetras_run run_;
    typename Steps::template of<N> steps_;
    md_tetras_pixels pixels_;
    md_tetras_paths<N> paths_;
};

template <class Steps, int N>
void convert_blocks(const md_tetras_table &table, const md_tetras_run &run) noexcept
{
    md_tetras_block<Steps, N>(table, run).convert();
}

// Where every byte is loaded over a network, a build may do without code of its own for each number of inputs: kernels
// of any number alone (TESKA_MD_TETRAS_ANY), or of three and four alone (TESKA_MD_TETRAS_COLOURS) over those.
template <class Steps>
inline void install_steps(md_tetras_kernels &table) noexcept
{
#if defined(TESKA_MD_TETRAS_ANY)
    for (md_tetras_kernels::convert_fn &entry : table.convert)
        entry = convert_blocks<Steps, 0>;
#elif defined(TESKA_MD_TETRAS_COLOURS)
    table.convert[2] = convert_blocks<Steps, 3>;
    table.convert[3] = convert_blocks<Steps, 4>;
#else
    table.convert[0] = convert_blocks<Steps, 1>;
    table.convert[1] = convert_blocks<Steps, 2>;
    table.convert[2] = convert_blocks<Steps, 3>;
    table.convert[3] = convert_blocks<Steps, 4>;
    table.convert[4] = convert_blocks<Steps, 0>;
#endif
}

}  // namespace

}  // namespace teska

#endif
