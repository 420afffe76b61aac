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

// Values of a kernel are made for as many taps at a time.
constexpr int chunk = 64;

// sines[i] = sin(pi a[i]) for a from 0 to 3. The C library's sine differs from system to system in its last bit; the
// error of this series, whose argument is at most pi / 2, is below 1e-15. Term by term for all: divisions take most of
// the time, and so a compiler makes vectors of them.
void sines_of_pi(const double *a, int count, double *sines) noexcept
{
    double argument[chunk], square[chunk], series[chunk];
    int turns[chunk];
    for (int i = 0; i < count; ++i) {
        turns[i] = static_cast<int>(a[i] + 0.5);
        argument[i] = std::numbers::pi * (a[i] - turns[i]);
        square[i] = argument[i] * argument[i];
        series[i] = 1.0;
    }
    for (int k = 10; k >= 1; --k)
        for (int i = 0; i < count; ++i)
            series[i] = 1.0 - square[i] / (2 * k * (2 * k + 1)) * series[i];
    for (int i = 0; i < count; ++i)
        sines[i] = turns[i] % 2 != 0 ? -(argument[i] * series[i]) : argument[i] * series[i];
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

double lanczos3(double a, double sine, double sine_of_third) noexcept
{
    constexpr double pi = std::numbers::pi;
    if (a == 0.0)
        return 1.0;
    return a < 3.0 ? 3.0 * sine * sine_of_third / (pi * pi * a * a) : 0.0;
}

void lanczos3_values(double *a, int count) noexcept
{
    double third[chunk] = {}, sine[chunk], sine_of_third[chunk];
    for (int i = 0; i < count; ++i) {
        a[i] = std::min(a[i], 3.0);
        third[i] = a[i] / 3.0;
    }
    sines_of_pi(a, count, sine);
    sines_of_pi(third, count, sine_of_third);
    for (int i = 0; i < count; ++i)
        a[i] = lanczos3(a[i], sine[i], sine_of_third[i]);
}

// Replaces distances by values of the kernel.
template <double (*Value)(double a) noexcept>
void values_of(double *a, int count) noexcept
{
    std::transform(a, a + count, a, Value);
}

struct kernel_shape {
    void (*values)(double *a, int count) noexcept;
    double radius;
};

constexpr kernel_shape shapes[] = {{nullptr, 0.0},
                                   {values_of<triangle>, 1.0},
                                   {values_of<catmull_rom>, 2.0},
                                   {values_of<mitchell>, 2.0},
                                   {lanczos3_values, 3.0}};

}  // namespace

izat_axis::izat_axis(int kernel, double start, double extent, int size, int destination) noexcept
    : kernel_(kernel), start_(start), scale_(extent / destination), spread_(std::max(scale_, 1.0)), size_(size)
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

// Of pixels first .. first + count - 1.
void izat_axis::values(int x, double first, int count, double *values) const noexcept
{
    if (kernel_ == IZAT_AREA) {
        const double left = start_ + x * scale_, right = start_ + (x + 1) * scale_;
        for (int i = 0; i < count; ++i)
            values[i] = std::max(std::min(first + i + 1.0, right) - std::max(first + i, left), 0.0);
        return;
    }
    const double centre = start_ + (x + 0.5) * scale_;
    for (int i = 0; i < count; ++i)
        values[i] = std::fabs((first + i + 0.5 - centre) / spread_);
    shapes[kernel_].values(values, count);
}

void izat_axis::weights(int x, std::int16_t *weights) const noexcept
{
    const izat_reach taps = reach(x);
    double value[chunk];
    double total = 0.0;
    for (int i = 0; i < taps.count; i += chunk) {
        const int count = std::min(taps.count - i, chunk);
        values(x, static_cast<double>(taps.first) + i, count, value);
        for (int k = 0; k < count; ++k)
            total += value[k];
    }
    if (!(total > 0.0)) {
        // An area whose ends are equal by rounding: the pixel that it begins in.
        std::fill_n(weights, taps.count, std::int16_t{0});
        weights[0] = izat_one;
        return;
    }
    double running = 0.0;
    int before = 0;
    for (int i = 0; i < taps.count; ++i) {
        const int k = i % chunk;
        if (k == 0 && taps.count > chunk)
            values(x, static_cast<double>(taps.first) + i, std::min(taps.count - i, chunk), value);
        running += value[k];
        const int upto = i + 1 < taps.count ? static_cast<int>(std::floor(running / total * izat_one + 0.5)) : izat_one;
        weights[i] = static_cast<std::int16_t>(upto - before);
        before = upto;
    }
}

int izat_axis::bound_of_taps() const noexcept
{
    // A run of this length touches at most one pixel more; another one for rounding, far below a pixel for any size.
    const double run = kernel_ == IZAT_AREA ? scale_ : 2.0 * shapes[kernel_].radius * spread_;
    return static_cast<int>(std::min(std::ceil(run) + 2.0, size_ + 0.0));
}

}  // namespace teska
