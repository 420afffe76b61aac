// ttriangulartopsurface/export - an umbrella as a script for plotting, and its parts as text (geometry)
//
// The script draws what one sees along the vertical axis: of each part the outlines of its visible triangles in red,
// its two outer bounds in yellow.
//
//     x_0 = [0,12.5,3.25,0]
//     y_0 = [0,4.5,20.25,0]
//     xs_0 = [..]
//     ys_0 = [..]
//     % vertical line, x,y-pairs
//     % 0,48.2, 0.0349,48.9, ..                          hue and height of the edge
//     plot(x_0,y_0,'r',xs_0,ys_0,'y')
//
// Triangles are separated by NaN, which the tools take for a gap. No process-wide state.

#include "Source/ttriangulartopsurface/elements.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"
#include "Support/digits.h"
#include "Support/report.h"

#include "fdstream.h"
#include "interp_double.h"
#include "ttriangulartopsurface.h"

#include <cstdio>
#include <limits>
#include <locale>

using namespace teska;

namespace
{

void write_array(std::ostream &stream, const char *name, int part, const indexed<vec2> &points, double vec2::*value)
{
    stream << name << '_' << part << " = [";
    const char *separator = "";
    for (const vec2 &p : points) {
        stream << separator;
        if (p.*value == p.*value)
            stream << p.*value;
        else
            stream << "NaN";  // by itself each host would write it its own way
        separator = ",";
    }
    stream << "]\n";
}

void write_arrays(std::ostream &stream, const char *x, const char *y, int part, const indexed<vec2> &points)
{
    write_array(stream, x, part, points, &vec2::x);
    write_array(stream, y, part, points, &vec2::y);
}

constexpr vec2 gap = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN()};

// Outlines of the visible triangles, closed.
indexed<vec2> outlines(const TPrimComb &part)
{
    indexed<vec2> points;
    for (const piece &seen : part.Pieces()) {
        for (int i = 0; i <= seen.shape.size(); ++i) {
            const vec2 p = seen.shape[i % seen.shape.size()];
            points.push_back(p / part.Facets()[seen.facet].flat.nearness(p));
        }
        points.push_back(gap);
    }
    return points;
}

// The two bounds away from white.
indexed<const grid_point *> outer_bounds(const TPrimComb &part)
{
    indexed<const grid_point *> all = part.Bound(part.Second());
    const indexed<const grid_point *> other = part.Bound(part.First());
    all.insert(all.end(), other.rbegin(), other.rend());
    return all;
}

void write_edge(std::ostream &stream, const indexed<vec2> &edge)
{
    stream << "% vertical line, x,y-pairs\n%";
    for (const vec2 &p : edge)
        stream << ' ' << p.x << ',' << p.y;
    stream << '\n';
}

void write_part(std::ostream &stream, int k, const TPrimComb &part, const indexed<vec2> &edge)
{
    write_arrays(stream, "x", "y", k, outlines(part));
    indexed<vec2> bounds;
    for (const grid_point *p : outer_bounds(part))
        bounds.push_back(p->valid ? vec2{p->colour.y, p->colour.z} : gap);
    write_arrays(stream, "xs", "ys", k, bounds);
    write_edge(stream, edge);
    const auto argument = [&](const char *name, char after) -> std::ostream & {
        return stream << name << '_' << k << after;
    };
    stream << "plot(";
    argument("x", ',');
    argument("y", ',') << "'r',";
    argument("xs", ',');
    argument("ys", ',') << "'y')\n";
}

}  // namespace

// ---- Script ---------------------------------------------------------------------------------------------------------

