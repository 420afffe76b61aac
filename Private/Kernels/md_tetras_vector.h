// md_tetras_vector - conversion through grids of 16-bit samples, many pixels at a time
//
// The definition is in md_tetras_scalar.cpp. Index and remainder come from the halves of the product u * (R - 1), in
// lanes of 16 bits:
//
//     i = upper + (lower >= 65535 - upper),   r = lower + i   (modulo 65536)
//
// Inputs are sorted as remainder << 16 | label, in lanes of 32 bits, by unsigned maxima and minima; the label tells the
// stride. Running sums of the strides are the offsets of the path, differences of the remainders its weights.
//
// The four samples of a vertex come by one load of 8 bytes. No sum needs more than 32 unsigned bits.

#ifndef TESKA_MD_TETRAS_VECTOR_H
#define TESKA_MD_TETRAS_VECTOR_H

#include "Kernels/md_tetras_layout.h"
#include "Kernels/md_tetras_path.h"

namespace teska
{

namespace
{

// Labels that are the strides themselves.
template <class Isa>
class strides_as_labels
{
public:
    using vector = typename Isa::vector;

    strides_as_labels(const uint32_t *strides, int /*n*/) noexcept : strides_(strides) {}
    static bool fit(const uint32_t *strides, int /*n*/) noexcept { return strides[0] <= 0xFFFF; }
    [[nodiscard]] vector label(int d) const noexcept { return Isa::all16(static_cast<int>(strides_[d])); }
    [[nodiscard]] vector of(vector key) const noexcept { return key & Isa::all32(0xFFFF); }

private:
    const uint32_t *strides_;
};

// Labels that number the inputs; the strides lie in a vector, which Isa::pick32 reads by the lower bits of its lanes.
template <class Isa>
class strides_by_number
{
public:
    using vector = typename Isa::vector;
    static constexpr int lanes = Isa::size / 4;

    strides_by_number(const uint32_t *strides, int n) noexcept
    {
        alignas(64) uint32_t row[Isa::size / sizeof(uint32_t)] = {};
        for (int d = 0; d < n; ++d)
            row[d] = strides[d];
        row_ = Isa::load(row);
    }
    static bool fit(const uint32_t * /*strides*/, int n) noexcept { return n <= lanes; }
    [[nodiscard]] vector label(int d) const noexcept { return Isa::all16(d); }
    [[nodiscard]] vector of(vector key) const noexcept { return Isa::pick32(row_, key); }

private:
    vector row_;
};

// The sums of as many pixels as a vector has room for four samples of each. A lane of 32 bits holds two samples of a
// pixel. The sum of the lower ones is not formed by itself: the products of whole lanes are, modulo 2^32,
//
//     lane * w = lower * w + 2^16 * upper * w,
//
// and what the upper samples add is taken away once, at the end.
//
// Of Isa:
//     fours(grid, at)    the four samples at each of the vertices at[0], at[1], at[2] ..
//     twice(weights)     weights 0, 0, 1, 1, 2, 2 ..
template <class Isa>
class md_tetras_sums
{
public:
    using vector = typename Isa::vector;
    using lanes32 = typename Isa::lanes32;
    static constexpr int pixels = Isa::size / 8;

    struct weights {
        explicit weights(const uint32_t *at) noexcept : twice(reinterpret_cast<lanes32>(Isa::twice(at))) {}
        lanes32 twice;
    };

    void add(const uint16_t *grid, const uint32_t *at, const weights &by) noexcept
    {
        const auto lane = reinterpret_cast<lanes32>(Isa::fours(grid, at));
        lanes_ += lane * by.twice;
        upper_ += (lane >> 16) * by.twice;
    }

    void store(void *samples) const noexcept
    {
        const lanes32 lower = shifted_quotient(lanes_ - (upper_ << 16)) >> 16;
        const lanes32 upper = shifted_quotient(upper_) & 0xFFFF0000;
        Isa::store(samples, reinterpret_cast<vector>(lower | upper));
    }

private:
    // `divided` before its shift: the quotient is in the upper half.
    static lanes32 shifted_quotient(lanes32 sum) noexcept
    {
        sum += half_whole;
        return sum + (sum >> 16) + 1;
    }

    lanes32 lanes_ = {};
    lanes32 upper_ = {};
};

// Of Isa also:
//     strides                  one of the above
//     apart(a)                 orders blocks of 8 bytes so that zips of lanes of 16 bits give a half of the lanes each
//     sums                     of some pixels, as md_tetras_sums
//     tables_at_once           how many of a set are summed together: 1, or 3 where their sums stay in registers
template <class Isa>
struct md_tetras_steps {
    using vector = typename Isa::vector;
    using lanes16 = typename Isa::lanes16;
    using lanes32 = typename Isa::lanes32;
    static constexpr int lanes = Isa::size / 4;  // of 32 bits
    static constexpr int tables_at_once = Isa::tables_at_once;

