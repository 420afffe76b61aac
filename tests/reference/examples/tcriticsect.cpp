static int guarded_step()
{
    const int busy = 1;
    reference_make_folder("profiles");
#include "tcriticsect_1.inc"
    return 0;
}

EXAMPLE(tcriticsect) { CHECK(guarded_step() == 0); }
