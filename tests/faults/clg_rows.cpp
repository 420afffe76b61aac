#include "clg.h"
#include "faults/sweep.h"

#include <algorithm>
#include <memory>
#include <string>

namespace teska_test
{

namespace
{

using Cloud = std::shared_ptr<clg>;

// So many that the cells of former holes are used again, and arrays grow.
void add_grid(const Cloud &cloud, int channels)
{
    const int points = 125;
    for (int i = 0; i < points; ++i) {
        double device[4] = {};
        for (int k = 0, rest = i; k < channels; ++k, rest /= 5)
            device[k] = 0.24 * (rest % 5) + 0.001 * k * (i % 7);
        device[3] = channels == 4 ? i % 11 * 0.09 : 0.0;
        const double colour[] = {device[0] + device[3], device[1] + device[3] * device[0], device[2] - device[3]};
        clg_add(cloud.get(), device, colour);
    }
}

// A model of eight corners and pairs that it does not have yet.
Cloud half_built(int channels)
{
    Cloud cloud(clg_new(channels, channels, 0, 1), clg_kill);
    for (int i = 0; i < 1 << channels; ++i) {
        const double device[] = {i & 1 ? 1.0 : 0.0, i & 2 ? 1.0 : 0.0, i & 4 ? 1.0 : 0.0, i & 8 ? 1.0 : 0.0};
        clg_add(cloud.get(), device, device);
    }
    EXPECT_EQ(clg_build(cloud.get()), 0);
    add_grid(cloud, channels);
    return cloud;
}

std::string model(const Cloud &cloud)
{
    const double colour[] = {0.4, 0.3, 2.0};
    double device[4] = {}, dist = 0;
    clg_find(cloud.get(), colour, device, &dist);
    return std::to_string(clg_num_points(cloud.get())) + " " + std::to_string(clg_num_cells(cloud.get())) + " " +
           std::to_string(device[0]) + " " + std::to_string(dist);
}

// As many pairs as there is room for.
Cloud full()
{
    Cloud cloud(clg_new(3, 3, 0, 1), clg_kill);
    for (int i = 0; i < 64; ++i) {
        const double device[] = {i / 63.0, i % 3 * 0.5, i % 2 * 1.0};
        clg_add(cloud.get(), device, device);
    }
    EXPECT_EQ(clg_build(cloud.get()), 0);
    return cloud;
}

const double middle[] = {0.5, 0.5, 0.5};
const SweepReports build_failure{{"clg_build: malloc failure"}};

SweepRow build_row(const char *name, int channels)
{
    return changing<Cloud>(
        name, [=] { return half_built(channels); }, [](const Cloud &cloud) { return gave(0, clg_build(cloud.get())); },
        model, build_failure);
}

const SweepRows rows({
    calling("clg_new", [] { return made(clg_new(4, 4, 0, 1), clg_kill); }, {{"clg_new: malloc failure"}}),
    changing<Cloud>("clg_add", full, [](const Cloud &cloud) { return gave(0, clg_add(cloud.get(), middle, middle)); },
                    model, {{"clg_add: malloc failure"}}),
    build_row("clg_build, 1 channel", 1),
    build_row("clg_build, 3 channels", 3),
    build_row("clg_build, 4 channels", 4),
});

}  // namespace

}  // namespace teska_test
