#include "ibilin.h"

#include "support/levels.h"
#include "support/samples.h"

#include <deque>

using namespace teska_test;

namespace
{

using Record = teska::handle<ibilin, ibilin_kill>;

std::function<void(int)> on_line;

struct Shape {
    int n, source_lines, source_width, lines, width, in_step = 1, out_step = 1;
};

int start(ibilin *record, const Shape &s)
{
    const auto called = [](void *f, int c) { (*static_cast<std::function<void(int)> *>(f))(c); };
    return ibilin_start_with(record, s.n, s.source_lines, s.source_width, s.lines, s.width, called, &on_line, s.in_step,
                             s.out_step);
}

int call(ibilin *r, int count, unsigned char *const *in, unsigned char **out)
{
    return feed(count, r, in, out, ibilin_mono_b, ibilin_rgb_b, ibilin_cmyk_b);
}

int call(ibilin *r, int count, unsigned short *const *in, unsigned short **out)
{
    return feed(count, r, in, out, ibilin_mono, ibilin_rgb, ibilin_cmyk);
}

// The rule in floating point, one component and one sample at a time.
template <class T>
class Model
{
public:
    explicit Model(const Shape &s) : s_(s) {}

    struct Line {
        int component;
        T *out;
        std::vector<double> samples;
    };
    std::deque<Line> due;  // what the feeding so far hands out

    void feed(int c, const T *in, T *out)
    {
        Component &own = at_[c];
        const Place row = place(delivered_, s_.source_lines, s_.lines);
        if (delivered_ < s_.lines && (own.fed == row.first || own.fed == row.second)) {
            std::vector<double> line;
            for (int x = 0; x < s_.width; ++x) {
                const Place p = place(x, s_.source_width, s_.width);
                line.push_back(blend(in[p.first * s_.in_step], in[p.second * s_.in_step], p.weight));
            }
            own.previous = own.current.empty() ? line : own.current;
            own.current = line;
            own.out = out;
        }
        while (c == s_.n - 1 && delivered_ < s_.lines && own.fed >= place(delivered_, s_.source_lines, s_.lines).second)
            hand_out(place(delivered_++, s_.source_lines, s_.lines).weight);
        ++own.fed;
    }

private:
    struct Place {
        int first, second;
        double weight;
    };
    struct Component {
        int fed = 0;
        T *out = nullptr;
        std::vector<double> previous, current;
    };

    static Place place(int i, int source, int destination)
    {
        const double f = static_cast<double>(i) * source / destination;
        const int first = static_cast<int>(f);
        return {first, std::min(first + 1, source - 1), std::floor((f - first) * 65536)};
    }
    static double blend(double a, double b, double w) { return std::floor((a * (65536 - w) + b * w) / 65536); }

    void hand_out(double weight)
    {
        for (int c = 0; c < s_.n; ++c) {
            const Component &own = at_[c];
            due.push_back({c, own.out, {}});
            for (std::size_t x = 0; x < own.current.size(); ++x)
                due.back().samples.push_back(blend(own.previous[x], own.current[x], weight));
        }
    }

