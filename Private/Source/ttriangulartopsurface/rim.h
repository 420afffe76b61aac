// rim - how far out straight edges reach at given hues
//
// The edges lie in the plane of directions (gnomonic.h), each an end with its nearness and hue. At every hue the
// crossing farthest from the vertical axis counts.
//
//     rim edge(hues);                        any order, 0 .. 2 pi
//     edge.add(a, b);                        O(log hues + hues crossed)
//     edge.radius(i), edge.nearness(i)       tan(teta) and q at hue i; radius 0: nothing crosses it

#ifndef TESKA_TOPSURFACE_RIM_H
#define TESKA_TOPSURFACE_RIM_H

#include "Source/ttriangulartopsurface/gnomonic.h"
#include "Source/ttriangulartopsurface/tprimcomb.h"

#include <limits>

namespace teska
{

struct rim_end {
    vec2 direction;
    double q;
    double hue;
};

class rim
{
public:
    // Crossings at `limit` and beyond do not count.
    explicit rim(const indexed<double> &hues, double limit = std::numeric_limits<double>::infinity());

    void add(const rim_end &a, const rim_end &b);
    // All edges of what is seen of a part.
    void add_pieces(const TPrimComb &part);

    [[nodiscard]] double radius(std::size_t i) const { return rays_[ray_of_[i]].radius; }
    [[nodiscard]] double nearness(std::size_t i) const { return rays_[ray_of_[i]].q; }

private:
    // A hue, and the farthest crossing there so far.
    struct ray {
        double hue;
        vec2 direction;
        double radius, q;
    };
    void add_between(double from, double to, const rim_end &a, const rim_end &b);

    indexed<ray> rays_;            // in ascending order of hue
    indexed<std::size_t> ray_of_;  // of each given hue
    double limit_;
};

}  // namespace teska

#endif
