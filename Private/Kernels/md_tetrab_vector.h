// md_tetrab_vector - conversion of bytes over a simplex, many pixels at a time
//
// The definition stands in md_tetrab_scalar.cpp. Every 32-bit lane is a pixel. What an input byte says, folded with its
// curve, is one word of a table, and becomes the number by which the dimensions are sorted:
//
//     place = weight << 24 | offset of the lower vertex        key = weight << 24 | stride
//
// Unsigned maxima and minima sort keys, with the strides in tow. The lower 24 bits of the sum of the places are the
// offset of the base vertex, running sums of the strides those of the path. Dimensions of equal weight may come in
// any order, because the vertex between them has weight 0 and a product with 0 is 0.
//
// Four outputs are the four bytes of a lane: even and odd ones are taken apart as 16-bit halves, and
// round(a * w / 255) = (a * w + 128) * 257 >> 16, the upper half of a product of 16 bits, for all bytes a and w.
//
// Lines go in blocks of 64 pixels. Their bytes are first sorted by input, and the results stay words until they are
// stored, so that only the first and the last step know the layout of the caller's lines:
//
//     lines -> fetch -> planes of 64 bytes -> places -> paths -> vertices -> words -> store -> lines
//
// With gathers a vector of pixels runs through in registers. Without, places and vertices are read one by one between
// arrays in the fast cache. A block is read before it is stored, which conversion in place needs.

#ifndef TESKA_MD_TETRAB_VECTOR_H
#define TESKA_MD_TETRAB_VECTOR_H

#include "Kernels/kernels.h"

#include <immintrin.h>

namespace teska
{

namespace
{

using std::ptrdiff_t;
using std::uint32_t;
using std::uint8_t;

constexpr int block_pixels = 64;
constexpr int most_inputs = 30;
constexpr int most_groups = md_tetrab_line_outputs / 4;

// ---- Layouts --------------------------------------------------------------------------------------------------------

// Lines whose samples share pixels of 3 or 4 bytes: channel k of the pixel belongs to line line[k], or to none (-1).
struct pixel_layout {
    bool packed = false;
    ptrdiff_t first = 0;  // the line that begins at the first byte of the pixel stands there
    int line[4] = {-1, -1, -1, -1};
    alignas(16) signed char control[16] = {};  // shuffles four words with a byte of each line to the first bytes
};

template <class Byte>
inline pixel_layout find_layout(Byte *const *lines, int count, ptrdiff_t step) noexcept
{
    pixel_layout layout;
    if (count > step || step < 3 || step > 4 || lines[0] == nullptr)
        return layout;
    for (int i = 1; i < count; ++i) {
        if (lines[i] == nullptr)
            return layout;
        if (lines[i] - lines[0] < layout.first)
            layout.first = lines[i] - lines[0];
    }
    for (int i = 0; i < count; ++i) {
        const ptrdiff_t k = lines[i] - lines[0] - layout.first;
        if (k >= step || layout.line[k] != -1)
            return layout;
        layout.line[k] = i;
    }
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < count; ++k)
            layout.control[i * count + k] = static_cast<signed char>(4 * i + layout.line[k]);
    layout.packed = true;
    return layout;
}

inline __m128i load_16(const void *at) noexcept { return _mm_loadu_si128(static_cast<const __m128i *>(at)); }
inline void store_16(void *at, __m128i value) noexcept { _mm_storeu_si128(static_cast<__m128i *>(at), value); }

// Words at base + Scale * index; where a gather is missing or slow.
template <int Scale>
inline __m128i load_4_words(const void *base, __m128i index) noexcept
{
    const auto word = [base](uint32_t at) {
        int value;
        __builtin_memcpy(&value, static_cast<const uint8_t *>(base) + std::size_t{Scale} * at, 4);
        return value;
    };
    const auto low = static_cast<unsigned long long>(_mm_cvtsi128_si64(index));
    const auto high = static_cast<unsigned long long>(_mm_extract_epi64(index, 1));
    __m128i words = _mm_cvtsi32_si128(word(static_cast<uint32_t>(low)));
    words = _mm_insert_epi32(words, word(static_cast<uint32_t>(low >> 32)), 1);
    words = _mm_insert_epi32(words, word(static_cast<uint32_t>(high)), 2);
    return _mm_insert_epi32(words, word(static_cast<uint32_t>(high >> 32)), 3);
}

// 64 pixels of 4 bytes to 4 planes.
inline void split_4(const uint8_t *pixels, uint8_t *const *planes) noexcept
{
    const __m128i by_channel = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    for (int p = 0; p < block_pixels; p += 16) {
        __m128i four[4];
        for (int i = 0; i < 4; ++i)
            four[i] = _mm_shuffle_epi8(load_16(pixels + 4 * p + 16 * i), by_channel);
        const __m128i low[] = {_mm_unpacklo_epi32(four[0], four[1]), _mm_unpacklo_epi32(four[2], four[3])};
        const __m128i high[] = {_mm_unpackhi_epi32(four[0], four[1]), _mm_unpackhi_epi32(four[2], four[3])};
        store_16(planes[0] + p, _mm_unpacklo_epi64(low[0], low[1]));
        store_16(planes[1] + p, _mm_unpackhi_epi64(low[0], low[1]));
        store_16(planes[2] + p, _mm_unpacklo_epi64(high[0], high[1]));
        store_16(planes[3] + p, _mm_unpackhi_epi64(high[0], high[1]));
    }
}

// Shuffles between 16 pixels of 3 bytes, in thirds of 16 bytes, and 16 bytes of each channel; -1 gives 0.
struct third_shuffles {
    signed char split[3][3][16];  // by channel and third
    signed char join[3][3][16];   // by third and channel

