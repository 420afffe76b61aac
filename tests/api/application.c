/* application - the library used from C11, through the shared libraries' public headers alone: a call of every part;
 * what the functions do is shown by the examples of their headers */
#include <lopra.h>
#include <wem.h>
#include <zuk.h>

#include <teska_colour.h>
#include <teska_core.h>
#include <teska_curves.h>
#include <teska_files.h>
#include <teska_geometry.h>
#include <teska_image.h>
#include <teska_numerics.h>
#include <teska_text.h>

#include <string.h>

#define EXPECT(condition)                                                                                              \
    if (!(condition))                                                                                                  \
    return #condition

static int in_stripe(void *end, int x, int y) { return y == 0 && x >= 0 && x < *(int *)end; }

static void cut_stripe(void *end, int first, int last, int y) { *(int *)end = first + 0 * last * y; }

const char *use_every_part(void);
const char *use_every_part(void)
{
    const int before = error_set(2);
    EXPECT(md_tetrab_new(0, 1, 2) == NULL);
    EXPECT(strcmp(error_get(), "ERROR : 'md_tetra_new: illegal dimension'") == 0);
    EXPECT(error_set(before) == 2);

    const char *cursor = "[paper]\nwhite = 95.25 -0.5\n";
    char line[WEM_LINE_SIZE], value[257];
    EXPECT(fmtstr(line, "# points in % mm", 12, 2.5) == 19 && strcmp(line, "12 points in 2.5 mm") == 0);
    EXPECT(str_search_zuk(&cursor, "Paper", "white", value) == 1 && strcmp(value, "95.25 -0.5") == 0);

    static const char umlaut[] = "api_\xc3\xa4\xe2\x82\xac.txt";
    flock_rec *lock = flock_get(umlaut);
    EXPECT(lock != NULL && flock_get(umlaut) == NULL && flock_free(lock) == 0 && remove_utf8(umlaut) == -1);
    EXPECT(zuk_close(zuk_open()) == 0);

    static const int values[] = {1, 2, 3, 12};
    int total;
    hist *h = hist_new(0, 9);
    hist_point(h, values, 4);
    EXPECT(hist_get(h, &total)[11] == 1 && total == 4 && hist_kill(h) == 0);

    int flag = -9;
    double sides[] = {3, 7};
    mat *m = mat_new((const double[]){2, 1, 4, 3}, 2);
    EXPECT(mat_solve_set(m, sides, &flag) == 0 && flag == 0 && sides[1] == 1 && mat_kill(m) == 0);

    int end = 7;
    flood *bucket = flood_new(in_stripe, cut_stripe);
    EXPECT(flood_do(bucket, &end, 3, 0) == 1 && end == 0 && flood_kill(bucket) == 0);

    ProjResult r;
    double dist = -1;
    EXPECT(proj((const double[]){0, 0, 0, 10, 0, 0, 0, 10, 0}, 3, (const double[]){2, 3, 5}, &r, &dist) == 0);
    EXPECT(r.weight[1] == 0.2 && dist == 5);
    return NULL;
}
