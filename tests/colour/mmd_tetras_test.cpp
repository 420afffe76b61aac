#include "mmd_tetras.h"

#include "support/generator.h"
#include "support/levels.h"
#include "support/reports.h"
#include "support/samples.h"

#include "md_tetras.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>

using teska_test::Generator, teska_test::lines, teska_test::Reports, teska_test::Samples;

namespace
{

using Words = std::vector<unsigned short>;
using Bytes = std::vector<unsigned char>;
using Table = std::unique_ptr<md_tetras, md_tetras *(*)(md_tetras *)>;

constexpr int pixels = 150;

// The clone of a set of random tables, and the same tables one by one.
struct Set {
    Set(int tables, int inputs, int outputs, int resolution, bool curved, Generator &random)
        : k(tables), n(inputs), m(outputs), owner(mmd_tetras_new(k, n, m, resolution), mmd_tetras_kill)
    {
        const Words in_curve{65535, 200, 30000}, out_curve{10, 40000, 20000, 65535};
        const int input = random.below(n), output = random.below(m), curved_table = random.below(k);
        for (int t = 0; t < k; ++t) {
            int size = 0;
            unsigned short *data = mmd_tetras_dataptr(get(), t, &size);
            random.fill(data, static_cast<std::size_t>(size));
            singles.emplace_back(md_tetras_new(n, m, resolution), md_tetras_kill);
            int single_size = 0;
            std::copy_n(data, size, md_tetras_dataptr(singles.back().get(), &single_size));
            EXPECT_EQ(size, single_size);
            if (curved)
                md_tetras_ilut_set(singles.back().get(), input, 3, in_curve.data());
            if (curved && t == curved_table)
                md_tetras_olut_set(singles.back().get(), output, 4, out_curve.data());
        }
        if (curved) {
            EXPECT_EQ(mmd_tetras_ilut_set(get(), input, 3, in_curve.data()), 1);
            EXPECT_EQ(mmd_tetras_olut_set(get(), curved_table, output, 4, out_curve.data()), 1);
        }
        owner.reset(mmd_tetras_clone(get()));
    }

    mmd_tetras *get() const { return owner.get(); }
    // All pixels through one table, 16-bit results.
    template <class Sample>
    Samples<unsigned short> results(int table, const Samples<Sample> &in) const
    {
        Samples<unsigned short> out(m, pixels, m);
        const md_tetras *const single = singles.at(static_cast<std::size_t>(table)).get();
        if constexpr (sizeof(Sample) == 1)
            md_tetras_interp_bs(single, in.at.data(), in.step, out.at.data(), m, pixels, nullptr, 0);
        else
            md_tetras_interp(single, in.at.data(), in.step, out.at.data(), m, pixels, nullptr, 0);
        return out;
    }

