// One object, evaluated by several threads at once, gives the bits that one thread gets from it.

#include "support/generator.h"
#include "support/owned_clut.h"
#include "support/samples.h"

#include "bezierd_base.h"
#include "bezierd_vector.h"
#include "determinism/operations.h"
#include "hist.h"
#include "mat.h"
#include "md_tetras.h"
#include "restriction.h"
#include "tconvexhull.h"
#include "tetra.h"
#include "tfastpow.h"
#include "threads/in_threads.h"
#include "tplane.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace teska_test
{

namespace
{

constexpr int threads = 4;

using Evaluation = Operation::Run;

template <class T>
void add(Digest &digest, const T &value)
{
    digest.add(&value, sizeof value);
}

// More inputs than have all their weights at once.
Evaluation wide_clut()
{
    Generator input(11);
    std::vector<float> values(3U << 11);
    for (float &value : values)
        value = static_cast<float>(input.unit());
    const auto table = std::make_shared<OwnedClut>(std::vector<unsigned char>(11, 2), 3, values);
    return [table](Generator &at, Digest &digest) {
        for (int i = 0; i < 20; ++i) {
            std::array<double, 11> in;
            std::array<double, 3> out;
            for (double &x : in)
                x = at.unit();
            table->Interpolate(out.data(), in.data());
            add(digest, out);
        }
    };
}

// A table with curves.
Evaluation tetras(int inputs)
{
    Generator input(static_cast<std::uint64_t>(inputs));
    const std::shared_ptr<md_tetras> table(md_tetras_new(inputs, 3, 4), md_tetras_kill);
    int size = 0;
    unsigned short *const data = md_tetras_dataptr(table.get(), &size);
    for (int i = 0; i < size; ++i)
        data[i] = static_cast<unsigned short>(input.next());
    const unsigned short entries[] = {65535, 100, 30000};
    md_tetras_ilut_set(table.get(), 0, 3, entries);
    md_tetras_olut_set(table.get(), 2, 3, entries);
    return [table, inputs](Generator &at, Digest &digest) {
        Samples<unsigned short> in(inputs, 100, inputs), out(3, 100, 3);
        for (unsigned short &sample : in.buffer)
            sample = static_cast<unsigned short>(at.next());
        md_tetras_interp(table.get(), in.at.data(), in.step, out.at.data(), out.step, 100, nullptr, 0);
        digest.add(out.buffer.data(), 2 * out.buffer.size());
    };
}

// The first solution makes the factors.
Evaluation linear_system()
{
    Generator input(5);
    std::vector<double> values(36);
    for (double &value : values)
        value = input.between(-1, 1);
    const std::shared_ptr<mat> m(mat_new(values.data(), 6), mat_kill);
    return [m](Generator &at, Digest &digest) {
        std::array<double, 6> x;
        for (double &value : x)
            value = at.between(-1, 1);
        int flag = 0;
        double det = 0;
        mat_solve_set(m.get(), x.data(), &flag);
        mat_det_det(m.get(), &det);
        add(digest, x);
        add(digest, det);
    };
}

Evaluation segment()
{
    const std::shared_ptr<bezier> b(bezier_new(3, 0, 0, 1, 1), bezier_kill);
    const double x[] = {0, 0.4, 0.6, 1}, y[] = {0, 0.1, 1.3, 1};
    bezier_set_control_poly(b.get(), x, y);
    return [b](Generator &at, Digest &digest) {
        std::array<double, 5> r{};
        bezier_get(b.get(), at.unit(), &r[0], &r[1]);
        bezier_fget_y(b.get(), at.unit(), &r[2]);
        add(digest, r);
        double *points = nullptr;
        const int sections = bezier_fvector(b.get(), 0.01, &points);
        digest.add(points, static_cast<std::size_t>(sections + 1) * 2 * sizeof(double));
        std::free(points);
    };
}

Evaluation histogram()
{
    Generator input(6);
    const std::shared_ptr<hist> h(hist_new(0, 99), hist_kill);
    for (int i = 0; i < 100; ++i) {
        const int value = input.below(100);
        hist_point(h.get(), &value, 1);
    }
    return [h](Generator &at, Digest &digest) {
        std::array<double, 2> r{};
        hist_med(h.get(), &r[0], &r[1]);
        add(digest, r);
        add(digest, hist_percentile(h.get(), at.between(0, 100)));
    };
}

// x + y + z = 1 leaves two variables.
Evaluation restricted()
{
    const double equal[] = {1, 1, 1, -1};
    const std::shared_ptr<restriction> r(restriction_new(3, 1, equal, 0, nullptr), restriction_kill);
    return [r](Generator &at, Digest &digest) {
        std::array<double, 3> x{};
        const std::array<double, 2> own = {at.unit(), at.unit()};
        restriction_makeX(r.get(), own.data(), x.data());
        add(digest, x);
    };
}

Evaluation hull_and_section()
{
    Generator input(7);
    const auto hull = std::make_shared<TConvexHull>();
    for (int i = 0; i < 200; ++i) {
        const double x = input.between(-1, 1), y = input.between(-1, 1), z = input.between(-1, 1);
        const double scale = 50 / std::sqrt(x * x + y * y + z * z);
        hull->AddPoint(scale * x, scale * y, scale * z);
    }
    hull->Construct();
    const auto plane = std::make_shared<TPlane>(200, 100, TPlane::PlaneType(1), 50, -80, 80, 0, 100);
    return [hull, plane](Generator &at, Digest &digest) {
        for (int i = 0; i < 50; ++i) {
            const double x = at.between(-50, 50), y = at.between(-50, 50);
            add(digest, hull->InsideHull(x, y, at.between(-50, 50)));
        }
        // A copy shares what is large with its original.
        const TConvexHull copy(*hull);
        add(digest, copy.InsideHull(1, 2, 3));
        std::array<double, 3> lab{};
        plane->GetLab(at.below(200), at.below(100), lab.data(), false);
        add(digest, lab);
        int x = 0, y = 0;
        digest.add(plane->GetXGridPoints(&x, &y), 11 * sizeof(int));
    };
}

Evaluation volume()
{
    Generator input(8);
    const std::unique_ptr<list_rec, int (*)(list_rec *)> points(list_new(100, sizeof(tetra_point), nullptr), list_kill);
    for (int i = 0; i < 100; ++i) {
        const double x = input.between(-9, 9), y = input.between(-9, 9);
        const tetra_point p{x, y, input.between(-9, 9), 0.0};
        list_insert(points.get(), &p);
    }
    const std::shared_ptr<tetra_volume> v(tetra_volume_new(points.get()), tetra_volume_kill);
    return [v](Generator &at, Digest &digest) {
        for (int i = 0; i < 20; ++i) {
            const std::array<double, 3> p = {at.between(-9, 9), at.between(-9, 9), at.between(-9, 9)};
            std::array<double, 3> w{};
            tetra_rec *t = nullptr;
            if (tetra_volume_get_tetra(v.get(), p.data(), &t) == 0)
                tetra_point_inside(t, p.data(), w.data());
            add(digest, w);
            add(digest, tetra_volume_point_inside(v.get(), p.data()));
        }
    };
}

Evaluation powers()
{
    const auto power = std::make_shared<TFastPow>(8, 8);
    return [power](Generator &at, Digest &digest) {
        const auto base = static_cast<unsigned short>(at.below(65536));
        add(digest, power->Calculate(base, static_cast<unsigned short>(at.below(65536))));
    };
}

// A new object, the same each time.
const std::pair<std::string, std::function<Evaluation()>> objects[] = {
    {"CLUT 11", wide_clut},
    {"md_tetras 3", [] { return tetras(3); }},
    {"md_tetras 6", [] { return tetras(6); }},
    {"mat", linear_system},
    {"bezier", segment},
    {"hist", histogram},
    {"restriction", restricted},
    {"TConvexHull, TPlane", hull_and_section},
    {"tetra_volume", volume},
    {"TFastPow", powers},
};

std::vector<std::uint64_t> evaluate(const Evaluation &evaluation, int rounds, int thread)
{
    std::vector<std::uint64_t> results;
    for (int round = 0; round < rounds; ++round) {
        Generator input(static_cast<std::uint64_t>(100 * thread + round));
        Digest digest;
        evaluation(input, digest);
        results.push_back(digest.value());
    }
    return results;
}

// Two objects alike: what the first call makes on demand is made by one thread in one, by all in the other.
void compare(const Evaluation &alone, const Evaluation &shared, int rounds)
{
    std::vector<std::vector<std::uint64_t>> together(threads);
    in_threads(threads,
               [&](int thread) { together[static_cast<std::size_t>(thread)] = evaluate(shared, rounds, thread); });
    for (int thread = 0; thread < threads; ++thread)
        EXPECT_EQ(together[static_cast<std::size_t>(thread)], evaluate(alone, rounds, thread)) << "thread " << thread;
}

TEST(SharedObjects, GiveTheBitsOfOneThread)
{
    for (const auto &[name, make] : objects) {
        SCOPED_TRACE(name);
        compare(make(), make(), 20);
    }
    int count = 0;
    for (const Operation &operation : Operation::all())
        if (const Evaluation alone = operation.on_one_object()) {
            SCOPED_TRACE(operation.name());
            compare(alone, operation.on_one_object(), 5);
            ++count;
        }
    EXPECT_GT(count, 20);
}

}  // namespace

}  // namespace teska_test
