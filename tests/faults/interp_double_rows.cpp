#include "faults/sweep.h"

#include "interp_double.h"

#include <gtest/gtest.h>

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

// Points (1, 1), (2, 2) ..; room for one at first and for one more at a time.
Curve filled(int count)
{
    Curve li(lin_interp_double_new(1, nullptr), lin_interp_double_kill);
    for (int i = 1; i <= count; ++i)
        lin_interp_double_insert(li.get(), i, i);
    return li;
}

std::string contents(const Curve &li)
{
    std::string text = std::to_string(lin_interp_double_num(li.get()));
    double x = 0.0;
    double y = 0.0;
    for (int i = 0; lin_interp_double_getp(li.get(), i, &x, &y) == 0; ++i)
        text += ' ' + std::to_string(x) + '/' + std::to_string(y);
    return text;
}

SweepRow on_curve(const char *name, int points, bool (*call)(lin_interp_double *li),
                  std::vector<SweepFailures> failures)
{
    return {.name = name,
            .make =
                [=] {
                    const Curve li = filled(points);
                    return SweepCase{.call = [=] { return call(li.get()); }, .state = [=] { return contents(li); }};
                },
            .failures = std::move(failures)};
}

bool zero(int result)
{
    EXPECT_TRUE(result == 0 || result == -1);
    return result == 0;
}

// Six allocations are those of the curve: the first point always has room.
bool substitute_in_new_curve()
{
    lin_interp_double *li = lin_interp_double_new(1, nullptr);
    if (li == nullptr)
        return false;
    EXPECT_EQ(lin_interp_double_subst(li, 1.0, 2.0, 0.5), 0);
    EXPECT_EQ(lin_interp_double_num(li), 1);
    lin_interp_double_kill(li);
    return true;
}

bool invert(lin_interp_double *li)
{
    lin_interp_double *inverse = lin_interp_double_invert(li, nullptr);
    const bool made = inverse != nullptr;
    lin_interp_double_kill(inverse);
    return made;
}

const SweepRows rows({
    {.name = "lin_interp_double_new and the first lin_interp_double_subst",
     .make = [] { return SweepCase{.call = substitute_in_new_curve}; },
     .failures = {{.count = 1, .once = {no_curve}},
                  {.count = 1, .once = {no_func, no_curve}},
                  {.count = 4, .once = {no_func, no_curve, no_list}}}},
    on_curve("lin_interp_double_insert", 1, [](auto *li) { return zero(lin_interp_double_insert(li, 0.0, 5.0)); },
             {{.count = 2, .once = {no_room}}}),
    on_curve("lin_interp_double_subst", 1, [](auto *li) { return zero(lin_interp_double_subst(li, 1.5, 5.0, 0.5)); },
             {{.count = 2, .once = {no_room}}}),
    on_curve("lin_interp_double_invert", 3, invert,
             {{.count = 1, .once = {no_curve, no_inverse}},
              {.count = 1, .once = {no_func, no_curve, no_inverse}},
              {.count = 4, .once = {no_func, no_curve, no_inverse, no_list}},
              {.count = 1, .once = {no_func, no_inverse}},
              {.count = 4, .once = {no_func, no_inverse, no_list}},
              {.count = 3, .once = {no_inverse, no_room}}}),  // x and y for the second point, x for the third
});

}  // namespace

}  // namespace teska_test
