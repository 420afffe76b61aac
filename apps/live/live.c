/* live - what the page calls of the library */
#include "live.h"

#include <teska/convex_hull.h>
#include <teska/error_mess.h>
#include <teska/izat.h>
#include <teska/md_tetras.h>
#include <teska/whole_image.h>

#include <limits.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { most_channels = 16, queue_reports = 2 };

static char error_text[256];

/* Calls that may fail begin with the first and leave by the second. */
static void listen(void)
{
    error_set(queue_reports);
    error_text[0] = '\0';
}

static void keep_report(void)
{
    const char *line;
    while ((line = error_get()) != NULL)
        snprintf(error_text, sizeof error_text, "%s", line);
}

const char *live_error(void) { return error_text; }

void *live_alloc(int bytes) { return bytes < 0 ? NULL : malloc(bytes == 0 ? 1 : (size_t)bytes); }

void live_free(void *memory) { free(memory); }

/* ---- Tables ------------------------------------------------------------------------------------------------------ */

struct live_table {
    md_tetras *table;
    int inputs, outputs;
};

void *live_table_new(int inputs, int outputs, int points)
{
    listen();
    struct live_table *made = NULL;
    if (inputs <= most_channels && outputs <= most_channels)
        made = malloc(sizeof *made);
    if (made == NULL) {
        snprintf(error_text, sizeof error_text, "live_table_new: too many channels, or no memory");
        return NULL;
    }
    *made = (struct live_table){md_tetras_new(inputs, outputs, points), inputs, outputs};
    if (made->table == NULL) {
        keep_report();
        free(made);
        return NULL;
    }
    return made;
}

int live_table_set(void *table, const unsigned short *grid, int count)
{
    struct live_table *target = table;
    int size;
    unsigned short *samples = md_tetras_dataptr(target->table, &size);
    if (count != size)
        return 0;
    memcpy(samples, grid, sizeof *samples * (size_t)size);
    return 1;
}

int live_table_run(void *table, const unsigned char *in, int in_step, unsigned char *out, int out_step, int pixels)
{
    const struct live_table *source = table;
    const unsigned char *inputs[most_channels];
    unsigned char *outputs[most_channels];
    for (int i = 0; i < source->inputs; ++i)
        inputs[i] = in + i;
    for (int i = 0; i < source->outputs; ++i)
        outputs[i] = out + i;
    return md_tetras_interp_b(source->table, inputs, in_step, outputs, out_step, pixels, NULL, 0);
}

void live_table_kill(void *table)
{
    struct live_table *gone = table;
    if (gone == NULL)
        return;
    md_tetras_kill(gone->table);
    free(gone);
}

/* ---- Images ------------------------------------------------------------------------------------------------------ */

static whole_image image_of(const void *pixels, int width, int height, int components)
{
    union {
        const void *read;
        void *write;
    } at = {pixels}; /* the record serves for sources and targets */
    const whole_image made = {at.write, width, height, components, 8, (int64_t)width * components, components, 1};
    return made;
}

int live_resize(const unsigned char *in, int width, int height, int components, unsigned char *out, int out_width,
                int out_height, int kernel)
{
    listen();
    const whole_image source = image_of(in, width, height, components);
    const whole_image target = image_of(out, out_width, out_height, components);
    const int done = whole_image_resize(kernel, &source, &target, NULL, 0, out_height);
    keep_report();
    return done;
}

int live_sharpen(const unsigned char *in, int width, int height, int components, double strength, unsigned char *out)
{
    listen();
    if (components < 1 || components > most_channels) {
        snprintf(error_text, sizeof error_text, "live_sharpen: illegal number of components");
        return 0;
    }
    double strengths[most_channels];
    for (int i = 0; i < components; ++i)
        strengths[i] = strength;
    const whole_image_sharpening how = {1, strengths, NULL, 0, NULL, NULL};
    const whole_image source = image_of(in, width, height, components);
    const whole_image target = image_of(out, width, height, components);
    const int done = whole_image_sharpen(&how, &source, &target, 0, height);
    keep_report();
    return done;
}

/* ---- Colours ----------------------------------------------------------------------------------------------------- */

void *live_hull_new(const double *lab, int points)
{
    listen();
    convex_hull *hull = convex_hull_new();
    if (hull != NULL && (convex_hull_add_points(hull, lab, points) != 0 || convex_hull_construct(hull) != 0))
        hull = convex_hull_kill(hull);
    keep_report();
    return hull;
}

double live_hull_volume(void *hull) { return convex_hull_get_volume(hull); }

void live_hull_kill(void *hull) { convex_hull_kill(hull); }

