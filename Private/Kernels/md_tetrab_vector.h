// md_tetrab_vector - conversion of bytes over a simplex, many pixels at a time
//
// The definition is in md_tetrab_scalar.cpp. Lines go in blocks of 64 pixels. Their bytes are first sorted by input,
// and the results stay words until they are stored, so that only the first and the last step know the layout of the
// caller's lines:
//
//     lines -> fetch -> planes of 64 bytes -> base vertices, keys -> paths -> words of four outputs -> put -> lines
//
// Base vertices and keys are found in one of two ways. By places, a table holds for every input byte, folded with its
// curve, one word; the lower 24 bits of the sum of a pixel's words are the offset of its base vertex:
//
//     place = weight << 24 | offset of the lower vertex
//
// By positions, with 3 or 4 inputs, indices and weights of many pixels are computed together from their bytes.
//
// With gathers a vector of pixels runs through in registers. Without, places and vertices are read one by one between
// arrays in the fast cache. A block is read before it is stored, which conversion in place needs.
//
// What is left of a line is a block too, of fewer pixels. Its bytes are copied to and from room for a whole block, so
// that it is sorted and stored like one; only as many vectors as it needs are converted. After its pixels come zeros,
// then results that nobody reads.

#ifndef TESKA_MD_TETRAB_VECTOR_H
#define TESKA_MD_TETRAB_VECTOR_H

#include "Kernels/md_tetrab_layout.h"
#include "Kernels/md_tetrab_path.h"

namespace teska
{

namespace
{

constexpr int most_groups = md_tetrab_line_outputs / 4;

// Of Isa also:
//     reads_byte_tables       whether Isa::byte_table is cheaper than the arithmetic of positions
//     words_at                reads words at offsets
//     store_fours(to, words)  stores 4 words from every 16 bytes, 16 words apart
template <class Isa>
struct md_tetrab_line {
    using vector = typename Isa::vector;
    using position = md_tetrab_position<Isa>;
    template <int N>
    using path = md_tetrab_path<Isa, N>;
    static constexpr int lanes = Isa::size / 4;  // of 32 bits
    // So many pixels or fewer take less time by places: positions are found of 4 * lanes at once.
    static constexpr int few_pixels = lanes < 16 ? 3 * lanes : 2 * lanes;
    // Fewer outputs than these take less time through their curves one by one.
    static constexpr int least_curved = Isa::reads_byte_tables ? 1 : lanes == 4 ? block_pixels : block_pixels / 2;

    // What a block has on its way.
    struct buffers {
        alignas(64) uint8_t bytes[most_inputs][block_pixels];
        alignas(64) uint32_t result[most_groups][block_pixels];
    };

    // ---- Curves -----------------------------------------------------------------------------------------------------

    // Sends 64 bytes through a curve; in place too.
    static void through_curve(const uint8_t *curve, const uint8_t *from, uint8_t *to) noexcept
    {
        if constexpr (Isa::reads_byte_tables) {
            Isa::store(to, typename Isa::byte_table(curve).look_up(Isa::load(from)));
        } else if constexpr (lanes == 4) {
            // Shuffles of vectors this short do not gain.
            for (int p = 0; p < block_pixels; ++p)
                to[p] = curve[from[p]];
        } else {
            constexpr int count = block_pixels / Isa::size;
            vector bytes[count];
            for (int v = 0; v < count; ++v)
                bytes[v] = Isa::load(from + v * Isa::size);
            look_up_bytes<Isa>(bytes, [curve](int row) noexcept {
                const vector values = Isa::repeat(curve + 16 * row);
                return row % 8 == 0 ? values : values ^ Isa::repeat(curve + 16 * (row - 1));
            });
            for (int v = 0; v < count; ++v)
                Isa::store(to + v * Isa::size, bytes[v]);
        }
    }

    // ---- Copies -----------------------------------------------------------------------------------------------------

    // Part to 2 * Part bytes.
    template <int Part>
    static void copy_ends(const uint8_t *from, ptrdiff_t size, uint8_t *to) noexcept
    {
        __builtin_memcpy(to, from, Part);
        __builtin_memcpy(to + size - Part, from + size - Part, Part);
    }

