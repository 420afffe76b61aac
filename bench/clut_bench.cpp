// clut_bench - class CLUT, point by point, beside Little CMS

#include "clut.h"

#include "support/float_pairs.h"

namespace
{

class Table : public CLUT
{
public:
    Table(int inputs, int outputs, std::vector<float> values)
        : CLUT(static_cast<unsigned char>(inputs), counts_, static_cast<unsigned char>(outputs), 0, values.data())
    {
    }

    void convert(const double *in, double *out)
    {
        for (int p = 0; p < bench::line_pixels; ++p, in += inputDim, out += outputChannels)
            Interpolate(out, in);
    }

private:
    static inline unsigned char counts_[] = {bench::float_points, bench::float_points, bench::float_points,
                                             bench::float_points};
};

void add(int inputs, int outputs, bench::Texture texture)
{
    const auto c = std::make_shared<bench::FloatCase>(inputs, outputs, texture);
    const auto table = std::make_shared<Table>(inputs, outputs, c->values());
    const auto peer =
        std::make_shared<bench::Peer>(inputs, outputs, bench::float_points, c->grid, bench::Samples::floats);
    const auto ours = [=] { table->convert(c->line.data(), c->out.data()); };
    const auto theirs = [=] { peer->evaluate(c->peer_line.data(), c->peer_out.data(), bench::line_pixels); };
    ours();
    theirs();
    bench::compare(c->name, c->out, c->peer_out);
    bench::add_pair(c->name, ours, theirs);
}

}  // namespace

int main(int argc, char **argv)
{
    for (const auto &[inputs, outputs] : {std::pair{3, 3}, {4, 3}, {4, 4}})
        for (const bench::Texture texture : {bench::Texture::random, bench::Texture::smooth})
            add(inputs, outputs, texture);
    return bench::run_pairs(argc, argv);
}
