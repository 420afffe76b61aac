// api - the library used from C++17, through the shared libraries' public headers alone: what the C half of the
// application beside it in the same process cannot do

#include <wem.h>

#include <gtest/gtest.h>
#include <teska_colour.h>
#include <teska_core.h>
#include <teska_files.h>
#include <teska_geometry.h>
#include <teska_numerics.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

// Returns null, or the text of the first condition that did not hold.
extern "C" const char *use_every_part();

namespace
{

TEST(Application, UsesEveryPartFromC) { EXPECT_STREQ(use_every_part(), nullptr); }

// The library reports through the same copy of the companion that the application holds, and a fatal error ends where
// the host says: the exception passes through frames of two of the shared libraries.
TEST(Application, DecidesWhereItsFatalErrorsEnd)
{
    const wem_line_fn before = wem_set_errexit([](const char *) { return 7; });
    const int mode = error_set(2);
    EXPECT_EQ(error_exit("no ink"), 7);
    EXPECT_EQ(error_get(), nullptr);
    error_set(mode);
    wem_set_errexit([](const char *line) -> int { throw std::runtime_error(line); });
    try {
        error_exit("no paper");
        ADD_FAILURE() << "error_exit came back";
    } catch (const std::runtime_error &e) {
        EXPECT_STREQ(e.what(), "ERROR  : 'no paper'");
    }
    wem_set_errexit(before);
}

class InkTable : public CLUT
{
public:
    InkTable(unsigned char *grid, float *values) : CLUT(1, grid, 1, 0, values)
    {
        clampFn = [](float v) { return static_cast<double>(v) * 100.0; };
    }
};

TEST(Application, DerivesItsOwnColourTable)
{
    unsigned char grid[] = {2};
    float values[] = {1.0F, 3.0F};
    static InkTable table(grid, values);  // what the library keeps for copies lives as long
    CLUT *const base = &table;
    const double in = 0.25;
    double out = 0.0;
    base->Interpolate(&out, &in);
    EXPECT_EQ(out, 150.0);
    EXPECT_NE(dynamic_cast<InkTable *>(base), nullptr);
}

struct Journal : fdofstream {
    using fdofstream::fdofstream;
};

TEST(Application, StreamsThroughTheLibraryAndAClassOfItsOwn)
{
    std::unique_ptr<std::ostream> journal = std::make_unique<Journal>("api.txt", std::ios::binary);
    *journal << "cyan " << 40;
    journal.reset();
    fdifstream back("api.txt", 32);
    std::string ink;
    EXPECT_TRUE(back >> ink);
    EXPECT_EQ(ink, "cyan");
    EXPECT_NE(dynamic_cast<streambufExt *>(back.rdbuf()), nullptr);
    EXPECT_EQ(streambufExt::FileBufSize, 1U);
    back.close();
    EXPECT_EQ(std::remove("api.txt"), 0);
}

TEST(Application, SeesWhichElementOfAListItHasAndCatchesTheLibrarysExceptions)
{
    TObjEl object(nullptr);
    TElement *const element = &object;
    EXPECT_NE(dynamic_cast<TObjEl *>(element), nullptr);
    EXPECT_THROW(TCriticSect(std::string(256, 'x').c_str(), 1), std::out_of_range);
}

}  // namespace
