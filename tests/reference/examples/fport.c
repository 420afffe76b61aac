#include "wem.h"

EXAMPLE(fport)
{
#include "fport_1.inc"
    CHECK(strcmp(path, "C:\\out\\jobs\\new\\page") == 0);
}
