// digest - MD5 digests of files and of the entries of archives, as md5sum writes and reads them

#include "archive.h"
#include "frame/command.h"
#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/progress.h"
#include "frame/text.h"

#include <algorithm>

namespace tool
{

namespace
{

constexpr std::uint64_t largest_list = std::uint64_t{1} << 28;

// A name on one line: a "\" and line ends are written with a "\", and another one stands before the digest.
std::string escaped(const std::string &name, bool &changed)
{
    std::string text;
    for (const char character : name) {
        changed = changed || character == '\\' || character == '\n' || character == '\r';
        if (character == '\n')
            text += "\\n";
        else if (character == '\r')
            text += "\\r";
        else if (character == '\\')
            text += "\\\\";
        else
            text += character;
    }
    return text;
}

std::string unescaped(const std::string &text)
{
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            name += text[i];
            continue;
        }
        const char kind = text[++i];
        name += kind == 'n' ? '\n' : kind == 'r' ? '\r' : kind;
    }
    return name;
}

class digest : public action
{
public:
    void describe(options &take) override
    {
        take.files("FILE", 0, 1000000, "files to digest", files_);
        take.flag("--entries", "the files are archives: a digest of each entry", entries_);
        take.path("--check", "F", "read digests and names from F, and compare", list_);
    }

    void run(job &work) override
    {
        if (list_.empty() && files_.empty())
            throw usage_failure("FILE", "is missing", "teska digest --help shows how to call it");
        if (!list_.empty() && (!files_.empty() || entries_))
            throw usage_failure("--check", "takes its files from the list alone");
        work.result["files"] = json::array();
        if (!list_.empty())
            compare(work);
        for (const std::string &file : files_)
            show_file(work, file);
    }

private:
    void show_file(job &work, const std::string &path)
    {
        try {
            const input_file file(path);
            if (!entries_) {
                show(work, path, digest_of(file, 0, file.size()));
                return;
            }
            archive_reader archive(file);
            while (const std::optional<archive_entry> entry = archive.next())
                show(work, entry->name, digest_of(file, entry->offset, entry->size));
        } catch (const failure &problem) {
            work.failed(problem);
        }
    }

    static void show(job &work, const std::string &name, const std::string &md5)
    {
        bool changed = false;
        const std::string shown = escaped(name, changed);
        work.line((changed ? "\\" : "") + md5 + "  " + shown);
        json member = json::object();
        member["name"] = name;
        member["md5"] = md5;
        work.result["files"].push_back(std::move(member));
    }

    void compare(job &work)
    {
        const std::string text = read_file(list_, largest_list);
        std::size_t number = 0;
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = std::min(text.find('\n', start), text.size());
            std::string line = text.substr(start, end - start);
            start = end + 1;
            ++number;
            if (line.ends_with('\r'))
                line.pop_back();
            if (!line.empty() && line.front() != '#')
                compare_line(work, line, number);
        }
        if (compared_ == 0)
            throw failure(list_, "has no digests");
    }

    void compare_line(job &work, std::string line, std::size_t number)
    {
        const bool changed = line.front() == '\\';
        if (changed)
            line.erase(0, 1);
        const std::string md5 = lower_case(line.substr(0, 32));
        if (line.size() < 35 || md5.find_first_not_of("0123456789abcdef") != std::string::npos || line[32] != ' ' ||
            (line[33] != ' ' && line[33] != '*'))
            throw failure(list_, "line " + std::to_string(number) + ": 32 digits, two blanks and a name wanted");
        ++compared_;
        const std::string name = changed ? unescaped(line.substr(34)) : line.substr(34);
        try {
            const input_file file(name);
            const bool equal = digest_of(file, 0, file.size()) == md5;
            work.line(printable(name) + (equal ? ": OK" : ": FAILED"));
            if (!equal)
                work.found_fault();
            json member = json::object();
            member["name"] = name;
            member["ok"] = equal;
            work.result["files"].push_back(std::move(member));
        } catch (const failure &problem) {
            work.failed(problem);
        }
    }

    std::vector<std::string> files_;
    std::string list_;
    bool entries_ = false;
    std::size_t compared_ = 0;
};

}  // namespace

extern const command digest_command;
const command digest_command = {
    "digest",
    "show or check the MD5 digests of files",
    "Shows the digest and the name of each file in the form of md5sum, or compares files with such a list. A digest "
    "finds damage; it is no protection against forgery.",
    {{"teska digest *.tif > digests.txt", "digests of pictures"},
     {"teska digest --check digests.txt", "whether the pictures are what they were"}},
    make_action<digest>};

}  // namespace tool
