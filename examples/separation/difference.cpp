// difference - how far two pictures lie apart

#include "separation/difference.h"

#include "support/heat.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>

namespace examples
{

difference summarise(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    const double count = static_cast<double>(values.size());
    const auto rank = static_cast<std::size_t>(std::ceil(0.95 * count));
    return {std::accumulate(values.begin(), values.end(), 0.0) / count, values[rank - 1], values.back()};
}

difference compare(const picture &a, const picture &b)
{
    std::vector<double> values(a.samples.size());
    std::transform(a.samples.begin(), a.samples.end(), b.samples.begin(), values.begin(),
                   [](unsigned char x, unsigned char y) { return std::abs(x - y); });
    return summarise(std::move(values));
}

picture difference_map(const std::vector<double> &values, int width, int height, double top)
{
    picture map(width, height, 3);
    unsigned char *sample = map.samples.data();
    for (const double value : values) {
        const auto shade = heat(std::clamp(value / top, 0.0, 1.0));
        sample = std::copy(shade.begin(), shade.end(), sample);
    }
    return map;
}

}  // namespace examples
