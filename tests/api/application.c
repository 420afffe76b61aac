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

static int size_of_page(void *context, int id) { return id * *(int *)context; }

static void load_page(void *context, int id, void *destination)
{
    memset(destination, id, (size_t)(id * *(int *)context));
}

static int same_text(const void *element, const void *key) { return strcmp_ci(element, key) != 0; }

static double bowl(double x) { return (x - 2.0) * (x - 2.0); }

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

static unsigned char mixed[4];

static void take_row(int component) { mixed[3] = (unsigned char)(mixed[2] + component); }

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
    dynar *widths = dynar_new(sizeof(int), 4);
    *(int *)dynar_ptr(widths, 6) = 7;
    EXPECT(dynar_nr_items(widths) == 7 && *(int *)dynar_ptr(widths, 6) == 7);
    EXPECT(dynar_kill(widths) == 0);

    short item = 3;
    itemfifo *queue = itemfifo_new(sizeof item, 1);
    EXPECT(itemfifo_put(queue, &item) == 1 && itemfifo_put(queue, &(short){4}) == 1);
    EXPECT(itemfifo_get(queue, &item) == 1 && item == 3 && itemfifo_nr_items(queue) == 1);
    EXPECT(itemfifo_kill(queue) == 0);

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

    int line = 100;
    cache *pages = cache_new(9, 4, 200, size_of_page, load_page, &line);
    EXPECT(*((char *)cache_get(pages, 5) + 499) == 5 && cache_lock(pages, 5, 1) == 1);
    EXPECT(cache_get(pages, 4) == NULL && cache_delete(pages, 5) == 1);
    EXPECT(cache_kill(pages) == 0);

    char *plate = rom_obj_new(8, "plate");
    EXPECT(plate != NULL && plate[7] == 0 && rom_objtype_check(plate, "plate") == 1);
    EXPECT(rom_obj_malloc(plate, 100) != NULL);
    EXPECT(rom_obj_kill(plate) == 0);
    free(plate);
    return NULL;
}

static const char *use_texts(void)
{
    char key[32], width[32];
    EXPECT(strsplit(" Resolution = 600 ", '=', key, width) == 0);
    EXPECT(strcmp(key, "Resolution") == 0 && strcmp(width, "600") == 0);

    unsigned char big[4];
    EXPECT(fltoffl(1.0F, big) == big && memcmp(big, "\x3f\x80\0\0", 4) == 0 && ffltofl(big, NULL) == 1.0F);

    const char *cursor = "[paper]\nwhite = 95.25 -0.5\n";
    char value[257];
    double white[2];
    EXPECT(str_search_zuk(&cursor, "Paper", "white", value) == 1);
    EXPECT(str_double_from_itemstr(value, 2, white) == 0 && white[0] == 95.25 && white[1] == -0.5);

    static const unsigned char bytes[3] = {0x4D, 0, 0};
    unsigned char decoded[3];
    char encoded[4];
    EXPECT(encodeToBase64(bytes, encoded, 1) == '=' && memcmp(encoded, "TQ==", 4) == 0);
    EXPECT(decodeFromBase64(encoded, decoded) == 0xFF && decoded[0] == 0x4D);

    unsigned char secret[] = "cyan";
    CipherEncrypt(secret, 4, secret, 4711, 52845, 22719);
    EXPECT(memcmp(secret, "\x71\x57\xc4\xf6", 4) == 0);
    CipherDecrypt(secret, 4, secret, 4711, 52845, 22719);
    EXPECT(memcmp(secret, "cyan", 4) == 0);

    MD5_CTX context;
    unsigned char digest[16];
    char sum[33];
    MD5Init(&context);
    MD5Update(&context, "abc", 3);
    MD5Final(digest, &context);
    EXPECT(digest[0] == 0x90 && digest[15] == 0x72);
    EXPECT(MD5_check_file("", sum) == 1);
    return NULL;
}

