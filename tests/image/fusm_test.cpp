#include "fusm.h"

#include "support/levels.h"
#include "support/samples.h"

#include "interp_double.h"

using namespace teska_test;

namespace
{

using Byte = unsigned char;
using Word = unsigned short;
using Bytes = std::vector<Byte>;
using Filter = teska::handle<fusm, fusm_kill>;

// An image, how it is fed and how it is to be sharpened.
struct Job {
    int radius = 1, top = 255, K = 1, C = 1;
    std::vector<int> list = {0};
    std::vector<double> strengths = {1}, noise = {0}, levels = {}, factors = {};
    int height = 9, width = 9, in_step = 1, out_step = 1, limit_step = 1;
    bool limited = false, converted = false;
};

int feed(fusm *f, Byte **in, Byte **out, Byte *limits) { return fusm_b_do(f, in, out, limits); }
int feed(fusm *f, Word **in, Word **out, Word *limits) { return fusm_do(f, in, out, limits); }

// The job done twice: by the library, and in floating point as the rule says, pixel by pixel.
template <class T>
class Run
{
public:
    Run(const Job &job, Generator &random)
        : j(job), out(j.K, j.width * j.height, j.out_step, T{77}), expected(out.buffer)
    {
        // Gentle, or above V.
        const int peak = random.below(3) == 0 ? j.top / 8 : std::min<int>(j.top + j.top / 20, static_cast<T>(-1));
        const int channels = random.below(2) == 0 ? std::max(j.K, j.in_step) : j.K;  // others between ours, or planes
        for (int y = 0; y < j.height; ++y) {
            in.emplace_back(random.below(9) == 0 ? j.K : channels, std::max(j.width, 1), j.in_step);
            for (T &sample : in.back().buffer)
                sample = random.below(9) == 0 ? static_cast<T>(-1) : static_cast<T>(random.unit() * (peak + 1));
            limits.emplace_back(1, std::max(j.width, 1), j.limit_step);
            for (T &limit : limits.back().buffer)
                limit = static_cast<T>(random.next());
        }
    }

    // Feeds the image and compares. The callbacks move every output pointer on to its next line.
    void compare(fusm *f)
    {
        // A filter that is started meanwhile keeps its context to itself.
        const Filter other(fusm_new(0, 1, 1, 1, nullptr, nullptr));
        ASSERT_EQ(fusm_start_with(f, j.height, j.width, done, this, j.in_step, j.limit_step, j.out_step), 1);
        fusm_start_with(other.get(), 1, 1, done, nullptr, 1, 1, 1);
        const int reach = j.radius == 0 ? 1 : 2;
        holders = out.at;
        for (int y = 0; y < j.height; ++y) {
            EXPECT_EQ(feed(f, in[static_cast<std::size_t>(y)].at.data(), holders.data(), limit_line(y)), 1);
            const int handed = y + 1 == j.height ? y + 1 : y < 2 * reach ? std::min(y + 1, reach) : y + 1 - reach;
            ASSERT_EQ(calls, handed * j.K) << "after line " << y;
        }
        feed(f, in[0].at.data(), nullptr, nullptr);
        model(reach);
        EXPECT_TRUE(out.buffer == expected);
    }

    static void convert(void *job, void **from, int in_step, void **to, int out_step, int width)
    {
        const Job &own = *static_cast<Job *>(job);
        EXPECT_EQ(out_step, 1);
        for (int c = 0; c < own.C; ++c)
            for (int x = 0; x < width; ++x)
                static_cast<T *>(to[c])[x] = converted(static_cast<T *>(from[c % own.K])[x * in_step], c);
    }

private:
    T *limit_line(int y) { return j.limited && y % 3 != 0 ? limits[static_cast<std::size_t>(y)].at[0] : nullptr; }

    static void done(void *run, int k)
    {
        auto *const own = static_cast<Run *>(run);
        ASSERT_EQ(k, own->calls++ % own->j.K);
        own->holders[static_cast<std::size_t>(k)] += own->j.width * own->j.out_step;
    }

    static T converted(T sample, int c) { return static_cast<T>(sample * 3 + c * 50); }

    double sample(int x, int y, int k) const
    {
        return in[static_cast<std::size_t>(y)].at[static_cast<std::size_t>(k)][x * j.in_step];
    }

