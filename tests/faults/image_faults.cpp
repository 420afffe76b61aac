// Filters when memory is short
#include "Source/fir/fir_priv.h"

#include "faults/sweep.h"
#include "flood.h"
#include "whole_image.h"

using namespace teska_test;

namespace
{

// What comes out without the rows of words is what comes out at the scalar level, which has none: see fir_test.
TEST(FirLines, AllocateNothing)
{
    const double kernel[9] = {0.1, 0.2, 0.3, 0, 0.1, 0, 0.1, 0, 0.1};
    const teska::handle<fir, fir_kill> filter(fir_new(1, 255));
    // An image while all allocations from the n-th on fail: how many did.
    const auto failures_from = [&](int n) {
        unsigned char in[50] = {}, out[50], *holder = out;
        arm(fault_kind::memory, n, true);
        fir_start(
            filter.get(), 1, 1000, 50, [](int) {}, 1, 1);
        for (int y = 0; y < 1000; ++y)
            fir_mono_b(filter.get(), in, &holder);
        return disarm();
    };
    EXPECT_EQ(failures_from(0), 0) << "of a kernel of zeros";
    teska::fir_set_kernel(filter.get(), kernel);
    EXPECT_LE(failures_from(0), 1) << "none on a processor without variants";
    EXPECT_EQ(failures_from(1), 0);
}

TEST(FloodDo, ReportsThatItHasLostItsSeed)
{
    const teska::handle<flood, flood_kill> record(
        flood_new([](void *, int, int) { return 0; }, [](void *, int, int, int) {}));
    Reports reports;
    arm(fault_kind::memory, 0, true);
    EXPECT_EQ(flood_do(record.get(), nullptr, 0, 0), 1);
    disarm();
    EXPECT_EQ(reports.take(), (lines{"flood_do: new_shdw failed", "new_shdw: malloc failure"}));
}

// Kept: without memory for its tables, the third block, a filter does nothing and does not say so.
TEST(WholeImageSharpen, KeptReturns0WheneverOtherMemoryIsShort)
{
    Reports reports;
    std::string results;
    each_fault(fault_kind::memory, false, {}, [&](const auto &fire) {
        unsigned char pixel = 1;
        const double numbers[] = {0, 1};
        const whole_image image{&pixel, 1, 1, 1, 8, 1, 1, 1};
        const whole_image_sharpening how{0, numbers, nullptr, 2, numbers, numbers};
        fire();
        results += std::to_string(whole_image_sharpen(&how, &image, &image, 0, 1));
        return disarm() > 0;
    });
    EXPECT_EQ(results, "001" + std::string(results.size() - 4, '0') + "1");
}

}  // namespace
