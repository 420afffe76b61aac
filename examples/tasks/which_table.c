/* which_table - what an identity does to a picture: in byte tables and 16-bit tables of several sizes
 *
 *     which_table photograph.png
 *
 * A table that should change nothing shows its own error. Memory is that of the vertices, speed that of one
 * core while it works for the program. */
#include <png.h>
#include <teska/md_tetrab.h>
#include <teska/md_tetras.h>
#include <teska/wem.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static unsigned char *pixels, *result;
static int count; /* of pixels */

static void report(const char *kind, int points, double kilobytes, int milliseconds, int rounds)
{
    int changed = 0, most = 0;
    for (int i = 0; i < 3 * count; i += 3) {
        changed += memcmp(result + i, pixels + i, 3) != 0;
        for (int k = i; k < i + 3; ++k)
            most = abs(result[k] - pixels[k]) > most ? abs(result[k] - pixels[k]) : most;
    }
    printf("%-8s %6d %8.0f KiB %9.1f %% by up to %d %8.0f million a second\n", kind, points, kilobytes,
           100.0 * changed / count, most, count / 1000.0 * rounds / milliseconds);
}

static void try_tables(int points, int wide)
{
    md_tetrab *bytes = md_tetrab_new(3, 3, points);
    md_tetras *words = md_tetras_new(3, 3, points);
    int coord[3] = {0, 0, 0}, vertices, rounds = 0;
    do {
        unsigned char rgb[3];
        unsigned short rgb_16[3];
        memcpy(md_tetrab_vertex_get(bytes, coord, rgb), rgb, sizeof rgb);
        memcpy(md_tetras_vertex_get(words, coord, rgb_16), rgb_16, sizeof rgb_16);
    } while (md_tetras_scan_vertex(words, coord) != 0);
    if (wide)
        md_tetras_dataptr(words, &vertices);
    else
        md_tetrab_dataptr(bytes, &vertices);
    const int start = cputime();
    do {
        unsigned char *in[3] = {pixels, pixels + 1, pixels + 2}, *out[3] = {result, result + 1, result + 2};
        if (wide)
            md_tetras_interp_b(words, (const unsigned char *const *)in, 3, out, 3, count, NULL, 0);
        else
            md_tetrab_interp(bytes, in, 3, out, 3, count, NULL, 0);
        ++rounds;
    } while (cputime() - start < 200);
    report(wide ? "16 bits" : "bytes", points, vertices / 1024.0 * (wide ? 2 : 1), cputime() - start, rounds);
    md_tetrab_kill(bytes);
    md_tetras_kill(words);
}

int main(int argc, char **argv)
{
    png_image picture;
    memset(&picture, 0, sizeof picture);
    picture.version = PNG_IMAGE_VERSION;
    if (argc != 2 || png_image_begin_read_from_file(&picture, argv[1]) == 0)
        return fprintf(stderr, "usage: which_table <picture.png>\n"), 2;
    picture.format = PNG_FORMAT_RGB;
    pixels = malloc(PNG_IMAGE_SIZE(picture));
    result = malloc(PNG_IMAGE_SIZE(picture));
    if (pixels == NULL || result == NULL || png_image_finish_read(&picture, NULL, pixels, 0, NULL) == 0)
        return fprintf(stderr, "%s: %s\n", argv[1], picture.message), 1;
    count = (int)(picture.width * picture.height);
    static const int sizes[] = {9, 16, 17, 18, 33, 52, 65};
    for (int i = 0; i < 7; ++i)
        try_tables(sizes[i], 0);
    for (int i = 0; i < 7; ++i)
        try_tables(sizes[i], 1);
    return 0;
}
