// records - record files: topics with items, each a name and a value

#include "frame/command.h"
#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/text.h"
#include "zuk.h"

#include <map>
#include <memory>
#include <set>
#include <string_view>

namespace tool
{

namespace
{

constexpr std::uint64_t largest_file = 0x7FFFFFFF;
constexpr std::size_t longest = 256;  // of names and values
constexpr const char *blanks = " \t";

std::string_view without_end(std::string_view text) { return text.substr(0, text.find_last_not_of(blanks) + 1); }

std::string_view without_blanks(std::string_view text)
{
    text = without_end(text);
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text;
}

// ---- The text -------------------------------------------------------------------------------------------------------

struct fault {
    std::size_t line;
    std::string text;
    bool fatal;  // the file is refused as a whole
};

// What a record file says, line by line, with everything that is wrong or never reached.
class record_text
{
public:
    explicit record_text(std::string_view text)
    {
        if (!text.empty() && text.back() != '\n' && text.back() != '\r')
            cut_ = true;
        while (!text.empty()) {
            const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
            ++line_;
            read_line(text.substr(0, end));
            const bool two = text.substr(std::min(end, text.size())).starts_with("\r\n");
            text.remove_prefix(std::min(end + (two ? 2 : 1), text.size()));
        }
        if (cut_)
            add_fault("the last line has no end: the file was cut", true);
    }

    [[nodiscard]] const std::vector<std::string> &topics() const { return topics_; }
    [[nodiscard]] const std::vector<fault> &faults() const { return faults_; }

private:
    void read_line(std::string_view line)
    {
        if (line.find('\0') != std::string_view::npos)
            add_fault("a zero byte", true);
        const std::size_t first = line.find_first_not_of(blanks);
        if (first != std::string_view::npos && line[first] == '[')
            read_topic(line.substr(first + 1));
        else if (const std::size_t equals = line.find('='); equals != std::string_view::npos && in_topic_)
            read_item(without_end(line.substr(0, equals)), without_blanks(line.substr(equals + 1)));
    }

    void read_topic(std::string_view rest)
    {
        const std::size_t end = rest.find(']');
        if (end == std::string_view::npos) {
            add_fault("\"[\" without \"]\"", true);
            return;
        }
        const std::string name(without_end(rest.substr(0, end)));
        in_topic_ = true;
        items_.clear();
        if (name.empty() || name.size() > longest)
            add_fault("a topic has 1 to 256 characters");
        if (known_.emplace(lower_case(name), line_).second)
            topics_.push_back(name);
        else
            add_fault("topic [" + name + "] is there already, in line " + std::to_string(known_[lower_case(name)]) +
                      ": never reached");
    }

    void read_item(std::string_view name, std::string_view value)
    {
        if (name.empty())
            return;
        if (name.size() > longest)
            add_fault("a name has at most 256 characters");
        const auto [at, added] = items_.emplace(name, line_);
        if (!added)
            add_fault("\"" + std::string(name) + "\" is there already, in line " + std::to_string(at->second) +
                      ": never reached");
        else if (value.size() > longest)
            add_fault("the value of \"" + std::string(name) + "\" is cut at 256 characters");
    }

    void add_fault(const std::string &text, bool fatal = false) { faults_.push_back({line_, text, fatal}); }

    std::size_t line_ = 0;
    bool cut_ = false;
    bool in_topic_ = false;
    std::vector<std::string> topics_;           // those that are reached, in the order of the file
    std::map<std::string, std::size_t> known_;  // topics in lower case, with their lines
    std::map<std::string, std::size_t> items_;  // of the present topic
    std::vector<fault> faults_;
};

// ---- The command ----------------------------------------------------------------------------------------------------

struct close_database {
    void operator()(zuk_db *database) const { zuk_close(database); }
};

class records : public action
{
public:
    void describe(options &take) override
    {
        take.file("FILE", "the record file", file_);
        take.word("DO", {"get", "set", "topics", "items", "check"}, "what to do with it", verb_);
        take.files("WORD", 0, 3,
                   "TOPIC [NAME] of get, TOPIC NAME VALUE of set, TOPIC of items; a topic and a file are made by set",
                   words_);
    }

    void run(job &work) override
    {
        check_words();
        if (verb_ == "set")
            set(work);
        else if (verb_ == "get")
            get(work);
        else if (verb_ == "items")
            items(work);
        else if (verb_ == "topics")
            topics(work);
        else
            check(work);
    }

private:
    void check_words() const
    {
        const std::map<std::string, std::pair<std::size_t, std::size_t>> wanted = {
            {"get", {1, 2}}, {"set", {3, 3}}, {"topics", {0, 0}}, {"items", {1, 1}}, {"check", {0, 0}}};
        const auto [least, most] = wanted.at(verb_);
        if (words_.size() < least || words_.size() > most)
            throw usage_failure(verb_,
                                "wants " + std::to_string(least) +
                                    (most > least ? " or " + std::to_string(most) : std::string()) +
                                    (most == 1 ? " word" : " words") + ", not " + std::to_string(words_.size()),
                                "teska records --help shows them");
        if (verb_ == "set") {
            check_topic();
            check_item();
        }
    }

    void check_topic() const
    {
        const std::string &topic = words_[0];
        if (topic.empty() || topic.size() > longest || topic.find_first_of("]\r\n") != std::string::npos ||
            without_end(topic) != topic)
            throw usage_failure(topic, "a topic has 1 to 256 characters without \"]\" and line ends, and no blank at "
                                       "its end");
    }

