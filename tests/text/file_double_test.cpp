#include "file_double.h"

#include "support/folder.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

using teska_test::lines;
using teska_test::Reports;

namespace
{

constexpr double inf = std::numeric_limits<double>::infinity();

const lines bad_text = {"Error bad item string for double conversions"};
const lines bad_vector = {"Error bad formatted item string from doubles, ier -1 "};

class FileDouble : public testing::Test
{
protected:
    using Table = std::unique_ptr<file_double, decltype(&file_double_kill)>;

    Table open(int length, int create = 0)
    {
        return {file_double_new(folder.path("t.rec").c_str(), length, create), file_double_kill};
    }

    // Names and first numbers of all items.
    static std::string list(const Table &table)
    {
        std::string text;
        std::vector<double> vector(30);
        for (int state = 0, before = -1; before != state;) {
            before = state;
            const char *name = file_double_list(table.get(), &state, vector.data());
            if (name != nullptr)
                text.append(name).append(" ").append(std::to_string(vector[0])).append("; ");
        }
        return text;
    }

    teska_test::Folder folder;
    Reports reports;
};

TEST_F(FileDouble, KeepsVectorsInAFile)
{
    {
        const Table table = open(3, 1);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(folder.read("t.rec"), "");
        EXPECT_EQ(file_double_add_item(table.get(), "cyan", std::vector{0.25, 150.0, -1234.4}.data()), 0);
        EXPECT_EQ(file_double_add_item(table.get(), "cyan 2", std::vector{1.0, 0.0, 9.9996}.data()), 0);
        EXPECT_EQ(file_double_add_item(table.get(), "cyan", std::vector{0.5, 150.0, -1234.4}.data()), 0);
        EXPECT_EQ(file_double_save(table.get()), 0);
    }
    EXPECT_EQ(folder.read("t.rec"), "[patches]\ncyan = 0.500  150.0  -1234\ncyan 2 = 1.000  0.000  10.000\n");
    EXPECT_EQ(list(open(3)), "cyan 0.500000; cyan 2 1.000000; ");
    EXPECT_EQ(list(open(0)), "cyan 0.000000; cyan 2 0.000000; ");
    EXPECT_EQ(list(open(1, 1)), "");
    EXPECT_EQ(folder.read("t.rec"), "");
    EXPECT_EQ(reports.take(), lines{});
}

TEST_F(FileDouble, ListsEveryItemThatCanBeRead)
{
    folder.write("t.rec", "[Patches]\n_INTERNAL_ = x\na = 1 2\nb = 3\nc = 4 5 6\n_internal_ = y\n_internal = 7 8\n");
    EXPECT_EQ(list(open(2)), "a 1.000000; c 4.000000; _internal 7.000000; ");
    EXPECT_EQ(reports.take(), bad_text);
}

TEST_F(FileDouble, KeptBookkeepingNamesAreAddedButNotListed)
{
    const Table table = open(1, 1);
    EXPECT_EQ(file_double_add_item(table.get(), "_Internal_", std::vector{1.0}.data()), 0);
    EXPECT_EQ(list(table), "");
}

TEST_F(FileDouble, KeptStateTwoIsTheStart)
{
    const Table table = open(1, 1);
    int state = 2;
    double number = 0;
    EXPECT_EQ(file_double_list(table.get(), &state, &number), nullptr);
    EXPECT_EQ(state, 1);
    EXPECT_EQ(file_double_add_item(table.get(), "a", std::vector{1.0}.data()), 0);
    EXPECT_STREQ(file_double_list(table.get(), &state, &number), "a");
}

TEST_F(FileDouble, RefusesWhatDoesNotFit)
{
    const std::vector<double> vector(23, 0.5);
    const Table fitting = open(22, 1);
    EXPECT_EQ(file_double_add_item(fitting.get(), "a", vector.data()), 0);
    EXPECT_EQ(file_double_add_item(fitting.get(), "a=b", vector.data()), -1);
    EXPECT_EQ(list(fitting), "a 0.500000; ");
    const Table longer = open(23, 1);
    EXPECT_EQ(reports.take(), lines{});
    EXPECT_EQ(file_double_add_item(longer.get(), "a", vector.data()), -1);
    EXPECT_EQ(reports.take(), bad_vector);
    EXPECT_EQ(list(longer), "");
}

TEST_F(FileDouble, CannotBeHadWithoutItsFile)
{
    EXPECT_EQ(open(1), nullptr);
    for (const char *text : {"[patches]\na = 1", "[patches\n"}) {
        folder.write("t.rec", text);
        EXPECT_EQ(open(1), nullptr) << text;
    }
    EXPECT_EQ(file_double_new(folder.path("none/t.rec").c_str(), 1, 1), nullptr);
    EXPECT_EQ(file_double_new(nullptr, 1, 1), nullptr);
    EXPECT_EQ(file_double_kill(nullptr), 0);
    folder.write("t.rec", "[other]\na = 1\n");
    const Table table = open(1);
    EXPECT_EQ(list(table), "");
    EXPECT_EQ(file_double_add_item(table.get(), "a", std::vector{1.0}.data()), -1);
    EXPECT_EQ(reports.take(), lines{});
}

TEST_F(FileDouble, TakesPathsLongerThanItsRecord)
{
    const std::string name(150, 'n');
    const Table table(file_double_new(folder.path(name).c_str(), 1, 1), file_double_kill);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(folder.listing(), name);
}

TEST_F(FileDouble, SaysWhenTheFileCannotBeSaved)
{
    const Table table = open(1, 1);
    EXPECT_EQ(file_double_add_item(table.get(), "a", std::vector{1.0}.data()), 0);
    std::filesystem::remove(folder.path("t.rec"));
    std::filesystem::create_directory(folder.path("t.rec"));
    EXPECT_EQ(file_double_save(table.get()), -1);
    EXPECT_EQ(folder.listing(), "t.rec/");
}

TEST(StrFromVd, PrintsAboutFourDigits)
{
    const struct {
        std::vector<double> vector;
        const char *text;
    } rows[] = {
        {{}, ""},
        {{0.25, 150.0}, " 0.250  150.0 "},
        {{12.3456, 0.5, -1234.4}, " 12.35  0.500  -1234 "},
        {{1, 10, 1000, 0.0625, 1234.5}, " 1.000  10.00  1000  0.062  1234 "},
        {{9.9996, 99.996, 999.96, -0.0001}, " 10.000  100.00  1000.0  -0.000 "},
        {{std::nextafter(10.0, 0), std::nextafter(100.0, 0), 12345678.5}, " 10.000  100.0  12345678 "},
        {{inf, -inf, std::nan("")}, " inf  -inf  nan "},
    };
    for (const auto &row : rows) {
        char text[160] = "x";
        EXPECT_EQ(str_from_vd(row.vector.data(), static_cast<int>(row.vector.size()), text), 0);
        EXPECT_STREQ(text, row.text);
    }
    char huge[400];
    EXPECT_EQ(str_from_vd(std::vector{-DBL_MAX}.data(), 1, huge), 0);
    EXPECT_EQ(std::string(huge).size(), 312u);
}

TEST(VdFromStr, ReadsNumbersBetweenBlanks)
{
    using vector = std::vector<double>;
    const struct {
        const char *text;
        int n;
        int result;
        vector expected;  // of three that are 9 at first
    } rows[] = {
        {"  1.5  2 -3e2", 3, 0, {1.5, 2, -300}},
        {"1 2", 3, -1, {1, 2, 9}},
        {"1x y", 1, 0, {1, 9, 9}},
        {"1x y", 2, -1, {1, 9, 9}},
        {"1\t2", 2, -1, {1, 9, 9}},
        {"", 1, -1, {9, 9, 9}},
        {"x", 0, 0, {9, 9, 9}},
        {"x", -1, 0, {9, 9, 9}},
        {"inf 0x10 .", 2, 0, {inf, 16, 9}},
    };
    for (const auto &row : rows) {
        Reports reports;
        vector numbers(3, 9.0);
        EXPECT_EQ(vd_from_str(row.text, row.n, numbers.data()), row.result) << row.text;
        EXPECT_EQ(numbers, row.expected) << row.text;
        EXPECT_EQ(reports.take(), row.result == 0 ? lines{} : bad_text) << row.text;
    }
}

TEST(VdFmtD, CountsIntegerDigitsByTheLogarithm)
{
    const std::tuple<double, int, int, int> rows[] = {{1234.5, 6, 4, 2},
                                                      {0.5, 6, 1, 5},
                                                      {1, 4, 1, 3},
                                                      {-10, 4, 2, 2},
                                                      {1e5, 4, 6, 0},
                                                      {0, 0, 1, 0},
                                                      {inf, 4, 1, 3},
                                                      {std::nextafter(10.0, 0), 4, 1, 3},
                                                      {std::nextafter(100.0, 0), 4, 3, 1},
                                                      {1234, 4, 4, 0},
                                                      {5, -3, 1, 0}};
    for (const auto &[value, width, digits, decimals] : rows) {
        int results[2] = {};
        EXPECT_EQ(vd_fmt_d(value, width, &results[0], &results[1]), 0);
        EXPECT_EQ(results[0], digits) << value;
        EXPECT_EQ(results[1], decimals) << value;
    }
}

}  // namespace
