#include "convert_rows.h"

#include "support/test.h"

#include "clut_table.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"

using teska_test::Generator, teska_test::Reports;

namespace
{

using Bytes = std::vector<unsigned char>;

constexpr int inputs = 3, outputs = 2;

// A table as one of the kinds takes it, and one pixel through its own function.
struct Kind {
    void *table;
    int in_size, out_size;
    std::function<void(void **in, void **out)> pixel;
};

template <class In, class Out, class... NoMask>
Kind kind(auto *table, auto interp, NoMask... mask)
{
    return {table, sizeof(In), sizeof(Out), [=](void **in, void **out) {
                interp(table, reinterpret_cast<In **>(in), 1, reinterpret_cast<Out **>(out), 1, 1, mask...);
            }};
}

// A table of every kind, with any vertices.
struct Tables {
    using Byte = unsigned char;
    using Word = unsigned short;
    teska::handle<md_tetrab, md_tetrab_kill> b{md_tetrab_new(inputs, outputs, 5)};
    teska::handle<md_tetras, md_tetras_kill> s{md_tetras_new(inputs, outputs, 5)};
    teska::handle<md_tetrad, md_tetrad_kill> d{md_tetrad_new(inputs, outputs, 5, 0.0, 1.0)};
    teska::handle<clut_table, clut_table_kill> c{
        clut_table_new(inputs, std::array<int, inputs>{5, 5, 5}.data(), outputs, nullptr)};
    // By number.
    const std::vector<Kind> kinds = {kind<Byte, Byte>(b.get(), md_tetrab_interp, nullptr, 0),
                                     kind<Word, Word>(s.get(), md_tetras_interp, nullptr, 0),
                                     kind<Byte, Byte>(s.get(), md_tetras_interp_b, nullptr, 0),
                                     kind<Byte, Word>(s.get(), md_tetras_interp_bs, nullptr, 0),
                                     kind<Word, Byte>(s.get(), md_tetras_interp_sb, nullptr, 0),
                                     kind<double, double>(d.get(), md_tetrad_interp),
                                     kind<double, double>(c.get(), clut_table_interp)};

    explicit Tables(Generator &random)
    {
        int size = 0;
        random.fill(md_tetrab_dataptr(b.get(), &size), 250);
        random.fill(md_tetras_dataptr(s.get(), &size), 250);
        std::generate_n(md_tetrad_dataptr(d.get(), &size), 250, [&] { return random.unit(); });
        std::generate_n(clut_table_dataptr(c.get(), &size), 250, [&] { return static_cast<float>(random.unit()); });
    }
};

// Pixels of some axes in a buffer: axes in any order in memory, mirrored, with gaps.
struct Place {
    std::vector<std::int64_t> strides;
    std::int64_t first = 0, channel = 0;
    std::size_t bytes = 0;

    Place(Generator &random, const std::vector<std::int64_t> &shape, int channels, int size)
    {
        const std::size_t rank = shape.size();
        std::vector<std::size_t> order(rank + 1);  // the last one is that of the channels
        for (std::size_t k = 0; k <= rank; ++k)
            std::swap(order[k] = k, order[static_cast<std::size_t>(random.below(static_cast<int>(k) + 1))]);
        strides.resize(rank);
        std::int64_t step = size;
        for (const std::size_t k : order) {
            const std::int64_t count = k == rank ? channels : shape[k];
            const std::int64_t stride = random.below(3) == 0 ? -step : step;
            first += stride < 0 ? -stride * (count - 1) : 0;
            (k == rank ? channel : strides[k]) = stride;
            step *= count + (random.below(3) == 0 ? random.below(3) : 0);
        }
        bytes = static_cast<std::size_t>(step);
    }

    std::int64_t at(const std::vector<std::int64_t> &index) const
    {
        return std::inner_product(index.begin(), index.end(), strides.begin(), first);
    }

