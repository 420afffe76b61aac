#include "whole_image.h"

#include "support/test.h"

#include "flood.h"
#include "fusm.h"
#include "izat.h"

using teska_test::Generator, teska_test::lines, teska_test::Reports;

namespace
{

using Words = std::vector<unsigned short>;

// Dense images in memory, and the same samples with any strides.
struct Picture {
    int width, height, components, depth;
    Words samples;
    std::vector<unsigned char> buffer;
    whole_image image{};

    Picture(Generator &random, int w, int h, int n, int bits)
        : width(w), height(h), components(n), depth(bits),
          samples(static_cast<std::size_t>(w) * static_cast<std::size_t>(h * n))
    {
        const int size = bits / 8, gap = random.below(3) * size;
        const bool planar = random.below(2) == 0, upside_down = random.below(3) == 0, mirrored = random.below(3) == 0;
        const std::int64_t pixel = planar ? size : size * n + gap, line = pixel * w + gap;
        image = {nullptr, w, h, n, bits, line, pixel, planar ? line * h : size};
        buffer.resize(static_cast<std::size_t>(planar ? line * h * n : line * h) + 8);
        const std::int64_t first = (upside_down ? line * (h - 1) : 0) + (mirrored ? pixel * (w - 1) : 0);
        image.line = upside_down ? -line : line;
        image.pixel = mirrored ? -pixel : pixel;
        image.pixels = buffer.data() + first;
    }

    // Any samples below a number.
    void put(Generator &random, int values)
    {
        for (unsigned short &sample : samples)
            sample = static_cast<unsigned short>(random.below(values));
        copy(true);
    }
    // Between the words and the image.
    void copy(bool store)
    {
        unsigned short *sample = samples.data();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < components; ++c, ++sample) {
                    auto *const at = static_cast<unsigned char *>(image.pixels) + y * image.line + x * image.pixel +
                                     c * image.component;
                    if (depth == 16)
                        store ? std::memcpy(at, sample, 2) : std::memcpy(sample, at, 2);
                    else
                        store ? *at = static_cast<unsigned char>(*sample) : *sample = *at;
                }
    }
};

// Samples that a call makes of an image, in two strips or at once.
template <class Call>
Words in_strips(Generator &random, Picture &to, Call call)
{
    const int cut = random.below(to.height);
    EXPECT_EQ(call(cut, to.height - cut), 1);
    to.copy(false);
    const auto above = static_cast<std::ptrdiff_t>(cut) * to.width * to.components;
    EXPECT_EQ(std::count(to.samples.begin(), to.samples.begin() + above, 0), above);
    EXPECT_EQ(cut > 0 ? call(0, cut) : 1, 1);
    to.copy(false);
    return to.samples;
}

// Where the filters put their lines.
unsigned short *line_out;
int line_samples;
void to_next_line(void *, int) { line_out += line_samples; }

// Line by line through the filters, 16 bits; bytes are cut at another number, nothing else.
Words resized(int kernel, const Picture &from, const double *window, const Picture &to)
{
    const int n = from.components, top = (1 << from.depth) - 1;
    Words result(to.samples.size());
    line_out = result.data();
    line_samples = to.width * n;
    const teska::handle<izat, izat_kill> zoom(izat_new(std::max(kernel, 0)));
    const teska::handle<izoom, izoom_kill> pick(izoom_new());
    if (window != nullptr) {
        izat_window_set(zoom.get(), window[0], window[1], window[2], window[3]);
        const std::vector<int> whole(window, window + 4);
        izoom_window_set(pick.get(), whole[0], whole[1], whole[2], whole[3]);
    }
    izat_start(zoom.get(), n, from.height, from.width, to.height, to.width, to_next_line, nullptr, n, n);
    izoom_start(pick.get(), n, from.height, from.width, to.height, to.width, to_next_line, nullptr, n, n);
    const unsigned short *line = from.samples.data();
    for (int y = 0; y < from.height; ++y, line += from.width * n)
        kernel < 0 ? izoom_line(pick.get(), line, &line_out) : izat_line(zoom.get(), line, &line_out);
    for (unsigned short &sample : result)
        sample = static_cast<unsigned short>(std::min<int>(sample, top));
    return result;
}

TEST(WholeImageResize, EqualsTheLinesInAnyLayoutAndInStrips)
{
    Generator random(17);
    for (int round = 0; round < 300; ++round) {
        const int depth = random.below(2) == 0 ? 8 : 16, n = 1 + random.below(4), kernel = random.below(6) - 1;
        Picture from(random, 1 + random.below(40), 1 + random.below(40), n, depth);
        Picture to(random, 1 + random.below(40), 1 + random.below(40), n, depth);
        from.put(random, 1 << depth);
        const double part[] = {random.below(from.width) / 2 + 0.0, random.below(from.height) / 2 + 0.0,
                               (from.width + 1) / 2 + 0.0, (from.height + 1) / 2 + 0.0};
        const double *const window = random.below(2) == 0 ? part : nullptr;
        const auto resize = [&](int first, int count) {
            return whole_image_resize(kernel, &from.image, &to.image, window, first, count);
        };
        ASSERT_EQ(in_strips(random, to, resize), resized(kernel, from, window, to)) << round;
    }
}

