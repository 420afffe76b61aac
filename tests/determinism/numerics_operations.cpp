#include "condirmin.h"
#include "determinism/operations.h"
#include "dhsm.h"
#include "error_mess.h"
#include "mat.h"
#include "numerics/problems.h"
#include "random.h"
#include "rdither.h"
#include "scalar_solvers.h"
#include "special_functions.h"
#include "tran3.h"
#include "vect.h"
#include "vect_lobe.h"

using namespace teska_test;

namespace
{

// The first call makes the factors, and the inverse, which lives as long.
Operation::Run systems(Generator &input)
{
    const auto kill_both = [](mat *m) {
        int flag = 0;
        mat_kill(mat_invert(m, &flag));
        mat_kill(m);
    };
    std::vector<std::pair<std::shared_ptr<mat>, Values>> made;
    for (int n = 1; n <= 70; ++n) {
        const std::shared_ptr<mat> m(mat_new(between(input, n * n).data(), n), kill_both);
        made.emplace_back(m, between(input, n));
    }
    return [made](Generator &, Digest &digest) {
        for (auto [m, x] : made) {
            double det = 0.0;
            int flag = 0;
            mat_solve_set(m.get(), x.data(), &flag);
            mat_det_det(m.get(), &det);
            digest.put(x);
            digest.put(det);
            digest.add(mat_get_row(mat_invert(m.get(), &flag), 0), x.size() * x.size() * sizeof(double));
        }
    };
}

void vectors(Generator &input, Digest &digest)
{
    for (int n = 2; n <= 12; ++n) {
        Values in = between(input, n * (n - 1) + 1);
        in[0] = n;
        Values out(static_cast<std::size_t>(n));
        vect_vector_product(in.data(), out.data());
        out.push_back(vect_distance(in.data(), out.data(), n));
        out.push_back(vect_scalar_product(in.data(), out.data(), n));
        digest.put(out);
    }
}

void simplex(Generator &input, Digest &digest)
{
    for (int n = 2; n <= 6; ++n) {
        Values x = between(input, n, -2, 2);
        double least = 0.0;
        int evaluations = 0;
        const auto d = shared(dhsm_new(rosenbrock, nullptr, n), dhsm_kill);
        dhsm_solve(d.get(), &evaluations, &n, 1e-6, x.data(), 5000, &least);
        x.push_back(least);
        digest.put(x);
        digest.put(evaluations);
    }
}

void directions(Generator &input, Digest &digest)
{
    const int level = teska_warn_level(1);
    for (int n = 2; n <= 6; ++n) {
        Values x = between(input, n, -2, 2);
        double least = 0.0;
        int count[2] = {};
        condirmin(x.data(), n, 1e-10, &count[0], &least, rosenbrock, &count[1], &n);
        x.push_back(least);
        digest.put(x);
        digest.put(count);
    }
    teska_warn_level(level);
}

// Bowls from afar, with kinks and saw teeth; every point that is asked for counts.
double rough(void *points, void *shape, const double *x)
{
    const auto &all = *static_cast<const Values *>(shape);
    static_cast<Digest *>(points)->add(x, all.size() / 4 * sizeof(double));
    double sum = 0.0;
    for (const double *s = all.data(); s != all.data() + all.size(); s += 4) {
        const double d = *x++ - 1000 * s[0] * s[0] * s[0];
        sum += (2 + s[1]) * std::sqrt(1 + d * d) + std::max(s[2], 0.0) * std::fabs(d - std::floor(d) - 0.5) +
               (s[3] < 0.5 ? 0 : d * d);
    }
    return all[1] < 0 ? sum : std::floor(sum);  // also on terraces
}

void walks(Generator &input, Digest &digest)
{
    const int level = teska_warn_level(1);
    for (int round = 0; round < 200; ++round) {
        const int n = 1 + round % 4;
        Values shape = between(input, 4 * n), x = between(input, n, -2, 2), y = x, z = x, row = between(input, n + 1);
        double least = 0.0;
        int passes = 0;
        const auto half = shared(restriction_new(n, 0, nullptr, 1, row.data()), restriction_kill);
        const auto d = shared(dhsm_new(rough, nullptr, n), dhsm_kill);
        const int results[] = {condirmin(x.data(), n, 1e-6, &passes, &least, rough, &digest, &shape),
                               condirmin_restr(y.data(), n, 1e-6, half.get(), nullptr, nullptr, rough, &digest, &shape),
                               dhsm_solve(d.get(), &digest, &shape, 1e-6, z.data(), 2000, &least)};
        digest.put(results);
    }
    teska_warn_level(level);
}

void sequences(Generator &input, Digest &digest)
{
    const int seed = input.below(2000000000);
    const auto generator = shared(random_new(seed), random_kill);
    TRan3 subtractive(seed);
    const auto cell = shared(rdither_new(1000, 7), rdither_kill);
    for (unsigned i = 0; i <= 1000; ++i) {
        digest.put(random_val(generator.get()));
        digest.put(subtractive.Generate(), rdither_val(cell.get(), i / 4, i, i));
    }
}

void solvers(Generator &input, Digest &digest)
{
    for (int round = 0; round < 100; ++round) {
        Values a = between(input, 36), b = between(input, 6), r(8);
        double probability;  // depends on the host's logarithm
        least_square_fit(a.data(), &a[12], 12, &a[24], round % 2, &r[0], &r[1], &r[2], &r[3], &r[4], &probability);
        gaussd(a.data(), b.data(), 6);
        fthird_order_eq(b.data(), &r[5], -2, 2, 1e-9);
        r[6] = gsect_min(
            b[4] - 1, b[4], 2, 1e-6, [](double x) { return x * x * (x - 1); }, &r[7]);
        digest.put(r);
        digest.put(b);
    }
}

const Operation operations[] = {
    {"mat_solve_set, mat_det_det and mat_invert, 1 to 70 rows", systems},
    {"vect_vector_product, vect_distance and vect_scalar_product", vectors},
    {"dhsm_solve, rosenbrock in 2 to 6 variables", simplex},
    {"condirmin, rosenbrock in 2 to 6 variables", directions},
    {"condirmin, condirmin_restr and dhsm_solve, all points", walks},
    {"random_val, TRan3 and rdither_new", sequences},
    {"gaussd, fthird_order_eq, gsect_min and least_square_fit", solvers},
};

const Operation lobes("vect_lobe, 5 dimensions", [](Generator &input) -> Operation::Run {
    const Values centre = between(input, 5), axis = between(input, 5);
    const auto lobe = shared(vect_lobe_new(5, centre.data(), axis.data(), 2, 0.7), vect_lobe_kill);
    return [lobe](Generator &at, Digest &digest) {
        for (int i = 0; i < 500; ++i) {
            Values x = between(at, 5, -1.5, 1.5), slope(5), out(5);
            const Values shift = between(at, 5);
            vect_lobe_gradient(lobe.get(), x.data(), slope.data());
            digest.put(slope);
            vect_lobe_stretch(lobe.get(), shift.data(), x.data(), out.data());
            digest.put(out);
            vect_lobe_stretch_rel(lobe.get(), shift[0], x.data(), out.data());
            digest.put(out);
            digest.put(vect_lobe_weight(lobe.get(), x.data()), vect_lobe_limit(lobe.get(), shift.data()));
            digest.put(vect_normalise(x.data(), i % 6));
            digest.put(x);
        }
    };
});

}  // namespace
