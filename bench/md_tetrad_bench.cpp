// md_tetrad_bench - evaluation of lines of doubles beside Little CMS in doubles and OpenColorIO in floats

#include "md_tetrad.h"

#include "support/float_pairs.h"
#include "support/ocio_peer.h"

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

// The peer's ink amounts are 0 .. 100.
std::vector<double> scaled(std::vector<double> line, double unit)
{
    for (double &value : line)
        value *= unit;
    return line;
}

void add(int inputs, int outputs, bench::Texture texture)
{
    const auto c = std::make_shared<bench::FloatCase>(inputs, outputs, texture);
    const auto table = std::make_shared<Table>(inputs, outputs, c->values());
    const auto ours = [=] { table->convert(c->line.data(), c->out.data()); };
    ours();

    const auto lcms =
        std::make_shared<bench::Peer>(inputs, outputs, bench::float_points, c->grid, bench::Samples::doubles);
    const auto line = std::make_shared<std::vector<double>>(scaled(c->line, inputs == 4 ? 100.0 : 1.0));
    const auto out = std::make_shared<std::vector<double>>(c->out.size());
    const auto in_doubles = [=] { lcms->convert(line->data(), out->data(), bench::line_pixels); };
    in_doubles();
    bench::compare(c->name, c->out, *out, outputs == 4 ? 100.0 : 1.0);
    bench::add_pair(c->name + ", Little CMS", ours, in_doubles);

    if (inputs != 3)
        return;
    const auto ocio = std::make_shared<bench::OcioPeer>(bench::float_points, c->grid, bench::OcioPeer::Depth::floats);
    const auto in_floats = [=] { ocio->convert(c->peer_line.data(), c->peer_out.data(), bench::line_pixels); };
    in_floats();
    bench::compare(c->name, c->out, c->peer_out);
    bench::add_pair(c->name + ", OpenColorIO", ours, in_floats);
}

}  // namespace

int main(int argc, char **argv)
{
    for (const auto &[inputs, outputs] : {std::pair{3, 3}, {4, 3}, {4, 4}})
        for (const bench::Texture texture : {bench::Texture::random, bench::Texture::smooth})
            add(inputs, outputs, texture);
    return bench::run_pairs(argc, argv);
}
