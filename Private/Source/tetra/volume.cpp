// tetra/volume - a boundary of triangles and what it holds (geometry)
//
// Two lists of pointers to records; the numbers of the record are those of the lists. Everything asked of the boundary
// goes through one walk, each_crossing: it meets the triangles in a given order and offers each crossing to a
// collection, which drops those near an earlier one. Walking the other way keeps other representatives.
//
// The record that callers see is the beginning of a longer one, which has the tree for nearest points. It is made on
// demand, since few volumes are asked for them, and a new plane discards it.

#include "Source/tetra/distinct_points.h"
#include "Source/tetra/tetra_priv.h"
#include "Support/growing.h"
#include "Support/memory.h"
#include "Support/on_demand.h"
#include "Support/triangle_tree.h"

#include "tetra.h"

#include <algorithm>
#include <utility>

using namespace teska;
using namespace teska::tetra;

namespace
{

constexpr double far_away = 10000.0;  // x where the ray of a point ends
constexpr int list_step = 10;

struct full_volume : tetra_volume {
    mutable on_demand indexed;
    mutable triangle_tree tree;  // of the planes, in their order
};

template <class Record>
Record *record_at(list_rec *list, int index)
{
    return *static_cast<Record **>(list_get_element(list, index));
}

// Appends a record to a list of pointers and counts it; without room for it the record is freed.
template <class Record>
int append(list_rec *list, int &count, heap_record<Record> record)
{
    Record *element = record.get();
    if (!record || list_insert(list, &element) < 0)
        return -1;
    record.release();
    ++count;
    return 0;
}

template <class Record>
void kill_all(list_rec *list)
{
    for (int i = 0; i < list_num(list); ++i)
        plane_kill(record_at<Record>(list, i));
    list_kill(list);
}

// Crossings, no two near each other, in memory of the call's own: convex volumes have two, so the heap is for others.
class crossings
{
public:
    // False when memory is short.
    bool add(const vec3 &x)
    {
        const auto near_x = [&x](const vec3 &other) { return are_near(x, other); };
        if (std::any_of(few_, few_ + nr_few_, near_x) || std::any_of(more_.begin(), more_.end(), near_x))
            return true;
        if (nr_few_ == most_few)
            return more_.push(x);
        few_[nr_few_++] = x;
        return true;
    }

    [[nodiscard]] int size() const { return nr_few_ + more_.size(); }

