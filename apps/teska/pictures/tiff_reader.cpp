// tiff_reader - TIFF pages, classic and BigTIFF, line by line
//
// Lines that are not compressed are read straight from the file; others come from libtiff, line by line or a row of
// tiles at a time. With separate planes each plane has an open file of its own, so that each is read once from front to
// back. What a line holds then becomes what picture.h says: full bytes, black is 0, no palette, Lab as in profiles.

#include "frame/failure.h"
#include "frame/job.h"
#include "pictures/tiff.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace tool
{

namespace
{

constexpr int icc_lab = 9;

std::uint16_t scaled(std::uint32_t value, std::uint32_t times, std::uint32_t by)
{
    return static_cast<std::uint16_t>(std::min((value * times + by / 2) / by, 65535U));
}

class tiff_reader : public picture_reader
{
public:
    tiff_reader(job &work, const input_file &file, const picture_options &said) : work_(work), file_(file), said_(said)
    {
        planes_.push_back(std::make_unique<tiff_file>(work, file));
        if (first().get() == nullptr)
            first().fail("");
        pages_ = static_cast<int>(std::min<std::uint64_t>(TIFFNumberOfDirectories(tiff()), most_pages + 1));
        if (pages_ > most_pages)
            throw failure(file.path(), "more than 10000 pages are more than teska takes");
        const std::string problem = first().take_problem();
        if (!problem.empty())
            throw failure(file.path(), "page " + std::to_string(pages_ + 1) + ": " + problem);
    }

    [[nodiscard]] file_format format() const override { return file_format::tiff; }
    [[nodiscard]] int pages() const override { return pages_; }

    bool next_page() override
    {
        if (number_ == pages_)
            return false;
        if (number_ > 0 && TIFFReadDirectory(tiff()) == 0)
            first().fail("page " + std::to_string(number_ + 1) + ": ");
        ++number_;
        line_ = 0;
        tile_row_ = std::numeric_limits<std::uint32_t>::max();
        read_facts();
        return true;
    }

    void read_lines(void *samples, std::uint32_t count) override
    {
        auto *out = static_cast<unsigned char *>(samples);
        if (direct_ && plain_ && planes_used_ == 1) {
            read_direct(0, line_, count, out);
            line_ += count;
            return;
        }
        for (std::uint32_t i = 0; i < count; ++i, ++line_) {
            unsigned char *line = out + i * page_.line_bytes();
            unsigned char *raw = plain_ ? line : raw_.data();
            read_raw(raw);
            if (!plain_)
                finish_line(raw, line);
        }
    }

private:
    tiff_file &first() const { return *planes_.front(); }
    TIFF *tiff() const { return planes_.front()->get(); }

    [[nodiscard]] std::string where() const
    {
        return "page " + std::to_string(number_) + ", line " + std::to_string(line_ + 1) + ": ";
    }

    [[noreturn]] void refuse(const std::string &what) const
    {
        throw failure(file_.path(), (pages_ > 1 ? "page " + std::to_string(number_) + ": " : "") + what);
    }

    template <class Value>
    Value field(std::uint32_t tag, Value otherwise) const
    {
        Value value = otherwise;
        return TIFFGetFieldDefaulted(tiff(), tag, &value) != 0 ? value : otherwise;
    }

    std::string text_field(std::uint32_t tag) const
    {
        const char *text = nullptr;
        return TIFFGetField(tiff(), tag, &text) != 0 && text != nullptr ? text : "";
    }

    // ---- What a page is ---------------------------------------------------------------------------------------------

    void read_facts()
    {
        page_ = page_facts();
        const auto width = field<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
        const auto height = field<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
        bits_ = field<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
        samples_ = field<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
        if (bits_ != 1 && bits_ != 8 && bits_ != 16)
            refuse(std::to_string(bits_) + "-bit samples are not supported");
        const auto number_format = field<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
        if (number_format == SAMPLEFORMAT_IEEEFP || number_format > SAMPLEFORMAT_VOID)
            refuse("samples that are not whole numbers are not supported");
        require_sizes(file_.path(), width, height, samples_, bits_);
        page_.width = width;
        page_.height = height;
        page_.depth = bits_ == 16 ? 16 : 8;
        page_.was_bilevel = bits_ == 1;
        read_layout();
        read_kind(number_format == SAMPLEFORMAT_INT);
        require_sizes(file_.path(), width, height, static_cast<std::uint64_t>(page_.samples()), page_.depth);
        read_tags();
        prepare_lines();
    }

    void read_layout()
    {
        tiff_layout &layout = page_.tiff;
        layout.big = TIFFIsBigTIFF(tiff()) != 0;
        layout.pages = pages_;
        layout.compression = field<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        switch (layout.compression) {
        case COMPRESSION_NONE:
        case COMPRESSION_CCITTRLE:
        case COMPRESSION_CCITTFAX3:
        case COMPRESSION_CCITTFAX4:
        case COMPRESSION_LZW:
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE:
        case COMPRESSION_PACKBITS:
        case COMPRESSION_ZSTD:
        case COMPRESSION_JPEG:
            if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(layout.compression)) != 0)
                break;
            [[fallthrough]];
        default:
            refuse("compression " + std::to_string(layout.compression) + " is not supported");
        }
        if (TIFFIsTiled(tiff()) != 0) {
            layout.tile_width = field<std::uint32_t>(TIFFTAG_TILEWIDTH, 0);
            layout.tile_height = field<std::uint32_t>(TIFFTAG_TILELENGTH, 0);
            constexpr std::uint64_t most_padding = 4096;
            if (layout.tile_width == 0 || layout.tile_height == 0 || layout.tile_width > page_.width + most_padding ||
                layout.tile_height > page_.height + most_padding)
                refuse("tiles of " + std::to_string(layout.tile_width) + " x " + std::to_string(layout.tile_height) +
                       " are more than teska takes");
        }
        layout.subfile = field<std::uint32_t>(TIFFTAG_SUBFILETYPE, 0);
        layout.page_name = text_field(TIFFTAG_PAGENAME);
        layout.document_name = text_field(TIFFTAG_DOCUMENTNAME);
    }

    void set_kind(colour_kind kind, int colours)
    {
        page_.kind = kind;
        page_.colours = colours;
        const int stored = page_.was_palette ? 1 : colours;
        if (samples_ < stored)
            refuse(std::to_string(samples_) + " samples a pixel are too few for " + name_of(kind, colours));
        std::uint16_t count = 0;
        const std::uint16_t *types = nullptr;
        TIFFGetField(tiff(), TIFFTAG_EXTRASAMPLES, &count, &types);
        page_.extras.assign(static_cast<std::size_t>(samples_ - stored), extra_kind::unspecified);
        // More types than extra samples: those in front that say nothing belong to inks; libtiff adds others behind.
        std::size_t skipped = 0;
        while (count - skipped > page_.extras.size() && types[skipped] == EXTRASAMPLE_UNSPECIFIED)
            ++skipped;
        for (std::size_t i = 0; i < page_.extras.size() && skipped + i < count; ++i) {
            const std::uint16_t type = types[skipped + i];
            page_.extras[i] = type == EXTRASAMPLE_ASSOCALPHA   ? extra_kind::associated
                              : type == EXTRASAMPLE_UNASSALPHA ? extra_kind::unassociated
                                                               : extra_kind::unspecified;
        }
    }

    void read_kind(bool is_signed)
    {
        std::uint16_t photometric = 0;
        if (TIFFGetField(tiff(), TIFFTAG_PHOTOMETRIC, &photometric) == 0)
            photometric = guessed_photometric();
        white_is_zero_ = photometric == PHOTOMETRIC_MINISWHITE;
        lab_ = 0;
        const bool is_lab = photometric == PHOTOMETRIC_CIELAB || photometric == PHOTOMETRIC_ICCLAB;
        if (is_signed && !is_lab)
            refuse("signed samples are not supported");
        if (bits_ == 1 && !white_is_zero_ && photometric != PHOTOMETRIC_MINISBLACK &&
            photometric != PHOTOMETRIC_PALETTE)
            refuse("1-bit samples are not supported for colours");
        switch (photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            set_kind(colour_kind::gray, 1);
            break;
        case PHOTOMETRIC_RGB:
            set_kind(colour_kind::rgb, 3);
            break;
        case PHOTOMETRIC_PALETTE:
            read_palette();
            break;
        case PHOTOMETRIC_SEPARATED:
            read_inks();
            break;
        case PHOTOMETRIC_YCBCR:
            if (page_.tiff.compression != COMPRESSION_JPEG)
                refuse("YCbCr without JPEG compression is not supported");
            TIFFSetField(tiff(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
            set_kind(colour_kind::rgb, 3);
            break;
        case PHOTOMETRIC_CIELAB:
        case PHOTOMETRIC_ICCLAB:
            lab_ = said_.lab == "cielab"   ? PHOTOMETRIC_CIELAB
                   : said_.lab == "icclab" ? icc_lab
                                           : static_cast<int>(photometric);
            set_kind(colour_kind::lab, 3);
            break;
        default:
            refuse("photometric interpretation " + std::to_string(photometric) + " is not supported");
        }
    }

    std::uint16_t guessed_photometric()
    {
        const std::uint16_t guessed = samples_ < 3    ? PHOTOMETRIC_MINISBLACK
                                      : samples_ == 3 ? PHOTOMETRIC_RGB
                                                      : PHOTOMETRIC_SEPARATED;
        work_.note(file_.path(),
                   "does not say what its colours are, taken as " + std::string(samples_ < 3    ? "gray"
                                                                                : samples_ == 3 ? "RGB"
                                                                                                : "inks"));
        return guessed;
    }

    // Entries hold 16 bits; where none is above 255, an old writer has put 8.
    void read_palette()
    {
        if (bits_ == 16)
            refuse("a palette of 16 bits is not supported");
        const std::uint16_t *maps[3] = {};
        if (TIFFGetField(tiff(), TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) == 0 || maps[2] == nullptr)
            refuse("has no colour map");
        const std::size_t entries = std::size_t{1} << bits_;
        bool is_short = true;
        for (const std::uint16_t *map : maps)
            is_short = is_short && std::all_of(map, map + entries, [](std::uint16_t value) { return value < 256; });
        palette_.assign(3 * 256, 0);
        for (std::size_t c = 0; c < 3; ++c)
            for (std::size_t i = 0; i < entries; ++i)
                palette_[3 * i + c] = static_cast<unsigned char>(is_short ? maps[c][i] : (maps[c][i] + 128) / 257);
        page_.was_palette = true;
        set_kind(colour_kind::rgb, 3);
    }

    void read_inks()
    {
        std::uint16_t count = 0;
        const bool counted = TIFFGetField(tiff(), TIFFTAG_NUMBEROFINKS, &count) != 0;
        const auto set = field<std::uint16_t>(TIFFTAG_INKSET, INKSET_CMYK);
        int inks = 4;
        if (counted)
            inks = count;
        else if (set == INKSET_MULTIINK)
            inks = samples_ - alphas();
        if (inks < 1 || inks > samples_)
            refuse(std::to_string(inks) + " inks do not fit " + std::to_string(samples_) + " samples a pixel");
        set_kind(inks == 4 ? colour_kind::cmyk : colour_kind::inks, inks);
        std::uint16_t length = 0;
        const char *names = nullptr;
        if (TIFFGetField(tiff(), TIFFTAG_INKNAMES, &names) != 0 && names != nullptr) {
            for (int i = 0; i < inks;
                 ++i, length = static_cast<std::uint16_t>(length + std::strlen(names + length) + 1))
                page_.tiff.ink_names.append(names + length, std::strlen(names + length) + 1);
        }
    }

    // Extra samples that say they are alpha.
    [[nodiscard]] int alphas() const
    {
        std::uint16_t count = 0;
        const std::uint16_t *types = nullptr;
        if (TIFFGetField(tiff(), TIFFTAG_EXTRASAMPLES, &count, &types) == 0)
            return 0;
        return static_cast<int>(
            std::count_if(types, types + count, [](std::uint16_t type) { return type != EXTRASAMPLE_UNSPECIFIED; }));
    }

    void read_tags()
    {
        const auto orientation = field<std::uint16_t>(TIFFTAG_ORIENTATION, 1);
        page_.orientation = orientation >= 1 && orientation <= 8 ? orientation : 1;
        float x = 0;
        float y = 0;
        const auto unit = field<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        if (TIFFGetField(tiff(), TIFFTAG_XRESOLUTION, &x) != 0 && TIFFGetField(tiff(), TIFFTAG_YRESOLUTION, &y) != 0 &&
            x > 0 && y > 0)
            page_.density = {x, y,
                             unit == RESUNIT_INCH         ? resolution::unit::inch
                             : unit == RESUNIT_CENTIMETER ? resolution::unit::centimetre
                                                          : resolution::unit::none};
        std::uint32_t size = 0;
        const void *data = nullptr;
        if (TIFFGetField(tiff(), TIFFTAG_ICCPROFILE, &size, &data) != 0) {
            if (size > largest_profile)
                refuse("its profile has more than 64 MiB; --from names another");
            page_.profile.assign(static_cast<const char *>(data), size);
        }
        std::uint64_t offset = 0;
        if (TIFFGetField(tiff(), TIFFTAG_EXIFIFD, &offset) != 0)
            page_.metadata.emplace_back("exif");
        if (TIFFGetField(tiff(), TIFFTAG_XMLPACKET, &size, &data) != 0)
            page_.metadata.emplace_back("xmp");
        if (TIFFGetField(tiff(), TIFFTAG_RICHTIFFIPTC, &size, &data) != 0)
            page_.metadata.emplace_back("iptc");
        if (!text_field(TIFFTAG_IMAGEDESCRIPTION).empty())
            page_.metadata.emplace_back("comment");
    }

    // ---- Where its lines are ----------------------------------------------------------------------------------------

    void prepare_lines()
    {
        const bool separate = field<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
        planes_used_ = separate && samples_ > 1 ? samples_ : 1;
        plane_samples_ = planes_used_ > 1 ? 1 : samples_;
        raw_line_bytes_ = (std::size_t{page_.width} * static_cast<std::size_t>(plane_samples_ * bits_) + 7) / 8;
        const auto rows = field<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, page_.height);
        rows_per_strip_ = std::clamp<std::uint32_t>(rows, 1, page_.height);
        const bool tiled = page_.tiff.tile_width != 0;
        direct_ = !tiled && page_.tiff.compression == COMPRESSION_NONE &&
                  field<std::uint16_t>(TIFFTAG_FILLORDER, FILLORDER_MSB2LSB) == FILLORDER_MSB2LSB;
        plain_ = bits_ != 1 && !white_is_zero_ && lab_ == 0 && !page_.was_palette && planes_used_ == 1;
        const std::uint64_t block =
            tiled ? static_cast<std::uint64_t>(TIFFTileRowSize64(tiff())) * page_.tiff.tile_height * tiles_across()
                  : std::uint64_t{raw_line_bytes_} * rows_per_strip_;
        if (block > largest_block)
            refuse((tiled ? "a row of tiles of " : "a strip of ") + std::to_string(block) +
                   " bytes is more than teska takes");
        if (!tiled && !direct_ && static_cast<std::size_t>(TIFFScanlineSize64(tiff())) != raw_line_bytes_)
            refuse("its lines have another length than its header says");
        open_planes();
        if (direct_)
            require_whole_strips();
        raw_.resize(static_cast<std::size_t>(samples_) * page_.width * static_cast<std::size_t>(page_.depth / 8) +
                    raw_line_bytes_);
        plane_line_.resize(raw_line_bytes_);
        if (tiled)
            tiles_.assign(static_cast<std::size_t>(planes_used_), {});
    }

    [[nodiscard]] std::uint32_t tiles_across() const
    {
        return (page_.width + page_.tiff.tile_width - 1) / page_.tiff.tile_width;
    }

    void open_planes()
    {
        planes_.resize(1);
        while (!direct_ && static_cast<int>(planes_.size()) < planes_used_) {
            auto plane = std::make_unique<tiff_file>(work_, file_);
            if (plane->get() == nullptr || TIFFSetDirectory(plane->get(), static_cast<tdir_t>(number_ - 1)) == 0)
                plane->fail("page " + std::to_string(number_) + ": ");
            planes_.push_back(std::move(plane));
        }
    }

    // Bytes of a line and where it is, of a strip that is not compressed.
    [[nodiscard]] std::uint64_t place_of(int plane, std::uint32_t line) const
    {
        const std::uint32_t strips = (page_.height + rows_per_strip_ - 1) / rows_per_strip_;
        const std::uint32_t strip = line / rows_per_strip_ + static_cast<std::uint32_t>(plane) * strips;
        return TIFFGetStrileOffset(tiff(), strip) + std::uint64_t{raw_line_bytes_} * (line % rows_per_strip_);
    }

    void require_whole_strips()
    {
        for (int plane = 0; plane < planes_used_; ++plane)
            for (std::uint32_t first_line = 0; first_line < page_.height; first_line += rows_per_strip_) {
                const std::uint32_t rows = std::min(rows_per_strip_, page_.height - first_line);
                const std::uint64_t start = place_of(plane, first_line);
                const std::uint64_t left = start == 0 || start > file_.size() ? 0 : file_.size() - start;
                if (left < std::uint64_t{raw_line_bytes_} * rows) {
                    line_ = first_line + static_cast<std::uint32_t>(left / raw_line_bytes_);
                    throw failure(file_.path(), where() + "the file ends early");
                }
            }
    }

    // ---- Lines as they are stored, but in the host's order ----------------------------------------------------------

    // Lines that follow each other, of a strip that is not compressed.
    void read_direct(int plane, std::uint32_t line, std::uint32_t count, unsigned char *out)
    {
        while (count > 0) {
            std::uint32_t rows = std::min(count, rows_per_strip_ - line % rows_per_strip_);
            const std::uint64_t start = place_of(plane, line);
            // Strips that follow each other in the file are read together.
            while (rows < count && place_of(plane, line + rows) == start + std::uint64_t{raw_line_bytes_} * rows)
                rows += std::min(count - rows, rows_per_strip_);
            const std::size_t size = raw_line_bytes_ * rows;
            if (file_.read_at(start, out, size) != size)
                throw failure(file_.path(), where() + "the file ends early");
            if (bits_ == 16 && TIFFIsByteSwapped(tiff()) != 0)
                TIFFSwabArrayOfShort(reinterpret_cast<std::uint16_t *>(out), static_cast<tmsize_t>(size / 2));
            out += size;
            line += rows;
            count -= rows;
        }
    }

    void read_plane(int plane, unsigned char *out)
    {
        if (page_.tiff.tile_width != 0) {
            read_tiles(plane, out);
        } else if (direct_) {
            read_direct(plane, line_, 1, out);
        } else {
            tiff_file &file = *planes_[static_cast<std::size_t>(plane)];
            if (TIFFReadScanline(file.get(), out, line_, static_cast<std::uint16_t>(plane)) != 1)
                file.fail(where());
            require_no_problem(file);
        }
    }

    void require_no_problem(tiff_file &file) const
    {
        const std::string problem = file.take_problem();
        if (!problem.empty())
            throw failure(file_.path(), where() + problem);
    }

    void read_tiles(int plane, unsigned char *out)
    {
        std::vector<unsigned char> &tiles = tiles_[static_cast<std::size_t>(plane)];
        tiff_file &file = *planes_[static_cast<std::size_t>(plane)];
        const std::uint32_t row = line_ / page_.tiff.tile_height;
        const auto tile_bytes = static_cast<std::size_t>(TIFFTileSize64(file.get()));
        const auto row_bytes = static_cast<std::size_t>(TIFFTileRowSize64(file.get()));
        if (tiles.empty() || row != tile_row_) {
            tiles.resize(tile_bytes * tiles_across());
            for (std::uint32_t t = 0; t < tiles_across(); ++t) {
                const std::uint32_t number =
                    TIFFComputeTile(file.get(), t * page_.tiff.tile_width, line_, 0, static_cast<std::uint16_t>(plane));
                if (TIFFReadEncodedTile(file.get(), number, tiles.data() + t * tile_bytes,
                                        static_cast<tmsize_t>(tile_bytes)) < 0)
                    file.fail(where());
                require_no_problem(file);
            }
            // The planes follow each other; the last one says that the row is there.
            if (plane == planes_used_ - 1)
                tile_row_ = row;
        }
        const std::size_t in_tile = (line_ % page_.tiff.tile_height) * row_bytes;
        for (std::uint32_t t = 0; t < tiles_across(); ++t) {
            const std::size_t start = t * row_bytes;
            std::memcpy(out + start, tiles.data() + t * tile_bytes + in_tile,
                        std::min(row_bytes, raw_line_bytes_ - start));
        }
    }

    // All samples of a line, pixel by pixel, as bytes or words.
    void read_raw(unsigned char *out)
    {
        const bool expand = bits_ == 1;
        if (planes_used_ == 1 && !expand) {
            read_plane(0, out);
            return;
        }
        for (int plane = 0; plane < planes_used_; ++plane) {
            read_plane(plane, plane_line_.data());
            const std::size_t step = planes_used_ > 1 ? static_cast<std::size_t>(samples_) : 1;
            const std::size_t count = std::size_t{page_.width} * static_cast<std::size_t>(plane_samples_);
            const std::size_t start = static_cast<std::size_t>(plane);
            if (expand)
                for (std::size_t i = 0; i < count; ++i)
                    out[start + i * step] = (plane_line_[i / 8] >> (7 - i % 8)) & 1U;
            else if (bits_ == 8)
                for (std::size_t i = 0; i < count; ++i)
                    out[start + i * step] = plane_line_[i];
            else
                for (std::size_t i = 0; i < count; ++i)
                    std::memcpy(out + 2 * (start + i * step), plane_line_.data() + 2 * i, 2);
        }
    }

    // ---- What a line becomes ----------------------------------------------------------------------------------------

    void finish_line(unsigned char *raw, unsigned char *out) const
    {
        if (page_.was_palette) {
            for (std::size_t x = 0; x < page_.width; ++x) {
                const unsigned char *pixel = raw + x * static_cast<std::size_t>(samples_);
                out = std::copy_n(palette_.data() + 3 * std::size_t{pixel[0]}, 3, out);
                out = std::copy(pixel + 1, pixel + samples_, out);
            }
            return;
        }
        if (bits_ == 1)
            for (std::size_t i = 0; i < page_.line_bytes(); ++i)
                raw[i] = raw[i] != 0 ? 255 : 0;
        if (white_is_zero_)
            invert(raw);
        if (lab_ != 0)
            bits_ == 8 ? finish_lab8(raw) : finish_lab16(raw);
        std::memcpy(out, raw, page_.line_bytes());
    }

    void invert(unsigned char *raw) const
    {
        const std::size_t step = static_cast<std::size_t>(samples_) * static_cast<std::size_t>(page_.depth / 8);
        for (std::size_t x = 0; x < page_.width; ++x)
            for (int b = 0; b < page_.depth / 8; ++b)
                raw[x * step + static_cast<std::size_t>(b)] ^= 0xFFU;
    }

    void finish_lab8(unsigned char *raw) const
    {
        if (lab_ == icc_lab)
            return;
        for (std::size_t x = 0; x < page_.width; ++x)
            for (std::size_t c = 1; c < 3; ++c)
                raw[x * static_cast<std::size_t>(samples_) + c] ^= 0x80U;
    }

    void finish_lab16(unsigned char *raw) const
    {
        for (std::size_t x = 0; x < page_.width; ++x) {
            std::uint16_t lab[3];
            unsigned char *pixel = raw + 2 * x * static_cast<std::size_t>(samples_);
            std::memcpy(lab, pixel, sizeof lab);
            if (lab_ == icc_lab) {
                for (std::uint16_t &value : lab)
                    value = scaled(value, 65535, 65280);
            } else {
                lab[1] = scaled(lab[1] ^ 0x8000U, 257, 256);
                lab[2] = scaled(lab[2] ^ 0x8000U, 257, 256);
            }
            std::memcpy(pixel, lab, sizeof lab);
        }
    }

    job &work_;
    const input_file &file_;
    picture_options said_;
    std::vector<std::unique_ptr<tiff_file>> planes_;  // the first is there always
    int pages_ = 0;
    int number_ = 0;  // of the page, from 1
    std::uint32_t line_ = 0;
    std::uint16_t bits_ = 8;
    std::uint16_t samples_ = 1;  // of a stored pixel
    bool white_is_zero_ = false;
    int lab_ = 0;  // how Lab is stored: 8, 9, or 0 when it is none
    std::vector<unsigned char> palette_;
    int planes_used_ = 1;
    int plane_samples_ = 1;
    std::size_t raw_line_bytes_ = 0;  // of a plane
    std::uint32_t rows_per_strip_ = 1;
    bool direct_ = false;  // neither compressed nor tiled
    bool plain_ = false;   // a line is used as it is stored
    std::vector<unsigned char> raw_;
    std::vector<unsigned char> plane_line_;
    std::vector<std::vector<unsigned char>> tiles_;  // of each plane, a row
    std::uint32_t tile_row_ = 0;
};

}  // namespace

std::unique_ptr<picture_reader> open_tiff(job &work, const input_file &file, const picture_options &said)
{
    return std::make_unique<tiff_reader>(work, file, said);
}

}  // namespace tool
