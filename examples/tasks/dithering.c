/* dithering - a picture in few levels without bands
 *
 *     dithering out.png [levels [in.png]]
 *
 * Without a picture a ramp of colours is drawn. */
#include <png.h>
#include <teska/rdither.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static unsigned char *ramp(png_image *picture)
{
    picture->width = 360;
    picture->height = 120;
    unsigned char *pixels = malloc(PNG_IMAGE_SIZE(*picture));
    for (unsigned y = 0; pixels != NULL && y < picture->height; ++y)
        for (unsigned x = 0; x < picture->width; ++x) {
            unsigned char *pixel = pixels + 3 * ((size_t)y * picture->width + x);
            pixel[0] = (unsigned char)(x * 255 / 359);
            pixel[1] = (unsigned char)(y * 255 / 119);
            pixel[2] = (unsigned char)(255 - x * 255 / 359);
        }
    return pixels;
}

int main(int argc, char **argv)
{
    if (argc < 2 || argc > 4)
        return fprintf(stderr, "usage: dithering <out.png> [levels [in.png]]\n"), 2;
    const int levels = argc > 2 ? atoi(argv[2]) : 4;
    png_image picture;
    memset(&picture, 0, sizeof picture);
    picture.version = PNG_IMAGE_VERSION;
    unsigned char *pixels = NULL;
    if (argc == 4 && png_image_begin_read_from_file(&picture, argv[3]) == 0)
        return fprintf(stderr, "%s: %s\n", argv[3], picture.message), 1;
    picture.format = PNG_FORMAT_RGB;
    if (argc < 4)
        pixels = ramp(&picture);
    else if ((pixels = malloc(PNG_IMAGE_SIZE(picture))) != NULL &&
             png_image_finish_read(&picture, NULL, pixels, 0, NULL) == 0)
        return fprintf(stderr, "%s: %s\n", argv[3], picture.message), 1;
    rdither *cell = levels > 1 ? rdither_new(255, (unsigned)levels - 1) : NULL;
    if (cell == NULL || pixels == NULL)
        return fprintf(stderr, "2 to 255 levels\n"), 1;

    double before = 0, after = 0;
    for (unsigned y = 0; y < picture.height; ++y)
        for (unsigned x = 0; x < 3 * picture.width; ++x) {
            unsigned char *sample = pixels + (size_t)y * 3 * picture.width + x;
            before += *sample;
            /* Each component has the cell at another place, so that their dots do not fall together. */
            const int level = rdither_val(cell, y + x % 3, x / 3 + 2 * (x % 3), *sample);
            *sample = (unsigned char)(level * 255 / (levels - 1));
            after += *sample;
        }
    const double samples = 3.0 * picture.width * picture.height;
    printf("mean %.1f before, %.1f after\n", before / samples, after / samples);
    rdither_kill(cell);
    const int written = png_image_write_to_file(&picture, argv[1], 0, pixels, 0, NULL);
    if (written == 0)
        fprintf(stderr, "%s: %s\n", argv[1], picture.message);
    free(pixels);
    return written == 0;
}