    [[nodiscard]] bool any_apart_from(const vec3 &a, const vec3 &b) const
    {
        const auto apart = [&](const vec3 &x) { return !are_near(x, a) && !are_near(x, b); };
        return std::any_of(few_, few_ + nr_few_, apart) || std::any_of(more_.begin(), more_.end(), apart);
    }

private:
    static constexpr int most_few = 32;
    vec3 few_[most_few];
    int nr_few_ = 0;
    growing<vec3> more_;
};

// Offers the crossings with all planes, from the first or from the last on, to a collection until that says false.
template <class Add>
bool each_crossing(const tetra_volume &v, const double a[3], const double b[3], bool backwards, Add add)
{
    for (int i = 0; i < v.nr_planes; ++i) {
        const auto *plane = record_at<tetra_plane>(v.planes, backwards ? v.nr_planes - 1 - i : i);
        double x[3];
        if (triangle_intersect_linesegment2(plane, a, b, x) != 0 && !add(vec3_at(x)))
            return false;
    }
    return true;
}

bool collect(const tetra_volume &v, const double a[3], const double b[3], crossings &found)
{
    return each_crossing(v, a, b, true, [&found](const vec3 &x) { return found.add(x); });
}

triangle_corners corners(const tetra_volume &v, int plane)
{
    const tetra_point(&p)[3] = record_at<tetra_plane>(v.planes, plane)->p;
    return {{position(p[0]), position(p[1]), position(p[2])}};
}

// The number of the plane that is nearest to a point; triangle_tree::none when there is none.
int nearest_plane(const full_volume &v, const vec3 &q)
{
    const auto planes = [&v](int i) { return corners(v, i); };
    if (v.indexed.ensure([&] { return v.tree.build(v.nr_planes, planes); }))
        return v.tree.nearest(q);
    return nearest_of_all(v.nr_planes, planes, q);
}

// Appends a plane to the boundary. Nothing is asked of a volume while it changes.
int append_plane(tetra_volume *v, heap_record<tetra_plane> plane)
{
    static_cast<full_volume *>(v)->indexed.discard();
    return append(v->planes, v->nr_planes, std::move(plane));
}

// The corners of the boundary, each once, are appended to a list.
bool append_corners(const tetra_volume &v, list_rec *list)
{
    distinct_points corners;
    if (!corners.reserve(3 * static_cast<std::size_t>(v.nr_planes)))
        return false;
    for (int i = 0; i < v.nr_planes; ++i)
        for (const tetra_point &p : record_at<tetra_plane>(v.planes, i)->p)
            if (corners.add(position(p)) && list_insert(list, &p) < 0)
                return false;
    return true;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

tetra_volume *tetra_volume_new0(void) TESKA_NOTHROW
{
    auto v = make_record<full_volume>();
    if (!v)
        return nullptr;
    handle<list_rec, list_kill> planes(list_new(list_step, sizeof(tetra_plane *), nullptr));
    if (!planes)
        return nullptr;
    v->tetras = list_new(list_step, sizeof(tetra_rec *), nullptr);
    if (v->tetras == nullptr)
        return nullptr;
    v->planes = planes.release();
    return v.release();
}

int tetra_volume_kill(tetra_volume *v) TESKA_NOTHROW
{
    if (v == nullptr)
        return 0;
    kill_all<tetra_plane>(v->planes);
    kill_all<tetra_rec>(v->tetras);
    kill_record(static_cast<full_volume *>(v));
    return 0;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int tetra_volume_add_plane(tetra_volume *v, const tetra_point *p0, const tetra_point *p1,
                           const tetra_point *p2) TESKA_NOTHROW
{
    if (v == nullptr)
        return -1;
    return append_plane(v, heap_record<tetra_plane>(plane_new2(p0, p1, p2)));
}

int tetra_volume_add_plane2(tetra_volume *v, const tetra_plane *plane) TESKA_NOTHROW
{
    if (v == nullptr)
        return -1;
    return append_plane(v, heap_record<tetra_plane>(plane_new(plane)));
}

int tetra_volume_add_tetra(tetra_volume *v, const tetra_point *p0, const tetra_point *p1, const tetra_point *p2,
                           const tetra_point *p3) TESKA_NOTHROW
{
    if (v == nullptr)
        return -1;
    return append(v->tetras, v->nr_tetras, heap_record<tetra_rec>(tetra_new(p0, p1, p2, p3)));
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int tetra_volume_get_nr_of_tetrahedrae(const tetra_volume *v) TESKA_NOTHROW { return v != nullptr ? v->nr_tetras : 0; }

int tetra_volume_get_tetra(const tetra_volume *v, const double p[3], tetra_rec **out) TESKA_NOTHROW
{
    const int count = tetra_volume_get_nr_of_tetrahedrae(v);
    for (int i = 0; i < count; ++i)
        if (tetra_point_inside(record_at<tetra_rec>(v->tetras, i), p, nullptr) != 0)
            return tetra_volume_get_tetra2(v, i, out);
    return -1;
}

int tetra_volume_get_tetra2(const tetra_volume *v, int index, tetra_rec **out) TESKA_NOTHROW
{
    if (index < 0 || index >= tetra_volume_get_nr_of_tetrahedrae(v))
        return -1;
    if (out != nullptr)
        *out = record_at<tetra_rec>(v->tetras, index);
    return 0;
}

int tetra_volume_point_inside(const tetra_volume *v, const double p[3]) TESKA_NOTHROW
{
    const double end[3] = {far_away, p[1], p[2]};
    int count = 0;
    if (tetra_volume_line_intersect(v, p, end, &count) < 0)
        return 0;
    return count % 2;
}

int tetra_volume_line_intersect(const tetra_volume *v, const double a[3], const double b[3], int *count) TESKA_NOTHROW
{
    crossings found;
    if (v == nullptr || !collect(*v, a, b, found))
        return -1;
    if (count != nullptr)
        *count = found.size();
    return 0;
}

int tetra_volume_line_intersect2(const tetra_volume *v, const double a[3], const double b[3], int *count, double *out,
                                 int size) TESKA_NOTHROW
{
    if (v == nullptr)
        return -1;
    int n = 0;
    const auto add = [&](const vec3 &x) {
        if (n >= size)
            return false;
        for (int i = 0; i < n; ++i)
            if (are_near(vec3_at(out + 3 * std::ptrdiff_t{i}), x))
                return true;
        store(x, out + 3 * std::ptrdiff_t{n++});
        return true;
    };
    each_crossing(*v, a, b, false, add);
    if (count != nullptr)
        *count = n;
    return 0;
}

int tetra_volume_line_hasintersects(const tetra_volume *v, const double a[3], const double b[3]) TESKA_NOTHROW
{
    crossings found;
    if (v == nullptr || !collect(*v, a, b, found))
        return 0;
    if (found.any_apart_from(vec3_at(a), vec3_at(b)))
        return 1;
    // The ends may both lie on the boundary, with the inside between them.
    const double middle[3] = {0.5 * (a[0] + b[0]), 0.5 * (a[1] + b[1]), 0.5 * (a[2] + b[2])};
    return tetra_volume_point_inside(v, middle);
}

int tetra_volume_get_border_points(const tetra_volume *v, int *count, list_rec **points) TESKA_NOTHROW
{
    if (v == nullptr)
        return -1;
    handle<list_rec, list_kill> list(list_new(list_step, sizeof(tetra_point), nullptr));
    if (!list || !append_corners(*v, list.get()))
        return -1;
    if (count != nullptr)
        *count = list_num(list.get());
    *points = list.release();
    return 0;
}

double tetra_volume_get_volume(const tetra_volume *v) TESKA_NOTHROW
{
    if (v == nullptr)
        return -1.0;
    double sum = 0.0;
    for (int i = 0; i < v->nr_tetras; ++i)
        sum += tetra_get_volume(record_at<tetra_rec>(v->tetras, i));
    return sum;
}

double tetra_volume_get_true_volume(const tetra_volume *v) TESKA_NOTHROW
{
    if (v == nullptr)
        return -1.0;
    double sum = 0.0;
    for (int i = 0; i < v->nr_tetras; ++i)
        sum += tetra_get_true_volume(record_at<tetra_rec>(v->tetras, i));
    return sum;
}

int tetra_volume_nearest(const tetra_volume *v, const double q[3], double nearest[3], double *dist, int *plane,
                         double weights[3]) TESKA_NOTHROW
{
    if (v == nullptr)
        return -1;
    const vec3 query = vec3_at(q);
    const int number = nearest_plane(static_cast<const full_volume &>(*v), query);
    if (number == triangle_tree::none)
        return -1;
    const nearest_answer answer{.point = nearest, .distance = dist, .triangle = plane, .weights = weights};
    answer.write(number, nearest_of_triangle(corners(*v, number), query));
    return 0;
}
