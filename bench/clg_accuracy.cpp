// clg_accuracy - how far what is printed is from what was wanted, by clouds cut from the profile of a press
//
//     clg_accuracy profile.icc [chart.ti2]
//
// The profile's forward direction, through Little CMS, is the press: it prints the charts and later the answers. 3,000
// colours are wanted twice: what random device values print, of the channels that the chart varies, and random ones of
// Lab that the cloud reaches. Each chart is also measured with noise of 0.3 in L, a and b. The peer is a 17-point table
// of the profile's own backward direction. Figures are mean, 95 % and largest of delta E 2000 and, in brackets, of the
// plain distance; then how much farther from random colours out of gamut what is printed lies than the nearest point of
// the cloud, on average; and seconds to build, and to fill a table of 33 x 33 x 33 colours of Lab.

#include "clg.h"

#include <lcms2.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using Values = std::vector<double>;
using Chart = std::vector<Values>;  // CMYK in percent
using Cloud = std::unique_ptr<clg, clg *(*)(clg *)>;

constexpr int wanted_colours = 3000;
constexpr double noise = 0.3;

using Random = std::mt19937;

// 0 .. 1.
double unit(Random &random) { return static_cast<double>(random()) / 4294967295.0; }

[[noreturn]] void stop(const char *why)
{
    std::fprintf(stderr, "clg_accuracy: %s\n", why);
    std::exit(1);
}

// ---- The press ------------------------------------------------------------------------------------------------------

