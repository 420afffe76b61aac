// pictures - the test pictures, and plain operations on pictures

#include "lines/job.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

namespace examples
{

picture zone_plate(int size)
{
    picture plate(size, size, 1);
    const double middle = (size - 1) / 2.0;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            const double square = (x - middle) * (x - middle) + (y - middle) * (y - middle);
            // The frequency is the derivative of the phase by the radius: pi radians a pixel at the edge.
            plate.line(y)[x] =
                static_cast<unsigned char>(std::lround(127.5 + 127.5 * std::cos(std::numbers::pi * square / size)));
        }
    return plate;
}

picture cropped(const picture &source, int x, int y, int width, int height)
{
    picture part(std::min(width, source.width - x), std::min(height, source.height - y), source.channels);
    for (int line = 0; line < part.height; ++line)
        std::copy_n(source.line(y + line) + x * source.channels, part.width * part.channels, part.line(line));
    return part;
}

picture magnified(const picture &source, int factor)
{
    picture large(source.width * factor, source.height * factor, source.channels);
    for (int y = 0; y < large.height; ++y)
        for (int x = 0; x < large.width; ++x)
            std::copy_n(source.line(y / factor) + x / factor * source.channels, source.channels,
                        large.line(y) + x * source.channels);
    return large;
}

picture distance(const picture &a, const picture &b, int factor)
{
    picture result(a.width, a.height, a.channels);
    std::transform(
        a.samples.begin(), a.samples.end(), b.samples.begin(), result.samples.begin(),
        [factor](int p, int q) { return static_cast<unsigned char>(std::min(std::abs(p - q) * factor, 255)); });
    return result;
}

}  // namespace examples
