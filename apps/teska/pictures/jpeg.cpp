// jpeg - JPEG pictures by libjpeg
//
// libjpeg leaves its functions through error_exit, here by longjmp: every call of it is made through guarded(), whose
// frame holds nothing that has a destructor. Warnings that mean lost picture data are failures; a gray rest is no
// result.
//
// CMYK: with an Adobe marker, 255 is no ink. Without one writers differ, and 255 is taken as full ink.

#include "frame/failure.h"
#include "frame/job.h"
#include "pictures/formats.h"

#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
// After jpeglib.h.
#include <jerror.h>

namespace tool
{

namespace
{

constexpr std::size_t buffer_bytes = std::size_t{64} * 1024;

// What libjpeg calls back with; the records of libjpeg point to it.
struct jpeg_talk {
    jpeg_error_mgr errors;
    std::jmp_buf leave;
    char problem[JMSG_LENGTH_MAX];
    int code = 0;
    const input_file *in = nullptr;
    output_file *out = nullptr;
    std::uint64_t position = 0;
    bool ended_early = false;
    std::optional<failure> refused;
    library_warnings *warnings = nullptr;
    std::array<JOCTET, buffer_bytes> buffer;
};

jpeg_talk &talk_of(j_common_ptr jpeg) { return *static_cast<jpeg_talk *>(jpeg->client_data); }

extern "C" void jpeg_failed(j_common_ptr jpeg)
{
    jpeg_talk &talk = talk_of(jpeg);
    talk.code = jpeg->err->msg_code;
    jpeg->err->format_message(jpeg, talk.problem);
    std::longjmp(talk.leave, 1);
}

bool loses_picture(int code)
{
    switch (code) {
    case JWRN_JPEG_EOF:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
    case JWRN_MUST_RESYNC:
    case JWRN_NOT_SEQUENTIAL:
        return true;
    default:
        return false;
    }
}

extern "C" void jpeg_told(j_common_ptr jpeg, int level)
{
    if (level >= 0)
        return;
    jpeg_talk &talk = talk_of(jpeg);
    if (loses_picture(jpeg->err->msg_code))
        jpeg_failed(jpeg);
    char text[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, text);
    if (talk.warnings != nullptr)
        talk.warnings->add(text);
}

extern "C" void jpeg_printed(j_common_ptr) {}

extern "C" void source_begun(j_decompress_ptr) {}

extern "C" boolean source_filled(j_decompress_ptr jpeg)
{
    jpeg_talk &talk = talk_of(reinterpret_cast<j_common_ptr>(jpeg));
    const std::size_t got = talk.in->read_at(talk.position, talk.buffer.data(), talk.buffer.size());
    talk.position += got;
    if (got == 0) {
        talk.ended_early = true;
        jpeg->err->msg_code = JWRN_JPEG_EOF;
        jpeg_failed(reinterpret_cast<j_common_ptr>(jpeg));
    }
    jpeg->src->next_input_byte = talk.buffer.data();
    jpeg->src->bytes_in_buffer = got;
    return TRUE;
}

extern "C" void source_skipped(j_decompress_ptr jpeg, long count)
{
    while (count > static_cast<long>(jpeg->src->bytes_in_buffer)) {
        count -= static_cast<long>(jpeg->src->bytes_in_buffer);
        source_filled(jpeg);
    }
    if (count > 0) {
        jpeg->src->next_input_byte += count;
        jpeg->src->bytes_in_buffer -= static_cast<std::size_t>(count);
    }
}

extern "C" void source_ended(j_decompress_ptr) {}

extern "C" void target_begun(j_compress_ptr jpeg)
{
    jpeg_talk &talk = talk_of(reinterpret_cast<j_common_ptr>(jpeg));
    jpeg->dest->next_output_byte = talk.buffer.data();
    jpeg->dest->free_in_buffer = talk.buffer.size();
}

void give(j_compress_ptr jpeg, std::size_t size)
{
    jpeg_talk &talk = talk_of(reinterpret_cast<j_common_ptr>(jpeg));
    try {
        talk.out->write(talk.buffer.data(), size);
        return;
    } catch (const failure &problem) {
        talk.refused = problem;
    }
    jpeg_failed(reinterpret_cast<j_common_ptr>(jpeg));
}

extern "C" boolean target_full(j_compress_ptr jpeg)
{
    give(jpeg, buffer_bytes);
    target_begun(jpeg);
    return TRUE;
}

extern "C" void target_ended(j_compress_ptr jpeg) { give(jpeg, buffer_bytes - jpeg->dest->free_in_buffer); }

// Runs calls of libjpeg. False when one of them failed. The calls must not hold anything with a destructor.
template <class Calls>
bool guarded(jpeg_talk &talk, const Calls &calls)
{
    if (setjmp(talk.leave) != 0)
        return false;
    calls();
    return true;
}

void prepare(jpeg_talk &talk)
{
    jpeg_std_error(&talk.errors);
    talk.errors.error_exit = jpeg_failed;
    talk.errors.emit_message = jpeg_told;
    talk.errors.output_message = jpeg_printed;
}

// The orientation in a block of EXIF, which is a TIFF by itself; 1 when it says none.
int orientation_in(const unsigned char *data, std::size_t size)
{
    const bool little = size > 1 && data[0] == 'I';
    const auto number = [&](std::size_t at, int bytes) -> std::size_t {
        std::size_t value = 0;
        for (int i = 0; i < bytes; ++i) {
            const std::size_t place = at + static_cast<std::size_t>(little ? bytes - 1 - i : i);
            value = value * 256 + (place < size ? data[place] : 0);
        }
        return value;
    };
    const std::size_t directory = number(4, 4);
    if (size < 8 || directory > size - 2)
        return 1;
    const std::size_t entries = std::min(number(directory, 2), (size - directory - 2) / 12);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t entry = directory + 2 + 12 * i;
        constexpr std::size_t orientation_tag = 274;
        constexpr std::size_t short_type = 3;
        if (number(entry, 2) == orientation_tag && number(entry + 2, 2) == short_type) {
            const std::size_t value = number(entry + 8, 2);
            return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
        }
    }
    return 1;
}

class jpeg_reader : public picture_reader
{
public:
    jpeg_reader(job &work, const input_file &file, const picture_options &said)
        : work_(work), path_(file.path()), warnings_(work, file.path())
    {
        prepare(talk_);
        talk_.in = &file;
        talk_.warnings = &warnings_;
        jpeg_.err = &talk_.errors;
        jpeg_.client_data = &talk_;
        jpeg_decompress_struct *jpeg = &jpeg_;
        if (!guarded(talk_, [jpeg] { jpeg_create_decompress(jpeg); }))
            fail("");
        jpeg_.client_data = &talk_;
        source_.init_source = source_begun;
        source_.fill_input_buffer = source_filled;
        source_.skip_input_data = source_skipped;
        source_.resync_to_restart = jpeg_resync_to_restart;
        source_.term_source = source_ended;
        source_.bytes_in_buffer = 0;
        source_.next_input_byte = nullptr;
        jpeg_.src = &source_;
        try {
            read_header(said);
        } catch (...) {
            jpeg_destroy_decompress(&jpeg_);
            throw;
        }
    }

