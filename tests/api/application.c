/* application - the library used from C11, through the shared libraries' public headers alone */
#include "application.h"

#include <lopra.h>
#include <wem.h>
#include <zuk.h>

#include <bezier.h>
#include <teska_colour.h>
#include <teska_core.h>
#include <teska_curves.h>
#include <teska_files.h>
#include <teska_geometry.h>
#include <teska_image.h>
#include <teska_numerics.h>
#include <teska_text.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPECT(condition)                                                                                              \
    if (!(condition))                                                                                                  \
    return #condition

static int text_length(int parameter, const void *key) { return parameter + (int)strlen(key); }

static int equal_texts(const void *stored, const void *key) { return strcmp(stored, key) == 0; }

static int same_text(const void *element, const void *key) { return strcmp_ci(element, key) != 0; }

static int not_below(const void *element, const void *key) { return *(const short *)element >= *(const short *)key; }

static double parabola(void *c1, void *c2, const double *x)
{
    (void)c1;
    (void)c2;
    return (x[0] - 1) * (x[0] - 1);
}

static void forget_line(int component) { (void)component; }

static int in_stripe(void *end, int x, int y) { return y == 0 && x >= 0 && x < *(int *)end; }

static void cut_stripe(void *end, int first, int last, int y) { *(int *)end = first + 0 * last * y; }

static const char *use_reports(void)
{
    const int before = error_set(2);
    EXPECT(md_tetrab_new(0, 1, 2) == NULL);
    EXPECT(strcmp(error_get(), "ERROR : 'md_tetra_new: illegal dimension'") == 0);
    EXPECT(error_set(before) == 2);

    char line[WEM_LINE_SIZE];
    EXPECT(fmtstr(line, "# points in % mm", 12, 2.5) == 19 && strcmp(line, "12 points in 2.5 mm") == 0);
    return NULL;
}

static const char *use_containers(void)
{
    static const char inks[2][16] = {"Magenta", "cyan"};
    list_rec *names = list_new(1, 16, str_ins);
    list_insert(names, inks[0]);
    list_insert(names, inks[1]);
    EXPECT(list_num(names) == 2);
    EXPECT(strcmp(list_get_element(names, 0), "cyan") == 0);
    EXPECT(list_search_el(names, "MAGENTA", same_text) == 1);
    list_kill(names);

    int slots, weight = 0;
    hash_tab *papers = hash_tab_new(10, -2, sizeof weight, text_length, equal_texts, NULL, 0, &slots);
    EXPECT(slots == 13 && hash_tab_insert(papers, "matte", &(int){170}) == 5);
    EXPECT(hash_tab_get(papers, "matte", &weight) == 5 && weight == 170);
    EXPECT(hash_tab_kill(papers) == NULL);
    return NULL;
}

static const char *use_texts(void)
{
    const char *cursor = "[paper]\nwhite = 95.25 -0.5\n";
    char value[257];
    double white[2];
    EXPECT(str_search_zuk(&cursor, "Paper", "white", value) == 1);
    EXPECT(str_double_from_itemstr(value, 2, white) == 0 && white[0] == 95.25 && white[1] == -0.5);

    MD5_CTX context;
    unsigned char digest[16];
    MD5Init(&context);
    MD5Update(&context, "abc", 3);
    MD5Final(digest, &context);
    EXPECT(digest[0] == 0x90 && digest[15] == 0x72);
    return NULL;
}

static const char *use_files(void)
{
    flock_rec *lock = flock_get("api.lck");
    EXPECT(lock != NULL && flock_get("api.lck") == NULL);
    EXPECT(flock_free(lock) == 0);

    static const char umlaut[] = "api_\xc3\xa4\xe2\x82\xac.txt";
    EXPECT(close_utf8(open_utf8(umlaut, LOPRA_O_CREAT | LOPRA_O_RDWR, LOPRA_S_IWRITE)) == 0);
    EXPECT(remove_utf8(umlaut) == 0);

    static const char patches[] = "api_patches.rec";
    double vector[2] = {0.25, 150.0};
    int state = 0;
    file_double *table = file_double_new(patches, 2, 1);
    EXPECT(file_double_add_item(table, "cyan", vector) == 0 && file_double_save(table) == 0);
    EXPECT(strcmp(file_double_list(table, &state, vector), "cyan") == 0 && vector[1] == 150.0);
    EXPECT(file_double_kill(table) == 0 && remove_utf8(patches) == 0);

    zuk_db *db = zuk_open();
    EXPECT(zuk_list_item(db, "patches", &state) == NULL && zuk_close(db) == 0);

    system_time_rec start;
    int passed = -1;
    EXPECT(get_system_time(&start) == 0 && waitmsec(2) == 0);
    EXPECT(get_diff_system_time(&passed, start.seconds, start.microseconds) == 0 && passed >= 1);
    return NULL;
}

static const char *use_curves(void)
{
    func *f = func_new(0, sizeof(short), sizeof(char), not_below);
    void *x, *y;
    for (short i = 3; i > 0; --i)
        func_insert(f, &i, &"abcd"[i]);
    EXPECT(func_num(f) == 3 && func_get_point(f, 2, &x, &y) == 0);
    EXPECT(*(short *)x == 3 && *(char *)y == 'd');
    func_kill(f);

    static const int values[] = {1, 2, 3, 12};
    hist *h = hist_new(0, 9);
    double mean, sd;
    int total;
    hist_point(h, values, 4);
    EXPECT(hist_get(h, &total)[11] == 1 && total == 4 && hist_set(h, 3) == 3);
    EXPECT(hist_med(h, &mean, &sd) == 0 && mean == 2.0 && hist_percentile(h, 50.0) == 2);
    EXPECT(hist_kill(h) == 0);
    return NULL;
}