    // At least one byte. Copies are so short that a call would take longer.
    static void copy(const uint8_t *from, ptrdiff_t size, uint8_t *to) noexcept
    {
        if (size >= 16) {
            for (ptrdiff_t i = 0; i + 16 < size; i += 16)
                v128::store(to + i, v128::load(from + i));
            v128::store(to + size - 16, v128::load(from + size - 16));
        } else if (size >= 8) {
            copy_ends<8>(from, size, to);
        } else if (size >= 4) {
            copy_ends<4>(from, size, to);
        } else if (size >= 2) {
            copy_ends<2>(from, size, to);
        } else {
            *to = *from;
        }
    }

    // `room` is a multiple of 16.
    static void copy_before_zeros(const uint8_t *from, ptrdiff_t size, uint8_t *to, int room) noexcept
    {
        for (int i = 0; i < room; i += 16)
            v128::store(to + i, v128::zero());
        copy(from, size, to);
    }

    // ---- Fetch ------------------------------------------------------------------------------------------------------

    static void split(const uint8_t *pixels, ptrdiff_t step, uint8_t *const *planes) noexcept
    {
        step == 3 ? split_3(pixels, planes) : split_4(pixels, planes);
    }

    static void fetch_packed(const md_tetrab_run &run, const pixel_layout &layout, int n, ptrdiff_t first, int count,
                             uint8_t (*bytes)[block_pixels]) noexcept
    {
        uint8_t unused[block_pixels];
        uint8_t *targets[4];
        for (int k = 0; k < 4; ++k)
            targets[k] = layout.line[k] >= 0 ? bytes[layout.line[k]] : unused;
        const uint8_t *pixels = run.in[0] + layout.first + first * run.in_step;
        // A pixel of 4 bytes with 3 inputs may end with its third byte, if it is the last one.
        const int missing = n < run.in_step && layout.line[3] < 0 && first + count == run.end ? 1 : 0;
        uint8_t block[4 * block_pixels];
        if (count < block_pixels || missing != 0) {
            copy_before_zeros(pixels, count * run.in_step - missing, block, 4 * block_pixels);
            pixels = block;
        }
        split(pixels, run.in_step, targets);
    }

    // Sets planes[d] to the bytes of input d of `count` pixels from `first` on; after them come zeros.
    static void fetch(const md_tetrab_run &run, const pixel_layout &layout, int n, ptrdiff_t first, int count,
                      uint8_t (*bytes)[block_pixels], const uint8_t **planes) noexcept
    {
        for (int d = 0; d < n; ++d)
            planes[d] = bytes[d];
        if (layout.packed)
            return fetch_packed(run, layout, n, first, count, bytes);
        for (int d = 0; d < n; ++d) {
            const uint8_t *line = run.in[d] + first * run.in_step;
            if (run.in_step == 1 && count == block_pixels) [[likely]] {
                planes[d] = line;
            } else if (run.in_step == 1) {
                copy_before_zeros(line, count, bytes[d], block_pixels);
            } else {
                int p = 0;
                for (; p < count; ++p, line += run.in_step)
                    bytes[d][p] = *line;
                for (; p < block_pixels; ++p)
                    bytes[d][p] = 0;
            }
        }
    }

    // ---- Blocks -----------------------------------------------------------------------------------------------------

    // `count` pixels from planes of bytes to words of four outputs, by places.
    template <int N>
    static void convert_places(const md_tetrab_table &table, const uint8_t *const *planes, int count,
                               buffers &b) noexcept
    {
        const int n = N != 0 ? N : table.inputs;
        for (int p = 0; p < count; p += lanes) {
            vector key[path<N>::most];
            vector base = Isa::zero();
            for (int d = 0; d < n; ++d) {
                const vector bytes = Isa::widen_8_to_32(planes[d] + p);
                const vector place = Isa::template words_at<4>(table.places + 256 * d, bytes);
                base = Isa::add32(base, place);
                key[d] = Isa::mask32(place, key_weight) | Isa::all32(static_cast<uint32_t>(table.strides[d]));
            }
            const path<N> paths(table, Isa::mask32(base, key_stride), key, n);
            for (int c = 0; c < table.outputs; c += 4)
                Isa::store(b.result[c / 4] + p, paths.outputs(table.data, c, n));
        }
    }

    // The same by positions, four of every sixteen pixels at a time: zipping twice widens bytes to words. The offset of
    // a base vertex is (i0 * side + i1) * stride1 + (i2 * side + i3) * stride3, with sums of pairs of bytes and of
    // pairs of halves.
    template <bool High>
    static vector zip8(vector a, vector b) noexcept
    {
        return High ? Isa::zip_high8(a, b) : Isa::zip_low8(a, b);
    }