    template <class To, class From>
    static To as(From value) noexcept
    {
        return reinterpret_cast<To>(value);
    }

    template <int N>
    class of
    {
    public:
        of(const md_tetras_table &table, const md_tetras_run &run) noexcept
            : table_(table), run_(run), n_(N != 0 ? N : table.inputs),
              in_layout_(run.in_bytes != nullptr ? find_layout(run.in_bytes, n_, run.in_step)
                                                 : find_layout(run.in, n_, run.in_step)),
              by_vectors_(Isa::strides::fit(table.strides, n_))
        {
        }

        // ---- Paths --------------------------------------------------------------------------------------------------

        void find_paths(ptrdiff_t first, int count, md_tetras_paths<N> &paths) const noexcept
        {
            if (!by_vectors_)
                return find_paths_one_by_one(table_, run_, first, count, paths);
            tetras_planes<uint16_t, room_for<N>> planes;
            const bool last = first + count == run_.count;
            if (run_.in_bytes != nullptr) {
                tetras_planes<uint8_t, room_for<N>> bytes;
                fetch(run_.in_bytes, n(), run_.in_step, first, count, last, in_layout_, bytes);
                widen(bytes, planes);
            } else {
                fetch(run_.in, n(), run_.in_step, first, count, last, in_layout_, planes);
                through_in_curves(count, planes);
            }
            const typename Isa::strides strides(table_.strides, n());
            for (int p = 0; p < count; p += 2 * lanes)
                find(planes, strides, p, paths);
        }

        // ---- Sums ---------------------------------------------------------------------------------------------------

        template <unsigned Tables>
        void sum(const uint16_t *const *grids, int count, const md_tetras_paths<N> &paths,
                 md_tetras_results *results) const noexcept
        {
            using sums = typename Isa::sums;
            for (int p = 0; p < count; p += sums::pixels) {
                sums of_table[Tables];
                for (int i = 0; i <= n(); ++i) {
                    const typename sums::weights weights(paths.weight[i] + p);
                    for (unsigned t = 0; t < Tables; ++t)
                        of_table[t].add(grids[t], paths.at[i] + p, weights);
                }
                for (unsigned t = 0; t < Tables; ++t)
                    of_table[t].store(results[t].of[p]);
            }
        }

        // ---- Lines --------------------------------------------------------------------------------------------------

        void put(ptrdiff_t line, int width, ptrdiff_t first, int count, const uint8_t *chosen,
                 const md_tetras_results &results) noexcept
        {
            if (count != tetras_block || chosen != nullptr || (run_.out_step != 1 && run_.out_step != width))
                return put_lines(run_, line, width, first, count, chosen, results);
            if (run_.out_step == 1)
                return put_planes(line, width, first, results);
            const line_layout &layout = layout_of(line, width);
            const ptrdiff_t start = layout.pixel.first + first * run_.out_step;
            if (!layout.pixel.packed)
                return put_lines(run_, line, width, first, count, chosen, results);
            if (run_.out != nullptr)
                return store_packed_words(results, layout.words, run_.out_step, run_.out[line] + start);
            alignas(64) uint32_t words[tetras_block];
            narrow(results, words);
            store_packed(words, v128::load(layout.pixel.control), run_.out_step, run_.out_bytes[line] + start);
        }

    private:
        [[nodiscard]] int n() const noexcept { return N != 0 ? N : n_; }

        // Byte b is the sample 257 * b: it twice. Inputs with a curve have theirs in the table.
        void widen(const tetras_planes<uint8_t, room_for<N>> &bytes,
                   tetras_planes<uint16_t, room_for<N>> &planes) const noexcept
        {
            for (int d = 0; d < n(); ++d) {
                if (table_.in_curves[d] != nullptr) {
                    for (int p = 0; p < tetras_block; ++p)
                        planes.of[d][p] = table_.bytes[256 * d + bytes.of[d][p]].sample;
                    continue;
                }
                for (int p = 0; p < tetras_block; p += 16) {
                    const v128::vector sixteen = v128::load(bytes.of[d] + p);
                    v128::store(planes.of[d] + p, v128::zip_low8(sixteen, sixteen));
                    v128::store(planes.of[d] + p + 8, v128::zip_high8(sixteen, sixteen));
                }
            }
        }

        void through_in_curves(int count, tetras_planes<uint16_t, room_for<N>> &planes) const noexcept
        {
            for (int d = 0; d < n(); ++d)
                if (const uint16_t *curve = table_.in_curves[d])
                    for (int p = 0; p < count; ++p)
                        planes.of[d][p] = curve[planes.of[d][p]];
        }

