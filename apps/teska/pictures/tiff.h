// tiff - what the reader and the writer of TIFF share: files and messages of libtiff

#ifndef TESKA_TOOL_PICTURES_TIFF_H
#define TESKA_TOOL_PICTURES_TIFF_H

#include "frame/failure.h"
#include "pictures/formats.h"

#include <tiffio.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tool
{

// An open file of libtiff with the file it reads or writes, and what was said about it.
class tiff_file
{
public:
    // big  a BigTIFF is written
    tiff_file(job &work, const input_file &file);
    tiff_file(job &work, output_file &file, bool big);
    tiff_file(const tiff_file &) = delete;
    tiff_file &operator=(const tiff_file &) = delete;
    ~tiff_file();

    // Null when libtiff could not open it.
    [[nodiscard]] TIFF *get() const { return tiff_; }
    [[nodiscard]] const std::string &path() const { return path_; }

    // The first problem told since the last call; empty when there was none.
    std::string take_problem();

    // Throws what was told, or what the output could not do.
    [[noreturn]] void fail(const std::string &where);

    // Closes what was written; throws when that fails.
    void close();

    // For the calls of libtiff.
    const input_file *in = nullptr;
    output_file *out = nullptr;
    std::uint64_t position = 0;
    std::optional<failure> refused;
    void told(const char *module, const std::string &text, bool is_warning);

private:
    void open(const char *mode);

    std::string path_;
    library_warnings warnings_;
    std::string problem_;
    TIFF *tiff_ = nullptr;
};

}  // namespace tool

#endif
