// race - the speed of several ways to do the same work, measured side by side

#include "separation/race.h"

#include <algorithm>
#include <ctime>

namespace examples
{

namespace
{

double megapixels_per_second(const runner &work, double pixels)
{
    const std::clock_t start = std::clock();
    double seconds = 0;
    int times = 0;
    do {
        work();
        ++times;
        seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    } while (seconds < least_round_seconds);
    return pixels * times / seconds / 1e6;
}

speed summary(std::vector<double> rounds)
{
    std::sort(rounds.begin(), rounds.end());
    return {rounds[rounds.size() / 2], rounds.back()};
}

}  // namespace

std::vector<speed> race(const std::vector<runner> &runners, double pixels, int rounds, progress &shown)
{
    std::vector<std::vector<double>> measured(runners.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < runners.size(); ++i)
            measured[i].push_back(megapixels_per_second(runners[i], pixels));
        shown.done(round + 1);
    }
    std::vector<speed> result;
    for (const auto &one : measured)
        result.push_back(summary(one));
    return result;
}

}  // namespace examples
