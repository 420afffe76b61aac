static void write_component(int k, const unsigned char *line)
{
    CHECK(k >= 0 && k < 3 && line[1000] == 50);
    ++seen;
}
#include "fusm_1.inc"

EXAMPLE(fusm)
{
    enum { lines = 6 };
    static unsigned char image[lines][3 * 2048];
    memset(image, 50, sizeof image);
#include "fusm_2.inc"
    CHECK(seen == 3 * lines);
}
