// restriction - linear restrictions on a point (numerics)
//
// Equalities in reduced row echelon form: row k has 1 in its pivot column and 0 in the pivot columns of all others, so
// the coordinate of that column is b less the sum over the free ones:
//
//     x + y + z = 6, x - y = -1    ->    pivots x and y:    x + 0.5 z = 2.5
//                                                           y + 0.5 z = 3.5

#include "restriction.h"

#include "Support/checked_size.h"
#include "Support/memory.h"
#include "Support/report.h"
#include "Support/restriction_priv.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

struct restriction {
    int nx = 0;
    int equalities = 0;
    int inequalities = 0;
    teska::heap_block<double> eq;                // nx rows, of which `equalities` are used
    teska::heap_block<double> ineq;              // `inequalities` rows
    teska::heap_block<std::int32_t> pivots;      // nx: the pivot column of each equality
    teska::heap_block<unsigned char> dependent;  // nx: 1 for pivot columns
    teska::heap_block<double> scratch;           // two points, a row, free variables
};

namespace
{

// Of a row's largest magnitude: what is smaller is rounding.
constexpr double dependent_row = 1e-12;

// Of 1 + |b|: how far apart both sides of a restriction may be in a row that follows from others, behind a step, and
// at a start.
constexpr double consistent = 1e-9;
constexpr double behind_step = 1e-12;
constexpr double at_start = 1e-9;

// A change of a . x that is none.
constexpr double no_change = 1e-20;

std::size_t width(const restriction &r) { return static_cast<std::size_t>(r.nx) + 1; }
double *equality(const restriction &r, int k) { return r.eq.get() + static_cast<std::size_t>(k) * width(r); }
double *inequality(const restriction &r, int k) { return r.ineq.get() + static_cast<std::size_t>(k) * width(r); }

double product(const restriction &r, const double *row, const double *x)
{
    double sum = 0.0;
    for (int c = 0; c < r.nx; ++c)
        sum += row[c] * x[c];
    return sum;
}

double allowance(double factor, double b) { return factor * (1.0 + std::fabs(b)); }

double largest_of(const restriction &r, const double *row)
{
    double largest = 0.0;
    for (int c = 0; c < r.nx; ++c)
        largest = std::max(largest, std::fabs(row[c]));
    return largest;
}

// A new restriction with room for nx equalities; reports when there is no memory.
teska::heap_record<restriction> make(int nx, int inequalities)
{
    teska::checked_size size(static_cast<std::uint64_t>(std::max(nx, 0)) + 1, PTRDIFF_MAX / sizeof(double) / 4);
    size *= static_cast<std::uint64_t>(std::max({nx, inequalities, 4}));
    teska::heap_record<restriction> r;
    if (nx >= 1 && inequalities >= 0 && size.valid())
        r = teska::make_record<restriction>();
    if (r) {
        r->nx = nx;
        r->inequalities = inequalities;
        const auto count = static_cast<std::size_t>(nx);
        r->eq = teska::zeroed_block<double>(count * width(*r));
        r->ineq = teska::zeroed_block<double>(static_cast<std::size_t>(inequalities) * width(*r));
        r->pivots = teska::zeroed_block<std::int32_t>(count);
        r->dependent = teska::zeroed_block<unsigned char>(count);
        r->scratch = teska::zeroed_block<double>(4 * width(*r));
        if (!r->eq || !r->ineq || !r->pivots || !r->dependent || !r->scratch)
            r.reset();
    }
    if (!r)
        TESKA_ERR("restriction_new: malloc failed");
    return r;
}

// Takes from a row what the equalities say of it. Returns the column of its pivot, -1 when nothing is left.
int reduce(const restriction &r, double *row)
{
    const double bound = dependent_row * largest_of(r, row);
    for (int k = 0; k < r.equalities; ++k) {
        const double factor = row[r.pivots.get()[k]];
        for (int c = 0; c <= r.nx; ++c)
            row[c] -= factor * equality(r, k)[c];
        row[r.pivots.get()[k]] = 0.0;
    }
    int pivot = -1;
    for (int c = 0; c < r.nx; ++c)
        if (r.dependent.get()[c] == 0 && std::fabs(row[c]) > (pivot < 0 ? bound : std::fabs(row[pivot])))
            pivot = c;
    return pivot;
}

// Adds a reduced row with its pivot.
void append(restriction &r, const double *reduced, int pivot)
{
    double *const row = equality(r, r.equalities);
    for (int c = 0; c <= r.nx; ++c)
        row[c] = reduced[c] / reduced[pivot];
    for (int k = 0; k < r.equalities; ++k) {
        const double factor = equality(r, k)[pivot];
        for (int c = 0; c <= r.nx; ++c)
            equality(r, k)[c] -= factor * row[c];
        equality(r, k)[pivot] = 0.0;
    }
    r.pivots.get()[r.equalities++] = pivot;
    r.dependent.get()[pivot] = 1;
}

// Returns whether the equality can hold together with those before it.
bool add_equality(restriction &r, const double *row)
{
    double *const reduced = r.scratch.get();
    std::copy_n(row, width(r), reduced);
    const int pivot = reduce(r, reduced);
    if (pivot < 0)
        return std::fabs(reduced[r.nx]) <= allowance(consistent, row[r.nx]);
    append(r, reduced, pivot);
    return true;
}

struct obstacle {
    int row = -1;
    double alpha = 1.0;
};

// What a step from x0 to x1 meets first among the inequalities of `limits`.
obstacle first_obstacle(const restriction &current, const restriction &limits, const double *x0, const double *x1)
{
    double *const reduced = current.scratch.get() + 2 * width(current);
    obstacle first;
    for (int k = 0; k < limits.inequalities; ++k) {
        const double *const row = inequality(limits, k);
        const double b = row[limits.nx];
        const double before = product(limits, row, x0);
        const double behind = product(limits, row, x1);
        if (behind <= b + allowance(behind_step, b) || std::fabs(behind - before) <= no_change)
            continue;
        std::copy_n(row, width(current), reduced);
        if (reduce(current, reduced) < 0)
            continue;
        // Violated at the start already, the step stops there, wherever it leads.
        const double alpha = before < b ? std::min((b - before) / (behind - before), 1.0) : 0.0;
        if (first.row < 0 || alpha < first.alpha)
            first = {k, alpha};
    }
    return first;
}

// `current` with one more equality; empty when memory runs out.
teska::heap_record<restriction> with_equality(const restriction &current, const double *row)
{
    teska::heap_record<restriction> r = make(current.nx, current.inequalities);
    if (!r)
        return r;
    r->equalities = current.equalities;
    const auto nx = static_cast<std::size_t>(current.nx);
    std::copy_n(current.eq.get(), nx * width(current), r->eq.get());
    std::copy_n(current.ineq.get(), static_cast<std::size_t>(current.inequalities) * width(current), r->ineq.get());
    std::copy_n(current.pivots.get(), nx, r->pivots.get());
    std::copy_n(current.dependent.get(), nx, r->dependent.get());
    add_equality(*r, row);
    return r;
}

}  // namespace