    constexpr third_shuffles() noexcept : split(), join()
    {
        for (int third = 0; third < 3; ++third)
            for (int k = 0; k < 3; ++k)
                for (int i = 0; i < 16; ++i) {
                    const int byte = 3 * i + k - 16 * third;
                    split[k][third][i] = static_cast<signed char>(byte >= 0 && byte < 16 ? byte : -1);
                    const int place = 16 * third + i;
                    join[third][k][i] = static_cast<signed char>(place % 3 == k ? place / 3 : -1);
                }
    }
};

constexpr third_shuffles thirds_of_16;

// 64 pixels of 3 bytes to 3 planes.
inline void split_3(const uint8_t *pixels, uint8_t *const *planes) noexcept
{
    for (int p = 0; p < block_pixels; p += 16) {
        const __m128i thirds[] = {load_16(pixels + 3 * p), load_16(pixels + 3 * p + 16), load_16(pixels + 3 * p + 32)};
        for (int k = 0; k < 3; ++k) {
            __m128i channel = _mm_setzero_si128();
            for (int third = 0; third < 3; ++third)
                channel = _mm_or_si128(channel, _mm_shuffle_epi8(thirds[third], load_16(thirds_of_16.split[k][third])));
            store_16(planes[k] + p, channel);
        }
    }
}

// 3 planes to 64 pixels of 3 bytes.
inline void join_3(const uint8_t *const *planes, uint8_t *pixels) noexcept
{
    for (int p = 0; p < block_pixels; p += 16)
        for (int third = 0; third < 3; ++third) {
            __m128i bytes = _mm_setzero_si128();
            for (int k = 0; k < 3; ++k)
                bytes =
                    _mm_or_si128(bytes, _mm_shuffle_epi8(load_16(planes[k] + p), load_16(thirds_of_16.join[third][k])));
            store_16(pixels + 3 * p + 16 * third, bytes);
        }
}

// 4 planes to 64 pixels of 4 bytes.
inline void join_4(const uint8_t *const *planes, uint8_t *pixels) noexcept
{
    for (int p = 0; p < block_pixels; p += 16) {
        const __m128i first[] = {load_16(planes[0] + p), load_16(planes[1] + p)};
        const __m128i last[] = {load_16(planes[2] + p), load_16(planes[3] + p)};
        const __m128i low[] = {_mm_unpacklo_epi8(first[0], first[1]), _mm_unpacklo_epi8(last[0], last[1])};
        const __m128i high[] = {_mm_unpackhi_epi8(first[0], first[1]), _mm_unpackhi_epi8(last[0], last[1])};
        store_16(pixels + 4 * p, _mm_unpacklo_epi16(low[0], low[1]));
        store_16(pixels + 4 * p + 16, _mm_unpackhi_epi16(low[0], low[1]));
        store_16(pixels + 4 * p + 32, _mm_unpacklo_epi16(high[0], high[1]));
        store_16(pixels + 4 * p + 48, _mm_unpackhi_epi16(high[0], high[1]));
    }
}

// ---- The conversion -------------------------------------------------------------------------------------------------

// Isa::raw is the register of the intrinsics, Isa::lanes its words. Operations of Isa that move bytes work in every 16
// bytes by themselves, as the instructions do.
template <class Isa>
struct md_tetrab_line {
    using raw = typename Isa::raw;
    typedef uint8_t octets __attribute__((vector_size(sizeof(raw))));
    typedef uint16_t halves __attribute__((vector_size(sizeof(raw))));
    typedef uint32_t vector __attribute__((vector_size(sizeof(raw))));
    static constexpr int lanes = Isa::lanes;

