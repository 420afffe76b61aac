#include <new>

namespace
{
int closed;
void close_font(void *) { ++closed; }
#include "tobjfac_1.inc"
}  // namespace

EXAMPLE(tobjfac)
{
    Fonts fonts;
    int object = 0, scanned = 0;
    void *font = &object;
#define DOTS_1 ++scanned
#include "tobjfac_2.inc"
    CHECK(scanned == 1 && closed == 1);
}
