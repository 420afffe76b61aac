// clg/images - which cells reach a colour, with which weights, and which of them the rule chooses (geometry)
//
// The image of a tetrahedron is a tetrahedron of colours: a colour in it has one set of weights. That of a pentatope is
// the shadow of a body of four dimensions on the space of colours; the points above a colour are a segment, with
// weights
//
//     lambda + t mu,   mu_i = (-1)^i times the signed volume of the corners without i,   sum of mu = 0
//
// where lambda are the weights of the four corners without that of the largest |mu|, and mu is scaled to make this 1.
//
// Weights count from -1e-9 on, so that no colour falls between two cells.

#include "Source/clg/model.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace teska::cloud
{

namespace
{

constexpr double least_volume = 1e-9;   // six times that of a figure of colours; flatter ones hold nothing
constexpr double least_weight = -1e-9;  // of what counts as inside
constexpr double same_cost = 1e-12;     // of the magnitudes of least and largest cost
constexpr double least_share = -1e-4;   // least weight of device values that count as inside

const int *corners(const model &m, int cell)
{
    return m.cells.corner.get() + static_cast<std::ptrdiff_t>(cell) * (m.cells.dims + 1);
}

// The weights of q in a tetrahedron; false outside.
bool weigh_tetrahedron(const vec3 *p, const vec3 &q, double *weight)
{
    const vec3 a = p[1] - p[0], b = p[2] - p[0], c = p[3] - p[0], d = q - p[0];
    const vec3 bc = cross(b, c);
    const double volume = dot(a, bc);
    if (!(std::fabs(volume) >= least_volume))
        return false;
    weight[1] = dot(d, bc) / volume;
    if (weight[1] < least_weight)
        return false;
    const vec3 da = cross(d, a);
    weight[2] = -dot(c, da) / volume;
    weight[3] = dot(b, da) / volume;
    weight[0] = 1.0 - (weight[1] + weight[2] + weight[3]);
    return weight[0] >= least_weight && weight[2] >= least_weight && weight[3] >= least_weight;
}

// The range of t in which all weights lambda + t mu are `least` and more. False when there is none.
bool range_of(const double *lambda, const double *mu, double least, double (&t)[2])
{
    t[0] = -std::numeric_limits<double>::infinity();
    t[1] = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 5; ++i) {
        if (mu[i] == 0.0) {
            if (lambda[i] < least)
                return false;
            continue;
        }
        const double end = (least - lambda[i]) / mu[i];
        if (mu[i] > 0.0)
            t[0] = std::max(t[0], end);
        else
            t[1] = std::min(t[1], end);
    }
    return t[0] <= t[1];
}

bool weigh_pentatope(const vec3 *p, const vec3 &q, answers &found)
{
    const vec3 a = p[1] - p[0], b = p[2] - p[0], c = p[3] - p[0], d = p[4] - p[0];
    const vec3 ab = cross(a, b), cd = cross(c, d);
    double mu[5];
    mu[1] = -dot(b, cd);
    mu[2] = dot(a, cd);
    mu[3] = -dot(ab, d);
    mu[4] = dot(ab, c);
    mu[0] = -(mu[1] + mu[2] + mu[3] + mu[4]);
    int largest = 0;
    for (int i = 1; i < 5; ++i)
        if (std::fabs(mu[i]) > std::fabs(mu[largest]))
            largest = i;
    if (!(std::fabs(mu[largest]) >= least_volume))
        return false;
    const double scale = mu[largest];
    for (double &x : mu)
        x /= scale;
    // The four others.
    int k[4];
    for (int i = 0, n = 0; i < 5; ++i)
        if (i != largest)
            k[n++] = i;
    const vec3 e1 = p[k[1]] - p[k[0]], e2 = p[k[2]] - p[k[0]], e3 = p[k[3]] - p[k[0]], e = q - p[k[0]];
    const vec3 e23 = cross(e2, e3), e01 = cross(e, e1);
    const double volume = dot(e1, e23);
    double lambda[5];
    lambda[largest] = 0.0;
    lambda[k[1]] = dot(e, e23) / volume;
    lambda[k[2]] = -dot(e3, e01) / volume;
    lambda[k[3]] = dot(e2, e01) / volume;
    lambda[k[0]] = 1.0 - (lambda[k[1]] + lambda[k[2]] + lambda[k[3]]);
    double t[2];
    // Where no weights at all are positive, those that nearly are.
    if (!range_of(lambda, mu, 0.0, t) && !range_of(lambda, mu, least_weight, t))
        return false;
    for (int end = 0; end < 2; ++end)
        for (int i = 0; i < 5; ++i)
            found.weight[end][i] = lambda[i] + t[end] * mu[i];
    return true;
}

double weighed(const heap_block<double> &values, const int *corner, const double *weight, int count)
{
    double sum = 0.0;
    for (int i = 0; i < count; ++i)
        sum += weight[i] * values[corner[i]];
    return sum;
}

// ---- The choice of the rule -----------------------------------------------------------------------------------------

// The costs of all answers.
struct cost_range {
    double least = std::numeric_limits<double>::infinity();
    double largest = -std::numeric_limits<double>::infinity();

    void take(double cost)
    {
        least = std::min(least, cost);
        largest = std::max(largest, cost);
    }
};

// One answer of a cell, and how good it is.
struct candidate {
    mixture answer;
    double off = 0.0;  // cost from the target
    double ink = 0.0;

    // Which of two comes first, of those that cost alike.
    [[nodiscard]] bool is_before(const candidate &other) const
    {
        return other.answer.cell < 0 || ink < other.ink || (ink == other.ink && answer.cell < other.answer.cell);
    }
};

// Goes through all cells that reach a colour, several times: the first time notes which these are.
class chooser
{
public:
    chooser(const model &m, const vec3 &q) : model_(m), q_(q), corners_(m.cells.dims + 1) {}

    mixture choose(double place)
    {
        cost_range range;
        search([&](const answers &a) {
            range.take(cost_of(a, 0));
            range.take(cost_of(a, 1));
            if (count_ < room)
                noted_[count_] = a.cell;
            ++count_;
        });
        if (count_ == 0)
            return {};
        const double target = range.least + place * (range.largest - range.least);
        const double tolerance = same_cost * (std::fabs(range.least) + std::fabs(range.largest));
        double least_off = std::numeric_limits<double>::infinity();
        each([&](const answers &a) { least_off = std::min(least_off, best_of(a, target, tolerance).off); });
        candidate best;
        each([&](const answers &a) {
            const candidate found = best_of(a, target, tolerance);
            if (found.off <= least_off + tolerance && found.is_before(best))
                best = found;
        });
        return best.answer;
    }

private:
    static constexpr int room = 256;

    template <class Visit>
    void search(const Visit &visit) const
    {
        double p[3];
        store(q_, p);
        model_.images.holding(p, [&](int cell) {
            answers a;
            if (reaches(model_, cell, q_, a))
                visit(a);
            return false;
        });
    }

    // The order of visits may differ from time to time.
    template <class Visit>
    void each(const Visit &visit) const
    {
        if (count_ > room) {
            search(visit);
            return;
        }
        for (int i = 0; i < count_; ++i) {
            answers a;
            if (reaches(model_, noted_[i], q_, a))
                visit(a);
        }
    }

    [[nodiscard]] double cost_of(const answers &a, int end) const
    {
        return weighed(model_.points.cost, corners(model_, a.cell), a.weight[end], corners_);
    }

    // The answer at a part of the way from one end to the other.
    [[nodiscard]] candidate at(const answers &a, double part, double off) const
    {
        candidate found;
        found.answer.cell = a.cell;
        found.off = off;
        for (int i = 0; i < corners_; ++i)
            found.answer.weight[i] = a.weight[0][i] + part * (a.weight[1][i] - a.weight[0][i]);
        found.ink = weighed(model_.points.ink, corners(model_, a.cell), found.answer.weight, corners_);
        return found;
    }

    // The cell's answer nearest to the target; of ends that cost alike that with less ink.
    [[nodiscard]] candidate best_of(const answers &a, double target, double tolerance) const
    {
        const double cost[2] = {cost_of(a, 0), cost_of(a, 1)};
        const double least = std::min(cost[0], cost[1]), largest = std::max(cost[0], cost[1]);
        if (largest - least <= tolerance) {
            const candidate one = at(a, 0.0, std::fabs(cost[0] - target));
            const candidate other = at(a, 1.0, std::fabs(cost[1] - target));
            return other.ink < one.ink ? other : one;
        }
        const double aimed = std::clamp(target, least, largest);
        return at(a, (aimed - cost[0]) / (cost[1] - cost[0]), std::fabs(aimed - target));
    }

    const model &model_;
    vec3 q_;
    int corners_;
    int count_ = 0;  // cells that reach the colour; the first of them:
    int noted_[room];
};

// ---- Device values --------------------------------------------------------------------------------------------------

// The weights of a point among D + 1 others, by their differences from the first; false where these have no volume.
template <int D>
bool weigh(const double (&rows)[most_free][most_free], const double *v, double *weight)
{
    // Elimination with the largest pivots.
    double a[D][D + 1];
    for (int j = 0; j < D; ++j) {
        for (int i = 0; i < D; ++i)
            a[j][i] = rows[i][j];
        a[j][D] = v[j];
    }
    for (int k = 0; k < D; ++k) {
        int pivot = k;
        for (int j = k + 1; j < D; ++j)
            if (std::fabs(a[j][k]) > std::fabs(a[pivot][k]))
                pivot = j;
        if (a[pivot][k] == 0.0)
            return false;
        for (int i = k; i <= D; ++i)
            std::swap(a[k][i], a[pivot][i]);
        for (int j = k + 1; j < D; ++j) {
            const double factor = a[j][k] / a[k][k];
            for (int i = k + 1; i <= D; ++i)
                a[j][i] -= factor * a[k][i];
        }
    }
    double sum = 0.0;
    for (int k = D - 1; k >= 0; --k) {
        double x = a[k][D];
        for (int i = k + 1; i < D; ++i)
            x -= a[k][i] * weight[i + 1];
        weight[k + 1] = x / a[k][k];
    }
    for (int k = 1; k <= D; ++k)
        sum += weight[k];
    weight[0] = 1.0 - sum;
    return true;
}

bool weigh_shares(const model &m, int cell, const double *share, double *weight)
{
    const int dims = m.cells.dims;
    const int *const corner = corners(m, cell);
    const auto at = [&](int i) { return m.points.share.get() + static_cast<std::ptrdiff_t>(corner[i]) * most_free; };
    double rows[most_free][most_free] = {}, v[most_free] = {};
    for (int j = 0; j < dims; ++j) {
        for (int i = 0; i < dims; ++i)
            rows[i][j] = at(i + 1)[j] - at(0)[j];
        v[j] = share[j] - at(0)[j];
    }
    switch (dims) {
    case 1:
        return weigh<1>(rows, v, weight);
    case 2:
        return weigh<2>(rows, v, weight);
    case 3:
        return weigh<3>(rows, v, weight);
    default:
        return weigh<4>(rows, v, weight);
    }
}

}  // namespace

