// tiff_writer - TIFF pages, in strips of about 256 KiB or in the tiles of the input

#include "frame/job.h"
#include "pictures/tiff.h"

#include <algorithm>
#include <cstring>

namespace tool
{

namespace
{

constexpr std::size_t strip_bytes = std::size_t{256} * 1024;
constexpr std::uint64_t classic_bytes = 4000000000U;  // from here on a BigTIFF

int compression_of(const std::string &said, int input)
{
    if (said == "none")
        return COMPRESSION_NONE;
    if (said == "lzw")
        return COMPRESSION_LZW;
    if (said == "deflate")
        return COMPRESSION_ADOBE_DEFLATE;
    switch (input) {
    case COMPRESSION_LZW:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_PACKBITS:
    case COMPRESSION_ZSTD:
        return input;
    case COMPRESSION_DEFLATE:
        return COMPRESSION_ADOBE_DEFLATE;
    default:
        return COMPRESSION_NONE;
    }
}

class tiff_writer : public picture_writer
{
public:
    tiff_writer(job &work, output_file &file, const picture_options &said) : work_(work), file_(file), said_(said) {}

    void begin_page(const page_facts &page) override
    {
        page_ = page;
        const std::uint64_t bytes = std::uint64_t{page.line_bytes()} * page.height;
        if (tiff_ == nullptr)
            tiff_ = std::make_unique<tiff_file>(
                work_, file_, page.tiff.big || bytes * static_cast<std::uint64_t>(page.tiff.pages) >= classic_bytes);
        line_ = 0;
        set_tags();
        set_colours();
        set_layout();
        if (const std::string problem = tiff_->take_problem(); !problem.empty())
            throw failure(file_.path(), problem);
    }

    void write_lines(const void *samples, std::uint32_t count) override
    {
        const auto *in = static_cast<const unsigned char *>(samples);
        while (count > 0) {
            const std::uint32_t rows = std::min(count, rows_ - line_ % rows_);
            const std::size_t start = (line_ % rows_) * page_.line_bytes();
            const bool whole = rows == rows_ || (start == 0 && line_ + rows == page_.height);
            if (whole && page_.kind != colour_kind::lab && page_.tiff.tile_width == 0) {
                write_strip(in, rows);
            } else {
                std::memcpy(block_.data() + start, in, rows * page_.line_bytes());
                for (std::uint32_t i = 0; page_.kind == colour_kind::lab && i < rows; ++i)
                    store_lab(block_.data() + start + i * page_.line_bytes());
                if (line_ % rows_ + rows == rows_ || line_ + rows == page_.height)
                    page_.tiff.tile_width == 0 ? write_strip(block_.data(), line_ % rows_ + rows)
                                               : write_tiles(line_ % rows_ + rows);
            }
            in += rows * page_.line_bytes();
            line_ += rows;
            count -= rows;
        }
    }

    void end_page() override { require(TIFFWriteDirectory(tiff_->get()) != 0); }

    void finish() override
    {
        if (tiff_ != nullptr)
            tiff_->close();
    }

private:
    void require(bool done)
    {
        if (!done)
            tiff_->fail("");
    }

    template <class... Values>
    void set(std::uint32_t tag, Values... values)
    {
        if (TIFFSetField(tiff_->get(), tag, values...) == 0)
            tiff_->fail("tag " + std::to_string(tag) + " cannot be written: ");
    }

    void set_tags()
    {
        set(TIFFTAG_IMAGEWIDTH, page_.width);
        set(TIFFTAG_IMAGELENGTH, page_.height);
        set(TIFFTAG_BITSPERSAMPLE, page_.depth);
        set(TIFFTAG_SAMPLESPERPIXEL, page_.samples());
        set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        set(TIFFTAG_ORIENTATION, page_.orientation);
        if (page_.tiff.subfile != 0)
            set(TIFFTAG_SUBFILETYPE, page_.tiff.subfile);
        if (page_.density.x > 0 && page_.density.y > 0) {
            set(TIFFTAG_XRESOLUTION, page_.density.x);
            set(TIFFTAG_YRESOLUTION, page_.density.y);
            set(TIFFTAG_RESOLUTIONUNIT, page_.density.per == resolution::unit::inch         ? RESUNIT_INCH
                                        : page_.density.per == resolution::unit::centimetre ? RESUNIT_CENTIMETER
                                                                                            : RESUNIT_NONE);
        }
        if (!page_.tiff.page_name.empty())
            set(TIFFTAG_PAGENAME, page_.tiff.page_name.c_str());
        if (!page_.tiff.document_name.empty())
            set(TIFFTAG_DOCUMENTNAME, page_.tiff.document_name.c_str());
        if (!page_.profile.empty())
            set(TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(page_.profile.size()), page_.profile.data());
    }

