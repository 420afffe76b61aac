// record_text - all functions of record text over one text; its last bytes choose what is searched, in which order

#include "fuzz/target.h"
#include "str_utils.h"
#include "str_zuk.h"

#include <algorithm>
#include <string>

using Names = std::vector<std::string>;

using fuzz::expect;

// Each item of the topic at the cursor is found again by its name.
static void walk_items(const char *cursor, Names &names)
{
    char name[257], value[257], again[257];
    for (const char *before = cursor; str_get_next_zuk_item(&cursor, name, value) == 0; before = cursor) {
        expect(str_search_zuk_item(&before, name, again) == 0 && std::strcmp(again, value) == 0);
        expect(str_get_zuk_item(&before, name, again) == 0 && before == cursor);
        names.emplace_back(name);
    }
}

static std::string search(const char *text, const Names &query)
{
    char value[257] = "";
    const int found = str_search_zuk(&text, query[0].c_str(), query[1].c_str(), value);
    return std::to_string(found) + value;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), strnlen(reinterpret_cast<const char *>(data), size));
    std::vector<char> name(text.size() + 1);
    const char *cursor = text.c_str();
    expect(str_get_zuk_item_name(&cursor, name.data()) == (text.empty() ? -1 : 0));
    Names topics, items{"k"};
    for (walk_items(cursor, items); str_get_next_zuk_topic(&cursor, name.data()) == 0; walk_items(cursor, items))
        topics.emplace_back(name.data());
    expect(*cursor == 0);
    cursor = text.c_str();
    expect(str_get_nr_of_zuk_topics(&cursor) == static_cast<int>(topics.size()));

    // Another text in between: this one may be where the last one was.
    const char *other = "";
    str_search_zuk_topic(&other, "");
    str_search_zuk_cache_reset();
    const auto count = [&](const std::string &topic) {
        return std::count_if(topics.begin(), topics.end(),
                             [&](const auto &t) { return strcmp_ci(t.c_str(), topic.c_str()) == 0; });
    };
    std::vector<Names> asked;
    for (std::size_t i = size; i-- > 0 && size - i <= 6;) {
        Names query{data[i] % 8U < topics.size() ? topics[data[i] % 8U] : "b", items[data[i] / 8U % items.size()]};
        if (data[i] >= 128)
            normstr(query[0].data());
        expect(str_search_zuk_topic(&cursor, query[0].c_str()) == (count(query[0].c_str()) > 0 ? 1 : 0));
        query.push_back(search(cursor, query));
        asked.push_back(query);
    }
    // Of topics of one name the last search decides which is found.
    if (std::all_of(topics.begin(), topics.end(), [&](const auto &topic) { return count(topic) == 1; }))
        for (const Names &query : asked) {
            str_search_zuk_cache_reset();
            expect(search(cursor, query) == query[2]);
        }
    return 0;
}
