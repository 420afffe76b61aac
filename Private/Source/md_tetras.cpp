// md_tetras - conversion of 16-bit and 8-bit pixels through a regular grid of 16-bit samples (colour)
//
// A table is a set (Support/tetras_set.h) of one. The definition of the conversion, with the proofs that it is exact in
// 32 bits, is in Kernels/md_tetras_scalar.cpp.
//
//     |<- R^N * M samples, input 0 slowest ->|<- 64 bytes of padding, zero ->|
//
// Evaluation writes to its arguments and the stack only. No process-wide state. Creation takes O(R^N * M), a curve
// O(65536), conversion O(N * M) per pixel and a sort of N numbers.

#include "md_tetras.h"

#include "Support/grid_fill.h"
#include "Support/report.h"
#include "Support/tetras_set.h"

using teska::curve_change;

struct md_tetras {
    teska::tetras_set set;
};

namespace
{

template <class In, class Out>
int convert(const md_tetras *table, const In *const *in, int in_step, Out *const *out, int out_step, int count,
            const unsigned char *mask, int threshold)
{
    teska::md_tetras_run run = teska::tetras_run(in, in_step, out, out_step, count);
    run.mask = mask;
    run.lowest = threshold < 0 ? 0 : threshold < UCHAR_MAX ? threshold + 1 : UCHAR_MAX + 1;
    run.tables = 1;
    table->set.convert(run);
    return 1;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

md_tetras *md_tetras_new(int N, int M, int R) TESKA_NOTHROW
{
    const teska::grid_shape shape{.inputs = N, .outputs = M, .resolution = R, .extension = 0};
    if (!teska::tetras_set::legal(1, shape)) {
        TESKA_ERR("md_tetras_new: illegal dimension");
        return nullptr;
    }
    auto table = teska::tetras_set::fits(1, shape) ? teska::make_record<md_tetras>() : nullptr;
    if (!table || !table->set.make(1, shape)) {
        TESKA_ERR("md_tetras_new: insufficient memory");
        return nullptr;
    }
    return table.release();
}

md_tetras *md_tetras_clone(const md_tetras *table) TESKA_NOTHROW
{
    auto copy = teska::make_record<md_tetras>();
    if (!copy || !copy->set.copy(table->set)) {
        TESKA_ERR("md_tetras_clone: insufficient memory");
        return nullptr;
    }
    return copy.release();
}

md_tetras *md_tetras_kill(md_tetras *table) TESKA_NOTHROW
{
    teska::kill_record(table);
    return nullptr;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int md_tetras_ilut_set(md_tetras *table, int d, int n, const unsigned short *entries) TESKA_NOTHROW
{
    const curve_change change = table->set.set_in_curve(d, n, entries);
    if (change == curve_change::illegal)
        TESKA_ERR("md_tetras_ilut_set: illegal curve");
    if (change == curve_change::no_memory)
        TESKA_ERR("md_tetras_ilut_set: insufficient memory");
    return change == curve_change::done ? 1 : 0;
}

int md_tetras_olut_set(md_tetras *table, int c, int n, const unsigned short *entries) TESKA_NOTHROW
{
    const curve_change change = table->set.set_out_curve(0, c, n, entries);
    if (change == curve_change::illegal)
        TESKA_ERR("md_tetras_olut_set: illegal curve");
    if (change == curve_change::no_memory)
        TESKA_ERR("md_tetras_olut_set: insufficient memory");
    return change == curve_change::done ? 1 : 0;
}

int md_tetras_fill_double(md_tetras *table, const double *values, int extension, double lo, double hi) TESKA_NOTHROW
{
    const teska::grid_source source{.values = values, .extension = extension, .low = lo, .high = hi};
    const teska::grid_filling filling = teska::fill_grid(table->set.shape(), source, table->set.grid(0));
    if (filling == teska::grid_filling::illegal_range)
        TESKA_ERR("md_tetras_fill_double: illegal range");
    if (filling == teska::grid_filling::illegal_value)
        TESKA_ERR("md_tetras_fill_double: illegal value");
    return filling == teska::grid_filling::done ? 1 : 0;
}

unsigned short *md_tetras_dataptr(md_tetras *table, int *size) TESKA_NOTHROW
{
    if (size != nullptr)
        *size = table->set.values();
    return table->set.grid(0);
}

unsigned short *md_tetras_vertex_get(md_tetras *table, const int *coord, unsigned short *inSamples) TESKA_NOTHROW
{
    return table->set.vertex(0, coord, inSamples);
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int md_tetras_get_nrpoints(const md_tetras *table) TESKA_NOTHROW { return table->set.points(); }

int md_tetras_scan_vertex(const md_tetras *table, int *coord) TESKA_NOTHROW
{
    return teska::grid_scan(table->set.shape(), coord);
}

// ---- Process --------------------------------------------------------------------------------------------------------

int md_tetras_interp(const md_tetras *table, const unsigned short *const *in, int inStep, unsigned short *const *out,
                     int outStep, int count, const unsigned char *mask, int threshold) TESKA_NOTHROW
{
    return convert(table, in, inStep, out, outStep, count, mask, threshold);
}

int md_tetras_interp_b(const md_tetras *table, const unsigned char *const *in, int inStep, unsigned char *const *out,
                       int outStep, int count, const unsigned char *mask, int threshold) TESKA_NOTHROW
{
    return convert(table, in, inStep, out, outStep, count, mask, threshold);
}

int md_tetras_interp_bs(const md_tetras *table, const unsigned char *const *in, int inStep, unsigned short *const *out,
                        int outStep, int count, const unsigned char *mask, int threshold) TESKA_NOTHROW
{
    return convert(table, in, inStep, out, outStep, count, mask, threshold);
}

int md_tetras_interp_sb(const md_tetras *table, const unsigned short *const *in, int inStep, unsigned char *const *out,
                        int outStep, int count, const unsigned char *mask, int threshold) TESKA_NOTHROW
{
    return convert(table, in, inStep, out, outStep, count, mask, threshold);
}
