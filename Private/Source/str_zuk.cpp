// str_zuk - topics and items of record text in memory (text)
//
// Texts end in a zero and are never copied: inside, names are views into them. The scanner for topics looks at the
// first character of each line that is not blank or tab:
//
//     "x\n[ A ]  comment\nk = 1 2\n[B]\n"     topic " A", then topic "B"
//       item "k" of topic " A": the value "1 2"
//
// A found topic is its name and the start of the line after it, where its items begin. The state of a thread is one
// such place per cache with the text it belongs to, and the name it was searched by in the cache for items. A place is
// used only while it lies inside the text and at the start of a line: the address of a text may come again with another
// one, perhaps shorter.
//
// All scans are linear in what they pass over, and bounded: an item costs the way to its "=".

#include "str_zuk.h"

#include "Support/memory.h"
#include "Support/vd.h"

#include "str_utils.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace
{

// Characters of an item's name or value; the callers' buffers hold one more.
constexpr std::size_t longest_item_text = 256;

struct topic_line {
    std::string_view name = "";
    const char *items = nullptr;  // start of the line after it; null: there is no topic
};

// Where a topic was found: the start of the line after it, null when nothing is known.
struct found_place {
    const char *text = nullptr;
    const char *place = nullptr;

    bool serves(const char *wanted) const
    {
        if (text != wanted || place == nullptr)
            return false;
        const auto distance = static_cast<std::size_t>(place - text);
        return ::strnlen(text, distance) == distance && (*place == 0 || place[-1] == '\n' || place[-1] == '\r');
    }
};

// Without a destructor, so that code that runs late in a thread's life may still search.
struct found_places {
    found_place topic;              // of str_search_zuk_topic
    found_place item;               // of str_search_zuk
    char *name = nullptr;           // owned: the topic of `item` as the caller spelled it
    std::size_t name_capacity = 0;  // bytes
};

constinit thread_local found_places cache;

const char *end_of(const char *text) { return text + std::strlen(text); }

// There are few of them.
const char *skip_blanks(const char *at)
{
    while (*at == ' ' || *at == '\t')
        ++at;
    return at;
}

// Without trailing blanks and tabs.
std::string_view trimmed(const char *first, const char *last)
{
    while (last != first && (last[-1] == ' ' || last[-1] == '\t'))
        --last;
    return {first, static_cast<std::size_t>(last - first)};
}

void copy_text(std::string_view from, char *to)
{
    std::memmove(to, from.data(), from.size());
    to[from.size()] = 0;
}

// ---- Topics

// The "[" of the first topic line that begins at a line start before `limit`, or null. A null limit is none.
const char *next_bracket(const char *line, const char *limit)
{
    do {
        const char *at = skip_blanks(line);
        if (*at == '[')
            return at;
        str_go_to_next_line(&at);
        line = at;
    } while (*line != 0 && (limit == nullptr || line < limit));
    return nullptr;
}

topic_line next_topic(const char *at)
{
    const char *open = next_bracket(at, nullptr);
    const char *close = open != nullptr ? std::strchr(open, ']') : nullptr;
    if (close == nullptr)
        return {};
    topic_line topic{trimmed(open + 1, close), close};
    str_go_to_next_line(&topic.items);
    return topic;
}

bool same_name(std::string_view name, const char *topic)
{
    std::size_t i = 0;
    while (i < name.size() && topic[i] != 0 && chr_eq_ci(name[i], topic[i]) != 0)
        ++i;
    return i == name.size() && topic[i] == 0;
}

// The first topic of that name; none when one named `stop` comes before it.
topic_line find_topic(const char *at, const char *name, const char *stop)
{
    topic_line topic = next_topic(at);
    while (topic.items != nullptr && !same_name(topic.name, name)) {
        if (stop != nullptr && topic.name == stop)
            return {};
        topic = next_topic(topic.items);
    }
    return topic;
}

// ---- Items

// Up to the "=", the end of the text or the limit of names.
std::string_view item_name(const char *at)
{
    std::size_t length = 0;
    while (length < longest_item_text && at[length] != '=' && at[length] != 0)
        ++length;
    return trimmed(at, at + length);
}

// Copies the value after an "="; returns the start of the next line.
const char *take_value(const char *equals, char *value)
{
    const char *first = skip_blanks(equals + 1);
    const char *at = first;
    while (*at != 0 && *at != '\r' && *at != '\n' && static_cast<std::size_t>(at - first) < longest_item_text)
        ++at;
    copy_text(trimmed(first, at), value);
    str_go_to_next_line(&at);
    return at;
}

// Whether the next topic line ends before the place `equals`, whose item then belongs to another topic.
bool topic_ends_before(const char *at, const char *equals)
{
    const char *open = next_bracket(at, equals);
    if (open == nullptr)
        return false;
    const auto *close = static_cast<const char *>(std::memchr(open, ']', static_cast<std::size_t>(equals - open)));
    if (close == nullptr)
        return false;
    str_go_to_next_line(&close);
    return close <= equals;
}

// Whether the text goes on with a name: most lines are told apart by their first characters.
bool begins_with(const char *at, const char *name)
{
    while (*name != 0 && *at == *name) {
        ++at;
        ++name;
    }
    return *name == 0;
}

// The topic ends after its next topic line, which is an item line too. It is looked for where a bracket opens.
bool has_item(const char *at, const char *item, char *value)
{
    const char *end = nullptr;
    while (*at != 0 && (end == nullptr || at < end)) {
        if (end == nullptr && *skip_blanks(at) == '[') {
            end = next_topic(at).items;
            end = end != nullptr ? end : end_of(at);
        }
        const char *line = at;
        if (begins_with(at, item) && str_get_zuk_item(&line, item, value) == 0)
            return true;
        str_go_to_next_line(&at);
    }
    return false;
}

// ---- The cache for items

void forget()
{
    std::free(cache.name);
    cache.name = nullptr;
    cache.name_capacity = 0;
    cache.item = {};
}

struct at_thread_end {
    ~at_thread_end() { forget(); }
};

// Without memory for the name nothing is remembered: the next search begins at the cursor.
void remember(const char *text, const char *place, const char *name)
{
    const std::size_t size = std::strlen(name) + 1;
    if (size > cache.name_capacity) {
        [[maybe_unused]] thread_local const at_thread_end end;
        forget();
        cache.name = teska::zeroed_block<char>(size).release();
        if (cache.name == nullptr)
            return;
        cache.name_capacity = size;
    }
    std::memmove(cache.name, name, size);
    cache.item = {text, place};
}

}  // namespace

