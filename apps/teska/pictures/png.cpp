// png - PNG pictures by libpng
//
// libpng leaves its functions by longjmp. Every call of it is made through guarded(), whose frame holds nothing that
// has a destructor; the calls are plain lambdas. What went wrong is thrown after that, as a failure.
//
// The chunks that tell the colours (iCCP, sRGB, gAMA, cHRM) are asked for as unknown ones: libpng itself drops a
// profile whenever another of them contradicts it.

#include "frame/failure.h"
#include "frame/job.h"
#include "frame/text.h"
#include "pictures/formats.h"
#include "pictures/line_store.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <optional>

namespace tool
{

namespace
{

constexpr png_byte colour_chunks[] = "iCCP\0sRGB\0gAMA\0cHRM";

// What libpng calls back with.
struct png_talk {
    const input_file *in = nullptr;
    output_file *out = nullptr;
    std::uint64_t position = 0;
    bool ended_early = false;
    std::string problem;             // of libpng, or what() of the file
    std::optional<failure> refused;  // by the output
    library_warnings *warnings = nullptr;
};

png_talk &talk_of(png_structp png) { return *static_cast<png_talk *>(png_get_error_ptr(png)); }

extern "C" void png_failed(png_structp png, png_const_charp text)
{
    talk_of(png).problem = text;
    png_longjmp(png, 1);
}

extern "C" void png_warned(png_structp png, png_const_charp text)
{
    if (talk_of(png).warnings != nullptr)
        talk_of(png).warnings->add(text);
}

extern "C" void png_take(png_structp png, png_bytep data, std::size_t size)
{
    png_talk &talk = talk_of(png);
    const std::size_t got = talk.in->read_at(talk.position, data, size);
    talk.position += got;
    if (got != size) {
        talk.ended_early = true;
        png_error(png, "the file ends early");
    }
}

extern "C" void png_give(png_structp png, png_bytep data, std::size_t size)
{
    png_talk &talk = talk_of(png);
    try {
        talk.out->write(data, size);
        return;
    } catch (const failure &problem) {
        talk.refused = problem;
    }
    png_error(png, "the file cannot be written");
}

extern "C" void png_flushed(png_structp) {}

// Runs calls of libpng. False when one of them failed. The calls must not hold anything with a destructor.
template <class Calls>
bool guarded(png_structp png, const Calls &calls)
{
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    calls();
    return true;
}

std::uint32_t big_endian(const png_byte *bytes)
{
    return (std::uint32_t{bytes[0]} << 24U) | (std::uint32_t{bytes[1]} << 16U) | (std::uint32_t{bytes[2]} << 8U) |
           bytes[3];
}

// The profile inside an iCCP chunk: a name, a zero, the method, deflated bytes.
std::string inflate_profile(const std::string &path, const png_byte *chunk, std::size_t size)
{
    const png_byte *end = std::find(chunk, chunk + std::min<std::size_t>(size, 80), png_byte{0});
    if (end == chunk + std::min<std::size_t>(size, 80) || static_cast<std::size_t>(end - chunk) + 2 > size)
        throw failure(path, "its profile is damaged", "--from names another");
    z_stream zip = {};
    if (inflateInit(&zip) != Z_OK)
        throw std::bad_alloc();
    const std::unique_ptr<z_stream, decltype(&inflateEnd)> owner(&zip, inflateEnd);
    zip.next_in = const_cast<png_byte *>(end + 2);
    zip.avail_in = static_cast<uInt>(size - static_cast<std::size_t>(end + 2 - chunk));
    std::string profile;
    int state = Z_OK;
    while (state == Z_OK) {
        char piece[65536];
        zip.next_out = reinterpret_cast<Bytef *>(piece);
        zip.avail_out = sizeof piece;
        state = inflate(&zip, Z_NO_FLUSH);
        profile.append(piece, sizeof piece - zip.avail_out);
        if (profile.size() > largest_profile)
            throw failure(path, "its profile has more than 64 MiB", "--from names another");
    }
    if (state != Z_STREAM_END)
        throw failure(path, "its profile is damaged", "--from names another");
    return profile;
}

class png_reader : public picture_reader
{
public:
    png_reader(job &work, const input_file &file) : path_(file.path()), warnings_(work, file.path())
    {
        talk_.in = &file;
        talk_.warnings = &warnings_;
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &talk_, png_failed, png_warned);
        info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
        try {
            if (info_ == nullptr)
                throw std::bad_alloc();
            prepare();
            read_header();
        } catch (...) {
            png_destroy_read_struct(&png_, &info_, nullptr);
            throw;
        }
    }

