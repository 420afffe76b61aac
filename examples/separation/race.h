// race - the speed of several ways to do the same work, measured side by side

#ifndef EXAMPLES_RACE_H
#define EXAMPLES_RACE_H

#include "support/progress.h"

#include <functional>
#include <vector>

namespace examples
{

// Megapixels per second of processor time: on a busy machine it says more than the clock on the wall.
struct speed {
    double median = 0;
    double best = 0;
};

// One way of doing the work on a whole picture.
using runner = std::function<void()>;

// What a runner repeats its picture for in a round, at least: long against the step of its clock, short against the
// changes of a processor's frequency.
constexpr double least_round_seconds = 0.03;

// Every runner in turn, round after round, so that whatever else the machine does meets all of them alike.
//
// pixels  of the picture
// rounds  at least 1
std::vector<speed> race(const std::vector<runner> &runners, double pixels, int rounds, progress &shown);

}  // namespace examples

#endif
