#include "determinism/operations.h"

#include "list.h"

namespace teska_test
{

namespace
{

int at_or_after(const void *element, const void *key)
{
    return *static_cast<const int *>(element) >= *static_cast<const int *>(key) ? 1 : 0;
}

const Operation sorted_list("list_insert and list_rem_element, 3000 sorted integers", [](Generator &input,
                                                                                         Digest &digest) {
    list_rec *list = list_new(16, sizeof(int), at_or_after);
    for (int i = 0; i < 3000; ++i) {
        const int value = input.below(1000);
        const int index = list_insert(list, &value);
        digest.add(&index, sizeof index);
        if (i % 3 == 0)
            list_rem_element(list, input.below(list_num(list)));
    }
    digest.add(list_get_element(list, 0), sizeof(int) * static_cast<std::size_t>(list_num(list)));
    list_kill(list);
});

}  // namespace

}  // namespace teska_test
