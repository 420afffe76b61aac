#include "support/generator.h"
#include "support/owned_clut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

using teska_test::Generator;

namespace
{

using Counts = std::vector<unsigned char>;
using Floats = std::vector<float>;
using Doubles = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

Floats random_values(Generator &random, const Counts &counts, int channels, double lo, double hi)
{
    std::size_t size = static_cast<std::size_t>(channels);
    for (const unsigned char count : counts)
        size *= count;
    Floats values(size);
    std::generate(values.begin(), values.end(), [&] { return static_cast<float>(random.between(lo, hi)); });
    return values;
}

// A table and its definition once more: no offsets, no doubling, every result of a float operation stored as a float.
class Table : public teska_test::OwnedClut
{
public:
    using OwnedClut::OwnedClut;
    Table(Generator &random, const Counts &counts, int channels, double lo = -0.2, double hi = 1.2)
        : OwnedClut(counts, channels, random_values(random, counts, channels, lo, hi))
    {
    }

    Doubles at(const Doubles &in)
    {
        Doubles out(outputChannels);
        Interpolate(out.data(), in.data());
        return out;
    }

    Doubles expected(const Doubles &in, bool tetrahedral)
    {
        cell_.clear();
        f_.clear();
        for (std::size_t k = 0; k < in.size(); ++k) {
            const int top = gridPoints[k] - 1;
            const auto x = static_cast<float>(static_cast<double>(top) * (in[k] < 0 ? 0 : in[k] > 1 ? 1 : in[k]));
            const int i = std::isnan(x) ? 0 : static_cast<int>(std::trunc(x));
            cell_.push_back(i == top ? i - 1 : i);
            f_.push_back(i == top ? 1.0F : x - static_cast<float>(i));
        }
        Doubles out;
        for (channel_ = 0; channel_ < outputChannels; ++channel_) {
            const float v = tetrahedral ? path_value() : corner_sum();
            out.push_back(static_cast<double>(v < 0 ? 0.0F : v > 1 ? 1.0F : v));
        }
        return out;
    }

private:
    // The value at a corner of the cell: bit k of the corner steps along input k.
    float P(unsigned corner)
    {
        int point = 0;
        for (std::size_t k = 0; k < cell_.size(); ++k)
            point = point * gridPoints[k] + cell_[k] + static_cast<int>(corner >> k & 1);
        return (*this)[point * outputChannels + channel_];
    }

    float path(unsigned a, float q0, unsigned b, float q1, float q2)
    {
        volatile float sum = P(0);
        for (const volatile float term : {(P(a) - P(0)) * q0, (P(b) - P(a)) * q1, (P(7) - P(b)) * q2})
            sum = sum + term;
        return sum;
    }

    float path_value()
    {
        const float fx = f_[0], fy = f_[1], fz = f_[2];
        if (fz < fy && fz > fx)
            return path(2, fy, 6, fz, fx);
        if (fz < fy)
            return fy < fx ? path(1, fx, 3, fy, fz) : path(2, fy, 3, fx, fz);
        if (fz < fx)
            return path(1, fx, 5, fz, fy);
        return fy < fx ? path(4, fz, 6, fy, fx) : path(4, fz, 5, fx, fy);
    }

    float corner_sum()
    {
        const std::size_t n = f_.size();
        const bool upwards = n >= 3 && n <= 6;  // the order in which a weight is multiplied
        float sum = 0;
        for (unsigned c = 0; c < 1U << n; ++c) {
            volatile float weight = 1;
            for (std::size_t i = 0; i < n; ++i) {
                const std::size_t k = upwards ? i : n - 1 - i;
                weight = weight * ((c >> k & 1) != 0 ? f_[k] : 1.0F - f_[k]);
            }
            volatile const float term = weight * P(c);
            sum = c == 0 ? term : sum + term;
        }
        return sum;
    }