static const char *use_segments(void)
{
    bezier *b = bezier_new(3, 0.0, 0.0, 3.0, 0.0);
    double y[3];
    EXPECT(bezier_set_controlp(b, 0, 1.0, 0.0) == 1 && bezier_set_controlp(b, 1, 2.0, 0.0) == 1);
    EXPECT(bezier_get_y(b, 1.5, y) == 1 && y[0] == 0.0);
    bezier *first, *second;
    double *points;
    const double through[] = {0.0, 1.0, 1.0, 0.0};
    EXPECT(bezier_subdivide(b, 0.5, &first, &second) == 1 && bezier_cpoly_det(first, through, through) == 1);
    EXPECT(bezier_fvector(second, 0.1, &points) == 1 && points[0] == 1.5 && points[2] == 3.0);
    free(points);
    EXPECT(bezier_kill(first) == 1 && bezier_kill(second) == 1 && bezier_kill(b) == 1);
    return NULL;
}

static const char *use_colour(void)
{
    md_tetrab *table = md_tetrab_new(2, 1, 2);
    unsigned char pixels[] = {255, 0, 0, 255}, sums[2];
    unsigned char *in[] = {pixels, pixels + 1}, *out[] = {sums};
    int at[2] = {0, 0};
    do
        *md_tetrab_vertex_get(table, at, NULL) = (unsigned char)(100 * at[0] + 10 * at[1]);
    while (md_tetrab_scan_vertex(table, at) != 0);
    EXPECT(md_tetrab_interp(table, in, 2, out, 1, 2, NULL, 0.0) == 1);
    EXPECT(sums[0] == 100 && sums[1] == 10 && out[0] == sums + 2);
    EXPECT(md_tetrab_kill(table) == NULL);

    mmd_tetras *set = mmd_tetras_new(2, 1, 1, 2);
    md_tetras *inversion = md_tetras_new(1, 1, 2);
    const unsigned short falling[] = {65535, 0}, grey[] = {1000}, *source[] = {grey};
    unsigned short results_16[1], *target[] = {results_16};
    md_tetras_dataptr(inversion, NULL)[1] = 65535;
    mmd_tetras_dataptr(set, 1, NULL)[1] = 65535;
    EXPECT(md_tetras_ilut_set(inversion, 0, 2, falling) == 1);
    EXPECT(md_tetras_interp(inversion, source, 1, target, 1, 1, NULL, 0) == 1 && results_16[0] == 64535);
    EXPECT(mmd_tetras_interp_mix(set, 0, 1, source, 1, target, 1, 1, NULL, 32768) == 1 && results_16[0] == 500);
    EXPECT(md_tetras_kill(inversion) == NULL && mmd_tetras_kill(set) == NULL);
    return NULL;
}

static const char *use_numbers(void)
{
    const double elements[] = {2, 1, 4, 3};
    double sides[] = {3, 7};
    int flag = -9;
    mat *m = mat_new(elements, 2);
    EXPECT(mat_solve_set(m, sides, &flag) == 0 && flag == 0 && sides[0] == 1 && sides[1] == 1);
    EXPECT(mat_kill(m) == 0);

    dhsm *d = dhsm_new(parabola, NULL, 1);
    double x = 0;
    double least = -1;
    EXPECT(dhsm_solve(d, NULL, NULL, 0, &x, 0, &least) == 0 && least < 1e-6 && x > 0.999 && x < 1.001);
    EXPECT(dhsm_kill(d) == NULL);
    return NULL;
}

static const char *use_images(void)
{
    int end = 7;
    unsigned char line[] = {5, 6, 7}, result[3], *holder = result;
    fir *filter = fir_new(1, 255);
    EXPECT(fir_start(filter, 1, 1, 3, forget_line, 1, 1) == filter);
    EXPECT(fir_mono_b(filter, line, &holder) == 1 && result[1] == 6);
    EXPECT(fir_kill(filter) == 0);

    flood *bucket = flood_new(in_stripe, cut_stripe);
    EXPECT(flood_do(bucket, &end, 3, 0) == 1 && end == 0);
    EXPECT(flood_kill(bucket) == 0);
    return NULL;
}

static const char *use_geometry(void)
{
    const double triangle[] = {0, 0, 0, 10, 0, 0, 0, 10, 0};
    const double query[] = {2, 3, 5};
    ProjResult r;
    double dist = -1;
    EXPECT(proj(triangle, 3, query, &r, &dist) == 0 && r.point[0] == 2 && r.weight[1] == 0.2 && dist == 5);

    list_rec *points = list_new(4, sizeof(tetra_point), NULL);
    for (int i = 0; i < 8; ++i)
        list_insert(points, &(tetra_point){i & 1, i >> 1 & 1, i >> 2, i});
    tetra_volume *cube = tetra_volume_new(points);
    tetra_rec *found = NULL;
    EXPECT(tetra_volume_get_tetra(cube, (const double[]){0.9, 0.5, 0.8}, &found) == 0 &&
           tetra_get_pointnr(found, 3) == 0);
    EXPECT(writeVRML(cube, "", "") == -1);
    EXPECT(tetra_volume_kill(cube) == 0 && list_kill(points) == 0);
    return NULL;
}

const char *use_every_subsystem(void)
{
    const char *(*const uses[])(void) = {use_reports,  use_containers, use_texts,   use_files,  use_curves,
                                         use_segments, use_colour,     use_numbers, use_images, use_geometry};
    const char *failed = NULL;
    for (size_t i = 0; failed == NULL && i < sizeof uses / sizeof *uses; ++i)
        failed = uses[i]();
    return failed;
}