    template <class To, class From>
    static To as(From value) noexcept
    {
        return reinterpret_cast<To>(value);
    }
    static raw words(uint32_t value) noexcept { return as<raw>(vector{} + value); }

    // What a block has on its way.
    struct buffers {
        alignas(64) uint8_t bytes[most_inputs][block_pixels];
        alignas(64) uint32_t result[most_groups][block_pixels];
    };

    // ---- Curves -----------------------------------------------------------------------------------------------------

    // Sends 64 bytes through a curve; in place too. Its 16 pieces are combined by exclusive or: a byte that has left a
    // piece behind meets the change from each to the next until its own is reached, then it is negative and meets 0.
    static void through_curve(const uint8_t *curve, const uint8_t *from, uint8_t *to) noexcept
    {
        constexpr int registers = block_pixels / static_cast<int>(sizeof(raw));
        if constexpr (Isa::reads_byte_tables) {
            Isa::store(to, Isa::look_up(curve, Isa::load(from)));
        } else if constexpr (lanes == 4) {
            // Registers this short do not gain.
            for (int p = 0; p < block_pixels; ++p)
                to[p] = curve[from[p]];
        } else {
            octets sum[registers] = {};
            for (int half = 0; half < 2; ++half) {
                octets left[registers];
                for (int r = 0; r < registers; ++r)
                    left[r] = as<octets>(Isa::load(from + r * static_cast<int>(sizeof(raw)))) ^
                              static_cast<uint8_t>(128 * half);
                __m128i before = _mm_setzero_si128();
                for (int piece = 0; piece < 8; ++piece) {
                    const __m128i values = load_16(curve + 128 * half + 16 * piece);
                    const raw change = Isa::broadcast(_mm_xor_si128(values, before));
                    before = values;
                    for (int r = 0; r < registers; ++r) {
                        sum[r] ^= as<octets>(Isa::shuffle(change, as<raw>(left[r])));
                        left[r] = as<octets>(Isa::subtract_saturated(as<raw>(left[r]), words(0x10101010U)));
                    }
                }
            }
            for (int r = 0; r < registers; ++r)
                Isa::store(to + r * static_cast<int>(sizeof(raw)), as<raw>(sum[r]));
        }
    }

    // ---- Fetch ------------------------------------------------------------------------------------------------------

    // Sets planes[d] to the bytes of input d of `count` pixels from `first` on; behind them come others or zeros.
    static void fetch(const md_tetrab_run &run, const pixel_layout &layout, int n, ptrdiff_t first, int count,
                      uint8_t (*bytes)[block_pixels], const uint8_t **planes) noexcept
    {
        for (int d = 0; d < n; ++d)
            planes[d] = bytes[d];
        if (count == block_pixels) {
            // A pixel of 4 bytes with 3 inputs may end with its third byte, if it is the last one.
            if (layout.packed && (n == run.in_step || first + count < run.end)) {
                uint8_t unused[block_pixels];
                uint8_t *targets[4];
                for (int k = 0; k < 4; ++k)
                    targets[k] = layout.line[k] >= 0 ? bytes[layout.line[k]] : unused;
                const uint8_t *const pixels = run.in[0] + layout.first + first * run.in_step;
                return run.in_step == 3 ? split_3(pixels, targets) : split_4(pixels, targets);
            }
            if (run.in_step == 1) {
                for (int d = 0; d < n; ++d)
                    planes[d] = run.in[d] + first;
                return;
            }
        }
        for (int d = 0; d < n; ++d) {
            const uint8_t *line = run.in[d] + first * run.in_step;
            int p = 0;
            for (; p < count; ++p, line += run.in_step)
                bytes[d][p] = *line;
            for (; p < block_pixels; ++p)
                bytes[d][p] = 0;
        }
    }

