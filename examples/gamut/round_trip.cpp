// round_trip - which colours inside the convex solid the press cannot print after all

#include "gamut/job.h"

namespace examples
{

namespace
{

// Between the colours asked for, in L, a and b.
constexpr double step = 4;

cmsCIELab printed(const cmsCIELab &wanted, const transform &to_inks, const transform &to_lab)
{
    double inks[4];
    cmsCIELab got;
    to_inks.run(&wanted, inks, 1);
    to_lab.run(inks, &got, 1);
    return got;
}

}  // namespace

missed_colours round_trip(const gamut &solid, const profile &press, colour_engine &engine, double bound)
{
    const profile lab = engine.lab();
    const cmsUInt32Number intent = INTENT_RELATIVE_COLORIMETRIC;
    const transform to_inks = engine.connect({lab, TYPE_Lab_DBL, press, TYPE_CMYK_DBL, intent}, evaluation::direct);
    const transform to_lab = engine.connect({press, TYPE_CMYK_DBL, lab, TYPE_Lab_DBL, intent}, evaluation::direct);
    missed_colours found{bound, 0, 0, 0};
    for (double l = 0; l <= 100; l += step)
        for (double a = -128; a < 128; a += step)
            for (double b = -128; b < 128; b += step)
                if (solid.holds({l, a, b})) {
                    const cmsCIELab wanted = {l, a, b}, got = printed(wanted, to_inks, to_lab);
                    ++found.colours;
                    found.missed += cmsDeltaE(&wanted, &got) > bound ? 1 : 0;
                    found.missed_2000 += cmsCIE2000DeltaE(&wanted, &got, 1, 1, 1) > bound ? 1 : 0;
                }
    return found;
}

}  // namespace examples
