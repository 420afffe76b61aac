#include "check.h"
#include "teska_colour.h"

/* Two points and room for what four channels make of them, as the conversions take them. */
#define POINTS(type, type_in)                                                                                          \
    type samples[6] = {50}, result[8] = {1, 1, 1, 1, 1, 1, 1, 1};                                                      \
    type_in *in[3] = {samples, samples + 1, samples + 2};                                                              \
    type *out[4] = {result, result + 1, result + 2, result + 3}
#define EACH(count, value)                                                                                             \
    for (int i = 0; i < (count); ++i)                                                                                  \
    (value)

EXAMPLES(colour)
{
    const int count = 1, width = 2;
    const unsigned char tags[2] = {0, 2};
    {
        POINTS(double, const double);
        clut_table_1(EACH(17 * 17 * 17 * 4, values[i] = 0.25f), NEAR(result[3], 0.25, 1e-6), CHECK(table == NULL));
    }
    {
        POINTS(unsigned char, void);
        md_tetrab *table = md_tetrab_new(3, 4, 2);
        const int64_t shape[2] = {1, 2}, in_strides[2] = {6, 3}, out_strides[2] = {8, 4};
        void **rgb = in, *cmyk[4] = {out[0], out[1], out[2], out[3]};
        convert_rows_1(EACH(8, CHECK(result[i] == 0)));
        md_tetrab_kill(table);
    }
    {
        POINTS(unsigned char, unsigned char);
        md_tetrab_1(cmyk[0] = cmyk[1] = cmyk[2] = cmyk[3] = 9, EACH(8, CHECK(result[i] == 9)));
    }
    {
        POINTS(double, double);
        md_tetrad_1(lab[0], NEAR(result[0], 50, 1e-9));
    }
    {
        POINTS(unsigned short, const unsigned short);
        md_tetras_1(cmyk[0] = cmyk[1] = cmyk[2] = cmyk[3] = 9, EACH(8, CHECK(result[i] == 9)));
        mmd_tetras_1(EACH(size, data[i] = (unsigned short)(100 * (k + 1))),
                     EACH(8, CHECK(result[i] == (i < 4 ? 100 : 300))));
    }
}