    template <bool High>
    static vector zip16(vector a, vector b) noexcept
    {
        return High ? Isa::zip_high16(a, b) : Isa::zip_low16(a, b);
    }

    // index: the sums of both pairs; weight: those of every dimension, each in the upper byte of a half.
    template <int N, bool High>
    static void convert_quarter(const md_tetrab_table &table, const vector *index, const vector *weight,
                                uint32_t (*result)[block_pixels], int p) noexcept
    {
        const vector strides = Isa::all32(static_cast<uint32_t>(table.strides[1] | table.strides[N - 1] << 16));
        vector key[N];
        for (int d = 0; d < N; ++d)
            key[d] = zip16<High>(Isa::zero(), weight[d]) | Isa::all32(static_cast<uint32_t>(table.strides[d]));
        const vector base = Isa::pair_products_s16(zip16<High>(index[0], index[1]), strides);
        const path<N> paths(table, base, key, N);
        for (int c = 0; c < table.outputs; c += 4)
            Isa::store_fours(result[c / 4] + p, paths.outputs(table.data, c, N));
    }

    template <int N, bool High>
    static void convert_half(const md_tetrab_table &table, const position *at, uint32_t (*result)[block_pixels],
                             int p) noexcept
    {
        const auto side = static_cast<uint32_t>(table.strides[0] / table.strides[1]);
        const vector sides = Isa::all32((side | 0x100U) * 0x10001U);
        // The pairs of indices, each as one number. A third dimension is alone: its number is its index.
        vector index[] = {Isa::pair_products_u8_s8(zip8<High>(at[0].index, at[1].index), sides),
                          zip8<High>(at[2].index, N == 4 ? at[N - 1].index : Isa::zero())};
        if (N == 4)
            index[1] = Isa::pair_products_u8_s8(index[1], sides);
        vector weight[N];
        for (int d = 0; d < N; ++d)
            weight[d] = zip8<High>(Isa::zero(), at[d].weight);
        convert_quarter<N, false>(table, index, weight, result, p);
        convert_quarter<N, true>(table, index, weight, result, p + 4);
    }

    template <int N>
    static void convert_positions(const md_tetrab_table &table, const uint8_t *const *planes, int count,
                                  buffers &b) noexcept
    {
        for (int p = 0; p < count; p += 4 * lanes) {
            position at[N];
            for (int d = 0; d < N; ++d)
                at[d] = position::find(table, d, planes[d] + p);
            convert_half<N, false>(table, at, b.result, p);
            convert_half<N, true>(table, at, b.result, p + 8);
        }
    }

    // ---- Put --------------------------------------------------------------------------------------------------------

    // Up to four outputs of 64 pixels, from `channel` on, to planes.
    static void split_outputs(const md_tetrab_table &table, int channel, const uint32_t *result,
                              uint8_t (*planes)[block_pixels]) noexcept
    {
        uint8_t *const targets[] = {planes[0], planes[1], planes[2], planes[3]};
        split_4(reinterpret_cast<const uint8_t *>(result), targets);
        for (int c = channel; table.curved_outputs && c < table.outputs && c < channel + 4; ++c)
            through_curve(table.out_curves + 256 * c, planes[c - channel], planes[c - channel]);
    }

    // To 64 pixels of 3 or 4 bytes.
    static void join_outputs(const md_tetrab_table &table, const pixel_layout &layout, const uint32_t *result,
                             uint8_t *pixels) noexcept
    {
        if (!table.curved_outputs)
            return store_packed(result, v128::load(layout.control), table.outputs, pixels);
        uint8_t planes[4][block_pixels];
        split_outputs(table, 0, result, planes);
        const uint8_t *sources[4];
        for (int k = 0; k < table.outputs; ++k)
            sources[k] = planes[layout.line[k]];
        table.outputs == 3 ? join_3(sources, pixels) : join_4(sources, pixels);
    }

    // To lines of step 1.
    static void put_planes(const md_tetrab_table &table, const md_tetrab_run &run, ptrdiff_t first, int count,
                           const uint32_t (*result)[block_pixels]) noexcept
    {
        for (int channel = 0; channel < table.outputs; channel += 4) {
            uint8_t planes[4][block_pixels];
            split_outputs(table, channel, result[channel / 4], planes);
            for (int c = channel; c < table.outputs && c < channel + 4; ++c) {
                if (run.out[c] == nullptr)
                    continue;
                if (count == block_pixels) [[likely]]  // a size that the compiler knows
                    __builtin_memcpy(run.out[c] + first, planes[c - channel], block_pixels);
                else
                    copy(planes[c - channel], count, run.out[c] + first);
            }
        }
    }

