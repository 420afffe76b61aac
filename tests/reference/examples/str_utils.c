EXAMPLE(str_utils)
{
    int found = 0;
#define DOTS_1 found = strcmp(value, "600") == 0
#include "str_utils_1.inc"
    CHECK(found);
}
