#include "support/levels.h"
#include "support/owned_clut.h"

#include <new>

using teska_test::Generator;

namespace
{

using Counts = std::vector<unsigned char>;
using Floats = std::vector<float>;
using Doubles = std::vector<double>;

class Table : public teska_test::OwnedClut
{
public:
    using OwnedClut::OwnedClut;

    Doubles at(const Doubles &in)
    {
        Doubles out(outputChannels);
        Interpolate(out.data(), in.data());
        return out;
    }

    // The multilinear definition, one input after the other.
    double expected(const Doubles &in, int channel, int point = 0, std::size_t k = 0)
    {
        if (k == in.size())
            return static_cast<double>((*this)[point * outputChannels + channel]);
        const double x = (gridPoints[k] - 1) * std::clamp(in[k], 0.0, 1.0);
        const int i = std::min(static_cast<int>(x), gridPoints[k] - 2);
        const double lower = expected(in, channel, point * gridPoints[k] + i, k + 1);
        return lower + (x - i) * (expected(in, channel, point * gridPoints[k] + i + 1, k + 1) - lower);
    }
};

// Eight values of a 2 x 2 x 2 table in the order of the corners, where bit 0 steps along the slowest input.
Floats by_corner(const Floats &p) { return {p[0], p[4], p[2], p[6], p[1], p[5], p[3], p[7]}; }

TEST(CLUTQuery, TellsShapeStridesAndElements)
{
    Table table({2, 3, 4}, 2, Floats(48, 0.5F), 77);
    EXPECT_EQ(table.NumPoints(), 24U);
    EXPECT_EQ(table.GridPoints(), 2);
    EXPECT_EQ(table.GetInputDim(), 3);
    EXPECT_EQ(table.GetOutputChannels(), 2);
    EXPECT_EQ(table.auxByte, 77);
    const unsigned strides[] = {24, 8, 2};
    for (unsigned char k = 0; k < 16; ++k) {
        EXPECT_EQ(table.GetDimSize(k), k < 3 ? strides[k] : 0) << int{k};
        EXPECT_EQ(table.GridPoint(k), k < 3 ? k + 2 : 0) << int{k};
    }
    table[47] = 0.25F;
    EXPECT_EQ(table.GetData(47), &table[47]);
    EXPECT_EQ(table.at({1, 1, 1})[1], 0.25);
}

// Values in sixteenths, points on grid points, halfway between them and outside: no operation rounds.
TEST(CLUTInterpolate, IsMultilinearForAnyNumberOfInputsButThree)
{
    Generator random(61);
    for (const std::size_t n : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 11U, 16U})
        for (const int m : {0, 1, 2, 3, 4, 5, 9}) {
            Counts counts(n);
            Floats values(65536U * static_cast<unsigned>(m));
            std::generate(counts.begin(), counts.end(), [&] { return n < 9 ? 2 + random.below(2) : 2; });
            std::generate(values.begin(), values.end(), [&] { return static_cast<float>(random.below(32) - 8) / 16; });
            Table table(counts, m, values);
            for (int i = 0; i < (n < 9 ? 30 : 1); ++i) {
                Doubles in(n);
                for (std::size_t k = 0; k < n; ++k)
                    in[k] = (random.below(2 * counts[k] + 1) - 1) / (2 * counts[k] - 2.0);
                Doubles out = in;  // in place: the whole input is read before anything is written
                out.resize(n + 9);
                n == 3 ? table.Interp3d(out.data(), out.data()) : table.Interpolate(out.data(), out.data());
                for (int c = 0; c < m; ++c)
                    ASSERT_EQ(out.data()[c], std::clamp(table.expected(in, c), 0.0, 1.0))
                        << n << " to " << m << testing::PrintToString(in);
            }
        }
}

TEST(CLUTInterpolate, KeptCrossesThePathWhereTheThirdFractionIsLargest)
{
    const Floats p = {0.125F, 0.25F, 0.5F, 0.0F, 0.5F, 1.0F, 0.25F, 0.375F};
    Table table({2, 2, 2}, 1, by_corner(p));
    for (int i = 0; i < 125; ++i) {
        const double x = i % 5 * 0.25, y = i / 5 % 5 * 0.25, z = i / 25 * 0.25;
        using Inputs = std::array<std::size_t, 3>;  // along the edges of the path
        const auto [first, second, third] = z >= std::max(x, y) ? (x > y ? Inputs{2, 1, 0} : Inputs{2, 0, 1})
                                            : y >= x            ? (x >= z ? Inputs{1, 0, 2} : Inputs{1, 2, 0})
                                            : y > z             ? Inputs{0, 1, 2}
                                                                : Inputs{0, 2, 1};
        const double q[] = {x, y, z}, a = p[std::size_t{1} << first], b = p[7 - (std::size_t{1} << third)];
        const double sum = p[0] + (a - p[0]) * q[first] + (b - a) * q[second] + (p[7] - b) * q[third];
        EXPECT_EQ(table.at({x, y, z})[0], std::clamp(sum, 0.0, 1.0)) << x << ' ' << y << ' ' << z;
    }
}