    double high_pass(int x, int y, int k) const
    {
        static constexpr int weights[3][3][3] = {{{4, -1, 0}, {-1, 0, 0}, {0, 0, 0}},
                                                 {{12, -2, -1}, {-2, 0, 0}, {-1, 0, 0}},
                                                 {{8, 2, -2}, {2, 0, -1}, {-2, -1, 0}}};
        const int reach = j.radius == 0 ? 1 : 2, c = j.list[static_cast<std::size_t>(k)];
        if (x < reach || x >= j.width - reach)
            return 0;
        double sum = 0;
        for (int dy = -reach; dy <= reach; ++dy)
            for (int dx = -reach; dx <= reach; ++dx) {
                const double plain = sample(x + dx, y + dy, j.converted ? c % j.K : k);
                sum += weights[j.radius][std::abs(dy)][std::abs(dx)] *
                       (j.converted ? converted(static_cast<T>(plain), c) : plain);
            }
        return sum;
    }

    double correction(double d, int k) const
    {
        const auto at = static_cast<std::size_t>(k);
        const double g = j.radius == 0 ? j.strengths[at] : j.radius == 1 ? j.strengths[at] / 3 : j.strengths[at] * 0.25;
        const double threshold = std::trunc(j.top * j.noise[at]), half = std::trunc(threshold / 2);
        if (d < half || (half == 0 && d < threshold))
            return 0;
        const double ramp = d < threshold ? d * g * (d - half) / half : d * g;
        return ramp > 0 ? std::floor(ramp) : 0;
    }

    double reduced(double h, double s, const lin_interp_double *curve) const
    {
        if (curve == nullptr)
            return h;
        double factor = 0;
        lin_interp_double_inter(curve, j.top > 0 ? std::min<double>(s, j.top) / j.top : 0, &factor);
        return std::floor(std::clamp(std::floor(256 * factor), -32768.0, 32767.0) * h / 256);
    }

    void model(int reach)
    {
        for (int k = 0; k < j.K; ++k) {
            const auto at = static_cast<std::size_t>(k), stride = static_cast<std::size_t>(j.K);
            const teska::handle<lin_interp_double, lin_interp_double_kill> curve(
                j.levels.empty() ? nullptr : lin_interp_double_new(9, nullptr));
            for (std::size_t p = at; p < j.levels.size(); p += stride)
                lin_interp_double_insert(curve.get(), j.levels[p], j.factors[p]);
            for (int y = 0; y < j.height; ++y)
                for (int x = 0; x < j.width; ++x) {
                    double s = sample(x, y, k);
                    if (y >= reach && y < j.height - reach) {
                        const double h = reduced(high_pass(x, y, k), s, curve.get());
                        const double change = correction(std::min<double>(std::abs(h), j.top), k);
                        const T *limit = limit_line(y);
                        s = std::max(h < 0 ? s - change : s + change, 0.0);
                        s = std::min(s, limit != nullptr ? limit[x * j.limit_step] : double(j.top));
                        s = std::min<double>(s, std::numeric_limits<T>::max());
                    }
                    expected.data()[out.at[at] - out.buffer.data() + (y * j.width + x) * j.out_step] =
                        static_cast<T>(s);
                }
        }
    }

