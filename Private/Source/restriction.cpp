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
    teska::heap_block<double> eq;                // nx + 1 rows, of which `equalities` are used
    teska::heap_block<double> ineq;              // `inequalities` rows
    teska::heap_block<std::int32_t> pivots;      // nx: the pivot column of each equality
    teska::heap_block<unsigned char> dependent;  // nx: 1 for pivot columns
};

namespace
{

// Of a row's largest magnitude: what is smaller is rounding.
constexpr double dependent_row = 1e-12;

// Of 1 + |b|: how far apart both sides of a restriction may be in a row that follows from others, after a step, and
// at a start.
constexpr double consistent = 1e-9;
constexpr double after_step = 1e-12;
constexpr double at_start = 1e-9;

// A change of a . x that is none.
constexpr double no_change = 1e-20;

std::size_t width(const restriction &r) { return static_cast<std::size_t>(r.nx) + 1; }
double *equality(const restriction &r, int k) { return &r.eq[static_cast<std::size_t>(k) * width(r)]; }
double *inequality(const restriction &r, int k) { return &r.ineq[static_cast<std::size_t>(k) * width(r)]; }

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

// A new restriction with room for nx equalities and one more that follows from them. Reports when there is no memory.
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
        r->eq = teska::zeroed_block<double>((count + 1) * width(*r));
        r->ineq = teska::zeroed_block<double>(static_cast<std::size_t>(inequalities) * width(*r));
        r->pivots = teska::zeroed_block<std::int32_t>(count);
        r->dependent = teska::zeroed_block<unsigned char>(count);
        if (!r->eq || !r->ineq || !r->pivots || !r->dependent)
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
        const double factor = row[r.pivots[k]];
        for (int c = 0; c <= r.nx; ++c)
            row[c] -= factor * equality(r, k)[c];
        row[r.pivots[k]] = 0.0;  // also where a sum has overflowed
    }
    int pivot = -1;
    for (int c = 0; c < r.nx; ++c)
        if (r.dependent[c] == 0 && std::fabs(row[c]) > (pivot < 0 ? bound : std::fabs(row[pivot])))
            pivot = c;
    return pivot;
}

// Makes the reduced row after the last equality one more of them.
void append(restriction &r, int pivot)
{
    double *const row = equality(r, r.equalities);
    const double divisor = row[pivot];
    for (int c = 0; c <= r.nx; ++c)
        row[c] /= divisor;
    for (int k = 0; k < r.equalities; ++k) {
        const double factor = equality(r, k)[pivot];
        for (int c = 0; c <= r.nx; ++c)
            equality(r, k)[c] -= factor * row[c];
        equality(r, k)[pivot] = 0.0;  // also where a sum has overflowed
    }
    r.pivots[r.equalities++] = pivot;
    r.dependent[pivot] = 1;
}

// Returns whether the equality can hold together with those before it.
bool add_equality(restriction &r, const double *row)
{
    double *const reduced = equality(r, r.equalities);
    std::copy_n(row, width(r), reduced);
    const int pivot = reduce(r, reduced);
    if (pivot < 0)
        return std::fabs(reduced[r.nx]) <= allowance(consistent, row[r.nx]);
    append(r, pivot);
    return true;
}

// The equality whose pivot is the dependent column c.
int equality_of(const restriction &r, int c)
{
    return static_cast<int>(std::find(r.pivots.get(), r.pivots.get() + r.equalities, c) - r.pivots.get());
}

// The coordinate that equality k makes depend on the free ones.
double dependent_coordinate(const restriction &r, int k, const double *free_vars)
{
    const double *const row = equality(r, k);
    double sum = 0.0;
    for (int c = 0; c < r.nx; ++c)
        sum += row[c] * (r.dependent[c] == 0 ? *free_vars++ : 0.0);
    return row[r.nx] - sum;
}

// What a call needs to look along a step: on the stack for points of few coordinates.
class step_room
{
public:
    explicit step_room(std::size_t width) noexcept : width_(width)
    {
        if (3 * width > few)
            many_ = teska::zeroed_block<double>(3 * width);
    }

    [[nodiscard]] bool there() const noexcept { return 3 * width_ <= few || many_; }
    double *start() noexcept { return many_ ? many_.get() : few_; }
    double *end() noexcept { return start() + width_; }
    double *row() noexcept { return end() + width_; }

private:
    static constexpr std::size_t few = 96;

    std::size_t width_;
    teska::heap_block<double> many_;
    double few_[few];
};

struct obstacle {
    int row = -1;
    double alpha = 1.0;
};

// What the step from room.start() to room.end() meets first among the inequalities of `limits`.
obstacle first_obstacle(const restriction &current, const restriction &limits, step_room &room)
{
    obstacle first;
    for (int k = 0; k < limits.inequalities; ++k) {
        const double *const row = inequality(limits, k);
        const double b = row[limits.nx];
        const double before = product(limits, row, room.start());
        const double after = product(limits, row, room.end());
        if (after <= b + allowance(after_step, b) || std::fabs(after - before) <= no_change)
            continue;
        std::copy_n(row, width(current), room.row());
        if (reduce(current, room.row()) < 0)
            continue;
        // An inequality that is violated at the start stops the step there, wherever it leads, and so does one that
        // cannot be told, of infinities.
        const double part = (b - before) / (after - before);
        const double alpha = before < b && part >= 0.0 ? std::min(part, 1.0) : 0.0;
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
        if (r.dependent[c] == 0)
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
    for (int k = 0; k < r->equalities; ++k)
        x[r->pivots[k]] = dependent_coordinate(*r, k, free_vars);
    for (int c = 0; c < r->nx; ++c)
        if (r->dependent[c] == 0)
            x[c] = *free_vars++;
    return 0;
}

// ---- Process -------------------------------------------------------------------------------------------------------

restriction *restriction_new_check(const restriction *current, const restriction *limits, const double *free_vars,
                                   const double *step, double *alpha) TESKA_NOTHROW
{
    if (limits == nullptr)
        limits = current;
    *alpha = 0.0;
    step_room room(width(*current));
    if (!room.there()) {
        TESKA_ERR("restriction_new: malloc failed");
        return nullptr;
    }
    restriction_makeX(current, free_vars, room.start());
    const int n = restriction_get_num_of_var(current);
    double *const moved = room.row();
    for (int k = 0; k < n; ++k)
        moved[k] = free_vars[k] + step[k];
    restriction_makeX(current, moved, room.end());
    const obstacle first = first_obstacle(*current, *limits, room);
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
    const double *next_free = reduced_vars;
    for (int c = 0; c < reduced->nx; ++c) {
        const bool is_free = reduced->dependent[c] == 0;
        if (current->dependent[c] == 0) {
            *current_vars++ =
                is_free ? *next_free : dependent_coordinate(*reduced, equality_of(*reduced, c), reduced_vars);
        }
        next_free += is_free ? 1 : 0;
    }
    return 0;
}
