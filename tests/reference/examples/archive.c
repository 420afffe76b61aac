EXAMPLE(archive)
{
    const char *text = "cyan, magenta";
    const int length = 13;
    {
#include "archive_1.inc"
    }
#define DOTS_2 CHECK(strcmp(name, "index.txt") == 0 && bytes == 13 && memcmp(content, "cyan, magenta", 13) == 0)
#include "archive_2.inc"
    CHECK(archive_get_error(in, NULL) == 9);
    archive_kill(in);
}
