EXAMPLE(teska_time)
{
#include "teska_time_1.inc"
    CHECK(passed >= 19 && passed < 5000);
}
