// Objects of different threads never disturb each other, and one object, evaluated by several threads at once, gives
// the bits that one thread gets from it: the operations of the same-bits program, and objects that it has only for
// itself.

#include "support/generator.h"
#include "support/owned_clut.h"

#include "bezierd_base.h"
#include "bezierd_vector.h"
#include "determinism/operations.h"
#include "mat.h"
#include "tconvexhull.h"
#include "tetra.h"
#include "threads/in_threads.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace teska_test;

namespace
{

constexpr int threads = 4;

using Evaluation = Operation::Run;

template <std::size_t Count>
std::array<double, Count> between(Generator &input, double limit)
{
    std::array<double, Count> values;
    for (double &value : values)
        value = input.between(-limit, limit);
    return values;
}

// More inputs than have all their weights at once.
Evaluation wide_clut(Generator &input)
{
    std::vector<float> values(3U << 11);
    for (float &value : values)
        value = static_cast<float>(input.unit());
    const auto table = std::make_shared<OwnedClut>(std::vector<unsigned char>(11, 2), 3, values);
    return [table](Generator &at, Digest &digest) {
        for (int i = 0; i < 20; ++i) {
            std::array<double, 3> out;
            table->Interpolate(out.data(), between<11>(at, 1).data());
            digest.put(out);
        }
    };
}

// The first solution makes the factors.
Evaluation linear_system(Generator &input)
{
    const std::shared_ptr<mat> m(mat_new(between<36>(input, 1).data(), 6), mat_kill);
    return [m](Generator &at, Digest &digest) {
        auto x = between<6>(at, 1);
        int flag = 0;
        double det = 0;
        mat_solve_set(m.get(), x.data(), &flag);
        mat_det_det(m.get(), &det);
        digest.put(x, det);
    };
}

// The first point makes the coefficients.
Evaluation segment(Generator &input)
{
    const std::shared_ptr<bezier> b(bezier_new(3, 0, 0, 1, 1), bezier_kill);
    const auto y = between<4>(input, 1);
    const double x[] = {0, 0.4, 0.6, 1};
    bezier_set_control_poly(b.get(), x, y.data());
    return [b](Generator &at, Digest &digest) {
        std::array<double, 5> r{};
        bezier_get(b.get(), at.unit(), &r[0], &r[1]);
        bezier_fget_y(b.get(), at.unit(), &r[2]);
        digest.put(r);
        double *points = nullptr;
        const int sections = bezier_fvector(b.get(), 0.01, &points);
        digest.add(points, static_cast<std::size_t>(sections + 1) * 2 * sizeof(double));
        std::free(points);
    };
}

// A copy shares what is large with its original.
Evaluation hull(Generator &input)
{
    const auto made = std::make_shared<TConvexHull>();
    for (int i = 0; i < 200; ++i) {
        const auto [x, y, z] = between<3>(input, 1);
        const double scale = 50 / std::sqrt(x * x + y * y + z * z);
        made->AddPoint(scale * x, scale * y, scale * z);
    }
    made->Construct();
    return [made](Generator &at, Digest &digest) {
        const TConvexHull copy(*made);
        for (int i = 0; i < 50; ++i) {
            const auto [x, y, z] = between<3>(at, 50);
            digest.put(made->InsideHull(x, y, z), copy.InsideHull(z, y, x));
        }
    };
}

Evaluation volume(Generator &input)
{
    const std::unique_ptr<list_rec, int (*)(list_rec *)> points(list_new(100, sizeof(tetra_point), nullptr), list_kill);
    for (int i = 0; i < 100; ++i) {
        const auto [x, y, z] = between<3>(input, 9);
        const tetra_point p{x, y, z, 0.0};
        list_insert(points.get(), &p);
    }
    const std::shared_ptr<tetra_volume> v(tetra_volume_new(points.get()), tetra_volume_kill);
    return [v](Generator &at, Digest &digest) {
        for (int i = 0; i < 20; ++i) {
            const auto p = between<3>(at, 9);
            std::array<double, 3> w{};
            tetra_rec *t = nullptr;
            if (tetra_volume_get_tetra(v.get(), p.data(), &t) == 0)
                tetra_point_inside(t, p.data(), w.data());
            digest.put(w, tetra_volume_point_inside(v.get(), p.data()));
        }
    };
}

// Two objects alike: what the first call makes on demand is made by one thread in one, by all in the other.
void compare(const std::string &name, const Evaluation &alone, const Evaluation &shared, int rounds)
{
    const auto results = [&](const Evaluation &evaluation, int thread) {
        std::vector<std::uint64_t> digests;
        for (int round = 0; round < rounds; ++round) {
            Generator input(static_cast<std::uint64_t>(100 * thread + round));
            Digest digest;
            evaluation(input, digest);
            digests.push_back(digest.value());
        }
        return digests;
    };
    std::vector<std::uint64_t> together[threads];
    in_threads(threads, [&](int thread) { together[thread] = results(shared, thread); });
    for (int thread = 0; thread < threads; ++thread)
        EXPECT_EQ(together[thread], results(alone, thread)) << name << " " << thread;
}

TEST(OwnObjects, GiveTheBitsOfOneThread)
{
    for (const Operation &operation : Operation::all()) {
        const Evaluation anew = [&](Generator &, Digest &digest) { digest.put(operation.digest()); };
        compare(operation.name(), anew, anew, 1);
    }
}

TEST(SharedObjects, GiveTheBitsOfOneThread)
{
    const std::pair<const char *, Evaluation (*)(Generator &)> objects[] = {{"CLUT 11", wide_clut},
                                                                            {"mat", linear_system},
                                                                            {"bezier", segment},
                                                                            {"TConvexHull", hull},
                                                                            {"tetra_volume", volume}};
    for (const auto &[name, make] : objects) {
        Generator first(1), second(1);
        compare(name, make(first), make(second), 20);
    }
    int count = 0;
    for (const Operation &operation : Operation::all())
        if (const Evaluation alone = operation.on_one_object(); alone && ++count > 0)
            compare(operation.name(), alone, operation.on_one_object(), 5);
    EXPECT_GT(count, 20);
}

}  // namespace
