EXAMPLE(str_utils)
{
#define DOTS_1 seen = strcmp(value, "600") == 0
#include "str_utils_1.inc"
    CHECK(seen);
}
