#include <error_mess.h>
#include <md_tetrab.h>

#include <cstdio>

int main()
{
    error_set(2);                                // failures wait, as lines of text, for error_get
    md_tetrab *table = md_tetrab_new(3, 1, 17);  // RGB to grey, 17 grid points along each input
    if (table == nullptr)
        return std::puts(error_get()), 1;
    int at[3] = {0, 0, 0};
    unsigned char rgb[3];
    do {  // walk over all 17 x 17 x 17 vertices
        unsigned char *grey = md_tetrab_vertex_get(table, at, rgb);
        *grey = static_cast<unsigned char>((2 * rgb[0] + 7 * rgb[1] + rgb[2]) / 10);
    } while (md_tetrab_scan_vertex(table, at) != 0);

    unsigned char line[] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 90, 90, 90}, out[4];
    unsigned char *in_at[] = {line, line + 1, line + 2}, *out_at[] = {out};
    md_tetrab_interp(table, in_at, 3, out_at, 1, 4, nullptr, 0.0);
    std::printf("red %d, green %d, blue %d, grey %d\n", out[0], out[1], out[2], out[3]);
    md_tetrab_kill(table);
}
