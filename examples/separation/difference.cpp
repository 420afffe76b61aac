// difference - how far two pictures lie apart

#include "separation/difference.h"

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

picture magnified_difference(const picture &a, const picture &b, int factor)
{
    picture result(a.width, a.height, a.channels);
    std::transform(a.samples.begin(), a.samples.end(), b.samples.begin(), result.samples.begin(),
                   [factor](unsigned char x, unsigned char y) {
                       return static_cast<unsigned char>(std::min(255, factor * std::abs(x - y)));
                   });
    return result;
}

}  // namespace examples
