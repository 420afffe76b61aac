// archive - the class FilePacker for C and for other languages (files)
//
// The record is a FilePacker; nothing is added but a failed opening that leaves no record. No process-wide state.

#include "archive.h"

#include "Support/report.h"

#include "filepacker.h"

#include <memory>
#include <new>

struct archive {
    archive(const char *path, int mode, const char *description) : packer(path, mode, description) {}

    FilePacker packer;
};

namespace
{

constexpr int create_mode = 0;
constexpr int read_mode = 1;
constexpr int no_memory = 6;  // as FilePacker says it

archive *made(const char *path, int mode, const char *description, int &failure)
{
    std::unique_ptr<archive> a(new (std::nothrow) archive(path, mode, description));
    failure = a ? a->packer.GetError(nullptr) : no_memory;
    return failure == 0 ? a.release() : nullptr;
}

}  // namespace

archive *archive_create(const char *path, const char *description, int *code) TESKA_NOTHROW
{
    int failure = 0;
    archive *const a = made(path, create_mode, description, failure);
    if (code != nullptr)
        *code = failure;
    if (failure == no_memory)
        TESKA_ERR("archive_create: insufficient memory");
    else if (failure != 0)
        TESKA_ERR("archive_create: cannot create archive");
    return a;
}

archive *archive_open(const char *path, int *code) TESKA_NOTHROW
{
    int failure = 0;
    archive *const a = made(path, read_mode, nullptr, failure);
    if (code != nullptr)
        *code = failure;
    if (failure == no_memory)
        TESKA_ERR("archive_open: insufficient memory");
    else if (failure != 0)
        TESKA_ERR("archive_open: cannot open archive");
    return a;
}

archive *archive_kill(archive *a) TESKA_NOTHROW
{
    delete a;
    return nullptr;
}

int archive_add(archive *a, const char *name, const char *bytes, int length) TESKA_NOTHROW
{
    return a->packer.AddFileAsBuffer(bytes, length, name);
}

int archive_add_file(archive *a, const char *path, const char *name) TESKA_NOTHROW
{
    return a->packer.AddFile(path, name);
}

int archive_next(archive *a, char **bytes, int *length, char *name) TESKA_NOTHROW
{
    long size = 0;
    const int code = a->packer.UnpackFileAsBuffer(bytes, &size, name);
    *length = static_cast<int>(size);
    return code;
}

int archive_get_error(archive *a, char *text) TESKA_NOTHROW { return a->packer.GetError(text); }

int archive_get_description(archive *a, char *text) TESKA_NOTHROW { return a->packer.GetDescription(text); }
