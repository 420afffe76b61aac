// clut - colour lookup table over a grid of floats (colour)
//
// A point is located in its cell by one multiplication per input; what follows works on the cell's lowest corner and a
// list of corner offsets made once, and is done by the kernels. With three inputs the six tetrahedra of a cell meet in
// the diagonal from corner 0 to corner 7; comparing the fractions chooses one, and its path visits two corners between.
//
// Example: N = 3, 17 points, M = 4, so strides 1156, 68, 4. in = (0.25, 0.5, 0.53125): x = 4, 8, 8.5, the cell starts
// at element 4 * 1156 + 8 * 68 + 8 * 4 = 5200; fx = fy = 0, fz = 0.5: the path is 0, 4, 5, 7 and the result lies
// halfway between grid points (4, 8, 8) and (4, 8, 9).
//
// Numbers of inputs without a kernel of their own multiply the weights of all corners first, 1024 corners at a time:
// the weights of the ten lowest inputs fit the stack, the higher inputs give each block a common factor.
//
// The arrays are shared by copies and never freed, so the object holds plain pointers. Evaluation writes to its results
// and the stack only. No process-wide state.

#include "clut.h"

#include "Kernels/clut_place.h"
#include "Kernels/kernels.h"
#include "Support/checked_size.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <new>

using teska::clut_point;
using teska::locate;
using teska::location;

