/* look_on_png - apply a 3D look to a picture
 *
 *     look_on_png warm.cube in.png out.png
 *
 * A .cube file lists R * R * R colours of 0 .. 1, red fastest. They go into a table of 16 bits, through which the bytes
 * of the picture are converted without the steps of a byte table. */
#include <png.h>
#include <teska/error_mess.h>
#include <teska/md_tetras.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static md_tetras *read_look(const char *path)
{
    FILE *file = fopen(path, "r");
    char line[256];
    md_tetras *table = NULL;
    int points = 0, coord[3] = {0, 0, 0}, more = 1;
    while (file != NULL && fgets(line, sizeof line, file) != NULL) {
        double rgb[3];
        if (sscanf(line, "LUT_3D_SIZE %d", &points) == 1 && table == NULL)
            table = md_tetras_new(3, 3, points);
        else if (table != NULL && more && sscanf(line, "%lf %lf %lf", &rgb[0], &rgb[1], &rgb[2]) == 3) {
            /* The walk runs coordinate 0 fastest: the order of the file. */
            unsigned short *vertex = md_tetras_vertex_get(table, coord, NULL);
            for (int c = 0; c < 3; ++c)
                vertex[c] = (unsigned short)((rgb[c] < 0 ? 0 : rgb[c] > 1 ? 1 : rgb[c]) * 65535 + 0.5);
            more = md_tetras_scan_vertex(table, coord);
        }
    }
    if (file != NULL)
        fclose(file);
    if (more) /* a colour is missing */
        table = md_tetras_kill(table);
    return table;
}

int main(int argc, char **argv)
{
    if (argc != 4)
        return fprintf(stderr, "usage: look_on_png <look.cube> <in.png> <out.png>\n"), 2;
    error_set(2); /* messages wait for error_get */
    md_tetras *look = read_look(argv[1]);
    if (look == NULL) {
        const char *reason = error_get();
        return fprintf(stderr, "%s: %s\n", argv[1], reason != NULL ? reason : "no look, or not all of it"), 1;
    }

    png_image picture;
    memset(&picture, 0, sizeof picture);
    picture.version = PNG_IMAGE_VERSION;
    png_image_begin_read_from_file(&picture, argv[2]);
    picture.format = PNG_FORMAT_RGB;
    unsigned char *pixels = PNG_IMAGE_FAILED(picture) ? NULL : malloc(PNG_IMAGE_SIZE(picture));
    if (pixels == NULL || png_image_finish_read(&picture, NULL, pixels, 0, NULL) == 0)
        return fprintf(stderr, "%s: %s\n", argv[2], picture.message), 1;

    for (unsigned y = 0; y < picture.height; ++y) {
        unsigned char *line = pixels + (size_t)y * 3 * picture.width;
        const unsigned char *in[3] = {line, line + 1, line + 2};
        unsigned char *out[3] = {line, line + 1, line + 2}; /* in place */
        md_tetras_interp_b(look, in, 3, out, 3, (int)picture.width, NULL, 0);
    }
    int written = png_image_write_to_file(&picture, argv[3], 0, pixels, 0, NULL);
    if (written == 0)
        fprintf(stderr, "%s: %s\n", argv[3], picture.message);
    else
        printf("%u x %u pixels through %d colours\n", picture.width, picture.height, md_tetras_get_nrpoints(look));
    free(pixels);
    md_tetras_kill(look);
    return written == 0;
}
