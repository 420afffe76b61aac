#include "check.h"
#include "teska_image.h"

fir_1((++seen, (void)component));
struct picture {
    int width, height, old;
    unsigned char *row[32];
};
flood_1((seen += xLast - xFirst + 1, memset(((struct picture *)user)->row[y] + xFirst, 1, xLast - xFirst + 1u)));
static void write_component(int k, const unsigned char *line)
{
    CHECK(k >= 0 && k < 3), CHECK(line[1000] == 50), ++seen;
}
fusm_1();
#define consume consume_line
izat_1((++*(int *)context, (void)line));
#undef consume
ibilin_1((++seen, (void)component));

EXAMPLES(image)
{
    enum { srcLines = 3, srcWidth = 4, dstLines = 6, dstWidth = 8, height = 4, width = 5, lines = 6 };
    static unsigned char line[height][3 * width], image[lines][3 * 2048], rows[32][32], rgb[srcLines * 3 * srcWidth];
    unsigned char made[3][3 * dstWidth], *out[3] = {made[0], made[1], made[2]}, **row = out;
    struct picture picture = {32, 32, 0, {0}};
    int y, job = 0;
    for (y = 0; y < 32; ++y)
        picture.row[y] = rows[y];
    rows[8][3] = 1;
    memset(image, 50, sizeof image);
    memset(rgb, 90, sizeof rgb);
    fir_2(CHECK(seen == 3 * height));
    flood_2(CHECK(seen == 32 * 32 - 1));
    fusm_2(CHECK(seen == 3 * lines));
    ibilin_2(CHECK(seen == 3 * dstLines), CHECK(row[2][dstWidth - 1] == 90));
    {
        unsigned char *row = made[0];
#define consume consume_line
        izat_2(CHECK(job == dstLines), CHECK(row[3 * dstWidth - 1] == 90));
    }
    unsigned char *pixels = malloc(6000u * 4000u * 3), *result = calloc(1500u * 1000u, 3);
    memset(pixels, 77, 6000u * 4000u * 3);
    whole_image_1(CHECK(0), CHECK(result[1500u * 1000u * 3 - 1] == 77));
    free(pixels);
    free(result);
}
