// wemfile - record files, found in the folders of a search list (files)
//
// A name is looked for under one path for each folder, or under its own alone:
//
//     name    PRESS:[inks]coated.rec      PRESS is "press"    ->  press\inks\coated.rec
//     search  USER:;;SYSTEM:[tables]                          ->  /home/eva/press/inks/coated.rec
//                                                                 /usr/share/tables/press/inks/coated.rec
//
// fport joins by "\" and leaves its destination as it is, without a word, when a translation is too long for it: it
// gets more room than it can fill, empty before. It writes one byte more than the size that it is told.
//
// Process-wide state: none of its own; fport reads the logical names.
#include "wemfile.h"

#include "Support/growing.h"
#include "Support/memory.h"
#include "Support/report.h"

#include "fport.h"

#include <lopra.h>
#include <zuk.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{

using teska::growing;

using owned_db = teska::handle<zuk_db, zuk_close>;

constexpr std::size_t fport_length_max = 255;
constexpr int translation_size = 1024;
constexpr int mode_all = 4;
constexpr int mode_max = 2;

enum class outcome { done, too_long, missing, read_only, bad, no_memory };

outcome failed(outcome result, int error) noexcept
{
    errno = error;
    return result;
}

struct candidate {
    int path;  // where it begins in the texts
    bool exists;
};

class opener
{
public:
    explicit opener(int mode) noexcept : mode_(mode & ~mode_all), all_((mode & mode_all) != 0) {}

    outcome run(const char *name, const char *search, char *found, int size) noexcept
    {
        outcome result = collect(name, search);
        if (result == outcome::done)
            result = look();
        if (result == outcome::done && found != nullptr && !fits(size))
            result = failed(outcome::too_long, ENAMETOOLONG);
        if (result == outcome::done && first_exists() && mode_ != 0)
            result = check_writable();
        if (result == outcome::done)
            result = load();
        if (result == outcome::done && found != nullptr)
            std::memcpy(found, first(), std::strlen(first()) + 1);
        return result;
    }

    zuk_db *release() noexcept { return db_.release(); }

private:
    [[nodiscard]] const char *path(const candidate &one) const noexcept { return texts_.begin() + one.path; }
    [[nodiscard]] const char *first() const noexcept { return path(candidates_[first_]); }
    [[nodiscard]] bool first_exists() const noexcept { return candidates_[first_].exists; }
    [[nodiscard]] bool fits(int size) const noexcept
    {
        return size > 0 && std::strlen(first()) < static_cast<std::size_t>(size);
    }

    // ---- Paths

    static outcome translate(const char *text, std::size_t length, char (&path)[translation_size + 1]) noexcept
    {
        char name[fport_length_max + 1] = {};
        if (length > fport_length_max)
            return failed(outcome::too_long, ENAMETOOLONG);
        std::memcpy(name, text, length);
        path[0] = '\0';
        fport(path, translation_size, name);
        return path[0] != '\0' ? outcome::done : failed(outcome::too_long, ENAMETOOLONG);
    }

    // From a root, or from a device.
    static bool is_absolute(const char *path) noexcept
    {
        return path[std::strcspn(path, "/\\:")] == ':' || *path == '/' || *path == '\\';
    }

    // With "/" between the parts, one for several but at the front, where two name a computer.
    bool append(const char *text, int start) noexcept
    {
        for (; *text != '\0'; ++text) {
            const bool separator = *text == '/' || *text == '\\';
            if (separator && texts_.size() > start + 1 && texts_.last() == '/')
                continue;
            if (!texts_.push(separator ? '/' : *text))
                return false;
        }
        return true;
    }

    outcome add(const char *folder, const char *name) noexcept
    {
        const int start = texts_.size();
        const bool joined = append(folder, start) && (*folder == '\0' || append("/", start));
        const bool added = joined && append(name, start) && texts_.push('\0') && candidates_.push({start, false});
        return added ? outcome::done : failed(outcome::no_memory, ENOMEM);
    }

