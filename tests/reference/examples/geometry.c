#include "check.h"
#include "teska_geometry.h"
top_surface_1();

/* A tetrahedron around (50, 10, 10). */
static int add_corners(list_rec *points)
{
    static const tetra_point corners[] = {{100, 0, 0, 2}, {50, 100, 0, 3}, {50, 0, 100, 4}, {50, -80, -80, 5}};
    for (int i = 0; i < 4; ++i)
        list_insert(points, &corners[i]);
    return list_num(points);
}

EXAMPLES(geometry)
{
    enum { patches = 81 };
    static double measured[1485][3], cmyk[patches][4], colours[1000][3], norm[3000], penalty[1000];
    const double colour[3] = {50, 70, 100}, wanted[3] = {60, 100, 100};
    double(*lab)[3] = colours, device[4], printable[3], dist = 0;
    void *user = NULL;
    int i, k, corner[3], patch[3];
    for (i = 0; i < patches; ++i) {
        for (int ink = 0, digits = i; ink < 4; ++ink, digits /= 3) {
            cmyk[i][ink] = digits % 3 * 50;
            device[ink] = 1 - cmyk[i][ink] / 100;
        }
        press(user, device, lab[i]);
    }
    clg_1((CHECK(dist > 0), ++seen), CHECK(seen));
    for (i = 0; i < 1485; ++i)
        for (k = 0; k < 3; ++k)
            measured[i][k] = (k == 0 ? i % 11 : k == 1 ? i / 11 % 15 : i / 165) * 10;
#define convex_hull_get_face(hull, face, c) (++seen, convex_hull_get_face(hull, face, c))
    convex_hull_1(CHECK(seen >= 12), NEAR(dist, 20, 1e-9), NEAR(printable[2], 80, 1e-9));
    convex_hull *gamut = convex_hull_new();
    convex_hull_2();
    convex_hull_kill(gamut);
    proj_1(NEAR(dist, 5, 1e-12), NEAR_3(r.point, 1e-12, 2, 3, 0), NEAR_3(r.weight, 1e-12, 0.5, 0.2, 0.3));
#define list_insert(points, black) (list_insert(points, black), seen = add_corners(points))
    tetra_1(CHECK(seen == 5), CHECK(w[0] >= 0 && w[1] >= 0 && w[2] >= 0 && w[0] + w[1] + w[2] <= 1));
#undef list_insert
    {
        double *lab = colours[0];
        top_surface_2(++seen, CHECK(seen), CHECK(penalty[0] == 0));
    }
    list_rec *points = list_new(10, sizeof(tetra_point), 0);
    add_corners(points);
    volume_export_1(CHECK(remove("edges.txt") == 0), tetra_volume_kill(gamut));
    list_kill(points);
}
