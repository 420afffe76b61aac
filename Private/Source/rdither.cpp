// rdither - table for ordered dithering from many levels to few (numerics)
//
// 16 entries per input level, the rows of the cell one after another. Example, n = 4 and m = 1: level 1 is x = 0.25, so
// k = 0 and f = 0.25, and the four pixels with d / 16 < 0.25 show 1; level 3 is x = 0.75, so k = 1 and f = -0.25, and
// the four pixels with -d / 16 > -0.25 show 0.

#include "rdither.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <cstdint>

namespace
{

constexpr unsigned side = 4;  // pixels of a cell, each way
constexpr unsigned cell_size = side * side;
constexpr int bayer[cell_size] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};

constexpr unsigned max_level = 65535;

}  // namespace

struct rdither {
    teska::heap_block<std::int32_t> table;
};

namespace
{

void fill_cell(std::int32_t *cell, double x, std::int32_t m)
{
    const auto k = static_cast<std::int32_t>(x + 0.5);
    const double f = x - k;
    for (unsigned p = 0; p < cell_size; ++p) {
        const double t = bayer[p] / static_cast<double>(cell_size);
        if (t < f && k < m)
            cell[p] = k + 1;
        else if (-t > f && k > 0)
            cell[p] = k - 1;
        else
            cell[p] = k;
    }
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

rdither *rdither_new(unsigned int n, unsigned int m) TESKA_NOTHROW
{
    if (m >= n || n > max_level) {
        TESKA_ERR("rdither_new: param error");
        return nullptr;
    }
    auto dither = teska::make_record<rdither>();
    if (!dither) {
        TESKA_ERR("rdither_new:unable to create rdither");
        return nullptr;
    }
    dither->table = teska::zeroed_block<std::int32_t>(std::size_t{n + 1} * cell_size);
    if (!dither->table) {
        TESKA_ERR("rdither_new: malloc failed");
        return nullptr;
    }
    for (unsigned i = 0; i <= n; ++i)
        fill_cell(&dither->table[std::size_t{i} * cell_size], static_cast<double>(i) * m / n,
                  static_cast<std::int32_t>(m));
    return dither.release();
}

int rdither_kill(rdither *table) TESKA_NOTHROW
{
    teska::kill_record(table);
    return 0;
}

// ---- Process --------------------------------------------------------------------------------------------------------

int rdither_val(const rdither *table, unsigned int a, unsigned int b, unsigned int level) TESKA_NOTHROW
{
    return table->table[std::size_t{level} * cell_size + a % side * side + b % side];
}
