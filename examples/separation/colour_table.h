// colour_table - a table of the library whose vertices come from another conversion
//
//     word_table to_press(3, 4, 33);
//     to_press.fill([&](const unsigned short *rgb, unsigned short *cmyk) { ... }, shown);
//     picture plates = to_press.convert(photograph);
//
// Pictures are bytes; the vertices are bytes (md_tetrab) or 16 bits (md_tetras).

#ifndef EXAMPLES_COLOUR_TABLE_H
#define EXAMPLES_COLOUR_TABLE_H

#include "support/foreign.h"
#include "support/picture.h"
#include "support/progress.h"

#include "md_tetrab.h"
#include "md_tetras.h"

#include <functional>

namespace examples
{

// The library's table with vertices of a kind.
template <class sample>
struct table_with;
template <>
struct table_with<unsigned char> {
    using handle = foreign<md_tetrab, md_tetrab_kill>;
};
template <>
struct table_with<unsigned short> {
    using handle = foreign<md_tetras, md_tetras_kill>;
};

// sample  unsigned char or unsigned short
template <class sample>
class colour_table
{
public:
    // Gives the output samples that belong to the input samples of one vertex.
    using vertex_source = std::function<void(const sample *in, sample *out)>;

    // points  grid points along each input
    // Throws failure with the library's own line when there is no memory.
    colour_table(int inputs, int outputs, int points);

    void fill(const vertex_source &source, progress &shown);

    // Interleaved pictures of the same size, with as many channels as the table has inputs and outputs.
    void convert(const picture &in, picture &out) const;
    picture convert(const picture &in) const;

    int inputs() const { return inputs_; }
    int outputs() const { return outputs_; }
    int points() const { return points_; }
    int vertices() const;
    int bytes() const;  // of vertex data

private:
    int inputs_;
    int outputs_;
    int points_;
    typename table_with<sample>::handle table_;
};

extern template class colour_table<unsigned char>;
extern template class colour_table<unsigned short>;

using byte_table = colour_table<unsigned char>;
using word_table = colour_table<unsigned short>;

}  // namespace examples

#endif