std::ostream &TTriangularTopSurface::ForBinaryStream(std::ostream &stream)
{
    const std::locale before = stream.imbue(std::locale::classic());
    const std::ios_base::fmtflags flags = stream.flags(std::ios_base::dec);
    const std::streamsize precision = stream.precision(6);
    const auto write = [&] {
        // Parts may be drawn without their edge, as in a gamut that has none.
        indexed<vec2> edge;
        const bool known = umbrella != nullptr && umbrella->First() != nullptr && PrepareEdge() == 0;
        for (int i = 0; known && i < lin_interp_double_num(edgeHeight); ++i) {
            vec2 p = {};
            double phir = 0.0;
            lin_interp_double_getp(edgeHeight, i, &phir, &p.y);
            PhirToPhi(phir, &p.x);
            edge.push_back(p);
        }
        int k = 0;
        for (const TPrimComb &part : elements<TPrimComb>(umbrella)) {
            if (k == 0)
                stream << "hold on\n";
            write_part(stream, k++, part, edge);
        }
        return true;
    };
    const bool room = guarded(false, write);
    if (!room)
        TESKA_ERR("No memory");
    if (room && !stream.flush())
        errNo = 2;
    if (!room)
        errNo = 1;
    stream.precision(precision);
    stream.flags(flags);
    stream.imbue(before);
    return stream;
}

int TTriangularTopSurface::Export(char const *file)
{
    fdofstream stream(file, std::ios::out | std::ios::binary);
    if (!stream.is_open()) {
        char text[400];
        std::snprintf(text, sizeof text, "cannot open export file %s", file != nullptr ? file : "");
        TESKA_ERR(text);
        return -1;
    }
    ForBinaryStream(stream);
    if (errNo != 0) {
        TESKA_ERR("Cannot export process");
        errNo = 0;
        return -1;
    }
    return 0;
}

// ---- Dumps ----------------------------------------------------------------------------------------------------------

namespace
{

const TPrimComb *part_at(const TList *umbrella, int part)
{
    return umbrella != nullptr && part >= 0 ? static_cast<const TPrimComb *>(umbrella->Get(part)) : nullptr;
}

void print_colour(std::FILE *file, double x, double y, double z, const char *note)
{
    std::fprintf(file, "%s %s %s%s\n", general_text(x).data(), general_text(y).data(), general_text(z).data(), note);
}

// Differences along the two outer bounds, as often as `order` says.
void dump_bounds(std::FILE *file, const TPrimComb &part, int order)
{
    for (const int colorant : {part.Second(), part.First()}) {
        indexed<vec3> rows;
        for (const grid_point *p : part.Bound(colorant))
            rows.push_back(p->colour);
        for (int k = 0; k < order && !rows.empty(); ++k) {
            for (std::size_t i = 0; i + 1 < rows.size(); ++i)
                rows[i] = rows[i + 1] - rows[i];
            rows.pop_back();
        }
        std::fprintf(file, "colorant %d\n", colorant);
        for (const vec3 &row : rows)
            print_colour(file, row.x, row.y, row.z, "");
    }
}

int dump(std::FILE *file, const TList *umbrella, int part, int order)
{
    const TPrimComb *found = part_at(umbrella, part);
    const auto write = [&] {
        dump_bounds(file, *found, order);
        return true;
    };
    if (found != nullptr && file != nullptr && !guarded(false, write))
        TESKA_ERR("No memory");
    return 0;
}

}  // namespace

int TTriangularTopSurface::DumpGrid(std::FILE *file, int part)
{
    const TPrimComb *found = part_at(umbrella, part);
    if (found == nullptr || file == nullptr)
        return 0;
    for (const grid_point &p : found->Points()) {
        for (int i = 0; i < nrPrims; ++i)
            std::fprintf(file, "%s ",
                         general_text(i == found->First()    ? p.u
                                      : i == found->Second() ? p.v
                                                             : found->Device()[i])
                             .data());
        double xyz[3];
        from_axes(p.colour, vertAxis, xyz);
        print_colour(file, xyz[0], xyz[1], xyz[2], p.valid ? "" : " no direction");
    }
    return 0;
}

int TTriangularTopSurface::DumpFP(std::FILE *file, int part) { return dump(file, umbrella, part, 0); }
int TTriangularTopSurface::DumpFirstDer(std::FILE *file, int part) { return dump(file, umbrella, part, 1); }
int TTriangularTopSurface::DumpSecDer(std::FILE *file, int part) { return dump(file, umbrella, part, 2); }