    Job j;
    std::vector<Samples<T>> in, limits;
    Samples<T> out;
    std::vector<T> expected;
    std::vector<T *> holders;
    int calls = 0;
};

template <class T>
void expect_as_modelled(Job j, Generator &random)
{
    SCOPED_TRACE(testing::Message() << "radius " << j.radius << ", V " << j.top << ", " << j.K << " of " << j.C << ", "
                                    << j.width << " x " << j.height << ", steps " << j.in_step << ", " << j.out_step);
    const auto convert = j.converted ? Run<T>::convert : nullptr;
    const Filter f(fusm_new_with(j.radius, j.top, j.K, j.C, j.list.data(), convert, &j));
    fusm_stren_set(f.get(), j.strengths.data());
    fusm_noise_red_set(f.get(), j.noise.data());
    const int points = static_cast<int>(j.levels.size()) / j.K;
    EXPECT_EQ(fusm_level_red_set(f.get(), points, j.levels.data(), j.factors.data()), 1);
    Run<T>(j, random).compare(f.get());
}

Job random_job(Generator &random, int largest, int lanes)
{
    const auto one_of = [&](const auto &values) { return values[random.below(static_cast<int>(std::size(values)))]; };
    const int tops[] = {largest, largest, largest, largest / 2, 255, 100, 2 + random.below(60), 2, 1, 0, largest + 1};
    const double strengths[] = {1, 0.3, 3, 2.7, 1.5, -1, 0, 40, 700, NAN},
                 noises[] = {0, 0, 0, 0.004, 0.02, 0.3, 0.5, 0.55, 1, -0.5, NAN};
    const double factors[] = {1, 0.5, 0, -0.7, 3, 7.9, -40, 200};
    Job j{.radius = random.below(3), .top = one_of(tops), .K = 1 + random.below(4)};
    j.C = j.K + random.below(3);
    j.converted = random.below(4) == 0;
    const bool alike = random.below(2) == 0;  // all components
    const auto per_component = [&](auto &values, int rows, const auto &value) {
        values.clear();
        for (int i = 0; i < rows * j.K; ++i)
            values.push_back(alike && i % j.K != 0 ? values.back() : value(i / j.K));
    };
    per_component(j.strengths, 1, [&](int) { return one_of(strengths); });
    per_component(j.noise, 1, [&](int) { return one_of(noises); });
    const int points = random.below(3) == 0 ? 2 + random.below(3) : 0;
    per_component(j.levels, points, [&](int p) { return (p + random.unit() / 2) / points; });
    per_component(j.factors, points, [&](int) { return one_of(factors); });
    j.list.resize(4);
    std::generate(j.list.begin(), j.list.end(), [&] { return random.below(j.C); });
    j.height = 1 + random.below(8);
    j.width = random.below(2 * lanes + 6) + (random.below(25) == 0 ? 1024 : 0);
    const int steps[] = {1, 1, j.K, j.K, j.K + 1, 2, 5, 10, -1, -3, 0, 11};
    j.in_step = one_of(steps);
    j.out_step = random.below(2) == 0 ? j.in_step : one_of(steps);
    j.limit_step = random.below(2) == 0 ? 1 : one_of(steps);
    j.limited = random.below(3) == 0;
    return j;
}

unsigned char *next_line;
void move_on(int) { next_line += 5; }

// An image of one component, 5 pixels wide, through a filter; what it does not hand over is 9.
Bytes feed_image(fusm *f, Bytes image)
{
    Bytes out(image.size(), 9);
    next_line = out.data();
    for (unsigned char *line = image.data(); line != image.data() + image.size(); line += 5)
        EXPECT_EQ(fusm_b_do(f, &line, &next_line, nullptr), 1);
    return out;
}

// The middle of 5 by 5 pixels of the same value but for the middle.
int sharpen_spot(fusm *f, int around, int middle)
{
    Bytes image(25, static_cast<unsigned char>(around));
    image[12] = static_cast<unsigned char>(middle);
    EXPECT_EQ(fusm_start(f, 5, 5, move_on, 1, 1, 1), 1);
    return feed_image(f, image)[12];
}

Filter plain(int radius, int top = 255) { return Filter(fusm_new(radius, top, 1, 1, nullptr, nullptr)); }

}  // namespace

TEST(FusmDo, SharpensAsTheRuleInFloatingPointAtEveryLevel)
{
    at_every_level([](teska::simd_level) {
        for (const auto use : {teska::gather_use::never, teska::gather_use::always}) {
            const teska::gather_use before = teska::gather_limit(use);
            Generator random(72);
            for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i) {
                expect_as_modelled<Byte>(random_job(random, 255, 64), random);
                expect_as_modelled<Word>(random_job(random, i % 8 == 0 ? 65535 : 1023, 32), random);
            }
            // Every way to corrections and to factors: lines that are steep, flat, too long, cut at V.
            for (int i = 0; i < 216 && !testing::Test::HasFailure(); ++i) {
                Job j{.radius = i % 3, .top = random.below(8) == 0 ? 250 : 255, .height = 6, .width = 150};
                j.noise = {i % 9 < 3 ? 0.02 * random.below(2) : 0.45 * (i / 3 % 3)};
                const double factors[] = {1, 0.5, 0, -0.7, 3, 7.9, -40, 200}, last = factors[random.below(5)];
                if (i / 9 % 3 != 0)
                    j.levels = {0.1 * random.below(3), 1 - 0.2 * random.below(4)},
                    j.factors = {i / 9 % 3 == 1 ? factors[random.below(5)] : factors[5 + random.below(3)], last};
                j.in_step = 1 + i / 27 % 2, j.limited = i / 54 % 2 == 1;
                expect_as_modelled<Byte>(j, random);
                j.top = 65535, expect_as_modelled<Word>(j, random);
            }
            // Nearly one multiplication, the least factor of too many bits, a bend; whole blocks, steps 9 to 11.
            for (const auto &[radius, noise, first, last] :
                 {std::tuple{0, 0.01, 1.0, 1.0}, {1, 0.0716, 1, 1}, {1, 0, 4, 4}, {2, 0, 1.1, 3}}) {
                Job j{.radius = radius, .noise = {noise}, .levels = {0, 0.3, 1}, .factors = {first, last, first}};
                j.width = 999, j.in_step = 10;
                expect_as_modelled<Byte>(j, random);
                j.top = 65536, j.in_step = 9 + radius, expect_as_modelled<Word>(j, random);
            }
            teska::gather_limit(before);
        }
    });
}