    outcome collect(const char *name, const char *search) noexcept
    {
        char file[translation_size + 1];
        outcome result = translate(name, std::strlen(name), file);
        if (result != outcome::done)
            return result;
        const char *rest = search != nullptr && !is_absolute(file) ? search : "";
        while (*rest != '\0') {
            const std::size_t length = std::strcspn(rest, ";");
            char folder[translation_size + 1];
            if (length != 0 && (result = translate(rest, length, folder)) == outcome::done)
                result = add(folder, file);
            if (result != outcome::done)
                return result;
            rest += length + (rest[length] == ';' ? 1 : 0);
        }
        return candidates_.size() != 0 ? outcome::done : add("", file);
    }

    // ---- Files

    // Finds the first that exists; where none does and one may be made, that is the first of all.
    outcome look() noexcept
    {
        first_ = -1;
        for (candidate &one : candidates_.all()) {
            lopra_stat32 status;
            one.exists = stat32_utf8(path(one), &status) == 0 || errno == EOVERFLOW;
            if (!one.exists && errno == ENOMEM)
                return outcome::no_memory;
            if (one.exists && first_ < 0)
                first_ = static_cast<int>(&one - candidates_.begin());
        }
        if (first_ < 0 && mode_ != mode_max)
            return failed(outcome::missing, ENOENT);
        first_ = std::max(first_, 0);
        return outcome::done;
    }

    // As the host says, and as zuk_flush will ask, which replaces no file without the permission, whoever asks.
    outcome check_writable() const noexcept
    {
        lopra_stat32 status;
        const int descriptor = open_utf8(first(), LOPRA_O_RDWR);
        if (descriptor < 0 && (errno == EISDIR || errno == ENOENT))
            return outcome::done;  // what it is shows when it is loaded
        if (descriptor < 0)
            return errno == ENOMEM ? outcome::no_memory : outcome::read_only;
        close_utf8(descriptor);
        if (stat32_utf8(first(), &status) != 0)
            return errno == ENOMEM ? outcome::no_memory : outcome::done;
        return (status.st_mode & LOPRA_S_IWRITE) != 0 ? outcome::done : failed(outcome::read_only, EACCES);
    }

    outcome load() noexcept
    {
        db_.reset(zuk_open());
        if (!db_)
            return failed(outcome::no_memory, ENOMEM);
        if (!first_exists())
            return create();
        // What is pushed last is on top.
        for (int i = all_ ? candidates_.size() - 1 : first_; i >= first_; --i) {
            errno = 0;
            if (candidates_[i].exists && zuk_push_rfile(db_.get(), path(candidates_[i])) == nullptr)
                return errno == ENOMEM ? outcome::no_memory : outcome::bad;
        }
        return outcome::done;
    }

    outcome create() noexcept
    {
        errno = 0;
        if (zuk_create_rfile(db_.get(), first()) != nullptr)
            return outcome::done;
        if (errno == ENOMEM)
            return outcome::no_memory;
        return errno == ENOENT || errno == ENOTDIR ? outcome::missing : outcome::read_only;
    }

    int mode_;
    bool all_;
    growing<char> texts_;  // the paths, each with its zero
    growing<candidate> candidates_;
    int first_ = 0;
    owned_db db_;
};

}  // namespace

zuk_db *teska_wemopen_file(const char *name, const char *search, int mode, char *found, int size) TESKA_NOTHROW
{
    if (name == nullptr || *name == '\0') {
        TESKA_ERR("teska_wemopen_file: illegal name");
        errno = EINVAL;
        return nullptr;
    }
    if (mode < 0 || (mode & ~mode_all) > mode_max) {
        TESKA_ERR("teska_wemopen_file: illegal mode");
        errno = EINVAL;
        return nullptr;
    }
    opener file(mode);
    const outcome result = file.run(name, search, found, size);
    const int error = errno;
    switch (result) {
    case outcome::done:
        return file.release();
    case outcome::too_long:
        TESKA_ERR("teska_wemopen_file: path too long");
        break;
    case outcome::missing:
        TESKA_ERR("teska_wemopen_file: file not found");
        break;
    case outcome::read_only:
        TESKA_ERR("teska_wemopen_file: file is read-only");
        break;
    case outcome::bad:
        TESKA_ERR("teska_wemopen_file: bad record file");
        break;
    case outcome::no_memory:
        TESKA_ERR("teska_wemopen_file: malloc failure");
        break;
    }
    errno = error;
    return nullptr;
}
