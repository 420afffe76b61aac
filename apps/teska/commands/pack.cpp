// pack, unpack, list - archives of files

#include "archive.h"
#include "filepacker.h"
#include "frame/command.h"
#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/progress.h"
#include "frame/text.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

namespace tool
{

namespace
{

namespace fs = std::filesystem;

// ---- pack -----------------------------------------------------------------------------------------------------------

struct packed_file {
    std::string path;  // to open it
    std::string name;  // in the archive
};

// The parts of a path between "/" without "." and empty ones; the root and a drive are left out.
std::vector<std::string> parts_of(const fs::path &path)
{
    std::vector<std::string> parts;
    for (const fs::path &part : path.relative_path()) {
        const std::string text = text_of(part);
        if (!text.empty() && text != ".")
            parts.push_back(text);
    }
    return parts;
}

std::string joined(const std::vector<std::string> &parts)
{
    std::string name;
    for (const std::string &part : parts)
        name += (name.empty() ? "" : "/") + part;
    return name;
}

class pack : public action
{
public:
    void describe(options &take) override
    {
        take.output("OUT", "the archive to write", out_);
        take.files("FILE", 1, 1000000, "files, and folders with all they hold", files_);
        take.text("--description", "T", "a text of at most 199 bytes about the archive", description_);
        take.path("--base", "D", "the folder that names in the archive are relative to; all files lie below it", base_);
    }

    void run(job &work) override
    {
        if (description_.size() > 199)
            throw usage_failure("--description", "has more than 199 bytes");
        for (const std::string &file : files_)
            collect(work, file);
        output_file out(work, out_);
        write(work, out);
        out.publish();
        work.result["out"] = out_;
        work.result["entries"] = packed_.size();
        work.result["bytes"] = bytes_;
        work.line("entries " + std::to_string(packed_.size()));
        work.line("bytes " + std::to_string(bytes_));
    }

private:
    // The name of an argument in the archive: as given, or relative to the base.
    [[nodiscard]] std::string name_for(const std::string &path) const
    {
        fs::path given = native_path(path);
        if (!base_.empty()) {
            std::error_code error;
            given = fs::weakly_canonical(given, error).lexically_relative(fs::weakly_canonical(native_path(base_)));
            if (error || given.empty())
                throw usage_failure(path, "is not below " + base_);
        }
        const std::vector<std::string> parts = parts_of(given.lexically_normal());
        if (!parts.empty() && parts.front() == "..")
            throw usage_failure(path, base_.empty() ? "leads out of the current folder" : "is not below " + base_,
                                "--base names the folder that names are relative to");
        return joined(parts);
    }

    void collect(job &work, const std::string &path)
    {
        const std::string name = name_for(path);
        const std::optional<file_facts> facts = facts_of(path);
        if (facts && facts->folder) {
            collect_folder(work, path, name);
        } else {
            if (is_output(path))
                throw failure(out_, "is the input");
            (void)input_file(path);
            add(work, path, name);
        }
    }

    // Everything in a folder in the order of the names' bytes; links to folders are not followed.
    void collect_folder(job &work, const std::string &path, const std::string &name)
    {
        std::error_code error;
        std::vector<std::string> names;
        for (fs::directory_iterator at(native_path(path), error), end; !error && at != end; at.increment(error))
            names.push_back(text_of(at->path().filename()));
        if (error)
            throw failure(path, "cannot be read: " + error.message());
        std::sort(names.begin(), names.end());
        for (const std::string &entry : names) {
            const std::string entry_path = path + "/" + entry;
            const std::string entry_name = name.empty() ? entry : name + "/" + entry;
            const std::optional<file_facts> facts = facts_of(entry_path);
            const bool link = fs::is_symlink(native_path(entry_path), error);
            if (facts && facts->folder && !link)
                collect_folder(work, entry_path, entry_name);
            else if (!facts || !facts->regular)
                work.note(entry_path, link ? "a link that leads to no file, skipped" : "not a regular file, skipped");
            else if (is_output(entry_path))
                work.note(entry_path, "is the archive itself, skipped");
            else
                add(work, entry_path, entry_name);
        }
    }

