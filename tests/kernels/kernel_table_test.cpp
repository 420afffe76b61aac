// Every kernel of this build is in the table at its level.

#include "Kernels/processor.h"
#include "support/test.h"

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
kernel_table table_up_to(int level, bool gathers = false)
{
    kernel_table table{};
    if (level >= 0)
        teska::install_kernels(table, static_cast<simd_level>(level), gathers);
    return table;
}

constexpr std::size_t entry_size = 8;  // of one function, on a host of 32 bits of two

// A mark for each function that a kernel puts in the place of the one below. The bits of all are the same, so no other
// test tells one that was forgotten.
TEST(KernelTable, HoldsEveryKernelAtItsLevelWithTheSameEntries)
{
    std::map<std::string, std::string> marks;
    for (const bool gathers : {false, true})
        for (const Kernel &kernel : all_kernels) {
            const int level = static_cast<int>(kernel.level);
            const std::string here = kernel.entries(table_up_to(level, gathers));
            const std::string below = kernel.entries(table_up_to(level - 1, gathers));
            std::string installed;
            for (std::size_t at = 0; at < here.size(); at += entry_size)
                installed += here.compare(at, entry_size, below, at, entry_size) != 0 ? 'x' : '.';
            const std::string name = kernel.name;
            EXPECT_NE(installed.find('x'), installed.npos) << name;
            const std::string operation = level > 0 ? name.substr(0, name.rfind('_')) : name;
            EXPECT_EQ(marks.emplace(operation, installed).first->second, installed) << name;
        }
}

TEST(KernelTable, InForceHoldsWhatTheProcessorHas)
{
    const simd_level level = teska::simd_available();
    const kernel_table with = table_up_to(static_cast<int>(level), true);
    const kernel_table without = table_up_to(static_cast<int>(level));
    for (const Kernel &kernel : all_kernels) {
        const std::string in_force = kernel.entries(teska::kernels());
        EXPECT_TRUE(in_force == kernel.entries(with) || in_force == kernel.entries(without)) << kernel.name;
    }
}

}  // namespace
