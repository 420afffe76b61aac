#include "support/folder.h"

#include "faults/sweep.h"
#include "func.h"
#include "grad_tab.h"
#include "hist.h"
#include "interp_double.h"

#include <gtest/gtest.h>

#include <memory>

namespace teska_test
{

namespace
{

using Func = std::shared_ptr<func>;
using Curve = std::shared_ptr<lin_interp_double>;

constexpr const char *no_func = "func_new : unable to create new instance of function";
constexpr const char *no_curve = "lin_interp : Cannot create new instance of double interpolator";
constexpr const char *no_inverse = "lin_interp_double : cannot create inverted object";
constexpr const char *no_list = "list_new : Not enough resources to create list";
constexpr const char *no_room = "list_insert : Unable to extend list, insufficient resources";

int after(const void *element, const void *key)
{
    return *static_cast<const char *>(element) > *static_cast<const char *>(key) ? 1 : 0;
}

// The points (b, c), (c, d) ..; room for one at first and for one more at a time.
Func filled(int count)
{
    Func f(func_new(1, 1, 1, after), func_kill);
    for (const char *x = "bcde"; count > 0; ++x, --count)
        func_insert(f.get(), x, x + 1);
    return f;
}

std::string contents(const Func &f)
{
    std::string text = std::to_string(func_num(f.get()));
    void *x = nullptr;
    void *y = nullptr;
    for (int i = 0; func_get_point(f.get(), i, &x, &y) == 0; ++i)
        text += {*static_cast<char *>(x), *static_cast<char *>(y)};
    return text;
}

SweepRow on_func(const char *name, int count, bool (*call)(const Func &f), std::vector<SweepFailures> failures)
{
    return changing<Func>(
        name, [=] { return filled(count); }, call, contents, std::move(failures));
}

// The result does not tell; a list that found room moved its elements to a new block.
bool reserve(const Func &f)
{
    void *before[2];
    void *now[2];
    func_get_point(f.get(), 0, &before[0], &before[1]);
    EXPECT_EQ(func_alloc(f.get(), 9), 0);
    func_get_point(f.get(), 0, &now[0], &now[1]);
    return now[0] != before[0] && now[1] != before[1];
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

// On the points (1, 1), (2, 2) ..; room for one at first and for one more at a time.
SweepRow on_curve(const char *name, int count, bool (*call)(const Curve &li), std::vector<SweepFailures> failures)
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
    calling("func_new", [] { return made(func_new(3, 8, 4, nullptr), func_kill); },
            {{.count = 1, .once = {no_func}}, {.count = 4, .once = {no_func, no_list}}}),
    // The room of x, then that of y: an x that was already in its place has to leave it again.
    on_func("func_insert", 1, [](const Func &f) { return gave(0, func_insert(f.get(), "a", "z")); },
            {{.count = 2, .once = {no_room}}}),
    on_func("func_alloc", 1, reserve,
            {{.count = 1, .once = {no_room}, .sticky = {no_room, no_room}}, {.count = 1, .once = {no_room}}}),
    on_func("func_invert", 3, [](const Func &f) { return made(func_invert(f.get(), after), func_kill); },
            {{.count = 1, .once = {no_func}},
             {.count = 4, .once = {no_func, no_list}},
             {.count = 3, .once = {no_room}}}),  // x and y for the second point, x for the third
    {.name = "grad_tab_new",
     .make =
         [] {
             const auto folder = std::make_shared<Folder>();
             const auto call = [folder, path = folder->path("curve.rec")] {
                 return made(grad_tab_new(path.c_str(), 1, 1, 0), grad_tab_kill);
             };
             return SweepCase{.call = call};
         },
     .failures = {{.count = 2, .once = {}},
                  {.count = 1, .once = {no_curve}},
                  {.count = 1, .once = {no_func, no_curve}},
                  {.count = 4, .once = {no_func, no_curve, no_list}},
                  {.count = 1, .once = {no_curve, no_inverse}},
                  {.count = 1, .once = {no_func, no_curve, no_inverse}},
                  {.count = 4, .once = {no_func, no_curve, no_inverse, no_list}},
                  {.count = 1, .once = {no_func, no_inverse}},
                  {.count = 4, .once = {no_func, no_inverse, no_list}}}},
    calling("hist_new", [] { return made(hist_new(0, 9), hist_kill); },
            {{.count = 1, .once = {"hist_new: alloc self failed"}},
             {.count = 1, .once = {"hist_new: illegal bounds"}}}),
    calling("lin_interp_double_new", [] { return made(lin_interp_double_new(1, nullptr), lin_interp_double_kill); },
            {{.count = 1, .once = {no_curve}},
             {.count = 1, .once = {no_func, no_curve}},
             {.count = 4, .once = {no_func, no_curve, no_list}}}),
    on_curve("lin_interp_double_insert", 1,
             [](const Curve &li) { return gave(0, lin_interp_double_insert(li.get(), 0, 5)); },
             {{.count = 2, .once = {no_room}}}),
    on_curve("lin_interp_double_subst", 1,
             [](const Curve &li) { return gave(0, lin_interp_double_subst(li.get(), 1.5, 5, 0.5)); },
             {{.count = 2, .once = {no_room}}}),
    on_curve("lin_interp_double_invert", 3,
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
