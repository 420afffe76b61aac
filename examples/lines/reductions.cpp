// reductions - a zone plate at half its size, in six ways, and how much of its rings is right and how much is false

#include "izat.h"
#include "lines/job.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace examples
{

namespace
{

// Across or down, whichever is higher, a zone plate has so many periods a pixel as its pixel is widths from the centre.
// Pixels of half the resolution show a quarter of a period.
constexpr double coarse_enough = 0.8 * 0.25;
constexpr double too_fine = 1.2 * 0.25;

double frequency(const picture &plate, int x, int y)
{
    const double across = std::abs(x + 0.5 - plate.width / 2.0) / plate.width;
    const double down = std::abs(y + 0.5 - plate.height / 2.0) / plate.height;
    return std::max(across, down);
}

// Standard deviation of the samples where the frequency of the rings, as they are before reducing, lies in a range.
double contrast(const picture &plate, double lowest, double highest)
{
    double count = 0, sum = 0, squares = 0;
    for (int y = 0; y < plate.height; ++y)
        for (int x = 0; x < plate.width; ++x)
            if (const double f = frequency(plate, x, y); f >= lowest && f <= highest) {
                const double value = plate.line(y)[x];
                ++count;
                sum += value;
                squares += value * value;
            }
    return std::sqrt(std::max(squares / count - sum / count * sum / count, 0.0));
}

}  // namespace

reductions reduce_zone_plate(int size)
{
    reductions result{zone_plate(size), {}};
    const picture &plate = result.plate;
    const auto add = [&](const char *name, const char *function, picture half) {
        const auto part = [&](double lowest, double highest) {
            return 100 * contrast(half, lowest, highest) / contrast(plate, lowest, highest);
        };
        const double kept = part(0, coarse_enough), false_rings = part(too_fine, 1);
        result.made.push_back({name, function, std::move(half), kept, false_rings});
    };
    add("bilinear", "ibilin", resampled(plate, size / 2, size / 2));
    const std::pair<const char *, int> kernels[] = {{"area", IZAT_AREA},
                                                    {"triangle", IZAT_TRIANGLE},
                                                    {"Catmull-Rom", IZAT_CATMULL_ROM},
                                                    {"Mitchell", IZAT_MITCHELL},
                                                    {"Lanczos-3", IZAT_LANCZOS3}};
    for (const auto &[name, kernel] : kernels)
        add(name, "izat", averaged(plate, size / 2, size / 2, kernel));
    return result;
}

}  // namespace examples
