// api - the library used from C++17, through the shared libraries' public headers alone, and the C half of the
// application beside it in the same process

#include "application.h"

#include <gtest/gtest.h>
#include <lopra.h>
#include <teska_colour.h>
#include <teska_core.h>
#include <teska_curves.h>
#include <teska_text.h>
#include <wem.h>

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace
{

TEST(Application, UsesEveryModuleFromC)
{
    for (const c_use *each = c_uses; each->module != nullptr; ++each) {
        const char *failed = each->use();
        EXPECT_EQ(failed, nullptr) << each->module << ", " << failed;
    }
}

TEST(Application, ReadsReportsInItsOwnMode)
{
    const int before = error_set(3);
    list_rec *list = list_new(0, 4, nullptr);
    EXPECT_EQ(list_changep(list, 0, "abc"), -1);
    EXPECT_STREQ(error_get(), "ERROR : 'list_changep : index out of bound'");
    list_kill(list);
    EXPECT_EQ(error_set(before), 3);
}

// A fatal error ends where the host says: the exception passes through frames of two of the shared libraries.
TEST(Application, CatchesItsOwnExceptionThroughTheLibraries)
{
    const wem_line_fn before = wem_set_errexit([](const char *line) -> int { throw std::runtime_error(line); });
    try {
        error_exit("no paper");
        ADD_FAILURE() << "error_exit came back";
    } catch (const std::runtime_error &e) {
        EXPECT_STREQ(e.what(), "ERROR  : 'no paper'");
    }
    wem_set_errexit(before);
}

// The library reports through the same copy of the companion that the application holds.
TEST(Application, SharesTheCompanionsWithTheLibrary)
{
    static std::string seen;
    const wem_line_fn before = wem_set_errexit([](const char *line) { return seen = line, 7; });
    EXPECT_EQ(error_exit("no ink"), 7);
    EXPECT_EQ(seen, "ERROR  : 'no ink'");
    wem_set_errexit(before);
}

TEST(Application, MovesCursorsOverItsOwnAndOverForeignTexts)
{
    char own[] = "one two";
    char *cursor = own;
    EXPECT_EQ(str_go_to_next_word(&cursor), 't');
    *cursor = 'T';
    const char *foreign = "first\r\nsecond";
    str_go_to_next_line(&foreign);
    EXPECT_STREQ(foreign, "second");
    EXPECT_STREQ(str_str(own, "Two"), "Two");
}

TEST(Application, EvaluatesTheInverseOfACurve)
{
    using curve = std::unique_ptr<lin_interp_double, decltype(&lin_interp_double_kill)>;
    const curve rising(lin_interp_double_new(4, nullptr), lin_interp_double_kill);
    lin_interp_double_insert(rising.get(), 0.0, 10.0);
    lin_interp_double_insert(rising.get(), 1.0, 30.0);
    const curve inverse(lin_interp_double_invert(rising.get(), nullptr), lin_interp_double_kill);
    double y = 0.0;
    EXPECT_EQ(lin_interp_double_inter(inverse.get(), 15.0, &y), 0);
    EXPECT_EQ(y, 0.25);
}

TEST(Application, LooksUpByAnOrderOfItsOwn)
{
    const func_order by_size = [](const void *element, const void *key) -> int {
        return *static_cast<const int *>(element) >= *static_cast<const int *>(key);
    };
    func *f = func_new(2, sizeof(int), sizeof(char), by_size);
    for (const int x : {5, 1, 3})
        func_insert(f, &x, &"abcdef"[x]);
    const int key = 3;
    void *y = nullptr;
    const func_match equal = [](const void *element, const void *k) -> int {
        return *static_cast<const int *>(element) != *static_cast<const int *>(k);
    };
    EXPECT_EQ(func_search_el(f, &key, &y, equal), 1);
    EXPECT_EQ(*static_cast<char *>(y), 'd');
    func_kill(f);
}

TEST(Application, ConvertsALineThroughATableOfBytes)
{
    md_tetrab *table = md_tetrab_new(1, 1, 2);
    unsigned char *data = md_tetrab_dataptr(table, nullptr);
    data[0] = 200;
    data[1] = 200;
    unsigned char line[] = {0, 77, 255};
    unsigned char *in[] = {line};
    unsigned char *out[] = {line};
    md_tetrab_interp(table, in, 1, out, 1, 3, nullptr, 0.0);
    for (const int byte : line)
        EXPECT_NEAR(byte, 200, 1);
    md_tetrab_kill(table);
}

class InkTable : public CLUT
{
public:
    InkTable(unsigned char *grid, float *values) : CLUT(1, grid, 1, 0, values)
    {
        clampFn = [](float v) { return static_cast<double>(v) * 100.0; };
    }
    InkTable(const InkTable &) = delete;
    InkTable &operator=(const InkTable &) = delete;
    // Without copies it may give back what the library keeps for them.
    ~InkTable() override
    {
        delete[] data;
        delete[] cornerN;
        delete[] workScaled;
        delete[] workFraction;
        delete[] workIndex;
        delete[] workWeight;
    }
};

TEST(Application, DerivesItsOwnColourTable)
{
    unsigned char grid[] = {2};
    float values[] = {1.0F, 3.0F};
    const std::unique_ptr<CLUT> table = std::make_unique<InkTable>(grid, values);
    const double in = 0.25;
    double out = 0.0;
    table->Interpolate(&out, &in);
    EXPECT_EQ(out, 150.0);
    EXPECT_NE(dynamic_cast<InkTable *>(table.get()), nullptr);
}

// The exception is thrown by the library and caught here: both use the same copy of the language's runtime.
TEST(Application, CatchesTheTableThatIsTooLarge)
{
    unsigned char grid[6] = {255, 255, 255, 255, 255, 255};
    float value = 0;
    EXPECT_THROW(CLUT(6, grid, 3, 0, &value), std::bad_alloc);
}

TEST(Application, FillsATableOfDoublesInPlace)
{
    md_tetrad *table = md_tetrad_new(2, 1, 2, 0.0, 1.0);
    int size = 0;
    double *data = md_tetrad_dataptr(table, &size);
    std::fill_n(data, size, 0.25);
    double point[2] = {0.3, 0.9};
    double value = 0.0;
    double *in[] = {point, point + 1};
    double *out[] = {&value};
    md_tetrad_interp(table, in, 2, out, 1, 1);
    EXPECT_DOUBLE_EQ(value, 0.25);
    md_tetrad_kill(table);
}

}  // namespace
