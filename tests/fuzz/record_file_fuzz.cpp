// record_file - a record file of arbitrary bytes: loaded, listed, searched, changed, written and loaded again
//
// The first two bytes of an input are the lengths of a name and a value, which follow; the rest is the file. The file
// stays in memory. What is found is compared with what the parsers of record text find in the same text; they take any.

#include "database.h"
#include "fuzz/target.h"
#include "str_zuk.h"

#include <memory>
#include <sstream>

namespace
{

using fuzz::expect;
using Database = std::unique_ptr<zuk_db, int (*)(zuk_db *)>;

std::string with_lf(const std::string &text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] != '\r')
            result += text[i];
        else if (text[i + 1] != '\n')
            result += '\n';
    return result;
}

// Whether a text with LF for every line end is a record file, asked line by line.
bool is_record_file(const std::string &text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line.erase(0, line.find_first_not_of(" \t"));
        if (line[0] == '[' && line.find(']') == std::string::npos)
            return false;
    }
    return text.find('\0') == std::string::npos && (text.empty() || text.back() == '\n');
}

// Each item is found again by its name at the place where it was met, and under no longer one.
void walk(const char *cursor)
{
    std::vector<char> topic(std::strlen(cursor) + 1);
    char name[ZUK_VALUE_SIZE], value[ZUK_VALUE_SIZE], again[ZUK_VALUE_SIZE];
    const char *text = cursor;
    int topics = -1;
    do {
        ++topics;
        for (const char *at = cursor, *next = cursor; str_get_next_zuk_item(&next, name, value) == 0;) {
            expect(str_get_zuk_item(&at, (name + std::string("x")).c_str(), again) == -1);
            expect(str_search_zuk_item(&at, name, again) == 0 && std::strcmp(again, value) == 0);
            expect(str_get_zuk_item(&at, name, again) == 0 && at == next);
        }
    } while (str_get_next_zuk_topic(&cursor, topic.data()) == 0);
    expect(*cursor == 0 && str_get_nr_of_zuk_topics(&text) == topics);
}

bool add(const Database &db, const std::string &topic, const std::string &name, const std::string &value)
{
    return zuk_add_item(db.get(), topic.c_str(), name.c_str(), value.c_str(), "") == 0;
}

// All topics of a text, and what the database has under them. The parsers find it in the text too; of names longer than
// those of items they would compare the beginning.
std::string content_of(const Database &db, const std::string &text)
{
    std::string content, topic(text.size() + 1, 0);
    for (const char *cursor = text.c_str(); str_get_next_zuk_topic(&cursor, topic.data()) == 0;) {
        content.append("[").append(topic.c_str()).append("]");
        str_search_zuk_cache_reset();
        int state = 0;
        for (int next = 17; const char *name = zuk_list_item(db.get(), topic.c_str(), &state); ++next) {
            char value[ZUK_VALUE_SIZE], parsed[ZUK_VALUE_SIZE];
            const char *start = text.c_str();
            expect(state == next && zuk_search(db.get(), topic.c_str(), name, value) == 0);
            expect(text.size() >= zuk::name_length_max ||
                   (str_search_zuk(&start, topic.c_str(), name, parsed) == 1 && std::string(value) == parsed));
            content.append(name).append("=").append(value).append("\n");
        }
    }
    return content;
}

// Changes one topic and looks at all of them, also after another load.
void change(const Database &db, zuk_rfile *file, const std::string &topic, const std::string &name,
            const std::string &value)
{
    file->changed = false;
    const std::string before = file->text.write();
    if (!add(db, topic, name, value)) {
        expect(!file->changed && file->text.write() == before);
        return;
    }
    const std::string after = file->text.write();
    expect(file->changed == (before != after));
    char found[ZUK_VALUE_SIZE];
    expect(zuk_search(db.get(), topic.c_str(), name.c_str(), found) == 0);
    expect(found == fuzz::without_blanks(value));
    const Database again(zuk_open(), zuk_close);
    const zuk_rfile *loaded = zuk::push_text(*again, "", after);
    expect(loaded && loaded->text.write() == after && content_of(again, after) == content_of(db, after));
    file->changed = false;
    expect(add(db, topic, name, value) && !file->changed);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string input(reinterpret_cast<const char *>(data), size);
    const auto take = [&input](unsigned length) {
        const std::string front = input.substr(0, length);
        input.erase(0, length);
        return front;
    };
    const std::string lengths = take(2) + std::string(2, 0);
    const std::string name = take(static_cast<unsigned char>(lengths[0])).c_str();
    const std::string value = take(static_cast<unsigned char>(lengths[1])).c_str();

    walk(input.c_str());
    const Database db(zuk_open(), zuk_close);
    const std::string text = with_lf(input);
    zuk_rfile *file = zuk::push_text(*db, "", input);
    expect((file != nullptr) == is_record_file(text));
    if (file == nullptr)
        return 0;
    expect(file->text.write() == text && !file->changed);
    content_of(db, text);
    zuk_add_topic(db.get(), file, name.c_str(), value.c_str());
    std::vector<char> first(text.size() + 1);
    const char *cursor = text.c_str();
    str_get_next_zuk_topic(&cursor, first.data());
    change(db, file, first.data(), name, value);
    change(db, file, name, name, value);
    return 0;
}
