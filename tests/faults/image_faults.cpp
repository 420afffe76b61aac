// Filters when memory is short
#include "Source/fir/fir_priv.h"

#include "faults/sweep.h"

#include <algorithm>

using namespace teska_test;

namespace
{

constexpr int width = 50;

char out[width];
std::string finished;  // all lines

// Filters a new image while all allocations from the n-th on fail; returns how many did.
int filter_failing_at(int n, fir *filter, int lines)
{
    unsigned char in[width + 1];
    for (int i = 0; i <= width; ++i)
        in[i] = static_cast<unsigned char>(i * i);
    auto *holder = reinterpret_cast<unsigned char *>(out);
    finished.clear();
    finished.reserve(static_cast<std::size_t>(lines) * width);
    arm(fault_kind::memory, n, true);
    fir_start(
        filter, 1, lines, width, [](int) { finished.append(out, width); }, 1, 1);
    for (int y = 0; y < lines; ++y)
        fir_mono_b(filter, in + y % 2, &holder);
    return disarm();
}

TEST(FirLines, AllocateNothing)
{
    const double kernel[9] = {0.1, 0.2, 0.3, 0, 0.1, 0, 0.1, 0, 0.1};
    const std::unique_ptr<fir, int (*)(fir *)> filter(fir_new(1, 255), fir_kill);
    EXPECT_EQ(filter_failing_at(0, filter.get(), 100000), 0) << "of a kernel of zeros";
    teska::fir_set_kernel(filter.get(), kernel);
    EXPECT_LE(filter_failing_at(0, filter.get(), 30), 1) << "none on a processor without variants";
    const std::string without = finished;
    EXPECT_EQ(filter_failing_at(1, filter.get(), 30), 0);
    EXPECT_EQ(finished, without);
    EXPECT_EQ(filter_failing_at(0, filter.get(), 100000), 0) << "the second image";
    EXPECT_EQ(finished.substr(0, 29 * width), without.substr(0, 29 * width));
    EXPECT_EQ(finished.size(), 100000U * width);
}

}  // namespace
