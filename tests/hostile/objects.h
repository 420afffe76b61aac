// objects - how the rows make, ask and free objects of every type, contents hostile now and then

#ifndef TESKA_TESTS_HOSTILE_OBJECTS_H
#define TESKA_TESTS_HOSTILE_OBJECTS_H

#include "bezierd_base.h"
#include "clg.h"
#include "clut_table.h"
#include "convex_hull.h"
#include "dhsm.h"
#include "dynar.h"
#include "fir.h"
#include "flood.h"
#include "func.h"
#include "fusm.h"
#include "grad_tab.h"
#include "hash_tab.h"
#include "hist.h"
#include "hostile/hostile.h"
#include "ibilin.h"
#include "interp_double.h"
#include "itemfifo.h"
#include "izat.h"
#include "list.h"
#include "mat.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"
#include "mmd_tetras.h"
#include "p_bezierd_base.h"
#include "random.h"
#include "rdither.h"
#include "restriction.h"
#include "tetra.h"
#include "top_surface.h"
#include "vect_lobe.h"
#include "zuk.h"

#include <climits>

namespace teska_test
{

template <>
inline tetra_point Draw::value()
{
    return {value<double>(), value<double>(), value<double>(), value<double>()};
}

// ---- Numerics -------------------------------------------------------------------------------------------------------

template <>
struct Object<mat> : Freed<mat_kill> {
    static mat *make(Draw &draw) { return mat_new(draw.values<double>(9), 3); }
    static void ask(mat *m, Digest &digest)
    {
        int err;
        add(digest, mat_get_element(m, 0, 0, &err), mat_get_element(m, 2, 1, &err));
    }
};

template <>
struct Object<dhsm> : Freed<dhsm_kill> {
    static dhsm *make(Draw &)
    {
        return dhsm_new([](void *, void *, const double *x) { return x[0] * x[0] + x[1]; }, nullptr, 2);
    }
    static void ask(dhsm *d, Digest &digest)
    {
        double x[3] = {1, 2, 3}, least;
        add(digest, dhsm_solve(d, nullptr, nullptr, 1e-3, x, 2, &least));
    }
};

template <>
struct Object<random_rec> : Freed<random_kill> {
    static random_rec *make(Draw &draw) { return random_new(draw.value<int>()); }
    static void ask(random_rec *generator, Digest &) { random_val(generator); }
};

template <>
struct Object<rdither> : Freed<rdither_kill> {
    static rdither *make(Draw &) { return rdither_new(255, 15); }
    static void ask(const rdither *table, Digest &digest)
    {
        for (unsigned i = 0; i < 8; ++i)
            add(digest, rdither_val(table, i, i + 1, i % 2));
    }
};

template <>
struct Object<restriction> : Freed<restriction_kill> {
    static restriction *make(Draw &draw)
    {
        const double *const rows = draw.values<double>(12);
        return restriction_new(3, draw.random.below(2), rows, 2, rows + 4);
    }
    static void ask(const restriction *r, Digest &digest)
    {
        const double free_vars[4] = {1, 2, 3, 4};
        double x[4] = {};
        add(digest, restriction_get_num_of_var(r));
        restriction_makeX(r, free_vars, x);
        add(digest, x);
    }
};

template <>
struct Object<vect_lobe> : Freed<vect_lobe_kill> {
    static vect_lobe *make(Draw &draw)
    {
        return vect_lobe_new(3, draw.values<double>(3), draw.values<double>(3), draw.number(), draw.number());
    }
    static void ask(const vect_lobe *lobe, Digest &digest)
    {
        const double x[4] = {0.5, 0.25, -1, 0};
        add(digest, vect_lobe_weight(lobe, x));
    }
};

// ---- Curves ---------------------------------------------------------------------------------------------------------

template <>
struct Object<bezier> : Freed<bezier_kill> {
    static bezier *make(Draw &draw)
    {
        bezier *b = bezier_new(2 + draw.random.below(3), 0, 0, 0, 0);
        bezier_set_control_poly(b, draw.values<double>(5), draw.values<double>(5));
        return b;
    }
    static void ask(bezier *b, Digest &digest)
    {
        double x, y;
        bezier_get(b, 0.25, &x, &y);
        add(digest, x, y);
    }
};

template <>
struct Object<poly_bezier> : Freed<poly_bezier_kill> {
    static poly_bezier *make(Draw &draw)
    {
        poly_bezier *p = poly_bezier_new(draw.number(), draw.number());
        for (int i = draw.random.below(4); i > 0 && p != nullptr; --i)
            poly_bezier_add(p, 1 + draw.random.below(3), draw.values<double>(3), draw.values<double>(3));
        return p;
    }
    static void ask(const poly_bezier *p, Digest &digest)
    {
        double x, y;
        poly_bezier_get(p, 0.25, &x, &y);
        add(digest, x, y, poly_bezier_length(p, 0, 1));
    }
};

inline int after(const void *element, const void *key)
{
    return *static_cast<const double *>(element) > *static_cast<const double *>(key);
}

template <>
struct Object<func> : Freed<func_kill> {
    static func *make(Draw &draw)
    {
        func *f = func_new(1, sizeof(double), sizeof(double), draw.chance(4) ? nullptr : after);
        for (int i = draw.random.below(6); i > 0; --i)
            func_insert(f, draw.values<double>(1), draw.values<double>(1));
        return f;
    }
    static void ask(const func *f, Digest &digest)
    {
        const double x = 0.25;
        add(digest, func_num(f), func_pos(f, &x));
    }
};

template <>
struct Object<lin_interp_double> : Freed<lin_interp_double_kill> {
    static lin_interp_double *make(Draw &draw)
    {
        lin_interp_double *li = lin_interp_double_new(1, draw.chance(4) ? after : nullptr);
        for (int i = draw.random.below(6); i > 0; --i)
            lin_interp_double_insert(li, draw.number(), draw.number());
        return li;
    }
    static void ask(const lin_interp_double *li, Digest &digest)
    {
        double y = 0;
        add(digest, lin_interp_double_inter(li, 0.25, &y), y);
    }
};

template <>
struct Object<grad_tab> : Freed<grad_tab_kill> {
    static grad_tab *make(Draw &draw)
    {
        return grad_tab_new_points(draw.values<double>(6), draw.random.below(4), draw.number(), draw.number());
    }
    static void ask(grad_tab *g, Digest &digest)
    {
        const double x = 0.25;
        double y = 0;
        add(digest, grad_tab_do(g, &x, 1, &y, 1, 1), y);
    }
};

template <>
struct Object<hist> : Freed<hist_kill> {
    static hist *make(Draw &draw)
    {
        hist *h = hist_new(-2, 5);
        hist_point(h, draw.values<int>(4), 4);
        return h;
    }
    static void ask(hist *h, Digest &digest)
    {
        double mean, sd;
        hist_med(h, &mean, &sd);
        add(digest, mean, hist_percentile(h, 50));
    }
};

template <>
struct Object<dynar> : Freed<dynar_kill> {
    static dynar *make(Draw &draw)
    {
        dynar *array = dynar_new(16, draw.random.below(3));
        for (int i = draw.random.below(4); i > 0; --i)
            dynar_ptr(array, i);
        return array;
    }
    static void ask(dynar *array, Digest &digest) { add(digest, dynar_nr_items(array)); }
};

// ---- Colour ---------------------------------------------------------------------------------------------------------

// Three inputs and two outputs, but where a row made it otherwise; one pixel to one output.
template <class Table, class In, class Out, class Interp>
void ask_table(Table *table, Digest &digest, In sample, Out, Interp interp)
{
    In *in[16];
    Out result = 0, *out[256] = {&result};
    std::fill(std::begin(in), std::end(in), &sample);
    interp(table, in, out);
    add(digest, result);
}

template <>
struct Object<clut_table> : Freed<clut_table_kill> {
    static clut_table *make(Draw &draw)
    {
        const int points[3] = {2, 3, 2};
        return clut_table_new(3, points, 2, draw.values<float>(24));
    }
    static void ask(clut_table *table, Digest &digest)
    {
        ask_table(table, digest, 0.4, 0.0,
                  [](auto *t, auto **in, auto **out) { clut_table_interp(t, in, 1, out, 1, 1); });
    }
};

template <>
struct Object<md_tetrab> : Freed<md_tetrab_kill> {
    static md_tetrab *make(Draw &draw)
    {
        const int low = draw.random.below(200);
        md_tetrab *table = draw.chance(2) ? md_tetrab_new(3, 2, 3)
                                          : md_tetrab_new_special(3, 2, 3, low, low + 1 + draw.random.below(255 - low),
                                                                  draw.random.below(3));
        int size;
        unsigned char *data = md_tetrab_dataptr(table, &size);
        std::generate(data, data + size, [&] { return draw.random.byte(); });
        return table;
    }
    static void ask(md_tetrab *table, Digest &digest)
    {
        using Byte = unsigned char;
        ask_table(table, digest, Byte{100}, Byte{0},
                  [](auto *t, auto **in, auto **out) { md_tetrab_interp(t, in, 1, out, 1, 1, nullptr, 0); });
    }
};

template <>
struct Object<md_tetrad> : Freed<md_tetrad_kill> {
    static md_tetrad *make(Draw &draw)
    {
        md_tetrad *table = md_tetrad_new(3, 2, 3, draw.number(), draw.number());
        int size;
        double *data = md_tetrad_dataptr(table, &size);
        std::generate(data, data + size, [&] { return draw.number(); });
        return table;
    }
    static void ask(md_tetrad *table, Digest &digest)
    {
        ask_table(table, digest, 0.4, 0.0,
                  [](auto *t, auto **in, auto **out) { md_tetrad_interp(t, in, 1, out, 1, 1); });
    }
};

template <>
struct Object<md_tetras> : Freed<md_tetras_kill> {
    static md_tetras *make(Draw &draw)
    {
        md_tetras *table = md_tetras_new(3, 2, 3);
        int size;
        unsigned short *data = md_tetras_dataptr(table, &size);
        std::generate(data, data + size, [&] { return draw.value<unsigned short>(); });
        return table;
    }
    static void ask(md_tetras *table, Digest &digest)
    {
        using Word = unsigned short;
        ask_table(table, digest, Word{20000}, Word{0},
                  [](auto *t, auto **in, auto **out) { md_tetras_interp(t, in, 1, out, 1, 1, nullptr, 0); });
    }
};

template <>
struct Object<mmd_tetras> : Freed<mmd_tetras_kill> {
    static mmd_tetras *make(Draw &draw)
    {
        mmd_tetras *set = mmd_tetras_new(3, 3, 2, 3);
        int size;
        unsigned short *data = mmd_tetras_dataptr(set, 1, &size);
        std::generate(data, data + size, [&] { return draw.value<unsigned short>(); });
        return set;
    }
    static void ask(mmd_tetras *set, Digest &digest)
    {
        using Word = unsigned short;
        ask_table(set, digest, Word{20000}, Word{0},
                  [](auto *t, auto **in, auto **out) { mmd_tetras_interp_mix(t, 0, 0, in, 1, out, 1, 1, nullptr, 9); });
    }
};

// ---- Images ---------------------------------------------------------------------------------------------------------

inline void handed(void *, int) {}
inline void taken(int) {}

// A step for lines of 80 samples and up to 6 pixels of 4 components.
inline int a_step(Draw &draw) { return draw.random.below(9) - 4; }

template <>
struct Object<fir> : Freed<fir_kill> {
    static fir *make(Draw &draw)
    {
        fir *record = fir_new(draw.random.below(4), draw.value<int>() & INT_MAX);
        return fir_start_with(record, 1 + draw.random.below(4), 1 + draw.random.below(6), draw.random.below(7), handed,
                              nullptr, a_step(draw), a_step(draw));
    }
    static void ask(fir *record, Digest &digest)
    {
        unsigned char line[5] = {1, 2, 3, 4, 5}, result[5] = {}, *out = result;
        fir_start(record, 1, 3, 5, taken, 1, 1);
        for (int y = 0; y < 3; ++y)
            fir_mono_b(record, line, &out);
        add(digest, result);
    }
};

template <>
struct Object<flood> : Freed<flood_kill> {
    static flood *make(Draw &)
    {
        return flood_new([](void *, int, int) { return 0; }, [](void *, int, int, int) {});
    }
    static void ask(flood *record, Digest &) { flood_do(record, nullptr, 0, 0); }
};

// Two of four components are sharpened; lines of bytes and of words fit.
template <>
struct Object<fusm> : Freed<fusm_kill> {
    static fusm *make(Draw &draw)
    {
        fusm *record = fusm_new(draw.random.below(3), draw.random.below(300), 2, 4, nullptr, nullptr);
        fusm_stren_set(record, draw.values<double>(2));
        fusm_noise_red_set(record, draw.values<double>(2));
        if (draw.chance(2))
            fusm_level_red_set(record, 2, draw.values<double>(4), draw.values<double>(4));
        fusm_start_with(record, draw.random.below(8), draw.random.below(7), handed, nullptr, a_step(draw), a_step(draw),
                        a_step(draw));
        return record;
    }
    static void ask(fusm *record, Digest &digest)
    {
        unsigned char line[5] = {1, 200, 3, 4, 5}, result[5] = {};
        unsigned char *in[4] = {line, line, line, line}, *out[4] = {result, result, result, result};
        fusm_start(record, 5, 5, taken, 1, 1, 1);
        for (int y = 0; y < 5; ++y)
            fusm_b_do(record, in, out, nullptr);
        add(digest, result);
    }
};

template <>
struct Object<ibilin> : Freed<ibilin_kill> {
    static ibilin *make(Draw &draw)
    {
        ibilin *record = ibilin_new(0);
        ibilin_start_with(record, 1 + draw.random.below(4), 1 + draw.random.below(6), 1 + draw.random.below(6),
                          1 + draw.random.below(6), 1 + draw.random.below(6), handed, nullptr, a_step(draw),
                          a_step(draw));
        return record;
    }
    static void ask(ibilin *record, Digest &digest)
    {
        unsigned char line[3] = {1, 200, 3}, result[5] = {}, *out = result;
        ibilin_start(record, 1, 2, 3, 3, 5, taken, 1, 1);
        for (int y = 0; y < 2; ++y)
            ibilin_mono_b(record, line, &out);
        add(digest, result);
    }
};

template <>
struct Object<izoom> : Freed<izoom_kill> {
    static izoom *make(Draw &draw)
    {
        izoom *record = izoom_new();
        izoom_start(record, 1 + draw.random.below(4), 1 + draw.random.below(6), 1 + draw.random.below(6),
                    1 + draw.random.below(6), 1 + draw.random.below(6), handed, nullptr, a_step(draw), a_step(draw));
        return record;
    }
    static void ask(izoom *record, Digest &digest)
    {
        unsigned char line[3] = {1, 200, 3}, result[5] = {}, *out = result;
        izoom_window_set(record, 0, 0, 0, 0);
        izoom_start(record, 1, 1, 3, 1, 5, handed, nullptr, 1, 1);
        izoom_line_b(record, line, &out);
        add(digest, result);
    }
};

template <>
struct Object<izat> : Freed<izat_kill> {
    static izat *make(Draw &draw)
    {
        izat *record = izat_new(draw.random.below(5));
        izat_start(record, 1 + draw.random.below(4), 1 + draw.random.below(6), 1 + draw.random.below(6),
                   1 + draw.random.below(6), 1 + draw.random.below(6), handed, nullptr, a_step(draw), a_step(draw));
        return record;
    }
    static void ask(izat *record, Digest &digest)
    {
        unsigned char line[3] = {1, 200, 3}, result[5] = {}, *out = result;
        izat_window_set(record, 0, 0, 0, 0);
        izat_strip_set(record, 0, 0);
        izat_start(record, 1, 1, 3, 1, 5, handed, nullptr, 1, 1);
        izat_line_b(record, line, &out);
        add(digest, result);
    }
};

// ---- Geometry -------------------------------------------------------------------------------------------------------

template <>
struct Object<clg> : Freed<clg_kill> {
    static clg *make(Draw &draw)
    {
        clg *c = clg_new(4, 1 + draw.random.below(4), 0, 1);
        for (int i = 0; i < 20; ++i) {
            double device[4], colour[3];
            std::generate(device, device + 4,
                          [&] { return draw.chance(2) ? draw.random.below(2) : draw.random.unit(); });
            std::generate(colour, colour + 3, [&] { return draw.number(); });
            clg_add(c, device, colour);
        }
        if (!draw.chance(6))
            clg_build(c);
        return c;
    }
    static void ask(const clg *c, Digest &digest)
    {
        const double colour[3] = {0.25, 0.5, 1};
        double device[16] = {}, dist = 0;
        add(digest, clg_find(c, colour, device, &dist), device, dist);
    }
};

template <>
struct Object<convex_hull> : Freed<convex_hull_kill> {
    static convex_hull *make(Draw &draw)
    {
        convex_hull *hull = convex_hull_new();
        convex_hull_add_points(hull, draw.values<double>(36), 12);
        if (!draw.chance(6))
            convex_hull_construct(hull);
        return hull;
    }
    static void ask(const convex_hull *hull, Digest &digest)
    {
        const double q[3] = {0.25, 0.5, 1};
        add(digest, convex_hull_inside(hull, q), convex_hull_get_nr_faces(hull), convex_hull_get_volume(hull));
    }
};

template <>
struct Object<list_rec> : Freed<list_kill> {
    static list_rec *make(Draw &draw)
    {
        list_rec *list = list_new(1, sizeof(tetra_point), draw.chance(2) ? after : nullptr);
        for (int i = draw.random.below(10); i > 0; --i)
            list_insert(list, draw.values<tetra_point>(1));
        return list;
    }
    static void ask(list_rec *list, Digest &digest)
    {
        const double key[64] = {0.5};
        add(digest, list_num(list), list_pos(list, key));
    }
};

template <>
struct Object<tetra_plane> : Freed<plane_kill> {
    static tetra_plane *make(Draw &draw)
    {
        return plane_new2(draw.values<tetra_point>(1), draw.values<tetra_point>(1), draw.values<tetra_point>(1));
    }
    static void ask(const tetra_plane *plane, Digest &digest)
    {
        const double p[3] = {0.25, 0.5, 1};
        add(digest, triangle_point_inside(plane, p), plane->d);
    }
};

template <>
struct Object<tetra_rec> : Freed<tetra_kill> {
    static tetra_rec *make(Draw &draw)
    {
        const tetra_point *const p = draw.values<tetra_point>(4);
        return tetra_new(p, p + 1, p + 2, p + 3);
    }
    static void ask(const tetra_rec *t, Digest &digest)
    {
        const double p[3] = {0.25, 0.5, 1};
        add(digest, tetra_point_inside(t, p, nullptr), tetra_get_true_volume(t));
    }
};

template <>
struct Object<tetra_volume> : Freed<tetra_volume_kill> {
    static tetra_volume *make(Draw &draw)
    {
        list_rec *points = list_new(1, sizeof(tetra_point), nullptr);
        for (int i = draw.random.below(14); i > 0; --i)
            list_insert(points, draw.values<tetra_point>(1));
        tetra_volume *v = tetra_volume_new(points);
        list_kill(points);
        if (v != nullptr && draw.chance(3)) {
            const tetra_point *const p = draw.values<tetra_point>(4);
            tetra_volume_add_plane(v, p, p + 1, p + 2);
            tetra_volume_add_tetra(v, p, p + 1, p + 2, p + 3);
        }
        return v;
    }
    static void ask(const tetra_volume *v, Digest &digest)
    {
        const double q[3] = {0.25, 0.5, 1};
        double dist = 0;
        add(digest, tetra_volume_point_inside(v, q), tetra_volume_nearest(v, q, nullptr, &dist, nullptr, nullptr),
            dist);
    }
};

// The same colour for the same device values, hostile for some of them when `user` is there.
// Two colorants at least.
inline int a_device(void *user, const double *device, double *colour)
{
    colour[0] = 30 + 25 * device[0] + 20 * device[1] + 5 * device[0] * device[1];
    colour[1] = 40 * device[0] - 30 * device[1];
    colour[2] = 35 * device[1] - 20 * device[0] * device[0];
    Digest digest;
    digest.add(device, 2 * sizeof(double));
    if (user == nullptr || digest.value() % 5 != 0)
        return 0;
    Draw draw(digest.value() | 3);
    colour[digest.value() % 3] = draw.number();
    return draw.chance(3) ? -1 : 0;
}

template <>
struct Object<top_surface> : Freed<top_surface_kill> {
    static top_surface *make(Draw &draw)
    {
        const double ramp[3] = {1, 0.5, 0};
        const double *const levels[2] = {ramp, ramp};
        const int counts[2] = {3, 3};
        static int hostile;
        return top_surface_new(2, levels, counts, 0, a_device, draw.chance(3) ? &hostile : nullptr, 5);
    }
    static void ask(top_surface *top, Digest &digest)
    {
        const double colour[3] = {40, 5, 5};
        double norm[3] = {};
        add(digest, top_surface_normalise(top, colour, norm, nullptr, 1, 0), norm);
    }
};

// ---- Files ----------------------------------------------------------------------------------------------------------

template <>
struct Object<zuk_db> : Freed<zuk_close> {
    static zuk_db *make(Draw &draw)
    {
        zuk_db *db = zuk_open();
        zuk_push_rfile(db, hostile_path(draw).c_str());
        zuk_add_topic(db, zuk_create_rfile(db, hostile_path(draw).c_str()), "a", nullptr);
        return db;
    }
    static void ask(zuk_db *db, Digest &digest)
    {
        char value[ZUK_VALUE_SIZE];
        add(digest, zuk_search(db, "a", "b", value));
    }
};

}  // namespace teska_test

#endif
