EXAMPLE(flock)
{
    int alone = 0;
#define DOTS_1 CHECK(0)
#define DOTS_2 alone = 1
    reference_make_folder("spool");
#include "flock_1.inc"
    CHECK(alone);
}
