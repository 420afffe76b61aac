// records_section - the pictures of the gallery in one archive and out again, and their figures in a record file

#include "gallery/html.h"
#include "gallery/sections.h"
#include "records/job.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace examples
{

namespace
{

std::string whole(std::size_t value) { return grouped(static_cast<long>(value)); }

// ---- Digests as pictures --------------------------------------------------------------------------------------------

constexpr int swatch = 12;

// Sixteen swatches, the hue of each a byte of the digest: two digests can be told apart at a glance.
std::string fingerprint(const std::string &digest)
{
    std::string cells;
    for (std::size_t i = 0; i + 1 < digest.size(); i += 2) {
        const double turn = std::stoi(digest.substr(i, 2), nullptr, 16) / 256.0;
        cells += expanded(R"svg(<rect x="{x}" width="{w}" height="{w}" fill="hsl({hue} 62% 54%)"/>)svg",
                          {{"x", std::to_string(static_cast<int>(i) / 2 * swatch)},
                           {"w", std::to_string(swatch)},
                           {"hue", decimals(360 * turn, 0)}});
    }
    return expanded(R"(<svg class="fingerprint" viewBox="0 0 {w} {h}" aria-hidden="true">{cells}</svg>)",
                    {{"w", std::to_string(static_cast<int>(digest.size()) / 2 * swatch)},
                     {"h", std::to_string(swatch)},
                     {"cells", cells}});
}

std::string digest_text(const std::string &digest)
{
    return "<code>" + digest.substr(0, digest.size() / 2) + "<wbr>" + digest.substr(digest.size() / 2) + "</code>";
}

// ---- The archive, to scale ------------------------------------------------------------------------------------------

constexpr double strip_height = 600;
constexpr double label_distance = 40;

// Where the labels go: beside the middle of their blocks, but never closer to each other than the distance.
std::vector<double> label_places(const std::vector<archive_entry> &entries, double scale)
{
    std::vector<double> places;
    for (const archive_entry &entry : entries) {
        const double middle = scale * (static_cast<double>(entry.content_at) + static_cast<double>(entry.size) / 2);
        places.push_back(places.empty() ? std::max(middle, label_distance / 2)
                                        : std::max(middle, places.back() + label_distance));
    }
    double lowest = strip_height - label_distance / 2;
    for (auto place = places.rbegin(); place != places.rend() && *place > lowest; ++place, lowest -= label_distance)
        *place = lowest;
    return places;
}

std::string block(const archive_entry &entry, double scale, double label)
{
    const double top = scale * static_cast<double>(entry.name_at);
    const double bottom = scale * static_cast<double>(entry.content_at + entry.size);
    return expanded(R"(<image href="records/unpacked/{name}" x="0" y="{top}" width="190" height="{h}"
preserveAspectRatio="xMidYMid slice"/><rect class="frame" x="0" y="{top}" width="190" height="{h}"/>
<polyline class="leader" points="190,{middle} 206,{label}"/>
<text x="214" y="{line}">{name}</text><text class="soft" x="214" y="{below}">{size} bytes from {at} on</text>
)",
                    {{"name", escaped(entry.name)},
                     {"top", decimals(top, 2)},
                     {"h", decimals(bottom - top, 2)},
                     {"middle", decimals((top + bottom) / 2, 2)},
                     {"label", decimals(label, 2)},
                     {"line", decimals(label - 3, 2)},
                     {"below", decimals(label + 14, 2)},
                     {"size", whole(entry.size)},
                     {"at", whole(entry.content_at)}});
}

std::string strip(const packed_archive &packed, const section_folder &folder)
{
    const auto &entries = packed.layout.entries;
    const double needed = label_distance * static_cast<double>(entries.size());
    const double scale = strip_height / static_cast<double>(packed.bytes.size());
    const std::vector<double> labels = label_places(entries, scale);
    std::string blocks;
    for (std::size_t i = 0; i < entries.size(); ++i)
        blocks += block(entries[i], scale, labels[i]);
    const double top = std::min(0.0, strip_height - needed);
    return folder.framed(
        expanded(R"(<svg class="drawing" viewBox="-1 {top} 442 {height}" role="img"
aria-label="The entries of the archive one below the other, each as high as it is long">
{blocks}</svg>)",
                 {{"blocks", blocks}, {"top", decimals(top - 1, 0)}, {"height", decimals(strip_height - top + 2, 0)}}),
        expanded(
            R"(<b>The whole archive, to scale.</b> {count} entries, {size} bytes, shown with the pictures as they came out.
At this scale everything in front of the first content is {head} of a pixel high.)",
            {{"count", std::to_string(entries.size())},
             {"size", whole(packed.bytes.size())},
             {"head", decimals(scale * static_cast<double>(entries.front().content_at), 2)}}));
}

// ---- Its first bytes ------------------------------------------------------------------------------------------------

constexpr std::size_t row_bytes = 16;
constexpr std::size_t cell = 26;
constexpr std::size_t margin = 44;

struct field {
    std::size_t begin;
    const char *kind;
    const char *name;
};

