#include "mmd_tetras.h"

#include "support/runs.h"

#include "md_tetras.h"

using teska_test::Generator, teska_test::lines, teska_test::Reports, teska_test::Samples;

namespace
{

using Words = std::vector<unsigned short>;

constexpr int pixels = 150;

// The clone of a set of random tables, and the same tables one by one.
struct Set {
    Set(int tables, int inputs, int outputs, int resolution, bool curved, Generator &random)
        : k(tables), n(inputs), m(outputs), owner(mmd_tetras_new(k, n, m, resolution))
    {
        const Words in_curve{65535, 200, 30000}, out_curve{10, 40000, 20000, 65535};
        const int input = random.below(n), output = random.below(m), curved_table = random.below(k);
        for (int t = 0; t < k; ++t) {
            int size = 0;
            unsigned short *data = mmd_tetras_dataptr(get(), t, &size);
            random.fill(data, static_cast<std::size_t>(size));
            singles.emplace_back(md_tetras_new(n, m, resolution));
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
    // A pixel through one table; nothing where there is no such table.
    Words through(int table, const Words &pixel) const
    {
        if (table >= k)
            return {};
        auto *const single = singles.at(static_cast<std::size_t>(table)).get();
        return teska_test::converted(single, pixel, m, md_tetras_interp, nullptr, 0);
    }

    const int k, n, m;
    teska::handle<mmd_tetras, mmd_tetras_kill> owner;
    std::vector<teska::handle<md_tetras, md_tetras_kill>> singles;
};

// Pixels by tags, through all tables, and through two of them blended: as each table alone converts them.
template <class Sample>
void check(const Set &set, Generator &random, auto tag, auto all, auto mix)
{
    SCOPED_TRACE(testing::Message() << set.k << " tables, " << set.n << " to " << set.m);
    const int a = random.below(set.k), b = random.below(set.k), longest = random.below(2) == 0 ? 1 : 100;
    std::vector<unsigned char> tags(pixels);
    Words weights(pixels);
    const auto any = [&] {
        const auto v = static_cast<unsigned short>(random.next());
        return random.below(6) == 0 ? static_cast<unsigned short>(-(v & 1)) : v;
    };
    for (std::size_t p = 0; p < tags.size(); ++p) {
        weights[p] = any();
        tags[p] = p % static_cast<std::size_t>(longest) != 0 ? tags[p - 1]
                  : random.below(9) == 0                     ? 255
                                                             : static_cast<unsigned char>(random.below(set.k + 1));
    }
    const auto run = [&](int outputs, auto convert, auto model) {
        teska_test::check_run<Sample, Sample>(
            {set.n, outputs, pixels, set.n, outputs}, random, [&] { return static_cast<Sample>(any()); },
            [&](int p, const std::vector<Sample> &pixel) {
                return teska_test::narrowed<Sample>(model(static_cast<std::size_t>(p), teska_test::widened(pixel)));
            },
            convert);
    };
    run(
        set.m, [&](auto... arguments) { return tag(set.get(), arguments..., tags.data()); },
        [&](std::size_t p, const Words &pixel) { return set.through(tags[p], pixel); });
    run(
        set.k * set.m, [&](auto... arguments) { return all(set.get(), arguments...); },
        [&](std::size_t, const Words &pixel) {
            Words results;
            for (int t = 0; t < set.k; ++t)
                std::ranges::copy(set.through(t, pixel), std::back_inserter(results));
            return results;
        });
    for (const int weight : {-1, -5, 0, 16384, 65535, 99999}) {  // -1: the weights
        const auto *const used = weight == -1 ? weights.data() : nullptr;
        SCOPED_TRACE(testing::Message() << "tables " << a << " and " << b << ", weight " << weight);
        run(
            set.m, [&](auto... arguments) { return mix(set.get(), a, b, arguments..., used, weight); },
            [&](std::size_t p, const Words &pixel) {
                Words first = set.through(a, pixel);
                const Words second = set.through(b, pixel);
                const unsigned w = weight == -1 ? weights[p] : static_cast<unsigned>(std::clamp(weight, 0, 65535));
                for (std::size_t c = 0; c < first.size(); ++c)
                    first[c] = static_cast<unsigned short>((first[c] * (65535 - w) + second[c] * w + 32767) / 65535);
                return first;
            });
    }
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
    int coord[] = {2, 1}, size = 0;
    unsigned short samples[2];
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
        EXPECT_EQ(reports.refusal(mmd_tetras_new(k, n, m, r)), "mmd_tetras_new: illegal dimension")
            << k << ' ' << n << ' ' << m << ' ' << r;
    for (const auto &[k, n, m, r] : {std::array{255, 1, 1 << 23, 2}, {2, 30, 1, 2}, {1, 31, 1, 2}})
        EXPECT_EQ(reports.refusal(mmd_tetras_new(k, n, m, r)), "mmd_tetras_new: insufficient memory")
            << n << ' ' << m << ' ' << r;
    Generator random(44);
    const Set set(2, 1, 3, 2, false, random);
    const unsigned short entries[] = {1, 2};
    EXPECT_EQ(reports.refusal(mmd_tetras_ilut_set(set.get(), 1, 2, entries)), "mmd_tetras_ilut_set: illegal curve");
    EXPECT_EQ(reports.refusal(mmd_tetras_olut_set(set.get(), 2, 0, 2, entries)), "mmd_tetras_olut_set: illegal curve");
    Samples<unsigned short> in(Words{12345}), out(Words(3, 99));
    EXPECT_EQ(mmd_tetras_interp_mix(set.get(), 0, 2, in.at.data(), 1, out.at.data(), 3, 1, nullptr, 0), 0);
    EXPECT_EQ(out.buffer, Words(3, 99));
}

}  // namespace
