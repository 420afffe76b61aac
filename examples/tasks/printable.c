/* printable - is this colour printable, and which one is the nearest that is?
 *
 *     printable [L a b]
 *
 * The gamut is the convex hull of what was measured. Here a press of three inks is modelled in place of a file. */
#include <teska/convex_hull.h>
#include <teska/error_mess.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

/* Lab of paper and of full cyan, magenta, yellow and their overprints, as bits: 1 cyan, 2 magenta, 4 yellow. */
static const double primaries[8][3] = {{95, 0, -2},  {55, -37, -50}, {48, 74, -3}, {24, 22, -46},
                                       {89, -5, 93}, {50, -68, 25},  {47, 68, 48}, {23, 0, 0}};

/* Neugebauer's equations: each point of paper has one of the eight colours. */
static void press(const double ink[3], double lab[3])
{
    lab[0] = lab[1] = lab[2] = 0;
    for (int k = 0; k < 8; ++k) {
        double share = 1;
        for (int i = 0; i < 3; ++i)
            share *= (k >> i & 1) != 0 ? ink[i] : 1 - ink[i];
        for (int c = 0; c < 3; ++c)
            lab[c] += share * primaries[k][c];
    }
}

static void ask(const convex_hull *gamut, const double colour[3])
{
    double nearest[3], distance;
    printf("%6.1f %6.1f %6.1f  ", colour[0], colour[1], colour[2]);
    if (convex_hull_inside(gamut, colour))
        printf("printable\n");
    else if (convex_hull_nearest(gamut, colour, nearest, &distance, NULL, NULL) == 0)
        printf("%.1f away from %.1f %.1f %.1f\n", distance, nearest[0], nearest[1], nearest[2]);
}

int main(int argc, char **argv)
{
    error_set(2); /* messages wait for error_get */
    convex_hull *gamut = convex_hull_new();
    if (gamut == NULL)
        return fprintf(stderr, "%s\n", error_get()), 1;
    for (int i = 0; i < 9 * 9 * 9; ++i) {
        const double ink[3] = {i % 9 / 8.0, i / 9 % 9 / 8.0, i / 81 / 8.0};
        double lab[3];
        press(ink, lab);
        if (convex_hull_add(gamut, lab) != 0)
            return fprintf(stderr, "%s\n", error_get()), 1;
    }
    if (convex_hull_construct(gamut) != 0)
        return fprintf(stderr, "%s\n", error_get()), 1;
    printf("%d patches, %d faces\n", convex_hull_get_nr_points(gamut), convex_hull_get_nr_faces(gamut));

    const double grey[3] = {60, 0, 0}, red[3] = {45, 60, 35}, neon[3] = {88, -75, 80};
    if (argc == 4) {
        const double colour[3] = {atof(argv[1]), atof(argv[2]), atof(argv[3])};
        ask(gamut, colour);
    } else {
        ask(gamut, grey);
        ask(gamut, red);
        ask(gamut, neon);
    }
    convex_hull_kill(gamut);
    return 0;
}
