// One object, evaluated by several threads at once, gives the bits that one thread gets from it.

#include "support/generator.h"
#include "support/owned_clut.h"
#include "support/samples.h"

#include "bezierd_base.h"
#include "bezierd_vector.h"
#include "func.h"
#include "hist.h"
#include "interp_double.h"
#include "mat.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"
#include "mmd_tetras.h"
#include "restriction.h"
#include "tconvexhull.h"
#include "tetra.h"
#include "tfastpow.h"
#include "threads/in_threads.h"
#include "tplane.h"
#include "ttriangulartopsurface.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace teska_test
{

namespace
{

constexpr int threads = 4;
constexpr int rounds = 20;

// Evaluates one object at inputs of the generator and adds the results to the digest.
using Evaluation = std::function<void(Generator &input, Digest &digest)>;

struct Shared {
    std::string name;
    std::function<Evaluation()> make;  // a new object, the same each time
};

template <class T>
void add(Digest &digest, const T &value)
{
    digest.add(&value, sizeof value);
}

Evaluation clut(int inputs)
{
    Generator input(static_cast<std::uint64_t>(inputs));
    const int points = inputs > 4 ? 2 : 5;
    std::vector<float> values(static_cast<std::size_t>(3 * std::pow(points, inputs)));
    for (float &value : values)
        value = static_cast<float>(input.unit());
    const std::vector<unsigned char> counts(static_cast<std::size_t>(inputs), static_cast<unsigned char>(points));
    const auto table = std::make_shared<OwnedClut>(counts, 3, values);
    return [table, inputs](Generator &at, Digest &digest) {
        for (int i = 0; i < 20; ++i) {
            std::array<double, 16> in{};
            std::array<double, 3> out{};
            for (int d = 0; d < inputs; ++d)
                in[static_cast<std::size_t>(d)] = at.unit();
            table->Interpolate(out.data(), in.data());
            add(digest, out);
        }
    };
}

Evaluation tetrab(int inputs, bool curved)
{
    Generator input(static_cast<std::uint64_t>(inputs));
    const std::shared_ptr<md_tetrab> table(md_tetrab_new(inputs, 3, 5), md_tetrab_kill);
    int size = 0;
    unsigned char *const data = md_tetrab_dataptr(table.get(), &size);
    for (int i = 0; i < size; ++i)
        data[i] = input.byte();
    for (int v = 0; curved && v < 256; ++v)
        md_tetrab_ilutptr(table.get(), 0)[v] = md_tetrab_olutptr(table.get(), 1)[v] = input.byte();
    return [table, inputs](Generator &at, Digest &digest) {
        Samples<unsigned char> in(inputs, 100, inputs), out(3, 100, 3);
        for (unsigned char &byte : in.buffer)
            byte = at.byte();
        md_tetrab_interp(table.get(), in.at.data(), in.step, out.at.data(), out.step, 100, nullptr, 0);
        digest.add(out.buffer.data(), out.buffer.size());
    };
}

Evaluation tetrad(int inputs)
{
    Generator input(static_cast<std::uint64_t>(inputs));
    const std::shared_ptr<md_tetrad> table(md_tetrad_new(inputs, 2, 4, 0, 1), md_tetrad_kill);
    int size = 0;
    double *const data = md_tetrad_dataptr(table.get(), &size);
    for (int i = 0; i < size; ++i)
        data[i] = input.unit();
    return [table, inputs](Generator &at, Digest &digest) {
        Samples<double> in(inputs, 50, inputs), out(2, 50, 2);
        for (double &x : in.buffer)
            x = at.unit();
        md_tetrad_interp(table.get(), in.at.data(), in.step, out.at.data(), out.step, 50);
        digest.add(out.buffer.data(), out.buffer.size() * sizeof(double));
    };
}

// A table with curves and a set of three.
Evaluation tetras(int inputs)
{
    Generator input(static_cast<std::uint64_t>(inputs));
    const std::shared_ptr<md_tetras> table(md_tetras_new(inputs, 3, 4), md_tetras_kill);
    const std::shared_ptr<mmd_tetras> set(mmd_tetras_new(3, inputs, 3, 4), mmd_tetras_kill);
    int size = 0;
    unsigned short *const data = md_tetras_dataptr(table.get(), &size);
    for (int i = 0; i < size; ++i)
        data[i] = mmd_tetras_dataptr(set.get(), i % 3, nullptr)[i] = static_cast<unsigned short>(input.next());
    const unsigned short entries[] = {65535, 100, 30000};
    md_tetras_ilut_set(table.get(), 0, 3, entries);
    md_tetras_olut_set(table.get(), 2, 3, entries);
    return [table, set, inputs](Generator &at, Digest &digest) {
        Samples<unsigned short> in(inputs, 100, inputs), out(9, 100, 9);
        std::vector<unsigned char> tags(100);
        for (unsigned short &sample : in.buffer)
            sample = static_cast<unsigned short>(at.next());
        for (unsigned char &tag : tags)
            tag = static_cast<unsigned char>(at.below(3));
        mmd_tetras_interp_all(set.get(), in.at.data(), in.step, out.at.data(), out.step, 100);
        mmd_tetras_interp_tag(set.get(), in.at.data(), in.step, out.at.data(), out.step, 50, tags.data());
        md_tetras_interp(table.get(), in.at.data(), in.step, out.at.data() + 3, out.step, 100, nullptr, 0);
        mmd_tetras_interp_mix(set.get(), 0, 2, in.at.data(), in.step, out.at.data() + 6, out.step, 100, nullptr, 9999);
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

Evaluation line_through_points()
{
    Generator input(6);
    const std::shared_ptr<lin_interp_double> li(lin_interp_double_new(16, nullptr), lin_interp_double_kill);
    const std::shared_ptr<hist> h(hist_new(0, 99), hist_kill);
    for (int i = 0; i < 100; ++i) {
        const double x = input.unit();
        lin_interp_double_insert(li.get(), x, input.unit());
        const int value = input.below(100);
        hist_point(h.get(), &value, 1);
    }
    return [li, h](Generator &at, Digest &digest) {
        std::array<double, 4> r{};
        lin_interp_double_inter(li.get(), at.unit(), &r[0]);
        lin_interp_double_inextp(li.get(), at.between(-1, 2), &r[1]);
        hist_med(h.get(), &r[2], &r[3]);
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

int three_inks(void *, const double *device, double *colour)
{
    colour[0] = 95 - 30 * device[0] - 40 * device[1] - 8 * device[2];
    colour[1] = -35 * device[0] + 75 * device[1] - 5 * device[2];
    colour[2] = -50 * device[0] - 5 * device[1] + 90 * device[2];
    return 0;
}

Evaluation umbrella()
{
    const double levels[] = {1.0, 0.5, 0.0};
    const double *of[] = {levels, levels, levels};
    int counts[] = {3, 3, 3};
    const auto top = std::make_shared<TTriangularTopSurface>(3, of, counts, counts, 0, three_inks, 61, 61);
    return [top](Generator &at, Digest &digest) {
        for (int i = 0; i < 10; ++i) {
            const std::array<double, 3> colour = {at.between(30, 90), at.between(-40, 40), at.between(-40, 40)};
            std::array<double, 6> norm{};
            std::array<double, 2> penalty{};
            top->DetermineNormCoord(colour.data(), norm.data(), penalty.data(), 1);
            top->DetermineNormCoordMinGam(colour.data(), norm.data() + 3, penalty.data() + 1, 1);
            add(digest, norm);
            add(digest, penalty);
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

const Shared objects[] = {
    {"CLUT 1", [] { return clut(1); }},
    {"CLUT 2", [] { return clut(2); }},
    {"CLUT 3", [] { return clut(3); }},
    {"CLUT 4", [] { return clut(4); }},
    {"CLUT 7", [] { return clut(7); }},
    {"CLUT 11", [] { return clut(11); }},
    {"md_tetrab 3", [] { return tetrab(3, false); }},
    {"md_tetrab 4, curves", [] { return tetrab(4, true); }},
    {"md_tetrab 6, curves", [] { return tetrab(6, true); }},
    {"md_tetrad 3", [] { return tetrad(3); }},
    {"md_tetrad 6", [] { return tetrad(6); }},
    {"md_tetrad 8", [] { return tetrad(8); }},
    {"md_tetras, mmd_tetras 3", [] { return tetras(3); }},
    {"md_tetras, mmd_tetras 6", [] { return tetras(6); }},
    {"mat", linear_system},
    {"bezier", segment},
    {"lin_interp_double, hist", line_through_points},
    {"restriction", restricted},
    {"TConvexHull, TPlane", hull_and_section},
    {"tetra_volume", volume},
    {"TTriangularTopSurface", umbrella},
    {"TFastPow", powers},
};

std::vector<std::uint64_t> evaluate(const Evaluation &evaluation, int thread)
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

TEST(SharedObjects, GiveTheBitsOfOneThread)
{
    for (const Shared &object : objects) {
        SCOPED_TRACE(object.name);
        // Two objects alike: what the first call makes on demand is made by one thread in one, by all in the other.
        const Evaluation alone = object.make(), shared = object.make();
        std::vector<std::vector<std::uint64_t>> together(threads);
        in_threads(threads, [&](int thread) { together[static_cast<std::size_t>(thread)] = evaluate(shared, thread); });
        for (int thread = 0; thread < threads; ++thread)
            EXPECT_EQ(together[static_cast<std::size_t>(thread)], evaluate(alone, thread)) << "thread " << thread;
    }
}

}  // namespace

}  // namespace teska_test
