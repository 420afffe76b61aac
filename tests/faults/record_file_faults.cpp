// Record files and the tables in them, with every allocation and every file call failing in turn
#include "support/folder.h"

#include "faults/sweep.h"
#include "file_double.h"
#include "zuk.h"

#include <filesystem>
#include <iterator>
#include <memory>
#include <string>

namespace teska_test
{

namespace
{

const char *const old_text = "[patches]\nblack = 1\n";

// A file with an item, loaded and changed but not saved.
struct Setup {
    Setup()
    {
        folder.write("f", old_text);
        rfile = zuk_push_rfile(db.get(), path.c_str());
        zuk_add_item(db.get(), "patches", "black", "2", "");
    }

    // What a failure must leave as it was, in memory and on the disk.
    std::string state() const
    {
        std::string text = folder.listing() + ": " + folder.read("f");
        char value[ZUK_VALUE_SIZE];
        int place = 0;
        while (const char *name = zuk_list_item(db.get(), "patches", &place))
            text.append(name).append(zuk_search(db.get(), "patches", name, value) == 0 ? value : "?").append(";");
        return text;
    }

    Folder folder;
    std::string path = folder.path("f");
    std::shared_ptr<zuk_db> db{zuk_open(), zuk_close};
    zuk_rfile *rfile = nullptr;
};

using Shared = std::shared_ptr<Setup>;

SweepRow row(const char *name, bool (*call)(const Shared &setup))
{
    return changing<Shared>(name, std::make_shared<Setup>, call, [](const Shared &setup) { return setup->state(); },
                            {{}});
}

const char *long_name = "a name that does not fit into a short text";

std::unique_ptr<file_double, int (*)(file_double *)> open_table(const Shared &setup, int create)
{
    return {file_double_new(setup->path.c_str(), 1, create), file_double_kill};
}

const SweepRows rows({
    row("zuk_open", [](const Shared &) { return made(zuk_open(), zuk_close); }),
    row("zuk_create_rfile", [](const Shared &s) { return zuk_create_rfile(s->db.get(), s->path.c_str()) != nullptr; }),
    row("zuk_push_rfile", [](const Shared &s) { return zuk_push_rfile(s->db.get(), s->path.c_str()) != nullptr; }),
    row("zuk_add_topic", [](const Shared &s) { return gave(0, zuk_add_topic(s->db.get(), s->rfile, long_name, "")); }),
    row("zuk_add_item",
        [](const Shared &s) { return gave(0, zuk_add_item(s->db.get(), "patches", long_name, "1", "")); }),
    row("zuk_add_item_again",
        [](const Shared &s) { return gave(0, zuk_add_item(s->db.get(), "patches", "black", long_name, "")); }),
    row("zuk_flush", [](const Shared &s) { return gave(0, zuk_flush(s->db.get())); }),
    row("file_double_new", [](const Shared &s) { return open_table(s, 0) != nullptr; }),
    {.name = "file_double_new_create",
     .make = [] { return SweepCase{.call = [s = std::make_shared<Setup>()] { return open_table(s, 1) != nullptr; }}; },
     .once = {{}}},
});

// ---- File calls

// A call that replaces the file, or reads it, and what the file then holds.
struct Operation {
    const char *name;
    bool (*call)(Setup &setup);
    const char *result;
    int harmless;  // interrupted calls that are made again or do not count: a read after the end, a close
};

const Operation operations[] = {
    {"flush", [](Setup &s) { return zuk_flush(s.db.get()) == 0; }, "[patches]\nblack = 2\n", 6},
    {"create", [](Setup &s) { return zuk_create_rfile(s.db.get(), s.path.c_str()) != nullptr; }, "", 5},
    {"push",
     [](Setup &s) {
         char value[ZUK_VALUE_SIZE] = "1";
         const bool pushed = zuk_push_rfile(s.db.get(), s.path.c_str()) != nullptr;
         EXPECT_TRUE(!pushed || (zuk_search(s.db.get(), "patches", "black", value) == 0 && *value == '1'));
         return pushed;
     },
     old_text, 2},
};

std::ptrdiff_t open_descriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

// Every call failing in turn. Returns how many failures made no difference.
int sweep(const Operation &operation, bool sticky, file_fault fault)
{
    SCOPED_TRACE(operation.name);
    int survived = 0;
    const int rounds = each_fault(fault_kind::files, sticky, fault, [&](const auto &fire) {
        Setup setup;
        std::vector<file_step> steps;
        const std::ptrdiff_t descriptors = open_descriptors();
        record_files(&steps);
        fire();
        const bool succeeded = operation.call(setup);
        const bool fired = disarm() > 0;
        survived += fired && succeeded ? 1 : 0;
        record_files(nullptr);
        std::string made;
        for (const file_step &step : steps)
            made += "owfcru"[step.call];
        const bool renamed = made.find('r') != std::string::npos;
        EXPECT_TRUE(succeeded || fired);
        // Saved means: written, flushed, renamed, the folder flushed.
        const bool saved = made.find("frf") != std::string::npos || made.find("frcf") != std::string::npos;
        EXPECT_TRUE(!succeeded || operation.result == old_text || saved) << made;
        EXPECT_EQ(setup.folder.read("f"), renamed ? operation.result : old_text);
        EXPECT_EQ(open_descriptors(), descriptors);
        EXPECT_TRUE(sticky || setup.folder.listing() == "f") << setup.folder.listing();
        EXPECT_TRUE(operation.call(setup)) << "fails when tried again";
        EXPECT_EQ(setup.folder.read("f"), operation.result);
        return fired;
    });
    EXPECT_GT(rounds, 4);
    return survived;
}

TEST(RecordFile, SurvivesEveryFailingFileCall)
{
    for (const Operation &operation : operations) {
        for (const bool sticky : {false, true})
            for (const file_fault &fault :
                 {file_fault{.error = ENOSPC}, {.error = EIO}, {.error = EIO, .partial = true}})
                sweep(operation, sticky, fault);
        EXPECT_EQ(sweep(operation, false, {.error = EINTR}), operation.harmless) << operation.name;
    }
}

}  // namespace

}  // namespace teska_test
