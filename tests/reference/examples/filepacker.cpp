EXAMPLE(filepacker)
{
    const char *text = "four";
    const long length = 4;
    {
#define DOTS_1 CHECK(0)
#include "filepacker_1.inc"
    }
#define DOTS_2 CHECK(++seen == 1 && bytes == 4 && strcmp(name, "index.txt") == 0)
#define DOTS_3 CHECK(0)
#include "filepacker_2.inc"
    CHECK(seen == 1);
}
