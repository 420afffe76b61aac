// hull_slices - a gamut in slices of constant lightness, as a drawing
//
//     hull_slices slices.svg
//
// The hull of measured colours is cut by planes of constant L: every edge of a face that crosses the plane gives an end
// of a line. The colours are a model's, as in printable.c.
#include <teska/convex_hull.h>
#include <teska/error_mess.h>

#include <cstdio>
#include <random>
#include <utility>
#include <vector>

namespace
{
struct colour {
    double v[3];
};

// Where the edge from p to q has the lightness L.
std::pair<double, double> crossing(const colour &p, const colour &q, double L)
{
    const double t = (L - p.v[0]) / (q.v[0] - p.v[0]);
    return {p.v[1] + t * (q.v[1] - p.v[1]), p.v[2] + t * (q.v[2] - p.v[2])};
}

void draw_slice(std::FILE *svg, const std::vector<colour> &corners, double L, int &lines)
{
    for (std::size_t face = 0; face + 2 < corners.size(); face += 3) {
        std::vector<std::pair<double, double>> ends;
        for (int k = 0; k < 3; ++k) {
            const colour &p = corners[face + k], &q = corners[face + (k + 1) % 3];
            if ((p.v[0] < L) != (q.v[0] < L))
                ends.push_back(crossing(p, q, L));
        }
        if (ends.size() == 2 && ++lines > 0)
            std::fprintf(svg, "<path d='M%.2f %.2fL%.2f %.2f' stroke='hsl(210 60%% %.0f%%)'/>\n", ends[0].first,
                         -ends[0].second, ends[1].first, -ends[1].second, L);
    }
}

}  // namespace

int main(int argc, char **argv)
{
    error_set(2);  // messages wait for error_get
    std::mt19937 dice(1);
    std::vector<double> measured;
    for (int i = 0; i < 1500; ++i) {
        const double red = dice() % 1001 / 1000.0, green = dice() % 1001 / 1000.0, blue = dice() % 1001 / 1000.0;
        const double L = 20 + 75 * (0.3 * red + 0.6 * green + 0.1 * blue);
        measured.insert(measured.end(), {L, 70 * (red - green), 60 * (0.5 * (red + green) - blue)});
    }
    convex_hull *gamut = convex_hull_new();
    if (gamut == nullptr ||
        convex_hull_add_points(gamut, measured.data(), static_cast<int>(measured.size() / 3)) != 0 ||
        convex_hull_construct(gamut) != 0)
        return std::fprintf(stderr, "%s\n", error_get()), 1;

    std::vector<colour> corners;
    for (int face = 0; face < convex_hull_get_nr_faces(gamut); ++face) {
        int corner[3];
        convex_hull_get_face(gamut, face, corner);
        for (int vertex : corner)
            convex_hull_get_vertex(gamut, vertex, corners.emplace_back().v, nullptr);
    }
    std::FILE *svg = std::fopen(argc > 1 ? argv[1] : "slices.svg", "w");
    if (svg == nullptr)
        return std::perror("hull_slices"), 1;
    std::fprintf(svg, "<svg xmlns='http://www.w3.org/2000/svg' viewBox='-80 -80 160 160' stroke-width='0.6'>\n");
    int lines = 0;
    for (int L = 30; L <= 90; L += 10)
        draw_slice(svg, corners, L, lines);
    std::fputs("</svg>\n", svg);
    std::printf("%d faces, 7 slices of %d lines\n", convex_hull_get_nr_faces(gamut), lines);
    convex_hull_kill(gamut);
    return std::fclose(svg) != 0;
}
