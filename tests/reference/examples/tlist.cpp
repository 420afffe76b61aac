#include "tlist.h"

#include "../check.h"

namespace
{
#define Ink ListedInk
#include "tlist_1.inc"
}  // namespace

extern "C" void example_tlist()
{
    int seen = 0;
#define DOTS_1 ++seen
#include "tlist_2.inc"
    CHECK(seen == 1 && inks.Count() == 0);
}
