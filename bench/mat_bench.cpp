// mat_bench - systems of linear equations beside Eigen (sizes known at run time) and LAPACK with OpenBLAS, one thread
//
// One item: elements and right-hand side are handed over, factors found, the system solved. Objects are kept from one
// system to the next on either side.

#include "mat.h"

#include "support/pairs.h"

#include <Eigen/LU>
#include <benchmark/benchmark.h>
#include <cblas.h>
#include <lapacke.h>

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

// One system of n rows and what each side needs for it.
struct System {
    explicit System(int rows)
        : n(rows), ours(mat_new(nullptr, n), mat_kill), eigen(n), elements(n, n), right(n), pivots(right.size())
    {
        std::mt19937 random(static_cast<unsigned>(n));
        std::uniform_real_distribution<> anywhere(-1, 1);
        for (double &element : elements.reshaped())
            element = anywhere(random);
        for (double &value : right)
            value = anywhere(random);
        by_row = elements;
        work = elements;
        x = right;
    }

    void solve()
    {
        int flag = 0;
        mat_set_mat(ours.get(), by_row.data());
        x = right;
        mat_solve_set(ours.get(), x.data(), &flag);
    }

    void solve_with_eigen()
    {
        eigen.compute(elements);
        x = eigen.solve(right);
    }

    void solve_with_lapack()
    {
        work = elements;
        x = right;
        LAPACKE_dgesv_work(LAPACK_COL_MAJOR, n, 1, work.data(), n, pivots.data(), x.data(), n);
    }

    int n;
    std::unique_ptr<mat, int (*)(mat *)> ours;
    Eigen::PartialPivLU<Eigen::MatrixXd> eigen;
    Eigen::MatrixXd elements;
    Eigen::VectorXd right;
    std::vector<lapack_int> pivots;
    Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> by_row;
    Eigen::MatrixXd work;
    Eigen::VectorXd x;
};

// All must do the same work.
void require_same_solution(System &system)
{
    system.solve();
    const Eigen::VectorXd ours = system.x;
    for (const auto solve : {&System::solve_with_eigen, &System::solve_with_lapack}) {
        (system.*solve)();
        if (!((ours - system.x).norm() <= 1e-8 * ours.norm())) {
            std::fprintf(stderr, "%d rows: the peer's solution differs\n", system.n);
            std::exit(1);
        }
    }
}

void add(const std::string &name, const std::shared_ptr<System> &system, void (System::*solve)())
{
    benchmark::RegisterBenchmark(name.c_str(), [system, solve](benchmark::State &state) {
        for ([[maybe_unused]] auto _ : state) {
            (system.get()->*solve)();
            benchmark::DoNotOptimize(system->x.data());
        }
        state.SetItemsProcessed(state.iterations());
    });
}

}  // namespace

int main(int argc, char **argv)
{
    openblas_set_num_threads(1);
    for (const int n : {3, 10, 50, 200}) {
        const auto system = std::make_shared<System>(n);
        require_same_solution(*system);
        for (const std::string peer : {"Eigen", "LAPACK"}) {
            const std::string name = std::to_string(n) + " rows, " + peer;
            add(name + "/ours", system, &System::solve);
            add(name + "/peer", system, peer == "Eigen" ? &System::solve_with_eigen : &System::solve_with_lapack);
        }
    }
    return bench::run_pairs(argc, argv);
}