    ~jpeg_reader() override { jpeg_destroy_decompress(&jpeg_); }

    [[nodiscard]] file_format format() const override { return file_format::jpeg; }

    bool next_page() override { return !std::exchange(started_, true); }

    void read_lines(void *samples, std::uint32_t count) override
    {
        jpeg_decompress_struct *jpeg = &jpeg_;
        auto *out = static_cast<JSAMPLE *>(samples);
        const std::size_t bytes = page_.line_bytes();
        if (!begun_ && !guarded(talk_, [jpeg] { jpeg_start_decompress(jpeg); }))
            fail(where());
        begun_ = true;
        const bool done = guarded(talk_, [jpeg, out, count, bytes] {
            for (std::uint32_t i = 0; i < count;) {
                JSAMPROW rows[8];
                const std::uint32_t wanted = std::min<std::uint32_t>(8, count - i);
                for (std::uint32_t k = 0; k < wanted; ++k)
                    rows[k] = out + (i + k) * bytes;
                i += jpeg_read_scanlines(jpeg, rows, wanted);
            }
        });
        if (!done)
            fail(where());
        if (inverted_)
            for (std::size_t i = 0; i < count * bytes; ++i)
                out[i] = static_cast<JSAMPLE>(255 - out[i]);
        if (jpeg_.output_scanline == page_.height && !guarded(talk_, [jpeg] { jpeg_finish_decompress(jpeg); }))
            fail(where());
    }

private:
    [[nodiscard]] std::string where() const
    {
        return "line " + std::to_string(std::min(jpeg_.output_scanline + 1, page_.height)) + ": ";
    }