    ~png_reader() override { png_destroy_read_struct(&png_, &info_, nullptr); }

    [[nodiscard]] file_format format() const override { return file_format::png; }

    bool next_page() override { return !std::exchange(started_, true); }

    void read_lines(void *samples, std::uint32_t count) override
    {
        if (passes_ > 1 && !store_)
            read_passes();
        for (std::uint32_t i = 0; i < count; ++i)
            read_one(static_cast<png_bytep>(samples) + i * page_.line_bytes());
    }

private:
    void read_one(png_bytep row)
    {
        if (store_) {
            store_->get(line_, row);
        } else {
            png_structp png = png_;
            if (!guarded(png, [png, row] { png_read_row(png, row, nullptr); }))
                fail();
        }
        if (++line_ == page_.height)
            read_end();
    }

    [[noreturn]] void fail() const
    {
        const std::string where = reading_ ? "line " + std::to_string(line_ + 1) + ": " : "";
        throw failure(path_, where + (talk_.ended_early ? "the file ends early" : talk_.problem));
    }

    void prepare()
    {
        png_structp png = png_;
        png_talk *talk = &talk_;
        const bool done = guarded(png, [png, talk] {
            png_set_read_fn(png, talk, png_take);
            png_set_user_limits(png, longest_side, longest_side);
            png_set_chunk_malloc_max(png, largest_profile + 65536);
            png_set_chunk_cache_max(png, 1000);
            png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_ALWAYS, colour_chunks, 4);
            png_set_crc_action(png, PNG_CRC_ERROR_QUIT, PNG_CRC_WARN_DISCARD);
        });
        if (!done)
            fail();
    }

    void read_header()
    {
        png_structp png = png_;
        png_infop info = info_;
        if (!guarded(png, [png, info] { png_read_info(png, info); }))
            fail();
        const int type = png_get_color_type(png, info);
        const int depth = png_get_bit_depth(png, info);
        const bool transparent = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
        page_.was_palette = type == PNG_COLOR_TYPE_PALETTE;
        page_.was_bilevel = depth == 1 && !page_.was_palette;
        page_.kind = (type & PNG_COLOR_MASK_COLOR) != 0 ? colour_kind::rgb : colour_kind::gray;
        page_.colours = page_.kind == colour_kind::rgb ? 3 : 1;
        if ((type & PNG_COLOR_MASK_ALPHA) != 0 || transparent)
            page_.extras = {extra_kind::unassociated};
        page_.depth = depth == 16 ? 16 : 8;
        require_sizes(path_, png_get_image_width(png, info), png_get_image_height(png, info),
                      static_cast<std::uint64_t>(page_.samples()), page_.depth);
        page_.width = png_get_image_width(png, info);
        page_.height = png_get_image_height(png, info);
        int passes = 1;
        const bool done = guarded(png, [png, info, type, depth, transparent, &passes] {
            if (type == PNG_COLOR_TYPE_PALETTE)
                png_set_palette_to_rgb(png);
            else if (depth < 8)
                png_set_expand_gray_1_2_4_to_8(png);
            if (transparent)
                png_set_tRNS_to_alpha(png);
            if (depth == 16 && std::endian::native == std::endian::little)
                png_set_swap(png);
            passes = png_set_interlace_handling(png);
            png_read_update_info(png, info);
        });
        if (!done)
            fail();
        passes_ = passes;
        if (png_get_rowbytes(png, info) != page_.line_bytes())
            throw failure(path_, "its lines have another length than its header says");
        read_density();
        read_colour();
        read_metadata();
        reading_ = true;
    }

    void read_density()
    {
        png_uint_32 x = 0;
        png_uint_32 y = 0;
        int unit = 0;
        if (png_get_pHYs(png_, info_, &x, &y, &unit) == 0 || x == 0 || y == 0)
            return;
        if (unit == PNG_RESOLUTION_METER)
            page_.density = {x * 0.01, y * 0.01, resolution::unit::centimetre};
        else
            page_.density = {static_cast<double>(x), static_cast<double>(y), resolution::unit::none};
    }

