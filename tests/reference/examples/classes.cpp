#include "check.h"
#include "teska_colour.h"
#include "teska_core.h"
#include "teska_files.h"
#include "teska_geometry.h"
#include "teska_numerics.h"

#include <new>
#include <vector>

ttriangulartopsurface_1();

namespace
{

tlist_1();
void close_font(void *) { ++seen; }
tobjfac_1();

struct Lab {
    double L, a, b;
};
struct Dot {
    double x, y;
};
int draw(const TQuadHit *, void *canvas) { return ++*static_cast<int *>(canvas), 0; }

int guarded_step()
{
    const int busy = 1;
    rsys_make_folder("profiles");
    tcriticsect_1();
    return 0;
}

}  // namespace

EXAMPLES(classes)
{
    const char *text = "four";
    const long length = 4;
    const unsigned short sample = 30000;
    unsigned short samples[2] = {10000, 20000}, exponents[2] = {0x7FFF, 0x7FFF}, results[2];
    const int n = 2;
    static double lab[3000], norm[3000], penalty[1000];
    int object = 0, canvas = 0, data = 0;
    void *font = &object;
    const Lab measured[] = {{0, 0, 0}, {100, 0, 0}, {50, 100, 0}, {50, 0, 100}, {50, -80, -80}};
    Dot screen[3] = {{1, 1}, {2, 2}, {50, 50}};
    const Dot mouse = {2.5, 2};
    Fonts fonts;
    /* The values of a table live as long as some copy may. */
    clut_1(values.assign(values.size(), 0.25f), NEAR(ink[0], 0.25, 1e-6); static const CLUT copy(table);
           CHECK(copy.NumPoints() == 17 * 17 * 17));
    fdstream_1(CHECK(0), CHECK(ink == "cyan"));
    filepacker_1(CHECK(0));
    filepacker_2((CHECK(++seen == 1), CHECK(bytes == 4), CHECK(strcmp(name, "index.txt") == 0)), CHECK(0),
                 CHECK(seen == 1));
    tconvexhull_1(CHECK(0), ++seen, CHECK(seen));
    CHECK(guarded_step() == 0);
    tfastpow_1(CHECK(root > sample), CHECK(results[0] < results[1]));
    tlist_2(++seen, CHECK(seen == 1), CHECK(inks.Count() == 0));
    tobjfac_2(++object, CHECK(object == 1), CHECK(seen == 1));
    tplane_1(NEAR_3(lab, 0.01, 100, 53.03, 53.03), CHECK(x == 150), CHECK(y == 0));
    tquadtree_1((CHECK(hit.item == &screen[1]), ++seen), CHECK(seen == 1), CHECK(canvas == 3));
    tran3_1(CHECK(first >= 0 && first <= 1), CHECK(replay.Generate() == noise.Generate()));
    for (int i = 0; i < 3000; ++i)
        lab[i] = i % 3 == 0 ? 50 : 5;
    ttriangulartopsurface_2((CHECK(penalty[0] == 0), object = 7), ++seen, CHECK(object == 7), CHECK(seen > 0));
}