static const char *use_files(void)
{
    char path[32];
    wem_lognam_set("DISK", "C:\\data\\");
    EXPECT(fport(path, 30, "DISK:[a]b.c") == 0 && strcmp(path, "C:\\data\\a\\b.c") == 0);
    EXPECT(fport_StripExtension(path) == 0 && strcmp(fport_StripPath(path, "C:\\data"), "a\\b") == 0);
    EXPECT(fport_MakeFullPath("d", "e", path, 4) == 0 && fport_setres(0) == 0);
    wem_lognam_clear();

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
    int at = 0;
    EXPECT(zuk_list_item(db, "patches", &at) == NULL);
    EXPECT(zuk_close(db) == 0);

    const int mode = error_set(3);
    EXPECT(setflowrs232(1) == 0 && setflowrs232(0) == 1);
    EXPECT(initrs232("no such line", 13, 48, 0, 0, 0) == NULL);
    EXPECT(strcmp(error_get(), "ERROR : 'Cannot open serial port no such line'") == 0);
    EXPECT(error_set(mode) == 3);
    EXPECT(outstringrs232(NULL, "a", 1) == -1 && outbrs232(NULL, 'a') == -1 && inbrs232(NULL) == (char)-1);
    EXPECT(inrs232rdy(NULL) == -1 && outrs232rdy(NULL) == -1);
    closers232(NULL);

    system_time_rec start;
    int passed = -1;
    EXPECT(get_system_time(&start) == 0 && waitmsec(2) == 0);
    EXPECT(get_diff_system_time(&passed, start.seconds, start.microseconds) == 0 && passed >= 1);
    EXPECT(strstr(time_get_date(), " at ") != NULL);
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

    lin_interp_double *curve = lin_interp_double_new(0, NULL);
    double at = 0.0;
    lin_interp_double_insert(curve, 2.0, 30.0);
    lin_interp_double_insert(curve, 1.0, 10.0);
    EXPECT(lin_interp_double_inter(curve, 1.75, &at) == 0 && at == 25.0);
    EXPECT(lin_interp_double_kill(curve) == 0);

    EXPECT(grad_tab_new("no-such-folder/curve.rec", 0, 1, 0) == NULL);
    EXPECT(grad_tab_kill(NULL) == NULL);

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

    const double xs[] = {0.0, 1.0, 2.0};
    const double ys[] = {0.0, 1.0, 0.0};
    double lse, max_e, u, v;
    bezier *line = bezier_new(3, 0.0, 0.0, 0.0, 0.0);
    EXPECT(bezier_fit(line, 3, xs, ys, 0, 0.0, 0.0, 0, 0.0, 0.0, &lse, &max_e, 0) == 1 && lse == 0.0 && max_e == 0.0);
    EXPECT(bezier_get(line, 0.5, &u, &v) == 1 && u == 1.0 && v == 1.0);
    EXPECT(bezier_kill(line) == 1);
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

    md_tetrad *curve = md_tetrad_new(1, 1, 3, 0.0, 2.0);
    double x[] = {0.5, 2.0}, y[2], at_vertex;
    double *points[] = {x}, *results[] = {y};
    int place[1] = {0};
    do {
        double *value = md_tetrad_vertex_get(curve, place, &at_vertex);
        *value = 10.0 * at_vertex;
    } while (md_tetrad_scan_vertex(curve, place) != 0);
    EXPECT(md_tetrad_interp(curve, points, 1, results, 1, 2) == 1);
    EXPECT(y[0] == 5.0 && y[1] == 20.0);
    EXPECT(md_tetrad_kill(curve) == NULL);

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

    const double from[] = {1, 2};
    const double to[] = {4, 6};
    EXPECT(vect_distance(from, to, 2) == 5);

    random_rec *dice = random_new(0);
    EXPECT(random_val(dice) == 16807.0F / 2147483648.0F);
    EXPECT(random_kill(dice) == NULL);

    rdither *cell = rdither_new(4, 1);
    EXPECT(rdither_val(cell, 0, 1, 2) == 1 && rdither_val(cell, 4, 4, 2) == 0);
    EXPECT(rdither_kill(cell) == 0);

    dhsm *d = dhsm_new(parabola, NULL, 1);
    double x = 0;
    double least = -1;
    EXPECT(dhsm_solve(d, NULL, NULL, 0, &x, 0, &least) == 0 && least < 1e-6 && x > 0.999 && x < 1.001);
    EXPECT(dhsm_kill(d) == NULL);

    const double no_more[] = {1, 0.5};
    restriction *r = restriction_new(1, 0, NULL, 1, no_more);
    const int level = teska_warn_level(1);
    double alone = 0;
    EXPECT(condirmin_restr(&alone, 1, 1e-8, r, NULL, NULL, parabola, NULL, NULL) == 1 && alone == 0.5);
    teska_warn_level(level);
    EXPECT(restriction_kill(r) == NULL);
    return NULL;
}

