EXAMPLE(convex_hull)
{
    static double measured[1485][3];
    for (int p = 0; p < 1485; ++p) {
        measured[p][0] = p % 11 * 10;
        measured[p][1] = p / 11 % 15 * 10;
        measured[p][2] = p / 165 * 10;
    }
    int i, k, corner[3], patch[3];
    double lab[3][3], colour[3] = {50, 70, 100}, printable[3], dist = 0;
#define convex_hull_get_face(hull, face, c) (++seen, convex_hull_get_face(hull, face, c))
#include "convex_hull_1.inc"
#undef convex_hull_get_face
    CHECK(seen >= 12);
    NEAR(dist, 20, 1e-9);
    NEAR(printable[2], 80, 1e-9);
    gamut = convex_hull_new();
#include "convex_hull_2.inc"
    convex_hull_kill(gamut);
}