    // ---- Positions --------------------------------------------------------------------------------------------------

    // Lower vertex and weight of as many pixels as a register has bytes.
    struct position {
        octets index;
        octets weight;
    };

    // Quotient and remainder of u * cells / 255, and what doubles make of the remainder.
    static position even_position(const md_tetrab_table &table, octets u) noexcept
    {
        halves quotient[2];
        halves rest[2];
        for (int i = 0; i < 2; ++i) {
            const raw wide = i == 0 ? Isa::zip_bytes_low(as<raw>(u), raw{}) : Isa::zip_bytes_high(as<raw>(u), raw{});
            const halves x = as<halves>(wide) * static_cast<uint16_t>(table.cells);
            quotient[i] = (x + (x >> 8) + 1) >> 8;
            rest[i] = (x + quotient[i]) & 0xFF;
        }
        // The lower nibble selects one of 16 bytes for the upper nibbles below 8, one of 16 for those from 8 on, and
        // the upper nibble the bit. A shuffle with the topmost bit set gives 0.
        const octets nibble = u & 0x8F;
        const raw low = Isa::shuffle(Isa::broadcast(load_16(table.late)), as<raw>(nibble));
        const raw high = Isa::shuffle(Isa::broadcast(load_16(table.late + 16)), as<raw>(nibble ^ 0x80));
        const __m128i bits = _mm_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128);
        const raw bit = Isa::shuffle(Isa::broadcast(bits), as<raw>(as<octets>(as<halves>(u) >> 4) & 0x0F));
        const auto late = ((as<octets>(low) | as<octets>(high)) & as<octets>(bit)) == as<octets>(bit);  // -1 or 0
        return {as<octets>(Isa::pack(as<raw>(quotient[0]), as<raw>(quotient[1]))),
                as<octets>(Isa::pack(as<raw>(rest[0]), as<raw>(rest[1]))) + as<octets>(late)};
    }

    static position find_position(const md_tetrab_table &table, int d, const uint8_t *plane) noexcept
    {
        if constexpr (Isa::reads_byte_tables)
            return {as<octets>(Isa::look_up(table.indices + 256 * d, Isa::load(plane))),
                    as<octets>(Isa::look_up(table.weights + 256 * d, Isa::load(plane)))};
        else
            return even_position(table, as<octets>(Isa::load(plane)));
    }

    // ---- Path -------------------------------------------------------------------------------------------------------

    static void order(vector &first, vector &second) noexcept
    {
        const raw larger = Isa::max(as<raw>(first), as<raw>(second));
        second = as<vector>(Isa::min(as<raw>(first), as<raw>(second)));
        first = as<vector>(larger);
    }

    // Descending, for N inputs or any number when N is 0.
    template <int N>
    static void sort(vector *key, int n) noexcept
    {
        if constexpr (N == 4) {
            order(key[0], key[1]);
            order(key[2], key[3]);
            order(key[0], key[2]);
            order(key[1], key[3]);
            order(key[1], key[2]);
        } else {
            for (int i = 1; i < n; ++i)
                for (int k = i; k > 0; --k)
                    order(key[k - 1], key[k]);
        }
    }

    // From n keys the offsets and weights of n + 1 vertices. A weight stands in both halves of a word.
    template <int N>
    struct path {
        static constexpr int most = N != 0 ? N : most_inputs;
        vector at[most + 1];
        halves weight[most + 1];

        void find(const md_tetrab_table &table, vector base, vector *key, int n) noexcept
        {
            const __m128i top_bytes = _mm_setr_epi8(3, -1, 3, -1, 7, -1, 7, -1, 11, -1, 11, -1, 15, -1, 15, -1);
            sort<N>(key, n);
            at[0] = base;
            at[n] = base + static_cast<uint32_t>(table.far_corner);
            halves before = halves{} + 255;
            for (int i = 0; i < n; ++i) {
                if (i + 1 < n)
                    at[i + 1] = at[i] + (key[i] & 0x00FFFFFFU);
                const halves next = as<halves>(Isa::shuffle(as<raw>(key[i]), Isa::broadcast(top_bytes)));
                weight[i] = before - next;
                before = next;
            }
            weight[n] = before;
        }

