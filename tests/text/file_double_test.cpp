#include "file_double.h"

#include "support/test.h"

#include "str_zuk.h"

using teska_test::lines, teska_test::Reports;

namespace
{

using vector = std::vector<double>;

class FileDouble : public testing::Test
{
protected:
    using Table = std::unique_ptr<file_double, decltype(&file_double_kill)>;

    Table open(int length, int create = 0, const std::string &name = "t.rec")
    {
        return {file_double_new(folder.path(name).c_str(), length, create), file_double_kill};
    }

    static int add(const Table &table, const char *name, const vector &values)
    {
        return file_double_add_item(table.get(), name, values.data());
    }

    // Names and first numbers of all items that can be read.
    static std::string list(const Table &table)
    {
        std::ostringstream text;
        vector values(30);
        for (int state = 0, before = -1; before != state;)
            if (before = state; const char *name = file_double_list(table.get(), &state, values.data()))
                text << name << ' ' << values[0] << "; ";
        return text.str();
    }

    teska_test::Folder folder;
    Reports reports;
};

TEST_F(FileDouble, KeepsVectorsInAFile)
{
    Table table = open(3, 1);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(folder.read("t.rec"), "");
    EXPECT_EQ(add(table, "cyan", {0.25, 150.0, -1234.4}), 0);
    EXPECT_EQ(add(table, "cyan 2", {1.0, 0.0, 9.9996}), 0);
    EXPECT_EQ(add(table, "cyan", {0.5, 150.0, -1234.4}), 0);
    EXPECT_EQ(file_double_save(table.get()), 0);
    EXPECT_EQ(folder.read("t.rec"), "[patches]\ncyan = 0.500  150.0  -1234\ncyan 2 = 1.000  0.000  10.000\n");
    EXPECT_EQ(list(open(3)), "cyan 0.5; cyan 2 1; ");
    EXPECT_EQ(list(open(0)), "cyan 0; cyan 2 0; ");
    EXPECT_EQ(list(open(1, 1)), "");
    EXPECT_EQ(folder.read("t.rec"), "");
    std::filesystem::remove(folder.path("t.rec"));
    std::filesystem::create_directory(folder.path("t.rec"));
    EXPECT_EQ(add(table, "cyan", {0, 0, 0}), 0);
    EXPECT_EQ(file_double_save(table.get()), -1);
    EXPECT_EQ(reports.take(), lines{});
}

TEST_F(FileDouble, KeptSkipsBookkeepingNamesThatItAddsAndListsOnBehindBadItems)
{
    folder.write("t.rec", "[Patches]\n_INTERNAL_ = x\na = 1 2\nb = 3\nc = 4 5 6\n_internal = 7 8\n");
    const Table table = open(2);
    EXPECT_EQ(add(table, "_Internal_", {1, 2}), 0);
    EXPECT_EQ(list(table), "a 1; c 4; _internal 7; ");
    EXPECT_EQ(reports.take(), lines{"Error bad item string for double conversions"});
    const Table empty = open(1, 1);
    int state = 2;
    EXPECT_EQ(file_double_list(empty.get(), &state, nullptr), nullptr);
    EXPECT_EQ(state, 1);
}

TEST_F(FileDouble, RefusesWhatDoesNotFit)
{
    vector values(20, -0.5);
    const Table table = open(20, 1);
    EXPECT_EQ(add(table, "a", values), -1) << "160 characters";
    EXPECT_EQ(reports.take(), lines{"Error bad formatted item string from doubles, ier -1 "});
    values[0] = 0.5;
    EXPECT_EQ(add(table, "a", values), 0);
    EXPECT_EQ(add(table, "a=b", values), -1);
    EXPECT_EQ(list(table), "a 0.5; ");
    EXPECT_EQ(reports.take(), lines{});
}

TEST_F(FileDouble, CannotBeHadWithoutItsFile)
{
    EXPECT_EQ(open(1), nullptr);
    EXPECT_EQ(open(1, 1, "none/t.rec"), nullptr);
    EXPECT_EQ(file_double_new(nullptr, 1, 1), nullptr);
    EXPECT_NE(open(1, 1, std::string(150, 'n')), nullptr);
    folder.write("t.rec", "[other]\na = 1\n");
    const Table table = open(1);
    EXPECT_EQ(list(table), "");
    EXPECT_EQ(add(table, "a", {1}), -1);
    EXPECT_EQ(reports.take(), lines{});
}

TEST(StrFromVd, KeptMayAddADigitByRounding)
{
    const std::pair<vector, std::string> rows[] = {
        {vector(), ""},
        {{12.3456, 0.5, -1234.4, 0.25, 150, 0.0625, 12345678.5},
         " 12.35  0.500  -1234  0.250  150.0  0.062  12345678 "},
        {{9.9996, 99.996, 999.96, -0.0001}, " 10.000  100.00  1000.0  -0.000 "},
        {{HUGE_VAL, -HUGE_VAL, NAN}, " inf  -inf  nan "}};
    for (const auto &[values, expected] : rows) {
        char text[160] = "x";
        EXPECT_EQ(str_from_vd(values.data(), static_cast<int>(values.size()), text), 0);
        EXPECT_EQ(text, expected);
    }
}

TEST(VdFromStr, ReadsDecimalsOfAnyLengthAsTheCLibraryDoes)
{
    teska_test::Generator random(7);
    for (int round = 0; round < 100000; ++round) {
        std::string text = round % 3 == 0 ? "-" : round % 7 == 0 ? "+" : "";
        for (int length = random.below(round % 2 == 0 ? 8 : 24); length >= 0; --length)
            text += "0123456789.e"[random.below(round % 5 == 0 ? 12 : 11)];
        char *end = nullptr;
        double found = 99, expected = std::strtod(text.c_str(), &end);
        if (end == text.c_str())
            expected = 99;
        str_double_from_itemstr(text.c_str(), 1, &found);
        EXPECT_EQ(std::memcmp(&found, &expected, sizeof found), 0) << text;
    }
}

TEST(VdFromStr, KnowsOtherFormsOfNumbersAndTheirLimits)
{
    const std::string zeros(400, '0');
    // A number, and what its text ends with that is passed over.
    const std::pair<std::string, double> rows[] = {{"1e400", HUGE_VAL},
                                                   {"-1e-400", -0.0},
                                                   {"1e+99999999999999999999", HUGE_VAL},
                                                   {"1e-99999999999999999999", 0},
                                                   {"1" + zeros, HUGE_VAL},
                                                   {"." + zeros + "1", 0},
                                                   {"0." + zeros + "1e401", 1},
                                                   {"0." + zeros + "1e800", HUGE_VAL},
                                                   {zeros + "1" + zeros + "e-800", 0},
                                                   {"4.9e-324", 4.9406564584124654e-324},
                                                   {"1.7976931348623159e308", HUGE_VAL},
                                                   {"0x1.8P+3,5", 12},
                                                   {"-0X.8", -0.5},
                                                   {"0x1p1024", HUGE_VAL},
                                                   {"0x" + zeros + "1p-1080", 0},
                                                   {"0x." + zeros + "1P2700", HUGE_VAL},
                                                   {"0x1p+-5", 1},
                                                   {"0x.g", 0},
                                                   {"+Infinity", HUGE_VAL},
                                                   {"-inf.", -HUGE_VAL},
                                                   {"nan(12)x", NAN},
                                                   {"1e+", 1},
                                                   {"1,5", 1}};
    for (const auto &[text, number] : rows) {
        double found = 99;
        EXPECT_EQ(vd_from_str(text.c_str(), 1, &found), 0) << text;
        EXPECT_TRUE(std::isnan(number) ? std::isnan(found) : found == number) << text << ": " << found;
        EXPECT_EQ(std::signbit(found), std::signbit(number)) << text;
    }
    Reports reports;
    for (const char *text : {"0x", "0xg", "infin", "+-1", "--1", "- 1", "+\t1", ".e1", "x1", "\t"}) {
        double found = 99;
        EXPECT_EQ(vd_from_str(text, 1, &found), -1) << text;
        EXPECT_EQ(found, 99) << text;
    }
    EXPECT_EQ(reports.take(), lines(10, "Error bad item string for double conversions"));
}

TEST(VdFmtD, CountsIntegerDigitsByTheLogarithm)
{
    const std::tuple<double, int, int, int> rows[] = {{1234.5, 6, 4, 2}, {0.5, 6, 1, 5},      {-10, 4, 2, 2},
                                                      {1e5, 4, 6, 0},    {HUGE_VAL, 4, 1, 3}, {5, -3, 1, 0}};
    for (const auto &[value, width, digits, decimals] : rows) {
        int results[2] = {};
        EXPECT_EQ(vd_fmt_d(value, width, &results[0], &results[1]), 0);
        EXPECT_EQ(std::tie(results[0], results[1]), std::tie(digits, decimals)) << value;
    }
}

}  // namespace
