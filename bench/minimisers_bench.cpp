// minimisers_bench - downhill simplex searches beside the simplex methods of GSL and NLopt, one thread
//
// One item: one evaluation, of a function that costs next to nothing, so that the time is that of the search around it.
// All search from one start to the same nearness, each along its own way. Objects are kept from search to search.

#include "support/pairs.h"

#include "dhsm.h"

#include <benchmark/benchmark.h>
#include <gsl/gsl_multimin.h>
#include <nlopt.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace
{

using Values = std::vector<double>;

constexpr double nearness = 1e-6;
constexpr double first_step = 0.1;

// A bowl around (1, 1, ..), steeper from coordinate to coordinate.
double bowl(int n, const double *x)
{
    double sum = 0;
    for (int i = 0; i < n; ++i)
        sum += (i + 1) * (x[i] - 1) * (x[i] - 1);
    return sum;
}

// One problem and what each side needs for it. A search leaves the point found in `x` and returns its evaluations.
class Search
{
public:
    explicit Search(int variables)
        : n(variables), x(static_cast<std::size_t>(n)), ours(dhsm_new(evaluate_ours, nullptr, n), dhsm_kill),
          gsl(gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, x.size()),
              gsl_multimin_fminimizer_free),
          start(gsl_vector_calloc(x.size()), gsl_vector_free), steps(gsl_vector_alloc(x.size()), gsl_vector_free),
          nlopt(nlopt_create(NLOPT_LN_NELDERMEAD, static_cast<unsigned>(n)), nlopt_destroy)
    {
        gsl_vector_set_all(steps.get(), first_step);
        nlopt_set_min_objective(nlopt.get(), evaluate_nlopt, this);
        nlopt_set_xtol_abs1(nlopt.get(), nearness);
        nlopt_set_initial_step1(nlopt.get(), first_step);
    }

    int with_ours()
    {
        evaluations = 0;
        double least = 0;
        x.assign(x.size(), 0.0);
        dhsm_solve(ours.get(), this, nullptr, nearness, x.data(), 0, &least);
        return evaluations;
    }

    int with_gsl()
    {
        evaluations = 0;
        gsl_multimin_function function{evaluate_gsl, x.size(), this};
        gsl_multimin_fminimizer_set(gsl.get(), &function, start.get(), steps.get());
        while (gsl_multimin_fminimizer_iterate(gsl.get()) == GSL_SUCCESS &&
               gsl_multimin_test_size(gsl_multimin_fminimizer_size(gsl.get()), nearness) == GSL_CONTINUE) {
        }
        const double *found = gsl_multimin_fminimizer_x(gsl.get())->data;
        x.assign(found, found + n);
        return evaluations;
    }

    int with_nlopt()
    {
        evaluations = 0;
        double least = 0;
        x.assign(x.size(), 0.0);
        nlopt_optimize(nlopt.get(), x.data(), &least);
        return evaluations;
    }

    const Values &found() const { return x; }

private:
    static double evaluate_ours(void *search, void *, const double *at)
    {
        auto *s = static_cast<Search *>(search);
        return ++s->evaluations, bowl(s->n, at);
    }

    static double evaluate_gsl(const gsl_vector *at, void *search) { return evaluate_ours(search, nullptr, at->data); }

    static double evaluate_nlopt(unsigned, const double *at, double *, void *search)
    {
        return evaluate_ours(search, nullptr, at);
    }

    int n;
    int evaluations = 0;
    Values x;
    std::unique_ptr<dhsm, dhsm *(*)(dhsm *)> ours;
    std::unique_ptr<gsl_multimin_fminimizer, void (*)(gsl_multimin_fminimizer *)> gsl;
    std::unique_ptr<gsl_vector, void (*)(gsl_vector *)> start;
    std::unique_ptr<gsl_vector, void (*)(gsl_vector *)> steps;
    std::unique_ptr<nlopt_opt_s, void (*)(nlopt_opt)> nlopt;
};

using Run = int (Search::*)();

// All must find the minimum.
void check(const char *who, Search &search, Run run)
{
    const int evaluations = (search.*run)();
    double worst = 0;
    for (const double value : search.found())
        worst = std::fmax(worst, std::fabs(value - 1));
    std::printf("%-6s %zu variables: %5d evaluations, off by %.1e\n", who, search.found().size(), evaluations, worst);
    if (!(worst < 1e-2))
        std::exit(1);
}

void add(const std::string &name, const std::shared_ptr<Search> &search, Run run)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        std::int64_t evaluations = 0;
        for (auto _ : state)
            evaluations += (*search.*run)();
        state.SetItemsProcessed(evaluations);
    });
}

}  // namespace

int main(int argc, char **argv)
{
    const struct {
        const char *name;
        Run run;
    } peers[] = {{"GSL", &Search::with_gsl}, {"NLopt", &Search::with_nlopt}};
    for (const int variables : {2, 4, 8}) {
        const auto search = std::make_shared<Search>(variables);
        check("ours", *search, &Search::with_ours);
        for (const auto &peer : peers) {
            check(peer.name, *search, peer.run);
            const std::string name = std::to_string(variables) + " variables, " + peer.name;
            add(name + "/ours", search, &Search::with_ours);
            add(name + "/peer", search, peer.run);
        }
    }
    return bench::run_pairs(argc, argv);
}
