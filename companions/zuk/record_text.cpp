// record_text - the text of one record file, in memory (zuk)
#include "record_text.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <utility>

namespace zuk
{

namespace
{

constexpr std::string_view line_ends = "\r\n";
constexpr std::string_view blanks = " \t";

std::string_view without_end_blanks(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(blanks) + 1);  // npos + 1 is 0
}

std::string_view without_blanks(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return without_end_blanks(text);
}

bool begins_with_bracket(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(blanks);
    return first != std::string_view::npos && line[first] == '[';
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// A multiple of each eight characters by the golden ratio, its upper half over the lower one.
template <class Fold>
std::uint64_t hash_of(std::string_view name, Fold fold)
{
    std::uint64_t hash = name.size();
    for (std::size_t i = 0; i < name.size(); i += sizeof hash) {
        std::uint64_t bytes = 0;
        if (i + sizeof bytes <= name.size())
            std::memcpy(&bytes, name.data() + i, sizeof bytes);
        else
            std::memcpy(&bytes, name.data() + i, name.size() - i);
        hash = (hash ^ fold(bytes)) * 0x9e3779b97f4a7c15U;
        hash ^= hash >> 32;
    }
    return hash;
}

std::string joined(std::initializer_list<std::string_view> pieces)
{
    std::string text;
    for (std::string_view piece : pieces)
        text += piece;
    return text;
}

// Takes one line and its end off the text; false when the line has no end.
bool next_line(std::string_view &text, std::string_view &line)
{
    const std::size_t end = text.find_first_of(line_ends);
    if (end == std::string_view::npos)
        return false;
    line = text.substr(0, end);
    text.remove_prefix(end + (text.substr(end, 2) == "\r\n" ? 2 : 1));
    return true;
}

// Adds an item that owns its name; all of it or nothing.
item &append(topic &owner, std::string_view name, std::string line)
{
    owner.items.push_back(std::make_unique<item>(item{std::string(name), std::move(line), {}}));
    item *added = owner.items.back().get();
    try {
        owner.by_name.add(added->name, added);
    } catch (...) {
        owner.items.pop_back();
        throw;
    }
    return *added;
}

bool is_name(std::string_view name)
{
    return !name.empty() && name.size() <= name_length_max && without_end_blanks(name).size() == name.size();
}

bool is_one_line(std::string_view text) { return text.find_first_of(line_ends) == std::string_view::npos; }

}  // namespace

const item *topic::find(std::string_view item_name) const { return by_name.find(item_name); }

bool topic::set(std::string_view item_name, std::string_view value)
{
    std::string text = joined({item_name, " = ", without_blanks(value), "\n"});
    if (item *const found = by_name.find(item_name)) {
        const bool differs = found->line != text;
        found->line.swap(text);
        return differs;
    }
    // Items are kept together: lines at the end of the topic stay at its end.
    std::string &kept_before = items.empty() ? kept : items.back()->kept;
    append(*this, item_name, std::move(text)).kept.swap(kept_before);
    return true;
}

hashed_name exactly::hashed(std::string_view name)
{
    return {hash_of(name, [](std::uint64_t bytes) { return bytes; }), name};
}

// Letters in either case have the same hash, and so have a few other pairs.
hashed_name without_case::hashed(std::string_view name)
{
    return {hash_of(name, [](std::uint64_t bytes) { return bytes | 0x2020202020202020U; }), name};
}

bool without_case::operator()(const hashed_name &left, const hashed_name &right) const
{
    if (left.hash != right.hash)
        return left.hash < right.hash;
    // Spelled alike, as most are.
    if (left.name == right.name)
        return false;
    return std::lexicographical_compare(left.name.begin(), left.name.end(), right.name.begin(), right.name.end(),
                                        [](char l, char r) { return lower(l) < lower(r); });
}

bool record_text::read(std::string_view text)
{
    if (text.find('\0') != std::string_view::npos)
        return false;
    for (std::string_view line; !text.empty();)
        if (!next_line(text, line) || !take(line))
            return false;
    return true;
}

std::string record_text::write() const
{
    std::string text = preamble_;
    for (const auto &topic : topics_) {
        text.append(topic->line).append(topic->kept);
        for (const auto &item : topic->items)
            text.append(item->line).append(item->kept);
    }
    return text;
}

topic *record_text::find(std::string_view name) const { return by_name_.find(name); }

void record_text::add(std::string_view name, std::string_view comment)
{
    open_topic(joined({"[", name, "]", comment, "\n"}), name);
}

// Takes over a line of the text that was read; false for a topic line that is not closed.
bool record_text::take(std::string_view line)
{
    if (begins_with_bracket(line)) {
        const std::size_t begin = line.find('[') + 1;
        const std::size_t end = line.find(']', begin);
        if (end == std::string_view::npos)
            return false;
        open_topic(joined({line, "\n"}), without_end_blanks(line.substr(begin, end - begin)));
        return true;
    }
    const std::size_t equals = line.find('=');
    const std::string_view name = without_end_blanks(line.substr(0, equals));
    const bool reached = equals != std::string_view::npos && !topics_.empty() && is_name(name);
    if (reached && !topics_.back()->find(name))
        append(*topics_.back(), name, joined({line, "\n"}));
    else
        kept_at_end().append(line).append("\n");
    return true;
}

// A name that is there already opens a topic that is kept but never found.
void record_text::open_topic(std::string line, std::string_view name)
{
    topics_.push_back(std::make_unique<topic>());
    topic *added = topics_.back().get();
    try {
        added->name = name;
        added->line = std::move(line);
        by_name_.add(added->name, added);
    } catch (...) {
        topics_.pop_back();
        throw;
    }
}

std::string &record_text::kept_at_end()
{
    if (topics_.empty())
        return preamble_;
    topic &last = *topics_.back();
    return last.items.empty() ? last.kept : last.items.back()->kept;
}

std::string_view value_of(const item &item)
{
    std::string_view value = item.line;
    value.remove_prefix(value.find('=', item.name.size()) + 1);
    value.remove_suffix(1);  // the line end
    return without_end_blanks(without_blanks(value).substr(0, value_length_max));
}

bool is_topic_name(std::string_view name)
{
    return is_name(name) && is_one_line(name) && name.find(']') == std::string_view::npos;
}

bool is_comment(std::string_view comment) { return is_one_line(comment); }

bool is_item_name(std::string_view name)
{
    return is_name(name) && is_one_line(name) && name.find('=') == std::string_view::npos && !begins_with_bracket(name);
}

bool is_value(std::string_view value) { return value.size() <= value_length_max && is_one_line(value); }

}  // namespace zuk
