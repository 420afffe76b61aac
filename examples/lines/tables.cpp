// tables - one formula in three kinds of tables

#include "support/cie.h"
#include "support/failure.h"
#include "support/foreign.h"

#include "clut.h"
#include "lines/job.h"
#include "md_tetrab.h"
#include "md_tetrad.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace examples
{

namespace
{

constexpr int grid_points = 17;
constexpr int size = 256;  // of the picture
constexpr double blue = 0.4;
constexpr int error_factor = 64;

// Twice the chroma at the same lightness and hue, cut where the screen ends.
colour vivid(const colour &in)
{
    const colour lab = lab_of_screen(in);
    colour out = screen_of_lab({lab[0], 2 * lab[1], 2 * lab[2]});
    for (double &v : out)
        v = std::clamp(v, 0.0, 1.0);
    return out;
}

colour place(int x, int y) { return {x / (size - 1.0), (size - 1 - y) / (size - 1.0), blue}; }

colour vertex(const int *index)
{
    constexpr double top = grid_points - 1;
    return vivid({index[0] / top, index[1] / top, index[2] / top});
}

// Calls put(pixel, channel, value 0 .. 1) for the whole picture.
template <class Convert>
std::vector<double> converted(const Convert &convert)
{
    std::vector<double> values;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            for (const double value : convert(place(x, y)))
                values.push_back(value);
    return values;
}

// ---- A formula in three tables --------------------------------------------------------------------------------------

// The last input varies fastest.
CLUT make_clut()
{
    std::array<unsigned char, 3> counts = {grid_points, grid_points, grid_points};
    std::vector<float> values;
    for (int r = 0; r < grid_points; ++r)
        for (int g = 0; g < grid_points; ++g)
            for (int b = 0; b < grid_points; ++b)
                for (const double value : vertex(std::array{r, g, b}.data()))
                    values.push_back(static_cast<float>(value));
    return {3, counts.data(), 3, 0, values.data()};
}

std::vector<double> through_clut()
{
    // A table of this class keeps its memory until the program ends: it is built once.
    static CLUT table = make_clut();
    return converted([&](const colour &in) {
        colour out;
        table.Interpolate(out.data(), in.data());
        return out;
    });
}

std::vector<double> through_bytes()
{
    const foreign<md_tetrab, md_tetrab_kill> table(md_tetrab_new(3, 3, grid_points));
    if (!table)
        throw failure("no memory for a table of bytes");
    std::array<int, 3> index{};
    do {
        unsigned char *out = md_tetrab_vertex_get(table.get(), index.data(), nullptr);
        for (const double value : vertex(index.data()))
            *out++ = sample_of(value);
    } while (md_tetrab_scan_vertex(table.get(), index.data()) != 0);
    return converted([&](const colour &in) {
        std::array<unsigned char, 3> bytes;
        std::transform(in.begin(), in.end(), bytes.begin(), sample_of);
        std::array<unsigned char, 3> answer{};
        std::array<unsigned char *, 3> from = {bytes.data(), bytes.data() + 1, bytes.data() + 2};
        std::array<unsigned char *, 3> to = {answer.data(), answer.data() + 1, answer.data() + 2};
        md_tetrab_interp(table.get(), from.data(), 1, to.data(), 1, 1, nullptr, 0);
        return colour{answer[0] / 255.0, answer[1] / 255.0, answer[2] / 255.0};
    });
}

std::vector<double> through_doubles()
{
    const foreign<md_tetrad, md_tetrad_kill> table(md_tetrad_new(3, 3, grid_points, 0, 1));
    if (!table)
        throw failure("no memory for a table of doubles");
    std::array<int, 3> index{};
    do {
        const colour value = vertex(index.data());
        std::copy(value.begin(), value.end(), md_tetrad_vertex_get(table.get(), index.data(), nullptr));
    } while (md_tetrad_scan_vertex(table.get(), index.data()) != 0);
    return converted([&](colour in) {
        colour out;
        std::array<double *, 3> from = {in.data(), in.data() + 1, in.data() + 2};
        std::array<double *, 3> to = {out.data(), out.data() + 1, out.data() + 2};
        md_tetrad_interp(table.get(), from.data(), 1, to.data(), 1, 1);
        return out;
    });
}

// ---- The errors -----------------------------------------------------------------------------------------------------

picture shown(const std::vector<double> &values)
{
    picture result(size, size, 3);
    std::transform(values.begin(), values.end(), result.samples.begin(), sample_of);
    return result;
}

table_answer compared(const std::string &name, const std::vector<double> &values, const std::vector<double> &exact)
{
    table_answer answer{name, shown(values), picture(size, size, 3)};
    double sum = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double error = 255 * std::abs(values[i] - exact[i]);
        sum += error;
        answer.largest = std::max(answer.largest, error);
        answer.errors.samples[i] = static_cast<unsigned char>(std::lround(std::min(error_factor * error, 255.0)));
    }
    answer.mean = sum / static_cast<double>(values.size());
    return answer;
}

}  // namespace

table_comparison compare_tables()
{
    const std::vector<double> exact = converted(vivid);
    return {grid_points,
            shown(exact),
            {compared("CLUT", through_clut(), exact), compared("md_tetrab", through_bytes(), exact),
             compared("md_tetrad", through_doubles(), exact)}};
}

}  // namespace examples