    [[nodiscard]] bool is_output(const std::string &path) const
    {
        const std::optional<file_facts> out = facts_of(out_);
        const std::optional<file_facts> in = facts_of(path);
        return out && in && out->device == in->device && out->node == in->node;
    }

    void add(job &work, const std::string &path, const std::string &name)
    {
        if (name.size() > 199)
            throw usage_failure(path, "its name has more than 199 bytes");
        // The archive knows one separator; what is one elsewhere would come back as a folder.
        if (name.find('\\') != std::string::npos)
            throw usage_failure(path, "its name has a \"\\\"");
        if (names_.insert(name).second)
            packed_.push_back({path, name});
        else
            work.note(path, "is in the archive already, skipped");
    }

    void write(job &work, output_file &out)
    {
        FilePacker archive(out.name_for_others().c_str(), 0, description_.c_str());
        check(archive, out.path());
        progress shown(work, out_, packed_.size());
        std::uint64_t entries = 0;
        for (const packed_file &file : packed_) {
            const input_file in(file.path);
            if (in.size() > 0x7FFFFFFF)
                throw failure(file.path, "has more than 2147483647 bytes");
            archive.AddFile(file.path.c_str(), file.name.c_str());
            check(archive, file.path);
            bytes_ += in.size();
            shown.done(++entries);
        }
    }

    // A failure of the archive: about the file that was added, unless the archive could not be written.
    void check(FilePacker &archive, const std::string &path) const
    {
        char text[160];
        const int code = archive.GetError(text);
        if (code == 2 || code == 8)
            throw failure(path, "cannot be read");
        if (code == 6)
            throw failure(path, "not enough memory");
        if (code != 0)
            throw failure(out_, "cannot be written");
    }

    std::string out_;
    std::vector<std::string> files_;
    std::string description_;
    std::string base_;
    std::vector<packed_file> packed_;
    std::set<std::string> names_;
    std::uint64_t bytes_ = 0;
};

// ---- unpack ---------------------------------------------------------------------------------------------------------

// Whether a name may become a file of that name on this system, below the folder it is put into.
bool stays_below(const std::vector<std::string> &parts)
{
    const auto harmless = [](const std::string &part) {
        if (part.empty() || part == "." || part == "..")
            return false;
#if defined(_WIN32)
        // Devices have these names in every folder, with any extension.
        const std::string stem = lower_case(part.substr(0, part.find('.')));
        for (const char *device : {"con", "prn", "aux", "nul", "conin$", "conout$"})
            if (stem == device)
                return false;
        if (stem.size() == 4 && (stem.starts_with("com") || stem.starts_with("lpt")))
            return false;
        return part.find_first_of("<>:\"|?*") == std::string::npos && part.back() != '.' && part.back() != ' ';
#else
        return true;
#endif
    };
    return !parts.empty() && std::all_of(parts.begin(), parts.end(), harmless);
}

// The parts of an entry's name; both separators count, an absolute name begins with an empty part.
std::vector<std::string> parts_of_entry(const std::string &name)
{
    std::vector<std::string> parts(1);
    for (const char character : name)
        if (character == '/' || character == '\\')
            parts.emplace_back();
        else
            parts.back() += character;
    return parts;
}

class unpack : public action
{
public:
    void describe(options &take) override
    {
        take.file("IN", "the archive to read", in_);
        take.files("NAME", 0, 1000000, "entries to take; all when none is named", names_);
        take.path("--to", "D", "the folder to put the files into", folder_);
    }