    Shape s_;
    Component at_[4];
    int delivered_ = 0;
};

// A line whose components may be the other way round where they are interleaved.
template <class T>
Samples<T> line_of(int n, int width, int step, bool reversed)
{
    Samples<T> line(n, width, step, static_cast<T>(77));
    if (reversed && step == n)
        std::reverse(line.at.begin(), line.at.end());
    line.at.resize(4);
    return line;
}

// Feeds an image and compares all that the output lines hold at each callback. calls: components of the call for every
// line fed, in turn. Output goes to two places, line by line; the holders change as soon as they have been read.
template <class T>
void expect_image(const Shape &s, const std::vector<int> &calls, Generator &random)
{
    SCOPED_TRACE(testing::Message() << s.n << " components of " << sizeof(T) << ", " << s.source_width << " x "
                                    << s.source_lines << " to " << s.width << " x " << s.lines << ", steps "
                                    << s.in_step << ", " << s.out_step);
    const Record record(ibilin_new(0)), other(ibilin_new(0));
    ASSERT_EQ(start(record.get(), s), 1);
    // Keeps its context to itself.
    ibilin_start_with(
        other.get(), 1, 1, 1, 1, 1, [](void *, int) { ADD_FAILURE(); }, nullptr, 1, 1);
    Model<T> model(s);
    const bool reversed = random.below(4) == 0;
    Samples<T> out[] = {line_of<T>(s.n, s.width, s.out_step, reversed), line_of<T>(s.n, s.width, s.out_step, reversed)};
    Samples<T> in = line_of<T>(s.n, s.source_width, s.in_step, random.below(4) == 0);
    Samples<T> expected = line_of<T>(s.n, s.width, s.out_step, reversed);
    T *holders[4];
    on_line = [&](int c) {
        ASSERT_FALSE(model.due.empty());
        const auto line = model.due.front();
        model.due.pop_front();
        ASSERT_EQ(c, line.component);
        Samples<T> &place = out[line.out == out[1].at[static_cast<std::size_t>(c)]];
        for (int x = 0; x < s.width; ++x)
            expected.at[static_cast<std::size_t>(c)][x * s.out_step] =
                static_cast<T>(line.samples[static_cast<std::size_t>(x)]);
        ASSERT_EQ(place.buffer, expected.buffer);
        out[0].buffer = out[1].buffer = expected.buffer;
        std::fill_n(holders, 4, nullptr);
    };
    for (std::size_t i = 0; i < calls.size() && !testing::Test::HasFatalFailure(); ++i) {
        const T extremes[] = {0, static_cast<T>(~0U), static_cast<T>(random.next()), static_cast<T>(random.next())};
        std::generate(in.buffer.begin(), in.buffer.end(), [&] { return extremes[random.below(4)]; });
        std::copy_n(out[i % 2].at.data(), 4, holders);
        for (int c = 0; c < std::min(calls[i], s.n); ++c)
            model.feed(c, in.at[static_cast<std::size_t>(c)], holders[c]);
        ASSERT_EQ(call(record.get(), calls[i], in.at.data(), holders), 1);
        ASSERT_TRUE(model.due.empty());
    }
}

// Components and steps.
constexpr std::array<int, 3> layouts[] = {{1, 1, 1}, {1, 1, 1}, {3, 3, 3},  {3, 3, 3},  {4, 4, 4},
                                          {2, 2, 2}, {3, 1, 1}, {1, 3, 1},  {1, -1, 2}, {1, 0, 0},
                                          {3, 3, 1}, {3, 1, 3}, {4, 4, -2}, {2, -2, 1}};

// A destination of 1 .. limit, and a source in a ratio that is common, whole, or any.
std::pair<int, int> sizes(Generator &random, int limit)
{
    const int size = 1 + random.below(limit);
    const int sources[] = {
        size, 2 * size, size * 3, (size * 4 + 2) / 3, (size * 2 + 2) / 3, 1 + random.below(2 * limit)};
    return {sources[random.below(6)], size};
}

TEST(Ibilin, EqualsTheRuleInFloatingPointAtEveryLevel)
{
    at_every_level([](teska::simd_level) {
        Generator random(73);
        for (const auto &[n, in_step, out_step] : layouts)
            for (int i = 0; i < 56 && !testing::Test::HasFatalFailure(); ++i) {
                const auto [source_width, width] = sizes(random, i % 2 == 0 ? 20 : i % 8 == 1 ? 1500 : 140);
                const auto [source_lines, rows] = sizes(random, i % 7 < 5 ? 5 : 6);
                const Shape s{n, source_lines, source_width, rows, width, in_step, out_step};
                std::vector<int> calls(static_cast<std::size_t>(source_lines) + 1, s.n == 2 ? 3 : s.n);
                if (i % 7 >= 5 && s.n > 1) {
                    // Every component goes its own way.
                    calls.assign(5, 4);
                    std::generate_n(std::back_inserter(calls), 35, [&] {
                        return std::array{1, 3, 4, 4}[random.next() % 4];
                    });
                }
                expect_image<unsigned char>(s, calls, random);
                expect_image<unsigned short>(s, calls, random);
            }
    });
}

TEST(IbilinStart, RefusesSizesAndThenIgnoresLines)
{
    Reports reports;
    const Record record(ibilin_new(0));
    on_line = [](int) { ADD_FAILURE() << "called"; };
    unsigned char line[1] = {}, *out = line;
    EXPECT_EQ(ibilin_mono_b(record.get(), line, &out), 1);
    for (const Shape &s :
         {Shape{1, 1, 1, 0, 1}, Shape{1, 1, 1, 1, 0}, Shape{1, 1, 1, -1, 1}, Shape{1, 1, 1, 1, -1},
          Shape{1, 0, 1, 1, 1}, Shape{1, 1, 0, 1, 1}, Shape{0, 1, 1, 1, 1}, Shape{5, 1, 1, 1, 1},
          Shape{1, 1, 1, 1, INT_MAX}, Shape{4, 1, 1, 1, INT_MAX / 4, 4, 4}, Shape{4, 1, 1, 1, INT_MAX / 17}}) {
        EXPECT_EQ(start(record.get(), {1, 1, 1, 1, 1}), 1);
        EXPECT_EQ(reports.refusal(start(record.get(), s)),
                  s.width > 1 ? "ibilin_start: unsufficient resources" : "ibilin_start: illegal dest image");
        EXPECT_EQ(ibilin_mono_b(record.get(), line, &out), 1);
    }
}

}  // namespace
