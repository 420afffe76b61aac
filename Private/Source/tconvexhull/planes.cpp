// tconvexhull/planes - the planes of all faces of a hull, and its core (geometry)
//
// Slots 0 .. count - 1 are in use. A face that goes leaves its slot to the last one; slots not in use hold a plane that
// no point is below, so that the kernels may read whole groups.

#include "Source/tconvexhull/planes.h"

#include "Kernels/kernels.h"

#include <cstdint>
#include <limits>

namespace teska
{

void core::start(const vec3 &half) noexcept
{
    half_ = half;
    per_half_ = {1.0 / half.x, 1.0 / half.y, 1.0 / half.z};
    box_ = ball_ = 0.0;
}

void core::cut(const vec3 &n, double d, double limit) noexcept
{
    // How far the value falls from the centre to the farthest corner of the box, and to the ellipsoid.
    const vec3 fall{std::fabs(n.x) * half_.x, std::fabs(n.y) * half_.y, std::fabs(n.z) * half_.z};
    const double box_fall = fall.x + fall.y + fall.z;
    const double ball_fall = length(fall);
    const double room = d > limit ? d - limit : 0.0;
    if (!(room > box_ * box_fall))
        box_ = room / box_fall;
    if (!(room > ball_ * ball_fall))
        ball_ = room / ball_fall;
}

void face_planes::start(const vec3 &centre, const vec3 &half, double limit) noexcept
{
    centre_ = centre;
    core_limit_ = limit;
    core_.start(half);
}

void face_planes::cut_core(std::ptrdiff_t slot) noexcept
{
    const double *const at = values_ + slot;
    core_.cut({at[0], at[room_], at[2 * room_]}, at[3 * room_], core_limit_);
}

void face_planes::fit_core() noexcept
{
    core_.fill();
    for (std::ptrdiff_t i = 0; i < count_; ++i)
        cut_core(i);
}

bool face_planes::grow() noexcept
{
    constexpr std::size_t line = 64;
    const std::ptrdiff_t room = room_ != 0 ? 2 * room_ : 8 * hull_planes::group;
    heap_block<double> block = zeroed_block<double>(4 * static_cast<std::size_t>(room) + line / sizeof(double));
    heap_block<hull_face *> owners = zeroed_block<hull_face *>(static_cast<std::size_t>(room));
    if (!block || !owners)
        return false;
    const std::size_t over = reinterpret_cast<std::uintptr_t>(block.get()) % line;
    double *const values = block.get() + (over != 0 ? (line - over) / sizeof(double) : 0);
    for (std::ptrdiff_t i = 0; i < count_; ++i) {
        owners[i] = owners_[i];
        for (int k = 0; k < 4; ++k)
            values[k * room + i] = values_[k * room_ + i];
    }
    values_ = values;
    block_.swap(block);
    owners_.swap(owners);
    room_ = room;
    for (std::ptrdiff_t i = count_; i < room; ++i)
        blank(i);
    return true;
}

void face_planes::set(std::ptrdiff_t slot, const vec3 &normal, double d) noexcept
{
    values_[slot] = normal.x;
    values_[room_ + slot] = normal.y;
    values_[2 * room_ + slot] = normal.z;
    values_[3 * room_ + slot] = d;
}

// What no point is below.
void face_planes::blank(std::ptrdiff_t slot) noexcept
{
    set(slot, {0.0, 0.0, 0.0}, std::numeric_limits<double>::infinity());
}

bool face_planes::add(hull_face *face) noexcept
{
    if (count_ == room_ && !grow())
        return false;
    const vec3 p = vec3_at(face->vertex[0]->v);
    // The normal points inwards: the volume grows to the inside.
    const vec3 normal = cross(vec3_at(face->vertex[2]->v) - p, vec3_at(face->vertex[1]->v) - p);
    set(count_, normal, -dot(normal, p - centre_));
    owners_[count_] = face;
    face->slot = count_++;
    for (tVertexStructure *const v : face->vertex)
        full(v)->face = face;
    cut_core(face->slot);
    return true;
}

void face_planes::remove(hull_face *face) noexcept
{
    if (face->slot < 0)
        return;
    const std::ptrdiff_t last = --count_;
    for (int k = 0; k < 4; ++k)
        values_[k * room_ + face->slot] = values_[k * room_ + last];
    owners_[face->slot] = owners_[last];
    owners_[last]->slot = face->slot;
    blank(last);
}

void face_planes::clear() noexcept
{
    while (count_ > 0)
        blank(--count_);
}

std::ptrdiff_t face_planes::first_below(std::ptrdiff_t from, const vec3 &point, double limit) const noexcept
{
    const std::ptrdiff_t filled = (count_ + hull_planes::group - 1) / hull_planes::group * hull_planes::group;
    const double *const x = values_;
    const hull_planes planes{x, x + room_, x + 2 * room_, x + 3 * room_, filled};
    const double at[3] = {point.x, point.y, point.z};
    const std::ptrdiff_t found = kernels().hull.first_below(planes, from, at, limit);
    return found < count_ ? found : count_;
}

}  // namespace teska