    static void put(const md_tetrab_table &table, const md_tetrab_run &run, const pixel_layout &layout, ptrdiff_t first,
                    int count, const uint32_t (*result)[block_pixels]) noexcept
    {
        const bool by_planes = !table.curved_outputs || count >= least_curved;
        if (layout.packed && by_planes) {
            uint8_t *const pixels = run.out[0] + layout.first + first * run.out_step;
            if (count == block_pixels) [[likely]]
                return join_outputs(table, layout, result[0], pixels);
            uint8_t block[4 * block_pixels];
            join_outputs(table, layout, result[0], block);
            copy(block, count * run.out_step, pixels);
            return;
        }
        if (run.out_step == 1 && by_planes)
            return put_planes(table, run, first, count, result);
        for (int c = 0; c < table.outputs; ++c) {
            if (run.out[c] == nullptr)
                continue;
            const uint8_t *const curve = table.out_curves + 256 * c;
            uint8_t *line = run.out[c] + first * run.out_step;
            for (int p = 0; p < count; ++p, line += run.out_step)
                *line = curve[result[c / 4][p] >> 8 * (c % 4) & 0xFF];
        }
    }

    // ---- Lines ------------------------------------------------------------------------------------------------------

    // Whether all 64 pixels are equal, as in the areas of graphics.
    static bool uniform(const uint8_t *const *planes, int n) noexcept
    {
        vector change = Isa::zero();
        for (int d = 0; d < n; ++d)
            for (int p = 0; p < block_pixels; p += Isa::size)
                change |= Isa::load(planes[d] + p) ^ Isa::all8(*planes[d]);
        return Isa::is_zero(change);
    }

    static bool has_positions(const md_tetrab_table &table) noexcept
    {
        if (Isa::reads_byte_tables)
            return table.indices != nullptr;
        return table.late != nullptr && (lanes > 4 || !table.curved_inputs);
    }

    template <int N>
    static void convert_block(const md_tetrab_table &table, const uint8_t **planes, int count, buffers &b) noexcept
    {
        const int n = N != 0 ? N : table.inputs;
        const bool alike = count == block_pixels && uniform(planes, n);
        if (N == 0 || alike || count <= few_pixels || !has_positions(table)) {
            convert_places<N>(table, planes, alike ? 1 : count, b);
            if (alike)
                for (int c = 0; c < table.outputs; c += 4)
                    for (int p = 0; p < block_pixels; p += lanes)
                        Isa::store(b.result[c / 4] + p, Isa::all32(*b.result[c / 4]));
            return;
        }
        if (!Isa::reads_byte_tables && table.curved_inputs)
            for (int d = 0; d < n; ++d) {
                through_curve(table.in_curves + 256 * d, planes[d], b.bytes[d]);
                planes[d] = b.bytes[d];
            }
        convert_positions<N != 0 ? N : 3>(table, planes, count, b);
    }

    template <int N>
    static void convert(const md_tetrab_table &shared_table, const md_tetrab_run &shared_run) noexcept
    {
        // Copies, because the compiler must assume that a store to an output changes whatever is not local.
        const md_tetrab_table table = shared_table;
        const md_tetrab_run run = shared_run;
        const int n = N != 0 ? N : table.inputs;
        const pixel_layout in_layout = find_layout(run.in, n, run.in_step);
        pixel_layout out_layout = find_layout(run.out, table.outputs, run.out_step);
        // What lies between the outputs is not ours to write.
        out_layout.packed = out_layout.packed && table.outputs == run.out_step;
        buffers b;
        const uint8_t *planes[most_inputs];
        for (ptrdiff_t first = run.first; first < run.end; first += block_pixels) {
            const ptrdiff_t left = run.end - first;
            const int count = left < block_pixels ? static_cast<int>(left) : block_pixels;
            fetch(run, in_layout, n, first, count, b.bytes, planes);
            convert_block<N>(table, planes, count, b);
            put(table, run, out_layout, first, count, b.result);
        }
    }

    static void install(md_tetrab_kernels &table) noexcept
    {
        table.convert_line[2] = convert<3>;
        table.convert_line[3] = convert<4>;
        table.convert_line[4] = convert<0>;
    }
};

}  // namespace

}  // namespace teska

#endif
