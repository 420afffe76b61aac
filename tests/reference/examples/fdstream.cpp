EXAMPLE(fdstream)
{
#define DOTS_1 CHECK(0)
#include "fdstream_1.inc"
    CHECK(ink == "cyan");
}
