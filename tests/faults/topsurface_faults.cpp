// The top surface with every allocation failing in turn: the messages of each step and no others, an object that can be
// asked and destroyed, nothing leaked, and success when the step is tried again.
#include "faults/sweep.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <set>

using namespace teska_test;

namespace
{

// Four channels that do not quite add up: sheets of both rings, some thrown out, some hidden in part.
int channels(void *, const double *v, double *c)
{
    static const double of[6][3] = {{0.24, 0.30, 0.06},  {0.33, 0.02, 0.27},  {0.25, -0.31, 0.04},
                                    {0.18, 0.05, -0.30}, {0.0, -0.05, -0.10}, {0.15, 0.10, -0.20}};
    const double amount[6] = {v[0], v[1], v[2], v[3], v[0] * v[1], v[1] * v[2]};
    for (int k = 0; k < 3; ++k) {
        c[k] = 0.0;
        for (int i = 0; i < 6; ++i)
            c[k] += amount[i] * of[i][k];
    }
    return 0;
}

struct Top : TTriangularTopSurface {
    Top() : TTriangularTopSurface(4, of, counts, counts, 0, channels, 3, 3) {}
    using TTriangularTopSurface::DeterminePhirVTrTetar;

    static constexpr double levels[2] = {1.0, 0.0};
    static inline const double *of[4] = {levels, levels, levels, levels};
    static inline int counts[4] = {2, 2, 2, 2};
};

struct Step {
    const char *name;
    bool (*prepare)(std::optional<Top> &), (*call)(std::optional<Top> &);
    std::set<std::string> reports;  // of all failures together
};

bool edge(std::optional<Top> &top)
{
    double teta = 0.0, height = 0.0;
    return top->UmbrellaEdge(1.0, &teta, &height) == 0;
}

void ask(TTriangularTopSurface &top)
{
    double a[4], x[3][3], y[3][3];
    top.GetPrimComb(0, a);
    top.ScanTriangles(1, x, y);
    top.ScanMaskedTriangles(1, x);
}

int worst_error = 0;

bool made(std::optional<Top> &top)
{
    top.emplace();
    ask(*top);
    worst_error = std::max(worst_error, top->ErrNo());
    return top->ErrNo() == 0;
}

bool with_edge(std::optional<Top> &top) { return made(top) && edge(top); }

const Step steps[] = {
    {"edge",
     made,
     edge,
     {"Out of memory", "No More Memory", "func_new : unable to create new instance of function",
      "lin_interp : Cannot create new instance of double interpolator",
      "list_new : Not enough resources to create list"}},
    {"smaller gamut",
     with_edge,
     [](std::optional<Top> &top) {
         double c[3] = {0.5, 0.0, 0.0};
         return top->DetermineXYZMinGam(c, c, c, 1) == 0 && top->DeterminePhirVTrTetar() == 0;
     },
     {"out of memory", "md_tetra_new: insufficient memory", "md_tetrab_new: malloc failure",
      "md_tetrad_new: insuff. mem."}},
    {"many colours",
     with_edge,
     [](std::optional<Top> &top) {
         std::array<double, 900> c = {};
         return top->DetermineXYZ(c.data(), c.data(), nullptr, 300) == 0;
     },
     {}},
    {"copy",
     with_edge,
     [](std::optional<Top> &top) {
         Top copy(*top);
         ask(copy);
         worst_error = std::max(worst_error, copy.ErrNo());
         return copy.ErrNo() == 0;
     },
     {"Not enough memory", "No Memory", "func_new : unable to create new instance of function",
      "lin_interp : Cannot create new instance of double interpolator",
      "list_new : Not enough resources to create list"}},
    {"export",
     with_edge,
     [](std::optional<Top> &top) { return top->Export("topsurface_rows.m") == 0; },
     {"cannot open export file topsurface_rows.m", "Cannot export process", "No memory"}},
};

TEST(TopSurfaceFaults, LeaveAnObjectThatCanBeAskedAndTriedAgain)
{
    for (const Step &step : steps) {
        SCOPED_TRACE(step.name);
        std::set<std::string> missing = step.reports;
        each_allocation(2, [&](const auto &fire) {
            Reports captured;
            std::optional<Top> top;
            EXPECT_TRUE(step.prepare(top));
            fire();
            const bool succeeded = step.call(top);
            const bool injected = disarm() > 0;
            EXPECT_TRUE(injected || succeeded);
            EXPECT_TRUE(step.call(top)) << "tried again";
            const lines said = captured.take();
            EXPECT_EQ(said.empty(), succeeded);
            for (const std::string &line : said) {
                EXPECT_EQ(step.reports.count(line), 1U) << line;
                missing.erase(line);
            }
            return injected;
        });
        EXPECT_EQ(missing, std::set<std::string>{});
    }
    EXPECT_EQ(worst_error, 1);
    std::remove("topsurface_rows.m");
}

}  // namespace
