namespace
{
#define Ink ListedInk
#include "tlist_1.inc"
}  // namespace

EXAMPLE(tlist)
{
#define DOTS_1 ++seen
#include "tlist_2.inc"
    CHECK(seen == 1 && inks.Count() == 0);
}
