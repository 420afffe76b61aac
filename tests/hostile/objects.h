// objects - how the rows make, ask and free objects of every type, contents hostile now and then

#ifndef TESKA_TESTS_HOSTILE_OBJECTS_H
#define TESKA_TESTS_HOSTILE_OBJECTS_H

#include "hostile/hostile.h"
#include "teska.h"

#include <zuk.h>

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
struct Object<mat> : Ways<mat_kill, mat_get_element> {
    static mat *make(Draw &draw) { return mat_new(draw.values<double>(9), 3); }
};

inline double bowl(void *, void *, const double *x) { return x[0] * x[0] + (x[1] - 1) * (x[1] - 1); }

template <>
struct Object<dhsm> : Ways<dhsm_kill, dhsm_solve> {
    static dhsm *make(Draw &) { return dhsm_new(bowl, nullptr, 2); }
};

template <>
struct Object<random_rec> : Ways<random_kill, random_val> {
    static random_rec *make(Draw &draw) { return random_new(draw.value<int>()); }
};

template <>
struct Object<rdither> : Ways<rdither_kill, rdither_val> {
    static rdither *make(Draw &) { return rdither_new(255, 15); }
};

template <>
struct Object<restriction> : Ways<restriction_kill, restriction_get_num_of_var, restriction_makeX> {
    static restriction *make(Draw &draw)
    {
        const double *const rows = draw.values<double>(12);
        return restriction_new(3, draw.random.below(2), rows, 2, rows + 4);
    }
};

template <>
struct Object<vect_lobe> : Ways<vect_lobe_kill, vect_lobe_weight> {
    static vect_lobe *make(Draw &draw)
    {
        return vect_lobe_new(3, draw.values<double>(3), draw.values<double>(3), draw.number(), draw.number());
    }
};

// ---- Curves ---------------------------------------------------------------------------------------------------------

template <>
struct Object<bezier> : Ways<bezier_kill, bezier_get> {
    static bezier *make(Draw &draw)
    {
        bezier *b = bezier_new(2 + draw.random.below(3), 0, 0, 0, 0);
        bezier_set_control_poly(b, draw.values<double>(5), draw.values<double>(5));
        return b;
    }
};

template <>
struct Object<poly_bezier> : Ways<poly_bezier_kill, poly_bezier_get, poly_bezier_area> {
    static poly_bezier *make(Draw &draw)
    {
        poly_bezier *p = poly_bezier_new(draw.number(), draw.number());
        for (int i = draw.random.below(4); i > 0 && p != nullptr; --i)
            poly_bezier_add(p, 1 + draw.random.below(3), draw.values<double>(3), draw.values<double>(3));
        return p;
    }
};

inline int after(const void *element, const void *key)
{
    return *static_cast<const double *>(element) > *static_cast<const double *>(key);
}

template <>
struct Object<func> : Ways<func_kill, func_num, func_pos> {
    static func *make(Draw &draw)
    {
        func *f = func_new(1, sizeof(double), sizeof(double), draw.chance(4) ? nullptr : after);
        for (int i = draw.random.below(6); i > 0; --i)
            func_insert(f, draw.values<double>(1), draw.values<double>(1));
        return f;
    }
};

template <>
struct Object<lin_interp_double> : Ways<lin_interp_double_kill, lin_interp_double_inter> {
    static lin_interp_double *make(Draw &draw)
    {
        lin_interp_double *li = lin_interp_double_new(1, draw.chance(4) ? after : nullptr);
        for (int i = draw.random.below(6); i > 0; --i)
            lin_interp_double_insert(li, draw.number(), draw.number());
        return li;
    }
};

template <>
struct Object<grad_tab> : Ways<grad_tab_kill, grad_tab_do> {
    static grad_tab *make(Draw &draw)
    {
        return grad_tab_new_points(draw.values<double>(6), draw.random.below(4), draw.number(), draw.number());
    }
};

template <>
struct Object<hist> : Ways<hist_kill, hist_med, hist_percentile> {
    static hist *make(Draw &draw)
    {
        hist *h = hist_new(-2, 5);
        hist_point(h, draw.values<int>(4), 4);
        return h;
    }
};

// ---- Colour: three inputs and two outputs, but where a row made it otherwise ----------------------------------------

// Samples of a table, as given by its dataptr.
template <auto dataptr, class... At>
auto *filled(Draw &draw, auto *table, At... at)
{
    int size;
    auto *data = dataptr(table, at..., &size);
    std::generate(data, data + size, [&] { return draw.value<std::remove_pointer_t<decltype(data)>>(); });
    return table;
}

template <>
struct Object<clut_table> : Ways<clut_table_kill, clut_table_interp> {
    static clut_table *make(Draw &draw)
    {
        const int points[3] = {2, 3, 2};
        return clut_table_new(3, points, 2, draw.values<float>(24));
    }
};

