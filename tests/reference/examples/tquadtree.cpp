namespace
{
struct Dot {
    double x, y;
};
int draw(const TQuadHit *, void *canvas) { return ++*static_cast<int *>(canvas), 0; }
}  // namespace

EXAMPLE(tquadtree)
{
    Dot screen[3] = {{1, 1}, {2, 2}, {50, 50}};
    const struct {
        double x, y;
    } mouse = {2.5, 2};
    int canvas = 0;
    TQuadHit found = {};
#define DOTS_1 found = hit
#include "tquadtree_1.inc"
    CHECK(found.item == &screen[1] && canvas == 3);
}