    // iCCP, else sRGB, else gAMA with cHRM, else gAMA alone; the gamma of sRGB without primaries counts as sRGB.
    void read_colour()
    {
        png_unknown_chunkp chunks = nullptr;
        const int count = png_get_unknown_chunks(png_, info_, &chunks);
        std::optional<gamma_facts> gamma;
        std::optional<std::array<double, 8>> white;
        for (int i = 0; i < count; ++i) {
            const png_unknown_chunk &chunk = chunks[i];
            const std::string name(reinterpret_cast<const char *>(chunk.name), 4);
            if (name == "iCCP" && page_.profile.empty())
                page_.profile = inflate_profile(path_, chunk.data, chunk.size);
            else if (name == "sRGB")
                page_.said_srgb = true;
            else if (name == "gAMA" && chunk.size == 4 && big_endian(chunk.data) > 0)
                gamma = gamma_facts{big_endian(chunk.data) / 100000.0, {}};
            else if (name == "cHRM" && chunk.size == 32)
                white = primaries(chunk.data);
        }
        if (gamma)
            gamma->white = white;
        const bool gamma_of_srgb = gamma && !white && std::abs(gamma->gamma - 0.45455) < 1e-9;
        page_.said_srgb = page_.profile.empty() && (page_.said_srgb || gamma_of_srgb);
        if (page_.profile.empty() && !page_.said_srgb)
            page_.gamma = gamma;
    }

    static std::optional<std::array<double, 8>> primaries(const png_byte *data)
    {
        std::array<double, 8> white{};
        for (std::size_t i = 0; i < white.size(); ++i)
            white[i] = big_endian(data + 4 * i) / 100000.0;
        return white;
    }

    void read_metadata()
    {
        if (png_get_valid(png_, info_, PNG_INFO_eXIf) != 0)
            page_.metadata.emplace_back("exif");
        png_textp texts = nullptr;
        int count = 0;
        png_get_text(png_, info_, &texts, &count);
        bool comment = false;
        for (int i = 0; i < count; ++i) {
            if (std::strcmp(texts[i].key, "XML:com.adobe.xmp") == 0)
                page_.metadata.emplace_back("xmp");
            else
                comment = true;
        }
        if (comment)
            page_.metadata.emplace_back("comment");
    }

    // All passes of an interlaced picture: each visits every line.
    void read_passes()
    {
        store_.emplace(path_, page_.line_bytes(), page_.height);
        std::vector<png_byte> row(page_.line_bytes());
        png_structp png = png_;
        png_bytep at = row.data();
        for (int pass = 0; pass < passes_; ++pass)
            for (line_ = 0; line_ < page_.height; ++line_) {
                store_->get(line_, at);
                if (!guarded(png, [png, at] { png_read_row(png, at, nullptr); }))
                    fail();
                store_->put(line_, at);
            }
        line_ = 0;
    }

    // What follows the lines: a file that was cut there is damaged too.
    void read_end()
    {
        png_structp png = png_;
        if (!guarded(png, [png] { png_read_end(png, nullptr); })) {
            reading_ = false;
            fail();
        }
    }

    std::string path_;
    library_warnings warnings_;
    png_talk talk_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::optional<line_store> store_;
    int passes_ = 1;
    std::uint32_t line_ = 0;
    bool started_ = false;
    bool reading_ = false;
};

