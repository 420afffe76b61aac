// Members of classes, which row<..> cannot call: a row is named class_member.
#include "support/owned_clut.h"

#include "hostile/objects.h"

#include <new>

namespace teska_test
{

template <class T>
void destroy(T *object)
{
    delete object;
}

static void points_inside(const TConvexHull *hull, int *out)
{
    for (int i = 0; i < 27; ++i)
        out[i] = hull->InsideHull(i % 3 * 3 - 3, i / 3 % 3 * 3 - 3, i / 9 * 3 - 3);
}

// Some on a sphere so small that the hull is made twice, the second time by exact signs.
static auto make(Draw &draw, TConvexHull *)
{
    auto *const hull = new TConvexHull;
    for (int i = 0, round = draw.random.below(3); i < 60; ++i) {
        const double x = draw.number(), y = draw.number(), z = draw.number();
        const double k = round == 0 ? 4 / std::sqrt(x * x + y * y + z * z) : 1;
        hull->AddPoint(x * k, y * k, z * k);
    }
    return made<destroy<TConvexHull>, points_inside>(hull);
}

static std::uint32_t entries(const TQuadTree *tree)
{
    Digest digest;
    const auto one = [](const TQuadHit *hit, void *context) {
        return static_cast<Digest *>(context)->put(hit->box.x0, hit->box.y0, hit->box.x1, hit->box.y1, hit->distance),
               0;
    };
    TQuadHit hit{};
    digest.put(tree->Walk(one, &digest), tree->Count(), tree->Nearest(0, 0, HUGE_VAL, &hit));
    one(&hit, &digest);
    return static_cast<std::uint32_t>(digest.value() >> 32);
}

static TQuadBox box_of(Draw &draw)
{
    const double x = draw.number(), y = draw.number();
    return draw.chance(2) ? TQuadBox{x, y, x, y} : TQuadBox{x, y, x + std::abs(draw.number()), y + draw.random.unit()};
}

static auto make(Draw &draw, TQuadTree *)
{
    auto *const tree = new TQuadTree;
    for (int i = draw.random.below(100); i > 0; --i)
        tree->Insert(box_of(draw), tree);
    return made<destroy<TQuadTree>, entries>(tree);
}

// Four channels that do not quite add up: sheets of both rings, some thrown out, some hidden in part.
static int channels(void *, const double *v, double *c)
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

static std::uint32_t triangles(Top *top)
{
    Digest digest;
    double at[4] = {}, x[3][3], y[3][3];
    digest.put(top->ErrNo(), top->GetPrimComb(0, at), at);
    for (int more = top->ScanTriangles(1, x, y); more >= 0; more = top->ScanTriangles(0, x, y))
        digest.put(x, y);
    for (int more = top->ScanMaskedTriangles(1, x); more >= 0; more = top->ScanMaskedTriangles(0, x))
        digest.put(x);
    return static_cast<std::uint32_t>(digest.value() >> 32);
}

static bool with_edge(Top *top)
{
    double edge[2];
    return top->UmbrellaEdge(1, edge, edge + 1) == 0;
}

static auto make(Draw &draw, Top *)
{
    auto *const top = new Top;
    if (draw.chance(2))
        with_edge(top);
    return made<destroy<Top>, triangles>(top);
}

namespace
{

const HostileRows rows({
    // Nothing is reported: the failure is an exception.
    member(
        "CLUT_CLUT",
        [](unsigned char inputs) {
            unsigned char grid[] = {2, 2, 2, 2, 2, 2, 2};
            float values[128] = {};
            try {
                return OwnedClut(inputs, grid, 1, 0, values).NumPoints();
            } catch (const std::bad_alloc &) {
                return 0U;
            }
        },
        one_of(3, 7)),
    member(
        "TFastPow_TFastPow",
        [](int base, int exponent) {
            TFastPow power(base, exponent);
            Digest digest;
            for (unsigned short value = 0; value < 65000; value += 1000)
                digest.put(power.Calculate(value, 0x5555), power.Calculate(0x5555, value));
            return digest.value();
        },
        one_of(1, 3, 6, 0, INT_MIN), one_of(1, 2, 7, -1)),
    // Of fewer parts it may be used like any other.
    member("TObjFac_TObjFac",
           [](Draw &draw) {
               calling(draw, [] {
                   struct Factory : TObjFac {
                       using TObjFac::IncrRefc;
                       TObjEl *TObjFacCreateEl(void *obj) override
                       {
                           TObjEl *const entry = new (std::nothrow) TObjEl(obj);
                           lacking = entry == nullptr;
                           return entry;
                       }
                       bool lacking = false;
                   } factory;
                   char name[8];
                   EXPECT_EQ(factory.IncrRefc(&factory), 0);
                   const bool registered = factory.GetNrObj() == 1, named = factory.MakeRandomName("", name, 7) == 0;
                   EXPECT_TRUE(factory.ErrNo() != 0 || (named && registered != factory.lacking));
                   EXPECT_EQ(factory.ScanObject(1), registered ? &factory : nullptr);
                   EXPECT_EQ(factory.GetCurrentScanObject() != nullptr, registered);
                   EXPECT_EQ(factory.SetCurrentScanObject(nullptr) + factory.ScanReset(), 0);
                   EXPECT_EQ(factory.RemoveFromFactory(factory.DecrRefc(&factory)), nullptr);
                   EXPECT_EQ(factory.GetNrObj(), 0);
                   return registered + 2 * named + 4 * factory.ErrNo();
               });
           }),
    member(
        "TConvexHull_Construct", [](TConvexHull *hull) { return hull->Construct(); }, live),
    member(
        "TConvexHull_InsideHull",
        [](const TConvexHull *hull, double x, double y, double z) { return hull->InsideHull(x, y, z); }, live),
    member("TQuadTree_Insert",
           [](Draw &draw) {
               auto *const tree = lend<TQuadTree>(draw, false);
               for (int i = 0; i < 100; ++i)
                   calling(draw, [=, box = box_of(draw)] { return tree->Insert(box, tree); });
           }),
    member(
        "TQuadTree_Remove",
        [](TQuadTree *tree, double x, double y, double reach) {
            TQuadHit hit{};
            const int found = tree->Nearest(x, y, reach, &hit);
            EXPECT_EQ(tree->Remove(hit.box, hit.item), found - 1);
        },
        live),
    member(
        "TTriangularTopSurface_TTriangularTopSurface",
        [](Top *other) {
            Top copy(*other), anew;
            for (Top *const top : {&copy, &anew})
                EXPECT_TRUE(top->ErrNo() == 1 || triangles(top) == triangles(other));
            return triangles(&copy) + triangles(&anew);
        },
        live),
    member(
        "TTriangularTopSurface_UmbrellaEdge",
        [](Top *top, double phi, double *edge) { return top->UmbrellaEdge(phi, edge, edge + 1); }, kept, number,
        out(2)),
    member(
        "TTriangularTopSurface_DetermineXYZ",
        [](Top *top, const double *norm, double *xyz) {
            const bool prepared = with_edge(top);
            const int result = top->DetermineXYZ(norm, xyz, nullptr, 300);
            EXPECT_TRUE(result == 0 || !prepared) << "many colours alone need no memory";
            return result;
        },
        kept, in(900), out(900)),
    member(
        "TTriangularTopSurface_DetermineXYZMinGam",
        [](Top *top, const double *norm, double *xyz) {
            const int result = top->DetermineXYZMinGam(norm, xyz, nullptr, 1);
            return result == 0 ? top->DeterminePhirVTrTetar() : result;
        },
        kept, in(3), out(3)),
    member(
        "TTriangularTopSurface_Export", [](Top *top, const char *file) { return top->Export(file); }, kept, path()),
});

}  // namespace

}  // namespace teska_test
