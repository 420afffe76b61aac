#include "izat.h"

#include "Source/izat/plan.h"
#include "support/levels.h"

using namespace teska_test;

namespace
{

using Zoom = teska::handle<izat, izat_kill>;
using Pick = teska::handle<izoom, izoom_kill>;
using Numbers = std::vector<int>;

constexpr int kernels = IZAT_LANCZOS3 + 1;

struct Size {
    int lines, width;
};

struct Shown {
    double left = 0, top = 0, width = 0, height = 0;
};

int start(izat *z, int components, Size from, Size to, izat_callback callback, void *context, int in_step, int out_step)
{
    return izat_start(z, components, from.lines, from.width, to.lines, to.width, callback, context, in_step, out_step);
}
int start(izoom *z, int components, Size from, Size to, izoom_callback callback, void *context, int in_step,
          int out_step)
{
    return izoom_start(z, components, from.lines, from.width, to.lines, to.width, callback, context, in_step, out_step);
}

int feed(izat *z, const unsigned char *line, unsigned char **out) { return izat_line_b(z, line, out); }
int feed(izat *z, const unsigned short *line, unsigned short **out) { return izat_line(z, line, out); }
int feed(izoom *z, const unsigned char *line, unsigned char **out) { return izoom_line_b(z, line, out); }
int feed(izoom *z, const unsigned short *line, unsigned short **out) { return izoom_line(z, line, out); }

// A whole image, components side by side; every line is handed out once, in order, all of them at one place of the
// buffer that is fed: behind the line, or over it.
template <class Sample, class Record>
std::vector<Sample> zoomed(Record *record, const std::vector<Sample> &image, Size from, Size to, int n, int place = -1)
{
    const int width = from.width * n, made = to.width * n, first = place < 0 ? width : place;
    std::vector<Sample> buffer(static_cast<std::size_t>(std::max(width, first + made))), all;
    int due = 0, handed = 0;
    const std::function<void(int)> add = [&](int number) {
        EXPECT_EQ(number, due++);
        all.insert(all.end(), buffer.begin() + first, buffer.begin() + first + made);
    };
    const auto call = [](void *f, int number) { (*static_cast<const std::function<void(int)> *>(f))(number); };
    EXPECT_EQ(start(record, n, from, to, call, const_cast<std::function<void(int)> *>(&add), n, n), 1);
    for (auto line = image.begin(); line != image.end(); line += width) {
        std::copy(line, line + width, buffer.begin());
        Sample *out = buffer.data() + first;
        handed += feed(record, buffer.data(), &out);
    }
    EXPECT_EQ(due, to.lines);
    EXPECT_EQ(handed, to.lines);
    return all;
}

template <class Sample>
std::vector<Sample> random_image(Generator &input, Size size, int components)
{
    std::vector<Sample> image(static_cast<std::size_t>(size.lines * size.width * components));
    // Many samples at the ends of the range: kernels with negative weights then leave it.
    constexpr int ends = std::numeric_limits<Sample>::max();
    for (Sample &sample : image)
        sample = static_cast<Sample>(input.below(3) == 0 ? input.below(2) * ends : input.below(ends + 1));
    return image;
}

// ---- Weights --------------------------------------------------------------------------------------------------------

constexpr double pi = 3.14159265358979323846;
constexpr double radius[] = {0, 1, 2, 2, 3};

// The kernels by their formulas, with the C library's sine; t from 0 on, below the radius.
double shape(int kernel, double t)
{
    switch (kernel) {
    case IZAT_TRIANGLE:
        return 1 - t;
    case IZAT_CATMULL_ROM:
        return t < 1 ? 1.5 * t * t * t - 2.5 * t * t + 1 : -0.5 * t * t * t + 2.5 * t * t - 4 * t + 2;
    case IZAT_MITCHELL:
        return t < 1 ? (7 * t * t * t - 12 * t * t + 16.0 / 3) / 6
                     : (-7 / 3.0 * t * t * t + 12 * t * t - 20 * t + 32 / 3.0) / 6;
    default:
        return t < 1e-9 ? 1.0 : 3 * std::sin(pi * t) * std::sin(pi * t / 3) / (pi * pi * t * t);
    }
}

// Of all source pixels for one destination pixel: the formulas rounded; the running sum is what is rounded.
Numbers weights(int kernel, double begin, double extent, int size, int destination, int x)
{
    const teska::izat_axis axis(kernel, begin, extent, size, destination);
    const teska::izat_reach reach = axis.reach(x);
    EXPECT_TRUE(reach.first >= 0 && reach.first + reach.count <= size) << reach.first << ", " << reach.count;
    std::vector<std::int16_t> made(static_cast<std::size_t>(reach.count));
    axis.weights(x, made.data());
    Numbers all(static_cast<std::size_t>(size));
    std::copy(made.begin(), made.end(), all.begin() + reach.first);
    EXPECT_EQ(std::accumulate(all.begin(), all.end(), 0), 16384);

    const double s = extent / destination, f = std::max(s, 1.0), c = begin + (x + 0.5) * s;
    std::vector<double> exact;
    for (int j = 0; j < size; ++j) {
        const double t = std::fabs(j + 0.5 - c) / f;
        const double covered = std::min(j + 1.0, c + s / 2) - std::max(j + 0.0, c - s / 2);
        exact.push_back(kernel == IZAT_AREA ? std::max(covered, 0.0) : t < radius[kernel] ? shape(kernel, t) : 0.0);
    }
    const double total = std::accumulate(exact.begin(), exact.end(), 0.0);
    double sum = 0, exact_sum = 0;
    for (std::size_t j = 0; j < all.size(); ++j) {
        sum += all[j];
        exact_sum += exact[j] / total * 16384;
        EXPECT_NEAR(sum, exact_sum, 0.500001)
            << "kernel " << kernel << ", " << size << " to " << destination << ", pixel " << x << ", tap " << j;
    }
    return all;
}

// ---- Averaging ------------------------------------------------------------------------------------------------------

// Every destination sample from its definition, in 64-bit integers.
template <class Sample>
std::vector<Sample> defined(int kernel, const Shown &w, const std::vector<Sample> &image, Size from, Size to, int n)
{
    std::vector<Numbers> across;
    for (int x = 0; x < to.width; ++x)
        across.push_back(weights(kernel, w.left, w.width, from.width, to.width, x));
    std::vector<Sample> result;
    for (int y = 0; y < to.lines; ++y) {
        const Numbers down = weights(kernel, w.top, w.height, from.lines, to.lines, y);
        for (const Numbers &columns : across)
            for (int c = 0; c < n; ++c) {
                std::int64_t sum = std::int64_t{1} << 27;
                const Sample *sample = image.data() + c;
                for (const int line : down)
                    for (const int column : columns)
                        sum += std::int64_t{line} * column * *std::exchange(sample, sample + n);
                result.push_back(
                    static_cast<Sample>(std::clamp<std::int64_t>(sum >> 28, 0, std::numeric_limits<Sample>::max())));
            }
    }
    return result;
}

// Halves by area have a way of their own, inside a wider image; quarters have not. One component is also written over
// the line fed.
template <class Sample>
void compare_with_definition(std::uint64_t seed)
{
    Generator input(seed);
    for (int round = 0; round < 150; ++round) {
        const bool halves = round % 15 == 0, part = round % 3 == 0;
        const int kernel = round % kernels, n = halves ? 1 : 1 + input.below(5);
        Size from{1 + input.below(9), 1 + input.below(70)}, to{1 + input.below(9), 1 + input.below(150)};
        Shown w{.width = from.width + 0.0, .height = from.lines + 0.0};
        if (halves) {
            const double ratio = round == 60 ? 4 : 2;
            from = {17, 700}, to = {3, round % 2 == 0 ? 1 + input.below(40) : 260 + input.below(41)};
            w = {.left = 5, .top = 2, .width = ratio * to.width, .height = ratio * to.lines};
        } else if (part) {
            w = {.left = 0.3 * from.width * input.unit(),
                 .top = 0.3 * from.lines * input.unit(),
                 .width = 0.7 * from.width * input.unit(),
                 .height = 0.7 * from.lines * input.unit()};
        }
        const auto image = random_image<Sample>(input, from, n);
        const auto expected = defined(kernel, w, image, from, to, n);
        const Zoom z(izat_new(kernel));
        if (part)
            izat_window_set(z.get(), w.left, w.top, w.width, w.height);
        for (const int place : n == 1 ? Numbers{-1, 0, 133, 266, 399} : Numbers{-1})
            EXPECT_EQ(zoomed(z.get(), image, from, to, n, place), expected)
                << "kernel " << kernel << ", " << n << " components, " << from.width << " x " << from.lines << " to "
                << to.width << " x " << to.lines << ", round " << round << ", at " << place;
    }
}

TEST(IzatLine, IsTheDefinitionAtEveryLevel)
{
    at_every_level([](teska::simd_level) {
        compare_with_definition<unsigned char>(2);
        compare_with_definition<unsigned short>(3);
    });
}

// Pixels are means of a wave over their extent. By area that is so again, but for the pixels at both ends of it, which
// are taken as even; the other kernels give the wave at the centre, less what its curvature takes from it.
TEST(IzatLine, KeepsSmoothWavesInPlaceAtEveryRatioAndWindow)
{
    constexpr double slow = 40, height = 20000;
    const auto wave = [](double t) { return 30000 + height * std::sin(t / slow); };
    const auto mean = [](double a, double b) {
        return 30000 - height * slow * (std::cos(b / slow) - std::cos(a / slow)) / (b - a);
    };
    Generator input(9);
    const Size from{1, 600};
    std::vector<unsigned short> line;
    for (int j = 0; j < from.width; ++j)
        line.push_back(static_cast<unsigned short>(std::lround(mean(j, j + 1))));
    for (int round = 0; round < 40 * kernels; ++round) {
        const int kernel = round % kernels;
        const Size to{1, 20 + input.below(round % 2 == 0 ? 100 : 1500)};
        const double begin = 100 * input.unit(), extent = 300 + 200 * input.unit(), s = extent / to.width;
        const Zoom z(izat_new(kernel));
        izat_window_set(z.get(), begin, 0, extent, 1);
        const auto made = zoomed(z.get(), line, from, to, 1);
        const double slope = height / slow, curvature = slope / slow, wide = std::max(s, 1.0);
        // A pixel of the source that area enlarges is even.
        const double allowed = kernel != IZAT_AREA ? slope / 6 + curvature * wide * wide / 4
                               : s < 1             ? slope / 2
                                                   : slope / 4 / s;
        const int margin = static_cast<int>(18 / s) + 1;
        for (int x = margin; x < to.width - margin; ++x) {
            const double at = begin + x * s;
            ASSERT_NEAR(made[static_cast<std::size_t>(x)], kernel == IZAT_AREA ? mean(at, at + s) : wave(at + s / 2),
                        allowed + 2)
                << "kernel " << kernel << ", pixel " << x << ", scale " << s << " from " << begin;
        }
    }
}

// Enough bytes that all are met whose rounding depends on what a vector looks at last; and numbers of taps between.
TEST(IzatLine, GivesTheSameBytesAtEveryLevel)
{
    Generator input(5);
    const Size from{90, 400};
    const auto image = random_image<unsigned char>(input, from, 1);
    for (const int width : {200, 240, 290, 350, 700})
        for (int kernel = 0; kernel < kernels; ++kernel) {
            std::vector<unsigned char> first;
            at_every_level([&](teska::simd_level) {
                const auto made = zoomed(Zoom(izat_new(kernel)).get(), image, from, {130, width}, 1);
                first = first.empty() ? made : first;
                EXPECT_TRUE(made == first) << "kernel " << kernel << " to " << width;
            });
        }
}

// ---- Both -----------------------------------------------------------------------------------------------------------

// In any window and at every factor; components stay together.
TEST(Izoom, PicksThePixelInWhichTheCentreLies)
{
    const Pick z(izoom_new());
    Generator input(4);
    for (int round = 0; round < 300; ++round) {
        const int n = round % 2 == 0 ? 1 : 1 + input.below(16);
        const Size from{1 + input.below(9), 1 + input.below(20)};
        const auto source = random_image<unsigned short>(input, from, n);
        const int left = input.below(from.width), top = input.below(from.lines);
        const int width = 1 + input.below(from.width - left), height = 1 + input.below(from.lines - top);
        const Size to{1 + input.below(20), round % 4 == 0 ? (1 + input.below(4)) * width : 1 + input.below(40)};
        EXPECT_EQ(izoom_window_set(z.get(), left, top, width, height), 1);
        std::vector<unsigned short> expected;
        for (int y = 0; y < to.lines; ++y)
            for (int x = 0; x < to.width; ++x) {
                const int line = top + (2 * y + 1) * height / (2 * to.lines);
                const int column = left + (2 * x + 1) * width / (2 * to.width);
                const auto *const pixel = source.data() + (line * from.width + column) * n;
                expected.insert(expected.end(), pixel, pixel + n);
            }
        EXPECT_EQ(zoomed(z.get(), source, from, to, n), expected) << "round " << round;
    }
}

template <class Record, class Number>
void check_refusals(Record *z, const std::string &name, int (*set)(Record *, Number, Number, Number, Number),
                    const std::vector<std::array<Number, 4>> &windows)
{
    Reports reports;
    const auto refused = [&](int components, Size from, Size to, const char *text) {
        EXPECT_EQ(reports.refusal(start(z, components, from, to, nullptr, nullptr, 1, 1)), name + text)
            << from.lines << " x " << from.width << ", " << to.width;
    };
    const unsigned char line[4] = {1, 2, 3, 4};
    unsigned char result[8], *out = result;
    EXPECT_EQ(feed(z, line, &out), 0) << "before the first start";
    const Size good{1, 4};
    set(z, -1, 0, 4, 1);
    for (const Size size : {Size{0, 4}, Size{1, 0}, Size{-1, 4}, Size{1, INT_MIN}}) {
        refused(1, size, good, "illegal image");
        refused(1, good, size, "illegal image");
    }
    for (const int n : {0, 17})
        refused(n, good, good, "illegal image");
    for (const auto &[left, top, width, height] : windows) {
        set(z, left, top, width, height);
        refused(1, good, good, "illegal window");
    }
    set(z, 0, 0, 0, 0);
    refused(16, good, {1, INT_MAX / 2}, "insufficient memory");
    EXPECT_EQ(feed(z, line, &out), 0) << "after a failed start";
    EXPECT_EQ(start(z, 1, good, good, nullptr, nullptr, 0, 1), 1);
    EXPECT_EQ(feed(z, line, &out), 1);
    EXPECT_EQ(std::string(result, result + 4), "\x01\x01\x01\x01") << "the same sample again and again";
    EXPECT_EQ(feed(z, line, &out), 0) << "beyond the last line";
    out = nullptr;
    EXPECT_EQ(start(z, 1, good, {3, 4}, nullptr, nullptr, 1, 1), 1);
    EXPECT_EQ(feed(z, line, &out), 3) << "without output";
}

TEST(IzatStart, RefusesInOrderAndIgnoresLinesUntilItSucceeds)
{
    const std::vector<std::array<double, 4>> windows = {
        {-1, 0, 4, 1},  {0, -0.001, 4, 1},   {0, 0, 0, 1},   {0, 0, 4, -1},      {0, 0, 5, 1},     {3.5, 0, 1, 1},
        {NAN, 0, 1, 1}, {0, 0, INFINITY, 1}, {0, 0, 4, NAN}, {DBL_MAX, 0, 1, 1}, {0, 0, 4, 1.001}, {0, 1, 4, 0.5}};
    const std::vector<std::array<int, 4>> cuts = {
        {-1, 0, 4, 1}, {0, 0, 0, 1}, {0, 0, 5, 1}, {INT_MAX, 0, INT_MAX, 1}, {0, 1, 4, 1}};
    const Zoom z(izat_new(IZAT_LANCZOS3));
    check_refusals(z.get(), "izat_start: ", izat_window_set, windows);
    check_refusals(Pick(izoom_new()).get(), "izoom_start: ", izoom_window_set, cuts);
    Reports reports;
    for (const int kernel : {-1, 5})
        EXPECT_EQ(reports.refusal(izat_new(kernel)), "izat_new: illegal kernel");
    EXPECT_EQ(reports.refusal(start(z.get(), 1, {INT_MAX, 4}, {1, 4}, nullptr, nullptr, 1, 1)),
              "izat_start: insufficient memory");
    EXPECT_EQ(izat_strip_set(z.get(), 3, 2), 1);
    EXPECT_EQ(reports.refusal(start(z.get(), 1, {4, 4}, {4, 4}, nullptr, nullptr, 1, 1)), "izat_start: illegal strip");
}

// Extreme ratios and windows, where taps are cut and sizes checked.
TEST(IzatLine, TakesExtremeRatios)
{
    const std::tuple<Size, Size, Shown> rows[] = {
        {{1, 1}, {1, 1}, {}},
        {{1, 1}, {3, 500}, {}},
        {{4, 1}, {20000, 1}, {}},
        {{1, 100000}, {1, 1}, {}},
        {{1, 3}, {1, 5}, {.left = 2.9999999999999996, .width = 4e-16, .height = 1}},
        {{1, 7}, {1, 7}, {.left = 1e-300, .width = 1e-310, .height = 1e-310}},
        {{2, 7}, {2, 6}, {.left = 0, .top = 0, .width = 7, .height = std::nextafter(2.0, 0.0)}},
    };
    for (const auto &[from, to, shown] : rows)
        for (int kernel = 0; kernel < kernels; ++kernel) {
            const Zoom z(izat_new(kernel));
            izat_window_set(z.get(), shown.left, shown.top, shown.width, shown.height);
            const std::vector<unsigned char> image(static_cast<std::size_t>(from.lines * from.width), 77);
            const auto made = zoomed(z.get(), image, from, to, 1);
            EXPECT_EQ(made, std::vector<unsigned char>(static_cast<std::size_t>(to.lines * to.width), 77))
                << "kernel " << kernel << ", " << from.width << " to " << to.width;
        }
}

}  // namespace