TEST(CLUTInterpolate, KeptRoundsTheTopOfThreeInputsOnTheWay)
{
    Table table({2, 2, 2}, 1, by_corner({.25935403F, 0, 0, 0, .23433097F, .47635320F, 0, .15061642F}));
    EXPECT_EQ(static_cast<float>(table.at({1, 1, 1})[0]), .15061644F);
}

TEST(CLUTInterpolate, KeptLetsNaNThroughFromCornersOfWeightZero)
{
    const auto spoil = std::numeric_limits<float>::quiet_NaN();
    Table four(Counts(4, 2), 1, Floats(16, 0.5F));
    EXPECT_TRUE(std::isnan(four.at({0, NAN, 0, 0})[0]));
    four[15] = spoil;
    EXPECT_TRUE(std::isnan(four.at({0, 0, 0, 0})[0]));
    // With three inputs the path must visit it: corner 1 lies on two of the six.
    Table three({2, 2, 2}, 1, by_corner({0.5F, spoil, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F}));
    EXPECT_TRUE(std::isnan(three.at({0.5, 0.25, 0.125})[0]));
    EXPECT_EQ(three.at({0.25, 0.125, 0.5})[0], 0.5);
}

// Points anywhere, on grid points, with equal fractions, outside, with a NaN; written over their input.
TEST(CLUTInterpolate, GivesTheSameBytesAtEveryLevel)
{
    Generator random(62);
    for (int i = 0; i < 4000; ++i) {
        const int m = 1 + i % 9, points = 2 + random.below(5);
        Counts counts(3);
        std::generate(counts.begin(), counts.end(), [&] { return i % 2 == 0 ? points : 2 + random.below(6); });
        Floats values(static_cast<std::size_t>(counts[0] * counts[1] * counts[2] * m));
        std::generate(values.begin(), values.end(), [&] { return static_cast<float>(random.between(-0.2, 1.2)); });
        Table table(counts, m, values);
        Doubles in(12), scalar;
        std::generate_n(in.begin(), 3, [&] {
            return random.below(40) == 0 ? NAN : i % 3 == 0 ? random.below(9) * 0.25 - 0.5 : random.between(-0.2, 1.2);
        });
        teska_test::at_every_level([&](teska::simd_level level) {
            Doubles out = in;
            table.Interpolate(out.data(), out.data());
            if (level == teska::simd_level::scalar)
                scalar = out;
            for (std::size_t c = 0; c < out.size(); ++c)
                ASSERT_TRUE(out[c] == scalar[c] || (std::isnan(out[c]) && std::isnan(scalar[c]))) << m << ' ' << c;
        });
    }
}

TEST(CLUTInterpolate, PutsEveryValueThroughTheObjectsClampFunction)
{
    static Floats seen;
    const Floats corner{3, 4, 5, 6, 7};
    for (const std::size_t n : {2U, 3U, 4U, 5U, 6U, 11U}) {
        Floats values(5U << n);
        std::copy(corner.begin(), corner.end(), values.begin());
        Table table(Counts(n, 2), 5, values);
        table.clampFn = [](float v) { return seen.push_back(v), static_cast<double>(seen.size()) * 10; };
        seen.clear();
        EXPECT_EQ(table.at(Doubles(n, 0)), (Doubles{10, 20, 30, 40, 50})) << n;
        EXPECT_EQ(seen, corner) << n;
    }
}

TEST(CLUTCopy, KeptSharesItsArraysWithTheSource)
{
    for (const std::size_t n : {2U, 3U, 4U}) {
        Table source(Counts(n, 2), 1, Floats(64, 0.5F)), other(Counts(n, 2), 1, Floats(64, 0));
        {
            CLUT copy(source), assigned(other);
            EXPECT_EQ(&(assigned = copy), &assigned);
            assigned[0] = 1.0F;
        }
        // The copies are gone, the arrays are not; those of a former call of Begin are replaced.
        source.Begin();
        EXPECT_EQ(source.at(Doubles(n, 0.0))[0], 1.0);
        EXPECT_EQ(other.at(Doubles(n, 0.0))[0], 0.0);
    }
}

TEST(CLUTConstructor, CutsTheInputsAndThrowsWhenTheTableCannotBeCounted)
{
    Table many(Counts(21, 2), 1, Floats(65536, 0.5F)), none({}, 1, {0.5F});
    EXPECT_EQ(many.GetInputDim(), 16);
    EXPECT_EQ(many.NumPoints(), 65536U);
    EXPECT_EQ(none.NumPoints(), 0U);
    EXPECT_EQ(none.at({}), Doubles{0});
    EXPECT_THROW(Table(Counts(5, 255), 1, {}), std::bad_alloc);                // points
    EXPECT_THROW(Table({255, 255, 255, 255}, 2, {}), std::bad_alloc);          // values
    EXPECT_THROW(Table({2, 255, 255, 255, 255, 255}, 1, {}), std::bad_alloc);  // a stride
    EXPECT_THROW(Table({2, 0, 2}, 1, Floats(8)), std::bad_alloc);              // no cell along an input
    EXPECT_THROW(Table({2, 2, 1}, 1, Floats(8)), std::bad_alloc);
    EXPECT_THROW(Table(Counts(16, 255), 0, {}), std::bad_alloc);  // points, without any value
}

}  // namespace
