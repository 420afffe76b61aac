// record_text - the text of one record file, in memory (zuk, private)
//
// The text is cut into pieces that follow each other without gaps, so that what is never changed is written back as it
// was read, with LF for every line end:
//
//     preamble                  lines before the first topic
//     topic.line  topic.kept    the topic line, then lines up to the first item
//     item.line   item.kept     an item line, then lines up to the next item or topic
//
// Items and topics are found by search trees, not by hashing: names come from files, and no choice of names may make a
// search slow. What changes the text may throw std::bad_alloc and then leaves it as it was; finding allocates nothing.
#ifndef ZUK_RECORD_TEXT_H
#define ZUK_RECORD_TEXT_H

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zuk
{

constexpr std::size_t name_length_max = 256;
constexpr std::size_t value_length_max = 256;

struct item {
    std::string name;
    std::string line;  // with its line end, as the following ones
    std::string kept;
};

struct topic {
    std::string name;
    std::string line;
    std::string kept;
    std::vector<std::unique_ptr<item>> items;  // of different names
    std::map<std::string_view, item *> by_name;

    const item *find(std::string_view item_name) const;

    // Adds an item after the last one or replaces the line of the one with that name; false when it is the same line.
    bool set(std::string_view item_name, std::string_view value);
};

// Orders names with the case of ASCII letters ignored.
struct less_without_case {
    bool operator()(std::string_view left, std::string_view right) const;
};

class record_text
{
public:
    // Takes the lines of a text into an empty record; false when it is no record text.
    bool read(std::string_view text);
    std::string write() const;

    topic *find(std::string_view name) const;

    // Adds a topic at the end; the name must be new.
    void add(std::string_view name, std::string_view comment);

private:
    bool take(std::string_view line);
    void open_topic(std::string line, std::string_view name);
    std::string &kept_at_end();

    std::string preamble_;
    std::vector<std::unique_ptr<topic>> topics_;
    std::map<std::string_view, topic *, less_without_case> by_name_;
};

// The value in an item's line: at most value_length_max characters.
std::string_view value_of(const item &item);

// What a caller may add without changing what the text says elsewhere.
bool is_topic_name(std::string_view name);
bool is_comment(std::string_view comment);
bool is_item_name(std::string_view name);
bool is_value(std::string_view value);

}  // namespace zuk

#endif
