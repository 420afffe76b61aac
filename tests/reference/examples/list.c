#include "list.h"

#include "../check.h"

void example_list(void);
void example_list(void)
{
#define DOTS_1 CHECK(0)
#include "list_1.inc"
}
