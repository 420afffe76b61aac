// job - the umbrella of a device: what its inks reach on the light side
//
//     device model or press profile --(TTriangularTopSurface)--> parts, edge, normalised coordinates, penalties

#ifndef EXAMPLES_TOPSURFACE_JOB_H
#define EXAMPLES_TOPSURFACE_JOB_H

#include "support/cie.h"
#include "support/colour_engine.h"
#include "support/devices.h"
#include "support/picture.h"

#include "ttriangulartopsurface.h"

#include <memory>
#include <vector>

namespace examples
{

// The press of a profile as a device: 1 is no ink, colours are CIELAB.
device press_device(const profile &press, colour_engine &engine);

constexpr double reach = 110;  // of a and b, from the middle of a picture to its edge

struct edge_point {
    double hue;    // degrees
    double angle;  // from the lightness axis, degrees
    double lightness;
    double a, b;
};

class umbrella
{
public:
    // Throws failure when the device has none.
    umbrella(device of, int levels);

    int parts() { return surface_->GetNrDifferentPrimCombs(); }
    [[nodiscard]] const device &model() const { return device_; }

    // The edge, once round.
    std::vector<edge_point> edge();

    // Seen along the lightness axis, a to the right, b upwards: parts in the colour of their two inks, what others hide
    // hatched over them, the edge as a line.
    picture seen_from_above(int size);

    // A plane through the lightness axis: what costs no penalty in its colour, the rest the greyer the more it costs,
    // with a line at every quarter.
    picture penalties(double hue, int width, int height);

private:
    device device_;
    std::unique_ptr<TTriangularTopSurface> surface_;
};

}  // namespace examples

#endif
