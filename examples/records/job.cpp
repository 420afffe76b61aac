// job - a folder of pictures packed, unpacked, damaged on purpose, and described in a record file

#include "records/job.h"

#include "support/failure.h"
#include "support/png_file.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace examples
{

namespace fs = std::filesystem;

namespace
{

constexpr const char *description = "Pictures of the TESKAShared gallery";

std::vector<std::string> pictures_in(const fs::path &root, const fs::path &output)
{
    std::vector<std::string> names;
    for (const auto &folder : fs::directory_iterator(root)) {
        if (!folder.is_directory() || folder.path() == output)
            continue;
        for (const auto &file : fs::directory_iterator(folder))
            if (file.path().extension() == ".png")
                names.push_back(fs::relative(file, root).generic_string());
    }
    if (names.empty())
        throw failure("no pictures to pack in " + root.string());
    std::sort(names.begin(), names.end());
    return names;
}

const archive_entry &largest(const std::vector<archive_entry> &entries)
{
    return *std::max_element(entries.begin(), entries.end(),
                             [](const auto &a, const auto &b) { return a.size < b.size; });
}

damage turn_a_bit(const packed_archive &packed, const std::vector<std::string> &names, const fs::path &output)
{
    const archive_entry &entry = largest(packed.layout.entries);
    damage turned{entry.name, entry.content_at + entry.size / 2, {}, {}, 0};
    std::string bytes = packed.bytes;
    bytes[turned.at] = static_cast<char>(bytes[turned.at] ^ 1);
    write_bytes(output / "damaged.fp", bytes);

    std::vector<std::string> digests = unpack(output / "damaged.fp", output / "damaged", names);
    const auto hit = static_cast<std::size_t>(&entry - packed.layout.entries.data());
    turned.before = packed.digests[hit];
    turned.after = std::exchange(digests[hit], turned.before);
    turned.bits = differing_bits(turned.before, turned.after);
    if (turned.bits == 0)
        throw failure("the damage of " + entry.name + " does not show in its digest");
    require_same(names, packed.digests, digests);
    return turned;
}

std::vector<named_figures> figures_of(const fs::path &root, const std::vector<archive_entry> &entries)
{
    std::vector<named_figures> rows;
    for (const archive_entry &entry : entries) {
        const picture shown = read_png(root / entry.name);
        const auto bytes = static_cast<double>(entry.size);
        const double sum = std::accumulate(shown.samples.begin(), shown.samples.end(), 0.0);
        rows.push_back({entry.name,
                        {bytes, 8 * bytes / static_cast<double>(shown.pixels()),
                         sum / static_cast<double>(shown.samples.size())}});
    }
    return rows;
}

}  // namespace

records_results run_records(const fs::path &root, const fs::path &output)
{
    const std::vector<std::string> names = pictures_in(root, output);
    records_results r;
    r.packed = pack(root, names, output / "pictures.fp", description);
    if (r.packed.layout.description != description)
        throw failure("the archive describes itself otherwise than it was told");
    r.unpacked = unpack(output / "pictures.fp", output / "unpacked", names);
    require_same(names, r.packed.digests, r.unpacked);
    r.turned = turn_a_bit(r.packed, names, output);

    const fs::path record = output / "pictures.rec";
    r.figures = figures_of(root, r.packed.layout.entries);
    r.listed = written_and_listed(record, r.figures);
    r.record = bytes_of_file(record);
    return r;
}

}  // namespace examples
