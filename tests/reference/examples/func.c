static int text_after(const void *element, const void *key)
{
    return strcmp((const char *)element, (const char *)key) >= 0;
}

EXAMPLE(func)
{
    const double density = 1.5;
#define DOTS_1 CHECK(0)
#include "func_1.inc"
}