namespace
{

constexpr std::size_t max_inputs = 16;
constexpr std::size_t most_channels = 255;
constexpr std::size_t block_inputs = 10;  // whose weights are on the stack together: 4 KB
constexpr std::size_t block_corners = std::size_t{1} << block_inputs;

double unit_clamp(float value)
{
    if (value < 0.0F)
        return 0.0;
    return static_cast<double>(value > 1.0F ? 1.0F : value);
}

// The lowest corner of the cell that holds a point; fraction[k] is that of input k.
template <std::size_t Inputs>
const float *find_cell(const float *data, const unsigned char *max_index, const unsigned int *stride, const double *in,
                       float *fraction)
{
    std::size_t base = 0;
    for (std::size_t k = 0; k < Inputs; ++k) {
        const location at = locate(max_index[k], in[k]);
        base += static_cast<std::size_t>(at.index) * stride[k];
        fraction[k] = at.fraction;
    }
    return data + base;
}

// The kernels know the unit clamp themselves.
double (*kernel_clamp(double (*clamp)(float)))(float) { return clamp == unit_clamp ? nullptr : clamp; }

// Corner c: the strides of the inputs whose bit is set in c.
void fill_corners(unsigned int *corner, const unsigned int *stride, std::size_t inputs)
{
    corner[0] = 0;
    for (std::size_t k = 0; k < inputs; ++k) {
        const std::size_t half = std::size_t{1} << k;
        for (std::size_t c = 0; c < half; ++c)
            corner[half + c] = corner[c] + stride[k];
    }
}

// The weights of the 2^inputs corners, times `common`; the last input is multiplied first. After every input there is a
// weight for each corner of the inputs so far, which the next one splits into two neighbours.
void multiply_weights(float common, const float *fraction, std::size_t inputs, float *weight)
{
    weight[0] = common;
    for (std::size_t k = inputs, corners = 1; k-- > 0; corners *= 2)
        for (std::size_t c = corners; c-- > 0;) {
            const float both = weight[c];
            weight[2 * c] = both * (1.0F - fraction[k]);
            weight[2 * c + 1] = both * fraction[k];
        }
}

// Four channels side by side: plain operators work on each by itself.
using quad = float __attribute__((vector_size(16)));

template <std::size_t Channels>
quad load(const float *from)
{
    return quad{from[0], Channels > 1 ? from[1] : 0.0F, Channels > 2 ? from[2] : 0.0F, Channels > 3 ? from[3] : 0.0F};
}

// Adds the terms of a block's corners to the sums of up to four adjacent channels, corner by corner. The term of a
// cell's first corner is not added: the sums begin with it.
template <std::size_t Channels>
void add_corners(const float *cell, const unsigned int *corner, const float *weight, bool first, quad &sums)
{
    quad sum = first ? load<Channels>(cell) * weight[0] : sums + load<Channels>(cell + corner[0]) * weight[0];
    for (std::size_t i = 1; i < block_corners; ++i)
        sum = sum + load<Channels>(cell + corner[i]) * weight[i];
    sums = sum;
}

// More inputs than a block has. A weight is the product of one factor for each input, the last input first: so the
// inputs from block_inputs on give all corners of a block a common factor, from which the block's own weights are
// multiplied.
void interpolate_blocks(const clut_point &point, const float *fraction, std::size_t inputs)
{
    constexpr decltype(&add_corners<4>) last[] = {nullptr, add_corners<1>, add_corners<2>, add_corners<3>};
    float weight[block_corners];
    quad sum[(most_channels + 3) / 4];
    const std::size_t quads = point.channels / 4;
    const std::size_t left = point.channels % 4;
    for (std::size_t block = 0; block < std::size_t{1} << (inputs - block_inputs); ++block) {
        float common = 1.0F;
        for (std::size_t k = inputs; k-- > block_inputs;)
            common = common * ((block >> (k - block_inputs) & 1) != 0 ? fraction[k] : 1.0F - fraction[k]);
        multiply_weights(common, fraction, block_inputs, weight);
        const std::uint32_t *const corner = point.corner + block * block_corners;
        for (std::size_t k = 0; k < quads; ++k)
            add_corners<4>(point.cell + 4 * k, corner, weight, block == 0, sum[k]);
        if (left != 0)
            last[left](point.cell + 4 * quads, corner, weight, block == 0, sum[quads]);
    }
    for (std::size_t c = 0; c < point.channels; ++c)
        point.out[c] = point.clamp(sum[c / 4][c % 4]);
}

// Puts a new array in the place of a former one.
template <class T>
void replace(T *&array, std::unique_ptr<T[]> &fresh)
{
    delete[] array;
    array = fresh.release();
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

CLUT::CLUT(unsigned char inputs, unsigned char *counts, unsigned char outputs, unsigned char aux, float *values)
    : clampFn(unit_clamp), inputDim(static_cast<unsigned char>(std::min<std::size_t>(inputs, max_inputs))),
      outputChannels(outputs), auxByte(aux), gridPoints{}, numPoints(0), dimSize{},
      data(nullptr), maxIndex{}, corner3{}, cornerN(nullptr), cornerCount(0), workScaled(nullptr),
      workFraction(nullptr), workIndex(nullptr), workWeight(nullptr), bitPeriod{}
{
    if (inputDim == 0)
        return;
    std::copy_n(counts, inputDim, gridPoints);
    if (std::any_of(gridPoints, gridPoints + inputDim, [](unsigned char count) { return count < 2; }))
        throw std::bad_alloc();

    constexpr std::uint64_t limit = std::numeric_limits<unsigned int>::max();
    teska::checked_size points(1, limit);
    teska::checked_size elements(outputs, limit);
    for (std::size_t k = inputDim; k-- > 0;) {
        dimSize[k] = static_cast<unsigned int>(elements.get());
        points *= gridPoints[k];
        elements *= gridPoints[k];
        if (!points.valid() || !elements.valid())
            throw std::bad_alloc();
    }
    numPoints = static_cast<unsigned int>(points.get());

    std::unique_ptr<float[]> block(new float[elements.get()]);
    std::copy_n(values, elements.get(), block.get());
    data = block.get();
    Begin();
    block.release();
}

CLUT::CLUT(const CLUT &other) = default;

CLUT &CLUT::operator=(const CLUT &other) = default;

// Kept: releases nothing, since copies share the arrays. Out of line: the virtual table is emitted here, once.
CLUT::~CLUT() = default;

// ---- Query ----------------------------------------------------------------------------------------------------------

unsigned int CLUT::NumPoints() const { return numPoints; }

unsigned char CLUT::GridPoints() const { return gridPoints[0]; }

unsigned char CLUT::GridPoint(int i) const { return gridPoints[i]; }

unsigned int CLUT::GetDimSize(unsigned char i) const { return dimSize[i]; }

unsigned char CLUT::GetInputDim() const { return inputDim; }

unsigned char CLUT::GetOutputChannels() const { return outputChannels; }

// ---- Change ---------------------------------------------------------------------------------------------------------

float &CLUT::operator[](int i) { return data[i]; }

float *CLUT::GetData(int i) { return data + i; }

// ---- Process --------------------------------------------------------------------------------------------------------

// Every routine locates the whole point, clamping it, before it writes a result: out may overlap in.
void CLUT::Interpolate(double *out, const double *in)
{
    switch (inputDim) {
    case 0:
        return;
    case 3:
        return Interp3dTetra(out, in);
    case 4:
        return Interp4d(out, in);
    case 5:
        return Interp5d(out, in);
    case 6:
        return Interp6d(out, in);
    default:
        return InterpND(out, in);
    }
}

// Everything that can fail comes first.
void CLUT::Begin()
{
    const std::size_t corners = std::size_t{1} << inputDim;
    const bool general = inputDim < 3 || inputDim > 6;
    std::unique_ptr<unsigned int[]> corner(new unsigned int[corners]);
    // No routine of this class uses the work arrays, but those of derived classes may.
    std::unique_ptr<float[]> scaled(general ? new float[inputDim]() : nullptr);
    std::unique_ptr<float[]> fraction(general ? new float[inputDim]() : nullptr);
    std::unique_ptr<int[]> index(general ? new int[inputDim]() : nullptr);
    std::unique_ptr<float[]> weight(general ? new float[corners]() : nullptr);

    for (std::size_t k = 0; k < inputDim; ++k)
        maxIndex[k] = static_cast<unsigned char>(gridPoints[k] - 1);
    cornerCount = static_cast<unsigned int>(corners);
    fill_corners(corner.get(), dimSize, inputDim);
    if (inputDim == 3)
        std::copy_n(corner.get(), std::size(corner3), corner3);
    for (std::size_t i = 0; general && i < inputDim; ++i)
        bitPeriod[i] = 1U << (inputDim - 1 - i);

    replace(cornerN, corner);
    replace(workScaled, scaled);
    replace(workFraction, fraction);
    replace(workIndex, index);
    replace(workWeight, weight);
}

void CLUT::Interp3dTetra(double *out, const double *in)
{
    teska::kernels().clut.tetra({data, maxIndex, dimSize, corner3, outputChannels, kernel_clamp(clampFn)}, in, out);
}

void CLUT::Interp3d(double *out, const double *in)
{
    float f[3];
    const float *cell = find_cell<3>(data, maxIndex, dimSize, in, f);
    teska::kernels().clut.linear3({cell, corner3, outputChannels, out, kernel_clamp(clampFn)}, f);
}

void CLUT::Interp4d(double *out, const double *in)
{
    float f[4];
    const float *cell = find_cell<4>(data, maxIndex, dimSize, in, f);
    teska::kernels().clut.linear4({cell, cornerN, outputChannels, out, kernel_clamp(clampFn)}, f);
}

void CLUT::Interp5d(double *out, const double *in)
{
    float f[5];
    const float *cell = find_cell<5>(data, maxIndex, dimSize, in, f);
    teska::kernels().clut.linear5({cell, cornerN, outputChannels, out, kernel_clamp(clampFn)}, f);
}

void CLUT::Interp6d(double *out, const double *in)
{
    float f[6];
    const float *cell = find_cell<6>(data, maxIndex, dimSize, in, f);
    teska::kernels().clut.linear6({cell, cornerN, outputChannels, out, kernel_clamp(clampFn)}, f);
}

void CLUT::InterpND(double *out, const double *in)
{
    float fraction[max_inputs];
    std::size_t base = 0;
    for (std::size_t k = 0; k < inputDim; ++k) {
        const location at = locate(maxIndex[k], in[k]);
        base += static_cast<std::size_t>(at.index) * dimSize[k];
        fraction[k] = at.fraction;
    }
    if (inputDim > block_inputs)
        return interpolate_blocks({data + base, cornerN, outputChannels, out, clampFn}, fraction, inputDim);
    float weight[block_corners];
    multiply_weights(1.0F, fraction, inputDim, weight);
    teska::kernels().clut.weighted({data + base, cornerN, outputChannels, out, kernel_clamp(clampFn)}, weight,
                                   std::size_t{1} << inputDim);
}
