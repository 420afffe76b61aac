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
#include <vector>

namespace teska
{

struct rim_end {
    gnomonic::point at;
    double q;
    double hue;
};

class rim
{
public:
    // Crossings at `limit` and beyond do not count.
    explicit rim(const std::vector<double> &hues, double limit = std::numeric_limits<double>::infinity());

    void add(const rim_end &a, const rim_end &b);
    // All edges of what is seen of a part.
    void add_pieces(const TPrimComb &part);

    [[nodiscard]] double radius(std::size_t i) const { return knots[place[i]].radius; }
    [[nodiscard]] double nearness(std::size_t i) const { return knots[place[i]].q; }

private:
    struct knot {
        double hue;
        gnomonic::point direction;
        double radius, q;
    };
    void add_between(double from, double to, const rim_end &a, const rim_end &b);

    std::vector<knot> knots;         // in ascending order of hue
    std::vector<std::size_t> place;  // of the given hues
    double limit;
};

}  // namespace teska

#endif
