namespace
{
struct Lab {
    double L, a, b;
};
}  // namespace

EXAMPLE(tconvexhull)
{
    const Lab measured[] = {{0, 0, 0}, {100, 0, 0}, {50, 100, 0}, {50, 0, 100}, {50, -80, -80}};
#define DOTS_1 CHECK(0)
#define DOTS_2 ++seen
#include "tconvexhull_1.inc"
    CHECK(seen);
}
