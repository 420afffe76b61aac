// colour_table - a table of the library whose vertices come from another conversion

#include "separation/colour_table.h"

#include "support/failure.h"

#include <cstddef>
#include <vector>

namespace examples
{

namespace
{

std::vector<unsigned char *> channel_starts(unsigned char *pixels, int channels)
{
    std::vector<unsigned char *> starts(static_cast<std::size_t>(channels));
    for (unsigned char *&start : starts)
        start = pixels++;
    return starts;
}

// ---- The same call of both kinds of tables --------------------------------------------------------------------------

void make(int inputs, int outputs, int points, table_with<unsigned char>::handle &table)
{
    table.reset(md_tetrab_new(inputs, outputs, points));
}

void make(int inputs, int outputs, int points, table_with<unsigned short>::handle &table)
{
    table.reset(md_tetras_new(inputs, outputs, points));
}

unsigned char *vertex(md_tetrab *table, const int *coord, unsigned char *in)
{
    return md_tetrab_vertex_get(table, coord, in);
}

unsigned short *vertex(md_tetras *table, const int *coord, unsigned short *in)
{
    return md_tetras_vertex_get(table, coord, in);
}

int step_on(md_tetrab *table, int *coord) { return md_tetrab_scan_vertex(table, coord); }
int step_on(md_tetras *table, int *coord) { return md_tetras_scan_vertex(table, coord); }

int count(md_tetrab *table) { return md_tetrab_get_nrpoints(table); }
int count(md_tetras *table) { return md_tetras_get_nrpoints(table); }

const unsigned char *data(md_tetrab *table, int &size) { return md_tetrab_dataptr(table, &size); }
const unsigned short *data(md_tetras *table, int &size) { return md_tetras_dataptr(table, &size); }

void run(md_tetrab *table, std::vector<unsigned char *> from, std::vector<unsigned char *> to, int pixels)
{
    // The call moves the addresses on, to the end of the line: they are copies.
    md_tetrab_interp(table, from.data(), static_cast<int>(from.size()), to.data(), static_cast<int>(to.size()), pixels,
                     nullptr, 0.0);
}

void run(md_tetras *table, const std::vector<unsigned char *> &from, const std::vector<unsigned char *> &to, int pixels)
{
    md_tetras_interp_b(table, from.data(), static_cast<int>(from.size()), to.data(), static_cast<int>(to.size()),
                       pixels, nullptr, 0);
}

}  // namespace

template <class sample>
colour_table<sample>::colour_table(int inputs, int outputs, int points)
    : inputs_(inputs), outputs_(outputs), points_(points)
{
    make(inputs, outputs, points, table_);
    if (!table_)
        throw_report();
}

template <class sample>
void colour_table<sample>::fill(const vertex_source &source, progress &shown)
{
    const int all = vertices();
    std::vector<int> coord(static_cast<std::size_t>(inputs_));
    std::vector<sample> in(static_cast<std::size_t>(inputs_));
    int left = all;
    do {
        sample *out = vertex(table_.get(), coord.data(), in.data());
        source(in.data(), out);
        left = step_on(table_.get(), coord.data());
        shown.done(all - left);
    } while (left != 0);
}

template <class sample>
void colour_table<sample>::convert(const picture &in, picture &out) const
{
    // Neither call writes to its inputs, but that of bytes does not say so.
    for (int y = 0; y < in.height; ++y)
        run(table_.get(), channel_starts(const_cast<unsigned char *>(in.line(y)), inputs_),
            channel_starts(out.line(y), outputs_), in.width);
}

template <class sample>
picture colour_table<sample>::convert(const picture &in) const
{
    picture out(in.width, in.height, outputs_);
    convert(in, out);
    return out;
}

template <class sample>
int colour_table<sample>::vertices() const
{
    return count(table_.get());
}

template <class sample>
int colour_table<sample>::bytes() const
{
    int samples = 0;
    data(table_.get(), samples);
    return samples * static_cast<int>(sizeof(sample));
}

template class colour_table<unsigned char>;
template class colour_table<unsigned short>;

}  // namespace examples