    void set_colours()
    {
        int photometric = PHOTOMETRIC_RGB;
        switch (page_.kind) {
        case colour_kind::gray:
            photometric = PHOTOMETRIC_MINISBLACK;
            break;
        case colour_kind::rgb:
            break;
        case colour_kind::lab:
            photometric = page_.depth == 8 ? PHOTOMETRIC_CIELAB : PHOTOMETRIC_ICCLAB;
            break;
        case colour_kind::cmyk:
        case colour_kind::inks:
            photometric = PHOTOMETRIC_SEPARATED;
            break;
        }
        set(TIFFTAG_PHOTOMETRIC, photometric);
        if (photometric == PHOTOMETRIC_SEPARATED) {
            set(TIFFTAG_INKSET, page_.kind == colour_kind::cmyk ? INKSET_CMYK : INKSET_MULTIINK);
            if (page_.kind == colour_kind::inks)
                set(TIFFTAG_NUMBEROFINKS, page_.colours);
            if (!page_.tiff.ink_names.empty())
                set(TIFFTAG_INKNAMES, static_cast<int>(page_.tiff.ink_names.size()), page_.tiff.ink_names.data());
        }
        std::vector<std::uint16_t> types;
        for (const extra_kind extra : page_.extras)
            types.push_back(static_cast<std::uint16_t>(extra == extra_kind::associated     ? EXTRASAMPLE_ASSOCALPHA
                                                       : extra == extra_kind::unassociated ? EXTRASAMPLE_UNASSALPHA
                                                                                           : EXTRASAMPLE_UNSPECIFIED));
        if (!types.empty())
            set(TIFFTAG_EXTRASAMPLES, static_cast<int>(types.size()), types.data());
    }

    void set_layout()
    {
        const int compression = compression_of(said_.compress, page_.tiff.compression);
        if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)) == 0)
            throw failure(file_.path(), "this libtiff cannot compress so", "--compress names another way");
        set(TIFFTAG_COMPRESSION, compression);
        if (compression == COMPRESSION_LZW || compression == COMPRESSION_ADOBE_DEFLATE ||
            compression == COMPRESSION_ZSTD)
            set(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        if (page_.tiff.tile_width != 0) {
            set(TIFFTAG_TILEWIDTH, page_.tiff.tile_width);
            set(TIFFTAG_TILELENGTH, page_.tiff.tile_height);
            rows_ = page_.tiff.tile_height;
        } else {
            const std::size_t rows = std::max<std::size_t>(1, strip_bytes / page_.line_bytes());
            rows_ = static_cast<std::uint32_t>(std::min<std::size_t>(rows, page_.height));
            set(TIFFTAG_ROWSPERSTRIP, rows_);
        }
        block_.resize(rows_ * page_.line_bytes());
        if (page_.tiff.tile_width != 0)
            tile_.resize(static_cast<std::size_t>(TIFFTileSize64(tiff_->get())));
    }

    void write_strip(const unsigned char *data, std::uint32_t rows)
    {
        const auto size = static_cast<tmsize_t>(rows * page_.line_bytes());
        // libtiff does not change what it is given when it neither compresses nor predicts; else it works on a copy.
        const bool changes = compression_of(said_.compress, page_.tiff.compression) != COMPRESSION_NONE;
        if (changes && data != block_.data()) {
            std::memcpy(block_.data(), data, static_cast<std::size_t>(size));
            data = block_.data();
        }
        require(TIFFWriteEncodedStrip(tiff_->get(), line_ / rows_, const_cast<unsigned char *>(data), size) == size);
    }

    // The lines of the block as a row of tiles; what lies beyond the picture repeats its last samples as zeros.
    void write_tiles(std::uint32_t rows)
    {
        const std::size_t pixel = page_.pixel_bytes();
        const std::size_t row_bytes = page_.tiff.tile_width * pixel;
        const std::uint32_t across = (page_.width + page_.tiff.tile_width - 1) / page_.tiff.tile_width;
        for (std::uint32_t t = 0; t < across; ++t) {
            std::fill(tile_.begin(), tile_.end(), 0);
            const std::size_t start = t * row_bytes;
            const std::size_t used = std::min(row_bytes, page_.line_bytes() - start);
            for (std::uint32_t y = 0; y < rows; ++y)
                std::memcpy(tile_.data() + y * row_bytes, block_.data() + y * page_.line_bytes() + start, used);
            const std::uint32_t number = line_ / rows_ * across + t;
            require(TIFFWriteEncodedTile(tiff_->get(), number, tile_.data(), static_cast<tmsize_t>(tile_.size())) >= 0);
        }
    }

    // Lab as the tags have it: 8 bits with a, b in two's complement, 16 bits with 65280 for L 100 and 256 steps a unit.
    void store_lab(unsigned char *line) const
    {
        const auto samples = static_cast<std::size_t>(page_.samples());
        for (std::size_t x = 0; x < page_.width; ++x) {
            if (page_.depth == 8) {
                line[x * samples + 1] ^= 0x80U;
                line[x * samples + 2] ^= 0x80U;
                continue;
            }
            std::uint16_t lab[3];
            std::memcpy(lab, line + 2 * x * samples, sizeof lab);
            for (std::uint16_t &value : lab)
                value = static_cast<std::uint16_t>((value * 65280U + 32767) / 65535);
            std::memcpy(line + 2 * x * samples, lab, sizeof lab);
        }
    }

    job &work_;
    output_file &file_;
    picture_options said_;
    std::unique_ptr<tiff_file> tiff_;
    page_facts page_;
    std::uint32_t line_ = 0;
    std::uint32_t rows_ = 1;            // of a strip or tile
    std::vector<unsigned char> block_;  // lines of a strip or a row of tiles
    std::vector<unsigned char> tile_;
};

}  // namespace

std::unique_ptr<picture_writer> make_tiff(job &work, output_file &file, const picture_options &said)
{
    return std::make_unique<tiff_writer>(work, file, said);
}

}  // namespace tool
