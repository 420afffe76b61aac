EXAMPLE(volume_export)
{
    list_rec *points = list_new(10, sizeof(tetra_point), 0);
    static const tetra_point corners[] = {{0, 0, 0, 1}, {100, 0, 0, 2}, {50, 100, 0, 3}, {50, 0, 100, 4}};
    for (int i = 0; i < 4; ++i)
        list_insert(points, &corners[i]);
#include "volume_export_1.inc"
    FILE *edges = fopen("edges.txt", "r");
    CHECK(edges != NULL);
    fclose(edges);
    tetra_volume_kill(gamut);
    list_kill(points);
}
