#include "faults/sweep.h"

#include "interp_double.h"

#include <memory>

namespace teska_test
{

namespace
{

using Curve = std::shared_ptr<lin_interp_double>;

constexpr const char *no_func = "func_new : unable to create new instance of function";
constexpr const char *no_curve = "lin_interp : Cannot create new instance of double interpolator";
constexpr const char *no_inverse = "lin_interp_double : cannot create inverted object";
constexpr const char *no_list = "list_new : Not enough resources to create list";
constexpr const char *no_room = "list_insert : Unable to extend list, insufficient resources";

std::string contents(const Curve &li)
{
    std::string text = std::to_string(lin_interp_double_num(li.get()));
    double x = 0.0;
    double y = 0.0;
    for (int i = 0; lin_interp_double_getp(li.get(), i, &x, &y) == 0; ++i)
        text += ' ' + std::to_string(x) + '/' + std::to_string(y);
    return text;
}

// On the points (1, 1), (2, 2) ..; room for one at first and for one more at a time.
SweepRow on_points(const char *name, int count, bool (*call)(const Curve &li), std::vector<SweepFailures> failures)
{
    const auto filled = [=] {
        Curve li(lin_interp_double_new(1, nullptr), lin_interp_double_kill);
        for (int i = 1; i <= count; ++i)
            lin_interp_double_insert(li.get(), i, i);
        return li;
    };
    return changing<Curve>(name, filled, call, contents, std::move(failures));
}

const SweepRows rows({
    {.name = "lin_interp_double_new",
     .make =
         [] {
             return SweepCase{.call = [] { return made(lin_interp_double_new(1, nullptr), lin_interp_double_kill); }};
         },
     .failures = {{.count = 1, .once = {no_curve}},
                  {.count = 1, .once = {no_func, no_curve}},
                  {.count = 4, .once = {no_func, no_curve, no_list}}}},
    on_points("lin_interp_double_insert", 1,
              [](const Curve &li) { return gave(0, lin_interp_double_insert(li.get(), 0, 5)); },
              {{.count = 2, .once = {no_room}}}),
    on_points("lin_interp_double_subst", 1,
              [](const Curve &li) { return gave(0, lin_interp_double_subst(li.get(), 1.5, 5, 0.5)); },
              {{.count = 2, .once = {no_room}}}),
    on_points("lin_interp_double_invert", 3,
              [](const Curve &li) { return made(lin_interp_double_invert(li.get(), nullptr), lin_interp_double_kill); },
              {{.count = 1, .once = {no_curve, no_inverse}},
               {.count = 1, .once = {no_func, no_curve, no_inverse}},
               {.count = 4, .once = {no_func, no_curve, no_inverse, no_list}},
               {.count = 1, .once = {no_func, no_inverse}},
               {.count = 4, .once = {no_func, no_inverse, no_list}},
               {.count = 3, .once = {no_inverse, no_room}}}),  // x and y for the second point, x for the third
});

}  // namespace

}  // namespace teska_test
