// tiff - what the reader and the writer of TIFF share: files and messages of libtiff

#include "pictures/tiff.h"

#include "frame/job.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace tool
{

namespace
{

tiff_file &file_of(thandle_t handle) { return *static_cast<tiff_file *>(handle); }

extern "C" tmsize_t tiff_take(thandle_t handle, void *data, tmsize_t size)
{
    tiff_file &file = file_of(handle);
    try {
        const auto wanted = static_cast<std::size_t>(size);
        const std::size_t got = file.in != nullptr ? file.in->read_at(file.position, data, wanted)
                                                   : (file.out->seek(file.position), file.out->read(data, wanted));
        file.position += got;
        return static_cast<tmsize_t>(got);
    } catch (const failure &problem) {
        file.refused = problem;
        return -1;
    }
}

extern "C" tmsize_t tiff_give(thandle_t handle, void *data, tmsize_t size)
{
    tiff_file &file = file_of(handle);
    if (file.out == nullptr)
        return -1;
    try {
        file.out->seek(file.position);
        file.out->write(data, static_cast<std::size_t>(size));
        file.position += static_cast<std::uint64_t>(size);
        return size;
    } catch (const failure &problem) {
        file.refused = problem;
        return -1;
    }
}

std::uint64_t size_of(const tiff_file &file) { return file.in != nullptr ? file.in->size() : file.out->size(); }

extern "C" toff_t tiff_seek(thandle_t handle, toff_t offset, int from)
{
    tiff_file &file = file_of(handle);
    file.position = offset + (from == SEEK_SET ? 0 : from == SEEK_CUR ? file.position : size_of(file));
    return file.position;
}

extern "C" int tiff_closed(thandle_t) { return 0; }
extern "C" toff_t tiff_size(thandle_t handle) { return size_of(file_of(handle)); }

[[gnu::format(printf, 1, 0)]] std::string formatted(const char *format, std::va_list arguments)
{
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    return text;
}

extern "C" [[gnu::format(printf, 4, 0)]] int tiff_failed(TIFF *, void *file, const char *module, const char *format,
                                                         std::va_list arguments)
{
    static_cast<tiff_file *>(file)->told(module, formatted(format, arguments), false);
    return 1;
}

extern "C" [[gnu::format(printf, 4, 0)]] int tiff_warned(TIFF *, void *file, const char *module, const char *format,
                                                         std::va_list arguments)
{
    static_cast<tiff_file *>(file)->told(module, formatted(format, arguments), true);
    return 1;
}

}  // namespace

tiff_file::tiff_file(job &work, const input_file &file) : in(&file), path_(file.path()), warnings_(work, path_)
{
    open("rm");
}

tiff_file::tiff_file(job &work, output_file &file, bool big) : out(&file), path_(file.path()), warnings_(work, path_)
{
    open(big ? "w8" : "w");
    if (tiff_ == nullptr)
        fail("");
}

void tiff_file::open(const char *mode)
{
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree);
    if (!options)
        throw std::bad_alloc();
    TIFFOpenOptionsSetMaxSingleMemAlloc(
        options.get(), static_cast<tmsize_t>(std::min<std::uint64_t>(largest_block + 65536, PTRDIFF_MAX)));
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), tiff_failed, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), tiff_warned, this);
    tiff_ = TIFFClientOpenExt(path_.c_str(), mode, this, tiff_take, tiff_give, tiff_seek, tiff_closed, tiff_size,
                              nullptr, nullptr, options.get());
}

tiff_file::~tiff_file()
{
    // What is written at closing belongs to a file that nobody will see.
    if (tiff_ != nullptr)
        TIFFCleanup(tiff_);
}

std::string tiff_file::take_problem() { return std::exchange(problem_, ""); }

void tiff_file::fail(const std::string &where)
{
    if (refused)
        throw *refused;
    const std::string text = take_problem();
    throw failure(path_, where + (text.empty() ? "damaged" : text));
}

void tiff_file::close()
{
    const bool flushed = TIFFFlush(tiff_) != 0;
    if (!flushed || refused || !problem_.empty())
        fail("");
    TIFFCleanup(std::exchange(tiff_, nullptr));
}

void tiff_file::told(const char *module, const std::string &text, bool is_warning)
{
    const std::string said = module != nullptr ? module : "";
    // A decoder that goes on with gray is no decoder.
    const bool is_damage = said.find("JPEG") != std::string::npos &&
                           (text.starts_with("Premature end") || text.starts_with("Corrupt JPEG data"));
    // Six inks and an alpha are an "error" that calls itself a warning.
    if ((is_warning && !is_damage) || text.starts_with("Warning")) {
        if (text.find("NumberOfInks") == std::string::npos)
            warnings_.add(text);
        return;
    }
    const bool ends = text.starts_with("Read error") || text.find("Premature end") != std::string::npos;
    if (problem_.empty())
        problem_ = ends ? "the file ends early" : text;
}

}  // namespace tool