    const int k, n, m;
    std::unique_ptr<mmd_tetras, mmd_tetras *(*)(mmd_tetras *)> owner;
    std::vector<Table> singles;
};

template <class Sample>
Sample narrowed(unsigned short sample)
{
    return static_cast<Sample>(sizeof(Sample) == 1 ? (sample + 128) / 257 : sample);
}

template <class Sample>
Samples<Sample> random_pixels(int channels, Generator &random)
{
    Samples<Sample> samples(channels, pixels, channels);
    std::generate(samples.buffer.begin(), samples.buffer.end(), [&] {
        const auto v = static_cast<Sample>(random.next());
        return random.below(6) == 0 ? static_cast<Sample>(-(v & 1)) : v;
    });
    return samples;
}

// Pixels by tags, through all tables, and through two of them blended: as each table alone converts them.
template <class Sample>
void check(const Set &set, Generator &random, auto tag, auto all, auto mix)
{
    SCOPED_TRACE(testing::Message() << set.k << " tables, " << set.n << " to " << set.m);
    const auto in = random_pixels<Sample>(set.n, random);
    const int m = set.m, channels = set.k * m, skipped = random.below(channels);
    const int a = random.below(set.k), b = random.below(set.k), longest = random.below(2) == 0 ? 1 : 100;
    Bytes tags(pixels);
    Words weights(pixels);
    for (std::size_t p = 0; p < tags.size(); ++p) {
        const auto any = static_cast<unsigned short>(random.next());
        weights[p] = random.below(4) == 0 ? static_cast<unsigned short>(-(any & 1)) : any;
        tags[p] = p % static_cast<std::size_t>(longest) != 0 ? tags[p - 1]
                  : random.below(9) == 0                     ? 255
                                                             : static_cast<unsigned char>(random.below(set.k + 1));
    }
    const Samples<Sample> empty(m, pixels, m, 99), empties(channels, pixels, channels, 99);
    Samples<Sample> tagged = empty, everything = empties;
    std::vector<Samples<unsigned short>> results;
    for (int t = 0; t < set.k; ++t) {
        results.push_back(set.results(t, in));
        for (int i = 0; i < pixels * m; ++i) {
            const auto result = narrowed<Sample>(results.back().buffer.data()[i]);
            if (tags.data()[i / m] == t)
                tagged.buffer.data()[i] = result;
            if (t * m + i % m != skipped)
                everything.buffer.data()[i / m * channels + t * m + i % m] = result;
        }
    }
    teska_test::at_every_level([&](teska::simd_level) {
        Samples<Sample> out(m, pixels, m, 99), outs(channels, pixels, channels, 99);
        EXPECT_EQ(tag(set.get(), in.at.data(), set.n, out.at.data(), m, pixels, tags.data()), 1);
        ASSERT_EQ(out.buffer, tagged.buffer);
        outs.at[static_cast<std::size_t>(skipped)] = nullptr;
        EXPECT_EQ(all(set.get(), in.at.data(), set.n, outs.at.data(), channels, pixels), 1);
        ASSERT_EQ(outs.buffer, everything.buffer);
        for (const int weight : {-1, -5, 0, 16384, 65535, 99999}) {  // -1: the weights
            const auto *const used = weight == -1 ? weights.data() : nullptr;
            EXPECT_EQ(mix(set.get(), a, b, in.at.data(), set.n, out.at.data(), m, pixels, used, weight), 1);
            for (int i = 0; i < pixels * m; ++i) {
                const unsigned w = weight == -1 ? used[i / m] : static_cast<unsigned>(std::clamp(weight, 0, 65535));
                const unsigned first = results.data()[a].buffer.data()[i], second = results.data()[b].buffer.data()[i];
                const unsigned blend = (first * (65535 - w) + second * w + 32767) / 65535;
                ASSERT_EQ(out.buffer.data()[i], narrowed<Sample>(static_cast<unsigned short>(blend)))
                    << "sample " << i << " of tables " << a << " and " << b << ", weight " << w;
            }
        }
    });
}

TEST(MmdTetras, ConvertsByTagThroughAllAndBlendedAsTheTablesAloneDo)
{
    Generator random(41);
    const std::array<int, 4> shapes[] = {{1, 1, 1, 2}, {3, 2, 3, 9}, {3, 3, 3, 17},  {2, 3, 4, 33}, {4, 4, 4, 5},
                                         {2, 4, 7, 9}, {3, 6, 5, 3}, {255, 3, 2, 3}, {2, 11, 1, 2}};
    for (const auto &[k, n, m, r] : shapes)
        for (const bool curved : {false, true, false, true}) {
            const Set set(k, n, m, r, curved, random);
            check<unsigned short>(set, random, mmd_tetras_interp_tag, mmd_tetras_interp_all, mmd_tetras_interp_mix);
            check<unsigned char>(set, random, mmd_tetras_interp_tag_b, mmd_tetras_interp_all_b,
                                 mmd_tetras_interp_mix_b);
        }
}

TEST(MmdTetras, KeepsItsTablesApart)
{
    Generator random(43);
    const Set set(3, 2, 2, 4, false, random);
    int coord[] = {2, 1}, size = 7;
    unsigned short samples[] = {1, 2};
    for (const int k : {-1, 3, INT_MAX}) {
        EXPECT_EQ(mmd_tetras_dataptr(set.get(), k, &size), nullptr);
        EXPECT_EQ(mmd_tetras_vertex_get(set.get(), k, coord, samples), nullptr);
    }
    EXPECT_EQ(size, 7);
    EXPECT_EQ(samples[0], 1);
    EXPECT_EQ(mmd_tetras_vertex_get(set.get(), 1, coord, samples), mmd_tetras_dataptr(set.get(), 1, &size) + 2 * 9);
    EXPECT_EQ(size, 32);
    EXPECT_EQ(samples[0], 43690);
    EXPECT_EQ(mmd_tetras_get_nrpoints(set.get()), 16);
    EXPECT_EQ(mmd_tetras_scan_vertex(set.get(), coord), 9);
    EXPECT_EQ(coord[0], 3);
}

TEST(MmdTetras, RefusesWhatCannotBe)
{
    Reports reports;
    for (const auto &[k, n, m, r] :
         {std::array{0, 1, 1, 2}, {256, 1, 1, 2}, {1, 0, 1, 2}, {1, 1, 0, 2}, {1, 1, 1, 1}, {1, 1, 1, 65537}})
        EXPECT_EQ(mmd_tetras_new(k, n, m, r), nullptr) << k << ' ' << n << ' ' << m << ' ' << r;
    EXPECT_EQ(reports.take(), lines(6, "mmd_tetras_new: illegal dimension"));
    for (const auto &[k, n, m, r] : {std::array{255, 1, 1 << 23, 2}, {2, 30, 1, 2}, {1, 31, 1, 2}})
        EXPECT_EQ(mmd_tetras_new(k, n, m, r), nullptr) << k << ' ' << n << ' ' << m << ' ' << r;
    EXPECT_EQ(reports.take(), lines(3, "mmd_tetras_new: insufficient memory"));

    Generator random(44);
    const Set set(2, 1, 3, 2, false, random);
    const unsigned short entries[] = {1, 2};
    for (const auto &[d, n] : {std::pair{-1, 2}, {1, 2}, {0, 1}, {0, 65537}})
        EXPECT_EQ(mmd_tetras_ilut_set(set.get(), d, n, entries), 0) << d << ' ' << n;
    EXPECT_EQ(reports.take(), lines(4, "mmd_tetras_ilut_set: illegal curve"));
    for (const auto &[k, c, n] : {std::array{-1, 0, 2}, {2, 0, 2}, {0, -1, 2}, {0, 3, 2}, {0, 0, 1}})
        EXPECT_EQ(mmd_tetras_olut_set(set.get(), k, c, n, entries), 0) << k << ' ' << c << ' ' << n;
    EXPECT_EQ(reports.take(), lines(5, "mmd_tetras_olut_set: illegal curve"));
    Samples<unsigned short> in(Words{12345}), out(Words(3, 99));
    for (const auto &[a, b] : {std::pair{-1, 0}, {0, -1}, {2, 0}, {0, 2}, {INT_MAX, INT_MIN}})
        EXPECT_EQ(mmd_tetras_interp_mix(set.get(), a, b, in.at.data(), 1, out.at.data(), 3, 1, nullptr, 0), 0);
    EXPECT_EQ(out.buffer, Words(3, 99));
}

}  // namespace
