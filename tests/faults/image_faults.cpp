// Filters when memory is short
#include "Source/fir/fir_priv.h"

#include "faults/sweep.h"

using namespace teska_test;

namespace
{

constexpr int width = 50, lines = 100000;

// Filters an image while all allocations from the n-th on fail. Returns how many did.
int filter_failing_at(int n, fir *filter, std::string &finished)
{
    static char out[width];
    static std::string *to;
    unsigned char in[width + 1];
    for (int i = 0; i <= width; ++i)
        in[i] = static_cast<unsigned char>(i * i);
    auto *holder = reinterpret_cast<unsigned char *>(out);
    to = &finished;
    finished.clear();
    finished.reserve(std::size_t{lines} * width);
    arm(fault_kind::memory, n, true);
    fir_start(
        filter, 1, lines, width, [](int) { to->append(out, width); }, 1, 1);
    for (int y = 0; y < lines; ++y)
        fir_mono_b(filter, in + y % 2, &holder);
    return disarm();
}

TEST(FirLines, AllocateNothing)
{
    const double kernel[9] = {0.1, 0.2, 0.3, 0, 0.1, 0, 0.1, 0, 0.1};
    const std::unique_ptr<fir, int (*)(fir *)> filter(fir_new(1, 255), fir_kill);
    std::string first, second, third;
    EXPECT_EQ(filter_failing_at(0, filter.get(), first), 0) << "of a kernel of zeros";
    teska::fir_set_kernel(filter.get(), kernel);
    EXPECT_LE(filter_failing_at(0, filter.get(), first), 1) << "none on a processor without variants";
    EXPECT_EQ(filter_failing_at(1, filter.get(), second), 0);
    EXPECT_EQ(filter_failing_at(0, filter.get(), third), 0);
    EXPECT_TRUE(first == second && first == third);
}

}  // namespace