template <>
struct Object<md_tetrab> : Ways<md_tetrab_kill, md_tetrab_interp> {
    static md_tetrab *make(Draw &draw)
    {
        const int low = draw.random.below(200), high = low + 1 + draw.random.below(255 - low);
        return filled<md_tetrab_dataptr>(draw, draw.chance(2)
                                                   ? md_tetrab_new(3, 2, 3)
                                                   : md_tetrab_new_special(3, 2, 3, low, high, draw.random.below(3)));
    }
};

template <>
struct Object<md_tetrad> : Ways<md_tetrad_kill, md_tetrad_interp> {
    static md_tetrad *make(Draw &draw)
    {
        return filled<md_tetrad_dataptr>(draw, md_tetrad_new(3, 2, 3, draw.number(), draw.number()));
    }
};

template <>
struct Object<md_tetras> : Ways<md_tetras_kill, md_tetras_interp> {
    static md_tetras *make(Draw &draw) { return filled<md_tetras_dataptr>(draw, md_tetras_new(3, 2, 3)); }
};

template <>
struct Object<mmd_tetras> : Ways<mmd_tetras_kill, mmd_tetras_interp_mix> {
    static mmd_tetras *make(Draw &draw) { return filled<mmd_tetras_dataptr>(draw, mmd_tetras_new(3, 3, 2, 3), 1); }
};

// ---- Images ---------------------------------------------------------------------------------------------------------

inline void handed(void *, int) {}
inline void taken(int) {}

// A step for lines of 80 samples and up to 6 pixels of 4 components.
inline int a_step(Draw &draw) { return draw.random.below(9) - 4; }

template <>
struct Object<fir> : Ways<fir_kill, fir_start, fir_mono_b> {
    static fir *make(Draw &draw)
    {
        fir *record = fir_new(draw.random.below(4), draw.value<int>() & INT_MAX);
        return fir_start_with(record, 1 + draw.random.below(4), 1 + draw.random.below(6), draw.random.below(7), handed,
                              nullptr, a_step(draw), a_step(draw));
    }
};

template <>
struct Object<flood> : Ways<flood_kill, flood_do> {
    static flood *make(Draw &)
    {
        return flood_new([](void *, int, int) { return 0; }, [](void *, int, int, int) {});
    }
};

// Two of four components are sharpened; lines of bytes and of words fit.
template <>
struct Object<fusm> : Ways<fusm_kill, fusm_start, fusm_b_do> {
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
};

// From 1 .. 6 lines and columns to as many.
template <auto start>
auto *scaling(Draw &draw, auto *record)
{
    const auto few = [&] { return 1 + draw.random.below(6); };
    start(record, 1 + draw.random.below(4), few(), few(), few(), few(), handed, nullptr, a_step(draw), a_step(draw));
    return record;
}

template <>
struct Object<ibilin> : Ways<ibilin_kill, ibilin_start, ibilin_mono_b> {
    static ibilin *make(Draw &draw) { return scaling<ibilin_start_with>(draw, ibilin_new(0)); }
};

template <>
struct Object<izoom> : Ways<izoom_kill, izoom_start, izoom_line_b> {
    static izoom *make(Draw &draw) { return scaling<izoom_start>(draw, izoom_new()); }
};

template <>
struct Object<izat> : Ways<izat_kill, izat_start, izat_line_b> {
    static izat *make(Draw &draw) { return scaling<izat_start>(draw, izat_new(draw.random.below(5))); }
};

// ---- Geometry -------------------------------------------------------------------------------------------------------

template <>
struct Object<clg> : Ways<clg_kill, clg_find> {
    static clg *make(Draw &draw)
    {
        clg *c = clg_new(4, 1 + draw.random.below(4), 0, 1);
        for (int i = 0; i < 20; ++i) {
            double device[4];
            std::generate(device, device + 4,
                          [&] { return draw.chance(2) ? draw.random.below(2) : draw.random.unit(); });
            clg_add(c, device, draw.values<double>(3));
        }
        if (!draw.chance(6))
            clg_build(c);
        return c;
    }
};

template <>
struct Object<convex_hull>
    : Ways<convex_hull_kill, convex_hull_inside, convex_hull_get_nr_faces, convex_hull_get_volume> {
    static convex_hull *make(Draw &draw)
    {
        convex_hull *hull = convex_hull_new();
        convex_hull_add_points(hull, draw.values<double>(36), 12);
        if (!draw.chance(6))
            convex_hull_construct(hull);
        return hull;
    }
};

template <>
struct Object<tetra_plane> : Ways<plane_kill, triangle_point_inside> {
    static tetra_plane *make(Draw &draw)
    {
        const tetra_point *const p = draw.values<tetra_point>(3);
        return plane_new2(p, p + 1, p + 2);
    }
};

