#include "faults/sweep.h"
#include "izat.h"

#include <memory>

namespace teska_test
{

namespace
{

using Zoom = std::shared_ptr<izat>;
using Pick = std::shared_ptr<izoom>;

// Both ignore lines, as after a failure.
Zoom make_zoom() { return {izat_new(IZAT_LANCZOS3), izat_kill}; }
Pick make_pick() { return {izoom_new(), izoom_kill}; }

// Feeds a line; how many are handed out.
std::string feed_zoom(const Zoom &zoom)
{
    const unsigned char line[300] = {};
    unsigned char made[600], *out = made;
    return std::to_string(izat_line_b(zoom.get(), line, &out));
}

std::string feed_pick(const Pick &pick)
{
    const unsigned char line[300] = {};
    unsigned char made[600], *out = made;
    return std::to_string(izoom_line_b(pick.get(), line, &out));
}

const SweepRows rows({
    calling("izat_new", [] { return made(izat_new(IZAT_AREA), izat_kill); }, {{"izat_new: insufficient memory"}}),
    calling("izoom_new", [] { return made(izoom_new(), izoom_kill); }, {{"izoom_new: insufficient memory"}}),
    changing<Zoom>("izat_start", make_zoom,
                   [](const Zoom &zoom) {
                       return izat_start(zoom.get(), 3, 1, 100, 1, 200, nullptr, nullptr, 3, 3) == 1;
                   },
                   feed_zoom, {{"izat_start: insufficient memory"}}),
    changing<Pick>("izoom_start", make_pick,
                   [](const Pick &pick) {
                       return izoom_start(pick.get(), 3, 1, 100, 1, 200, nullptr, nullptr, 3, 3) == 1;
                   },
                   feed_pick, {{"izoom_start: insufficient memory"}}),
});

}  // namespace

}  // namespace teska_test
