EXAMPLE(clut_table)
{
    const double point[3] = {0.25, 0.5, 1};
    double ink[4];
    const double *const in[3] = {point, point + 1, point + 2};
    double *const out[4] = {ink, ink + 1, ink + 2, ink + 3};
    const int count = 1;
#define DOTS_1                                                                                                         \
    for (int i = 0; i < 17 * 17 * 17 * 4; ++i)                                                                         \
    values[i] = 0.25f
#include "clut_table_1.inc"
    NEAR(ink[3], 0.25, 1e-6);
    CHECK(table == NULL);
}