// All components one by one, 16 bits; samples of bytes give the same as the functions for bytes.
Words sharpened(const whole_image_sharpening &how, const Picture &from)
{
    Words result(from.samples.size()), source = from.samples;
    const int n = from.components;
    line_samples = from.width * n;
    for (int c = 0; c < n; ++c) {
        const teska::handle<fusm, fusm_kill> usm(
            fusm_new(how.radius, from.depth == 8 ? 255 : 65535, 1, 1, nullptr, nullptr));
        fusm_stren_set(usm.get(), how.strength + c);
        fusm_noise_red_set(usm.get(), how.noise + c);
        fusm_level_red_set(usm.get(), how.points, how.levels + how.points * c, how.factors + how.points * c);
        line_out = result.data() + c;
        fusm_start_with(usm.get(), from.height, from.width, to_next_line, nullptr, n, 0, n);
        for (int y = 0; y < from.height; ++y) {
            unsigned short *in = source.data() + std::ptrdiff_t{y} * line_samples + c;
            fusm_do(usm.get(), &in, &line_out, nullptr);
        }
    }
    return result;
}

TEST(WholeImageSharpen, EqualsTheLinesInAnyLayoutAndInStrips)
{
    Generator random(18);
    for (int round = 0; round < (teska_test::runs_slowly() ? 30 : 200); ++round) {
        const int depth = random.below(2) == 0 ? 8 : 16, n = 1 + random.below(6);
        Picture from(random, 1 + random.below(20), 1 + random.below(20), n, depth);
        Picture to(random, from.width, from.height, n, depth);
        from.put(random, 1 << depth);
        std::vector<double> strength, noise, levels, factors;
        for (int c = 0; c < n; ++c) {
            strength.push_back(random.between(0.0, 2.0));
            noise.push_back(random.between(0.0, 0.1));
            levels.insert(levels.end(), {0.0, 0.5, 1.0});
            factors.insert(factors.end(), {random.unit(), 1.0, random.unit()});
        }
        const whole_image_sharpening how{random.below(3),     strength.data(), noise.data(),
                                         3 * random.below(2), levels.data(),   factors.data()};
        const auto sharpen = [&](int first, int count) {
            return whole_image_sharpen(&how, &from.image, &to.image, first, count);
        };
        ASSERT_EQ(in_strips(random, to, sharpen), sharpened(how, from)) << round << ", radius " << how.radius;
    }
}

TEST(WholeImageFlood, MarksWhatIsConnectedAndOfItsColour)
{
    Generator random(19);
    for (int round = 0; round < 100; ++round) {
        Picture from(random, 1 + random.below(20), 1 + random.below(20), 1 + random.below(2), 8 << random.below(2));
        from.put(random, 3);
        const int tolerance = random.below(2), n = from.components, width = from.width, height = from.height;
        const int seed = random.below(width * height);
        std::vector<unsigned char> region(static_cast<std::size_t>(width * height), 9);
        ASSERT_EQ(whole_image_flood(&from.image, seed % width, seed / width, tolerance, region.data()), 1);
        const auto fits = [&](int p) {
            const auto *const a = from.samples.data() + p * n, *const b = from.samples.data() + seed * n;
            return std::equal(a, a + n, b, [=](int one, int other) { return std::abs(one - other) <= tolerance; });
        };
        // Where the colour fits, what is beside what is marked is marked too.
        EXPECT_EQ(region.data()[seed], 1);
        for (int p = 0; p < width * height; ++p) {
            ASSERT_LE(region.data()[p], fits(p) ? 1 : 0) << "round " << round;
            for (const int beside : {p % width > 0 ? p - 1 : p, p >= width ? p - width : p})
                ASSERT_TRUE(region.data()[beside] == region.data()[p] || !fits(p) || !fits(beside)) << round;
        }
        for (const auto &[x, y] : {std::pair(-1, 0), {0, -1}, {width, 0}, {0, height}})
            ASSERT_TRUE(whole_image_flood(&from.image, x, y, tolerance, region.data()) == 1 &&
                        std::count(region.begin(), region.end(), 0) == width * height);
    }
}

TEST(WholeImage, RefusesWhatIsNoImage)
{
    Reports reports;
    unsigned char byte[16] = {};
    const whole_image fine{byte, 2, 2, 1, 16, 4, 2, 2};
    const whole_image bad[] = {{nullptr, 2, 2, 1, 16, 4, 2, 2},      {byte, 2, 2, 1, 12, 4, 2, 2},
                               {byte, 2, 2, 1, 16, 4, 1, 2},         {byte, 2, 2, 1, 16, 4, 2, 1},
                               {byte, 2, 2, 1, 16, 4, 1LL << 40, 2}, {byte, 2, 2, 1, 16, 4, -(1LL << 40), 2}};
    const double one = 1.0;
    const whole_image_sharpening how{0, &one, nullptr, 0, nullptr, nullptr};
    for (const whole_image &image : bad) {
        EXPECT_EQ(whole_image_resize(IZAT_AREA, &fine, &image, nullptr, 0, 2), 0);
        EXPECT_EQ(whole_image_sharpen(&how, &image, &fine, 0, 2), 0);
        EXPECT_EQ(whole_image_flood(&image, 0, 0, 0, byte), 0);
        EXPECT_EQ(reports.take(), (lines{"whole_image_flood: illegal image", "whole_image_resize: illegal image",
                                         "whole_image_sharpen: illegal image"}));
    }
    EXPECT_EQ(reports.refusal(whole_image_flood(&fine, 0, 0, -1, byte)), "whole_image_flood: illegal image");
    for (const whole_image &other : {whole_image{byte, 1, 2, 1, 16, 4, 2, 2},
                                     {byte, 2, 1, 1, 16, 4, 2, 2},
                                     {byte, 2, 2, 2, 16, 4, 2, 2},
                                     {byte, 2, 2, 1, 8, 4, 2, 2}})
        EXPECT_EQ(reports.refusal(whole_image_sharpen(&how, &fine, &other, 0, 1)),
                  "whole_image_sharpen: illegal image");
}

}  // namespace
