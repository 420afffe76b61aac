EXAMPLE(teska_version)
{
    CHECK(teska_version_number() == TESKA_VERSION_NUMBER);
    /* As if the headers were those of a later version. */
#undef TESKA_VERSION_NUMBER
#define TESKA_VERSION_NUMBER TESKA_VERSION_NUMBER_OF(9, 0, 0)
#include "teska_version_1.inc"
}