TEST(FusmNew, KeptSaysUsmWhenItRefusesAndNothingWithoutTables)
{
    Reports reports;
    const int list[] = {0, 2, 1, 3}, outside[] = {0, -1};
    const auto refusal = [&](int radius, int processed, int components, const int *components_of) {
        return reports.refusal(Filter(fusm_new(radius, 255, processed, components, components_of, nullptr)));
    };
    for (const int radius : {-1, 3, INT_MIN})
        EXPECT_EQ(refusal(radius, 5, 0, nullptr), "usm_new: illegal radius");
    for (const auto &[processed, components] : {std::pair{0, 1}, {5, 10}, {1, 0}, {1, 11}, {2, 1}})
        EXPECT_EQ(refusal(0, processed, components, nullptr), "usm_new: illegal nr comp") << processed;
    EXPECT_EQ(refusal(0, 4, 3, list), "usm_new: illegal nr comp");
    EXPECT_EQ(refusal(0, 2, 2, outside), "usm_new: illegal nr comp");
    EXPECT_EQ(refusal(2, 4, 10, nullptr), "not refused");
    EXPECT_EQ(refusal(0, 4, 4, list), "not refused");
    EXPECT_EQ(sharpen_spot(plain(0, INT_MAX).get(), 100, 110), 110) << "no table is that long";
    EXPECT_EQ(reports.take(), lines());
}

TEST(FusmSet, CountsFromTheNextLineOn)
{
    const Filter f = plain(0);
    double *strength = fusm_stren_get(f.get()), *noise = fusm_noise_red_get(f.get());
    EXPECT_EQ(*strength, 1);
    EXPECT_EQ(*noise, 0);
    *strength = 2;
    EXPECT_EQ(sharpen_spot(f.get(), 100, 110), 150) << "before the next setter";
    const double half = 0.5, all = 1;
    EXPECT_EQ(fusm_stren_set(f.get(), &half), 1);
    EXPECT_EQ(sharpen_spot(f.get(), 100, 110), 130);
    EXPECT_EQ(fusm_noise_red_set(f.get(), &all), 1);
    EXPECT_EQ(sharpen_spot(f.get(), 100, 110), 110);
    EXPECT_EQ(fusm_stren_get(f.get()), strength);
    EXPECT_EQ(fusm_noise_red_get(f.get()), noise);
    EXPECT_EQ(*strength, 0.5);
    const Filter doubled(fusm_new(0, 255, 1, 1, nullptr, [](void **from, int, void **to, int, int width) {
        std::transform(static_cast<Byte *>(*from), static_cast<Byte *>(*from) + width, static_cast<Byte *>(*to),
                       [](int sample) { return static_cast<Byte>(2 * sample); });
    }));
    EXPECT_EQ(sharpen_spot(doubled.get(), 100, 110), 190);
}

TEST(FusmLevelRedSet, IsOffWhenACurveIsNone)
{
    Reports reports;
    const Filter f = plain(0);
    const double levels[] = {0, 1, 1}, factors[] = {0.5, 0.5, 0.5};
    const std::tuple<int, const double *, int, int, lines> rows[] = {
        {2, levels, 1, 130, {}},
        {1, levels, 0, 150, {"lin_interp : too little function points"}},
        {2, levels + 1, 0, 150, {"lin_interp : not a function !!"}},
        {3, levels, 0, 150, {"lin_interp : not a function !!"}},
        {2, levels, 1, 130, {}},
        {0, nullptr, 1, 150, {}},
        {-1, nullptr, 1, 150, {}}};
    for (const auto &[points, at, result, sharpened, said] : rows) {
        EXPECT_EQ(fusm_level_red_set(f.get(), points, at, factors), result);
        EXPECT_EQ(reports.take(), said);
        EXPECT_EQ(sharpen_spot(f.get(), 100, 110), sharpened);
    }
}

TEST(FusmStart, LeavesAFilterThatDoesNothingWhenItFails)
{
    Reports reports;
    const auto convert = [](void **, int, void **, int, int) {};
    const Bytes image(50, 100), untouched(50, 9);
    for (const bool converted : {false, true}) {
        const Filter f(fusm_new(1, 255, 1, 10, nullptr, converted ? +convert : nullptr));
        EXPECT_EQ(feed_image(f.get(), image), untouched) << "before it was started";
        EXPECT_EQ(fusm_start(f.get(), 10, 5, move_on, 1, 1, 1), 1);
        EXPECT_EQ(reports.refusal(fusm_start(f.get(), 10, INT_MAX / 30, move_on, 1, 1, 1)),
                  converted ? "fusm_start: malloc comps_buf failed"  // more than INT_MAX bytes
                            : "fusm_start: malloc HPFc_buf failed");
        EXPECT_EQ(feed_image(f.get(), image), untouched);
        EXPECT_EQ(fusm_start(f.get(), 0, 5, move_on, 1, 1, 1), 1);
        EXPECT_EQ(feed_image(f.get(), image), untouched) << "no line counts";
    }
}