    [[noreturn]] void fail(const std::string &where) const
    {
        if (talk_.ended_early)
            throw failure(path_, where + "the file ends early");
        switch (talk_.code) {
        case JERR_BAD_PRECISION:
            throw failure(path_, "12-bit JPEG is not supported", "save it as TIFF");
        case JERR_SOF_UNSUPPORTED:
            throw failure(path_, "lossless JPEG is not supported", "save it as TIFF");
        case JWRN_JPEG_EOF:
        case JWRN_HIT_MARKER:
            throw failure(path_, where + "the picture's data end early, or are damaged");
        default:
            throw failure(path_, where + talk_.problem);
        }
    }

    void read_header(const picture_options &said)
    {
        jpeg_decompress_struct *jpeg = &jpeg_;
        const bool done = guarded(talk_, [jpeg] {
            for (const int marker : {JPEG_APP0 + 1, JPEG_APP0 + 2, JPEG_APP0 + 13, JPEG_COM})
                jpeg_save_markers(jpeg, marker, 0xFFFF);
            jpeg_read_header(jpeg, TRUE);
        });
        if (!done)
            fail("");
        require_sizes(path_, jpeg_.image_width, jpeg_.image_height, static_cast<std::uint64_t>(jpeg_.num_components),
                      8);
        page_.width = jpeg_.image_width;
        page_.height = jpeg_.image_height;
        choose_colours(said);
        require_memory();
        if (jpeg_.saw_JFIF_marker != 0 && jpeg_.X_density > 0 && jpeg_.Y_density > 0)
            page_.density = {static_cast<double>(jpeg_.X_density), static_cast<double>(jpeg_.Y_density),
                             jpeg_.density_unit == 1   ? resolution::unit::inch
                             : jpeg_.density_unit == 2 ? resolution::unit::centimetre
                                                       : resolution::unit::none};
        read_markers();
    }

    void choose_colours(const picture_options &said)
    {
        switch (jpeg_.jpeg_color_space) {
        case JCS_GRAYSCALE:
            page_.kind = colour_kind::gray;
            page_.colours = 1;
            jpeg_.out_color_space = JCS_GRAYSCALE;
            break;
        case JCS_RGB:
        case JCS_YCbCr:
            jpeg_.out_color_space = JCS_RGB;
            break;
        case JCS_CMYK:
        case JCS_YCCK:
            page_.kind = colour_kind::cmyk;
            page_.colours = 4;
            jpeg_.out_color_space = JCS_CMYK;
            inverted_ = said.jpeg_cmyk == "inverted" || (said.jpeg_cmyk == "auto" && jpeg_.saw_Adobe_marker != 0);
            if (said.jpeg_cmyk == "auto" && jpeg_.saw_Adobe_marker == 0)
                work_.note(path_, "CMYK without an Adobe marker, taken as 255 = full ink; --jpeg-cmyk inverted if not");
            break;
        default:
            throw failure(path_, std::to_string(jpeg_.num_components) + " channels are not supported");
        }
    }

    // libjpeg keeps all coefficients of what comes in several scans.
    void require_memory() const
    {
        constexpr std::uint64_t most = std::uint64_t{1} << 30;
        const std::uint64_t coefficients =
            std::uint64_t{page_.width} * page_.height * static_cast<std::uint64_t>(jpeg_.num_components) * 2;
        if (jpeg_has_multiple_scans(const_cast<jpeg_decompress_struct *>(&jpeg_)) != 0 && coefficients > most)
            throw failure(path_, "is progressive and larger than teska takes", "save it as baseline JPEG or TIFF");
    }

