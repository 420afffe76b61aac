#include "flood.h"

#include "support/test.h"

namespace
{

// A drawing whose pixels '.' are the region; filled ones become 'o'. Every call is logged: "x,y?" tests a pixel,
// "first-last,y" fills a run.
struct Drawing {
    std::vector<std::string> rows;
    int left = 0, top = 0;  // coordinates of the first pixel
    std::string log = {};
    int runs = 0;

    char &at(long long x, long long y)
    {
        static char beyond;
        const auto column = static_cast<std::size_t>(x - left);
        const auto row = static_cast<std::size_t>(y - top);
        return row < rows.size() && column < rows[row].size() ? rows[row][column] : beyond = '#';
    }

    static int inside(void *user, int x, int y)
    {
        auto *d = static_cast<Drawing *>(user);
        EXPECT_LE(std::abs(1LL * x - d->left) | std::abs(1LL * y - d->top), 31) << "around the plane";
        d->log += std::to_string(x) + "," + std::to_string(y) + "? ";
        return d->at(x, y) == '.' ? -3 : 0;
    }

    static void fill(void *user, int first, int last, int y)
    {
        auto *d = static_cast<Drawing *>(user);
        bool connected = d->runs++ == 0;
        for (long long x = first; x <= last; ++x) {
            connected = connected || d->at(x, y - 1LL) == 'o' || d->at(x, y + 1LL) == 'o';
            EXPECT_EQ(d->at(x, y), '.') << "outside or filled twice";
            d->at(x, y) = 'o';
        }
        EXPECT_TRUE(connected);
        d->log += std::to_string(first) + "-" + std::to_string(last) + "," + std::to_string(y) + " ";
    }

    // One record for all: it is as new after each fill.
    void fill_from(int x, int y)
    {
        static flood *const record = flood_new(inside, fill);
        EXPECT_EQ(flood_do(record, this, x, y), 1);
    }
};

}  // namespace

TEST(FloodDo, FillsRandomRegionsToTheirEndsInOneOrder)
{
    teska_test::Generator random(76);
    teska_test::Digest calls;
    for (int round = 0; round < 700; ++round) {
        const auto size = [&] { return static_cast<std::size_t>(1 + random.next() % 30); };
        const std::string row(size(), '.');
        Drawing d{std::vector<std::string>(size(), row)};
        for (std::string &pixels : d.rows)
            for (char &pixel : pixels)
                pixel = random.below(10) < round % 7 ? '#' : '.';
        d.at(0, 0) = '.';
        // The edges of the plane are walls.
        const int width = static_cast<int>(row.size()), height = static_cast<int>(d.rows.size());
        Drawing edge{d.rows, round % 2 ? INT_MIN : INT_MAX - width + 1, round % 2 ? INT_MIN : INT_MAX - height + 1};
        edge.fill_from(edge.left, edge.top);
        d.fill_from(0, 0);
        EXPECT_EQ(edge.rows, d.rows);
        calls.add(d.log.data(), d.log.size());
        d.log.clear();
        d.fill_from(0, 0);
        EXPECT_EQ(d.log, "0,0? ") << "lies outside now";
        EXPECT_EQ(d.at(0, 0), 'o');
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (const char beside : {d.at(x - 1, y), d.at(x + 1, y), d.at(x, y - 1), d.at(x, y + 1)})
                    EXPECT_TRUE(d.at(x, y) != 'o' || beside != '.') << x << ", " << y;
    }
    EXPECT_EQ(calls.value(), 0xe8a330614eca9fa7U) << "another order";
}
