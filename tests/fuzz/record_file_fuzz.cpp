// record_file - a record file of arbitrary bytes: loaded, listed, searched, changed, written and loaded again
//
// The first two bytes of an input are the lengths of a name and a value, which follow; the rest is the file. The file
// stays in memory. What is found is compared with what the parsers of record text find in the same text.

#include "database.h"
#include "str_zuk.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using Database = std::unique_ptr<zuk_db, int (*)(zuk_db *)>;
using Items = std::vector<std::pair<std::string, std::string>>;

void expect(bool holds)
{
    if (!holds)
        std::abort();
}

zuk_rfile *load(const Database &db, const std::string &text) { return zuk::push_text(*db, "", text); }

std::string with_lf(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] != '\r')
            result += text[i];
        else if (i + 1 == text.size() || text[i + 1] != '\n')
            result += '\n';
    return result;
}

// Whether a text with LF for every line end is a record file, asked line by line.
bool is_record_file(const std::string &text)
{
    if (text.find('\0') != std::string::npos || (!text.empty() && text.back() != '\n'))
        return false;
    for (std::size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
        const std::string line = text.substr(begin, text.find('\n', begin) - begin);
        const std::string rest = line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
        if (!rest.empty() && rest[0] == '[' && rest.find(']') == std::string::npos)
            return false;
    }
    return true;
}

std::string search(const Database &db, const std::string &topic, const std::string &name)
{
    char value[ZUK_VALUE_SIZE];
    return zuk_search(db.get(), topic.c_str(), name.c_str(), value) == 0 ? value : "(none)";
}

Items items_of(const Database &db, const std::string &topic)
{
    Items items;
    int state = 0;
    while (const char *name = zuk_list_item(db.get(), topic.c_str(), &state)) {
        items.emplace_back(name, search(db, topic, name));
        expect(state == 16 + static_cast<int>(items.size()));
    }
    return items;
}

// The parsers find each item too. Of names longer than those of items they would compare the beginning.
void compare_with_parsers(const std::string &text, const std::string &topic, const Items &items)
{
    char value[ZUK_VALUE_SIZE];
    const char *cursor = text.c_str();
    str_search_zuk_cache_reset();
    for (const auto &[name, expected] : items) {
        expect(str_search_zuk(&cursor, topic.c_str(), name.c_str(), value) == 1);
        expect(value == expected);
    }
}

std::vector<std::string> topics_of(const std::string &text)
{
    std::vector<std::string> topics;
    std::string name(text.size() + 1, 0);
    for (const char *cursor = text.c_str(); str_get_next_zuk_topic(&cursor, name.data()) == 0;)
        topics.emplace_back(name.c_str());
    return topics;
}

using Content = std::map<std::string, Items>;

Content content_of(const Database &db, const std::vector<std::string> &topics)
{
    Content content;
    for (const std::string &topic : topics)
        content[topic] = items_of(db, topic);
    return content;
}

// Changes one topic and looks at all of them, also after another load.
void change(const Database &db, zuk_rfile *file, const std::string &topic, const std::string &name,
            const std::string &value, const std::vector<std::string> &topics)
{
    const std::string before = file->text.write();
    const std::string old = search(db, topic, name);
    if (zuk_add_item(db.get(), topic.c_str(), name.c_str(), value.c_str(), "") != 0) {
        expect(!file->changed && file->text.write() == before);
        return;
    }
    const std::string after = file->text.write();
    expect(file->changed == (before != after));
    const std::size_t first = value.find_first_not_of(" \t");
    const std::size_t last = value.find_last_not_of(" \t");
    expect(search(db, topic, name) == (first == std::string::npos ? "" : value.substr(first, last - first + 1)));
    const Content content = content_of(db, topics);
    const Database again(zuk_open(), zuk_close);
    const zuk_rfile *loaded = load(again, after);
    expect(loaded && loaded->text.write() == after && content_of(again, topics) == content);
    file->changed = false;
    expect(zuk_add_item(db.get(), topic.c_str(), name.c_str(), value.c_str(), "") == 0 && !file->changed);
    // Put back, the rest is as it was.
    if (old != "(none)")
        expect(zuk_add_item(db.get(), topic.c_str(), name.c_str(), old.c_str(), "") == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string input(reinterpret_cast<const char *>(data), size);
    const auto take = [&input](std::size_t length) {
        const std::string front = input.substr(0, length);
        input.erase(0, length);
        return front;
    };
    const std::string lengths = take(2) + std::string(2, 0);
    const std::string name = take(static_cast<unsigned char>(lengths[0])).c_str();
    const std::string value = take(static_cast<unsigned char>(lengths[1])).c_str();

    const Database db(zuk_open(), zuk_close);
    const std::string text = with_lf(input);
    zuk_rfile *file = load(db, input);
    expect((file != nullptr) == is_record_file(text));
    if (file == nullptr)
        return 0;
    expect(file->text.write() == text && !file->changed);
    std::vector<std::string> topics = topics_of(text);
    for (const std::string &topic : topics)
        if (text.size() < zuk::name_length_max)
            compare_with_parsers(text, topic, items_of(db, topic));
    if (zuk_add_topic(db.get(), file, name.c_str(), value.c_str()) == 0)
        topics.push_back(name);
    file->changed = false;
    for (const std::string &topic : {topics.empty() ? name : topics.front(), name}) {
        change(db, file, topic, name, value, topics);
        file->changed = false;
    }
    return 0;
}
