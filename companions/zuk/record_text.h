// record_text - the text of one record file, in memory (zuk, private)
//
// The text is cut into pieces that follow each other without gaps, so that what is never changed is written back as it
// was read, with LF for every line end:
//
//     preamble                  lines before the first topic
//     topic.line  topic.kept    the topic line, then lines up to the first item
//     item.line   item.kept     an item line, then lines up to the next item or topic
//
// Items and topics are found by hashes of their names, in buckets that are search trees: most hold one name, and still
// no choice of names, which come from files, may make a search slow. What changes the text may throw std::bad_alloc and
// then leaves it as it was; finding allocates nothing.
#ifndef ZUK_RECORD_TEXT_H
#define ZUK_RECORD_TEXT_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
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

// A name and a hash of it.
struct hashed_name {
    std::uint64_t hash;
    std::string_view name;
};

struct exactly {
    static hashed_name hashed(std::string_view name);
    bool operator()(const hashed_name &left, const hashed_name &right) const
    {
        return left.hash != right.hash ? left.hash < right.hash : left.name < right.name;
    }
};

// The case of ASCII letters ignored.
struct without_case {
    static hashed_name hashed(std::string_view name);
    bool operator()(const hashed_name &left, const hashed_name &right) const;
};

// Values by names, which are owned elsewhere and stay where they are. Order says how names are hashed and compared.
template <class Order, class Value>
class name_table
{
public:
    // Null when the name is not there.
    Value *find(std::string_view name) const
    {
        const hashed_name wanted = Order::hashed(name);
        const bucket &place = buckets_[place_in(buckets_, wanted)];
        const auto found = place.find(wanted);
        return found != place.end() ? found->second : nullptr;
    }

    // A name that is there already keeps its value.
    void add(std::string_view name, Value *value)
    {
        const hashed_name key = Order::hashed(name);
        if (count_ == buckets_.size())
            grow();
        count_ += buckets_[place_in(buckets_, key)].emplace(key, value).second ? 1 : 0;
    }

private:
    using bucket = std::map<hashed_name, Value *, Order>;

    static std::size_t place_in(const std::vector<bucket> &buckets, const hashed_name &name)
    {
        return static_cast<std::size_t>(name.hash) & (buckets.size() - 1);
    }

    void grow()
    {
        std::vector<bucket> wider(2 * buckets_.size());
        for (bucket &old : buckets_)
            while (!old.empty()) {
                auto name = old.extract(old.begin());
                wider[place_in(wider, name.key())].insert(std::move(name));
            }
        buckets_.swap(wider);
    }

    std::size_t count_ = 0;
    std::vector<bucket> buckets_ = std::vector<bucket>(1);  // as many as a power of two
};

struct topic {
    std::string name;
    std::string line;
    std::string kept;
    std::vector<std::unique_ptr<item>> items;  // of different names
    name_table<exactly, item> by_name;

    const item *find(std::string_view item_name) const;

    // Adds an item after the last one or replaces the line of the one with that name; false when it is the same line.
    bool set(std::string_view item_name, std::string_view value);
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
    name_table<without_case, topic> by_name_;
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