void settle(double *weight, int count) noexcept
{
    double sum = 0.0;
    for (int i = 0; i < count; ++i) {
        weight[i] = std::max(weight[i], 0.0);
        sum += weight[i];
    }
    for (int i = 0; i < count; ++i)
        weight[i] /= sum;
}

bool reaches(const model &m, int cell, const vec3 &q, answers &found) noexcept
{
    const int count = m.cells.dims + 1;
    if (count < 4)
        return false;
    vec3 p[most_corners];
    const int *const corner = corners(m, cell);
    for (int i = 0; i < count; ++i)
        p[i] = m.points.colour[corner[i]];
    found.cell = cell;
    if (count == 5) {
        if (!weigh_pentatope(p, q, found))
            return false;
        settle(found.weight[0], 5);
        settle(found.weight[1], 5);
        return true;
    }
    if (!weigh_tetrahedron(p, q, found.weight[0]))
        return false;
    settle(found.weight[0], 4);
    std::copy_n(found.weight[0], 4, found.weight[1]);
    return true;
}

bool is_inside(const model &m, const vec3 &q) noexcept
{
    double p[3];
    store(q, p);
    bool inside = false;
    m.images.holding(p, [&](int cell) {
        answers a;
        inside = reaches(m, cell, q, a);
        return inside;
    });
    return inside;
}

mixture choose(const model &m, const vec3 &q, double place) noexcept { return chooser(m, q).choose(place); }

mixture locate(const model &m, const double *share) noexcept
{
    double p[most_free] = {};
    std::copy_n(share, m.cells.dims, p);
    mixture best;
    double best_least = least_share;
    m.shares.holding(p, [&](int cell) {
        mixture found;
        found.cell = cell;
        if (weigh_shares(m, cell, p, found.weight)) {
            const double least = *std::min_element(found.weight, found.weight + m.cells.dims + 1);
            if (least > best_least || (least == best_least && (best.cell < 0 || cell < best.cell))) {
                best_least = least;
                best = found;
            }
        }
        return false;
    });
    if (best.cell >= 0)
        settle(best.weight, m.cells.dims + 1);
    return best;
}

}  // namespace teska::cloud
