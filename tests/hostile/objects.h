// objects - how the rows make, ask and free objects of every type, contents hostile now and then

#ifndef TESKA_TESTS_HOSTILE_OBJECTS_H
#define TESKA_TESTS_HOSTILE_OBJECTS_H

#include "hostile/hostile.h"
#include "teska.h"

#include <zuk.h>

namespace teska_test
{

template <>
inline tetra_point Draw::value()
{
    return {value<double>(), value<double>(), value<double>(), value<double>()};
}

// What an object holds, as far as a query has room.
inline void elements(list_rec *list, unsigned char *out)
{
    const auto size = static_cast<std::size_t>(list_get_el_size(list));
    for (std::size_t i = 0; static_cast<int>(i) < list_num(list) && (i + 1) * size <= 296; ++i)
        std::memcpy(out + i * size, list_get_element(list, static_cast<int>(i)), size);
}

// ---- Numerics -------------------------------------------------------------------------------------------------------

inline void first_column(mat *m, double *out)
{
    for (int i = 0; i < 3; ++i)
        if (const double *const row = mat_get_row(m, i))
            out[i] = row[0];
}

inline auto make(Draw &draw, mat *)
{
    return made<mat_kill, mat_get_element, first_column>(mat_new(draw.values<double>(9), 3));
}

inline double bowl(void *, void *, const double *x) { return x[0] * x[0] + (x[1] - 1) * (x[1] - 1); }

inline auto make(Draw &, dhsm *) { return made<dhsm_kill, dhsm_solve>(dhsm_new(bowl, nullptr, 2)); }

inline auto make(Draw &draw, random_rec *) { return made<random_kill, random_val>(random_new(draw.value<int>())); }

inline auto make(Draw &, rdither *) { return made<rdither_kill, rdither_val>(rdither_new(255, 15)); }

inline auto make(Draw &draw, restriction *)
{
    const double *const rows = draw.values<double>(12);
    return made<restriction_kill, restriction_get_num_of_var, restriction_makeX>(
        restriction_new(3, draw.random.below(2), rows, 2, rows + 4));
}

inline auto make(Draw &draw, vect_lobe *)
{
    return made<vect_lobe_kill, vect_lobe_weight>(in_order(
        vect_lobe_new, std::tuple{3, draw.values<double>(3), draw.values<double>(3), draw.number(), draw.number()}));
}

// ---- Curves ---------------------------------------------------------------------------------------------------------

inline auto make(Draw &draw, bezier *)
{
    bezier *b = bezier_new(2 + draw.random.below(3), 0, 0, 0, 0);
    in_order(bezier_set_control_poly, std::tuple{b, draw.values<double>(5), draw.values<double>(5)});
    return made<bezier_kill, bezier_get>(b);
}

inline void segments(const poly_bezier *p, double *out)
{
    for (int i = 0; i < poly_bezier_num(p) && i < 30; ++i)
        poly_bezier_segment(p, i, out + 8 * i, out + 8 * i + 4);
}

// Few segments, or about as many as the first block has room for.
inline auto make(Draw &draw, poly_bezier *)
{
    poly_bezier *p = in_order(poly_bezier_new, std::tuple{draw.number(), draw.number()});
    for (int i = draw.chance(4) ? 12 + draw.random.below(6) : draw.random.below(4); i > 0 && p != nullptr; --i)
        in_order(poly_bezier_add,
                 std::tuple{p, 1 + draw.random.below(3), draw.values<double>(3), draw.values<double>(3)});
    return made<poly_bezier_kill, poly_bezier_get, poly_bezier_area, segments>(p);
}

inline int after(const void *element, const void *key)
{
    return *static_cast<const double *>(element) > *static_cast<const double *>(key);
}

inline void func_points(const func *f, double *out)
{
    void *x, *y;
    for (int i = 0; i < 100 && func_get_point(f, i, &x, &y) == 0; ++i)
        out[i] = *static_cast<unsigned char *>(x) + 256 * *static_cast<unsigned char *>(y);
}

inline auto make(Draw &draw, func *)
{
    func *f = func_new(1, sizeof(double), sizeof(double), draw.chance(4) ? nullptr : after);
    for (int i = draw.random.below(6); i > 0; --i)
        in_order(func_insert, std::tuple{f, draw.values<double>(1), draw.values<double>(1)});
    return made<func_kill, func_num, func_pos, func_points>(f);
}

inline void curve_points(const lin_interp_double *li, double *out)
{
    for (int i = 0; i < 100 && lin_interp_double_getp(li, i, out + 2 * i, out + 2 * i + 1) == 0; ++i)
        continue;
}

inline auto make(Draw &draw, lin_interp_double *)
{
    lin_interp_double *li = lin_interp_double_new(1, draw.chance(4) ? after : nullptr);
    for (int i = draw.random.below(6); i > 0; --i)
        in_order(lin_interp_double_insert, std::tuple{li, draw.number(), draw.number()});
    return made<lin_interp_double_kill, lin_interp_double_inter, curve_points>(li);
}

inline auto make(Draw &draw, grad_tab *)
{
    return made<grad_tab_kill, grad_tab_do>(in_order(
        grad_tab_new_points, std::tuple{draw.values<double>(6), draw.random.below(4), draw.number(), draw.number()}));
}

inline auto make(Draw &draw, hist *)
{
    hist *h = hist_new(-2, 5);
    hist_point(h, draw.values<int>(4), 4);
    return made<hist_kill, hist_med, hist_percentile>(h);
}

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

inline auto make(Draw &draw, clut_table *)
{
    const int points[3] = {2, 3, 2};
    return made<clut_table_kill, clut_table_interp>(clut_table_new(3, points, 2, draw.values<float>(24)));
}

inline auto make(Draw &draw, md_tetrab *)
{
    const int low = draw.random.below(200), high = low + 1 + draw.random.below(255 - low);
    return made<md_tetrab_kill, md_tetrab_interp>(filled<md_tetrab_dataptr>(
        draw,
        draw.chance(2) ? md_tetrab_new(3, 2, 3) : md_tetrab_new_special(3, 2, 3, low, high, draw.random.below(3))));
}

inline auto make(Draw &draw, md_tetrad *)
{
    return made<md_tetrad_kill, md_tetrad_interp>(
        filled<md_tetrad_dataptr>(draw, in_order(md_tetrad_new, std::tuple{3, 2, 3, draw.number(), draw.number()})));
}

inline auto make(Draw &draw, md_tetras *)
{
    return made<md_tetras_kill, md_tetras_interp>(filled<md_tetras_dataptr>(draw, md_tetras_new(3, 2, 3)));
}

inline auto make(Draw &draw, mmd_tetras *)
{
    return made<mmd_tetras_kill, mmd_tetras_interp_mix>(
        filled<mmd_tetras_dataptr>(draw, mmd_tetras_new(3, 3, 2, 3), 1));
}

// ---- Images ---------------------------------------------------------------------------------------------------------

inline void handed(void *, int) {}
inline void converted(void **, int, void **, int, int) {}

// A step for lines of 80 samples and up to 6 pixels of 4 components.
inline int a_step(Draw &draw) { return draw.random.below(9) - 4; }

inline auto make(Draw &draw, fir *)
{
    fir *record = in_order(fir_new, std::tuple{draw.random.below(4), draw.value<int>() & INT_MAX});
    return made<fir_kill, fir_start, fir_mono_b>(
        in_order(fir_start_with, std::tuple{record, 1 + draw.random.below(4), 1 + draw.random.below(6),
                                            draw.random.below(7), &handed, nullptr, a_step(draw), a_step(draw)}));
}

inline auto make(Draw &, flood *)
{
    return made<flood_kill, flood_do>(flood_new(nobody(flood_inside()), nobody(flood_fill())));
}

// Two of four components are sharpened; lines of bytes and of words fit.
inline auto make(Draw &draw, fusm *)
{
    fusm *record = in_order(fusm_new, std::tuple{draw.random.below(3), draw.random.below(300), 2, 4, nullptr,
                                                 draw.chance(4) ? converted : nullptr});
    fusm_stren_set(record, draw.values<double>(2));
    fusm_noise_red_set(record, draw.values<double>(2));
    if (draw.chance(2))
        in_order(fusm_level_red_set, std::tuple{record, 2, draw.values<double>(4), draw.values<double>(4)});
    in_order(fusm_start_with, std::tuple{record, draw.random.below(8), draw.random.below(7), &handed, nullptr,
                                         a_step(draw), a_step(draw), a_step(draw)});
    return made<fusm_kill, fusm_start, fusm_b_do>(record);
}

// From 1 .. 6 lines and columns to as many.
template <auto start>
auto *scaling(Draw &draw, auto *record)
{
    const auto few = [&] { return 1 + draw.random.below(6); };
    in_order(start, std::tuple{record, 1 + draw.random.below(4), few(), few(), few(), few(), &handed, nullptr,
                               a_step(draw), a_step(draw)});
    return record;
}

inline auto make(Draw &draw, ibilin *)
{
    return made<ibilin_kill, ibilin_start, ibilin_mono_b>(scaling<ibilin_start_with>(draw, ibilin_new(0)));
}

inline auto make(Draw &draw, izoom *)
{
    return made<izoom_kill, izoom_start, izoom_line_b>(scaling<izoom_start>(draw, izoom_new()));
}

inline auto make(Draw &draw, izat *)
{
    return made<izat_kill, izat_start, izat_line_b>(scaling<izat_start>(draw, izat_new(draw.random.below(5))));
}

// ---- Geometry -------------------------------------------------------------------------------------------------------

inline auto make(Draw &draw, clg *)
{
    clg *c = clg_new(4, 1 + draw.random.below(4), 0, 1);
    for (int i = draw.chance(6) ? 64 : 20; i > 0; --i) {  // at 64 pairs the room ends
        double device[4];
        std::generate(device, device + 4, [&] { return draw.chance(2) ? draw.random.below(2) : draw.random.unit(); });
        clg_add(c, device, draw.values<double>(3));
    }
    if (!draw.chance(6))
        clg_build(c);
    return made<clg_kill, clg_find>(c);
}

inline auto make(Draw &draw, convex_hull *)
{
    convex_hull *hull = convex_hull_new();
    convex_hull_add_points(hull, draw.values<double>(36), 12);
    if (!draw.chance(6))
        convex_hull_construct(hull);
    return made<convex_hull_kill, convex_hull_inside, convex_hull_get_nr_faces, convex_hull_get_volume>(hull);
}

inline auto make(Draw &draw, tetra_plane *)
{
    const tetra_point *const p = draw.values<tetra_point>(3);
    return made<plane_kill, triangle_point_inside>(plane_new2(p, p + 1, p + 2));
}

inline auto make(Draw &draw, tetra_rec *)
{
    const tetra_point *const p = draw.values<tetra_point>(4);
    return made<tetra_kill, tetra_point_inside, tetra_get_true_volume>(tetra_new(p, p + 1, p + 2, p + 3));
}

inline void planes_and_tetras(const tetra_volume *v, double *out)
{
    const int all[] = {v->nr_planes, list_num(v->planes), v->nr_tetras, list_num(v->tetras)};
    std::copy(all, all + 4, out);
}

// Few planes, or more than a line's crossings have room for.
inline auto make(Draw &draw, tetra_volume *)
{
    list_rec *points = list_new(1, sizeof(tetra_point), nullptr);
    for (int i = draw.random.below(14); i > 0; --i)
        list_insert(points, draw.values<tetra_point>(1));
    tetra_volume *v = tetra_volume_new(points);
    list_kill(points);
    for (int i = draw.chance(6) ? 35 : 0; i > 0; --i) {
        const tetra_point at[] = {{0, 0, 0.1 * i, 0}, {1, 0, 0.1 * i, 0}, {0, 1, 0.1 * i, 0}};
        tetra_volume_add_plane(v, at, at + 1, at + 2);
    }
    if (v != nullptr && draw.chance(3)) {
        const tetra_point *const p = draw.values<tetra_point>(4);
        tetra_volume_add_plane(v, p, p + 1, p + 2);
        tetra_volume_add_tetra(v, p, p + 1, p + 2, p + 3);
    }
    return made<tetra_volume_kill, tetra_volume_point_inside, tetra_volume_nearest, planes_and_tetras>(v);
}

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

inline auto make(Draw &draw, top_surface *)
{
    static const double ramp[3] = {1, 0.5, 0}, *const levels[2] = {ramp, ramp};
    static int hostile, counts[2] = {3, 3};
    return made<top_surface_kill, top_surface_normalise>(
        top_surface_new(2, levels, counts, 0, a_device, draw.chance(3) ? &hostile : nullptr, 5));
}

// ---- Core -----------------------------------------------------------------------------------------------------------

inline int page_size(void *, int id) { return 13 - 5 * id; }

inline auto make(Draw &draw, cache *)
{
    const auto load = [](void *, int id, void *page) { std::memset(page, id, static_cast<std::size_t>(13 - 5 * id)); };
    return made<cache_kill, cache_flush, cache_get>(cache_new(6, 4, 8, page_size, load, &draw));
}

inline void items(dynar *array, double *out)
{
    if (dynar_nr_items(array) > 1)
        std::memcpy(out, dynar_ptr(array, 1), 16);
}

inline auto make(Draw &draw, dynar *)
{
    dynar *array = dynar_new(16, draw.random.below(3));
    for (int i = draw.random.below(4); i > 0; --i)
        std::memcpy(dynar_ptr(array, i), draw.values<double>(2), 16);
    return made<dynar_kill, dynar_nr_items, items>(array);
}

inline auto make(Draw &draw, itemfifo *)
{
    itemfifo *fifo = itemfifo_new(8, draw.random.below(4));
    for (int i = draw.random.below(6); i > 0; --i)
        itemfifo_put(fifo, draw.values<double>(1));
    return made<itemfifo_kill, itemfifo_nr_items>(fifo);
}

inline auto make(Draw &draw, list_rec *)
{
    list_rec *list = list_new(1, sizeof(tetra_point), draw.chance(2) ? after : nullptr);
    for (int i = draw.chance(12) ? 70 : draw.random.below(10); i > 0; --i)
        list_insert(list, draw.values<tetra_point>(1));
    return made<list_kill, list_num, list_pos, elements>(list);
}

// Keys of 4 bytes and data of 8, or texts of which 4 bytes count.
inline int hash_of(int parameter, const void *key)
{
    return *static_cast<const unsigned char *>(key) + (parameter & 7);
}
inline int same_key(const void *a, const void *b)
{
    return std::strncmp(static_cast<const char *>(a), static_cast<const char *>(b), 4) == 0;
}
inline int no_key(const void *slot) { return same_key(slot, "\0\0\0"); }

inline void slots(hash_tab *table, double *out)
{
    for (int i = 0; i < hash_tab_nr_items(table) && i < 100; ++i)
        hash_tab_index(table, i, out + 2 * i, out + 2 * i + 1);
}

inline int key_pool(hash_tab *table)
{
    dynar *const pool = hash_tab_keys(table);
    return pool == nullptr ? 0 : dynar_nr_items(pool);
}

// With as many texts as the pools have room for at first, or with few entries.
inline auto make(Draw &draw, hash_tab *)
{
    const std::string text(340, 'x');
    const bool texts = draw.chance(2);
    hash_tab *table = hash_tab_new(texts ? 20 : 4, texts ? -2 : 4, texts ? -1 : 8, hash_of, same_key, no_key,
                                   draw.random.below(9), nullptr);
    for (int i = texts ? 12 : draw.random.below(7); i > 0; --i)
        in_order(hash_tab_insert, std::tuple{table, texts ? text.data() : draw.values<char>(4),
                                             texts ? text.data() : draw.values<char>(8)});
    return made<hash_tab_kill, hash_tab_nr_items, hash_tab_get, slots, key_pool>(table);
}

// ---- Files ----------------------------------------------------------------------------------------------------------

inline auto make(Draw &draw, archive *)
{
    const std::string &path = hostile_path(draw);
    archive *a = draw.chance(2) ? archive_open(path.c_str(), nullptr) : archive_create(path.c_str(), "x", nullptr);
    if (a != nullptr)
        archive_add(a, "entry", "content", 7);
    return made<archive_kill, archive_get_error>(a);
}

inline auto make(Draw &draw, flock_rec *) { return made<flock_free>(flock_get(hostile_path(draw).c_str())); }

inline auto make(Draw &draw, rsys_dir *)
{
    return made<rsys_dir_kill, rsys_dir_num>(rsys_dir_new(hostile_path(draw).c_str(), "", draw.random.below(64)));
}

inline auto make(Draw &draw, file_double *)
{
    return made<file_double_kill, file_double_list>(
        file_double_new(hostile_path(draw).c_str(), 3, draw.random.below(2)));
}

inline int all_items(zuk_db *db)
{
    Digest digest;
    int place = 0;
    while (const char *name = zuk_list_item(db, "a", &place))
        digest.add(name, std::strlen(name));
    return static_cast<int>(digest.value() >> 33);
}

inline auto make(Draw &draw, zuk_db *)
{
    zuk_db *db = zuk_open();
    zuk_push_rfile(db, hostile_path(draw).c_str());
    zuk_add_topic(db, zuk_create_rfile(db, hostile_path(draw).c_str()), "a", nullptr);
    return made<zuk_close, zuk_search, zuk_list_item, all_items>(db);
}

}  // namespace teska_test

#endif
