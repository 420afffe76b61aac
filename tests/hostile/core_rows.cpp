#include "hostile/objects.h"

using namespace teska_test;

namespace
{

constexpr char tag[] = "hostile";

int tested_size(void *, int id) { return id - 3; }
void no_load(void *, int, void *) {}
const From entry{[](Draw &, void **) -> void * {
    static TObjEl only(&only);
    return static_cast<TElement *>(&only);
}};
int first_equal(const void *element, const void *key) { return std::memcmp(element, key, 8); }

const auto or_no_order = or_null(one_of(after));
const auto few = [] { return one_of(1, 5, 16, 0, -1, INT_MIN); };
const auto element = [] { return in<tetra_point>(1); };
const auto key = [] { return text(512); };
const auto data = [] { return text(512); };

// An object of the registry, one that was there, or none.
template <class Call>
std::function<void(Draw &)> registered(Call call)
{
    return [call](Draw &draw) {
        void *object = rom_obj_new(draw.chance(2) ? 0 : 24, tag);
        void *const block = rom_obj_malloc(object, draw.chance(3) ? 0 : 40);
        const bool live_one = !draw.chance(3);
        if (!live_one)
            rom_obj_kill(object);
        call(draw, draw.chance(8) ? nullptr : object, live_one ? block : nullptr);
        rom_obj_kill(object);
        std::free(object);
    };
}

const HostileRows rows({
    row<cache_flush, dynar_nr_items, error_get, error_display_all_msgs, hash_tab_flush, hash_tab_nr_items,
        itemfifo_nr_items, list_get_num, list_get_ext, list_get_el_size, get_system_time, time_get_time,
        time_get_elapsed_time, time_get_date, teska_version, teska_version_number>(),
    row<cache_kill, dynar_kill, hash_tab_kill, itemfifo_kill, list_kill>(last_of),
    row<cache_new>(few(), few(), few(), one_of(tested_size), one_of(no_load)),
    feeding<cache_get>(live, about(1, 6)),
    row<cache_delete, cache_lock, cache_lock_get>(live, about(1, 6)),
    row<dynar_new>(one_of(1, 16), one_of(0, 1, 10, -1, INT_MIN)),
    row<dynar_ptr>(live, one_of(0, 3, 100, -1, INT_MIN, INT_MAX)),
    row<error_mess_fl>(text(), or_null(text()), usual),
    by<error_set>([](int mode) { error_set(mode), error_mess_fl("function : what", "", 0), error_set(0); }),
    by<error_set_thread>([](int mode) {
        error_set_thread(mode), error_mess_fl("function : what", "", 0), error_get(),
            error_set_thread(TESKA_ERROR_PROCESS_WIDE);
    }),
    by<error_set_handler>([](Draw &draw) {
        void *context = &draw;
        const error_handler before = error_set_handler(nullptr, nullptr, draw.chance(2) ? nullptr : &context);
        EXPECT_EQ(error_set_handler(before, nullptr, nullptr), nullptr);
    }),
    row<error_set_thread_handler>(one_of(nullptr), one_of(nullptr), or_null(out(1))),
    row<error_exit, dbg>(text()),
    row<teska_warn>(one_of(-1, INT_MIN), text()),
    by<teska_warn_level>([](int level) { teska_warn_level(level), teska_warn_level(INT_MAX); }),
    row<dbg_set>(one_of(0)),
    row<hash_tab_new>(one_of(0, 1, 4, 20, -1, INT_MIN), one_of(4, -2), one_of(8, 0, -1), one_of(hash_of),
                      one_of(same_key), one_of(no_key), usual, or_null(out(1))),
    without("hash_tab_newset", "restored_table of the fuzz tests gives it everything"),
    row<hash_tab_insert, hash_tab_put>(live, key(), or_null(data())),
    row<hash_tab_delete>(live, key()),
    row<hash_tab_delete_index, hash_tab_uninsert_index>(live, about(0, 6)),
    row<hash_tab_put_index>(live, about(0, 6), data()),
    row<hash_tab_get>(kept, key(), or_null(out(512))),
    row<hash_tab_index>(kept, about(0, 6), out(512), or_null(out(512))),
    by<hash_tab_keys>(key_pool, kept),
    row<hash_tab_tab>(kept, or_null(out(1)), or_null(out(1))),
    row<itemfifo_new>(one_of(1, 16, INT_MAX), one_of(0, 1, 10, -1, INT_MIN, INT_MAX)),
    row<itemfifo_put>(live, data()),
    feeding<itemfifo_get>(live, out(8)),
    row<list_new>(one_of(0, 1, 10, 65536, -1, INT_MIN), one_of(1, 32, 65536 + 8), one_of(nullptr)),
    row<list_insert>(live, element()),
    row<list_insert_index>(live, element(), one_of(0, 3, 20, 65534), one_of(0, 1, -1, INT_MIN)),
    row<list_changep>(live, about(0, 9), element()),
    row<list_rem_element>(live, about(0, 9)),
    row<list_alloc>(live, one_of(0, 1, 20, 65535, 65536, -1, INT_MIN, INT_MAX)),
    row<list_pos_range>(kept, element(), one_of(0), one_of(-1, 0), or_no_order),
    row<list_pos>(kept, element()),
    row<list_search_el>(kept, element(), one_of(first_equal)),
    row<list_get_element>(kept, about(0, 9)),
    row<list_num>(or_null(live)),
    without("rom_obj_new", "in the row of rom_obj_kill"),
    by<rom_obj_kill>(registered([](Draw &, void *object, void *) { rom_obj_kill(object); })),
    by<rom_objtype_check>(registered([](Draw &draw, void *object, void *) {
        rom_objtype_check(object, draw.chance(2) ? tag : hostile_text(draw).c_str());
    })),
    by<rom_obj_malloc>(registered([](Draw &draw, void *object, void *) {
        const int size = draw.chance(2) ? 16 : draw.chance(2) ? -1 : INT_MIN;
        calling(draw, [=] { return rom_obj_malloc(object, size); });
    })),
    by<rom_obj_free>(registered([](Draw &draw, void *object, void *block) {
        rom_obj_free(object, draw.chance(3) ? &draw : block);
    })),
    without("waitsec", "waits for the clock"),
    row<waitmsec>(one_of(0, 1)),
    row<get_diff_system_time>(out(1), one_of(0, 2147483), one_of(0, 999000)),
    row<tObjListFindObj, tObjListFindObjSameContent>(entry, or_null(in(1))),
});

}  // namespace