class Press
{
public:
    explicit Press(const char *path)
    {
        const cmsHPROFILE press = cmsOpenProfileFromFile(path, "r"), lab = cmsCreateLab4Profile(nullptr);
        if (press == nullptr || cmsGetColorSpace(press) != cmsSigCmykData)
            stop("no CMYK profile");
        forward_ = cmsCreateTransform(press, TYPE_CMYK_DBL, lab, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC,
                                      cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
        backward_ = cmsCreateTransform(lab, TYPE_Lab_DBL, press, TYPE_CMYK_DBL, INTENT_RELATIVE_COLORIMETRIC,
                                       cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
        if (forward_ == nullptr || backward_ == nullptr)
            stop("no transforms");
    }

    cmsCIELab print(const double *cmyk) const
    {
        cmsCIELab lab;
        cmsDoTransform(forward_, cmyk, &lab, 1);
        return lab;
    }

    void separate(const double *lab, double *cmyk) const
    {
        const cmsCIELab colour{lab[0], lab[1], lab[2]};
        cmsDoTransform(backward_, &colour, cmyk, 1);
    }

private:
    cmsHTRANSFORM forward_, backward_;
};

// ---- Charts ---------------------------------------------------------------------------------------------------------

Chart grid(int steps, int channels)
{
    Chart chart;
    int patches = 1;
    for (int k = 0; k < channels; ++k)
        patches *= steps;
    for (int i = 0; i < patches; ++i) {
        Values cmyk(4);
        for (int k = 0, rest = i; k < channels; ++k, rest /= steps)
            cmyk[static_cast<std::size_t>(k)] = 100.0 * (rest % steps) / (steps - 1);
        chart.push_back(cmyk);
    }
    return chart;
}

Chart random_chart(int patches, int channels)
{
    Random random(1);
    Chart chart = grid(2, channels);
    while (static_cast<int>(chart.size()) < patches) {
        Values cmyk(4);
        for (int k = 0; k < channels; ++k)
            cmyk[static_cast<std::size_t>(k)] = 100.0 * unit(random);
        chart.push_back(cmyk);
    }
    return chart;
}

// The CMYK columns of a chart in the text format of CGATS.
Chart read_chart(const char *path)
{
    static const char *const names[] = {"CMYK_C", "CMYK_M", "CMYK_Y", "CMYK_K"};
    std::ifstream file(path);
    std::vector<std::string> fields;
    Chart chart;
    std::string line;
    bool format = false, data = false;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::vector<std::string> row;
        for (std::string word; words >> word;)
            row.push_back(word);
        if (row.empty() || row[0] == "END_DATA_FORMAT")
            format = false;
        else if (row[0] == "BEGIN_DATA_FORMAT")
            format = true;
        else if (row[0] == "BEGIN_DATA")
            data = true;
        else if (row[0] == "END_DATA")
            break;
        else if (format)
            fields.insert(fields.end(), row.begin(), row.end());
        else if (data) {
            Values cmyk;
            for (const char *name : names) {
                const auto at =
                    static_cast<std::size_t>(std::find(fields.begin(), fields.end(), name) - fields.begin());
                if (at >= row.size())
                    stop("no CMYK in the chart");
                cmyk.push_back(std::atof(row[at].c_str()));
            }
            chart.push_back(cmyk);
        }
    }
    return chart;
}

double seconds_of(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Cloud measured(const Press &press, const Chart &chart, int channels, double deviation, double &seconds)
{
    Cloud cloud(clg_new(4, channels, 0.0, 100.0), clg_kill);
    Random random(2);
    std::normal_distribution<double> error(0.0, 1.0);
    for (const Values &cmyk : chart) {
        const cmsCIELab lab = press.print(cmyk.data());
        const double colour[3] = {lab.L + deviation * error(random), lab.a + deviation * error(random),
                                  lab.b + deviation * error(random)};
        clg_add(cloud.get(), cmyk.data(), colour);
    }
    int built = -1;
    seconds = seconds_of([&] { built = clg_build(cloud.get()); });
    if (built != 0)
        stop("the chart does not build");
    return cloud;
}

// ---- Differences ----------------------------------------------------------------------------------------------------

struct Differences {
    Values visual, plain;

    void add(const cmsCIELab &a, const cmsCIELab &b)
    {
        visual.push_back(cmsCIE2000DeltaE(&a, &b, 1, 1, 1));
        plain.push_back(cmsDeltaE(&a, &b));
    }

    static double mean(const Values &of)
    {
        double sum = 0;
        for (const double x : of)
            sum += x;
        return sum / static_cast<double>(of.size());
    }

    void print()
    {
        std::sort(visual.begin(), visual.end());
        std::sort(plain.begin(), plain.end());
        const auto at = static_cast<std::size_t>(0.95 * static_cast<double>(plain.size()));
        std::printf(" | %.3f %.3f %.3f (%.3f %.3f %.3f)", mean(visual), visual[at], visual.back(), mean(plain),
                    plain[at], plain.back());
    }
};

std::vector<cmsCIELab> printed(const Press &press, int channels)
{
    Random random(3);
    std::vector<cmsCIELab> colours;
    for (int i = 0; i < wanted_colours; ++i) {
        double cmyk[4] = {};
        for (int k = 0; k < channels; ++k)
            cmyk[k] = 100.0 * unit(random);
        colours.push_back(press.print(cmyk));
    }
    return colours;
}

// Of Lab, in gamut or out of it.
std::vector<cmsCIELab> random_colours(const clg *cloud, int inside)
{
    Random random(4);
    std::vector<cmsCIELab> colours;
    while (static_cast<int>(colours.size()) < wanted_colours) {
        const double l = 100 * unit(random), a = 255 * unit(random) - 128;
        const double colour[3] = {l, a, 255 * unit(random) - 128};
        if (clg_inside(cloud, colour) == inside)
            colours.push_back({colour[0], colour[1], colour[2]});
    }
    return colours;
}

// separate(colour, device) says what to send, unless it is false.
template <class Separate>
void round_trips(const Press &press, const std::vector<cmsCIELab> &wanted, const Separate &separate)
{
    Differences found;
    for (const cmsCIELab &lab : wanted) {
        const double colour[3] = {lab.L, lab.a, lab.b};
        double device[4];
        if (separate(colour, device))
            found.add(lab, press.print(device));
    }
    found.print();
}

void outside(const Press &press, const clg *cloud)
{
    double sum = 0;
    for (const cmsCIELab &lab : random_colours(cloud, 0)) {
        const double colour[3] = {lab.L, lab.a, lab.b};
        double device[4], dist;
        clg_find(cloud, colour, device, &dist);
        const cmsCIELab got = press.print(device);
        sum += cmsDeltaE(&lab, &got) - dist;
    }
    std::printf(" | %.4f", sum / wanted_colours);
}

// Tables over 0 .. 1 of each input.
constexpr double least[] = {0, -128, -128}, range[] = {100, 255, 255};

using Table = std::unique_ptr<md_tetrad, md_tetrad *(*)(md_tetrad *)>;

void report(const Press &press, const std::string &name, const Chart &chart, int channels)
{
    static const double black[] = {0, 0, 0, 1};
    for (const double deviation : {0.0, noise}) {
        double built = 0;
        const Cloud cloud = measured(press, chart, channels, deviation, built);
        for (const double place : {0.0, 0.5, 1.0}) {
            if (channels == 3 && place > 0)
                continue;
            clg_rule(cloud.get(), black, place);
            std::printf("%s, %d points, noise %.1f", name.c_str(), clg_num_points(cloud.get()), deviation);
            if (channels == 4)
                std::printf(", black %.1f", place);
            const auto separate = [&](const double *colour, double *device) {
                return clg_find(cloud.get(), colour, device, nullptr) == 1;
            };
            round_trips(press, printed(press, channels), separate);
            round_trips(press, random_colours(cloud.get(), 1), separate);
            outside(press, cloud.get());
            const Table table(md_tetrad_new(3, 4, 33, 0, 1), md_tetrad_kill);
            const double filled = seconds_of([&] { clg_fill_tetrad(cloud.get(), table.get(), range, least); });
            std::printf(" | %.4f %.3f\n", built, filled);
        }
    }
}

void report_table(const Press &press)
{
    const Table table(md_tetrad_new(3, 4, 17, 0, 1), md_tetrad_kill);
    int at[3] = {0, 0, 0};
    do {
        double in[3];
        double *const out = md_tetrad_vertex_get(table.get(), at, in);
        for (int k = 0; k < 3; ++k)
            in[k] = least[k] + range[k] * in[k];
        press.separate(in, out);
    } while (md_tetrad_scan_vertex(table.get(), at) != 0);
    double seconds = 0;
    for (const int channels : {3, 4}) {
        const Cloud reached = measured(press, grid(9, channels), channels, 0, seconds);
        std::printf("the profile's backward direction, 17 points, %d channels", channels);
        for (const auto &wanted : {printed(press, channels), random_colours(reached.get(), 1)})
            round_trips(press, wanted, [&](const double *colour, double *device) {
                double share[3], *in[3], *out[4];
                for (int k = 0; k < 3; ++k) {
                    share[k] = (colour[k] - least[k]) / range[k];
                    in[k] = share + k;
                }
                for (int k = 0; k < 4; ++k)
                    out[k] = device + k;
                md_tetrad_interp(table.get(), in, 1, out, 1, 1);
                return true;
            });
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        stop("which profile?");
    const Press press(argv[1]);
    std::printf("chart | of what is printed | of random colours | farther outside | seconds\n");
    report_table(press);
    report(press, "5^3", grid(5, 3), 3);
    report(press, "9^3", grid(9, 3), 3);
    report(press, "16^3", grid(16, 3), 3);
    report(press, "17^3", grid(17, 3), 3);
    report(press, "random", random_chart(20000, 3), 3);
    report(press, "8^4", grid(8, 4), 4);
    Chart less_black;
    for (const Values &cmyk : grid(9, 4))
        if (std::fmod(cmyk[3], 25.0) == 0.0)
            less_black.push_back(cmyk);
    report(press, "9^3 x 5", less_black, 4);
    if (argc > 2)
        report(press, "chart", read_chart(argv[2]), 4);
    return 0;
}
