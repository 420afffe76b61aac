// colour_table - a table of 16-bit samples with its curves, and the file it is kept in
//
//     colour_table table(3, 4, 33);
//     table.set_curve(0, curve);                            65536 samples, or none for the identity
//     std::copy(.., table.vertices());                      33^3 * 4 samples, input 0 slowest
//     table.run(in, 8, 3, out, 16, 4, pixels);
//
// Kept in a .ttab file, all numbers little-endian: "TTAB", version 1, N, M, R as 32 bits, the ICC signatures of source
// and target, N curves, each a 32-bit 0 (identity) or 1 and 65536 samples, R^N M samples, 32 bytes of description, and
// the MD5 of all before it.

#ifndef TESKA_TOOL_TABLES_COLOUR_TABLE_H
#define TESKA_TOOL_TABLES_COLOUR_TABLE_H

#include "md_tetras.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tool
{

class output_file;

class colour_table
{
public:
    // Throws when there is no memory for it; tables of more than 2^28 samples are refused by most_points.
    colour_table(int inputs, int outputs, int points);

    [[nodiscard]] int inputs() const { return inputs_; }
    [[nodiscard]] int outputs() const { return outputs_; }
    [[nodiscard]] int points() const { return points_; }
    [[nodiscard]] std::size_t samples() const;  // of the vertices
    [[nodiscard]] bool has_curves() const;
    [[nodiscard]] bool has_output_curves() const { return has_output_curves_; }

    // The curve of an input, 65536 samples or none.
    [[nodiscard]] const std::vector<std::uint16_t> &curve(int input) const
    {
        return curves_[static_cast<std::size_t>(input)];
    }
    void set_curve(int input, std::vector<std::uint16_t> curve);
    void set_output_curve(int output, const std::vector<std::uint16_t> &curve);

    [[nodiscard]] std::uint16_t *vertices();
    [[nodiscard]] const std::uint16_t *vertices() const;

    // Converts pixels. depth is 8 or 16, step the samples from one pixel to the next. Any number of threads.
    void run(const void *in, int in_depth, int in_step, void *out, int out_depth, int out_step,
             std::size_t pixels) const;

private:
    struct kills {
        void operator()(md_tetras *table) const { md_tetras_kill(table); }
    };
    int inputs_;
    int outputs_;
    int points_;
    bool has_output_curves_ = false;
    std::unique_ptr<md_tetras, kills> table_;
    std::vector<std::vector<std::uint16_t>> curves_;
};

// Whether a table of so many points is one that teska builds.
bool is_possible_table(int inputs, int outputs, int points);

// What is kept beside a table.
struct table_names {
    std::string source;  // ICC signatures of 4 characters
    std::string target;
    std::string description;
};

struct kept_table {
    colour_table table;
    table_names names;
};

// Curves of outputs are not kept: the table must not have any.
void write_ttab(output_file &file, const colour_table &table, const table_names &names);
kept_table read_ttab(const std::string &path);

}  // namespace tool

#endif
