// Filters, scalers and fills when memory is short
#include "Source/fir/fir_priv.h"

#include "faults/sweep.h"
#include "flood.h"
#include "fusm.h"
#include "ibilin.h"
#include "izat.h"

#include <algorithm>

using namespace teska_test;

namespace
{

using Sharpener = std::shared_ptr<fusm>;

int spots;  // how many lines came out with the spot in their middle made brighter by 40
unsigned char result[3];

void watch(int) { spots += result[1] == 150 ? 1 : 0; }
void keep(void **in, int, void **out, int, int width)
{
    std::copy_n(static_cast<unsigned char *>(*in), width, static_cast<unsigned char *>(*out));
}

// Every second line has a spot. Nothing is allocated for a line, so only the start may fail.
bool sharpen(fusm *f, int height)
{
    unsigned char plain[] = {100, 100, 100}, spotted[] = {100, 110, 100};
    unsigned char *out = result;
    spots = 0;
    if (f == nullptr || fusm_start(f, height, 3, watch, 1, 0, 1) == 0)
        return false;
    for (int y = 0; y < height; ++y) {
        unsigned char *in = y % 2 == 0 ? plain : spotted;
        fusm_b_do(f, &in, &out, nullptr);
    }
    return spots == height / 2;
}

bool reduce_levels(const Sharpener &f)
{
    const double points[] = {0, 0, 1, 1};
    return fusm_level_red_set(f.get(), 2, points, points) != 0;
}

const lines no_buffer{"fusm_start: malloc HPFc_buf failed"};
// Of a curve: its record, the points' and what holds them.
const lines no_record = {"fusm_level_red_set: unable to create lin interp",
                         "lin_interp : Cannot create new instance of double interpolator"};
const lines no_function = {"func_new : unable to create new instance of function", no_record[0], no_record[1]};
const lines no_list = {no_function[0], no_record[0], no_record[1], "list_new : Not enough resources to create list"};

// New records ignore lines, as after a failure. Each feed gives a line; how many are handed out.
const unsigned char source_line[300] = {};
unsigned char scaled[600];
int delivered = 0;

void deliver(int) { ++delivered; }

std::string feed(const std::shared_ptr<ibilin> &record)
{
    unsigned char line[300] = {}, *outs[] = {scaled, scaled + 1, scaled + 2};
    delivered = 0;
    ibilin_rgb_b(record.get(), line, line + 1, line + 2, &outs[0], &outs[1], &outs[2]);
    return std::to_string(delivered);
}

template <auto line, class Record>
std::string feed_one(const std::shared_ptr<Record> &record)
{
    unsigned char *out = scaled;
    return std::to_string(line(record.get(), source_line, &out));
}

const SweepRows rows({
    creating("fir_new", fir_new, fir_kill, {{"fir_new: unable to malloc"}}, 1, 255),
    creating("flood_new", flood_new, flood_kill, {{"flood_new: malloc failure"}}, nullptr, nullptr),
    calling("fusm_new",
            [] {
                fusm *f = fusm_new(0, 255, 1, 1, nullptr, nullptr);
                const bool success = sharpen(f, 3);
                return fusm_kill(f), success;
            },
            {{"usm_new: unable to malloc"}, {}, no_buffer}),  // the tables in between
    changing(
        "fusm_start, 100000 lines", [] { return Sharpener(fusm_new(0, 255, 1, 1, nullptr, keep), fusm_kill); },
        [](const Sharpener &f) { return sharpen(f.get(), 100001); }, nullptr,
        {{"fusm_start: malloc comps_buf failed"}, no_buffer}),
    changing("fusm_level_red_set", [] { return Sharpener(fusm_new(0, 255, 2, 2, nullptr, nullptr), fusm_kill); },
             reduce_levels, nullptr, {{}, no_record, no_function, no_list}),
    creating("ibilin_new", ibilin_new, ibilin_kill, {{"ibilin_new:unable to create ibilin"}}, 0),
    creating("izat_new", izat_new, izat_kill, {{"izat_new: insufficient memory"}}, IZAT_AREA),
    creating("izoom_new", izoom_new, izoom_kill, {{"izoom_new: insufficient memory"}}),
    changing(
        "ibilin_start", [] { return std::shared_ptr<ibilin>(ibilin_new(0), ibilin_kill); },
        [](const auto &b) { return ibilin_start(b.get(), 3, 1, 100, 1, 200, deliver, 3, 3) == 1; }, feed,
        {{"ibilin_start: unsufficient resources"}}),
    changing(
        "izat_start", [] { return std::shared_ptr<izat>(izat_new(IZAT_LANCZOS3), izat_kill); },
        [](const auto &z) { return izat_start(z.get(), 3, 1, 100, 1, 200, nullptr, nullptr, 3, 3) == 1; },
        feed_one<izat_line_b, izat>, {{"izat_start: insufficient memory"}}),
    changing(
        "izoom_start", [] { return std::shared_ptr<izoom>(izoom_new(), izoom_kill); },
        [](const auto &z) { return izoom_start(z.get(), 3, 1, 100, 1, 200, nullptr, nullptr, 3, 3) == 1; },
        feed_one<izoom_line_b, izoom>, {{"izoom_start: insufficient memory"}}),
});

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

constexpr int size = 12;

// 0: in the region; walls between every second pair of columns.
struct Comb {
    int pixels[size][size];
    int filled = 0;

    Comb()
    {
        for (int i = 0; i < size * size; ++i)
            pixels[i / size][i % size] = i % 2 == 1 && i / size % 4 != 0;
    }
};

int inside(void *user, int x, int y)
{
    return x >= 0 && x < size && y >= 0 && y < size && static_cast<Comb *>(user)->pixels[y][x] == 0;
}

void fill(void *user, int first, int last, int y)
{
    for (int x = first; x <= last; ++x)
        static_cast<Comb *>(user)->filled += ++static_cast<Comb *>(user)->pixels[y][x];
}

TEST(FloodDo, GoesOnWithoutTheShadowsThatFindNoMemory)
{
    const std::unique_ptr<flood, int (*)(flood *)> record(flood_new(inside, fill), flood_kill);
    const auto fill_failing_at = [&](int n, bool sticky, lines &reported) {
        Reports reports;
        Comb comb;
        track_memory();
        arm(fault_kind::memory, n, sticky);
        EXPECT_EQ(flood_do(record.get(), &comb, 6, 6), 1);
        const int injected = disarm();
        EXPECT_EQ(live_blocks(), 0);
        reported = reports.take();
        EXPECT_EQ(std::count(reported.begin(), reported.end(), "new_shdw: malloc failure"), injected);
        return comb.filled;
    };
    lines reported;
    const int whole = fill_failing_at(1000, false, reported);
    EXPECT_EQ(whole, size * size - 9 * size / 2);
    for (const bool sticky : {false, true}) {
        for (const int seed : {0, 1}) {
            EXPECT_EQ(fill_failing_at(seed, sticky, reported), 0) << "no row, no shadow";
            EXPECT_EQ(reported, (lines{"flood_do: new_shdw failed", "new_shdw: malloc failure"}));
        }
        for (int n = 2; fill_failing_at(n, sticky, reported) < whole || !reported.empty(); ++n)
            for (const std::string &line : reported)
                EXPECT_TRUE(line == "new_shdw: malloc failure" || line == "remove_overlap: algorithm failure") << line;
        EXPECT_EQ(fill_failing_at(1000, false, reported), whole);
    }
}

}  // namespace
