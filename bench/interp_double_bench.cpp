// interp_double_bench - piecewise-linear curves beside the linear interpolation of GSL, one thread
//
// GSL is called with its accelerator, which remembers the last segment: the faster way for queries in rising order.

#include "interp_double.h"

#include "support/pairs.h"

#include <benchmark/benchmark.h>
#include <gsl/gsl_interp.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using Values = std::vector<double>;

constexpr int queries = 4096;

enum class Sequence { random, rising };

// One curve, once on either side, and the places at which it is asked.
struct Case {
    Case(int points, Sequence sequence)
        : name(std::to_string(points) + " points, " + (sequence == Sequence::random ? "random" : "rising")),
          curve(lin_interp_double_new(points, nullptr), lin_interp_double_kill),
          peer(gsl_interp_alloc(gsl_interp_linear, static_cast<std::size_t>(points)), gsl_interp_free),
          accelerator(gsl_interp_accel_alloc(), gsl_interp_accel_free)
    {
        std::mt19937 random(static_cast<unsigned>(points));
        std::uniform_real_distribution<> anywhere(0, points - 1);
        for (int i = 0; i < points; ++i) {
            x.push_back(i);
            y.push_back(anywhere(random));
            lin_interp_double_insert(curve.get(), x.back(), y.back());
        }
        gsl_interp_init(peer.get(), x.data(), y.data(), x.size());
        for (int q = 0; q < queries; ++q)
            at.push_back(sequence == Sequence::random ? anywhere(random) : (points - 1.0) * q / queries);
    }

    double ours(double where) const
    {
        double value = 0;
        lin_interp_double_inter(curve.get(), where, &value);
        return value;
    }

    double theirs(double where) const
    {
        return gsl_interp_eval(peer.get(), x.data(), y.data(), where, accelerator.get());
    }

    std::string name;
    std::unique_ptr<lin_interp_double, int (*)(lin_interp_double *)> curve;
    std::unique_ptr<gsl_interp, void (*)(gsl_interp *)> peer;
    std::unique_ptr<gsl_interp_accel, void (*)(gsl_interp_accel *)> accelerator;
    Values x;
    Values y;
    Values at;
};

// Both must do the same work.
void check(const Case &c)
{
    for (const double where : c.at)
        if (std::fabs(c.ours(where) - c.theirs(where)) > 1e-9 * c.x.back()) {
            std::fprintf(stderr, "%s: %g here, %g there\n", c.name.c_str(), c.ours(where), c.theirs(where));
            std::exit(1);
        }
}

template <class Evaluate>
void add(const std::string &name, const std::shared_ptr<Case> &c, Evaluate evaluate)
{
    benchmark::RegisterBenchmark((c->name + name).c_str(), [=](benchmark::State &state) {
        for (auto _ : state) {
            double sum = 0;
            for (const double where : c->at)
                sum += evaluate(*c, where);
            benchmark::DoNotOptimize(sum);
        }
        state.SetItemsProcessed(state.iterations() * queries);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    for (const int points : {4, 16, 256})
        for (const Sequence sequence : {Sequence::random, Sequence::rising}) {
            const auto c = std::make_shared<Case>(points, sequence);
            check(*c);
            add("/ours", c, [](const Case &of, double where) { return of.ours(where); });
            add("/peer", c, [](const Case &of, double where) { return of.theirs(where); });
        }
    return bench::run_pairs(argc, argv);
}
