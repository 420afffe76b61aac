// izat/plan - which source pixels a destination pixel is made of, and with which weights, along one direction (image)
//
// Weights are made integers by rounding their running sum: the sum of the integers is izat_one by construction,
// whatever the kernel, and inside a lobe of the kernel, where the running sum is monotonous, rounding keeps the sign.
// So the sum of magnitudes stays below 25800 for every kernel here, and a weight fits 16 bits.
//
//     triangle, 4 to 2: pixels 0 1 2 have 7022 7021 2341 of 16384
//
// No process-wide state.

#include "Source/izat/plan.h"

#include "Kernels/izat_kernels.h"

#include "izat.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace teska
{

namespace
{

// sin(pi a) for a from 0 to 3. The C library's sine differs from system to system in its last bit; the error of this
// series, whose argument is at most pi / 2, is below 1e-15.
double sine_of_pi(double a) noexcept
{
    const double turns = std::floor(a + 0.5);
    const double y = std::numbers::pi * (a - turns);
    const double square = y * y;
    double series = 1.0;
    for (int k = 10; k >= 1; --k)
        series = 1.0 - square / (2 * k * (2 * k + 1)) * series;
    const double sine = y * series;
    return std::fmod(turns, 2.0) != 0.0 ? -sine : sine;
}

double triangle(double a) noexcept { return a < 1.0 ? 1.0 - a : 0.0; }

double catmull_rom(double a) noexcept
{
    if (a < 1.0)
        return 1.0 + a * a * (1.5 * a - 2.5);
    return a < 2.0 ? 2.0 + a * (-4.0 + a * (2.5 - 0.5 * a)) : 0.0;
}

double mitchell(double a) noexcept
{
    if (a < 1.0)
        return (16.0 + a * a * (21.0 * a - 36.0)) / 18.0;
    return a < 2.0 ? (32.0 + a * (-60.0 + a * (36.0 - 7.0 * a))) / 18.0 : 0.0;
}

double lanczos3(double a) noexcept
{
    constexpr double pi = std::numbers::pi;
    if (a == 0.0)
        return 1.0;
    return a < 3.0 ? 3.0 * sine_of_pi(a) * sine_of_pi(a / 3.0) / (pi * pi * a * a) : 0.0;
}

struct kernel_shape {
    double (*value)(double a) noexcept;
    double radius;
};

constexpr kernel_shape shapes[] = {
    {nullptr, 0.0}, {triangle, 1.0}, {catmull_rom, 2.0}, {mitchell, 2.0}, {lanczos3, 3.0}};

}  // namespace

izat_axis::izat_axis(int kernel, double start, double extent, int size, int destination) noexcept
    : kernel_(kernel), start_(start), scale_(extent / destination), spread_(std::max(scale_, 1.0)), size_(size),
      destination_(destination)
{
}

izat_reach izat_axis::reach(int x) const noexcept
{
    double first, last;
    if (kernel_ == IZAT_AREA) {
        first = std::floor(start_ + x * scale_);
        last = std::ceil(start_ + (x + 1) * scale_) - 1.0;
    } else {
        const double centre = start_ + (x + 0.5) * scale_;
        const double half = shapes[kernel_].radius * spread_;
        first = std::ceil(centre - half - 0.5);
        last = std::floor(centre + half - 0.5);
    }
    // Cut in doubles: either may be beyond the range of int. By rounding nothing may be left; then it is one pixel.
    const double end = size_ - 1.0;
    first = std::clamp(first, 0.0, end);
    last = std::clamp(last, first, end);
    return {.first = static_cast<int>(first), .count = static_cast<int>(last - first) + 1};
}

double izat_axis::weight(int x, double pixel) const noexcept
{
    if (kernel_ == IZAT_AREA) {
        const double left = start_ + x * scale_, right = start_ + (x + 1) * scale_;
        return std::max(std::min(pixel + 1.0, right) - std::max(pixel, left), 0.0);
    }
    const double centre = start_ + (x + 0.5) * scale_;
    return shapes[kernel_].value(std::fabs((pixel + 0.5 - centre) / spread_));
}

void izat_axis::weights(int x, std::int16_t *weights) const noexcept
{
    const izat_reach taps = reach(x);
    double total = 0.0;
    for (int i = 0; i < taps.count; ++i)
        total += weight(x, static_cast<double>(taps.first) + i);
    if (!(total > 0.0)) {
        // An area whose ends are equal by rounding: the pixel that it begins in.
        std::fill_n(weights, taps.count, std::int16_t{0});
        weights[0] = izat_one;
        return;
    }
    double running = 0.0;
    int before = 0;
    for (int i = 0; i < taps.count; ++i) {
        running += weight(x, static_cast<double>(taps.first) + i);
        const int upto = i + 1 < taps.count ? static_cast<int>(std::floor(running / total * izat_one + 0.5)) : izat_one;
        weights[i] = static_cast<std::int16_t>(upto - before);
        before = upto;
    }
}

int izat_axis::most_taps() const noexcept
{
    int most = 1;
    for (int x = 0; x < destination_; ++x)
        most = std::max(most, reach(x).count);
    return most;
}

int izat_axis::bound_of_taps() const noexcept
{
    // A run of this length touches at most one pixel more; another one for rounding, far below a pixel for any size.
    const double run = kernel_ == IZAT_AREA ? scale_ : 2.0 * shapes[kernel_].radius * spread_;
    return static_cast<int>(std::min(std::ceil(run) + 2.0, size_ + 0.0));
}

}  // namespace teska
