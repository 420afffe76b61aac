// database - the records of zuk.h (zuk, private)
#ifndef ZUK_DATABASE_H
#define ZUK_DATABASE_H

#include "record_text.h"
#include "zuk.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct zuk_rfile {
    std::string path;  // absolute
    zuk::record_text text;
    bool changed = false;  // differs from what is on the disk
};

struct zuk_db {
    std::vector<std::unique_ptr<zuk_rfile>> files;  // the topmost one last
};

namespace zuk
{

// Puts a record file with this text on top of the stack; null when it is no record text. May throw std::bad_alloc.
zuk_rfile *push_text(zuk_db &db, std::string path, std::string_view text);

}  // namespace zuk

#endif
