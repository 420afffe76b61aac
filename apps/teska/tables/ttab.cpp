// ttab - the file that a colour table is kept in; colour_table.h has its layout

#include "frame/failure.h"
#include "frame/files.h"
#include "md5_digest.h"
#include "tables/colour_table.h"

#include <array>
#include <bit>
#include <cstring>

namespace tool
{

namespace
{

constexpr std::size_t header_bytes = 28;
constexpr std::size_t description_bytes = 32;
constexpr std::size_t digest_bytes = 16;
constexpr std::size_t curve_samples = 65536;
constexpr std::uint32_t version = 1;
constexpr std::uint64_t largest_file = std::uint64_t{1} << 30;

void append_number(std::string &bytes, std::uint32_t number)
{
    for (unsigned shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(number >> shift);
}

void append_samples(std::string &bytes, const std::uint16_t *samples, std::size_t count)
{
    const std::size_t start = bytes.size();
    bytes.resize(start + 2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[start + 2 * i] = static_cast<char>(samples[i]);
        bytes[start + 2 * i + 1] = static_cast<char>(samples[i] >> 8U);
    }
}

std::uint32_t number_at(const std::string &bytes, std::size_t at)
{
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;)
        number = number * 256 + static_cast<unsigned char>(bytes[at + i]);
    return number;
}

void take_samples(const std::string &bytes, std::size_t at, std::uint16_t *samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at + 2 * i]) +
                                                256 * static_cast<unsigned char>(bytes[at + 2 * i + 1]));
}

std::string digest_of(const std::string &bytes, std::size_t size)
{
    std::array<unsigned char, digest_bytes> digest{};
    MD5_CTX context;
    MD5Init(&context);
    constexpr std::size_t at_once = 1 << 24;
    for (std::size_t done = 0; done < size; done += at_once)
        MD5Update(&context, reinterpret_cast<const unsigned char *>(bytes.data()) + done,
                  static_cast<unsigned>(std::min(at_once, size - done)));
    MD5Final(digest.data(), &context);
    return {reinterpret_cast<const char *>(digest.data()), digest.size()};
}

std::string padded(std::string text, std::size_t size, char with)
{
    text.resize(size, with);
    return text;
}

}  // namespace

void write_ttab(output_file &file, const colour_table &table, const table_names &names)
{
    std::string bytes = "TTAB";
    append_number(bytes, version);
    append_number(bytes, static_cast<std::uint32_t>(table.inputs()));
    append_number(bytes, static_cast<std::uint32_t>(table.outputs()));
    append_number(bytes, static_cast<std::uint32_t>(table.points()));
    bytes += padded(names.source, 4, ' ') + padded(names.target, 4, ' ');
    for (int d = 0; d < table.inputs(); ++d) {
        const std::vector<std::uint16_t> &curve = table.curve(d);
        append_number(bytes, curve.empty() ? 0 : 1);
        append_samples(bytes, curve.data(), curve.size());
    }
    append_samples(bytes, table.vertices(), table.samples());
    bytes += padded(names.description, description_bytes, '\0');
    bytes += digest_of(bytes, bytes.size());
    file.write(bytes);
}

kept_table read_ttab(const std::string &path)
{
    const std::string bytes = read_file(path, largest_file);
    if (bytes.size() < header_bytes + description_bytes + digest_bytes || !bytes.starts_with("TTAB"))
        throw failure(path, "no table file");
    if (number_at(bytes, 4) != version)
        throw failure(path, "version " + std::to_string(number_at(bytes, 4)) + " is newer than this program");
    if (digest_of(bytes, bytes.size() - digest_bytes) != bytes.substr(bytes.size() - digest_bytes))
        throw failure(path, "damaged (its digest differs)");
    const std::uint32_t inputs = number_at(bytes, 8);
    const std::uint32_t outputs = number_at(bytes, 12);
    const std::uint32_t points = number_at(bytes, 16);
    constexpr std::uint32_t most = 15;
    if (inputs < 1 || inputs > most || outputs < 1 || outputs > most || points > 65536 ||
        !is_possible_table(static_cast<int>(inputs), static_cast<int>(outputs), static_cast<int>(points)))
        throw failure(path, "damaged (a table of " + std::to_string(inputs) + " inputs, " + std::to_string(outputs) +
                                " outputs and " + std::to_string(points) + " points)");
    // The length follows from the header: it is compared before anything is allocated.
    std::size_t vertices = outputs;
    for (std::uint32_t d = 0; d < inputs; ++d)
        vertices *= points;
    std::size_t at = header_bytes;
    std::vector<std::size_t> curves;
    for (std::uint32_t d = 0; d < inputs && at + 4 <= bytes.size(); ++d) {
        const bool has_curve = number_at(bytes, at) != 0;
        curves.push_back(has_curve ? at + 4 : 0);
        at += 4 + (has_curve ? 2 * curve_samples : 0);
    }
    if (curves.size() != inputs || at + 2 * vertices + description_bytes + digest_bytes != bytes.size())
        throw failure(path, "damaged (its length is not what its header says)");
    kept_table kept = {
        colour_table(static_cast<int>(inputs), static_cast<int>(outputs), static_cast<int>(points)),
        {bytes.substr(20, 4), bytes.substr(24, 4), bytes.substr(at + 2 * vertices, description_bytes).c_str()}};
    for (std::uint32_t d = 0; d < inputs; ++d) {
        if (curves[d] == 0)
            continue;
        std::vector<std::uint16_t> curve(curve_samples);
        take_samples(bytes, curves[d], curve.data(), curve.size());
        kept.table.set_curve(static_cast<int>(d), std::move(curve));
    }
    take_samples(bytes, at, kept.table.vertices(), vertices);
    return kept;
}

}  // namespace tool