// ---- Topics ---------------------------------------------------------------------------------------------------------

int str_get_next_zuk_topic(const char **cursor, char *name) TESKA_NOTHROW
{
    const topic_line topic = next_topic(*cursor);
    copy_text(topic.name, name);
    *cursor = topic.items != nullptr ? topic.items : end_of(*cursor);
    return topic.items != nullptr ? 0 : -1;
}

int str_get_nr_of_zuk_topics(const char **cursor) TESKA_NOTHROW
{
    int count = 0;
    for (const char *at = next_topic(*cursor).items; at != nullptr; at = next_topic(at).items)
        ++count;
    return count;
}

int str_search_zuk_topic(const char **cursor, const char *topic) TESKA_NOTHROW
{
    const char *text = *cursor;
    topic_line found;
    if (cache.topic.serves(text))
        found = find_topic(cache.topic.place, topic, nullptr);
    if (found.items == nullptr)
        found = find_topic(text, topic, nullptr);
    cache.topic = {text, found.items};
    return found.items != nullptr ? 1 : 0;
}

// ---- Items of the current topic -------------------------------------------------------------------------------------

int str_get_zuk_item_name(const char **cursor, char *name) TESKA_NOTHROW
{
    const char *at = *cursor;
    if (*at == 0)
        return -1;
    copy_text(trimmed(at, at + std::strcspn(at, "=")), name);
    return 0;
}

int str_get_zuk_item(const char **cursor, const char *item, char *value) TESKA_NOTHROW
{
    const char *at = *cursor;
    if (*at == 0 || item_name(at) != item)
        return -1;
    const char *equals = std::strchr(at, '=');
    if (equals == nullptr) {
        *cursor = end_of(at);
        return -1;
    }
    *cursor = take_value(equals, value);
    return 0;
}

int str_get_next_zuk_item(const char **cursor, char *name, char *value) TESKA_NOTHROW
{
    const char *at = *cursor;
    const char *equals = std::strchr(at, '=');
    if (equals == nullptr || topic_ends_before(at, equals))
        return -1;
    copy_text(item_name(at), name);
    *cursor = take_value(equals, value);
    return 0;
}

int str_search_zuk_item(const char **cursor, const char *item, char *value) TESKA_NOTHROW
{
    return has_item(*cursor, item, value) ? 0 : -1;
}

// ---- Topic and item -------------------------------------------------------------------------------------------------

int str_search_zuk(const char **cursor, const char *topic, const char *item, char *value) TESKA_NOTHROW
{
    const char *text = *cursor;
    const char *start = text;
    const char *last = nullptr;  // the topic found before, when the search begins after it
    if (cache.item.serves(text)) {
        if (std::strcmp(cache.name, topic) == 0)
            return has_item(cache.item.place, item, value) ? 1 : 0;
        if (cache.name[0] != 0) {
            start = cache.item.place;
            last = cache.name;
        }
    }
    cache.item = {text, nullptr};
    topic_line found = find_topic(start, topic, nullptr);
    // Come round: the topic looked for is tested first, so another spelling of the last one is found again.
    if (found.items == nullptr && last != nullptr)
        found = find_topic(text, topic, last);
    if (found.items == nullptr)
        return 0;
    remember(text, found.items, topic);
    return has_item(found.items, item, value) ? 1 : 0;
}

int str_search_zuk_cache_reset(void) TESKA_NOTHROW
{
    forget();
    return 0;
}

// ---- Numbers in values ----------------------------------------------------------------------------------------------

int str_double_from_itemstr(const char *text, int n, double *out) TESKA_NOTHROW { return teska::vd_read(text, n, out); }

int str_int_from_itemstr(const char *text, int n, int *out) TESKA_NOTHROW
{
    // As "%d" reads, with one answer for what no int holds: the C libraries differ there.
    const auto read_int = [](const char *at, int *number) {
        at += std::strspn(at, " \t\n\v\f\r");
        const bool negative = *at == '-';
        at += *at == '-' || *at == '+' ? 1 : 0;
        if (*at < '0' || *at > '9')
            return false;
        const long long limit = negative ? -static_cast<long long>(INT_MIN) : INT_MAX;
        long long magnitude = 0;
        for (; *at >= '0' && *at <= '9'; ++at)
            magnitude = magnitude < limit ? magnitude * 10 + (*at - '0') : limit;
        if (magnitude > limit)
            magnitude = limit;
        *number = static_cast<int>(negative ? -magnitude : magnitude);
        return true;
    };
    return teska::read_numbers(text, n, out, read_int);
}

int str_itemstr_from_double(const double *values, int n, char *text) TESKA_NOTHROW
{
    return teska::vd_print(values, n, text, teska::unbounded);
}
