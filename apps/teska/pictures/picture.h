// picture - pages of pictures, read and written line by line, whatever their format
//
//     const input_file file(path);
//     const std::unique_ptr<picture_reader> in = open_picture(work, file, options);
//     output_file saved(work, out_path, {&file});
//     const std::unique_ptr<picture_writer> out = make_picture(work, saved, format, options);
//     while (in->next_page()) {
//         page_facts page = in->page();                           what is in the file; change what will be different
//         require_holdable(out_path, format, page, in->pages());
//         std::vector<std::uint8_t> line(page.line_bytes());
//         out->begin_page(page);
//         for (std::uint32_t y = 0; y < page.height; ++y) {
//             in->read_line(line.data());
//             out->write_line(line.data());
//         }
//         out->end_page();
//     }
//     out->finish();
//     saved.publish();
//
// Samples of a line lie pixel by pixel: first the colours, then the extra samples. They are bytes, or 16 bits in the
// host's order when the depth is 16. 0 is black, or no ink; the largest sample is white, or full ink. Lab is L 0 .. 100
// over the whole range and a, b + 128, 257 steps a unit with 16 bits, as ICC profiles of version 4 have it. Palettes,
// YCbCr, fewer than 8 bits and white-is-zero are gone when a line is read.
//
// Whatever is wrong with a file is thrown as a failure that says in which line. A reader and a writer serve one thread
// at a time; two of them do not disturb each other.

#ifndef TESKA_TOOL_PICTURES_PICTURE_H
#define TESKA_TOOL_PICTURES_PICTURE_H

#include "frame/files.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool
{

class job;
class options;

enum class file_format { png, tiff, jpeg, ppm };

enum class colour_kind { gray, rgb, cmyk, inks, lab };

// "PNG", "CMYK", "6 inks": for messages.
std::string name_of(file_format format);
std::string name_of(colour_kind kind, int colours);

enum class extra_kind { unspecified, associated, unassociated };  // the last two are alpha

struct resolution {
    double x = 0;  // 0: not known
    double y = 0;
    enum class unit { none, inch, centimetre } per = unit::none;
};

// Colours of a PNG without a profile: value = sample^(1 / gamma), and the primaries.
struct gamma_facts {
    double gamma;                                // of the file, for instance 0.45455
    std::optional<std::array<double, 8>> white;  // x, y of white, red, green, blue
};

// How a TIFF lays its pixels out.
struct tiff_layout {
    bool big = false;              // BigTIFF
    int pages = 1;                 // of the file
    int compression = 1;           // tag 259
    std::uint32_t tile_width = 0;  // 0: strips
    std::uint32_t tile_height = 0;
    std::uint32_t subfile = 0;  // tag 254
    std::string page_name;
    std::string document_name;
    std::string ink_names;  // each ended by a zero byte
};

struct page_facts {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int depth = 8;  // bits of a sample, 8 or 16
    colour_kind kind = colour_kind::rgb;
    int colours = 3;                 // channels of colour
    std::vector<extra_kind> extras;  // what follows them
    std::string profile;             // the embedded ICC profile, as it is in the file; empty when there is none
    bool said_srgb = false;          // without a profile: the file says it is sRGB
    std::optional<gamma_facts> gamma;
    resolution density;
    int orientation = 1;  // 1 .. 8, as TIFF has it
    bool was_palette = false;
    bool was_bilevel = false;
    tiff_layout tiff;
    std::vector<std::string> metadata;  // "exif", "xmp", "iptc", "comment": what is there and is not copied

    [[nodiscard]] int samples() const { return colours + static_cast<int>(extras.size()); }
    [[nodiscard]] std::size_t pixel_bytes() const { return static_cast<std::size_t>(samples() * (depth / 8)); }
    [[nodiscard]] std::size_t line_bytes() const { return width * pixel_bytes(); }

    // Place of the alpha among the extras, -1 when there is none.
    [[nodiscard]] int alpha() const;
};

// What the user may say about pictures. describe() adds --format, --compress, --quality, --orient, --alpha, --lab and
// --jpeg-cmyk.
struct picture_options {
    void describe(options &take);

    std::string format;
    std::string compress;  // none, lzw, deflate; empty: as the input
    int quality = 92;
    std::string orient = "keep";     // keep, apply
    std::string alpha = "keep";      // keep, drop, white
    std::string lab = "auto";        // auto, cielab, icclab
    std::string jpeg_cmyk = "auto";  // auto, plain, inverted
};

class picture_reader
{
public:
    picture_reader() = default;
    picture_reader(const picture_reader &) = delete;
    picture_reader &operator=(const picture_reader &) = delete;
    virtual ~picture_reader() = default;

    [[nodiscard]] virtual file_format format() const = 0;
    [[nodiscard]] virtual int pages() const { return 1; }

    // Goes to the first page, then to the next one. False when there is none.
    virtual bool next_page() = 0;
    [[nodiscard]] const page_facts &page() const { return page_; }

    // The next lines of the page, page().line_bytes() bytes each; not more than there are.
    virtual void read_lines(void *samples, std::uint32_t count) = 0;
    void read_line(void *samples) { read_lines(samples, 1); }

protected:
    page_facts page_;
};

class picture_writer
{
public:
    picture_writer() = default;
    picture_writer(const picture_writer &) = delete;
    picture_writer &operator=(const picture_writer &) = delete;
    virtual ~picture_writer() = default;

    virtual void begin_page(const page_facts &page) = 0;
    virtual void write_lines(const void *samples, std::uint32_t count) = 0;
    void write_line(const void *samples) { write_lines(samples, 1); }
    virtual void end_page() = 0;

    // After the last page: all bytes are with the output_file, which is not published yet.
    virtual void finish() = 0;
};

// Opens by the first bytes of the file. The file must live as long as the reader.
std::unique_ptr<picture_reader> open_picture(job &work, const input_file &file, const picture_options &said);

// The reader with --orient apply: pages stand upright, orientation is 1.
std::unique_ptr<picture_reader> upright(std::unique_ptr<picture_reader> reader);

std::unique_ptr<picture_writer> make_picture(job &work, output_file &file, file_format format,
                                             const picture_options &said);

// Format of an output by --format or by its name. Throws usage_failure when neither tells.
file_format output_format(const std::string &path, const std::string &said);

// Throws usage_failure when a format cannot hold such a page, or so many.
void require_holdable(const std::string &path, file_format format, const page_facts &page, int pages);

// The limits of what is read, checked before anything is allocated.
inline constexpr std::uint64_t longest_side = 1000000;
inline constexpr std::uint64_t most_pixels = std::uint64_t{1} << 34;
inline constexpr std::uint64_t longest_line = std::uint64_t{256} << 20;    // bytes
inline constexpr std::uint64_t largest_block = std::uint64_t{1} << 30;     // bytes of a strip or a row of tiles
inline constexpr std::uint64_t largest_profile = std::uint64_t{64} << 20;  // bytes
inline constexpr int most_samples = 32;
inline constexpr int most_pages = 10000;

// Throws "W x H pixels are more than teska takes" and the like.
void require_sizes(const std::string &path, std::uint64_t width, std::uint64_t height, std::uint64_t samples,
                   int depth);

}  // namespace tool

#endif
