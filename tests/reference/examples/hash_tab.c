#include "hash_tab_1.inc"

EXAMPLE(hash_tab)
{
    unsigned id = 7;
    double weight = 2.5;
#include "hash_tab_2.inc"
    CHECK(table == NULL && slots >= 500);
}
