#include "teska_time.h"

#include "../check.h"

void example_teska_time(void);
void example_teska_time(void)
{
#include "teska_time_1.inc"
    CHECK(passed >= 19 && passed < 5000);
}
