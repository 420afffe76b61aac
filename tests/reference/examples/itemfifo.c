struct job {
    int number;
};
static void run(const struct job *job) { seen += job->number; }

EXAMPLE(itemfifo)
{
    struct job job = {5};
#define DOTS_1 CHECK(0)
#include "itemfifo_1.inc"
    CHECK(seen == 5);
}
