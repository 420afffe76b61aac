#include "check.h"
#include "teska_colour.h"
#include "teska_core.h"
#include "teska_files.h"
#include "teska_geometry.h"
#include "teska_numerics.h"
#include "ttriangulartopsurface_1.inc"

#include <new>
#include <vector>

namespace
{

#include "tlist_1.inc"
void close_font(void *) { ++seen; }
#include "tobjfac_1.inc"

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
    reference_make_folder("profiles");
#include "tcriticsect_1.inc"
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
    // The values of a table live as long as some copy may.
#define DOTS_1 values.assign(values.size(), 0.25f)
#define THEN                                                                                                           \
    NEAR(ink[0], 0.25, 1e-6);                                                                                          \
    static const CLUT copy(table);                                                                                     \
    CHECK(copy.NumPoints() == 17 * 17 * 17)
#include "clut_1.inc"
#define DOTS_1 CHECK(0)
#define THEN CHECK(ink == "cyan")
#include "fdstream_1.inc"
#define DOTS_1 CHECK(0)
#include "filepacker_1.inc"
#define DOTS_1 CHECK(++seen == 1), CHECK(bytes == 4), CHECK(strcmp(name, "index.txt") == 0)
#define DOTS_2 CHECK(0)
#define THEN CHECK(seen == 1)
#include "filepacker_2.inc"
#define DOTS_1 CHECK(0)
#define DOTS_2 ++seen
#define THEN CHECK(seen)
#include "tconvexhull_1.inc"
    CHECK(guarded_step() == 0);
#define THEN CHECK(root > sample), CHECK(results[0] < results[1])
#include "tfastpow_1.inc"
#define DOTS_1 ++seen
#define THEN CHECK(seen == 1), CHECK(inks.Count() == 0)
#include "tlist_2.inc"
#define DOTS_1 ++object
#define THEN CHECK(object == 1), CHECK(seen == 1)
#include "tobjfac_2.inc"
#define THEN NEAR_3(lab, 0.01, 100, 53.03, 53.03), CHECK(x == 150), CHECK(y == 0)
#include "tplane_1.inc"
#define DOTS_1 CHECK(hit.item == &screen[1]), ++seen
#define THEN CHECK(seen == 1), CHECK(canvas == 3)
#include "tquadtree_1.inc"
#define THEN CHECK(first >= 0 && first <= 1), CHECK(replay.Generate() == noise.Generate())
#include "tran3_1.inc"
    for (int i = 0; i < 3000; ++i)
        lab[i] = i % 3 == 0 ? 50 : 5;
#define DOTS_1 CHECK(penalty[0] == 0), object = 7
#define DOTS_2 ++seen
#define THEN CHECK(object == 7), CHECK(seen > 0)
#include "ttriangulartopsurface_2.inc"
}
