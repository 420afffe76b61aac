#include "fir.h"

#include "Source/fir/fir_priv.h"
#include "support/levels.h"
#include "support/samples.h"

using teska_test::Samples;

namespace
{

using Filter = teska::handle<fir, fir_kill>;

int feed(int components, fir *f, unsigned char *const *line, unsigned char **out)
{
    return teska_test::feed(components, f, line, out, fir_mono_b, fir_rgb_b, fir_cmyk_b);
}

int feed(int components, fir *f, unsigned short *const *line, unsigned short **out)
{
    return teska_test::feed(components, f, line, out, fir_mono, fir_rgb, fir_cmyk);
}

// An image, its kernel, and what must come out of them.
template <class Sample>
struct Case {
    int radius, maximum, components, width, in_step, out_step;
    std::vector<double> kernel;  // without any: as fir_new leaves it
    std::vector<Samples<Sample>> lines = {};

    // Line y of one component, written in the plain way.
    void write(int y, std::size_t component, Sample *out) const
    {
        const int height = static_cast<int>(lines.size());
        const auto in = [&](int row, int x) { return lines[static_cast<std::size_t>(row)].at[component][x * in_step]; };
        for (int x = 0; x < width; ++x)
            out[x * out_step] = in(y, x);
        if (y < radius || y >= height - radius)
            return;
        for (int x = radius; x < width - radius; ++x) {
            const double *coefficient = kernel.data();
            std::uint32_t sum = 0;
            for (int i = y - radius; i <= y + radius && !kernel.empty(); ++i)
                for (int j = x - radius; j <= x + radius; ++j)
                    sum += static_cast<std::uint32_t>(static_cast<int>(std::floor(*coefficient++ * 65536))) * in(i, j);
            out[x * out_step] =
                static_cast<Sample>(std::min(std::max(static_cast<std::int32_t>(sum), 0) >> 16, maximum));
        }
    }

    void check() const
    {
        const Filter filter(fir_new(radius, maximum)), other(fir_new(0, 0));
        if (!kernel.empty())
            teska::fir_set_kernel(filter.get(), kernel.data());
        const auto call = [](void *f, int k) { (*static_cast<std::function<void(int)> *>(f))(k); };
        teska_test::at_every_level([&](teska::simd_level) {
            Samples<Sample> out(components, width, out_step, 77);
            Samples<Sample> expected = out;
            std::vector<Sample *> at;
            for (Sample *first : out.at)
                at.push_back(expected.buffer.data() + (first - out.buffer.data()));
            int delivered = 0;
            std::function<void(int)> on_line = [&](int component) {
                EXPECT_EQ(component, delivered % components);
                write(delivered++ / components, static_cast<std::size_t>(component),
                      at[static_cast<std::size_t>(component)]);
                EXPECT_EQ(out.buffer, expected.buffer);
            };
            const int height = static_cast<int>(lines.size());
            // A record that is started meanwhile keeps its context to itself.
            fir_start_with(filter.get(), components, height, width, call, &on_line, in_step, out_step);
            fir_start_with(other.get(), 1, 1, 1, call, nullptr, 1, 1);
            for (const auto &line : lines)
                EXPECT_EQ(feed(components, filter.get(), line.at.data(), out.at.data()), 1);
            EXPECT_EQ(feed(components, filter.get(), lines[0].at.data(), out.at.data()), 1) << "a line too many";
            EXPECT_EQ(delivered, height * components);
        });
    }
};

// Images with fewer and more lines and columns than the kernel, blocks of any length, all layouts; coefficients up to
// the largest, where sums wrap.
template <class Sample>
void check_random_images(teska_test::Generator &random)
{
    const int component_numbers[] = {1, 3, 4};
    const double reaches[] = {0.49, 0.49, 2.0, 32767.999};
    for (int round = 0; round < 11 * 14; ++round) {
        const int radius = round % 11;
        const int size = 2 * radius + 1;
        const int components = component_numbers[random.below(3)];
        const int width = random.below(round % 3 == 0 ? 300 - 12 * radius : 2 * 16 + 2 + size);
        const auto step = [&] {
            return random.below(2) == 0 || width == 0 ? 1 : random.below(2) == 0 ? components : random.below(7) - 3;
        };
        Case<Sample> c{radius, random.below(3) == 0 ? 255 : random.below(70000), components, width, step(), step(), {}};
        const double reach = reaches[random.below(4)];
        for (int i = 0; i < size * size; ++i)
            c.kernel.push_back(random.below(4) == 0 ? 0 : random.between(-reach, reach));
        const int height = 1 + random.below(size + 4);
        for (int y = 0; y < height; ++y) {
            c.lines.emplace_back(components, width, c.in_step);
            for (Sample &sample : c.lines.back().buffer)
                sample = static_cast<Sample>(round % 5 == 0 ? -1 : random.below(65536));
        }
        SCOPED_TRACE(testing::Message() << "radius " << radius << ", " << width << " x " << height);
        c.check();
    }
}

}  // namespace

TEST(FirLines, EqualThePlainSumsOnEveryInstructionSet)
{
    teska_test::Generator random(71);
    check_random_images<unsigned char>(random);
    check_random_images<unsigned short>(random);
}

TEST(FirNew, KeptGivesAKernelOfZeros)
{
    teska_test::Reports reports;
    for (const int radius : {-1, 11})
        EXPECT_EQ(reports.refusal(fir_new(radius, 255)), "fir_new: illegal radius") << radius;
    for (const int step : {1, 2})
        Case<unsigned char>{1, 255, 1, 4, 1, step, {}, {3, Samples<unsigned char>(1, 4, 1, 7)}}.check();
}
