// model - what a cloud of pairs becomes when it is built: points, cells, surface, and where to look for them

#ifndef TESKA_CLG_MODEL_H
#define TESKA_CLG_MODEL_H

#include "Source/clg/boxes.h"
#include "Source/clg/tiling.h"
#include "Support/memory.h"
#include "Support/vec.h"

namespace teska::cloud
{

// The pairs as they were added: `channels` device values and a colour each, one after the other.
struct pair_list {
    const double *values;
    int count;
    int channels;
    int free;
    double lo, hi;
};

// Pairs at one point of the lattice, as one.
struct point_list {
    int count = 0;
    heap_block<lattice_point> at;
    heap_block<double> device;  // `channels` of each
    heap_block<vec3> colour;
    heap_block<double> share;  // the free channels as parts of the range, 0 .. 1; most_free of each
    heap_block<double> ink;    // sums of the device values
    heap_block<double> cost;   // sums that the rule weighs
};

// A place on the boundary of the colours: corners are points of the model; segments repeat their second one.
struct triangle {
    int corner[3];
};

struct surface {
    int count = 0;
    heap_block<triangle> triangles;
};

struct model {
    int channels = 0;
    point_list points;
    tiles cells;
    surface outside;
    box_tree<3> images;          // of the cells' colours
    box_tree<most_free> shares;  // of the cells' device values, widened
    box_tree<3> surface_boxes;
    box<3> colours{};  // of all points
};

// Makes a model, but for the costs of its points.
tiling_result build_model(const pair_list &pairs, model &made) noexcept;

// Weighs the points' device values.
void set_costs(const double *cost, model &m) noexcept;

// False when memory is short. The points are in Z order.
bool merge_pairs(const pair_list &pairs, point_list &points) noexcept;

// False when memory is short.
bool find_surface(const tiles &cells, const point_list &points, surface &found) noexcept;

// A point of the model's surface, by its triangle and weights.
struct surface_place {
    int triangle = 0;
    double square = 0.0;  // of the distance
    double weight[3] = {};
    vec3 point{};
};

// The nearest place of the surface; the lowest triangle of equals. q is not farther than 1e13 away.
surface_place nearest_place(const model &m, const vec3 &q) noexcept;

// ---- Cells that reach a colour --------------------------------------------------------------------------------------

// The weights of a cell's corners that give a colour: all those from one end to the other. The ends are the same where
// the cell has no choice.
struct answers {
    int cell;
    double weight[2][most_corners];
};

// Whether a cell reaches a colour; `found` is then written.
bool reaches(const model &m, int cell, const vec3 &q, answers &found) noexcept;

// Whether any does.
bool is_inside(const model &m, const vec3 &q) noexcept;

// A cell with weights of its corners.
struct mixture {
    int cell = -1;  // none
    double weight[most_corners] = {};
};

// The answer of the rule for a colour: costs as the points have them.
mixture choose(const model &m, const vec3 &q, double place) noexcept;

// The cell in which device values lie, given as parts of the range, and their weights there.
mixture locate(const model &m, const double *share) noexcept;

// Negative weights become 0, the sum 1.
void settle(double *weight, int count) noexcept;

}  // namespace teska::cloud

#endif
