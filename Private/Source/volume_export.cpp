// volume_export - tetrahedral volumes made visible (geometry)
//
// Three writers of text. A number is laid out by to_chars, which knows no locale and rounds as printf does, and padded
// on the left; the first failure of a stream is remembered and told when it is closed, since that is when buffered text
// reaches the disk.
//
//     Shape { appearance Appearance { material Material { } }
//     geometry IndexedFaceSet { coord Coordinate { point [
//           0.00       0.00       0.00 ,
//          10.00       0.00       0.00 ,
//           0.00      10.00       0.00
//     ] } coordIndex [
//     0 1 2
//     ] color Color{ color[
//     0.500000 0.500000 1.000000
//     ]}
//     ..

#include "volume_export.h"

#include "Support/digits.h"
#include "Support/memory.h"

#include "lopra.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace
{

constexpr int flags_per_plane = 7;

const tetra_plane &plane_at(const tetra_volume &v, int index)
{
    return **static_cast<tetra_plane **>(list_get_element(v.planes, index));
}

// How printf would lay out a number: "%<width>.<decimals>f".
struct layout {
    int width;
    int decimals;
};

constexpr layout scene_coordinate{.width = 10, .decimals = 2};
constexpr layout scene_colour{.width = 0, .decimals = 6};
constexpr layout dump_coordinate{.width = 7, .decimals = 1};

// A text file that is being written.
class text_file
{
public:
    text_file(const char *name, const char *mode) : stream_(fopen_utf8(name, mode)) {}
    text_file(const text_file &) = delete;
    text_file &operator=(const text_file &) = delete;
    ~text_file() { close(); }

    [[nodiscard]] bool is_open() const { return stream_ != nullptr; }

    void put(const char *text) { write(text, std::strlen(text)); }

    void put(double number, layout shape)
    {
        char digits[teska::number_room];
        const char *end = teska::put_fixed(digits, number, shape.decimals);
        for (std::ptrdiff_t i = end - digits; i < shape.width; ++i)
            put(" ");
        write(digits, static_cast<std::size_t>(end - digits));
    }

    void put(int number)
    {
        char digits[12];
        write(digits, static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, number).ptr - digits));
    }

    // Three numbers, with a blank between, and what ends the line.
    void put(const double *numbers, layout shape, const char *end)
    {
        for (int i = 0; i < 3; ++i) {
            if (i > 0)
                put(" ");
            put(numbers[i], shape);
        }
        put(end);
    }

    // Whether all was written.
    bool close()
    {
        if (stream_ != nullptr && std::fclose(stream_) != 0)
            good_ = false;
        stream_ = nullptr;
        return good_;
    }

private:
    void write(const char *text, std::size_t size)
    {
        if (good_ && std::fwrite(text, 1, size, stream_) != size)
            good_ = false;
    }

    std::FILE *stream_;
    bool good_ = true;
};

void put_axis_bars(text_file &file)
{
    file.put("#VRML V2.0 utf8 \n");
    file.put("Shape{geometry Box{size 100 1 1}}\n");
    file.put("Shape{geometry Box{size 1 200 1}}\n");
    file.put("Shape{geometry Box{size 1 1 200}}\n");
}

void put_corners(text_file &file, const tetra_volume &v)
{
    for (int k = 0; k < v.nr_planes; ++k)
        for (int i = 0; i < 3; ++i) {
            const tetra_point &p = plane_at(v, k).p[i];
            const double numbers[3] = {p.x, p.y, p.z};
            const bool last = k == v.nr_planes - 1 && i == 2;
            file.put(numbers, scene_coordinate, last ? "\n" : " ,\n");
        }
}

void put_indices(text_file &file, int nr_planes)
{
    for (int k = 0; k < nr_planes; ++k) {
        file.put(3 * k);
        file.put(" ");
        file.put(3 * k + 1);
        file.put(" ");
        file.put(3 * k + 2);
        file.put(k == nr_planes - 1 ? " \n" : " -1, \n");
    }
}

// The colour tells where a triangle faces.
void put_colours(text_file &file, const tetra_volume &v)
{
    for (int k = 0; k < v.nr_planes; ++k) {
        const tetra_plane &plane = plane_at(v, k);
        const double n[3] = {plane.a, plane.b, plane.c};
        const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        double colour[3];
        for (int i = 0; i < 3; ++i)
            colour[i] = length > 0.0 ? (n[i] / length + 1.0) / 2.0 : 0.5;
        file.put(colour, scene_colour, k == v.nr_planes - 1 ? " \n" : ", \n");
    }
}

