// record_database - record files on the disk against a plain model: what is changed, found, listed, saved and loaded
//
// An input is a row of steps: what is done, to which file, topic and name of a few, and a value. Two files are on the
// stack; the folder is in memory.

#include "support/folder.h"

#include "fuzz/target.h"
#include "zuk.h"

#include <algorithm>
#include <memory>
#include <string>

using fuzz::expect;

namespace
{

using Items = std::vector<std::pair<std::string, std::string>>;
using Topics = std::vector<std::pair<std::string, Items>>;
using Database = std::unique_ptr<zuk_db, int (*)(zuk_db *)>;

constexpr int files = 2;

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
    return text;
}

template <class Entries>
auto find(Entries &entries, const std::string &name)
{
    return std::find_if(entries.begin(), entries.end(), [&](const auto &entry) { return entry.first == name; });
}

bool is_line(const std::string &text, const char *reserved = "\r\n")
{
    return text.size() <= 256 && text.find_first_of(reserved) == std::string::npos;
}

bool is_name(const std::string &text, const char *reserved)
{
    return is_line(text, reserved) && !text.empty() && text.find_last_of(" \t") != text.size() - 1;
}

// A text of characters that mean something; sometimes as long as is allowed, or longer.
std::string text_of(fuzz::Input &input)
{
    static const char characters[] = "abAB=[] \t\n\rxyz1\xc3";
    std::string text;
    for (int length = input.below(5); length > 0; --length)
        text += characters[input.below(static_cast<int>(sizeof characters) - 1)];
    const int kind = input.byte();
    if (kind < 8)
        text.append(252 + static_cast<std::size_t>(kind), 'k');
    return text;
}

struct Session {
    explicit Session(std::string place) : folder(std::move(place)) { open(zuk_create_rfile); }

    void open(zuk_rfile *(*take)(zuk_db *, const char *))
    {
        db.reset(zuk_open());
        for (int i = 0; i < files; ++i)
            expect((file[i] = take(db.get(), (folder + "/" + std::to_string(i)).c_str())) != nullptr);
    }

    // The topmost file that has the topic; it is compared without case.
    Items *items_of(const std::string &topic)
    {
        for (int i = files; i-- > 0;)
            if (const auto found = find(model[i], lower(topic)); found != model[i].end())
                return &found->second;
        return nullptr;
    }

    void add_topic(int at, const std::string &topic, const std::string &comment)
    {
        const bool legal = is_name(topic, "\r\n]") && comment.find_first_of("\r\n") == std::string::npos;
        expect((zuk_add_topic(db.get(), file[at], topic.c_str(), comment.c_str()) == 0) == legal);
        if (legal && find(model[at], lower(topic)) == model[at].end())
            model[at].push_back({lower(topic), {}});
    }

    void add_item(const std::string &topic, const std::string &name, const std::string &value)
    {
        Items *const items = items_of(topic);
        const std::size_t start = name.find_first_not_of(" \t");
        const bool legal = items != nullptr && is_name(name, "\r\n=") && name[start] != '[' && is_line(value);
        expect((zuk_add_item(db.get(), topic.c_str(), name.c_str(), value.c_str(), "") == 0) == legal);
        if (!legal)
            return;
        if (find(*items, name) == items->end())
            items->push_back({name, ""});
        find(*items, name)->second = fuzz::without_blanks(value);
    }

    void search(const std::string &topic, const std::string &name)
    {
        char value[ZUK_VALUE_SIZE] = "untouched";
        Items *const items = items_of(topic);
        const bool there = items != nullptr && find(*items, name) != items->end();
        expect((zuk_search(db.get(), topic.c_str(), name.c_str(), value) == 0) == there);
        expect(value == (there ? find(*items, name)->second : "untouched"));
    }

    void list(const std::string &topic)
    {
        Items found;
        int state = 0;
        for (const char *name; (name = zuk_list_item(db.get(), topic.c_str(), &state)) != nullptr;) {
            char value[ZUK_VALUE_SIZE];
            expect(zuk_search(db.get(), topic.c_str(), name, value) == 0);
            found.push_back({name, value});
        }
        const Items *const items = items_of(topic);
        expect(found == (items != nullptr ? *items : Items()));
    }

    void save_and_load()
    {
        expect(zuk_flush(db.get()) == 0);
        open(zuk_push_rfile);
    }

    const std::string folder;
    Database db{nullptr, zuk_close};
    zuk_rfile *file[files] = {};
    Topics model[files];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::work_in_memory();
    static const teska_test::Folder folder;
    Session session(folder.path());
    fuzz::Input input{data, std::min<std::size_t>(size, 400)};
    while (input.left > 0) {
        const int action = input.below(8), at = input.below(files);
        const std::string topic = text_of(input), name = text_of(input);
        if (action < 2)
            session.add_topic(at, topic, name);
        else if (action < 5)
            session.add_item(topic, name, text_of(input));
        else if (action == 5)
            session.search(topic, name);
        else if (action == 6)
            session.list(topic);
        else
            session.save_and_load();
    }
    for (int turn = 0; turn < 2; ++turn, session.save_and_load())
        for (const Topics &topics : session.model)
            for (const auto &topic : topics)
                session.list(topic.first);
    return 0;
}
