// izat/plan - which source pixels a destination pixel is made of, and with which weights, along one direction

#ifndef TESKA_IZAT_PLAN_H
#define TESKA_IZAT_PLAN_H

#include <cstdint>

namespace teska
{

// A run of source pixels.
struct izat_reach {
    int first;
    int count;  // at least 1
};

class izat_axis
{
public:
    izat_axis() = default;

    // `extent` source pixels from `start` on, of `size` there are, become `destination` pixels.
    izat_axis(int kernel, double start, double extent, int size, int destination) noexcept;

    [[nodiscard]] izat_reach reach(int x) const noexcept;

    // The weights of the pixels that reach(x) names, of sum izat_one.
    void weights(int x, std::int16_t *weights) const noexcept;

    // No count exceeds it; at most two more than the largest of all destination pixels.
    [[nodiscard]] int bound_of_taps() const noexcept;

private:
    void values(int x, double first, int count, double *values) const noexcept;

    int kernel_ = 0;
    double start_ = 0.0;
    double scale_ = 1.0;   // source pixels of a destination pixel
    double spread_ = 1.0;  // of the kernel: the scale where it reduces
    int size_ = 0;
};

}  // namespace teska

#endif
