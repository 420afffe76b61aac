/* icc_table - turn an ICC profile into a table
 *
 *     icc_table [output.icc]
 *
 * Little CMS reads the profile and is asked once for each vertex; the pixels then go through the table. Without a
 * profile the table leads from sRGB to Lab. */
#include <lcms2.h>
#include <teska/md_tetras.h>

#include <stdio.h>
#include <stdlib.h>

enum { points = 33, pixels = 10000, most_channels = 15 };

int main(int argc, char **argv)
{
    cmsHPROFILE srgb = cmsCreate_sRGBProfile();
    cmsHPROFILE output = argc > 1 ? cmsOpenProfileFromFile(argv[1], "r") : cmsCreateLab4Profile(NULL);
    if (output == NULL)
        return fprintf(stderr, "%s: no profile\n", argv[1]), 1;
    const int channels = (int)cmsChannelsOf(cmsGetColorSpace(output));
    const cmsUInt32Number format = COLORSPACE_SH(PT_ANY) | CHANNELS_SH(channels) | BYTES_SH(2);
    cmsHTRANSFORM transform = cmsCreateTransform(srgb, TYPE_RGB_16, output, format, INTENT_RELATIVE_COLORIMETRIC,
                                                 cmsFLAGS_NOCACHE | cmsFLAGS_BLACKPOINTCOMPENSATION);
    md_tetras *table = channels <= most_channels ? md_tetras_new(3, channels, points) : NULL;
    if (transform == NULL || table == NULL)
        return fprintf(stderr, "no way from sRGB to this profile\n"), 1;

    int coord[3] = {0, 0, 0};
    do {
        unsigned short rgb[3];
        unsigned short *colour = md_tetras_vertex_get(table, coord, rgb);
        cmsDoTransform(transform, rgb, colour, 1);
    } while (md_tetras_scan_vertex(table, coord) != 0);

    /* How far is the table from the profile? */
    unsigned short *rgb = malloc(pixels * 3 * sizeof *rgb);
    unsigned short *exact = malloc((size_t)pixels * channels * sizeof *exact);
    unsigned short *found = malloc((size_t)pixels * channels * sizeof *found);
    if (rgb == NULL || exact == NULL || found == NULL)
        return 1;
    unsigned state = 1;
    for (int i = 0; i < pixels * 3; ++i)
        rgb[i] = (unsigned short)((state = state * 1664525u + 1013904223u) >> 16);
    cmsDoTransform(transform, rgb, exact, pixels);
    const unsigned short *in[3] = {rgb, rgb + 1, rgb + 2};
    unsigned short *out[most_channels];
    for (int c = 0; c < channels; ++c)
        out[c] = found + c;
    md_tetras_interp(table, in, 3, out, channels, pixels, NULL, 0);

    double sum = 0, largest = 0;
    for (int i = 0; i < pixels * channels; ++i) {
        const double difference = abs(exact[i] - found[i]) / 655.35;
        sum += difference;
        largest = difference > largest ? difference : largest;
    }
    printf("%d channels, %d vertices: off by %.3f %% in the mean, %.2f %% at most\n", channels,
           md_tetras_get_nrpoints(table), sum / (pixels * channels), largest);
    free(rgb);
    free(exact);
    free(found);
    md_tetras_kill(table);
    cmsDeleteTransform(transform);
    cmsCloseProfile(output);
    cmsCloseProfile(srgb);
    return 0;
}
