#include "str_utils.h"

#include "../check.h"

void example_str_utils(void);
void example_str_utils(void)
{
    int found = 0;
#define DOTS_1 found = strcmp(value, "600") == 0
#include "str_utils_1.inc"
    CHECK(found);
}
