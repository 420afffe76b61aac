#include "faults/sweep.h"

#include "func.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace teska_test
{

namespace
{

using Func = std::shared_ptr<func>;
using Y = char[3];

constexpr const char *no_func = "func_new : unable to create new instance of function";
constexpr const char *no_list = "list_new : Not enough resources to create list";
constexpr const char *no_room = "list_insert : Unable to extend list, insufficient resources";

int after(const void *element, const void *key)
{
    return *static_cast<const char *>(element) > *static_cast<const char *>(key) ? 1 : 0;
}

// Room for one point at first and for one more at a time.
Func filled(const char *text)
{
    Func f(func_new(1, 1, sizeof(Y), after), func_kill);
    for (; *text != '\0'; ++text) {
        const Y y = {*text, '!', '\0'};
        func_insert(f.get(), text, y);
    }
    return f;
}

std::string contents(const Func &f)
{
    std::string text = std::to_string(func_num(f.get()));
    void *x = nullptr;
    void *y = nullptr;
    for (int i = 0; func_get_point(f.get(), i, &x, &y) == 0; ++i)
        text += std::string(" ") + *static_cast<char *>(x) + static_cast<char *>(y);
    return text;
}

bool made(func *f)
{
    const bool success = f != nullptr;
    func_kill(f);
    return success;
}

SweepRow changing(const char *name, const char *points, bool (*change)(func *f), std::vector<SweepFailures> failures)
{
    return {.name = name,
            .make =
                [=] {
                    const Func f = filled(points);
                    return SweepCase{.call = [=] { return change(f.get()); }, .state = [=] { return contents(f); }};
                },
            .failures = std::move(failures)};
}

bool insert_first(func *f)
{
    const int index = func_insert(f, "a", "a!");
    EXPECT_TRUE(index == 0 || index == -1);
    return index == 0;
}

// The result does not tell; a list that found room moved its elements to a new block.
bool reserve(func *f)
{
    void *before[2];
    void *now[2];
    func_get_point(f, 0, &before[0], &before[1]);
    EXPECT_EQ(func_alloc(f, 9), 0);
    func_get_point(f, 0, &now[0], &now[1]);
    return now[0] != before[0] && now[1] != before[1];
}

const SweepRows rows({
    {.name = "func_new",
     .make = [] { return SweepCase{.call = [] { return made(func_new(3, 8, 4, nullptr)); }}; },
     .failures = {{.count = 1, .once = {no_func}}, {.count = 4, .once = {no_func, no_list}}}},
    // The room of x, then that of y: an x that was already in its place has to leave it again.
    changing("func_insert", "b", insert_first, {{.count = 2, .once = {no_room}}}),
    changing("func_alloc", "b", reserve,
             {{.count = 1, .once = {no_room}, .sticky = {no_room, no_room}}, {.count = 1, .once = {no_room}}}),
    {.name = "func_invert",
     .make =
         [] {
             const Func f = filled("abc");
             return SweepCase{.call = [=] { return made(func_invert(f.get(), after)); },
                              .state = [=] { return contents(f); }};
         },
     .failures = {{.count = 1, .once = {no_func}},
                  {.count = 4, .once = {no_func, no_list}},
                  {.count = 3, .once = {no_room}}}},  // x and y for the second point, x for the third
});

}  // namespace

}  // namespace teska_test
