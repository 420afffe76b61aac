// conversion - from one space to another through profiles, device links and cubes: directly, or by a table
//
//     conversion chain;
//     chain.add_profiles(engine, from, to, intent, bpc);        or add_link, add_cube
//     chain.direct(in16, out16, pixels);                        Little CMS for every pixel
//     const colour_table &table = *chain.build(33, threads, true);
//     const measured found = measure(chain, points, run);       how far a table is from it

#ifndef TESKA_TOOL_CONVERSION_H
#define TESKA_TOOL_CONVERSION_H

#include "delta_e.h"
#include "profiles.h"
#include "tables/colour_table.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool
{

using words = std::vector<std::uint16_t>;

// Converts pixels of 16 bits without gaps. Any number of threads.
using pixel_function = std::function<void(const std::uint16_t *in, std::uint16_t *out, std::size_t pixels)>;

class conversion
{
public:
    // The steps in their order; each takes what the one before gives.
    void add_profiles(colour_engine &engine, const colour_profile &from, const colour_profile &to,
                      cmsUInt32Number intent, bool bpc);
    void add_link(colour_engine &engine, const colour_profile &link, cmsUInt32Number intent);
    void add_table(std::shared_ptr<const colour_table> table, colour_space from, colour_space to);

    // Total ink in per cent of one ink: the result is limited to it.
    void set_ink_limit(double per_cent) { ink_limit_ = per_cent; }

    [[nodiscard]] colour_space from() const { return from_; }
    [[nodiscard]] colour_space to() const { return to_; }
    [[nodiscard]] bool empty() const { return steps_.empty(); }

    void direct(const std::uint16_t *in, std::uint16_t *out, std::size_t pixels) const;

    // The table, when the only step is one.
    [[nodiscard]] std::shared_ptr<const colour_table> only_table() const;

    // A table with so many points along each input, made by `threads`; the same for every number of them. With curves
    // points stand evenly in lightness where the source's own tones do not.
    [[nodiscard]] std::shared_ptr<const colour_table> build(int points, int threads, bool with_curves) const;

    // The numbers of points to try in turn, the largest last.
    [[nodiscard]] std::vector<int> points() const;

    // To Lab, where the target's profile has a way back; doubles.
    [[nodiscard]] const transform *to_lab() const { return to_lab_.get(); }

private:
    struct step {
        colour_space to;
        pixel_function run;
        std::shared_ptr<const colour_table> table;  // when the step is one
    };

    void add(colour_space from, step made);
    void limit_ink(std::uint16_t *pixel) const;
    [[nodiscard]] std::vector<words> curves() const;

    colour_space from_ = {colour_kind::rgb, 3};
    colour_space to_ = {colour_kind::rgb, 3};
    std::vector<step> steps_;
    std::shared_ptr<const transform> from_lab_source_;  // of the source's colours to Lab, for its curves
    std::shared_ptr<const transform> to_lab_;
    double ink_limit_ = 0;  // 0: none
};

// Points of a space that a check looks at: uniform ones, dark ones, and ramps of the neutral or of each ink.
words check_points(colour_space space);

// SplitMix64 of a number: a choice of pixels that depends on nothing else.
std::uint64_t splitmix64(std::uint64_t number);

// Differences between what is written and what direct evaluation gives.
struct differences {
    std::size_t count = 0;
    double mean = 0;
    double p95 = 0;
    double largest = 0;
    words worst;  // the input of the largest
};

struct measured {
    differences written;  // in the depth of the output
    differences exact;    // of the result of 16 bits
    double rounding = 0;  // largest difference between the two
};

// Delta E 2000 where the target has a way to Lab, else per cent of the output's range.
measured measure(const conversion &chain, const words &inputs, const pixel_function &run, int depth);

}  // namespace tool

#endif