    std::vector<void *> pointers(Bytes &buffer, std::int64_t offset, int channels) const
    {
        std::vector<void *> result;
        for (int c = 0; c < channels; ++c)
            result.push_back(buffer.data() + offset + c * channel);
        return result;
    }
};

void fill(Generator &random, Bytes &buffer, int size)
{
    random.fill(buffer.data(), buffer.size());
    for (std::size_t k = 0; size == 8 && k + 8 <= buffer.size(); k += 8) {
        const double value = random.unit();
        std::copy_n(reinterpret_cast<const unsigned char *>(&value), 8, &buffer[k]);
    }
}

TEST(ConvertRows, EqualsTheTablePixelByPixelInAnyLayout)
{
    Generator random(2026);
    const Tables tables(random);
    for (int round = 0; round < 1000; ++round) {
        const int number = round % 7;
        const Kind &kind = tables.kinds.at(static_cast<std::size_t>(number));
        std::vector<std::int64_t> shape(static_cast<std::size_t>(random.below(4)));
        std::generate(shape.begin(), shape.end(), [&] { return 1 + random.below(random.below(4) == 0 ? 60 : 5); });
        if (round % 50 == 7)
            shape = {3000};  // longer than the masks that are gathered at a time
        Place in(random, shape, inputs, kind.in_size), out(random, shape, outputs, kind.out_size);
        const Place mask(random, shape, 1, 1);
        if (!shape.empty() && random.below(5) == 0)
            in.strides[0] = 0;  // the same pixels again
        Bytes source(in.bytes), result(out.bytes), masks(mask.bytes);
        fill(random, source, kind.in_size);
        fill(random, result, kind.out_size);
        std::generate(masks.begin(), masks.end(), [&] { return random.below(3); });
        const bool masked = random.below(2) == 0, skip = random.below(5) == 0;

        Bytes expected = result;
        std::vector<std::int64_t> index(shape.size());
        const auto count = std::accumulate(shape.begin(), shape.end(), std::int64_t{1}, std::multiplies());
        for (std::int64_t i = 0; i < count; ++i) {
            std::int64_t rest = i;
            for (std::size_t axis = 0; axis < shape.size(); rest /= shape[axis++])
                index[axis] = rest % shape[axis];
            if (masked && masks[static_cast<std::size_t>(mask.at(index))] == 0)
                continue;
            auto from = in.pointers(source, in.at(index), inputs), to = out.pointers(expected, out.at(index), outputs);
            to[0] = skip ? nullptr : to[0];
            kind.pixel(from.data(), to.data());
        }

        auto from = in.pointers(source, in.first, inputs), to = out.pointers(result, out.first, outputs);
        to[0] = skip ? nullptr : to[0];
        const auto from_before = from, to_before = to;
        const int rank = static_cast<int>(shape.size());
        const unsigned char *const used = masked ? masks.data() + mask.first : nullptr;
        const convert_rows_layout layout{rank, shape.data(),       in.strides.data(), out.strides.data(),
                                         used, mask.strides.data()};
        ASSERT_EQ(teska_convert_rows(number, kind.table, inputs, from.data(), outputs, to.data(), &layout), 1);
        ASSERT_EQ(result, expected) << "round " << round;
        ASSERT_EQ(from, from_before) << "round " << round;
        ASSERT_EQ(to, to_before) << "round " << round;
    }
}

TEST(ConvertRows, RefusesWhatIsNoLayout)
{
    Reports reports;
    Generator random(9);
    const Tables tables(random);
    const std::int64_t three[] = {3}, none[] = {0}, fewer[] = {-1}, even[] = {2};
    std::vector<void *> at(3, nullptr);
    const auto refusal = [&](int kind, void *table, int rank, auto *shape, auto *in_strides, auto *out_strides) {
        const convert_rows_layout layout{rank, shape, in_strides, out_strides, nullptr, nullptr};
        return reports.refusal(teska_convert_rows(kind, table, inputs, at.data(), outputs, at.data(), &layout));
    };
    void *const table = tables.s.get();
    for (const int kind : {-1, 7})
        EXPECT_EQ(refusal(kind, table, 1, none, even, even), "teska_convert_rows: illegal kind");
    EXPECT_EQ(refusal(CONVERT_ROWS_TETRAS, nullptr, 1, none, even, even), "teska_convert_rows: illegal kind");
    for (const auto &[rank, shape, in, out] :
         {std::tuple(33, three, even, even), {1, fewer, even, even}, {1, three, three, even}, {1, three, even, three}})
        EXPECT_EQ(refusal(CONVERT_ROWS_TETRAS, table, rank, shape, in, out), "teska_convert_rows: illegal layout");
    EXPECT_EQ(refusal(CONVERT_ROWS_TETRAS, table, 1, none, even, even), "not refused");
}

}  // namespace
