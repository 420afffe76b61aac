// rsys_site - a folder of a test's own, with the calls of rsys on what is in it

#ifndef TESKA_TESTS_RSYS_SITE_H
#define TESKA_TESTS_RSYS_SITE_H

#include "support/test.h"

#include "rsys.h"

namespace teska_test
{

constexpr int everything = RSYS_DEEP | RSYS_FOLDERS | RSYS_HIDDEN;

// What progress is told, what is done then, and when to stop.
struct Watch {
    std::vector<std::string> calls = {};  // "name done/total"
    std::size_t stop_at = std::numeric_limits<std::size_t>::max();
    std::function<void(const std::string &path)> act = nullptr;

    static int call(const char *path, long long done, long long total, void *context)
    {
        auto &self = *static_cast<Watch *>(context);
        const std::string name = path;
        self.calls.push_back(name.substr(name.rfind('/') + 1) + " " + std::to_string(done) + "/" +
                             std::to_string(total));
        if (self.act)
            self.act(name);
        return self.calls.size() >= self.stop_at ? 1 : 0;
    }
};

struct Site : Folder {
    int copy(const std::string &from, const std::string &to, int flags = 0, Watch *watch = nullptr) const
    {
        return rsys_copy(path(from).c_str(), path(to).c_str(), flags, watch != nullptr ? Watch::call : nullptr, watch);
    }
    int remove(const std::string &name, Watch *watch = nullptr) const
    {
        return rsys_remove(path(name).c_str(), watch != nullptr ? Watch::call : nullptr, watch);
    }
    int make(const std::string &name) const { return rsys_make_folder(path(name).c_str()); }
    int kind(const std::string &name) const { return rsys_kind(path(name).c_str()); }

    std::shared_ptr<rsys_dir> list(const std::string &name, const char *pattern, int flags) const
    {
        return {rsys_dir_new(path(name).c_str(), pattern, flags), rsys_dir_kill};
    }

    // "path:kind:depth:size" of each entry, and how many names were passed over unless that is 0.
    std::string listed(const std::string &name, const char *pattern = "", int flags = everything) const
    {
        const auto dir = list(name, pattern, flags);
        std::string text;
        for (int i = 0; dir && i < rsys_dir_num(dir.get()); ++i) {
            const rsys_entry &one = *rsys_dir_get(dir.get(), i);
            text += (i > 0 ? " " : "") + std::string(one.path) + ":" + std::to_string(one.kind) + ":" +
                    std::to_string(one.depth) + ":" + std::to_string(one.size);
            EXPECT_EQ(one.path + (std::string(one.path).rfind('/') + 1), one.name);
        }
        const int skipped = dir ? rsys_dir_skipped(dir.get()) : -1;
        return skipped == 0 ? text : text + " (" + std::to_string(skipped) + ")";
    }
};

}  // namespace teska_test

#endif