    void check_item() const
    {
        const std::string &name = words_[1], &value = words_[2];
        if (name.empty() || name.size() > longest || name.find_first_of("=\r\n") != std::string::npos ||
            without_end(name) != name || without_blanks(name).starts_with('['))
            throw usage_failure(name, "a name has 1 to 256 characters without \"=\" and line ends, no blank at its end "
                                      "and no \"[\" at its start");
        if (value.size() > longest || value.find_first_of("\r\n") != std::string::npos)
            throw usage_failure(value, "a value has at most 256 characters and no line end");
    }

    [[nodiscard]] record_text text() const
    {
        (void)input_file(file_);
        return record_text(read_file(file_, largest_file));
    }

    // Loads the file; what the library refuses without a word is told by the text's own faults.
    void load()
    {
        const record_text content = text();
        for (const fault &found : content.faults())
            if (found.fatal)
                throw failure(file_, "line " + std::to_string(found.line) + ": " + printable(found.text));
        open();
        record_file_ = zuk_push_rfile(database_.get(), file_.c_str());
        if (record_file_ == nullptr)
            throw failure(file_, "cannot be read as a record file");
        for (const std::string &topic : content.topics())
            topics_.insert(lower_case(topic));
    }

    void open()
    {
        database_.reset(zuk_open());
        if (!database_)
            throw failure(file_, "not enough memory");
    }

    [[noreturn]] void throw_no_topic() const { throw failure(file_, "has no topic [" + printable(words_[0]) + "]"); }

    void get(job &work)
    {
        load();
        if (!topics_.contains(lower_case(words_[0])))
            throw_no_topic();
        if (words_.size() == 1) {
            work.result["items"] = json::object();
            for_each_item([&](const std::string &name, const std::string &value) {
                work.line(printable(name) + " = " + printable(value));
                work.result["items"][name] = value;
            });
            return;
        }
        char value[ZUK_VALUE_SIZE];
        if (zuk_search(database_.get(), words_[0].c_str(), words_[1].c_str(), value) != 0)
            throw failure(file_, "[" + printable(words_[0]) + "] has no \"" + printable(words_[1]) + "\"");
        work.line(value);
        work.result["value"] = value;
    }

    template <class Visit>
    void for_each_item(const Visit &visit)
    {
        int state = 0;
        std::set<std::string> seen;
        while (const char *name = zuk_list_item(database_.get(), words_[0].c_str(), &state)) {
            char value[ZUK_VALUE_SIZE];
            if (seen.insert(name).second && zuk_search(database_.get(), words_[0].c_str(), name, value) == 0)
                visit(name, value);
        }
    }

    // Nothing is written when the item has the value already.
    void set(job &work)
    {
        const bool there = facts_of(file_).has_value();
        if (there)
            load();
        const std::string topic = words_[0], name = words_[1];
        const std::string value(without_blanks(words_[2]));
        char before[ZUK_VALUE_SIZE];
        const bool same =
            there && zuk_search(database_.get(), topic.c_str(), name.c_str(), before) == 0 && value == before;
        work.result["changed"] = !same;
        if (same)
            return;
        if (!there) {
            (void)output_file(work, file_);  // tells a missing folder
            open();
            record_file_ = zuk_create_rfile(database_.get(), file_.c_str());
        }
        zuk_db *database = database_.get();
        if (record_file_ == nullptr || zuk_add_topic(database, record_file_, topic.c_str(), "") != 0 ||
            zuk_add_item(database, topic.c_str(), name.c_str(), value.c_str(), "") != 0 || zuk_flush(database) != 0)
            throw failure(file_, "cannot be written");
    }

    void topics(job &work)
    {
        work.result["topics"] = json::array();
        const record_text content = text();
        for (const std::string &topic : content.topics()) {
            work.line(printable(topic));
            work.result["topics"].push_back(topic);
        }
    }

    void items(job &work)
    {
        load();
        if (!topics_.contains(lower_case(words_[0])))
            throw_no_topic();
        work.result["items"] = json::array();
        for_each_item([&](const std::string &name, const std::string &) {
            work.line(printable(name));
            work.result["items"].push_back(name);
        });
    }

    void check(job &work)
    {
        work.result["faults"] = json::array();
        const record_text content = text();
        for (const fault &found : content.faults()) {
            work.line("line " + std::to_string(found.line) + ": " + printable(found.text));
            json member = json::object();
            member["line"] = found.line;
            member["text"] = found.text;
            work.result["faults"].push_back(std::move(member));
            work.found_fault();
        }
    }

    std::string file_;
    std::string verb_;
    std::vector<std::string> words_;
    std::unique_ptr<zuk_db, close_database> database_;
    zuk_rfile *record_file_ = nullptr;
    std::set<std::string> topics_;  // in lower case
};

}  // namespace

extern const command records_command;
const command records_command = {
    "records",
    "read and change record files",
    "A record file holds texts under topics, a line for each: a name and a value. Topics are compared without case, "
    "names exactly. A file is saved whole under another name and then renamed; setting what is there already writes "
    "nothing. check shows what is wrong and what is never reached, and ends with 1 when it finds something.",
    {{"teska records press.rec set patches cyan \"0.25 150\"", "gives an item a value"},
     {"teska records press.rec get patches cyan", "shows it"}},
    make_action<records>};

}  // namespace tool
