// restored_table - a table restored from arbitrary slots and pools, then any operations on it
//
// An input is: codes of keys and data, number of slots, parameter, bytes of the two pools, the slots, the pools, and
// operations to the end: what is done, a key, data, an index. Bytes that are missing are zero.

#include "error_mess.h"
#include "fuzz/target.h"
#include "hash_tab.h"
#include "wem.h"

#include <algorithm>
#include <memory>

namespace
{

using Bytes = std::vector<char>;

using fuzz::expect;

struct TableInput : fuzz::Input {
    // A key or data: fixed bytes, or a text.
    Bytes value(int code)
    {
        Bytes taken = bytes(code >= 0 ? code : byte() % 12);
        if (code < 0) {
            taken.push_back('\0');
            taken.resize(std::strlen(taken.data()) + 1);
        }
        return taken;
    }
};

int key_width;  // of fixed keys; -1: texts

int compare(const void *a, const void *b)
{
    return key_width >= 0 ? std::memcmp(a, b, static_cast<std::size_t>(key_width))
                          : std::strcmp(static_cast<const char *>(a), static_cast<const char *>(b));
}

int hash(int parameter, const void *key)
{
    const auto *bytes = static_cast<const unsigned char *>(key);
    auto sum = static_cast<unsigned>(parameter);
    for (int i = 0; key_width >= 0 ? i < key_width : bytes[i] != 0; ++i)
        sum = 31 * sum + bytes[i];
    return static_cast<int>(sum);
}

int match(const void *stored, const void *key) { return compare(stored, key) == 0; }
int empty(const void *slot) { return match(slot, "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"); }

// Fixed bytes 0 .. 13, or texts with offsets of 2 or 4 bytes.
int code_of(int byte) { return byte % 16 - 2; }
int width_of(int code) { return code >= 0 ? code : -2 * code; }

// Room for what is read: a text may go on from one written to the end of the restored ones.
Bytes room(int code) { return Bytes(code > 0 ? static_cast<std::size_t>(code) : 300); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    error_set(0);
    wem_set_typefl([](const char *) { return 0; });
    TableInput input{{data, std::min<std::size_t>(size, 4096)}};
    const int key_code = code_of(input.byte()), data_code = code_of(input.byte()), nr_slots = input.byte() % 32;
    const int parameter = input.byte() - 100, key_bytes = input.byte(), data_bytes = input.byte();
    const Bytes slots = input.bytes(nr_slots * (width_of(key_code) + width_of(data_code)));
    const Bytes keys = input.bytes(key_bytes);
    const Bytes texts = input.bytes(data_bytes);
    key_width = std::max(key_code, -1);
    const std::unique_ptr<hash_tab, hash_tab *(*)(hash_tab *)> table(
        hash_tab_newset(parameter, nr_slots, key_code, data_code, hash, match, empty, slots.data(), keys.data(),
                        key_bytes, texts.data(), data_bytes),
        hash_tab_kill);
    expect(table != nullptr && hash_tab_nr_items(table.get()) == nr_slots);
    Bytes key_out = room(key_code), data_out = room(data_code);
    while (input.left > 0) {
        const int action = input.byte() % 8;
        const Bytes key = input.value(key_code), value = input.value(data_code);
        const int index = input.byte() % 36 - 2;
        hash_tab *t = table.get();
        // The slot that was found or changed, or -1.
        const int slot = action == 0   ? hash_tab_insert(t, key.data(), value.data())
                         : action == 1 ? hash_tab_get(t, key.data(), data_out.data())
                         : action == 2 ? hash_tab_put(t, key.data(), value.data())
                         : action == 3 ? hash_tab_delete(t, key.data())
                         : action == 4 ? (hash_tab_delete_index(t, index) > 0 ? index : -1)
                         : action == 5 ? (hash_tab_uninsert_index(t, index) > 0 ? index : -1)
                         : action == 6 ? (hash_tab_put_index(t, index, value.data()) > 0 ? index : -1)
                                       : hash_tab_index(t, index, key_out.data(), data_out.data());
        expect(slot >= -1 && slot < nr_slots);
        if (action != 0 || slot < 0)
            continue;
        expect(hash_tab_index(t, slot, key_out.data(), data_out.data()) == slot);
        expect(std::equal(key.begin(), key.end(), key_out.begin()));
        expect(std::equal(value.begin(), value.end(), data_out.begin()));
        expect(hash_tab_get(t, key.data(), data_out.data()) >= 0);
    }
    return 0;
}
