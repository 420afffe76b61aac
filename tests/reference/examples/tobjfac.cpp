#include <new>

namespace
{
void close_font(void *) { ++seen; }
#include "tobjfac_1.inc"
}  // namespace

EXAMPLE(tobjfac)
{
    Fonts fonts;
    int object = 0;
    void *font = &object;
#define DOTS_1 ++object
#include "tobjfac_2.inc"
    CHECK(object == 1 && seen == 1);
}
