#include "zuk.h"

#include "../check.h"

void example_zuk(void);
void example_zuk(void)
{
    {
#include "zuk_1.inc"
    }
}