    void run(job &work) override
    {
        const input_file file(in_);
        archive_reader archive(file);
        const std::optional<file_facts> facts = facts_of(folder_);
        if (facts && !facts->folder)
            throw failure(folder_, "is not a folder");
        std::set<std::string> wanted(names_.begin(), names_.end());
        std::set<std::string> found;
        json written = json::array();
        progress shown(work, in_, file.size());
        try {
            while (const std::optional<archive_entry> entry = archive.next()) {
                shown.done(entry->offset);
                if (!wanted.empty() && !wanted.contains(entry->name))
                    continue;
                found.insert(entry->name);
                if (extract(work, file, *entry)) {
                    written.push_back(entry->name);
                    ++count_;
                }
            }
        } catch (const failure &damage) {
            work.failed(damage);
        }
        for (const std::string &name : wanted)
            if (!found.contains(name))
                work.failed(failure(in_, "has no entry \"" + printable(name) + "\""));
        work.result["to"] = folder_;
        work.result["entries"] = std::move(written);
        work.line("entries " + std::to_string(count_));
    }

private:
    // Writes one entry; what goes wrong with it alone is told, and the next ones follow.
    bool extract(job &work, const input_file &file, const archive_entry &entry)
    {
        const std::vector<std::string> parts = parts_of_entry(entry.name);
        if (!stays_below(parts) || passes_link(parts)) {
            work.failed(failure(in_, "entry \"" + printable(entry.name) + "\" leaves the folder; skipped"));
            return false;
        }
        const std::string path = folder_ + "/" + joined(parts);
        try {
            std::error_code error;
            fs::create_directories(native_path(path).parent_path(), error);
            if (error)
                throw failure(folder_of(path), "cannot be made: " + error.message());
            const std::optional<file_facts> facts = facts_of(path);
            if (facts && !facts->regular)
                throw failure(path, "not a regular file");
            output_file out(work, path, {&file});
            copy(file, entry, out);
            out.publish();
            return true;
        } catch (const failure &problem) {
            work.failed(problem);
            return false;
        }
    }

    // Whether a link stands where a folder or the file of an entry would be.
    [[nodiscard]] bool passes_link(const std::vector<std::string> &parts) const
    {
        std::error_code error;
        fs::path path = native_path(folder_);
        return std::any_of(parts.begin(), parts.end(), [&](const std::string &part) {
            path /= native_path(part);
            return fs::is_symlink(path, error);
        });
    }

    static void copy(const input_file &file, const archive_entry &entry, output_file &out)
    {
        std::string block(std::size_t{1} << 16, '\0');
        for (std::uint64_t done = 0; done < entry.size;) {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), entry.size - done));
            if (file.read_at(entry.offset + done, block.data(), wanted) != wanted)
                throw failure(file.path(), "cannot be read whole");
            out.write(block.data(), wanted);
            done += wanted;
        }
    }

    std::string in_;
    std::string folder_ = ".";
    std::vector<std::string> names_;
    std::uint64_t count_ = 0;
};

// ---- list -----------------------------------------------------------------------------------------------------------

class list : public action
{
public:
    void describe(options &take) override { take.file("IN", "the archive to read", in_); }

    void run(job &work) override
    {
        const input_file file(in_);
        archive_reader archive(file);
        work.result["description"] = archive.description();
        work.result["entries"] = json::array();
        try {
            while (const std::optional<archive_entry> entry = archive.next()) {
                work.line(std::to_string(entry->size) + " " + printable(entry->name));
                if (!work.json_wanted)
                    continue;
                json member = json::object();
                member["name"] = entry->name;
                member["size"] = entry->size;
                member["md5"] = digest_of(file, entry->offset, entry->size);
                member["offset"] = entry->offset;
                work.result["entries"].push_back(std::move(member));
            }
        } catch (const failure &damage) {
            work.failed(damage);
        }
    }

private:
    std::string in_;
};

}  // namespace

extern const command pack_command;
const command pack_command = {
    "pack",
    "put files and folders into an archive",
    "Writes an archive with the content of files, one after another. Folders are taken with all they hold, in the "
    "order of their names. Names in the archive are relative, with \"/\" between folders, and have at most 199 bytes.",
    {{"teska pack proofs.fp scans index.txt --description \"proofs of May\"", "a folder and a file"}},
    make_action<pack>};

extern const command unpack_command;
const command unpack_command = {
    "unpack",
    "take files out of an archive",
    "Writes the entries of an archive as files below a folder, and makes the folders they need. An entry whose name "
    "leads out of the folder is skipped, and the exit code is then 1. Of a damaged archive all entries before the "
    "damage are there.",
    {{"teska unpack proofs.fp --to proofs index.txt", "one entry into the folder proofs"}},
    make_action<unpack>};

extern const command list_command;
const command list_command = {"list",
                              "list the entries of an archive",
                              "Shows size and name of each entry; with --json also its digest, the offset of its "
                              "content, and the archive's description.",
                              {{"teska list proofs.fp", "what is in it"}},
                              make_action<list>};

}  // namespace tool
