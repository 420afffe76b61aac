// clut_table - the class CLUT for C and for other languages (colour)
//
// A CLUT keeps its arrays for copies and never frees them. Here nobody else can have a copy, so a derived class frees
// them with the record. The constructor of a CLUT is the one place that throws.
//
// Evaluation writes to its results and the stack only. No process-wide state.

#include "clut_table.h"

#include "Support/report.h"

#include "clut.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace
{

constexpr int most_inputs = 16;
constexpr int most_outputs = 255;
constexpr int most_points = 255;

// Without copies: the arrays go with the object.
class owned_clut : public CLUT
{
public:
    using CLUT::CLUT;
    owned_clut(const owned_clut &) = delete;
    owned_clut &operator=(const owned_clut &) = delete;
    ~owned_clut() override
    {
        delete[] data;
        delete[] cornerN;
        delete[] workScaled;
        delete[] workFraction;
        delete[] workIndex;
        delete[] workWeight;
    }

    int values() const { return static_cast<int>(numPoints * outputChannels); }
};

bool legal(int inputs, const int *points, int outputs)
{
    return inputs >= 1 && inputs <= most_inputs && outputs >= 1 && outputs <= most_outputs &&
           std::all_of(points, points + inputs, [](int count) { return count >= 2 && count <= most_points; });
}

// The number of values; 0 when they are more than an int counts.
std::size_t values_of(int inputs, const int *points, int outputs)
{
    std::int64_t values = outputs;
    for (int k = 0; k < inputs; ++k)
        if ((values *= points[k]) > INT_MAX)
            return 0;
    return static_cast<std::size_t>(values);
}

}  // namespace

struct clut_table {
    clut_table(int inputs, unsigned char *counts, int outputs, float *values)
        : clut(static_cast<unsigned char>(inputs), counts, static_cast<unsigned char>(outputs), 0, values)
    {
    }

    mutable owned_clut clut;  // CLUT::Interpolate is not const and changes nothing
};

clut_table *clut_table_new(int N, const int *points, int M, const float *values) TESKA_NOTHROW
{
    if (!legal(N, points, M)) {
        TESKA_ERR("clut_table_new: illegal dimension");
        return nullptr;
    }
    unsigned char counts[most_inputs] = {};
    std::transform(points, points + N, counts, [](int count) { return static_cast<unsigned char>(count); });
    const std::size_t size = values_of(N, points, M);
    std::unique_ptr<float[]> zeros(values == nullptr && size != 0 ? new (std::nothrow) float[size]() : nullptr);
    if (size != 0 && (values != nullptr || zeros)) {
        try {
            return new clut_table(N, counts, M, values != nullptr ? const_cast<float *>(values) : zeros.get());
        } catch (const std::bad_alloc &) {
        }
    }
    TESKA_ERR("clut_table_new: insufficient memory");
    return nullptr;
}

clut_table *clut_table_kill(clut_table *table) TESKA_NOTHROW
{
    delete table;
    return nullptr;
}

float *clut_table_dataptr(clut_table *table, int *size) TESKA_NOTHROW
{
    if (size != nullptr)
        *size = table->clut.values();
    return table->clut.GetData(0);
}

int clut_table_interp(const clut_table *table, const double *const *in, int inStep, double *const *out, int outStep,
                      int count) TESKA_NOTHROW
{
    double point[most_inputs], result[most_outputs];
    const int inputs = table->clut.GetInputDim();
    const int outputs = table->clut.GetOutputChannels();
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        for (int d = 0; d < inputs; ++d)
            point[d] = in[d][i * inStep];
        table->clut.Interpolate(result, point);
        for (int c = 0; c < outputs; ++c)
            if (out[c] != nullptr)
                out[c][i * outStep] = result[c];
    }
    return 1;
}