    void read_markers()
    {
        const auto begins = [](const jpeg_marker_struct &marker, const char *name, std::size_t size) {
            return marker.data_length >= size && std::memcmp(marker.data, name, size) == 0;
        };
        const auto has = [&](const char *name) {
            return std::find(page_.metadata.begin(), page_.metadata.end(), name) != page_.metadata.end();
        };
        const auto add = [&](const char *name) {
            if (!has(name))
                page_.metadata.emplace_back(name);
        };
        std::map<int, std::string> pieces;
        int announced = 0;
        for (const jpeg_marker_struct *at = jpeg_.marker_list; at != nullptr; at = at->next) {
            if (at->marker == JPEG_APP0 + 2 && begins(*at, "ICC_PROFILE\0", 12) && at->data_length >= 14) {
                take_piece(*at, pieces, announced);
            } else if (at->marker == JPEG_APP0 + 1 && begins(*at, "Exif\0", 6)) {
                if (!has("exif"))
                    page_.orientation = orientation_in(at->data + 6, at->data_length - 6);
                add("exif");
            } else if (at->marker == JPEG_APP0 + 1 && begins(*at, "http://ns.adobe.com/", 20)) {
                add("xmp");
            } else if (at->marker == JPEG_APP0 + 13) {
                add("iptc");
            } else if (at->marker == JPEG_COM) {
                add("comment");
            }
        }
        for (int i = 1; i <= announced; ++i)
            if (pieces.count(i) == 0)
                incomplete(i, announced, "missing");
        for (const auto &[number, piece] : pieces)
            page_.profile += piece;
        if (page_.profile.size() > largest_profile)
            throw failure(path_, "its profile has more than 64 MiB", "--from names another");
    }

    [[noreturn]] void incomplete(int piece, int pieces, const std::string &what) const
    {
        throw failure(path_,
                      "its profile is incomplete (piece " + std::to_string(piece) + " of " + std::to_string(pieces) +
                          " is " + what + ")",
                      "--from names another");
    }

    void take_piece(const jpeg_marker_struct &marker, std::map<int, std::string> &pieces, int &announced) const
    {
        const int number = marker.data[12];
        const int count = marker.data[13];
        if (announced != 0 && count != announced)
            incomplete(number, announced, "of another profile");
        announced = count;
        if (number == 0 || number > count)
            incomplete(number, count, "one too many");
        const bool fresh =
            pieces
                .emplace(number, std::string(reinterpret_cast<const char *>(marker.data) + 14, marker.data_length - 14))
                .second;
        if (!fresh)
            incomplete(number, count, "there twice");
    }

    job &work_;
    std::string path_;
    library_warnings warnings_;
    jpeg_talk talk_;
    jpeg_decompress_struct jpeg_ = {};
    jpeg_source_mgr source_ = {};
    bool started_ = false;
    bool begun_ = false;
    bool inverted_ = false;
};

class jpeg_writer : public picture_writer
{
public:
    jpeg_writer(job &work, output_file &file, const picture_options &said)
        : file_(file), warnings_(work, file.path()), quality_(said.quality)
    {
        prepare(talk_);
        talk_.out = &file;
        talk_.warnings = &warnings_;
        jpeg_.err = &talk_.errors;
        jpeg_.client_data = &talk_;
        jpeg_compress_struct *jpeg = &jpeg_;
        if (!guarded(talk_, [jpeg] { jpeg_create_compress(jpeg); }))
            fail();
        jpeg_.client_data = &talk_;
        target_.init_destination = target_begun;
        target_.empty_output_buffer = target_full;
        target_.term_destination = target_ended;
        jpeg_.dest = &target_;
    }

    ~jpeg_writer() override { jpeg_destroy_compress(&jpeg_); }