std::array<field, 7> fields_of(const archive_layout &layout)
{
    const archive_entry &first = layout.entries.front();
    return {{{0, "magic", "magic"},
             {layout.version_at, "version", "version"},
             {layout.reserved_at, "reserved", "reserved"},
             {layout.description_at, "description", "description"},
             {first.name_at, "name", "name of the first entry"},
             {first.length_at, "length", "length of its content"},
             {first.content_at, "content", "its content"}}};
}

// The bytes of a number are no letters, though some look like one.
std::string byte_text(char byte, std::string_view kind)
{
    if (byte > ' ' && byte <= '~' && kind != "length")
        return escaped(std::string(1, byte));
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return std::string("<tspan class=\"hex\">") + digits.data() + "</tspan>";
}

std::string byte_cell(const std::string &bytes, std::size_t at, const char *kind)
{
    const std::size_t x = margin + at % row_bytes * cell;
    const std::size_t y = at / row_bytes * cell;
    return expanded(
        R"(<rect class="{kind}" x="{x}" y="{y}" width="{w}" height="{w}"/><text x="{tx}" y="{ty}">{byte}</text>
)",
        {{"kind", kind},
         {"x", std::to_string(x)},
         {"y", std::to_string(y)},
         {"w", std::to_string(cell - 1)},
         {"tx", std::to_string(x + cell / 2)},
         {"ty", std::to_string(y + 17)},
         {"byte", byte_text(bytes[at], kind)}});
}

std::string first_bytes(const packed_archive &packed, const section_folder &folder)
{
    const auto fields = fields_of(packed.layout);
    const std::size_t rows = (fields.back().begin + row_bytes) / row_bytes + 1;
    const std::size_t end = std::min(rows * row_bytes, packed.bytes.size());
    std::string cells;
    std::size_t current = 0;
    for (std::size_t at = 0; at < end; ++at) {
        while (current + 1 < fields.size() && fields[current + 1].begin <= at)
            ++current;
        if (at % row_bytes == 0)
            cells += expanded(R"(<text class="place" x="34" y="{y}">{at}</text>)",
                              {{"y", std::to_string(at / row_bytes * cell + 17)}, {"at", std::to_string(at)}});
        cells += byte_cell(packed.bytes, at, fields[current].kind);
    }
    std::string key;
    for (const field &one : fields)
        key += expanded(R"(<li class="{kind}">{name}</li>)", {{"kind", one.kind}, {"name", one.name}});
    return folder.framed(expanded(R"(<svg class="drawing bytes" viewBox="0 0 {w} {h}" role="img"
aria-label="The first bytes of the archive, coloured by field">
{cells}</svg><ul class="byte-key">{key}</ul>)",
                                  {{"w", std::to_string(margin + row_bytes * cell)},
                                   {"h", std::to_string(rows * cell)},
                                   {"cells", cells},
                                   {"key", key}}),
                         "<b>Its first " + std::to_string(end) +
                             " bytes.</b> Letters where a byte is one, else two hexadecimal digits.");
}

std::string layout_text(const records_results &r, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/records/archive.cpp", "Packing and unpacking");
    return expanded(R"(<h3>One file for all</h3>
<p>The pictures above, packed by the library into one archive named “{description}”: a header of fixed size, and then for
each picture its name, its length and its bytes as they are.</p>
<div class="pair">
{strip}{bytes}</div>
)",
                    {{"description", escaped(r.packed.layout.description)},
                     {"strip", strip(r.packed, folder)},
                     {"bytes", first_bytes(r.packed, folder)}});
}

// ---- Digests --------------------------------------------------------------------------------------------------------

// A long name may break behind its folder.
std::string breakable(std::string name)
{
    name = escaped(name);
    return name.insert(name.find('/') + 1, "<wbr>");
}

std::string entry_row(const archive_entry &entry, const std::string &digest)
{
    return expanded(R"(<tr><th scope="row">{name}</th><td>{size}</td><td>{fingerprint}</td><td>{digest}</td></tr>
)",
                    {{"name", breakable(entry.name)},
                     {"size", whole(entry.size)},
                     {"fingerprint", fingerprint(digest)},
                     {"digest", digest_text(digest)}});
}

std::string damage_table(const damage &turned)
{
    return expanded(R"(<div class="scroll" tabindex="0"><table class="digests">
<caption>{name} <span>before and after the lowest bit of byte {at} of the archive was turned</span></caption>
<tbody><tr><th scope="row">as packed</th><td>{before}</td><td>{before_text}</td></tr>
<tr><th scope="row">damaged</th><td>{after}</td><td>{after_text}</td></tr></tbody></table></div>
)",
                    {{"name", escaped(turned.name)},
                     {"at", whole(turned.at)},
                     {"before", fingerprint(turned.before)},
                     {"before_text", digest_text(turned.before)},
                     {"after", fingerprint(turned.after)},
                     {"after_text", digest_text(turned.after)}});
}