int live_hull_nearest(void *hull, const double *lab, double *nearest)
{
    listen();
    if (convex_hull_inside(hull, lab)) {
        memcpy(nearest, lab, 3 * sizeof *nearest);
        return 1;
    }
    const int failed = convex_hull_nearest(hull, lab, nearest, NULL, NULL, NULL);
    keep_report();
    return failed;
}

/* ---- Colour differences ------------------------------------------------------------------------------------------ */

static const double pi = 3.14159265358979323846;
/* Hues that are opposite exactly may come out a little further apart; the mean hue jumps there. */
static const double half_turn = 180 + 1e-9;

static double radians(double degrees) { return degrees * pi / 180; }

static double hue(double a, double b)
{
    if (a == 0 && b == 0)
        return 0;
    const double angle = atan2(b, a) * 180 / pi;
    return angle < 0 ? angle + 360 : angle;
}

static double high_chroma(double chroma)
{
    const double seventh = pow(chroma, 7);
    return sqrt(seventh / (seventh + 6103515625.0)); /* 25^7 */
}

/* Source: G. Sharma, W. Wu, E. Dalal, The CIEDE2000 color-difference formula, Color Research and Application 30 (2005),
 * pp. 21-30. */
static double delta_e_2000(const double *first, const double *second)
{
    const double stretch = 1 + 0.5 * (1 - high_chroma((hypot(first[1], first[2]) + hypot(second[1], second[2])) / 2));
    const double a1 = stretch * first[1], a2 = stretch * second[1];
    const double chroma1 = hypot(a1, first[2]), chroma2 = hypot(a2, second[2]);
    const double hue1 = hue(a1, first[2]), hue2 = hue(a2, second[2]);
    double hue_step = 0, mean_hue = hue1 + hue2;
    if (chroma1 * chroma2 != 0) {
        hue_step = hue2 - hue1;
        if (fabs(hue_step) <= half_turn)
            mean_hue /= 2;
        else
            mean_hue = mean_hue < 360 ? (mean_hue + 360) / 2 : (mean_hue - 360) / 2;
        hue_step += hue_step > half_turn ? -360 : hue_step < -half_turn ? 360 : 0;
    }
    const double chroma = (chroma1 + chroma2) / 2;
    const double t = 1 - 0.17 * cos(radians(mean_hue - 30)) + 0.24 * cos(radians(2 * mean_hue)) +
                     0.32 * cos(radians(3 * mean_hue + 6)) - 0.20 * cos(radians(4 * mean_hue - 63));
    const double from_blue = (mean_hue - 275) / 25, from_middle = (first[0] + second[0]) / 2 - 50;
    const double rotation = -sin(radians(60 * exp(-from_blue * from_blue))) * 2 * high_chroma(chroma);
    const double l =
        (second[0] - first[0]) / (1 + 0.015 * from_middle * from_middle / sqrt(20 + from_middle * from_middle));
    const double c = (chroma2 - chroma1) / (1 + 0.045 * chroma);
    const double h = 2 * sqrt(chroma1 * chroma2) * sin(radians(hue_step) / 2) / (1 + 0.015 * chroma * t);
    return sqrt(fmax(0, l * l + c * c + h * h + rotation * c * h));
}

int live_delta_map(const double *lab1, const double *lab2, int pixels, float *difference)
{
    for (int i = 0; i < pixels; ++i)
        difference[i] = (float)delta_e_2000(lab1 + 3 * (size_t)i, lab2 + 3 * (size_t)i);
    return 1;
}

/* ---- Self-test --------------------------------------------------------------------------------------------------- */

static uint32_t next_number(uint32_t *state) { return *state = 1664525u * *state + 1013904223u; }

const char *live_self_test(void)
{
    enum { points = 17, samples = points * points * points * 4, pixels = 4096 };
    static char digits[9];
    unsigned short *grid = malloc(samples * sizeof *grid);
    unsigned char *bytes = malloc(pixels * 7);
    void *table = live_table_new(3, 4, points);
    const char *result = NULL;
    if (grid != NULL && bytes != NULL && table != NULL) {
        uint32_t state = 1, hash = 2166136261u;
        for (int i = 0; i < samples; ++i)
            grid[i] = (unsigned short)(next_number(&state) >> 16);
        for (int i = 0; i < 3 * pixels; ++i)
            bytes[i] = (unsigned char)(next_number(&state) >> 24);
        unsigned char *out = bytes + 3 * pixels;
        live_table_set(table, grid, samples);
        live_table_run(table, bytes, 3, out, 4, pixels);
        for (int i = 0; i < 4 * pixels; ++i)
            hash = (hash ^ out[i]) * 16777619u;
        snprintf(digits, sizeof digits, "%08x", (unsigned)hash);
        result = digits;
    }
    live_table_kill(table);
    free(bytes);
    free(grid);
    return result;
}