        // The paths of two vectors of pixels.
        void find(const tetras_planes<uint16_t, room_for<N>> &planes, const typename Isa::strides &strides, int p,
                  md_tetras_paths<N> &paths) const noexcept
        {
            vector key[2][room_for<N>];
            lanes32 base[2] = {};
            for (int d = 0; d < n(); ++d) {
                const vector u = Isa::apart(Isa::load(planes.of[d] + p));
                const vector cells = Isa::all16(static_cast<int>(table_.cells));
                const auto upper = as<lanes16>(Isa::multiply_high_u16(u, cells));
                const auto lower = as<lanes16>(Isa::multiply_low16(u, cells));
                auto index = upper - as<lanes16>(lower >= ~upper);
                auto rest = lower + index;
                // The last vertex is the end of the last cell.
                const auto top = as<lanes16>(index == as<lanes16>(cells));
                index += top;
                rest |= top;
                base[0] += as<lanes32>(Isa::zip_low16(as<vector>(index), Isa::zero())) * table_.strides[d];
                base[1] += as<lanes32>(Isa::zip_high16(as<vector>(index), Isa::zero())) * table_.strides[d];
                key[0][d] = Isa::zip_low16(strides.label(d), as<vector>(rest));
                key[1][d] = Isa::zip_high16(strides.label(d), as<vector>(rest));
            }
            walk(key[0], base[0], strides, p, paths);
            walk(key[1], base[1], strides, p + lanes, paths);
        }

        void walk(vector *key, lanes32 at, const typename Isa::strides &strides, int p,
                  md_tetras_paths<N> &paths) const noexcept
        {
            sort_keys<N>(key, n(), [](vector &first, vector &second) noexcept {
                const vector larger = Isa::max_u32(first, second);
                second = Isa::min_u32(first, second);
                first = larger;
            });
            Isa::store(paths.at[0] + p, as<vector>(at));
            lanes32 before = lanes32{} + whole;
            for (int i = 0; i < n(); ++i) {
                const lanes32 rest = as<lanes32>(key[i]) >> 16;
                Isa::store(paths.weight[i] + p, as<vector>(before - rest));
                before = rest;
                at += as<lanes32>(strides.of(key[i]));
                Isa::store(paths.at[i + 1] + p, as<vector>(at));
            }
            Isa::store(paths.weight[n()] + p, as<vector>(before));
        }

        // The layout of the lines of a table, which has no more outputs than the step. Up to three tables take turns.
        const line_layout &layout_of(ptrdiff_t line, int width) noexcept
        {
            line_layout &known = out_layouts_[line / width % 3];
            if (known.line != line) {
                known.line = line;
                known.pixel = run_.out != nullptr ? find_layout(run_.out + line, width, run_.out_step)
                                                  : find_layout(run_.out_bytes + line, width, run_.out_step);
                known.words = find_control(known.pixel, width);
            }
            return known;
        }

        // To lines of step 1.
        void put_planes(ptrdiff_t line, int width, ptrdiff_t first, const md_tetras_results &results) const noexcept
        {
            if (run_.out != nullptr) {
                uint16_t *planes[4] = {};
                for (int c = 0; c < width; ++c)
                    planes[c] = run_.out[line + c] != nullptr ? run_.out[line + c] + first : nullptr;
                return split_4_words(results.of[0], planes);
            }
            alignas(64) uint32_t words[tetras_block];
            narrow(results, words);
            uint8_t planes[4][tetras_block];
            uint8_t *const targets[] = {planes[0], planes[1], planes[2], planes[3]};
            split_4(reinterpret_cast<const uint8_t *>(words), targets);
            for (int c = 0; c < width; ++c)
                if (run_.out_bytes[line + c] != nullptr)
                    __builtin_memcpy(run_.out_bytes[line + c] + first, planes[c], tetras_block);
        }

        // [(v + 128) / 257] = (t - (t >> 8)) >> 8 with t = v + 128 at most 65535: above 65407 all v give 255.
        static void narrow(const md_tetras_results &results, uint32_t *words) noexcept
        {
            for (int p = 0; p < tetras_block; p += 4) {
                v128::vector bytes[2];
                for (int i = 0; i < 2; ++i) {
                    const v128::vector v = v128::load(results.of[p + 2 * i]);
                    const v128::vector t = v128::add16(v128::min_u16(v, v128::all16(65407)), v128::all16(128));
                    bytes[i] = v128::shift_right_u16(v128::subtract16(t, v128::shift_right_u16(t, 8)), 8);
                }
                v128::store(words + p, v128::narrow_to_u8(bytes[0], bytes[1]));
            }
        }

        const md_tetras_table &table_;
        const md_tetras_run &run_;
        const int n_;
        const pixel_layout in_layout_;
        const bool by_vectors_;
        line_layout out_layouts_[3];
    };

    // ---- Blends -----------------------------------------------------------------------------------------------------

    static void blend(md_tetras_results &first, const md_tetras_results &second, const uint16_t *weights,
                      int count) noexcept
    {
        for (int p = 0; p < count; ++p) {
            const uint32_t w = weights[p];
            for (int c = 0; c < 4; ++c)
                first.of[p][c] =
                    static_cast<uint16_t>(divided(first.of[p][c] * (whole - w) + second.of[p][c] * w + half_whole));
        }
    }
};

}  // namespace

}  // namespace teska

#endif
