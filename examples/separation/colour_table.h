// colour_table - a byte table of the library whose vertices come from another conversion

#ifndef EXAMPLES_COLOUR_TABLE_H
#define EXAMPLES_COLOUR_TABLE_H

#include "support/foreign.h"
#include "support/picture.h"
#include "support/progress.h"

#include "md_tetrab.h"

#include <functional>

namespace examples
{

// Gives the output bytes that belong to the input bytes of one vertex.
using vertex_source = std::function<void(const unsigned char *in, unsigned char *out)>;

class colour_table
{
public:
    // points  grid points along each input
    // Throws failure with the library's own line when there is no memory.
    colour_table(int inputs, int outputs, int points);

    void fill(const vertex_source &source, progress &shown);

    // Interleaved pictures of the same size, with as many channels as the table has inputs and outputs.
    void convert(picture &in, picture &out) const;
    picture convert(picture &in) const;

    int inputs() const { return inputs_; }
    int outputs() const { return outputs_; }
    int points() const { return points_; }
    int vertices() const { return md_tetrab_get_nrpoints(table_.get()); }
    int bytes() const;  // of vertex data

private:
    int inputs_;
    int outputs_;
    int points_;
    foreign<md_tetrab, md_tetrab_kill> table_;
};

}  // namespace examples

#endif