namespace teska
{

int coordinates(const restriction &r) noexcept { return r.nx; }

bool keeps_inequalities(const restriction &r, const double *x) noexcept
{
    for (int k = 0; k < r.inequalities; ++k) {
        const double b = inequality(r, k)[r.nx];
        // Negated, so that NaN is not kept.
        if (!(product(r, inequality(r, k), x) <= b + allowance(at_start, b)))
            return false;
    }
    return true;
}

void pick_free(const restriction &r, const double *x, double *free_vars) noexcept
{
    for (int c = 0; c < r.nx; ++c)
        if (r.dependent.get()[c] == 0)
            *free_vars++ = x[c];
}

}  // namespace teska

// ---- Life ----------------------------------------------------------------------------------------------------------

restriction *restriction_new(int nx, int neq, const double *eq, int nineq, const double *ineq) TESKA_NOTHROW
{
    teska::heap_record<restriction> r = make(nx, neq < 0 ? -1 : nineq);
    if (!r)
        return nullptr;
    std::copy_n(ineq, static_cast<std::size_t>(nineq) * width(*r), r->ineq.get());
    for (int k = 0; k < neq; ++k)
        if (!add_equality(*r, eq + static_cast<std::size_t>(k) * width(*r))) {
            TESKA_ERR("restriction_new: inconsistent restrictions");
            return nullptr;
        }
    return r.release();
}

restriction *restriction_kill(restriction *r) TESKA_NOTHROW
{
    teska::kill_record(r);
    return nullptr;
}

// ---- Query ---------------------------------------------------------------------------------------------------------

int restriction_get_num_of_var(const restriction *r) TESKA_NOTHROW { return r != nullptr ? r->nx - r->equalities : 0; }

int restriction_makeX(const restriction *r, const double *free_vars, double *x) TESKA_NOTHROW
{
    for (int c = 0; c < r->nx; ++c)
        x[c] = r->dependent.get()[c] == 0 ? *free_vars++ : 0.0;
    // The pivot columns of other rows hold 0, and so do theirs in x until all sums are formed.
    double *const sums = r->scratch.get() + 2 * width(*r);
    for (int k = 0; k < r->equalities; ++k)
        sums[k] = product(*r, equality(*r, k), x);
    for (int k = 0; k < r->equalities; ++k)
        x[r->pivots.get()[k]] = equality(*r, k)[r->nx] - sums[k];
    return 0;
}

// ---- Process -------------------------------------------------------------------------------------------------------

restriction *restriction_new_check(const restriction *current, const restriction *limits, const double *free_vars,
                                   const double *step, double *alpha) TESKA_NOTHROW
{
    if (limits == nullptr)
        limits = current;
    double *const x0 = current->scratch.get();
    double *const x1 = x0 + width(*current);
    double *const behind = x0 + 3 * width(*current);
    restriction_makeX(current, free_vars, x0);
    const int n = restriction_get_num_of_var(current);
    for (int k = 0; k < n; ++k)
        behind[k] = free_vars[k] + step[k];
    restriction_makeX(current, behind, x1);
    const obstacle first = first_obstacle(*current, *limits, x0, x1);
    *alpha = first.alpha;
    if (first.row < 0)
        return nullptr;
    teska::heap_record<restriction> reduced = with_equality(*current, inequality(*limits, first.row));
    if (!reduced)
        *alpha = 0.0;
    return reduced.release();
}

int restriction_get_back(const restriction *reduced, const restriction *current, const double *reduced_vars,
                         double *current_vars) TESKA_NOTHROW
{
    double *const x = reduced->scratch.get();
    restriction_makeX(reduced, reduced_vars, x);
    teska::pick_free(*current, x, current_vars);
    return 0;
}
