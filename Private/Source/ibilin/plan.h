// ibilin_plan - which bytes of a source line become which samples, prepared for the kernels of one vector length

#ifndef TESKA_IBILIN_PLAN_H
#define TESKA_IBILIN_PLAN_H

#include "Kernels/ibilin_kernels.h"
#include "Support/checked_size.h"
#include "Support/memory.h"

namespace teska
{

// The lines of an image as a plan sees them: `together` components, 1 or all of them interleaved, are one line.
struct ibilin_line {
    const ibilin_place *places;  // of the destination's pixels
    int pixels;
    int source_pixels;
    int together;
    int step;    // samples from one pixel of the source to the next
    bool picks;  // all weights are 0
};

// Two plans follow each other along a line: one for as far as the pattern of its samples repeats, one for the rest.
class ibilin_planner
{
public:
    // For kernels with vectors of kernels.units units, and lines of up to `samples` samples of either depth. False when
    // there is no memory.
    [[nodiscard]] bool reserve(const ibilin_kernels &kernels, std::ptrdiff_t samples) noexcept;

    // Plans with the fewest windows that reach all samples of a line. False when none do, as in a line shorter than a
    // unit, or when the kernels have no vectors.
    bool make(const ibilin_line &line, int sample_bytes) noexcept;

    // Meaningful only after make() has succeeded; the repeats of either plan may be 0. The second one begins at the
    // byte rest_at() of the output.
    [[nodiscard]] const ibilin_plan &repeated() const noexcept { return repeated_; }
    [[nodiscard]] const ibilin_plan &rest() const noexcept { return rest_; }
    [[nodiscard]] std::ptrdiff_t rest_at() const noexcept { return rest_at_; }

private:
    struct shape;

    [[nodiscard]] bool plan_vectors(const shape &form, std::ptrdiff_t first, std::ptrdiff_t vectors, ibilin_plan &plan,
                                    std::ptrdiff_t *offset, std::uint8_t *table) noexcept;
    [[nodiscard]] bool plan_repeated(const shape &form, std::ptrdiff_t all_vectors) noexcept;
    [[nodiscard]] bool plan_all(const shape &form) noexcept;

    int unit_ = 0;
    int units_ = 0;
    ibilin_plan repeated_{};
    ibilin_plan rest_{};
    std::ptrdiff_t rest_at_ = 0;
    heap_block<std::ptrdiff_t> offsets_;
    heap_block<std::uint8_t> tables_;
};

}  // namespace teska

#endif
