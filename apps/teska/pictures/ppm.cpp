// ppm - portable gray maps and pixel maps, as text and as bytes
//
// P2 and P5 have one sample a pixel, P3 and P6 three. A header of three numbers, with comments from # to the end of the
// line; 16-bit samples have their higher byte first. Samples are scaled to the whole range.

#include "frame/failure.h"
#include "frame/job.h"
#include "frame/text.h"
#include "pictures/formats.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tool
{

namespace
{

class ppm_reader : public picture_reader
{
public:
    explicit ppm_reader(const input_file &file) : file_(file)
    {
        char kind[2];
        file.read_at(0, kind, sizeof kind);
        position_ = sizeof kind;
        is_text_ = kind[1] == '2' || kind[1] == '3';
        page_.kind = kind[1] == '2' || kind[1] == '5' ? colour_kind::gray : colour_kind::rgb;
        page_.colours = page_.kind == colour_kind::gray ? 1 : 3;
        const std::uint32_t width = number("the width");
        const std::uint32_t height = number("the height");
        largest_ = number("the largest sample");
        if (largest_ < 1 || largest_ > 65535)
            throw failure(file.path(), "its largest sample is " + std::to_string(largest_) + ", 1 to 65535 wanted");
        page_.depth = largest_ > 255 ? 16 : 8;
        require_sizes(file.path(), width, height, static_cast<std::uint64_t>(page_.colours), page_.depth);
        page_.width = width;
        page_.height = height;
        // One blank ends the header; in text the samples follow anywhere.
        next_byte();
        const std::uint64_t samples = std::uint64_t{width} * height * static_cast<std::uint64_t>(page_.colours);
        const std::uint64_t least = is_text_ ? 2 * samples - 1 : samples * static_cast<std::uint64_t>(page_.depth / 8);
        const std::uint64_t left = file.size() - std::min(file.size(), position_of_next());
        if (left < least)
            ends_early(is_text_ ? 0 : static_cast<std::uint32_t>(left / page_.line_bytes()));
    }

    [[nodiscard]] file_format format() const override { return file_format::ppm; }

    bool next_page() override { return !std::exchange(started_, true); }

    void read_lines(void *samples, std::uint32_t lines) override
    {
        for (std::uint32_t i = 0; i < lines; ++i)
            read_one(static_cast<char *>(samples) + i * page_.line_bytes());
    }

private:
    void read_one(void *samples)
    {
        const std::size_t count = std::size_t{page_.width} * static_cast<std::size_t>(page_.colours);
        if (is_text_)
            read_text(samples, count);
        else if (page_.depth == 8)
            read_bytes(static_cast<unsigned char *>(samples), count);
        else
            read_words(static_cast<std::uint16_t *>(samples), count);
        ++line_;
    }

    [[noreturn]] void ends_early(std::uint32_t line) const
    {
        throw failure(file_.path(), "line " + std::to_string(line + 1) + ": the file ends early");
    }

    [[nodiscard]] std::uint64_t position_of_next() const { return position_ - held_.size() + next_; }

    // The next byte, -1 at the end.
    int next_byte()
    {
        if (next_ == held_.size()) {
            held_.resize(65536);
            held_.resize(file_.read_at(position_, held_.data(), held_.size()));
            position_ += held_.size();
            next_ = 0;
            if (held_.empty())
                return -1;
        }
        return static_cast<unsigned char>(held_[next_++]);
    }

    // A number behind blanks and comments; the byte after it is left.
    std::uint32_t number(const char *what)
    {
        int byte = next_byte();
        while (byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r' || byte == '\v' || byte == '\f' ||
               byte == '#') {
            if (byte == '#')
                while (byte != '\n' && byte != '\r' && byte >= 0)
                    byte = next_byte();
            byte = next_byte();
        }
        if (byte < '0' || byte > '9') {
            if (byte < 0)
                ends_early(line_);
            throw failure(file_.path(), std::string(what) + " is no number");
        }
        std::uint64_t value = 0;
        for (; byte >= '0' && byte <= '9'; byte = next_byte())
            value = std::min<std::uint64_t>(value * 10 + static_cast<std::uint64_t>(byte - '0'), 0xFFFFFFFFU);
        if (byte >= 0)
            --next_;
        return static_cast<std::uint32_t>(value);
    }

    std::uint32_t scaled(std::uint32_t sample) const
    {
        const std::uint32_t full = page_.depth == 8 ? 255 : 65535;
        if (sample > largest_)
            throw failure(file_.path(), "line " + std::to_string(line_ + 1) + ": sample " + std::to_string(sample) +
                                            " is above " + std::to_string(largest_));
        return largest_ == full ? sample
                                : static_cast<std::uint32_t>((std::uint64_t{sample} * full + largest_ / 2) / largest_);
    }

    void read_text(void *samples, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t sample = scaled(number("a sample"));
            if (page_.depth == 8)
                static_cast<unsigned char *>(samples)[i] = static_cast<unsigned char>(sample);
            else
                static_cast<std::uint16_t *>(samples)[i] = static_cast<std::uint16_t>(sample);
        }
    }

    void take(void *bytes, std::size_t size)
    {
        const std::size_t held = std::min(size, held_.size() - next_);
        std::memcpy(bytes, held_.data() + next_, held);
        next_ += held;
        const std::size_t rest = size - held;
        if (file_.read_at(position_, static_cast<char *>(bytes) + held, rest) != rest)
            ends_early(line_);
        position_ += rest;
        if (rest > 0) {
            held_.clear();
            next_ = 0;
        }
    }

    void read_bytes(unsigned char *samples, std::size_t count)
    {
        take(samples, count);
        if (largest_ != 255)
            std::transform(samples, samples + count, samples,
                           [&](unsigned char sample) { return static_cast<unsigned char>(scaled(sample)); });
    }

    void read_words(std::uint16_t *samples, std::size_t count)
    {
        take(samples, 2 * count);
        const auto *bytes = reinterpret_cast<const unsigned char *>(samples);
        for (std::size_t i = 0; i < count; ++i)
            samples[i] = static_cast<std::uint16_t>(scaled(bytes[2 * i] * 256U + bytes[2 * i + 1]));
    }

    const input_file &file_;
    std::uint64_t position_ = 0;  // of what is read next from the file
    std::string held_;
    std::size_t next_ = 0;  // in what is held
    bool is_text_;
    bool started_ = false;
    std::uint32_t largest_;
    std::uint32_t line_ = 0;
};

class ppm_writer : public picture_writer
{
public:
    ppm_writer(job &work, output_file &file) : work_(work), file_(file) {}

    void begin_page(const page_facts &page) override
    {
        page_ = page;
        if (!page.profile.empty())
            work_.note(file_.path(), "PPM holds no profile");
        file_.write((page.kind == colour_kind::gray ? "P5\n" : "P6\n") + std::to_string(page.width) + " " +
                    std::to_string(page.height) + "\n" + (page.depth == 8 ? "255\n" : "65535\n"));
    }

    void write_lines(const void *samples, std::uint32_t count) override
    {
        if (page_.depth == 8 || std::endian::native == std::endian::big) {
            file_.write(samples, count * page_.line_bytes());
            return;
        }
        swapped_.resize(count * page_.line_bytes());
        const auto *bytes = static_cast<const char *>(samples);
        for (std::size_t i = 0; i < swapped_.size(); i += 2) {
            swapped_[i] = bytes[i + 1];
            swapped_[i + 1] = bytes[i];
        }
        file_.write(swapped_);
    }

    void end_page() override {}
    void finish() override {}

private:
    job &work_;
    output_file &file_;
    page_facts page_;
    std::string swapped_;
};

}  // namespace

std::unique_ptr<picture_reader> open_ppm(job &, const input_file &file) { return std::make_unique<ppm_reader>(file); }

std::unique_ptr<picture_writer> make_ppm(job &work, output_file &file)
{
    return std::make_unique<ppm_writer>(work, file);
}

}  // namespace tool
