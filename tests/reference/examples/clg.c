EXAMPLE(clg)
{
    double cmyk[81][4], lab[81][3], device[4], dist = -1;
    enum { patches = 81 };
    int i;
    for (i = 0; i < patches; ++i) {
        for (int ink = 0, digits = i; ink < 4; ++ink, digits /= 3)
            cmyk[i][ink] = digits % 3 * 50;
        lab[i][0] = 100 - 0.15 * (cmyk[i][0] + cmyk[i][1] + cmyk[i][2]) - 0.5 * cmyk[i][3];
        lab[i][1] = 0.4 * (cmyk[i][1] - cmyk[i][0]);
        lab[i][2] = 0.4 * (cmyk[i][2] - cmyk[i][0]);
    }
    const double wanted[3] = {60, 5, 5};
#define DOTS_1 ++seen
#include "clg_1.inc"
    CHECK(seen || dist == -1 || dist >= 0);
}
