static int add_others(list_rec *points)
{
    static const tetra_point more[] = {{100, 0, 0, 2}, {50, 100, 0, 3}, {50, 0, 100, 4}, {50, -80, -80, 5}};
    for (int i = 0; i < 4; ++i)
        list_insert(points, &more[i]);
    return list_num(points) - 1;
}

EXAMPLE(tetra)
{
#define list_insert(l, p) (list_insert(l, p), seen = add_others(l))
#include "tetra_1.inc"
#undef list_insert
    CHECK(seen == 4 && t != NULL);
    CHECK(w[0] >= 0 && w[1] >= 0 && w[2] >= 0 && w[0] + w[1] + w[2] <= 1);
}
