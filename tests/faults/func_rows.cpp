#include "faults/sweep.h"

#include "func.h"

#include <gtest/gtest.h>

#include <memory>

namespace teska_test
{

namespace
{

using Func = std::shared_ptr<func>;

constexpr const char *no_func = "func_new : unable to create new instance of function";
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

SweepRow on_points(const char *name, int count, bool (*call)(const Func &f), std::vector<SweepFailures> failures)
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

const SweepRows rows({
    {.name = "func_new",
     .make = [] { return SweepCase{.call = [] { return made(func_new(3, 8, 4, nullptr), func_kill); }}; },
     .failures = {{.count = 1, .once = {no_func}}, {.count = 4, .once = {no_func, no_list}}}},
    // The room of x, then that of y: an x that was already in its place has to leave it again.
    on_points("func_insert", 1, [](const Func &f) { return gave(0, func_insert(f.get(), "a", "z")); },
              {{.count = 2, .once = {no_room}}}),
    on_points("func_alloc", 1, reserve,
              {{.count = 1, .once = {no_room}, .sticky = {no_room, no_room}}, {.count = 1, .once = {no_room}}}),
    on_points("func_invert", 3, [](const Func &f) { return made(func_invert(f.get(), after), func_kill); },
              {{.count = 1, .once = {no_func}},
               {.count = 4, .once = {no_func, no_list}},
               {.count = 3, .once = {no_room}}}),  // x and y for the second point, x for the third
});

}  // namespace

}  // namespace teska_test