class png_writer : public picture_writer
{
public:
    png_writer(job &work, output_file &file) : file_(file), warnings_(work, file.path())
    {
        talk_.out = &file;
        talk_.warnings = &warnings_;
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &talk_, png_failed, png_warned);
        info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
        if (info_ == nullptr) {
            png_destroy_write_struct(&png_, nullptr);
            throw std::bad_alloc();
        }
    }

    ~png_writer() override { png_destroy_write_struct(&png_, &info_); }

    void begin_page(const page_facts &page) override
    {
        png_structp png = png_;
        png_infop info = info_;
        png_talk *talk = &talk_;
        const page_facts *facts = &page;
        const int type = (page.kind == colour_kind::rgb ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY) |
                         (page.extras.empty() ? 0 : PNG_COLOR_MASK_ALPHA);
        const std::string profile = page.profile.empty() ? "" : deflated_profile(page.profile);
        const auto *chunk = reinterpret_cast<png_const_bytep>(profile.data());
        const std::size_t chunk_size = profile.size();
        line_bytes_ = page.line_bytes();
        const bool done = guarded(png, [png, info, talk, facts, type, chunk, chunk_size] {
            png_set_write_fn(png, talk, png_give, png_flushed);
            png_set_user_limits(png, 0x7FFFFFFF, 0x7FFFFFFF);
            png_set_IHDR(png, info, facts->width, facts->height, facts->depth, type, PNG_INTERLACE_NONE,
                         PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
            set_colour(png, info, *facts);
            set_density(png, info, facts->density);
            png_write_info_before_PLTE(png, info);
            // libpng itself drops profiles that are not as it wants them.
            if (chunk_size > 0)
                png_write_chunk(png, reinterpret_cast<png_const_bytep>("iCCP"), chunk, chunk_size);
            png_write_info(png, info);
            if (facts->depth == 16 && std::endian::native == std::endian::little)
                png_set_swap(png);
        });
        if (!done)
            fail();
    }

    void write_lines(const void *samples, std::uint32_t count) override
    {
        png_structp png = png_;
        const auto *row = static_cast<png_const_bytep>(samples);
        const std::size_t bytes = line_bytes_;
        const bool done = guarded(png, [png, row, count, bytes] {
            for (std::uint32_t i = 0; i < count; ++i)
                png_write_row(png, row + i * bytes);
        });
        if (!done)
            fail();
    }

    void end_page() override
    {
        png_structp png = png_;
        if (!guarded(png, [png] { png_write_end(png, nullptr); }))
            fail();
    }

    void finish() override {}

private:
    // An iCCP chunk: name, method, deflated bytes.
    static std::string deflated_profile(const std::string &profile)
    {
        uLongf size = compressBound(static_cast<uLong>(profile.size()));
        std::string chunk("ICC\0\0", 5);
        chunk.resize(5 + size);
        compress(reinterpret_cast<Bytef *>(chunk.data() + 5), &size, reinterpret_cast<const Bytef *>(profile.data()),
                 static_cast<uLong>(profile.size()));
        chunk.resize(5 + size);
        return chunk;
    }

    static void set_colour(png_structp png, png_infop info, const page_facts &page)
    {
        if (!page.profile.empty())
            return;
        if (page.said_srgb) {
            png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
        } else if (page.gamma) {
            png_set_gAMA(png, info, page.gamma->gamma);
            if (const auto &w = page.gamma->white)
                png_set_cHRM(png, info, (*w)[0], (*w)[1], (*w)[2], (*w)[3], (*w)[4], (*w)[5], (*w)[6], (*w)[7]);
        }
    }

    static void set_density(png_structp png, png_infop info, const resolution &density)
    {
        const double scale = density.per == resolution::unit::inch         ? 100 / 2.54
                             : density.per == resolution::unit::centimetre ? 100
                                                                           : 1;
        const double x = density.x * scale + 0.5;
        const double y = density.y * scale + 0.5;
        if (x >= 1 && y >= 1 && x < 2147483647 && y < 2147483647)
            png_set_pHYs(png, info, static_cast<png_uint_32>(x), static_cast<png_uint_32>(y),
                         density.per == resolution::unit::none ? PNG_RESOLUTION_UNKNOWN : PNG_RESOLUTION_METER);
    }

    [[noreturn]] void fail() const
    {
        if (talk_.refused)
            throw *talk_.refused;
        throw failure(file_.path(), talk_.problem);
    }

    output_file &file_;
    library_warnings warnings_;
    png_talk talk_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::size_t line_bytes_ = 0;
};

}  // namespace

std::unique_ptr<picture_reader> open_png(job &work, const input_file &file)
{
    return std::make_unique<png_reader>(work, file);
}

std::unique_ptr<picture_writer> make_png(job &work, output_file &file)
{
    return std::make_unique<png_writer>(work, file);
}

}  // namespace tool