void put_faces(text_file &file, const tetra_volume &v)
{
    put_axis_bars(file);
    file.put("Shape { appearance Appearance { material Material { } } \n");
    file.put("geometry IndexedFaceSet { coord Coordinate { point [ \n");
    put_corners(file, v);
    file.put("] } coordIndex [ \n");
    put_indices(file, v.nr_planes);
    file.put("] ");
    file.put("color Color{ color[\n");
    put_colours(file, v);
    file.put("]}\n");
    file.put("colorIndex[\n");
    for (int k = 0; k < v.nr_planes; ++k) {
        file.put(k);
        file.put("\n");
    }
    file.put("] colorPerVertex FALSE solid FALSE\n");
    file.put(" } }");
}

void put_points(text_file &file, const tetra_volume &v)
{
    put_axis_bars(file);
    file.put("Shape { appearance Appearance { material Material { emissiveColor 1 1 0 } } \n");
    file.put("geometry PointSet { coord Coordinate { point [ \n");
    put_corners(file, v);
    file.put("] }}}\n");
}

int seen(const tetra_volume &v, const double eye[3], const double p[3])
{
    return tetra_volume_line_hasintersects(&v, eye, p) == 0 ? 1 : 0;
}

void view_plane(const tetra_volume &v, const double eye[3], const tetra_plane &plane, int *flags)
{
    for (int i = 0; i < 3; ++i) {
        const double corner[3] = {plane.p[i].x, plane.p[i].y, plane.p[i].z};
        flags[i] = seen(v, eye, corner);
    }
    flags[3] = seen(v, eye, plane.centroid);
    // Kept: the middles of a triangle that is seen as a whole are not looked at and stay 0.
    const bool whole = flags[0] != 0 && flags[1] != 0 && flags[2] != 0 && flags[3] != 0;
    for (int i = 0; i < 3; ++i) {
        const tetra_point &p = plane.p[i], &q = plane.p[(i + 1) % 3];
        const double middle[3] = {(p.x + q.x) / 2.0, (p.y + q.y) / 2.0, (p.z + q.z) / 2.0};
        flags[4 + i] = whole ? 0 : seen(v, eye, middle);
    }
}

void put_axes(text_file &file)
{
    for (int y = -60; y <= 80; y += 20) {
        file.put("     0 ");
        file.put(y, dump_coordinate);
        file.put("       0\n");
    }
    for (int z = 0; z <= 80; z += 20) {
        file.put("     0      0  ");
        file.put(z, dump_coordinate);
        file.put("\n");
    }
    for (int x = -60; x <= 60; x += 20) {
        file.put(x, dump_coordinate);
        file.put("      0       0\n");
    }
}

// How many points show a side.
int density(bool first_seen, bool second_seen, bool middle_seen)
{
    if (!middle_seen || (!first_seen && !second_seen))
        return 10;
    return first_seen && second_seen ? 100 : 0;
}

void put_side(text_file &file, const tetra_point &a, const tetra_point &b, int nr_points)
{
    for (int k = 0; k < nr_points; ++k) {
        const double t = k / static_cast<double>(nr_points);
        const double p[3] = {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y), a.z + t * (b.z - a.z)};
        file.put(p, dump_coordinate, "\n");
    }
}

void put_sides(text_file &file, const tetra_plane &plane, const int *flags)
{
    for (int i = 0; i < 3; ++i) {
        const int next = (i + 1) % 3;
        put_side(file, plane.p[i], plane.p[next], density(flags[i] != 0, flags[next] != 0, flags[4 + i] != 0));
    }
}

}  // namespace

int writeVRML(const tetra_volume *v, const char *facefile, const char *pointfile) TESKA_NOTHROW
{
    if (v == nullptr || facefile == nullptr || pointfile == nullptr)
        return -1;
    text_file faces(facefile, "wb");
    if (!faces.is_open())
        return -1;
    put_faces(faces, *v);
    if (!faces.close())
        return -1;
    text_file points(pointfile, "wb");
    // Kept: what becomes of the second file does not show in the result.
    if (points.is_open())
        put_points(points, *v);
    return 0;
}

int tetra_volume_view(const tetra_volume *v, const double eye[3], int (*flags)[7]) TESKA_NOTHROW
{
    if (v == nullptr || flags == nullptr)
        return -1;
    for (int k = 0; k < v->nr_planes; ++k)
        view_plane(*v, eye, plane_at(*v, k), flags[k]);
    return 0;
}

int tetra_volume_dump_to_file(const tetra_volume *v, const double eye[3], const char *name) TESKA_NOTHROW
{
    if (v == nullptr || name == nullptr)
        return -1;
    struct plane_flags {
        int of[flags_per_plane];
    };
    const auto flags = teska::zeroed_block<plane_flags>(static_cast<std::size_t>(v->nr_planes));
    if (!flags)
        return -1;
    for (int k = 0; k < v->nr_planes; ++k)
        view_plane(*v, eye, plane_at(*v, k), flags[k].of);
    text_file file(name, "w");
    if (!file.is_open())
        return -1;
    put_axes(file);
    for (int k = 0; k < v->nr_planes; ++k)
        put_sides(file, plane_at(*v, k), flags[k].of);
    return file.close() ? 0 : -1;
}
