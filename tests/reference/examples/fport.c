#include "fport.h"

#include "../check.h"
#include "wem.h"

void example_fport(void);
void example_fport(void)
{
    {
#include "fport_1.inc"
        CHECK(strcmp(path, "C:\\out\\jobs\\new\\page") == 0);
    }
}
