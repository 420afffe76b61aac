// mmd_tetras - conversion of pixels through a set of 16-bit tables over the same inputs (colour)
//
// The set is that of Support/tetras_set.h: K dense grids one after the other, N input curves for all, M output curves
// for each table. A kernel finds the path of a pixel once, as offsets that hold in every grid, and sums at the grids
// that the call asks for: one by tag, all, or two to blend.
//
// Evaluation writes to its arguments and the stack only. No process-wide state.

#include "mmd_tetras.h"

#include "Support/report.h"
#include "Support/tetras_set.h"

#include <algorithm>

using teska::curve_change;
using teska::md_tetras_choice;

struct mmd_tetras {
    teska::tetras_set tables;
};

namespace
{

template <class Sample>
int convert_by_tag(const mmd_tetras *set, const Sample *const *in, int in_step, Sample *const *out, int out_step,
                   int count, const unsigned char *tags)
{
    teska::md_tetras_run run = teska::tetras_run(in, in_step, out, out_step, count);
    run.choice = md_tetras_choice::by_tag;
    run.tables = set->tables.tables();
    run.tags = tags;
    set->tables.convert(run);
    return 1;
}

template <class Sample>
int convert_all(const mmd_tetras *set, const Sample *const *in, int in_step, Sample *const *out, int out_step,
                int count)
{
    teska::md_tetras_run run = teska::tetras_run(in, in_step, out, out_step, count);
    run.tables = set->tables.tables();
    set->tables.convert(run);
    return 1;
}

template <class Sample>
int blend(const mmd_tetras *set, int a, int b, const Sample *const *in, int in_step, Sample *const *out, int out_step,
          int count, const unsigned short *weights, int weight)
{
    if (!set->tables.has(a) || !set->tables.has(b))
        return 0;
    teska::md_tetras_run run = teska::tetras_run(in, in_step, out, out_step, count);
    run.choice = md_tetras_choice::blend;
    run.first = a;
    run.second = b;
    run.weights = weights;
    run.weight = static_cast<unsigned short>(std::clamp(weight, 0, USHRT_MAX));
    set->tables.convert(run);
    return 1;
}

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

mmd_tetras *mmd_tetras_new(int K, int N, int M, int R) TESKA_NOTHROW
{
    const teska::grid_shape shape{.inputs = N, .outputs = M, .resolution = R, .extension = 0};
    if (!teska::tetras_set::legal(K, shape)) {
        TESKA_ERR("mmd_tetras_new: illegal dimension");
        return nullptr;
    }
    auto set = teska::tetras_set::fits(K, shape) ? teska::make_record<mmd_tetras>() : nullptr;
    if (!set || !set->tables.make(K, shape)) {
        TESKA_ERR("mmd_tetras_new: insufficient memory");
        return nullptr;
    }
    return set.release();
}

mmd_tetras *mmd_tetras_clone(const mmd_tetras *set) TESKA_NOTHROW
{
    auto copy = teska::make_record<mmd_tetras>();
    if (!copy || !copy->tables.copy(set->tables)) {
        TESKA_ERR("mmd_tetras_clone: insufficient memory");
        return nullptr;
    }
    return copy.release();
}

mmd_tetras *mmd_tetras_kill(mmd_tetras *set) TESKA_NOTHROW
{
    teska::kill_record(set);
    return nullptr;
}

// ---- Change ---------------------------------------------------------------------------------------------------------

int mmd_tetras_ilut_set(mmd_tetras *set, int d, int n, const unsigned short *entries) TESKA_NOTHROW
{
    const curve_change change = set->tables.set_in_curve(d, n, entries);
    if (change == curve_change::illegal)
        TESKA_ERR("mmd_tetras_ilut_set: illegal curve");
    if (change == curve_change::no_memory)
        TESKA_ERR("mmd_tetras_ilut_set: insufficient memory");
    return change == curve_change::done ? 1 : 0;
}

int mmd_tetras_olut_set(mmd_tetras *set, int k, int c, int n, const unsigned short *entries) TESKA_NOTHROW
{
    const curve_change change = set->tables.set_out_curve(k, c, n, entries);
    if (change == curve_change::illegal)
        TESKA_ERR("mmd_tetras_olut_set: illegal curve");
    if (change == curve_change::no_memory)
        TESKA_ERR("mmd_tetras_olut_set: insufficient memory");
    return change == curve_change::done ? 1 : 0;
}

unsigned short *mmd_tetras_dataptr(mmd_tetras *set, int k, int *size) TESKA_NOTHROW
{
    if (!set->tables.has(k))
        return nullptr;
    if (size != nullptr)
        *size = set->tables.values();
    return set->tables.grid(k);
}

unsigned short *mmd_tetras_vertex_get(mmd_tetras *set, int k, const int *coord, unsigned short *inSamples) TESKA_NOTHROW
{
    return set->tables.has(k) ? set->tables.vertex(k, coord, inSamples) : nullptr;
}

// ---- Query ----------------------------------------------------------------------------------------------------------

int mmd_tetras_get_nrpoints(const mmd_tetras *set) TESKA_NOTHROW { return set->tables.points(); }

int mmd_tetras_scan_vertex(const mmd_tetras *set, int *coord) TESKA_NOTHROW
{
    return teska::grid_scan(set->tables.shape(), coord);
}

// ---- Process --------------------------------------------------------------------------------------------------------

int mmd_tetras_interp_tag(const mmd_tetras *set, const unsigned short *const *in, int inStep,
                          unsigned short *const *out, int outStep, int count, const unsigned char *tags) TESKA_NOTHROW
{
    return convert_by_tag(set, in, inStep, out, outStep, count, tags);
}

int mmd_tetras_interp_all(const mmd_tetras *set, const unsigned short *const *in, int inStep,
                          unsigned short *const *out, int outStep, int count) TESKA_NOTHROW
{
    return convert_all(set, in, inStep, out, outStep, count);
}

int mmd_tetras_interp_mix(const mmd_tetras *set, int a, int b, const unsigned short *const *in, int inStep,
                          unsigned short *const *out, int outStep, int count, const unsigned short *weights,
                          int weight) TESKA_NOTHROW
{
    return blend(set, a, b, in, inStep, out, outStep, count, weights, weight);
}

int mmd_tetras_interp_tag_b(const mmd_tetras *set, const unsigned char *const *in, int inStep,
                            unsigned char *const *out, int outStep, int count, const unsigned char *tags) TESKA_NOTHROW
{
    return convert_by_tag(set, in, inStep, out, outStep, count, tags);
}

int mmd_tetras_interp_all_b(const mmd_tetras *set, const unsigned char *const *in, int inStep,
                            unsigned char *const *out, int outStep, int count) TESKA_NOTHROW
{
    return convert_all(set, in, inStep, out, outStep, count);
}

int mmd_tetras_interp_mix_b(const mmd_tetras *set, int a, int b, const unsigned char *const *in, int inStep,
                            unsigned char *const *out, int outStep, int count, const unsigned short *weights,
                            int weight) TESKA_NOTHROW
{
    return blend(set, a, b, in, inStep, out, outStep, count, weights, weight);
}
