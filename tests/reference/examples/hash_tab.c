#include "hash_tab.h"

#include "../check.h"
#include "hash_tab_1.inc"

void example_hash_tab(void);
void example_hash_tab(void)
{
    unsigned id = 7;
    double weight = 2.5;
#include "hash_tab_2.inc"
    CHECK(table == NULL && slots >= 500);
}
