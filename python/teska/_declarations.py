MD5 = 'b8d6befb1555a005050017bb55b14cc6'
"""The C declarations of the library, written by tools/python_declarations.py from these headers."""

HEADERS = (
    'archive.h',
    'bezierd_base.h',
    'bezierd_fit.h',
    'clut_table.h',
    'condirmin.h',
    'convert_rows.h',
    'convex_hull.h',
    'dhsm.h',
    'error_mess.h',
    'func.h',
    'fusm.h',
    'interp_double.h',
    'izat.h',
    'list.h',
    'md_tetrab.h',
    'md_tetrad.h',
    'md_tetras.h',
    'proj.h',
    'random.h',
    'restriction.h',
    'scalar_solvers.h',
    'special_functions.h',
    'teska_version.h',
    'tetra.h',
    'top_surface.h',
    'whole_image.h',
    'zuk.h',
)

TEXT = r'''
#define ARCHIVE_NAME_SIZE 200
#define ARCHIVE_TEXT_SIZE 160
#define CONVERT_ROWS_MAX_RANK 32
#define TESKA_ERROR_NO_MEMORY -2
#define TESKA_ERROR_PROCESS_WIDE -1
#define TESKA_VERSION_MAJOR 1
#define TESKA_VERSION_MINOR 0
#define TESKA_VERSION_PATCH 0
#define WHOLE_IMAGE_PICK -1
#define ZUK_VALUE_SIZE 257

/* archive.h */
typedef struct archive archive;
archive *archive_create(const char *path, const char *description, int *code) ;
archive *archive_open(const char *path, int *code) ;
archive *archive_kill(archive *a) ;
int archive_add(archive *a, const char *name, const char *bytes, int length) ;
int archive_add_file(archive *a, const char *path, const char *name) ;
int archive_next(archive *a, char **bytes, int *length, char *name) ;
int archive_get_error(archive *a, char *text) ;
int archive_get_description(archive *a, char *text) ;

/* bezierd_base.h */
typedef struct bezier bezier;
bezier *bezier_new(int degree, double x0, double y0, double xn, double yn) ;
int bezier_kill(bezier *b) ;
int bezier_set_control_poly(bezier *b, const double *xs, const double *ys) ;
int bezier_set_endp(bezier *b, int which, double x, double y) ;
int bezier_set_controlp(bezier *b, int i, double x, double y) ;
int bezier_get_control_poly(const bezier *b, double *xs, double *ys) ;
int bezier_get_endp(const bezier *b, int which, double *x, double *y) ;
int bezier_get_controlp(const bezier *b, int i, double *x, double *y) ;
int bezier_get(bezier *b, double t, double *x, double *y) ;
int bezier_get_y(bezier *b, double x, double *ys) ;
int bezier_get_x(bezier *b, double y, double *xs) ;
int bezier_fget_y(bezier *b, double x, double *ys) ;
int bezier_fget_x(bezier *b, double y, double *xs) ;

/* bezierd_fit.h */
int bezier_fit(bezier *curve, int n, const double *xs, const double *ys, unsigned int start_given, double start_tx, double start_ty, unsigned int end_given, double end_tx, double end_ty, double *lse, double *max_e, int verbose) ;

/* clut_table.h */
typedef struct clut_table clut_table;
clut_table *clut_table_new(int N, const int *points, int M, const float *values) ;
clut_table *clut_table_kill(clut_table *table) ;
float *clut_table_dataptr(clut_table *table, int *size) ;
int clut_table_interp(const clut_table *table, const double *const *in, int inStep, double *const *out, int outStep, int count) ;

/* restriction.h */
typedef struct restriction restriction;
restriction *restriction_new(int nx, int neq, const double *eq, int nineq, const double *ineq) ;
restriction *restriction_kill(restriction *r) ;
int restriction_get_num_of_var(const restriction *r) ;
int restriction_makeX(const restriction *r, const double *free_vars, double *x) ;
restriction *restriction_new_check(const restriction *current, const restriction *limits, const double *free_vars, const double *step, double *alpha) ;
int restriction_get_back(const restriction *reduced, const restriction *current, const double *reduced_vars, double *current_vars) ;

/* condirmin.h */
typedef double (*condirmin_function)(void *context1, void *context2, const double *x);
int condirmin_set_abs_tol(int enable, double value, double *old_value) ;
int condirmin(double *x, int n, double ftol, int *iter, double *f_min, condirmin_function function, void *context1, void *context2) ;
int condirmin_restr(double *x, int n, double ftol, restriction *base, restriction *limits, restriction *current, condirmin_function function, void *context1, void *context2) ;

/* convert_rows.h */
enum { CONVERT_ROWS_TETRAB = 0, CONVERT_ROWS_TETRAS = 1, CONVERT_ROWS_TETRAS_B = 2, CONVERT_ROWS_TETRAS_BS = 3, CONVERT_ROWS_TETRAS_SB = 4, CONVERT_ROWS_TETRAD = 5, CONVERT_ROWS_CLUT = 6 };
typedef struct convert_rows_layout { int rank; const int64_t *shape; const int64_t *in_strides; const int64_t *out_strides; const unsigned char *mask; const int64_t *mask_strides; } convert_rows_layout;
int teska_convert_rows(int kind, void *table, int inputs, void **in, int outputs, void **out, const convert_rows_layout *layout) ;

/* convex_hull.h */
typedef struct convex_hull convex_hull;
convex_hull *convex_hull_new(void) ;
convex_hull *convex_hull_kill(convex_hull *hull) ;
int convex_hull_set_unit(convex_hull *hull, double unit) ;
int convex_hull_add(convex_hull *hull, const double point[3]) ;
int convex_hull_add_points(convex_hull *hull, const double *points, int n) ;
int convex_hull_construct(convex_hull *hull) ;
int convex_hull_inside(const convex_hull *hull, const double point[3]) ;
int convex_hull_nearest(const convex_hull *hull, const double q[3], double nearest[3], double *dist, int *face, double weights[3]) ;
int convex_hull_get_nr_points(const convex_hull *hull) ;
int convex_hull_get_nr_vertices(const convex_hull *hull) ;
int convex_hull_get_nr_faces(const convex_hull *hull) ;
int convex_hull_get_vertex(const convex_hull *hull, int vertex, double point[3], int *number) ;
int convex_hull_get_face(const convex_hull *hull, int face, int corner[3]) ;
double convex_hull_get_area(const convex_hull *hull) ;
double convex_hull_get_volume(const convex_hull *hull) ;

/* dhsm.h */
typedef struct dhsm dhsm;
typedef double (*dhsm_function)(void *context1, void *context2, const double *x);
typedef double (*dhsm_conv_test)(dhsm *d, void *context1, void *context2, int worst, int best);
dhsm *dhsm_new(dhsm_function function, dhsm_conv_test conv_test, int n) ;
dhsm *dhsm_kill(dhsm *d) ;
int dhsm_init(dhsm *d, const int *lower_given, const int *upper_given, const double *lower, const double *upper, const double *step, const double *x0) ;
int dhsm_solve(dhsm *d, void *context1, void *context2, double tolerance, double *x, int max_iter, double *f_min) ;

/* error_mess.h */
int error_mess_fl(const char *message, const char *file, int line) ;
char *error_get(void) ;
int error_display_all_msgs(void) ;
int error_set(int mode) ;
int error_set_thread(int mode) ;
typedef void (*error_handler)(void *context, const char *line);
error_handler error_set_handler(error_handler handler, void *context, void **previous) ;
error_handler error_set_thread_handler(error_handler handler, void *context, void **previous) ;
int error_exit(const char *message);
void teska_warn(int level, const char *message) ;
int teska_warn_level(int threshold) ;
void dbg(const char *message) ;
int dbg_set(int on) ;

/* func.h */
typedef struct func func;
typedef int (*func_order)(const void *element, const void *key);
typedef int (*func_match)(const void *element, const void *key);
func *func_new(int ext, unsigned int x_size, unsigned int y_size, func_order order) ;
int func_kill(func *f) ;
int func_insert(func *f, const void *x, const void *y) ;
int func_changep(func *f, int index, const void *x, const void *y) ;
int func_rem_point(func *f, int index) ;
int func_alloc(func *f, int count) ;
int func_num(const func *f) ;
int func_pos(const func *f, const void *x) ;
int func_get_point(const func *f, int index, void **x, void **y) ;
int func_search_el(const func *f, const void *key, void **y, func_match match) ;
func *func_invert(const func *f, func_order order) ;

/* fusm.h */
typedef struct fusm fusm;
typedef void (*fusm_callback)(int k);
typedef void (*fusm_callback_with)(void *context, int k);
typedef void (*fusm_conversion)(void **in, int inStep, void **out, int outStep, int width);
typedef void (*fusm_conversion_with)(void *context, void **in, int inStep, void **out, int outStep, int width);
fusm *fusm_new(int radius, int maxValue, int nProcessed, int nComponents, const int *componentList, fusm_conversion conversion) ;
fusm *fusm_new_with(int radius, int maxValue, int nProcessed, int nComponents, const int *componentList, fusm_conversion_with conversion, void *context) ;
int fusm_kill(fusm *record) ;
int fusm_stren_set(fusm *record, const double *strengths) ;
int fusm_noise_red_set(fusm *record, const double *noise) ;
int fusm_level_red_set(fusm *record, int nPoints, const double *levels, const double *factors) ;
double *fusm_stren_get(fusm *record) ;
double *fusm_noise_red_get(fusm *record) ;
int fusm_start(fusm *record, int nLines, int width, fusm_callback callback, int inStep, int limitStep, int outStep) ;
int fusm_start_with(fusm *record, int nLines, int width, fusm_callback_with callback, void *context, int inStep, int limitStep, int outStep) ;
int fusm_b_do(fusm *record, unsigned char **inLine, unsigned char **outLine, const unsigned char *limitLine) ;
int fusm_do(fusm *record, unsigned short **inLine, unsigned short **outLine, const unsigned short *limitLine) ;

/* interp_double.h */
typedef struct lin_interp_double lin_interp_double;
lin_interp_double *lin_interp_double_new(int ext, func_order order) ;
int lin_interp_double_kill(lin_interp_double *li) ;
int lin_interp_double_insert(lin_interp_double *li, double x, double y) ;
int lin_interp_double_changep(lin_interp_double *li, int index, double x, double y) ;
int lin_interp_double_subst(lin_interp_double *li, double x, double y, double tolerance) ;
int lin_interp_double_getp(const lin_interp_double *li, int index, double *x, double *y) ;
int lin_interp_double_num(const lin_interp_double *li) ;
int lin_interp_double_inter(const lin_interp_double *li, double x, double *y) ;
int lin_interp_double_inextp(const lin_interp_double *li, double x, double *y) ;
lin_interp_double *lin_interp_double_invert(const lin_interp_double *li, func_order order) ;

/* izat.h */
typedef struct izoom izoom;
typedef void (*izoom_callback)(void *context, int line);
izoom *izoom_new(void) ;
int izoom_kill(izoom *record) ;
int izoom_window_set(izoom *record, int left, int top, int width, int height) ;
int izoom_start(izoom *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth, izoom_callback callback, void *context, int inStep, int outStep) ;
int izoom_line(izoom *record, const unsigned short *line, unsigned short **out) ;
int izoom_line_b(izoom *record, const unsigned char *line, unsigned char **out) ;
enum { IZAT_AREA = 0, IZAT_TRIANGLE = 1, IZAT_CATMULL_ROM = 2, IZAT_MITCHELL = 3, IZAT_LANCZOS3 = 4 };
typedef struct izat izat;
typedef void (*izat_callback)(void *context, int line);
izat *izat_new(int kernel) ;
int izat_kill(izat *record) ;
int izat_window_set(izat *record, double left, double top, double width, double height) ;
int izat_strip_set(izat *record, int first, int lines) ;
int izat_start(izat *record, int nComponents, int srcLines, int srcWidth, int dstLines, int dstWidth, izat_callback callback, void *context, int inStep, int outStep) ;
int izat_line(izat *record, const unsigned short *line, unsigned short **out) ;
int izat_line_b(izat *record, const unsigned char *line, unsigned char **out) ;

/* list.h */
typedef struct list_rec list_rec;
typedef int (*list_order_fn)(const void *element, const void *key);
typedef int (*list_equal_fn)(const void *element, const void *key);
list_rec *list_new(int initial, unsigned size, list_order_fn fn) ;
int list_kill(list_rec *list) ;
int list_insert(list_rec *list, const void *element) ;
int list_insert_index(list_rec *list, const void *element, unsigned index, int mode) ;
int list_changep(list_rec *list, int index, const void *element) ;
int list_rem_element(list_rec *list, int index) ;
int list_alloc(list_rec *list, int capacity) ;
int list_pos_range(list_rec *list, const void *key, int lo, int hi, list_order_fn fn) ;
int list_pos(list_rec *list, const void *key) ;
int list_search_el(list_rec *list, const void *key, list_equal_fn eq) ;
void *list_get_element(list_rec *list, int index) ;
int list_num(const list_rec *list) ;
int list_get_num(const list_rec *list) ;
int list_get_ext(const list_rec *list) ;
int list_get_el_size(const list_rec *list) ;
int str_ins(const void *element, const void *key) ;

/* md_tetrab.h */
typedef struct md_tetrab md_tetrab;
md_tetrab *md_tetrab_new(int N, int M, int R) ;
md_tetrab *md_tetrab_new_special(int N, int M, int R, int L, int H, int E) ;
md_tetrab *md_tetrab_clone(const md_tetrab *table) ;
md_tetrab *md_tetrab_kill(md_tetrab *table) ;
int md_tetrab_LUT(md_tetrab *table, unsigned char **inCurves, unsigned char **outCurves) ;
unsigned char *md_tetrab_ilutptr(md_tetrab *table, int d) ;
unsigned char *md_tetrab_olutptr(md_tetrab *table, int c) ;
int md_tetrab_fill_double(md_tetrab *table, const double *values, int extension, double lo, double hi) ;
unsigned char *md_tetrab_dataptr(md_tetrab *table, int *size) ;
int md_tetrab_get_nrpoints(md_tetrab *table) ;
unsigned char *md_tetrab_vertex_get(md_tetrab *table, const int *coord, unsigned char *inBytes) ;
int md_tetrab_scan_vertex(md_tetrab *table, int *coord) ;
int md_tetrab_interp(md_tetrab *table, unsigned char **in, int inStep, unsigned char **out, int outStep, int count, const unsigned char *mask, double threshold) ;
md_tetrab *md_tetrab_expand(md_tetrab *table, int newR) ;

/* md_tetrad.h */
typedef struct md_tetrad md_tetrad;
md_tetrad *md_tetrad_new(int N, int M, int R, double lo, double hi) ;
md_tetrad *md_tetrad_clone(const md_tetrad *table) ;
md_tetrad *md_tetrad_kill(md_tetrad *table) ;
double *md_tetrad_dataptr(md_tetrad *table, int *size) ;
int md_tetrad_get_nrpoints(md_tetrad *table) ;
double *md_tetrad_vertex_get(md_tetrad *table, const int *coord, double *inValues) ;
int md_tetrad_scan_vertex(md_tetrad *table, int *coord) ;
int md_tetrad_interp(md_tetrad *table, double **in, int inStep, double **out, int outStep, int count) ;

/* md_tetras.h */
typedef struct md_tetras md_tetras;
md_tetras *md_tetras_new(int N, int M, int R) ;
md_tetras *md_tetras_clone(const md_tetras *table) ;
md_tetras *md_tetras_kill(md_tetras *table) ;
int md_tetras_ilut_set(md_tetras *table, int d, int n, const unsigned short *entries) ;
int md_tetras_olut_set(md_tetras *table, int c, int n, const unsigned short *entries) ;
int md_tetras_fill_double(md_tetras *table, const double *values, int extension, double lo, double hi) ;
unsigned short *md_tetras_dataptr(md_tetras *table, int *size) ;
unsigned short *md_tetras_vertex_get(md_tetras *table, const int *coord, unsigned short *inSamples) ;
int md_tetras_get_nrpoints(const md_tetras *table) ;
int md_tetras_scan_vertex(const md_tetras *table, int *coord) ;
int md_tetras_interp(const md_tetras *table, const unsigned short *const *in, int inStep, unsigned short *const *out, int outStep, int count, const unsigned char *mask, int threshold) ;
int md_tetras_interp_b(const md_tetras *table, const unsigned char *const *in, int inStep, unsigned char *const *out, int outStep, int count, const unsigned char *mask, int threshold) ;
int md_tetras_interp_bs(const md_tetras *table, const unsigned char *const *in, int inStep, unsigned short *const *out, int outStep, int count, const unsigned char *mask, int threshold) ;
int md_tetras_interp_sb(const md_tetras *table, const unsigned short *const *in, int inStep, unsigned char *const *out, int outStep, int count, const unsigned char *mask, int threshold) ;

/* proj.h */
typedef struct ProjResult { double point[3]; double spare; double weight[4]; } ProjResult;
int proj_det_plane_abcd(const double pts[9], double abcd[4]) ;
int proj_on_plane_abcd(const double abcd[4], const double p[3], double x[3], double *dist) ;
int proj_on_plane(const double *coef, const double *p, double *x, int n, double *dist) ;
int proj_on_plane_par(const double abcd[4], const double q[3], const double dir[3], double x[3], double *dist) ;
int proj_on_plane_parline(const double abcd[4], const double q[3], const double dir[3], double x[3], double *dist) ;
int proj_plane_intersect(const double p1[4], const double p2[4], double dir[3], double x[3]) ;
int proj_on_line(const double line[6], const double q[3], double x[3], double *dist) ;
int proj_on_line_par(const double line[6], const double q[3], const double dir[3], ProjResult *r, double *dist) ;
int proj_on_line_segm(const double seg[6], const double q[3], ProjResult *r, double *dist) ;
int proj_on_line_segm_par(const double seg[6], const double q[3], const double dir[3], ProjResult *r, double *dist) ;
int proj_on_triangle(const double tri[9], const double q[3], ProjResult *r, double *dist) ;
int proj_on_triangle_par(const double tri[9], const double q[3], const double dir[3], ProjResult *r, double *dist) ;
int proj_on_triangle_parline(const double tri[9], const double q[3], const double dir[3], ProjResult *r, double *dist) ;
int proj_nearest_triangle(const double tri[9], const double q[3], ProjResult *r, double *dist) ;
int proj_on_triangle_edge(const double tri[9], const double q[3], int edge, ProjResult *r, double *dist) ;
int proj_on_triangle_bound(const double tri[9], const double q[3], ProjResult *r, double *dist) ;
int proj_on_triangle_bound_par(const double tri[9], const double q[3], const double dir[3], ProjResult *r, double *dist) ;
int proj_on_tetra(const double tet[12], const double q[3], ProjResult *r, double *dist) ;
int proj_on_tetra_par(const double tet[12], const double q[3], const double dir[3], ProjResult *r, double *dist) ;
int proj_on_tetra_bound(const double tet[12], const double q[3], ProjResult *r, double *dist) ;
int proj_on_tetra_bound_par(const double tet[12], const double q[3], const double dir[3], ProjResult *r, double *dist) ;
int proj(const double *pts, int n, const double q[3], ProjResult *r, double *dist) ;

/* random.h */
typedef struct random_rec random_rec;
random_rec *random_new(int seed) ;
random_rec *random_kill(random_rec *generator) ;
float random_val(random_rec *generator) ;

/* scalar_solvers.h */
typedef double (*gsect_function)(double x);
int gaussd(double *a, double *b, int n) ;
int fthird_order_eq(const double *c, double *root, double lo, double hi, double tol) ;
double gsect_min(double ax, double bx, double cx, double tol, gsect_function f, double *f_min) ;
double real_atan2PI(double x, double y, int *err) ;
double real_atan(double x, double y, int *err) ;

/* special_functions.h */
int least_square_fit(const double *x, const double *y, int ndata, const double *sig, int mwt, double *a, double *b, double *siga, double *sigb, double *chi2, double *q) ;

/* teska_version.h */
const char *teska_version(void) ;
int teska_version_number(void) ;

/* tetra.h */
typedef struct tetra_point { double x, y, z; double nr; } tetra_point;
typedef struct tetra_plane { double a, b, c, d; tetra_point p[3]; double centroid[3]; int flag; } tetra_plane;
typedef struct tetra_rec { tetra_point p[4]; double centroid[3]; double m[9]; } tetra_rec;
typedef struct tetra_volume { int nr_planes; list_rec *planes; int nr_tetras; list_rec *tetras; int spare1, spare2; } tetra_volume;
typedef int (*tetra_point_select_fn)(const tetra_point *p, int index);
tetra_plane *plane_new(const tetra_plane *src) ;
tetra_plane *plane_new2(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) ;
tetra_rec *tetra_new(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2, const tetra_point *p3) ;
int plane_kill(void *rec) ;
int tetra_kill(void *rec) ;
tetra_volume *tetra_volume_new0(void) ;
tetra_volume *tetra_volume_new(list_rec *points) ;
tetra_volume *tetra_volume_new2(list_rec *points, int mode, tetra_point_select_fn select) ;
int tetra_volume_kill(tetra_volume *v) ;
int tetra_volume_add_plane(tetra_volume *v, const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) ;
int tetra_volume_add_plane2(tetra_volume *v, const tetra_plane *plane) ;
int tetra_volume_add_tetra(tetra_volume *v, const tetra_point *p0, const tetra_point *p1, const tetra_point *p2, const tetra_point *p3) ;
int tetra_point_inside(const tetra_rec *t, const double p[3], double w[3]) ;
int triangle_point_inside(const tetra_plane *tri, const double p[3]) ;
int plane_intersect_line(const tetra_plane *plane, const double a[3], const double b[3], double x[3]) ;
double plane_get_distance_from_point(const tetra_point *p, const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) ;
double line_get_distance_from_point(const tetra_point *p, const tetra_point *s, const tetra_point *e) ;
double triangle_get_area(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2) ;
double tetra_get_volume(const tetra_rec *t) ;
double tetra_get_true_volume(const tetra_rec *t) ;
int tetra_get_pointnr(const tetra_rec *t, int vertex) ;
int triangle_intersect_linesegment(const tetra_point *p0, const tetra_point *p1, const tetra_point *p2, const double a[3], const double b[3], double x[3]) ;
int triangle_intersect_linesegment2(const tetra_plane *plane, const double a[3], const double b[3], double x[3]) ;
int tetra_volume_get_nr_of_tetrahedrae(const tetra_volume *v) ;
int tetra_volume_get_tetra(const tetra_volume *v, const double p[3], tetra_rec **out) ;
int tetra_volume_get_tetra2(const tetra_volume *v, int index, tetra_rec **out) ;
int tetra_volume_point_inside(const tetra_volume *v, const double p[3]) ;
int tetra_volume_line_intersect(const tetra_volume *v, const double a[3], const double b[3], int *count) ;
int tetra_volume_line_intersect2(const tetra_volume *v, const double a[3], const double b[3], int *count, double *out, int size) ;
int tetra_volume_line_hasintersects(const tetra_volume *v, const double a[3], const double b[3]) ;
int tetra_volume_get_border_points(const tetra_volume *v, int *count, list_rec **points) ;
double tetra_volume_get_volume(const tetra_volume *v) ;
double tetra_volume_get_true_volume(const tetra_volume *v) ;
int tetra_volume_nearest(const tetra_volume *v, const double q[3], double nearest[3], double *dist, int *plane, double weights[3]) ;

/* top_surface.h */
typedef struct top_surface top_surface;
typedef int (*top_surface_device)(void *user, const double *device, double *colour);
top_surface *top_surface_new(int colorants, const double *const *levels, const int *counts, int vertical, top_surface_device device, void *user, int steps) ;
top_surface *top_surface_kill(top_surface *top) ;
int top_surface_get_nr_parts(top_surface *top) ;
int top_surface_get_part(top_surface *top, int part, double *device) ;
int top_surface_next_triangle(top_surface *top, int first, double corners[9], double coords[9]) ;
int top_surface_normalise(top_surface *top, const double *colours, double *norm, double *penalty, int count, int smaller) ;
int top_surface_colour(top_surface *top, const double *norm, double *colours, int count, int smaller) ;
int top_surface_edge(top_surface *top, double phi, double *tetamax, double *vt) ;

/* whole_image.h */
typedef struct whole_image { void *pixels; int width, height, components; int depth; int64_t line, pixel, component; } whole_image;
typedef struct whole_image_sharpening { int radius; const double *strength; const double *noise; int points; const double *levels; const double *factors; } whole_image_sharpening;
int whole_image_resize(int kernel, const whole_image *source, const whole_image *target, const double *window, int first, int lines) ;
int whole_image_sharpen(const whole_image_sharpening *how, const whole_image *source, const whole_image *target, int first, int lines) ;
int whole_image_flood(const whole_image *source, int x, int y, int tolerance, unsigned char *region) ;

/* zuk.h */
typedef struct zuk_db zuk_db;
typedef struct zuk_rfile zuk_rfile;
zuk_db *zuk_open(void) ;
zuk_rfile *zuk_create_rfile(zuk_db *db, const char *path) ;
zuk_rfile *zuk_push_rfile(zuk_db *db, const char *path) ;
int zuk_close(zuk_db *db) ;
int zuk_add_topic(zuk_db *db, zuk_rfile *rfile, const char *topic, const char *comment) ;
int zuk_add_item(zuk_db *db, const char *topic, const char *name, const char *value, const char *comment) ;
char *zuk_list_item(zuk_db *db, const char *topic, int *state) ;
int zuk_search(zuk_db *db, const char *topic, const char *name, char *value) ;
int zuk_flush(zuk_db *db) ;
'''
