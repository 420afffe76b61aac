// md_tetrad_bench - evaluation of lines of doubles beside Little CMS

#include "md_tetrad.h"

#include "support/float_pairs.h"

#include <algorithm>

namespace
{

class Table
{
public:
    Table(int inputs, int outputs, const std::vector<float> &grid)
        : table_(md_tetrad_new(inputs, outputs, bench::float_points, 0.0, 1.0)), inputs_(inputs), outputs_(outputs)
    {
        // Our walk runs input 0 fastest, the grid's values the last one.
        int coord[4] = {};
        do {
            int vertex = 0;
            for (int d = 0; d < inputs; ++d)
                vertex = vertex * bench::float_points + coord[d];
            std::copy_n(grid.begin() + vertex * outputs, outputs, md_tetrad_vertex_get(table_, coord, nullptr));
        } while (md_tetrad_scan_vertex(table_, coord) != 0);
    }
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;
    ~Table() { md_tetrad_kill(table_); }

    void convert(double *in, double *out)
    {
        double *sources[4];
        double *targets[4];
        for (int d = 0; d < inputs_; ++d)
            sources[d] = in + d;
        for (int c = 0; c < outputs_; ++c)
            targets[c] = out + c;
        md_tetrad_interp(table_, sources, inputs_, targets, outputs_, bench::line_pixels);
    }

private:
    md_tetrad *table_;
    int inputs_;
    int outputs_;
};

}  // namespace

int main(int argc, char **argv) { return bench::run_float_pairs<Table>(argc, argv); }
