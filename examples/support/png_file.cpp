// png_file - pictures from and to PNG files, through libpng
//
// libpng's simplified interface keeps its errors in the image record, so that no jump and no exception crosses it.

#include "support/png_file.h"

#include "support/failure.h"
#include "support/foreign.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace examples
{

namespace
{

// 64 megapixels: every page of an A3 sheet at 600 dpi fits; a damaged header cannot ask for all memory.
constexpr std::size_t most_pixels = std::size_t{1} << 26;

std::string system_text() { return std::generic_category().message(errno); }

// libpng frees what a record holds by itself when a call fails, and after the last successful one.
class png_record
{
public:
    png_record() { image_.version = PNG_IMAGE_VERSION; }
    png_record(const png_record &) = delete;
    png_record &operator=(const png_record &) = delete;
    ~png_record() { png_image_free(&image_); }

    png_image *operator->() { return &image_; }
    png_image *get() { return &image_; }

private:
    png_image image_{};
};

int as_int(png_uint_32 size) { return static_cast<int>(size); }

}  // namespace

picture read_png(const std::filesystem::path &file)
{
    const foreign<std::FILE, std::fclose> stream(std::fopen(file.c_str(), "rb"));
    if (!stream)
        throw failure("cannot read the photograph " + file.string() + ": " + system_text());

    png_record image;
    if (png_image_begin_read_from_stdio(image.get(), stream.get()) == 0)
        throw failure(file.string() + " is not a PNG picture: " + image->message);
    if (std::size_t{image->width} * image->height > most_pixels)
        throw failure(file.string() + " is too large: more than 64 megapixels");

    image->format = PNG_FORMAT_RGB;
    picture result(as_int(image->width), as_int(image->height), 3);
    const png_color white = {255, 255, 255};
    if (png_image_finish_read(image.get(), &white, result.samples.data(), 0, nullptr) == 0)
        throw failure(file.string() + " is damaged: " + image->message);
    return result;
}

void write_png(const std::filesystem::path &file, const picture &image)
{
    png_record record;
    record->width = static_cast<png_uint_32>(image.width);
    record->height = static_cast<png_uint_32>(image.height);
    record->format = image.channels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    if (png_image_write_to_file(record.get(), file.c_str(), 0, image.samples.data(), 0, nullptr) == 0)
        throw failure("cannot write " + file.string() + ": " + record->message);
}

}  // namespace examples
