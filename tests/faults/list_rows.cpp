#include "faults/sweep.h"

#include "list.h"

#include <memory>

namespace teska_test
{

namespace
{

constexpr const char *no_list = "list_new : Not enough resources to create list";
constexpr const char *no_room = "list_insert : Unable to extend list, insufficient resources";

// A list of one full slot: every insertion has to grow it.
std::shared_ptr<list_rec> full_list()
{
    std::shared_ptr<list_rec> list(list_new(1, 4, nullptr), list_kill);
    list_insert(list.get(), "abc");
    return list;
}

std::string contents(const std::shared_ptr<list_rec> &list)
{
    return std::to_string(list_num(list.get())) + ": " + static_cast<char *>(list_get_element(list.get(), 0));
}

SweepRow growing(const char *name, int (*change)(list_rec *list), int success)
{
    return {.name = name,
            .make =
                [=] {
                    const auto list = full_list();
                    return SweepCase{.call = [=] { return change(list.get()) == success; },
                                     .state = [=] { return contents(list); }};
                },
            .failures = {{.count = 1, .once = {no_room}}}};
}

const SweepRows rows({
    {.name = "list_new",
     .make =
         [] {
             return SweepCase{.call = [] {
                 list_rec *list = list_new(3, 8, nullptr);
                 const bool made = list != nullptr;
                 list_kill(list);
                 return made;
             }};
         },
     .failures = {{.count = 2, .once = {no_list}}}},
    growing(
        "list_insert", [](list_rec *list) { return list_insert(list, "def"); }, 1),
    growing(
        "list_insert_index", [](list_rec *list) { return list_insert_index(list, "def", 0, 1); }, 0),
    growing(
        "list_alloc", [](list_rec *list) { return list_alloc(list, 7); }, 0),
});

}  // namespace

}  // namespace teska_test
