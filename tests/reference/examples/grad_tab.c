#include "grad_tab.h"

#include "../check.h"

void example_grad_tab(void);
void example_grad_tab(void)
{
    {
#include "grad_tab_1.inc"
        CHECK(g != NULL);
        grad_tab_kill(g);
#if __has_include("grad_tab_2.inc")
#    include "grad_tab_2.inc"
        CHECK(g != NULL && grad_tab_do(g, line, 1, line, 1, 1) == 0);
        grad_tab_kill(g);
#endif
    }
}
