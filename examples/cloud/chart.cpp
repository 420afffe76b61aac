// chart - patches out of a file, and patches as a profile prints them

#include "support/failure.h"

#include "cloud/job.h"

#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>

namespace examples
{

chart read_chart(const std::filesystem::path &file)
{
    chart made{file.stem().string(), 4, {}};
    std::ifstream stream(file);
    std::vector<std::string> columns;
    std::vector<cmsCIEXYZ> measured;
    cmsCIEXYZ paper = {0, 0, 0};
    std::string part;
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::vector<std::string> fields{std::istream_iterator<std::string>(words), {}};
        if (fields.size() == 1 && (fields[0].starts_with("BEGIN_") || fields[0].starts_with("END_"))) {
            part = fields[0];
        } else if (part == "BEGIN_DATA_FORMAT" && !fields.empty()) {
            columns = fields;
        } else if (part == "BEGIN_DATA" && fields.size() == columns.size()) {
            std::map<std::string, double> values;
            for (std::size_t i = 0; i < fields.size(); ++i)
                values[columns[i]] = std::strtod(fields[i].c_str(), nullptr);
            const ink_set inks = {values["CMYK_C"], values["CMYK_M"], values["CMYK_Y"], values["CMYK_K"]};
            measured.push_back({values["XYZ_X"], values["XYZ_Y"], values["XYZ_Z"]});
            made.patches.push_back({inks, {}});
            if (inks == ink_set{})
                paper = measured.back();
        }
    }
    if (paper.Y <= 0)
        throw failure("no chart with bare paper in " + file.string());
    for (std::size_t i = 0; i < measured.size(); ++i) {
        cmsCIELab lab;
        cmsXYZ2Lab(&paper, &lab, &measured[i]);
        made.patches[i].lab = {lab.L, lab.a, lab.b};
    }
    return made;
}

chart even_chart(int free_inks, int steps)
{
    chart made{std::to_string(steps) + " steps of each ink", free_inks, {}};
    int count = 1;
    for (int i = 0; i < free_inks; ++i)
        count *= steps;
    for (int i = 0; i < count; ++i) {
        patch &one = made.patches.emplace_back();
        for (int ink = 0, rest = i; ink < free_inks; ++ink, rest /= steps)
            one.inks[static_cast<std::size_t>(ink)] = 100.0 * (rest % steps) / (steps - 1);
    }
    return made;
}

chart printed(chart asked, const transform &print, double noise)
{
    std::mt19937 numbers(1);
    // The mean length of three such numbers is sqrt(8 / pi) of their deviation.
    std::normal_distribution<double> error(0, noise / 1.5957691216057308);
    for (patch &one : asked.patches) {
        print.run(one.inks.data(), one.lab.data(), 1);
        for (double &value : one.lab)
            value += noise > 0 ? error(numbers) : 0;
    }
    return asked;
}

}  // namespace examples