static const char *use_solvers(void)
{
    double a[4] = {0, 1, 1, 0}, b[2] = {2, 3}, root, least;
    const double cubic[4] = {-2, 1, 0, 0};
    int err;
    EXPECT(gaussd(a, b, 2) == 1 && b[0] == 3.0 && b[1] == 2.0);
    EXPECT(fthird_order_eq(cubic, &root, 0.0, 1.0, 0.0) == 1 && root == 2.0);
    EXPECT(gsect_min(0.0, 1.0, 5.0, 1e-6, bowl, &least) > 1.9 && least < 1e-6);
    EXPECT(real_atan2PI(-1.0, 0.0, &err) == 3.1415926535 && real_atan(0.0, 0.0, &err) == 0.0 && err == -1);

    const double x[3] = {0, 1, 2}, y[3] = {1, 3, 5};
    double first, slope, siga, sigb, chi2, q;
    EXPECT(least_square_fit(x, y, 3, NULL, 0, &first, &slope, &siga, &sigb, &chi2, &q) == 0);
    EXPECT(first == 1.0 && slope == 2.0 && siga == 0.0 && sigb == 0.0 && chi2 == 0.0 && q == 1.0);
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

    unsigned char *in = line;
    fusm *usm = fusm_new(0, 255, 1, 1, NULL, NULL);
    const double levels[2] = {0, 1}, factors[2] = {0.5, 0.5};
    EXPECT(fusm_stren_set(usm, fusm_stren_get(usm)) == 1 && fusm_noise_red_set(usm, fusm_noise_red_get(usm)) == 1);
    EXPECT(fusm_level_red_set(usm, 2, levels, factors) == 1);
    EXPECT(fusm_start(usm, 1, 3, forget_line, 1, 0, 1) == 1);
    EXPECT(fusm_b_do(usm, &in, &holder, NULL) == 1 && result[2] == 7 && fusm_do(usm, NULL, NULL, NULL) == 1);
    EXPECT(fusm_kill(usm) == 0);

    const unsigned char upper[] = {10, 20}, lower[] = {30, 40};
    unsigned char *row = mixed;
    ibilin *half = ibilin_new(0);
    EXPECT(ibilin_start(half, 1, 2, 2, 1, 4, take_row, 1, 1) == 1);
    EXPECT(ibilin_mono_b(half, upper, &row) == 1 && ibilin_mono_b(half, lower, &row) == 1);
    EXPECT(mixed[0] == 10 && mixed[1] == 15 && mixed[3] == 20 && ibilin_kill(half) == 0);
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

const char *use_every_module(void)
{
    const char *(*const uses[])(void) = {use_reports, use_containers, use_texts,   use_files,
                                         use_curves,  use_segments,   use_colour,  use_numbers,
                                         use_solvers, use_images,     use_geometry};
    const char *failed = NULL;
    for (size_t i = 0; failed == NULL && i < sizeof uses / sizeof *uses; ++i)
        failed = uses[i]();
    return failed;
}