std::string digests(const records_results &r)
{
    std::string rows;
    for (std::size_t i = 0; i < r.unpacked.size(); ++i)
        rows += entry_row(r.packed.layout.entries[i], r.unpacked[i]);
    return expanded(R"(<h3>Nothing lost on the way</h3>
<p>Every picture is taken out of the archive again, and the MD5 digest of what came out is compared with that of what went
in. All agree; had one not, there would be no page.</p>
<div class="scroll" tabindex="0"><table class="digests">
<caption>The entries <span>with the digests of the unpacked files</span></caption>
<thead><tr><td></td><th scope="col">bytes</th><th scope="col">fingerprint</th><th scope="col">MD5</th></tr></thead>
<tbody>
{rows}</tbody></table></div>
<p class="apart">Would damage show? A copy of the archive gets a single bit turned, in the middle of its largest picture. It unpacks
without complaint, since the archive knows lengths only, but {bits} of the 128 bits of that picture's digest change.</p>
{damage})",
                    {{"rows", rows}, {"bits", std::to_string(r.turned.bits)}, {"damage", damage_table(r.turned)}});
}

// ---- The record file ------------------------------------------------------------------------------------------------

double farthest(const named_figures &a, const named_figures &b)
{
    double most = 0;
    for (std::size_t i = 0; i < a.values.size(); ++i)
        most = std::max(most, std::abs(a.values[i] - b.values[i]));
    return most;
}

std::string listed_row(const named_figures &back, const named_figures &given)
{
    return expanded(R"(<tr><th scope="row">{name}</th><td>{bytes}</td><td>{bits}</td><td>{level}</td><td>{off}</td></tr>
)",
                    {{"name", escaped(std::filesystem::path(back.name).stem().string())},
                     {"bytes", grouped(std::lround(back.values[0]))},
                     {"bits", decimals(back.values[1], 3)},
                     {"level", decimals(back.values[2], 3)},
                     {"off", decimals(farthest(back, given), 4)}});
}

std::string record(const records_results &r, const section_folder &plain)
{
    const section_folder folder = plain.made_by("examples/records/figures.cpp");
    std::string rows;
    for (std::size_t i = 0; i < r.listed.size(); ++i)
        rows += listed_row(r.listed[i], r.figures[i]);
    return expanded(R"(<h3>Figures on file</h3>
<p>What was measured goes to a record file, which people can read as well: the bytes of each picture, its bits per pixel and
the mean of its samples, from 0 to 255. The file keeps about four digits and never cuts an integer.</p>
<div class="pair">{file}{listed}</div>
)",
                    {{"file", folder.framed("<pre class=\"record\" tabindex=\"0\">" + escaped(r.record) + "</pre>",
                                            "<b>The file</b>, " + whole(r.record.size()) + " bytes of text.")},
                     {"listed", folder.framed(R"(<div class="scroll" tabindex="0"><table class="listed">
<thead><tr><td></td><th scope="col">bytes</th><th scope="col">bits per pixel</th><th scope="col">mean level</th>
<th scope="col">farthest off</th></tr></thead>
<tbody>
)" + rows + "</tbody></table></div>",
                                              R"(<b>Listed back</b> by another reader, and how far the farthest of the
three is from what was measured.)")}});
}

// ---- All of it ------------------------------------------------------------------------------------------------------

std::size_t content_bytes(const archive_layout &layout)
{
    std::size_t sum = 0;
    for (const archive_entry &entry : layout.entries)
        sum += entry.size;
    return sum;
}

std::string key_figures(const records_results &r)
{
    return expanded(R"(<dl class="key-figures">
<div><dt>pictures in one archive of {size} bytes</dt><dd>{count}</dd></div>
<div><dt>that it takes to keep them together: header, names and lengths</dt><dd>{extra} <small>bytes</small></dd></div>
<div><dt>digests the same before and after</dt><dd>{same} <small>of {count}</small></dd></div>
<div><dt>of the digest change when one bit of a picture does</dt><dd>{bits} <small>of 128 bits</small></dd></div>
</dl>
)",
                    {{"size", whole(r.packed.bytes.size())},
                     {"count", std::to_string(r.packed.layout.entries.size())},
                     {"extra", whole(r.packed.bytes.size() - content_bytes(r.packed.layout))},
                     {"same", std::to_string(r.unpacked.size())},
                     {"bits", std::to_string(r.turned.bits)}});
}

std::string summary(const records_results &r)
{
    return expanded("  {count} pictures packed into {size} bytes and unpacked: all digests agree\n"
                    "  one bit turned in the archive: {bits} of 128 bits of a digest changed\n",
                    {{"count", std::to_string(r.unpacked.size())},
                     {"size", std::to_string(r.packed.bytes.size())},
                     {"bits", std::to_string(r.turned.bits)}});
}

constexpr const char *lead =
    R"(<p class="lead">The pictures of this page are packed into one archive, taken out again and
compared by their digests. Their figures go to a record file and are read back.</p>
)";

}  // namespace

section records_section(const gallery_inputs &inputs)
{
    const section_folder folder(inputs.output, "records");
    const records_results r = run_records(inputs.output, inputs.output / "records");
    return {"records", "Records and archives", summary(r),
            lead + key_figures(r) + "<details><summary>The archive, its digests and the record file</summary>\n" +
                layout_text(r, folder) + digests(r) + record(r, folder) + "</details>\n"};
}

}  // namespace examples
