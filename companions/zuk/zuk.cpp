// zuk - databases of record files (zuk)
//
// A database is a stack of texts that are edited in memory; record_text knows their syntax. This file holds them
// together: it says which file of the stack answers, and lets nothing be thrown at a caller.
//
// Process-wide state: none.
#include "zuk.h"

#include "database.h"
#include "lopra.h"
#include "whole_file.h"

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

namespace
{

constexpr int first_state = 16;  // smaller values of a listing's state mean its start

// What body returns, or failure when memory runs out. The library has the same under the same name; a companion
// includes nothing of it.
template <class Result, class Body>
Result guarded(Result failure, Body body) noexcept
{
    try {
        return body();
    } catch (...) {
        return failure;
    }
}

zuk_rfile *topmost(const zuk_db &db, std::string_view topic, zuk::topic *&found) noexcept
{
    for (auto file = db.files.rbegin(); file != db.files.rend(); ++file) {
        found = (*file)->text.find(topic);
        if (found)
            return file->get();
    }
    return nullptr;
}

bool owns(const zuk_db &db, const zuk_rfile *rfile)
{
    for (const auto &file : db.files)
        if (file.get() == rfile)
            return true;
    return false;
}

// The absolute form of a path; empty with errno set when there is none.
std::string full_path(const char *path)
{
    struct free_memory {
        void operator()(char *text) const { std::free(text); }
    };
    const std::unique_ptr<char, free_memory> text(full_path_utf8(path));
    return text ? std::string(text.get()) : std::string();
}

bool save(zuk_rfile &file) noexcept
{
    return guarded(false, [&] {
        const std::string text = file.changed ? file.text.write() : std::string();
        if (file.changed && replace_utf8(file.path.c_str(), text.data(), text.size()) != 0)
            return false;
        file.changed = false;
        return true;
    });
}

}  // namespace

zuk_rfile *zuk::push_text(zuk_db &db, std::string path, std::string_view text)
{
    auto file = std::make_unique<zuk_rfile>();
    file->path = std::move(path);
    if (!file->text.read(text))
        return nullptr;
    db.files.push_back(std::move(file));
    return db.files.back().get();
}

zuk_db *zuk_open(void) noexcept { return new (std::nothrow) zuk_db; }

zuk_rfile *zuk_create_rfile(zuk_db *db, const char *path) noexcept
{
    return guarded<zuk_rfile *>(nullptr, [&]() -> zuk_rfile * {
        std::string full = full_path(path);
        if (!db || full.empty())
            return nullptr;
        // The file comes last: nothing may fail any more once an old one is gone.
        zuk_rfile *made = zuk::push_text(*db, std::move(full), "");
        if (replace_utf8(made->path.c_str(), "", 0) == 0)
            return made;
        db->files.pop_back();
        return nullptr;
    });
}

zuk_rfile *zuk_push_rfile(zuk_db *db, const char *path) noexcept
{
    return guarded<zuk_rfile *>(nullptr, [&]() -> zuk_rfile * {
        std::string full = full_path(path);
        std::string bytes;
        if (!db || full.empty() || !zuk::load_file(full.c_str(), bytes))
            return nullptr;
        return zuk::push_text(*db, std::move(full), bytes);
    });
}

int zuk_close(zuk_db *db) noexcept
{
    delete db;
    return 0;
}

int zuk_add_topic(zuk_db *db, zuk_rfile *rfile, const char *topic, const char *comment) noexcept
{
    return guarded(-1, [&] {
        const std::string_view text = comment ? comment : "";
        if (!db || !topic || !owns(*db, rfile) || !zuk::is_topic_name(topic) || !zuk::is_comment(text))
            return -1;
        if (rfile->text.find(topic))
            return 0;
        rfile->text.add(topic, text);
        rfile->changed = true;
        return 0;
    });
}

int zuk_add_item(zuk_db *db, const char *topic, const char *name, const char *value, const char *) noexcept
{
    return guarded(-1, [&] {
        if (!db || !topic || !name || !value || !zuk::is_item_name(name) || !zuk::is_value(value))
            return -1;
        zuk::topic *found = nullptr;
        zuk_rfile *file = topmost(*db, topic, found);
        if (!file)
            return -1;
        if (found->set(name, value))
            file->changed = true;
        return 0;
    });
}

char *zuk_list_item(zuk_db *db, const char *topic, int *state) noexcept
{
    zuk::topic *found = nullptr;
    if (!db || !topic || !topmost(*db, topic, found))
        return nullptr;
    const std::size_t index = *state < first_state ? 0 : static_cast<std::size_t>(*state - first_state);
    if (index >= found->items.size() || index >= INT_MAX - first_state)
        return nullptr;
    *state = first_state + static_cast<int>(index) + 1;
    return found->items[index]->name.data();
}

int zuk_search(zuk_db *db, const char *topic, const char *name, char *value) noexcept
{
    zuk::topic *found = nullptr;
    if (!db || !topic || !name || !topmost(*db, topic, found))
        return -1;
    const zuk::item *item = found->find(name);
    if (!item)
        return -1;
    const std::string_view text = zuk::value_of(*item);
    value[text.copy(value, zuk::value_length_max)] = '\0';
    return 0;
}

int zuk_flush(zuk_db *db) noexcept
{
    if (!db)
        return -1;
    int result = 0;
    for (const auto &file : db->files)
        if (!save(*file))
            result = -1;
    return result;
}
