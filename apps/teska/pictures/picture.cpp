// picture - pages of pictures, read and written line by line, whatever their format

#include "pictures/picture.h"

#include "frame/failure.h"
#include "frame/options.h"
#include "frame/text.h"
#include "pictures/formats.h"

namespace tool
{

namespace
{

bool is_colour_table(const page_facts &page) { return page.kind == colour_kind::gray || page.kind == colour_kind::rgb; }

}  // namespace

std::string name_of(file_format format)
{
    switch (format) {
    case file_format::png:
        return "PNG";
    case file_format::tiff:
        return "TIFF";
    case file_format::jpeg:
        return "JPEG";
    case file_format::ppm:
        break;
    }
    return "PPM";
}

std::string name_of(colour_kind kind, int colours)
{
    switch (kind) {
    case colour_kind::gray:
        return "gray";
    case colour_kind::rgb:
        return "RGB";
    case colour_kind::cmyk:
        return "CMYK";
    case colour_kind::lab:
        return "Lab";
    case colour_kind::inks:
        break;
    }
    return std::to_string(colours) + " inks";
}

int page_facts::alpha() const
{
    for (std::size_t i = 0; i < extras.size(); ++i)
        if (extras[i] != extra_kind::unspecified)
            return static_cast<int>(i);
    return -1;
}

void picture_options::describe(options &take)
{
    take.choice("--format", "F", {"png", "tiff", "jpeg", "ppm"}, "format of the output, when its name does not say it",
                format);
    take.choice("--compress", "C", {"none", "lzw", "deflate"},
                "compression of a TIFF; without it as the input's, when that loses nothing", compress);
    take.integer("--quality", "Q", 1, 100, "quality of a JPEG; from 90 on colours are kept at full resolution",
                 quality);
    take.choice("--orient", "O", {"keep", "apply"},
                "keep the orientation tag, or turn the pixels; PNG and PPM have no tag, there it is always applied",
                orient);
    take.choice("--alpha", "A", {"keep", "drop", "white"}, "keep transparency, drop it, or compose over white", alpha);
    take.choice("--lab", "L", {"auto", "cielab", "icclab"}, "how a Lab TIFF was written, when its tag is wrong", lab);
    take.choice("--jpeg-cmyk", "K", {"auto", "plain", "inverted"}, "whether 255 is full ink or none in a CMYK JPEG",
                jpeg_cmyk);
}

std::unique_ptr<picture_reader> open_picture(job &work, const input_file &file, const picture_options &said)
{
    std::array<unsigned char, 12> start{};
    const std::size_t got = file.read_at(0, start.data(), start.size());
    const auto begins = [&](std::initializer_list<int> bytes) {
        std::size_t i = 0;
        for (const int byte : bytes)
            if (i >= got || start[i++] != byte)
                return false;
        return true;
    };
    if (begins({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A}))
        return open_png(work, file);
    if (begins({'I', 'I', 42, 0}) || begins({'M', 'M', 0, 42}) || begins({'I', 'I', 43, 0}) ||
        begins({'M', 'M', 0, 43}))
        return open_tiff(work, file, said);
    if (begins({0xFF, 0xD8, 0xFF}))
        return open_jpeg(work, file, said);
    if (got > 2 && start[0] == 'P' && (start[1] == '2' || start[1] == '3' || start[1] == '5' || start[1] == '6'))
        return open_ppm(work, file);
    throw failure(file.path(), got == 0 ? "is empty" : "is no PNG, TIFF, JPEG or PPM");
}

std::unique_ptr<picture_writer> make_picture(job &work, output_file &file, file_format format,
                                             const picture_options &said)
{
    switch (format) {
    case file_format::png:
        return make_png(work, file);
    case file_format::tiff:
        return make_tiff(work, file, said);
    case file_format::jpeg:
        return make_jpeg(work, file, said);
    case file_format::ppm:
        break;
    }
    return make_ppm(work, file);
}

file_format output_format(const std::string &path, const std::string &said)
{
    const std::string name = name_of(path);
    const std::size_t point = name.rfind('.');
    const std::string extension = point == std::string::npos ? "" : lower_case(name.substr(point + 1));
    const std::string format = said.empty() ? extension : said;
    if (format == "png")
        return file_format::png;
    if (format == "tif" || format == "tiff")
        return file_format::tiff;
    if (format == "jpg" || format == "jpeg")
        return file_format::jpeg;
    if (format == "ppm" || format == "pgm")
        return file_format::ppm;
    throw usage_failure(path, "what format? --format png, tiff, jpeg or ppm");
}

void require_holdable(const std::string &path, file_format format, const page_facts &page, int pages)
{
    const std::string name = name_of(format);
    if (format == file_format::tiff)
        return;
    const bool jpeg = format == file_format::jpeg;
    if (!is_colour_table(page) && !(jpeg && page.kind == colour_kind::cmyk))
        throw usage_failure(path, name + " holds no " + name_of(page.kind, page.colours),
                            page.kind == colour_kind::cmyk ? "use TIFF or JPEG" : "use TIFF");
    if (!page.extras.empty()) {
        if (format != file_format::png && page.alpha() >= 0)
            throw usage_failure(path, name + " holds no alpha", "--alpha drop or --alpha white");
        if (page.extras.size() > 1 || page.alpha() < 0)
            throw usage_failure(path, name + " holds no extra channels", "use TIFF");
    }
    if (jpeg && page.depth == 16)
        throw usage_failure(path, "JPEG holds 8 bits", "--depth 8, or use TIFF or PNG");
    if (pages > 1)
        throw usage_failure(path, name + " holds one page, there are " + std::to_string(pages), "use TIFF");
    const std::uint32_t longest = std::max(page.width, page.height);
    if (jpeg && longest > 65500)
        throw usage_failure(path, "JPEG holds sides of at most 65500 pixels", "use TIFF or PNG");
}

void require_sizes(const std::string &path, std::uint64_t width, std::uint64_t height, std::uint64_t samples, int depth)
{
    const std::string pixels = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width == 0 || height == 0)
        throw failure(path, pixels + " are none");
    if (width > longest_side || height > longest_side || width * height > most_pixels)
        throw failure(path, pixels + " are more than teska takes");
    if (samples == 0 || samples > static_cast<std::uint64_t>(most_samples))
        throw failure(path, std::to_string(samples) + " samples a pixel are " +
                                (samples == 0 ? "none" : "more than teska takes"));
    // Bits of fewer than 8 become bytes.
    const std::uint64_t line = width * samples * static_cast<std::uint64_t>(depth > 8 ? depth / 8 : 1);
    if (line > longest_line)
        throw failure(path, "a line of " + std::to_string(line) + " bytes is more than teska takes");
}

}  // namespace tool
