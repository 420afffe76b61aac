// ibilin/plan - which bytes of a source line become which samples, prepared for the kernels of one vector length

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
    int step;  // samples from one pixel of the source to the next

    // Whether every sample is one of the source: all weights are 0.
    [[nodiscard]] bool picks() const noexcept { return source_pixels % pixels == 0; }
};

// The plan of a line, in two parts that follow each other: one for as far as the pattern of its samples repeats, one
// for the rest.
class ibilin_planner
{
public:
    // For kernels with vectors of kernels.units units, and lines of up to `samples` samples of either depth. False when
    // there is no memory.
    [[nodiscard]] bool reserve(const ibilin_kernels &kernels, std::ptrdiff_t samples) noexcept;

    // Tries to plan lines of this depth, in place of a former plan. There is none when no number of windows reaches all
    // samples, as in a line shorter than a unit, or when the kernels have no vectors.
    void make(const ibilin_line &line, int sample_bytes) noexcept;

    // Bytes of a sample for which a plan was tried last, 0 before that; and whether it succeeded.
    [[nodiscard]] int depth() const noexcept { return depth_; }
    [[nodiscard]] bool made() const noexcept { return made_; }

    // Meaningful only while there is a plan; the repeats of either part may be 0. The second part begins at the byte
    // rest_at() of the output.
    [[nodiscard]] bool picks() const noexcept { return picks_; }
    [[nodiscard]] const ibilin_plan &repeated() const noexcept { return repeated_; }
    [[nodiscard]] const ibilin_plan &rest() const noexcept { return rest_; }
    [[nodiscard]] std::ptrdiff_t rest_at() const noexcept { return rest_at_; }

private:
    struct shape;

    [[nodiscard]] bool plan_vectors(const shape &form, std::ptrdiff_t first, std::ptrdiff_t vectors, ibilin_plan &plan,
                                    std::ptrdiff_t *offset, std::uint8_t *table) noexcept;
    [[nodiscard]] bool plan_repeated(const shape &form, std::ptrdiff_t all_vectors) noexcept;
    [[nodiscard]] bool plan_all(const shape &form) noexcept;

    int unit_ = 0;        // bytes
    int units_ = 0;       // of a vector
    int depth_ = 0;       // see depth()
    bool made_ = false;   // see made()
    bool picks_ = false;  // the plan only picks samples
    ibilin_plan repeated_{};
    ibilin_plan rest_{};
    std::ptrdiff_t rest_at_ = 0;
    heap_block<std::ptrdiff_t> offsets_;
    heap_block<std::uint8_t> tables_;
};

}  // namespace teska

#endif
