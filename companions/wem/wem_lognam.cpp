// wem_lognam - the table of logical names (wem)
//
// A host defines a handful of names ("DISK" for "C:\data"); file name translation asks for one now and then.
// The table is a chain of fixed-size entries, newest first, searched from the front: O(names). An entry holds
// both texts, so that a new translation for a known name needs no memory and cannot fail.
//
// Process-wide state: the chain, guarded by its lock.
#include "wem.h"
#include "wem_lock.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace
{

struct name_entry {
    name_entry *next;
    char name[WEM_NAME_SIZE];
    char translation[WEM_NAME_SIZE];
};

// The host owns the table and empties it with wem_lognam_clear; entries left at exit go with the process.
constinit name_entry *table = nullptr;
constinit wem::spin_lock table_lock;

// Not tolower: the answer must not change with the host's locale.
char folded(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool equal_names(const char *a, const char *b)
{
    while (*a && folded(*a) == folded(*b)) {
        ++a;
        ++b;
    }
    return folded(*a) == folded(*b);
}

// The link that points at the entry, or the null link at the end of the chain.
name_entry **find_link(const char *name)
{
    name_entry **link = &table;
    while (*link && !equal_names((*link)->name, name))
        link = &(*link)->next;
    return link;
}

bool fits(const char *text) { return std::strlen(text) < WEM_NAME_SIZE; }

void remove_entry(name_entry **link)
{
    name_entry *entry = *link;
    if (!entry)
        return;
    *link = entry->next;
    std::free(entry);
}

name_entry *add_entry(const char *name)
{
    auto *entry = static_cast<name_entry *>(std::malloc(sizeof(name_entry)));
    if (!entry)
        return nullptr;
    std::strcpy(entry->name, name);
    entry->next = table;
    table = entry;
    return entry;
}

}  // namespace

int lognam(const char *name, char *translation) noexcept
{
    if (!name)
        name = "";
    const std::lock_guard lock(table_lock);
    if (const name_entry *entry = *find_link(name)) {
        std::strcpy(translation, entry->translation);
        return 1;
    }
    std::size_t length = std::strlen(name);
    if (length > WEM_NAME_SIZE - 1)
        length = WEM_NAME_SIZE - 1;
    std::memmove(translation, name, length);
    if (length < WEM_NAME_SIZE - 1)
        translation[length++] = ':';
    translation[length] = '\0';
    return 0;
}

int wem_lognam_set(const char *name, const char *translation) noexcept
{
    if (!name || !*name || !fits(name))
        return -1;
    const std::lock_guard lock(table_lock);
    name_entry **link = find_link(name);
    if (!translation) {
        remove_entry(link);
        return 0;
    }
    if (!fits(translation))
        return -1;
    name_entry *entry = *link ? *link : add_entry(name);
    if (!entry)
        return -1;
    // The translation may be the entry's own text, or end inside it.
    std::memmove(entry->translation, translation, std::strlen(translation) + 1);
    return 0;
}

int wem_lognam_clear() noexcept
{
    const std::lock_guard lock(table_lock);
    while (table)
        remove_entry(&table);
    return 0;
}
