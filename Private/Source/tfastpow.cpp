// tfastpow - powers of 16-bit fractions from a table (colour)
//
// One row per quantised base, each an array of its own, with one column per quantised exponent. Example, 8 bits each:
// base 0x8000 is row 128, exponent 0xFFFF column 255, and the entry 65535 * (128 / 255) ^ 1 = 32896 exactly.

#include "tfastpow.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace
{

constexpr unsigned operand_bits = 16;
constexpr int full_scale = 65535;  // the number that means 1

unsigned bits_in_range(int bits) { return static_cast<unsigned>(std::clamp(bits, 1, static_cast<int>(operand_bits))); }

unsigned short power(unsigned row, unsigned column, unsigned rows, unsigned columns)
{
    const double base = static_cast<double>(row) / (rows - 1);
    const double exponent = static_cast<double>(column) / (columns - 1);
    return static_cast<unsigned short>(full_scale * std::pow(base, exponent));
}

void kill_table(unsigned short **table, unsigned rows)
{
    for (unsigned i = 0; table != nullptr && i < rows; ++i)
        delete[] table[i];
    delete[] table;
}

// Null when memory runs out.
unsigned short **new_table(unsigned rows, unsigned columns)
{
    auto **table = new (std::nothrow) unsigned short *[rows]();
    for (unsigned i = 0; table != nullptr && i < rows; ++i) {
        table[i] = new (std::nothrow) unsigned short[columns];
        if (table[i] == nullptr) {
            kill_table(table, rows);
            return nullptr;
        }
        for (unsigned j = 0; j < columns; ++j)
            table[i][j] = power(i, j, rows, columns);
    }
    return table;
}

}  // namespace

TFastPow::TFastPow(int baseBits, int exponentBits)
    : baseRows(1 << bits_in_range(baseBits)), exponentColumns(1U << bits_in_range(exponentBits)), fullScale(full_scale),
      operandBits(operand_bits), baseShift(operand_bits - bits_in_range(baseBits)),
      exponentShift(operand_bits - bits_in_range(exponentBits)),
      table(new_table(static_cast<unsigned>(baseRows), exponentColumns))
{
}

TFastPow::~TFastPow() { kill_table(table, static_cast<unsigned>(baseRows)); }

unsigned short TFastPow::Calculate(unsigned short base, unsigned short exponent)
{
    const unsigned row = unsigned{base} >> baseShift;
    const unsigned column = unsigned{exponent} >> exponentShift;
    return table != nullptr ? table[row][column] : power(row, column, static_cast<unsigned>(baseRows), exponentColumns);
}

int TFastPow::MultiCalculate(int n, unsigned short *bases, unsigned short *exponents, unsigned short *results)
{
    for (int k = 0; k < n; ++k)
        results[k] = Calculate(bases[k], exponents[k]);
    return 0;
}
