#include "grad_tab.h"

#include "../check.h"

void example_grad_tab(void);
void example_grad_tab(void)
{
    {
#include "grad_tab_1.inc"
        CHECK(g != NULL);
        grad_tab_kill(g);
    }
}