    void begin_page(const page_facts &page) override
    {
        page_ = page;
        jpeg_compress_struct *jpeg = &jpeg_;
        const page_facts *facts = &page_;
        const int quality = quality_;
        const bool done = guarded(talk_, [jpeg, facts, quality] {
            jpeg->image_width = facts->width;
            jpeg->image_height = facts->height;
            jpeg->input_components = facts->colours;
            jpeg->in_color_space = facts->colours == 1 ? JCS_GRAYSCALE : facts->colours == 3 ? JCS_RGB : JCS_CMYK;
            jpeg_set_defaults(jpeg);
            jpeg_set_quality(jpeg, quality, TRUE);
            constexpr int full_colour = 90;
            if (quality >= full_colour || facts->colours == 4)
                for (int c = 0; c < jpeg->num_components; ++c)
                    jpeg->comp_info[c].h_samp_factor = jpeg->comp_info[c].v_samp_factor = 1;
            set_density(jpeg, facts->density);
            jpeg_start_compress(jpeg, TRUE);
            if (facts->orientation != 1)
                write_orientation(jpeg, facts->orientation);
            if (!facts->profile.empty())
                jpeg_write_icc_profile(jpeg, reinterpret_cast<const JOCTET *>(facts->profile.data()),
                                       static_cast<unsigned>(facts->profile.size()));
        });
        if (!done)
            fail();
    }

    void write_lines(const void *samples, std::uint32_t count) override
    {
        const auto *in = static_cast<const JSAMPLE *>(samples);
        const std::size_t bytes = page_.line_bytes();
        if (page_.colours == 4) {
            inverted_.resize(count * bytes);
            std::transform(in, in + inverted_.size(), inverted_.begin(),
                           [](JSAMPLE sample) { return static_cast<JSAMPLE>(255 - sample); });
            in = inverted_.data();
        }
        jpeg_compress_struct *jpeg = &jpeg_;
        const bool done = guarded(talk_, [jpeg, in, count, bytes] {
            for (std::uint32_t i = 0; i < count; ++i) {
                JSAMPROW row = const_cast<JSAMPROW>(in + i * bytes);
                jpeg_write_scanlines(jpeg, &row, 1);
            }
        });
        if (!done)
            fail();
    }

    void end_page() override
    {
        jpeg_compress_struct *jpeg = &jpeg_;
        if (!guarded(talk_, [jpeg] { jpeg_finish_compress(jpeg); }))
            fail();
    }

    void finish() override {}

private:
    static void set_density(j_compress_ptr jpeg, const resolution &density)
    {
        const double x = density.x + 0.5;
        const double y = density.y + 0.5;
        if (x < 1 || y < 1 || x >= 65536 || y >= 65536)
            return;
        jpeg->write_JFIF_header = TRUE;  // in CMYK too: nothing else holds the density there
        jpeg->X_density = static_cast<UINT16>(x);
        jpeg->Y_density = static_cast<UINT16>(y);
        jpeg->density_unit = density.per == resolution::unit::inch         ? 1
                             : density.per == resolution::unit::centimetre ? 2
                                                                           : 0;
    }

    // A block of EXIF with that one tag.
    static void write_orientation(j_compress_ptr jpeg, int orientation)
    {
        JOCTET block[] = {'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1,
                          1,   18,  0,   3,   0, 0, 0,   1,   0, 0,  0, 0, 0, 0, 0, 0};
        block[25] = static_cast<JOCTET>(orientation);
        jpeg_write_marker(jpeg, JPEG_APP0 + 1, block, sizeof block);
    }

    [[noreturn]] void fail() const
    {
        if (talk_.refused)
            throw *talk_.refused;
        throw failure(file_.path(), talk_.problem);
    }

    output_file &file_;
    library_warnings warnings_;
    jpeg_talk talk_;
    jpeg_compress_struct jpeg_ = {};
    jpeg_destination_mgr target_ = {};
    page_facts page_;
    int quality_;
    std::vector<JSAMPLE> inverted_;
};

}  // namespace

std::unique_ptr<picture_reader> open_jpeg(job &work, const input_file &file, const picture_options &said)
{
    return std::make_unique<jpeg_reader>(work, file, said);
}

std::unique_ptr<picture_writer> make_jpeg(job &work, output_file &file, const picture_options &said)
{
    return std::make_unique<jpeg_writer>(work, file, said);
}

}  // namespace tool
