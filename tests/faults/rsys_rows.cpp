// Folders and search lists, with every allocation failing in turn
#include "faults/sweep.h"
#include "files/rsys_site.h"
#include "wemfile.h"
#include "zuk.h"

#include <filesystem>

namespace teska_test
{

namespace
{

// A tree with names that fill more than the first blocks, a link, and a target that takes files in.
struct Tree : Site {
    Tree()
    {
        const std::string long_name(70, 'd');
        for (const std::string &name : {"from/" + long_name + "/in", "into/" + long_name, std::string("second")})
            std::filesystem::create_directories(path(name));
        for (int i = 0; i < 20; ++i)
            write("from/" + std::string(20, 'f') + std::to_string(i), "content");
        write("from/" + long_name + "/in/f", "content");
        std::filesystem::create_symlink("nowhere", path("from/link"));
        write("old.rec", "[a]\nb = 1\n");
        write("second/old.rec", "[b]\nb = 1\n");
    }

    // What is there, without names that a copy had no memory to take back.
    std::string state() const
    {
        std::string text;
        for (const auto &one : std::filesystem::recursive_directory_iterator(path()))
            if (one.path().string().find(".tmp") == std::string::npos)
                text += one.path().string() + "\n";
        return text + read("old.rec");
    }

    std::string from = path("from"), file = path("old.rec"), link = path("from/link"), to = path("to"),
                into = path("into"), search = path("second") + ";" + path();
};

using Shared = std::shared_ptr<Tree>;

SweepRow row(const char *name, bool (*call)(const Shared &tree), SweepReports once, bool unchanged = true)
{
    using State = std::string (*)(const Shared &tree);
    const State state = [](const Shared &tree) { return tree->state(); };
    return changing<Shared>(name, std::make_shared<Tree>, call, unchanged ? state : nullptr, std::move(once));
}

bool copied(const std::string &from, const std::string &to, int flags)
{
    return gave(0, rsys_copy(from.c_str(), to.c_str(), flags, nullptr, nullptr));
}

bool opened(const char *name, const std::string &search, int mode)
{
    zuk_db *db = teska_wemopen_file(name, search.c_str(), mode, nullptr, 0);
    return made(db, zuk_close);
}

const SweepReports no_copy = {{"rsys_copy: malloc failure"}};
const SweepReports not_opened = {{"teska_wemopen_file: malloc failure"}};

const SweepRows rows({
    row("rsys_dir_new",
        [](const Shared &t) {
            return made(rsys_dir_new(t->from.c_str(), "", RSYS_DEEP | RSYS_FOLDERS | RSYS_FOLLOW), rsys_dir_kill);
        },
        {{"rsys_dir_new: malloc failure"}}),
    row("rsys_kind", [](const Shared &t) { return gave(RSYS_FOLDER, rsys_kind(t->from.c_str())); }, {{}}),
    row("rsys_make_folder", [](const Shared &t) { return gave(0, rsys_make_folder(t->to.c_str())); },
        {{"rsys_make_folder: cannot make folder"}}),
    row(
        "rsys_copy_file", [](const Shared &t) { return copied(t->file, t->to, 0); }, no_copy),
    row(
        "rsys_copy_link", [](const Shared &t) { return copied(t->link, t->to, 0); }, no_copy),
    row(
        "rsys_copy_tree", [](const Shared &t) { return copied(t->from, t->to, 0); }, no_copy),
    row(
        "rsys_copy_into", [](const Shared &t) { return copied(t->from, t->into, RSYS_REPLACE); }, no_copy, false),
    row(
        "rsys_remove", [](const Shared &t) { return gave(0, rsys_remove(t->from.c_str(), nullptr, nullptr)); },
        {{"rsys_remove: malloc failure"}}, false),
    row(
        "teska_wemopen_file", [](const Shared &t) { return opened("old.rec", t->search, 5); }, not_opened),
    row(
        "teska_wemopen_file_new", [](const Shared &t) { return opened("none.rec", t->search, 2); }, not_opened, false),
});

}  // namespace

}  // namespace teska_test
