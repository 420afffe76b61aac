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

}  // namespace

int main(int argc, char **argv) { return bench::run_float_pairs<Table>(argc, argv); }
