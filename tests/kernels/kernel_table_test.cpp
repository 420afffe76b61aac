// Every kernel of this build is in the table at its level.

#include "Kernels/processor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

using teska::kernel_table;
using teska::simd_level;

// The entries of one operation, as bytes.
template <auto Operation>
std::string entries(const kernel_table &table)
{
    std::string bytes(sizeof(table.*Operation), '\0');
    std::memcpy(bytes.data(), &(table.*Operation), bytes.size());
    return bytes;
}

struct Kernel {
    const char *name;
    simd_level level;
    std::string (*entries)(const kernel_table &table);
};

const Kernel all_kernels[] = {
#include "kernel_rows.inc"
};

// Below the scalar level there is nothing.
kernel_table table_up_to(int level)
{
    kernel_table table{};
    if (level >= 0)
        teska::install_kernels(table, static_cast<simd_level>(level), false);
    return table;
}

TEST(KernelTable, HoldsEveryKernelAtItsLevel)
{
    for (const Kernel &kernel : all_kernels) {
        const int level = static_cast<int>(kernel.level);
        EXPECT_NE(kernel.entries(table_up_to(level)), kernel.entries(table_up_to(level - 1))) << kernel.name;
    }
}

TEST(KernelTable, HasAScalarKernelForEveryOperation)
{
    std::size_t covered = 0;
    for (const Kernel &kernel : all_kernels)
        if (kernel.level == simd_level::scalar)
            covered += kernel.entries(kernel_table{}).size();
    EXPECT_EQ(covered, sizeof(kernel_table));
}

TEST(KernelTable, InForceHoldsWhatTheProcessorHas)
{
    const simd_level level = teska::simd_available();
    kernel_table with{};
    teska::install_kernels(with, level, true);
    const kernel_table without = table_up_to(static_cast<int>(level));
    for (const Kernel &kernel : all_kernels) {
        const std::string in_force = kernel.entries(teska::kernels());
        EXPECT_TRUE(in_force == kernel.entries(with) || in_force == kernel.entries(without)) << kernel.name;
    }
}

}  // namespace
