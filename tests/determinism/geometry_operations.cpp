#include "determinism/operations.h"

#include "tetra.h"

#include <cmath>
#include <memory>

namespace teska_test
{

namespace
{

using List = std::unique_ptr<list_rec, int (*)(list_rec *)>;
using Volume = std::unique_ptr<tetra_volume, int (*)(tetra_volume *)>;

template <class Record>
void add_records(Digest &digest, list_rec *list)
{
    for (int i = 0; i < list_num(list); ++i) {
        const auto *record = *static_cast<Record **>(list_get_element(list, i));
        digest.add(record->p, sizeof record->p);
        digest.add(record->centroid, sizeof record->centroid);
    }
}

// A cloud with as many points on the surface as inside, or a turned grid: what the tetrahedra are and what they answer.
const Operation tetra_cut("tetra_volume_new, get_tetra, point_inside", [](Generator &input, Digest &digest) {
    for (const bool grid : {false, true}) {
        const List points(list_new(1000, sizeof(tetra_point), nullptr), list_kill);
        for (int i = 0; i < 729; ++i) {
            const double x = grid ? i % 9 : input.between(-1, 1), y = grid ? i / 9 % 9 : input.between(-1, 1);
            const double z = grid ? i / 81 : input.between(-1, 1);
            const double scale = !grid && i % 2 == 0 ? 9 / std::sqrt(x * x + y * y + z * z) : 5;
            const tetra_point p{scale * (0.6 * x - 0.8 * y), scale * (0.8 * x + 0.6 * y), scale * z, i + 0.0};
            list_insert(points.get(), &p);
        }
        const Volume v(tetra_volume_new(points.get()), tetra_volume_kill);
        add_records<tetra_plane>(digest, v->planes);
        add_records<tetra_rec>(digest, v->tetras);
        const double volume = tetra_volume_get_volume(v.get());
        digest.add(&volume, sizeof volume);
        for (int i = 0; i < 300; ++i) {
            const double p[3] = {input.between(-9, 9), input.between(-9, 9), input.between(-9, 9)};
            double w[3] = {};
            tetra_rec *t = nullptr;
            const int inside = tetra_volume_point_inside(v.get(), p);
            if (tetra_volume_get_tetra(v.get(), p, &t) == 0)
                tetra_point_inside(t, p, w);
            digest.add(&inside, sizeof inside);
            digest.add(w, sizeof w);
        }
    }
});

}  // namespace

}  // namespace teska_test
