#include "faults/sweep.h"

#include "Support/fir_priv.h"
#include "faults/injector.h"

#include <gtest/gtest.h>

#include <memory>

namespace teska_test
{

namespace
{

const SweepRows rows({calling("fir_new", [] { return made(fir_new(1, 255), fir_kill); },
                              {{.count = 3, .once = {"fir_new: unable to malloc"}}})});

constexpr int width = 50;

std::string *finished;
char out[width];

// What a filter gives for an image when its n-th allocation from fir_start on fails, and all later ones; counts them.
std::string filtered(fir *filter, int lines, int n, int &failed)
{
    std::string result;
    result.reserve(static_cast<std::size_t>(lines) * width);
    finished = &result;
    unsigned char in[3][width];
    auto *holder = reinterpret_cast<unsigned char *>(out);
    for (int i = 0; i < 3 * width; ++i)
        in[i / width][i % width] = static_cast<unsigned char>(i * i);
    arm(fault_kind::memory, n, true);
    fir_start(
        filter, 1, lines, width, [](int) { finished->append(out, width); }, 1, 1);
    for (int y = 0; y < lines; ++y)
        fir_mono_b(filter, in[y % 3], &holder);
    failed = disarm();
    return result;
}

TEST(FirLines, AllocateNothing)
{
    const double kernel[9] = {0.1, 0.2, 0.3, 0, 0.1, 0, 0.1, 0, 0.1};
    int failed = 0;
    const std::unique_ptr<fir, int (*)(fir *)> filter(fir_new(1, 255), fir_kill);
    EXPECT_EQ(filtered(filter.get(), 100000, 0, failed).size(), 100000U * width);
    EXPECT_EQ(failed, 0) << "of a kernel of zeros";
    teska::fir_set_kernel(filter.get(), kernel);
    const std::string without = filtered(filter.get(), 30, 0, failed);
    EXPECT_LE(failed, 1) << "none on a processor without variants";
    EXPECT_EQ(filtered(filter.get(), 30, 1, failed), without);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(filtered(filter.get(), 100000, 0, failed).substr(0, 29 * width), without.substr(0, 29 * width));
    EXPECT_EQ(failed, 0) << "the second image";
}

}  // namespace

}  // namespace teska_test
