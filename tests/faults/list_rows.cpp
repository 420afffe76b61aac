#include "faults/sweep.h"
#include "list.h"

#include <memory>

namespace teska_test
{

namespace
{

using List = std::shared_ptr<list_rec>;

// A list of one full slot: every insertion has to grow it.
List full_list()
{
    List list(list_new(1, 4, nullptr), list_kill);
    list_insert(list.get(), "abc");
    return list;
}

std::string contents(const List &list)
{
    return std::to_string(list_num(list.get())) + ": " + static_cast<char *>(list_get_element(list.get(), 0));
}

SweepRow growing(const char *name, bool (*grow)(const List &list))
{
    return changing<List>(name, full_list, grow, contents,
                          {{.count = 1, .once = {"list_insert : Unable to extend list, insufficient resources"}}});
}

const SweepRows rows({
    {.name = "list_new",
     .make = [] { return SweepCase{.call = [] { return made(list_new(3, 8, nullptr), list_kill); }}; },
     .failures = {{.count = 2, .once = {"list_new : Not enough resources to create list"}}}},
    growing("list_insert", [](const List &list) { return gave(1, list_insert(list.get(), "def")); }),
    growing("list_insert_index", [](const List &list) { return gave(0, list_insert_index(list.get(), "def", 0, 1)); }),
    growing("list_alloc", [](const List &list) { return gave(0, list_alloc(list.get(), 7)); }),
});

}  // namespace

}  // namespace teska_test
