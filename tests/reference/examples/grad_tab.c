EXAMPLE(grad_tab)
{
    {
#include "grad_tab_1.inc"
        CHECK(g != NULL);
        grad_tab_kill(g);
#include "grad_tab_2.inc"
        CHECK(g != NULL && grad_tab_do(g, line, 1, line, 1, 1) == 0);
        grad_tab_kill(g);
    }
}
