// md_tetrab_scalar - conversion of bytes over a simplex: the definition
//
// One pixel: every input byte passes its curve and gives a lower vertex index and a weight inside the cell. The lower
// indices together are the base vertex. From there a path of N + 1 vertices leads to the far corner, along the
// dimension of the largest weight first; vertex i counts with the difference of the weights i - 1 and i. An output is
// its curve at the sum, modulo 256, of the products of vertex value and difference:
//
//     N = 2, weights 200 and 60:   (H - 200) * P00 + (200 - 60) * P10 + 60 * P11
//
// Kept: each product is rounded by itself. The sum is not the rounded exact value, and a variant must not make it so.
// Kept: with weights other than 0 .. 255 products may be 255 for a weight of 0, and sums wrap.
//
// A dimension is sorted as one number, weight << 32 | stride. Strides fall from dimension to dimension, so no two are
// equal and the descending order of these numbers is the stable order of the weights, whichever way it is found.
//
// Four outputs are summed at once, in the four 16-bit lanes of a word. With weights 0 .. 255 the products are
// multiplied: round(a * w / 255) = (t + (t >> 8)) >> 8 with t = a * w + 128, for all bytes a and w; t + (t >> 8) is at
// most 65407 and the differences sum to 255, so no lane carries into the next, in the sum either. Products from a table
// of 64 KiB, which other weights need, take half as much time again.

#include "Kernels/kernels.h"
#include "Kernels/simplex.h"

namespace teska
{

namespace
{

using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr int max_inputs = 30;
constexpr uint32_t no_byte = 256;  // differs from every byte: the first pixel of a run has none before it
constexpr uint64_t low_bytes = 0x00FF00FF00FF00FF;
constexpr uint64_t high_bytes = 0xFF00FF00FF00FF00;
constexpr uint64_t half = 0x0080008000800080;

struct path_vertex {
    const uint8_t *at;
    uint64_t weight;
};

// ---- Sums of products: four outputs from `at + channel` on, in 16-bit lanes -----------------------------------------

[[gnu::always_inline]] inline uint64_t four_bytes_in_lanes(const uint8_t *at) noexcept
{
    const uint64_t x = at[0] | uint32_t{at[1]} << 8 | uint32_t{at[2]} << 16 | uint32_t{at[3]} << 24;
    return (x | x << 24) & low_bytes;
}

// The byte of the k-th of four outputs. Their lanes are in the order 0, 2, 1, 3, which takes a single shift to make.
[[gnu::always_inline]] inline uint8_t lane(uint64_t lanes, int k) noexcept
{
    return static_cast<uint8_t>(lanes >> (k % 2 * 32 + k / 2 * 16));
}

class multiplied
{
public:
    explicit multiplied(const md_tetrab_table & /*table*/) noexcept {}

    [[gnu::always_inline]] uint64_t sum(const path_vertex *path, int vertices, int channel) const noexcept
    {
        uint64_t sum = 0;
        for (int i = 0; i < vertices; ++i) {
            const uint64_t t = four_bytes_in_lanes(path[i].at + channel) * path[i].weight + half;
            sum += (t + (t >> 8 & low_bytes)) & high_bytes;
        }
        return sum >> 8;
    }
};

class looked_up
{
public:
    explicit looked_up(const md_tetrab_table &table) noexcept : products_(table.products) {}

