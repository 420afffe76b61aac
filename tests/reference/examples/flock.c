EXAMPLE(flock)
{
#define DOTS_1 CHECK(0)
#define DOTS_2 ++seen
    reference_make_folder("spool");
#include "flock_1.inc"
    CHECK(seen);
}
