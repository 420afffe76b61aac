// Colour tables of classes when memory is short
#include "support/owned_clut.h"

#include "faults/sweep.h"

#include <new>

using namespace teska_test;

namespace
{

// Nothing is reported: the failure is an exception.
bool clut(int inputs)
{
    unsigned char grid[] = {2, 2, 2, 2, 2, 2, 2};
    float values[128] = {};
    try {
        return OwnedClut(static_cast<unsigned char>(inputs), grid, 1, 0, values).NumPoints() == 1U << inputs;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

TEST(Clut, KeepsNothingWhenMemoryIsShort)
{
    for (const int inputs : {3, 7})
        EXPECT_EQ(failures_of([=] { return inputs; }, clut, [](int) { return std::string(); }), Reported{{}}) << inputs;
}

}  // namespace