    uint64_t sum(const path_vertex *path, int vertices, int channel) const noexcept
    {
        uint64_t lanes = 0;
        for (int k = 0; k < 4; ++k) {
            uint32_t sum = 0;
            for (int i = 0; i < vertices; ++i)
                sum += products_[path[i].at[channel + k] * 256U + path[i].weight];
            lanes |= uint64_t{sum & 0xFF} << (k % 2 * 32 + k / 2 * 16);
        }
        return lanes;
    }

private:
    const uint8_t *products_;
};

// ---- The path -------------------------------------------------------------------------------------------------------

[[gnu::always_inline]] inline void order(uint64_t &first, uint64_t &second) noexcept
{
    const uint64_t larger = first < second ? second : first;
    second = first < second ? first : second;
    first = larger;
}

// Descending; without branches where N is known, because random pixels would mispredict every second one.
template <int N>
[[gnu::always_inline]] inline void sort(uint64_t *key, int n) noexcept
{
    if constexpr (N == 2) {
        order(key[0], key[1]);
    } else if constexpr (N == 3) {
        order(key[1], key[2]);
        order(key[0], key[1]);
        order(key[1], key[2]);
    } else if constexpr (N == 4) {
        order(key[0], key[1]);
        order(key[2], key[3]);
        order(key[0], key[2]);
        order(key[1], key[3]);
        order(key[1], key[2]);
    } else if constexpr (N == 0) {
        for (int i = 1; i < n; ++i) {
            const uint64_t inserted = key[i];
            int k = i;
            for (; k > 0 && key[k - 1] < inserted; --k)
                key[k] = key[k - 1];
            key[k] = inserted;
        }
    }
}

template <int N>
[[gnu::always_inline]] inline void find_path(const md_tetrab_table &table, const uint32_t *bytes, int n,
                                             path_vertex *path) noexcept
{
    uint64_t key[N != 0 ? N : max_inputs];
    const uint8_t *at = table.data;
    for (int d = 0; d < n; ++d) {
        const std::size_t row = std::size_t{256} * static_cast<unsigned>(d);
        const uint8_t u = table.in_curves[row + bytes[d]];
        at += table.offsets[row + u];
        key[d] = table.fractions[u] | table.strides[d];
    }
    sort<N>(key, n);
    path[n] = {at + table.far_corner, key[n - 1] >> 32};
    path[0] = {at, table.high - (key[0] >> 32)};
    for (int i = 1; i < n; ++i) {
        at += static_cast<uint32_t>(key[i - 1]);
        path[i] = {at, (key[i - 1] >> 32) - (key[i] >> 32)};
    }
}

// Reads a pixel's bytes; false when they are those of the pixel before.
[[gnu::always_inline]] inline bool read_pixel(const uint8_t *const *in, std::ptrdiff_t at, int n,
                                              uint32_t *bytes) noexcept
{
    uint32_t change = 0;
    for (int d = 0; d < n; ++d) {
        const uint32_t byte = in[d][at];
        change |= byte ^ bytes[d];
        bytes[d] = byte;
    }
    return change != 0;
}

// ---- Runs -----------------------------------------------------------------------------------------------------------

// N inputs and M outputs, both 1 .. 4, no output null, weights 0 .. 255.
template <int N, int M>
void convert_few(const md_tetrab_table &shared_table, const md_tetrab_run &shared_run) noexcept
{
    // Copies, because the compiler must assume that a store to an output changes whatever is not local.
    const md_tetrab_table table = shared_table;
    const md_tetrab_run run = shared_run;
    const multiplied products(table);
    const uint8_t *in[N];
    uint8_t *out[M];
    uint32_t bytes[N];
    uint8_t result[M] = {};
    for (int d = 0; d < N; ++d) {
        in[d] = run.in[d];
        bytes[d] = no_byte;
    }
    for (unsigned c = 0; c < M; ++c)
        out[c] = run.out[c];

    for (std::ptrdiff_t p = run.first; p < run.end; ++p) {
        if (read_pixel(in, p * run.in_step, N, bytes)) {
            path_vertex path[N + 1];
            find_path<N>(table, bytes, N, path);
            const uint64_t lanes = products.sum(path, N + 1, 0);
            for (unsigned c = 0; c < M; ++c)
                result[c] = table.out_curves[std::size_t{256} * c + lane(lanes, static_cast<int>(c))];
        }
        for (unsigned c = 0; c < M; ++c)
            out[c][p * run.out_step] = result[c];
    }
}

// Stores up to four outputs from `channel` on, in the order of the routine: falling for any number of inputs.
template <int N>
void store(const md_tetrab_table &table, const md_tetrab_run &run, std::ptrdiff_t at, int channel,
           uint64_t lanes) noexcept
{
    const int width = table.outputs - channel < 4 ? table.outputs - channel : 4;
    for (int k = 0; k < width; ++k) {
        const int within = N != 0 ? k : width - 1 - k;
        const int c = channel + within;
        if (run.out[c] != nullptr)
            run.out[c][at] = table.out_curves[std::ptrdiff_t{256} * c + lane(lanes, within)];
    }
}

// N inputs, or any number when N is 0; any outputs, in groups of four.
template <int N, class Products>
void convert_many(const md_tetrab_table &table, const md_tetrab_run &run) noexcept
{
    const Products products(table);
    const int n = N != 0 ? N : table.inputs;
    uint32_t bytes[N != 0 ? N : max_inputs];
    for (int d = 0; d < n; ++d)
        bytes[d] = no_byte;

    const int groups = (table.outputs + 3) / 4;
    for (std::ptrdiff_t p = run.first; p < run.end; ++p) {
        const std::ptrdiff_t at = p * run.out_step;
        if (read_pixel(run.in, p * run.in_step, n, bytes)) {
            path_vertex path[(N != 0 ? N : max_inputs) + 1];
            find_path<N>(table, bytes, n, path);
            for (int g = 0; g < groups; ++g) {
                const int channel = 4 * (N != 0 ? g : groups - 1 - g);
                store<N>(table, run, at, channel, products.sum(path, n + 1, channel));
            }
        } else {
            for (int c = 0; c < table.outputs; ++c)
                if (run.out[c] != nullptr)
                    run.out[c][at] = run.out[c][at - run.out_step];
        }
    }
}

template <int N>
void convert(const md_tetrab_table &table, const md_tetrab_run &run) noexcept
{
    if (table.products != nullptr)
        return convert_many<N, looked_up>(table, run);
    if constexpr (N != 0) {
        constexpr md_tetrab_kernels::convert_fn few[] = {convert_few<N, 1>, convert_few<N, 2>, convert_few<N, 3>,
                                                         convert_few<N, 4>};
        if (table.outputs <= 4 && all_present(run.out, table.outputs))
            return few[table.outputs - 1](table, run);
    }
    convert_many<N, multiplied>(table, run);
}

}  // namespace

void install_scalar(md_tetrab_kernels &table, bool /*gathers*/) noexcept
{
    table.convert[0] = convert<1>;
    table.convert[1] = convert<2>;
    table.convert[2] = convert<3>;
    table.convert[3] = convert<4>;
    table.convert[4] = convert<0>;
    for (md_tetrab_kernels::convert_fn &line : table.convert_line)
        line = nullptr;
}

}  // namespace teska
