/* umbrella - the light side of the gamut of six inks
 *
 * Cyan, magenta, yellow, orange, green and violet: which pairs of inks make the lightest and most saturated colours,
 * and how far does the gamut reach at a hue? */
#include <teska/error_mess.h>
#include <teska/top_surface.h>

#include <math.h>
#include <stdio.h>

enum { inks = 6 };
static const char *const names[inks] = {"cyan", "magenta", "yellow", "orange", "green", "violet"};
/* How much red, green and blue light a full ink lets through. */
static const double through[inks][3] = {{0.05, 0.45, 0.80}, {0.70, 0.05, 0.20}, {0.90, 0.80, 0.03},
                                        {0.95, 0.30, 0.02}, {0.02, 0.55, 0.15}, {0.20, 0.05, 0.55}};

/* 1 is no ink, 0 full ink. Of inks on top of each other each lets through its part of what the others do. */
static int press(void *user, const double *device, double *lab)
{
    (void)user;
    double light[3] = {1, 1, 1};
    for (int i = 0; i < inks; ++i)
        for (int band = 0; band < 3; ++band)
            light[band] *= device[i] + (1 - device[i]) * through[i][band];
    const double x = cbrt(0.434 * light[0] + 0.376 * light[1] + 0.190 * light[2]);
    const double y = cbrt(0.213 * light[0] + 0.715 * light[1] + 0.072 * light[2]);
    const double z = cbrt(0.018 * light[0] + 0.109 * light[1] + 0.873 * light[2]);
    lab[0] = 116 * y - 16;
    lab[1] = 500 * (x - y);
    lab[2] = 200 * (y - z);
    return 0;
}

int main(void)
{
    error_set(2); /* messages wait for error_get */
    const double ramp[3] = {1.0, 0.5, 0.0};
    const double *levels[inks] = {ramp, ramp, ramp, ramp, ramp, ramp};
    const int counts[inks] = {3, 3, 3, 3, 3, 3};
    top_surface *top = top_surface_new(inks, levels, counts, 0, press, NULL, 91);
    if (top == NULL)
        return fprintf(stderr, "%s\n", error_get()), 1;

    printf("%d parts; of two inks alone:\n", top_surface_get_nr_parts(top));
    for (int part = 0; part < top_surface_get_nr_parts(top); ++part) {
        double device[inks], others = 0;
        top_surface_get_part(top, part, device);
        for (int i = 0; i < inks; ++i)
            others += device[i] >= 0 ? 1 - device[i] : 0;
        for (int i = 0; i < inks && others == 0; ++i)
            if (device[i] < 0) /* one of the two that vary */
                printf(" %s", names[i]);
        printf(others == 0 ? "\n" : "");
    }

    /* The most saturated corner of the surface in each sixth of the hues. */
    double chroma[6] = {0}, lightness[6] = {0}, corners[9], coords[9];
    int triangles = 0;
    for (int more = top_surface_next_triangle(top, 1, corners, coords); more >= 0; ++triangles) {
        for (int k = 0; k < 9; k += 3) {
            const double radius = hypot(corners[k + 1], corners[k + 2]);
            const int sixth = (int)(atan2(corners[k + 2], corners[k + 1]) * 0.954929 + 6) % 6;
            if (radius > chroma[sixth])
                chroma[sixth] = radius, lightness[sixth] = corners[k];
        }
        more = top_surface_next_triangle(top, 0, corners, coords);
    }
    printf("%d visible triangles\n", triangles);
    for (int sixth = 0; sixth < 6; ++sixth)
        printf("hue %3d to %3d: chroma %3.0f at lightness %2.0f\n", 60 * sixth, 60 * sixth + 60, chroma[sixth],
               lightness[sixth]);
    top_surface_kill(top);
    return 0;
}