template <>
struct Object<tetra_rec> : Ways<tetra_kill, tetra_point_inside, tetra_get_true_volume> {
    static tetra_rec *make(Draw &draw)
    {
        const tetra_point *const p = draw.values<tetra_point>(4);
        return tetra_new(p, p + 1, p + 2, p + 3);
    }
};

template <>
struct Object<tetra_volume> : Ways<tetra_volume_kill, tetra_volume_point_inside, tetra_volume_nearest> {
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
struct Object<top_surface> : Ways<top_surface_kill, top_surface_normalise> {
    static top_surface *make(Draw &draw)
    {
        static const double ramp[3] = {1, 0.5, 0}, *const levels[2] = {ramp, ramp};
        static int hostile, counts[2] = {3, 3};
        return top_surface_new(2, levels, counts, 0, a_device, draw.chance(3) ? &hostile : nullptr, 5);
    }
};

// ---- Core -----------------------------------------------------------------------------------------------------------

template <>
struct Object<cache> : Ways<cache_kill, cache_flush, cache_get> {
    static cache *make(Draw &draw)
    {
        return cache_new(
            6, 4, 8, [](void *, int id) { return 13 - 5 * id; },
            [](void *, int id, void *place) { std::memset(place, id, static_cast<std::size_t>(13 - 5 * id)); }, &draw);
    }
};

template <>
struct Object<dynar> : Ways<dynar_kill, dynar_nr_items> {
    static dynar *make(Draw &draw)
    {
        dynar *array = dynar_new(16, draw.random.below(3));
        for (int i = draw.random.below(4); i > 0; --i)
            dynar_ptr(array, i);
        return array;
    }
};

template <>
struct Object<itemfifo> : Ways<itemfifo_kill, itemfifo_nr_items> {
    static itemfifo *make(Draw &draw)
    {
        itemfifo *fifo = itemfifo_new(8, draw.random.below(4));
        for (int i = draw.random.below(6); i > 0; --i)
            itemfifo_put(fifo, draw.values<double>(1));
        return fifo;
    }
};

template <>
struct Object<list_rec> : Ways<list_kill, list_num, list_pos> {
    static list_rec *make(Draw &draw)
    {
        list_rec *list = list_new(1, sizeof(tetra_point), draw.chance(2) ? after : nullptr);
        for (int i = draw.random.below(10); i > 0; --i)
            list_insert(list, draw.values<tetra_point>(1));
        return list;
    }
};

// Keys of 4 bytes and data of 8.
inline int hash_of(int parameter, const void *key)
{
    return *static_cast<const unsigned char *>(key) + (parameter & 7);
}
inline int same_key(const void *a, const void *b) { return std::memcmp(a, b, 4) == 0; }
inline int no_key(const void *slot) { return same_key(slot, "\0\0\0"); }

template <>
struct Object<hash_tab> : Ways<hash_tab_kill, hash_tab_nr_items, hash_tab_get> {
    static hash_tab *make(Draw &draw)
    {
        hash_tab *table = hash_tab_new(4, 4, 8, hash_of, same_key, no_key, draw.random.below(9), nullptr);
        for (int i = draw.random.below(7); i > 0; --i)
            hash_tab_insert(table, draw.values<int>(1), draw.values<double>(1));
        return table;
    }
};

// ---- Files ----------------------------------------------------------------------------------------------------------

template <>
struct Object<archive> : Ways<archive_kill, archive_get_error> {
    static archive *make(Draw &draw)
    {
        const std::string &path = hostile_path(draw);
        archive *a = draw.chance(2) ? archive_open(path.c_str(), nullptr) : archive_create(path.c_str(), "x", nullptr);
        if (a != nullptr)
            archive_add(a, "entry", "content", 7);
        return a;
    }
};

template <>
struct Object<flock_rec> : Ways<flock_free> {
    static flock_rec *make(Draw &draw) { return flock_get(hostile_path(draw).c_str()); }
};

template <>
struct Object<rsys_dir> : Ways<rsys_dir_kill, rsys_dir_num> {
    static rsys_dir *make(Draw &draw) { return rsys_dir_new(hostile_path(draw).c_str(), "", draw.random.below(64)); }
};

template <>
struct Object<file_double> : Ways<file_double_kill, file_double_list> {
    static file_double *make(Draw &draw)
    {
        return file_double_new(hostile_path(draw).c_str(), 3, draw.random.below(2));
    }
};

template <>
struct Object<zuk_db> : Ways<zuk_close, zuk_search, zuk_list_item> {
    static zuk_db *make(Draw &draw)
    {
        zuk_db *db = zuk_open();
        zuk_push_rfile(db, hostile_path(draw).c_str());
        zuk_add_topic(db, zuk_create_rfile(db, hostile_path(draw).c_str()), "a", nullptr);
        return db;
    }
};

}  // namespace teska_test

#endif
