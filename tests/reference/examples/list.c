EXAMPLE(list)
{
#define DOTS_1 CHECK(0)
#include "list_1.inc"
}
