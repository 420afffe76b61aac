// colour_table - a byte table of the library whose vertices come from another conversion

#include "separation/colour_table.h"

#include "support/failure.h"

#include "error_mess.h"

#include <cstddef>
#include <vector>

namespace examples
{

namespace
{

// The line that the library has queued about its last failure; main has set the reporting mode.
[[noreturn]] void throw_report()
{
    const char *line = error_get();
    throw failure(line != nullptr ? line : "the library failed without a report");
}

std::vector<unsigned char *> channel_starts(unsigned char *pixels, int channels)
{
    std::vector<unsigned char *> starts(static_cast<std::size_t>(channels));
    for (unsigned char *&start : starts)
        start = pixels++;
    return starts;
}

}  // namespace

colour_table::colour_table(int inputs, int outputs, int points)
    : inputs_(inputs), outputs_(outputs), points_(points), table_(md_tetrab_new(inputs, outputs, points))
{
    if (!table_)
        throw_report();
}

void colour_table::fill(const vertex_source &source, progress &shown)
{
    const int all = vertices();
    std::vector<int> coord(static_cast<std::size_t>(inputs_));
    std::vector<unsigned char> in(static_cast<std::size_t>(inputs_));
    int left = all;
    do {
        unsigned char *out = md_tetrab_vertex_get(table_.get(), coord.data(), in.data());
        source(in.data(), out);
        left = md_tetrab_scan_vertex(table_.get(), coord.data());
        shown.done(all - left);
    } while (left != 0);
}

void colour_table::convert(picture &in, picture &out) const
{
    for (int y = 0; y < in.height; ++y) {
        auto from = channel_starts(in.line(y), inputs_);
        // The call moves these on, behind the line.
        auto to = channel_starts(out.line(y), outputs_);
        md_tetrab_interp(table_.get(), from.data(), inputs_, to.data(), outputs_, in.width, nullptr, 0.0);
    }
}

picture colour_table::convert(picture &in) const
{
    picture out(in.width, in.height, outputs_);
    convert(in, out);
    return out;
}

int colour_table::bytes() const
{
    int size = 0;
    md_tetrab_dataptr(table_.get(), &size);
    return size;
}

}  // namespace examples