    int channel_ = 0;
    std::vector<int> cell_;
    Floats f_;
};

// Bits, but one NaN is as good as another.
std::vector<std::uint64_t> bits(const Doubles &values)
{
    std::vector<std::uint64_t> result;
    for (const double v : values)
        result.push_back(std::isnan(v) ? std::uint64_t{0x7ff8} << 48 : std::bit_cast<std::uint64_t>(v));
    return result;
}

// Inside, outside, at both ends and just below, on grid points of many counts; not a number once in a while.
double random_input(Generator &random)
{
    const double choices[] = {random.below(5) / 4.0, random.below(4) / 3.0, random.between(-0.5, 1.5),
                              std::nextafter(1.0, 0.0), nan};
    const int kind = random.below(100);
    return kind > 60 ? random.unit() : choices[kind == 0 ? 4 : kind % 4];
}

// Eight values of a 2 x 2 x 2 table in the order of the corners, where bit 0 steps along the slowest input.
Floats by_corner(const Floats &p) { return {p[0], p[4], p[2], p[6], p[1], p[5], p[3], p[7]}; }

TEST(CLUTQuery, TellsShapeStridesAndElements)
{
    Table table({2, 3, 4}, 2, Floats(48, 0.5F), 77);
    EXPECT_EQ(table.NumPoints(), 24U);
    EXPECT_EQ(table.GridPoints(), 2);
    EXPECT_EQ(table.GridPoint(2), 4);
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

TEST(CLUTInterpolate, EqualsTheDefinitionBitForBit)
{
    Generator random(61);
    for (const std::size_t n : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 16U})
        for (const int m : {0, 1, 2, 3, 4, 5, 9}) {
            SCOPED_TRACE(testing::Message() << n << " to " << m);
            Counts counts(n);
            for (unsigned char &count : counts)
                count = static_cast<unsigned char>(2 + random.below(n < 5 ? 6 : n < 9 ? 2 : 1));
            Table table(random, counts, m);
            for (int i = 0; i < (n < 9 ? 400 : 2); ++i) {
                Doubles in(n);
                for (double &x : in)
                    x = random.below(4) == 0 && &x != in.data() ? in.front() : random_input(random);
                const auto expected = bits(table.expected(in, n == 3));
                ASSERT_EQ(bits(table.at(in)), expected) << testing::PrintToString(in);
                // In place, too: the whole input is read before anything is written.
                Doubles both = in;
                both.resize(n + 9);
                table.Interpolate(both.data(), both.data());
                both.resize(static_cast<std::size_t>(m));
                ASSERT_EQ(bits(both), expected);
                std::transform(in.begin(), in.end(), in.begin(), [](double x) { return std::clamp(x, 0.0, 1.0); });
                if (n == 3) {
                    table.Interp3d(both.data(), in.data());
                    ASSERT_EQ(bits(both), bits(table.expected(in, false))) << testing::PrintToString(in);
                }
            }
        }
}

TEST(CLUTInterpolate, KeptCrossesThePathWhereTheThirdFractionIsLargest)
{
    const float p[] = {0.125F, 0.25F, 0.5F, 0.0F, 0.5F, 1.0F, 0.25F, 0.375F};
    Table table({2, 2, 2}, 1, by_corner({std::begin(p), std::end(p)}));
    EXPECT_EQ(table.at({1, 0, 1})[0], p[4] - p[6] + p[7]);  // and not corner 5
    EXPECT_EQ(table.at({0, 1, 1})[0], p[4] - p[5] + p[7] < 0 ? 0 : p[4] - p[5] + p[7]);
    EXPECT_EQ(table.at({0.5, 0.25, 0.75})[0], p[0] + (p[4] - p[0]) * 0.75 + (p[6] - p[4]) * 0.25 + (p[7] - p[6]) * 0.5);
    EXPECT_EQ(table.at({0.25, 0.5, 0.75})[0], p[0] + (p[4] - p[0]) * 0.75 + (p[5] - p[4]) * 0.25 + (p[7] - p[5]) * 0.5);
    // On the diagonal all paths agree.
    EXPECT_EQ(table.at({0.5, 0.5, 0.5})[0], 0.25);
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
    four[15] = spoil;
    EXPECT_TRUE(std::isnan(four.at({0, 0, 0, 0})[0]));
    // With three inputs the path must visit it: corner 1 lies on two of the six.
    Table three({2, 2, 2}, 1, by_corner({0.5F, spoil, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F}));
    EXPECT_TRUE(std::isnan(three.at({0.5, 0.25, 0.125})[0]));
    EXPECT_EQ(three.at({0.25, 0.125, 0.5})[0], 0.5);
}

TEST(CLUTInterpolate, PutsEveryValueThroughTheObjectsClampFunction)
{
    static Floats seen;
    Generator random(66);
    for (const std::size_t n : {2U, 3U, 4U, 5U, 6U}) {
        Table table(random, Counts(n, 2), 5, 3, 4);
        table.clampFn = [](float v) { return seen.push_back(v), static_cast<double>(seen.size()) * 10; };
        seen.clear();
        EXPECT_EQ(table.at(Doubles(n, 0)), (Doubles{10, 20, 30, 40, 50})) << n;
        EXPECT_EQ(seen, Floats(table.GetData(0), table.GetData(5))) << n;
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
        // The copies are gone, the arrays are not.
        EXPECT_EQ(source.at(Doubles(n, 0.0))[0], 1.0);
        EXPECT_EQ(other.at(Doubles(n, 0.0))[0], 0.0);
    }
}

TEST(CLUTBegin, ReplacesTheArraysOfAFormerCall)
{
    for (const std::size_t n : {1U, 3U, 5U, 7U}) {
        Generator random(68);
        Table table(random, Counts(n, 3), 2);
        const Doubles before = table.at(Doubles(n, 0.3));
        table.Begin();
        EXPECT_EQ(table.at(Doubles(n, 0.3)), before);
    }
}

TEST(CLUTConstructor, StaysInsideItsFieldsWithNoInputOrTooMany)
{
    Table many(Counts(21, 2), 1, Floats(65536, 0.5F));
    EXPECT_EQ(many.GetInputDim(), 16);
    EXPECT_EQ(many.NumPoints(), 65536U);
    EXPECT_EQ(many.at(Doubles(16, 0.3)).size(), 1U);

    Table none({}, 1, {0.5F});
    EXPECT_EQ(none.NumPoints(), 0U);
    EXPECT_EQ(none.at({}), Doubles{0});
}

TEST(CLUTConstructor, ThrowsBadAllocWhenTheTableCannotBeCounted)
{
    EXPECT_THROW(Table(Counts(5, 255), 1, {}), std::bad_alloc);                // points
    EXPECT_THROW(Table({255, 255, 255, 255}, 2, {}), std::bad_alloc);          // values
    EXPECT_THROW(Table({0, 255, 255, 255, 255, 255}, 1, {}), std::bad_alloc);  // a stride
    EXPECT_THROW(Table(Counts(16, 255), 0, {}), std::bad_alloc);               // points, without any value
}

}  // namespace
