// pictures - small pictures of every kind for tests, and what is in a file

#include "support/pictures.h"

#include "support/generator.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace tool_test
{

using namespace tool;

whole_page random_page(colour_kind kind, int colours, int depth, std::uint32_t width, std::uint32_t height,
                       std::vector<extra_kind> extras)
{
    whole_page page;
    page.facts.kind = kind;
    page.facts.colours = colours;
    page.facts.depth = depth;
    page.facts.width = width;
    page.facts.height = height;
    page.facts.extras = std::move(extras);
    teska_test::Generator numbers(static_cast<std::uint64_t>(colours * 100 + depth));
    const auto count = std::size_t{width} * height * static_cast<std::size_t>(page.facts.samples());
    for (std::size_t i = 0; i < count; ++i)
        page.samples.push_back(static_cast<std::uint16_t>(numbers.next() >> (depth == 8 ? 56U : 48U)));
    return page;
}

void write_pages(const std::string &path, const std::vector<whole_page> &pages, const picture_options &said)
{
    job work("test");
    work.force = true;
    work.quiet = true;
    output_file file(work, path);
    const auto writer = make_picture(work, file, output_format(path, said.format), said);
    for (const whole_page &page : pages) {
        writer->begin_page(page.facts);
        if (page.facts.depth == 16) {
            writer->write_lines(page.samples.data(), page.facts.height);
        } else {
            const std::vector<std::uint8_t> bytes(page.samples.begin(), page.samples.end());
            // In uneven pieces, as commands may.
            for (std::uint32_t y = 0; y < page.facts.height;) {
                const std::uint32_t lines = std::min<std::uint32_t>(1 + y % 5, page.facts.height - y);
                writer->write_lines(bytes.data() + y * page.facts.line_bytes(), lines);
                y += lines;
            }
        }
        writer->end_page();
    }
    writer->finish();
    file.publish();
}

std::vector<whole_page> read_pages(const std::string &path, const picture_options &said)
{
    job work("test");
    work.quiet = true;
    const input_file file(path);
    auto reader = open_picture(work, file, said);
    if (said.orient == "apply")
        reader = upright(std::move(reader));
    std::vector<whole_page> pages;
    while (reader->next_page()) {
        whole_page page;
        page.facts = reader->page();
        const auto count = page.facts.line_bytes() / static_cast<std::size_t>(page.facts.depth / 8);
        std::vector<std::uint16_t> line(count + 1);
        for (std::uint32_t y = 0; y < page.facts.height; ++y) {
            reader->read_line(line.data());
            if (page.facts.depth == 16) {
                page.samples.insert(page.samples.end(), line.begin(),
                                    line.begin() + static_cast<std::ptrdiff_t>(count));
            } else {
                const auto *bytes = reinterpret_cast<const std::uint8_t *>(line.data());
                page.samples.insert(page.samples.end(), bytes, bytes + count);
            }
        }
        pages.push_back(std::move(page));
    }
    return pages;
}

whole_page read_page(const std::string &path, const picture_options &said) { return read_pages(path, said).at(0); }

std::string plain_tiff(bool big_endian, const std::vector<std::vector<std::uint32_t>> &entries, const std::string &data)
{
    const auto number = [&](std::uint32_t value, int bytes) {
        std::string text;
        for (int i = 0; i < bytes; ++i) {
            const int shift = 8 * (big_endian ? bytes - 1 - i : i);
            text += static_cast<char>(value >> static_cast<unsigned>(shift));
        }
        return text;
    };
    std::string file = big_endian ? "MM" : "II";
    file += number(42, 2) + number(static_cast<std::uint32_t>(8 + data.size()), 4) + data;
    file += number(static_cast<std::uint32_t>(entries.size()), 2);
    for (const std::vector<std::uint32_t> &entry : entries) {
        const bool is_short = entry[1] == 3;
        file += number(entry[0], 2) + number(entry[1], 2) + number(entry[2], 4);
        if (is_short && entry[2] == 1)
            file += number(entry[3], 2) + number(0, 2);
        else if (is_short && entry[2] == 2)
            file += number(entry[3], 2) + number(entry[4], 2);
        else
            file += number(entry[3], 4);
    }
    return file + number(0, 4);
}

std::string press_profile()
{
    const char *const path = "/usr/share/color/icc/ghostscript/default_cmyk.icc";
    return std::filesystem::exists(path) ? path : "";
}

}  // namespace tool_test