        // Four outputs from `channel` on, as the bytes of a word.
        [[nodiscard]] vector outputs(const uint8_t *data, int channel, int n) const noexcept
        {
            halves even{};
            halves odd{};
            for (int i = 0; i <= n; ++i) {
                const vector vertex = as<vector>(Isa::template gather<1>(data + channel, as<raw>(at[i])));
                even += product(as<halves>(vertex & 0x00FF00FFU), weight[i]);
                odd += product(as<halves>(vertex) >> 8, weight[i]);
            }
            return as<vector>(even | odd << 8);
        }
    };

    static halves product(halves value, halves weight) noexcept
    {
        return as<halves>(Isa::multiply_high(as<raw>(value * weight + 128), words(0x01010101U)));
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
            vector base{};
            for (int d = 0; d < n; ++d) {
                const auto place =
                    as<vector>(Isa::template gather<4>(table.places + 256 * d, Isa::widen(planes[d] + p)));
                base += place;
                key[d] = (place & 0xFF000000U) | static_cast<uint32_t>(table.strides[d]);
            }
            path<N> way;
            way.find(table, base & 0x00FFFFFFU, key, n);
            for (int c = 0; c < table.outputs; c += 4)
                Isa::store(b.result[c / 4] + p, as<raw>(way.outputs(table.data, c, n)));
        }
    }

    // The same by positions, for 3 or 4 inputs. Zipping twice widens bytes to words, four of every sixteen pixels at a
    // time. The offset of a base vertex is (i0 * side + i1) * stride1 + (i2 * side + i3) * stride3, with sums of pairs
    // of bytes and of pairs of halves.
    template <bool High>
    static raw zip_bytes(raw a, raw b) noexcept
    {
        return High ? Isa::zip_bytes_high(a, b) : Isa::zip_bytes_low(a, b);
    }

    template <bool High>
    static raw zip_halves(raw a, raw b) noexcept
    {
        return High ? Isa::zip_halves_high(a, b) : Isa::zip_halves_low(a, b);
    }

    template <int N, bool High>
    static void convert_quarter(const md_tetrab_table &table, const raw *index, const raw *weight,
                                uint32_t (*result)[block_pixels], int p) noexcept
    {
        const raw strides = words(static_cast<uint32_t>(table.strides[1] | table.strides[N - 1] << 16));
        vector key[N];
        for (int d = 0; d < N; ++d)
            key[d] = as<vector>(zip_halves<High>(raw{}, weight[d])) | static_cast<uint32_t>(table.strides[d]);
        path<N> way;
        way.find(table, as<vector>(Isa::add_pairs_of_halves(zip_halves<High>(index[0], index[1]), strides)), key, N);
        for (int c = 0; c < table.outputs; c += 4)
            Isa::store_fours(result[c / 4] + p, as<raw>(way.outputs(table.data, c, N)));
    }

    template <int N, bool High>
    static void convert_half(const md_tetrab_table &table, const position *at, uint32_t (*result)[block_pixels],
                             int p) noexcept
    {
        const auto side = static_cast<uint32_t>(table.strides[0] / table.strides[1]);
        const raw sides = words((side | 0x100U) * 0x10001U);
        raw index[] = {Isa::add_pairs_of_bytes(zip_bytes<High>(as<raw>(at[0].index), as<raw>(at[1].index)), sides),
                       zip_bytes<High>(as<raw>(at[2].index), N == 4 ? as<raw>(at[N - 1].index) : raw{})};
        if (N == 4)
            index[1] = Isa::add_pairs_of_bytes(index[1], sides);
        raw weight[N];
        for (int d = 0; d < N; ++d)
            weight[d] = zip_bytes<High>(raw{}, as<raw>(at[d].weight));
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
                at[d] = find_position(table, d, planes[d] + p);
            convert_half<N, false>(table, at, b.result, p);
            convert_half<N, true>(table, at, b.result, p + 8);
        }
    }

    // ---- Store ------------------------------------------------------------------------------------------------------

    // Words to pixels of 3 or 4 bytes in the order that `control` gives: it shuffles four of them to the lower bytes.
    static void store_packed(const uint32_t *result, __m128i control, ptrdiff_t step, uint8_t *pixels) noexcept
    {
        int p = 0;
        for (; p + 4 < block_pixels; p += 4)
            store_16(pixels + p * step, _mm_shuffle_epi8(load_16(result + p), control));
        const __m128i last = _mm_shuffle_epi8(load_16(result + p), control);
        if (step == 4)
            return store_16(pixels + 4 * p, last);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(pixels + 3 * p), last);
        const int third = _mm_extract_epi32(last, 2);
        __builtin_memcpy(pixels + 3 * p + 8, &third, 4);
    }

    // Up to four outputs of 64 pixels by way of planes; planar lines, or packed ones of 3 or 4 outputs.
    static void put_planes(const md_tetrab_table &table, const md_tetrab_run &run, const pixel_layout &layout,
                           ptrdiff_t first, int channel, const uint32_t *result) noexcept
    {
        uint8_t planes[4][block_pixels];
        uint8_t *const targets[] = {planes[0], planes[1], planes[2], planes[3]};
        split_4(reinterpret_cast<const uint8_t *>(result), targets);
        for (int c = channel; c < table.outputs && c < channel + 4; ++c) {
            uint8_t *const plane = planes[c - channel];
            if (table.curved_outputs)
                through_curve(table.out_curves + 256 * c, plane, plane);
            if (!layout.packed && run.out[c] != nullptr)
                __builtin_memcpy(run.out[c] + first, plane, block_pixels);
        }
        if (layout.packed) {
            const uint8_t *sources[4];
            for (int k = 0; k < table.outputs; ++k)
                sources[k] = planes[layout.line[k]];
            uint8_t *const pixels = run.out[0] + layout.first + first * run.out_step;
            table.outputs == 3 ? join_3(sources, pixels) : join_4(sources, pixels);
        }
    }

    static void put(const md_tetrab_table &table, const md_tetrab_run &run, const pixel_layout &layout, ptrdiff_t first,
                    int count, const uint32_t (*result)[block_pixels]) noexcept
    {
        if (count == block_pixels && layout.packed && !table.curved_outputs) {
            return store_packed(result[0], load_16(layout.control), run.out_step,
                                run.out[0] + layout.first + first * run.out_step);
        }
        if (count == block_pixels && (layout.packed || run.out_step == 1)) {
            for (int c = 0; c < table.outputs; c += 4)
                put_planes(table, run, layout, first, c, result[c / 4]);
            return;
        }
        for (int c = 0; c < table.outputs; ++c) {
            if (run.out[c] == nullptr)
                continue;
            const auto *bytes = reinterpret_cast<const uint8_t *>(result[c / 4]) + c % 4;
            const uint8_t *const curve = table.out_curves + 256 * c;
            uint8_t *line = run.out[c] + first * run.out_step;
            for (int p = 0; p < count; ++p, line += run.out_step)
                *line = curve[bytes[4 * p]];
        }
    }

    // ---- Lines ------------------------------------------------------------------------------------------------------

    // Whether all 64 pixels are equal, as in the areas of graphics.
    static bool uniform(const uint8_t *const *planes, int n) noexcept
    {
        octets change{};
        for (int d = 0; d < n; ++d)
            for (int p = 0; p < block_pixels; p += static_cast<int>(sizeof(raw)))
                change |= as<octets>(Isa::load(planes[d] + p)) ^ *planes[d];
        return Isa::is_zero(as<raw>(change));
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
        if (count == block_pixels && uniform(planes, n)) {
            convert_places<N>(table, planes, 1, b);
            for (int c = 0; c < table.outputs; c += 4)
                for (int p = 0; p < block_pixels; p += lanes)
                    Isa::store(b.result[c / 4] + p, words(*b.result[c / 4]));
        } else if (N != 0 && has_positions(table)) {
            if (!Isa::reads_byte_tables && table.curved_inputs)
                for (int d = 0; d < n; ++d) {
                    through_curve(table.in_curves + 256 * d, planes[d], b.bytes[d]);
                    planes[d] = b.bytes[d];
                }
            convert_positions<N != 0 ? N : 3>(table, planes, count, b);
        } else {
            convert_places<N>(table, planes, count, b);
        }
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
