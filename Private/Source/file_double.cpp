// file_double - named vectors of doubles in a record file (text)
//
// A thin layer over the record files of ZUK: a vector is an item of the topic "patches", its numbers written and read
// by vd. The record file holds everything; the table knows only its length.
//
//     [patches]
//     cyan = 0.250  150.0  -1234
//     _internal_ = for other programs, not a vector
//
// No state.

#include "file_double.h"

#include "Support/memory.h"
#include "Support/vd.h"

#include "str_utils.h"
#include "zuk.h"

#include <cstdio>

struct file_double {
    char path[128];  // as given, cut to what fits; messages and debuggers only
    teska::handle<zuk_db, zuk_close> db;
    zuk_rfile *rfile;  // owned by the database
    int length;        // doubles of a vector
};

namespace
{

constexpr const char *topic = "patches";
constexpr const char *bookkeeping = "_internal_";
constexpr std::size_t item_text_size = 160;

zuk_rfile *make_rfile(zuk_db *db, const char *path)
{
    zuk_rfile *rfile = zuk_create_rfile(db, path);
    return rfile != nullptr && zuk_add_topic(db, rfile, topic, "") == 0 ? rfile : nullptr;
}

// The next item that is a vector.
char *next_name(file_double *table, int *state)
{
    char *name = nullptr;
    do {
        name = zuk_list_item(table->db.get(), topic, state);
        // Kept: 2 means the start of a listing to a record library, and is never handed on as a place.
        if (*state == 2)
            *state = 1;
    } while (name != nullptr && strcmp_ci(name, bookkeeping) == 0);
    return name;
}

}  // namespace

file_double *file_double_new(const char *path, int length, int create) TESKA_NOTHROW
{
    auto table = teska::make_record<file_double>();
    if (!table || path == nullptr)
        return nullptr;
    std::snprintf(table->path, sizeof table->path, "%s", path);
    table->length = length;
    table->db.reset(zuk_open());
    if (!table->db)
        return nullptr;
    table->rfile = create != 0 ? make_rfile(table->db.get(), path) : zuk_push_rfile(table->db.get(), path);
    return table->rfile != nullptr ? table.release() : nullptr;
}

int file_double_kill(file_double *table) TESKA_NOTHROW
{
    teska::kill_record(table);
    return 0;
}

int file_double_add_item(file_double *table, const char *name, const double *vector) TESKA_NOTHROW
{
    char text[item_text_size];
    if (teska::vd_print_reported(vector, table->length, text, sizeof text) != 0)
        return -1;
    return zuk_add_item(table->db.get(), topic, name, text, "") == 0 ? 0 : -1;
}

char *file_double_list(file_double *table, int *state, double *vector) TESKA_NOTHROW
{
    char *name = next_name(table, state);
    char value[ZUK_VALUE_SIZE];
    if (name == nullptr || zuk_search(table->db.get(), topic, name, value) != 0)
        return nullptr;
    return vd_from_str(value, table->length, vector) == 0 ? name : nullptr;
}

int file_double_save(file_double *table) TESKA_NOTHROW { return zuk_flush(table->db.get()); }
