#include "bezier_cpoly_det.h"
#include "bezierd_fit.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"
#include "determinism/operations.h"
#include "hist.h"
#include "interp_double.h"
#include "p_bezierd_base.h"

#include <cstdlib>

using namespace teska_test;

namespace
{

using Curve = std::shared_ptr<bezier>;

Curve curve_through(Generator &input, int degree)
{
    const auto p = between(input, 10);
    const Curve b(bezier_new(degree, 0, 0, 0, 0), bezier_kill);
    bezier_cpoly_det(b.get(), p.data(), p.data() + 5);
    return b;
}

// The first point makes the coefficients.
Operation::Run lines_met(Generator &input)
{
    std::vector<std::pair<Curve, std::array<double, 3>>> asked;
    for (int i = 0; i < 900; ++i) {
        const Curve b = curve_through(input, 2 + i % 3);
        const double t = input.unit(), x = input.between(-1, 1);
        asked.push_back({b, {t, x, i % 3 == 0 ? input.between(-1, 1) : 0}});
    }
    return [asked](Generator &, Digest &digest) {
        for (const auto &[b, at] : asked) {
            double values[10] = {};
            bezier_get(b.get(), at[0], &values[0], &values[1]);
            bezier_fget_y(b.get(), at[1], values + 2);
            if (at[2] != 0)
                bezier_get_x(b.get(), at[2], values + 6);
            digest.put(values);
        }
    };
}

void add_points(Digest &digest, int sections, double *const &points)
{
    digest.add(points, static_cast<std::size_t>(sections + 1) * 16);
    std::free(points);
}

Operation::Run polylines(Generator &input)
{
    std::vector<std::pair<Curve, double>> asked;
    for (int i = 0; i < 300; ++i)
        asked.push_back({curve_through(input, 3), input.between(0.001, 0.1)});
    return [asked](Generator &, Digest &digest) {
        for (const auto &[b, bound] : asked) {
            dynar *line = nullptr;
            const int segments = bezier_vector(b.get(), bound, &line);
            digest.add<double>(dynar_ptr(line, 0), static_cast<std::size_t>(segments + 1) * 16);
            double *points = nullptr;
            add_points(digest, bezier_fvector(b.get(), bound, &points), points);
            dynar_kill(line);
        }
    };
}

void fit(Generator &input, Digest &digest)
{
    const auto b = shared(bezier_new(3, 0, 0, 0, 0), bezier_kill);
    for (unsigned int round = 0; round < 400; ++round) {
        auto p = between(input, 40);
        double r[10];
        for (std::size_t i = 1; i < 20; ++i)
            p[i] += p[i - 1] + 1;
        bezier_fit(b.get(), static_cast<int>(2 + round % 19), &p[0], &p[20], round & 1, 1, p[39], round & 2, p[38], -1,
                   r, r + 1, 0);
        bezier_get_control_poly(b.get(), r + 2, r + 6);
        digest.put(r);
    }
}

void moments(Generator &input, Digest &digest)
{
    const auto h = shared(hist_new(-300, 300), hist_kill);
    for (int i = 0; i < 3000; ++i) {
        const int value = input.below(701) - 350;
        hist_point(h.get(), &value, 1);
        double results[2];
        hist_med(h.get(), &results[0], &results[1]);
        digest.put(results, static_cast<double>(hist_percentile(h.get(), input.between(0.0, 100.0))));
    }
}

void add_points(Digest &digest, const lin_interp_double *li)
{
    double point[2] = {};
    for (int i = 0; lin_interp_double_getp(li, i, &point[0], &point[1]) == 0; ++i)
        digest.put(point);
}

// 1000 values of either kind of continuation, a quarter of them outside the points.
void add_values(Digest &digest, const lin_interp_double *li, Generator &input)
{
    for (int i = 0; i < 1000; ++i) {
        const double x = input.between(-1.25, 1.25);
        double y[2] = {};
        lin_interp_double_inter(li, x, &y[0]);
        lin_interp_double_inextp(li, x, &y[1]);
        digest.put(y);
    }
}

Operation::Run curve_values(Generator &input)
{
    const auto li = shared(lin_interp_double_new(16, nullptr), lin_interp_double_kill);
    // Two statements: compilers differ in which argument they compute first.
    for (int i = 0; i < 200; ++i) {
        const double x = input.between(-1, 1);
        lin_interp_double_insert(li.get(), x, input.between(-1, 1));
    }
    const auto inverse = shared(lin_interp_double_invert(li.get(), nullptr), lin_interp_double_kill);
    return [=](Generator &at, Digest &digest) {
        add_values(digest, li.get(), at);
        add_points(digest, inverse.get());
        add_values(digest, inverse.get(), at);
    };
}

void nearest_points(Generator &input, Digest &digest)
{
    const auto li = shared(lin_interp_double_new(16, nullptr), lin_interp_double_kill);
    for (int i = 0; i < 500; ++i) {
        const double x = input.between(-1, 1);
        lin_interp_double_subst(li.get(), x, input.unit(), 0.01);
    }
    add_points(digest, li.get());
}

using Chain = std::shared_ptr<poly_bezier>;

void add_chain(Digest &digest, const Chain &p)
{
    for (int i = 0; i < poly_bezier_num(p.get()); ++i) {
        double controls[8] = {};
        poly_bezier_segment(p.get(), i, controls, controls + 4);
        digest.put(controls);
    }
}

// Segments of degrees 1 to 3 in turn, and what is asked of them.
Operation::Run chain_queries(Generator &input)
{
    constexpr int segments = 60;
    const Chain p(poly_bezier_new(0, 0), poly_bezier_kill);
    for (int i = 0; i < segments; ++i) {
        const auto controls = between(input, 6);
        poly_bezier_add(p.get(), 1 + i % 3, &controls[0], &controls[3]);
    }
    return [=](Generator &at, Digest &digest) {
        for (int i = 0; i < 100; ++i) {
            double r[16] = {};
            const double u = at.between(0, segments), x = at.between(-1, 1), y = at.between(-1, 1);
            poly_bezier_get(p.get(), u, &r[0], &r[1]);
            poly_bezier_slope(p.get(), u, &r[2], &r[3]);
            r[4] = poly_bezier_length(p.get(), u, at.between(0, segments));
            r[5] = poly_bezier_at_length(p.get(), at.between(0, segments));
            poly_bezier_nearest(p.get(), x, y, &r[6], &r[7]);
            r[8] = poly_bezier_winding(p.get(), x, y);
            const double line[] = {x, y, y, u};
            poly_bezier_line(p.get(), line, &r[9], 7);
            digest.put(r);
        }
        double box[4] = {};
        poly_bezier_box(p.get(), box);
        digest.put(box, poly_bezier_area(p.get()));
        double *points = nullptr;
        add_points(digest, poly_bezier_vector(p.get(), 0.01, &points), points);
    };
}

// Chains through and near points, divided and raised; the monotone one is asked for y.
void chains_of_points(Generator &input, Digest &digest)
{
    constexpr int count = 50;
    for (int round = 0; round < 20; ++round) {
        double x[count] = {}, y[count] = {};
        for (int i = 0; i < count; ++i) {
            y[i] = input.between(-1, 1);
            x[i] = (i > 0 ? x[i - 1] : 0.0) + input.unit() + 0x1p-60;
        }
        const double bound = input.between(0.001, 0.2), corner = input.between(0, 180);
        const Chain fitted(poly_bezier_fit(count, x, y, bound, corner, round % 2), poly_bezier_kill);
        const Chain smooth(poly_bezier_spline(count, x, y, round % 2), poly_bezier_kill);
        const Chain tone(poly_bezier_monotone(count, x, y), poly_bezier_kill);
        for (const Chain &p : {fitted, smooth, tone})
            add_chain(digest, p);
        double values[20] = {};
        for (double &value : values)
            poly_bezier_get_y(tone.get(), input.between(0, x[count - 1]), &value);
        digest.put(values);
        poly_bezier *parts[2] = {};
        poly_bezier_split(smooth.get(), input.between(0, count), &parts[0], &parts[1]);
        for (poly_bezier *part : parts)
            add_chain(digest, Chain(part, poly_bezier_kill));
    }
}

const Operation operations[] = {
    {"bezier_get, bezier_fget_y and bezier_get_x of curves through points", lines_met},
    {"bezier_vector and bezier_fvector", polylines},
    {"bezier_fit, all constraints", fit},
    {"hist_med and hist_percentile", moments},
    {"lin_interp_double_inter and inextp, 200 points and their inverse", curve_values},
    {"lin_interp_double_subst, 500 points", nearest_points},
    {"poly_bezier queries, 60 segments of all degrees", chain_queries},
    {"poly_bezier_fit, spline, monotone, split and get_y, 50 points", chains_of_points},
};

}  // namespace
