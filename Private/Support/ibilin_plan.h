// ibilin_plan - which bytes of a source line become which samples, prepared for the kernels of one vector length

#ifndef TESKA_SUPPORT_IBILIN_PLAN_H
#define TESKA_SUPPORT_IBILIN_PLAN_H

#include "Kernels/ibilin_kernels.h"
#include "Support/checked_size.h"
#include "Support/memory.h"

namespace teska
{

// The lines of an image as a plan sees them: `together` components, 1 or all of them interleaved, are one line.
struct bilin_line {
    const bilin_place *places;  // of the destination's pixels
    int pixels;
    int source_pixels;
    int together;
    int step;    // samples from one pixel of the source to the next
    bool picks;  // all weights are 0
};

// What kernels with vectors of `units` units of `unit` bytes need for lines of up to `samples` samples.
class bilin_planner
{
public:
    // False when there is no memory. Without units nothing is taken.
    [[nodiscard]] bool reserve(const bilin_kernels &kernels, std::ptrdiff_t samples) noexcept;

    // Plans with the fewest windows that reach all samples of a line; plan().windows stays 0 when none do, or when the
    // line is shorter than a unit.
    void make(const bilin_line &line, int sample_bytes) noexcept;

    [[nodiscard]] const bilin_plan &plan() const noexcept { return plan_; }

private:
    [[nodiscard]] bool try_windows(const bilin_line &line, int sample_bytes, int windows) noexcept;

    int unit_ = 0;
    int units_ = 0;
    bilin_plan plan_{};
    heap_block<std::ptrdiff_t> offsets_;
    heap_block<std::uint8_t> tables_;
};

}  // namespace teska

#endif
