#include "faults/sweep.h"
#include "fusm.h"

#include <algorithm>
#include <memory>

namespace teska_test
{

namespace
{

using Filter = std::shared_ptr<fusm>;

constexpr const char *no_buffer = "fusm_start: malloc HPFc_buf failed";

// Of a curve: its record, the points' and what holds them.
const lines no_record = {"fusm_level_red_set: unable to create lin interp",
                         "lin_interp : Cannot create new instance of double interpolator"};
const lines no_function = {"func_new : unable to create new instance of function", no_record[0], no_record[1]};
const lines no_list = {no_function[0], no_record[0], no_record[1], "list_new : Not enough resources to create list"};

int spots;  // how many lines came out with the spot in their middle made brighter by 40
unsigned char result[3];

void watch(int) { spots += result[1] == 150 ? 1 : 0; }
void keep(void **in, int, void **out, int, int width)
{
    std::copy_n(static_cast<unsigned char *>(*in), width, static_cast<unsigned char *>(*out));
}

// Every second line has a spot. Nothing is allocated for a line, so only the start may fail.
bool sharpen(fusm *f, int height)
{
    unsigned char plain[] = {100, 100, 100}, spotted[] = {100, 110, 100};
    unsigned char *out = result;
    spots = 0;
    if (f == nullptr || fusm_start(f, height, 3, watch, 1, 0, 1) == 0)
        return false;
    for (int y = 0; y < height; ++y) {
        unsigned char *in = y % 2 == 0 ? plain : spotted;
        fusm_b_do(f, &in, &out, nullptr);
    }
    return spots == height / 2;
}

const SweepRows rows({
    calling("fusm_new",
            [] {
                fusm *f = fusm_new(0, 255, 1, 1, nullptr, nullptr);
                const bool success = sharpen(f, 3);
                fusm_kill(f);
                return success;
            },
            {{.count = 1, .once = {"usm_new: unable to malloc"}},
             {.count = 1, .once = {}, .sticky = {no_buffer}},  // the tables
             {.count = 1, .once = {no_buffer}}}),
    changing<Filter>(
        "fusm_start, 100000 lines", [] { return Filter(fusm_new(0, 255, 1, 1, nullptr, keep), fusm_kill); },
        [](const Filter &f) { return sharpen(f.get(), 100001); }, [](const Filter &) { return std::string(); },
        {{.count = 1, .once = {"fusm_start: malloc comps_buf failed"}}, {.count = 1, .once = {no_buffer}}}),
    changing<Filter>(
        "fusm_level_red_set", [] { return Filter(fusm_new(0, 255, 2, 2, nullptr, nullptr), fusm_kill); },
        [](const Filter &f) {
            const double points[] = {0, 0, 1, 1};
            return fusm_level_red_set(f.get(), 2, points, points) != 0;
        },
        [](const Filter &) { return std::string(); },
        {{.count = 1, .once = {}},
         {.count = 1, .once = no_record},
         {.count = 1, .once = no_function},
         {.count = 4, .once = no_list},
         {.count = 1, .once = no_record},
         {.count = 1, .once = no_function},
         {.count = 4, .once = no_list}}),
});

}  // namespace

}  // namespace teska_test
