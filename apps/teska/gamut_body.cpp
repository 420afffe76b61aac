// gamut_body - the body of colours that a device can show: the convex hull of what was measured or computed

#include "gamut_body.h"

#include "frame/failure.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <utility>

namespace tool
{

namespace
{

constexpr double unit = 1.0 / 1024;         // what the hull leaves out is far below what is told
constexpr double least_volume = 1;          // less is the noise of colours in a plane
constexpr double surface = 1e-6;            // what counts as on it
constexpr double cut_tolerance = 1e-9;      // what lies so near to a plane is not cut by it
constexpr double determinant_noise = 1e-9;  // of coordinates of some hundreds

lab_colour minus(const lab_colour &a, const lab_colour &b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

lab_colour cross(const lab_colour &a, const lab_colour &b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const lab_colour &a, const lab_colour &b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// The plane of a face; its normal points outwards and is twice as long as the area of the face.
struct plane {
    lab_colour point;
    lab_colour normal;
    double length;

    plane(const gamut_body &body, const std::array<int, 3> &face)
    {
        const auto corner = [&](std::size_t i) { return body.vertices()[static_cast<std::size_t>(face[i])]; };
        point = corner(0);
        normal = cross(minus(corner(1), point), minus(corner(2), point));
        length = std::sqrt(dot(normal, normal));
    }

    // Faces so small have no direction that counts.
    [[nodiscard]] bool has_direction() const { return length > 1e-7; }

    // Above 0 for points that lie outside by more than the distance; not a distance itself.
    [[nodiscard]] double above(const lab_colour &colour, double distance) const
    {
        return dot(normal, minus(colour, point)) - distance * length - determinant_noise;
    }
};

// A convex body as loops of vertices, which planes cut one after another. The loops stay closed and neighbours stay
// neighbours whatever rounding does, because each vertex is judged once and each edge is cut once.
class cut_body
{
public:
    explicit cut_body(const gamut_body &body) : vertices_(body.vertices())
    {
        for (const std::array<int, 3> &face : body.faces())
            loops_.push_back({face[0], face[1], face[2]});
    }

    void cut(const plane &by)
    {
        heights_.resize(vertices_.size());
        bool cuts = false;
        for (const std::vector<int> &loop : loops_)
            for (const int vertex : loop) {
                heights_[index(vertex)] = by.above(vertices_[index(vertex)], cut_tolerance);
                cuts = cuts || heights_[index(vertex)] > 0;
            }
        if (!cuts)
            return;
        crossings_.clear();
        lid_.clear();
        std::vector<std::vector<int>> kept;
        for (std::vector<int> &loop : loops_) {
            const std::vector<int> left = cut_loop(loop);
            if (left.size() >= 3)
                kept.push_back(left);
        }
        add_lids(kept);
        loops_ = std::move(kept);
    }

    // As the library computes the volume of a hull.
    [[nodiscard]] double volume() const
    {
        double sum = 0;
        const lab_colour &origin = loops_.empty() ? lab_colour() : vertices_[index(reference())];
        for (const std::vector<int> &loop : loops_)
            for (std::size_t i = 2; i < loop.size(); ++i) {
                const lab_colour first = minus(vertices_[index(loop[0])], origin);
                const lab_colour second = minus(vertices_[index(loop[i - 1])], origin);
                const lab_colour third = minus(vertices_[index(loop[i])], origin);
                sum += dot(first, cross(second, third));
            }
        return sum / 6;
    }

private:
    static std::size_t index(int vertex) { return static_cast<std::size_t>(vertex); }

    [[nodiscard]] bool is_above(int vertex) const { return heights_[index(vertex)] > 0; }

    [[nodiscard]] int reference() const
    {
        int least = loops_.front().front();
        for (const std::vector<int> &loop : loops_)
            least = std::min(least, *std::min_element(loop.begin(), loop.end()));
        return least;
    }

    // The part of a loop below the plane; where it leaves and comes back, the lid has the edge the other way round.
    std::vector<int> cut_loop(const std::vector<int> &loop)
    {
        std::vector<int> left;
        std::vector<std::pair<int, bool>> crossed;  // where, and whether it goes up there
        for (std::size_t i = 0; i < loop.size(); ++i) {
            const int from = loop[i];
            const int to = loop[(i + 1) % loop.size()];
            if (!is_above(from))
                left.push_back(from);
            if (is_above(from) != is_above(to)) {
                left.push_back(crossing(from, to));
                crossed.emplace_back(left.back(), is_above(to));
            }
        }
        for (std::size_t i = 0; i < crossed.size(); ++i)
            if (crossed[i].second)
                lid_[crossed[(i + 1) % crossed.size()].first] = crossed[i].first;
        return left;
    }

    int crossing(int from, int to)
    {
        const auto edge = std::minmax(from, to);
        const auto [found, is_new] = crossings_.try_emplace(edge, static_cast<int>(vertices_.size()));
        if (is_new) {
            const int low = is_above(from) ? to : from;
            const int high = is_above(from) ? from : to;
            const double below = -heights_[index(low)];
            const double part = below / (below + heights_[index(high)]);
            const lab_colour way = minus(vertices_[index(high)], vertices_[index(low)]);
            lab_colour point = vertices_[index(low)];
            for (std::size_t i = 0; i < 3; ++i)
                point[i] += part * way[i];
            vertices_.push_back(point);
        }
        return found->second;
    }

    void add_lids(std::vector<std::vector<int>> &kept)
    {
        while (!lid_.empty()) {
            std::vector<int> loop;
            for (auto edge = lid_.begin(); edge != lid_.end(); edge = lid_.find(loop.back())) {
                if (loop.empty())
                    loop.push_back(edge->first);
                loop.push_back(edge->second);
                lid_.erase(edge);
            }
            loop.pop_back();
            if (loop.size() >= 3)
                kept.push_back(loop);
        }
    }

    std::vector<lab_colour> vertices_;
    std::vector<std::vector<int>> loops_;
    std::vector<double> heights_;
    std::map<std::pair<int, int>, int> crossings_;  // of cut edges
    std::map<int, int> lid_;                        // edges of the lid, from and to
};

}  // namespace

gamut_body::gamut_body(const std::string &file, const std::vector<lab_colour> &colours) : hull_(convex_hull_new())
{
    constexpr const char *no_volume = "its colours span no volume";
    if (colours.size() < 4)
        throw failure(file, no_volume);
    if (!hull_ || convex_hull_set_unit(hull_.get(), unit) != 0 ||
        convex_hull_add_points(hull_.get(), colours.data()->data(), static_cast<int>(colours.size())) != 0)
        throw failure(file, "not enough memory");
    if (convex_hull_construct(hull_.get()) != 0 || std::abs(volume()) < least_volume)
        throw failure(file, no_volume);
    vertices_.resize(static_cast<std::size_t>(convex_hull_get_nr_vertices(hull_.get())));
    for (std::size_t i = 0; i < vertices_.size(); ++i)
        convex_hull_get_vertex(hull_.get(), static_cast<int>(i), vertices_[i].data(), nullptr);
    faces_.resize(static_cast<std::size_t>(convex_hull_get_nr_faces(hull_.get())));
    for (std::size_t i = 0; i < faces_.size(); ++i)
        convex_hull_get_face(hull_.get(), static_cast<int>(i), faces_[i].data());
}

lab_colour gamut_body::facing(const std::array<int, 3> &face) const
{
    const plane side(*this, face);
    lab_colour parts = {0.5, 0.5, 0.5};
    for (std::size_t i = 0; side.has_direction() && i < 3; ++i)
        parts[i] = (side.normal[i] / side.length + 1) / 2;
    return parts;
}

bool gamut_body::inside(const lab_colour &colour) const
{
    return std::none_of(faces_.begin(), faces_.end(), [&](const std::array<int, 3> &face) {
        const plane side(*this, face);
        return side.has_direction() && side.above(colour, surface) > 0;
    });
}

lab_colour gamut_body::nearest(const lab_colour &colour) const
{
    lab_colour found = colour;
    if (!inside(colour))
        convex_hull_nearest(hull_.get(), colour.data(), found.data(), nullptr, nullptr, nullptr);
    return found;
}

std::optional<std::array<double, 2>> gamut_body::reach(double lightness, double b) const
{
    std::array<double, 2> found = {-1e9, 1e9};
    for (const std::array<int, 3> &face : faces_) {
        const plane limit(*this, face);
        if (!limit.has_direction())
            continue;
        const double height = limit.above({lightness, 0, b}, surface);
        if (std::abs(limit.normal[1]) <= 1e-12 * limit.length) {
            if (height > 0)
                return std::nullopt;
        } else if (limit.normal[1] > 0) {
            found[1] = std::min(found[1], -height / limit.normal[1]);
        } else {
            found[0] = std::max(found[0], -height / limit.normal[1]);
        }
    }
    return found[0] <= found[1] ? std::optional(found) : std::nullopt;
}

double shared_volume(const gamut_body &first, const gamut_body &second)
{
    cut_body left(first);
    for (const std::array<int, 3> &face : second.faces())
        if (const plane side(second, face); side.has_direction())
            left.cut(side);
    return left.volume();
}

}  // namespace tool
