struct job {
    int number;
};
static int ran;
static void run(const struct job *job) { ran += job->number; }

EXAMPLE(itemfifo)
{
    struct job job = {5};
#define DOTS_1 CHECK(0)
#include "itemfifo_1.inc"
    CHECK(ran == 5);
}
