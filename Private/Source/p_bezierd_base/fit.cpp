// p_bezierd_base/fit - a chain of cubics near a row of points (curves)
//
//     row of points -> corners -> runs -> pieces: fitted, or divided at the farthest point
//
// The ends of the pieces that are still to be fitted form a chain through the points (`pending`), so that dividing
// takes no memory and no recursion: the piece in work always begins where the last segment ended.
//
//     fitted ....... start of the piece --- its end -- pending --> end of the next one -- pending --> end of the row
//
// Inside, coordinates are in units of a power of two near the largest of them. The points of a closed row have indices
// beyond its ends too: index count is the first point again, -1 the last one.

#include "Source/p_bezierd_base/chain.h"
#include "Support/report.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <utility>

using teska::chain_segment;
using teska::owned_chain;
using teska::vec2;

namespace
{

constexpr int most_passes = 20;
constexpr double least_gain = 0.99;     // of the largest distance, for another pass
constexpr double least_tangent = 1e-6;  // of the chord
constexpr double singular = 1e-12;      // of the product of the diagonal
constexpr double corner_window = 4.0;   // of the error bound

struct fit_point {
    vec2 at;
    double way;   // along the row from the first point
    double t;     // parameter in the piece in work
    double bend;  // tangent of half the angle by which the row turns here
    int given;    // number among the caller's points
    int pending;  // where the piece after the one that ends here ends
};

// The tangent of half an angle of 0 .. 180 degrees, to the last digits, by + - * / alone.
double half_tangent(double degrees)
{
    if (degrees >= 180.0)
        return HUGE_VAL;
    // Sine and cosine of a quarter, at most pi / 4, by their series.
    const double x = degrees / 4.0 * (3.141592653589793 / 180.0), square = x * x;
    double sine = 1.0, cosine = 1.0;
    for (int k = 18; k >= 2; k -= 2) {
        sine = 1.0 - sine * square / (k * (k + 1));
        cosine = 1.0 - cosine * square / (k * (k - 1));
    }
    const double quarter = x * sine / cosine;
    return 2.0 * quarter / ((1.0 - quarter) * (1.0 + quarter));
}

vec2 unit_vector(const vec2 &v)
{
    const double size = teska::any_length(v);
    return size > 0.0 ? v / size : vec2{0.0, 0.0};
}

double half_tangent(const vec2 &from, const vec2 &to)
{
    const vec2 a = unit_vector(from), b = unit_vector(to);
    const double sum = 1.0 + dot(a, b);
    return sum > 0.0 ? std::fabs(cross(a, b)) / sum : HUGE_VAL;
}

class row_of_points
{
public:
    // False when memory is short.
    bool make(int n, const double *xs, const double *ys, bool closed)
    {
        points_ = teska::zeroed_block<fit_point>(static_cast<std::size_t>(n));
        if (!points_)
            return false;
        double largest = 0.0;
        for (int i = 0; i < n; ++i)
            largest = std::max({largest, std::fabs(xs[i]), std::fabs(ys[i])});
        unit_ = teska::binade(largest);
        closed_ = closed;
        for (int i = 0; i < n; ++i)
            if (count_ == 0 || !same(xs, ys, i, points_[count_ - 1].given)) {
                points_[count_].given = i;
                points_[count_++].at = {xs[i] / unit_, ys[i] / unit_};
            }
        if (closed && count_ > 1 && same(xs, ys, points_[count_ - 1].given, 0))
            --count_;
        measure();
        return true;
    }

    [[nodiscard]] int count() const { return count_; }
    [[nodiscard]] double unit() const { return unit_; }
    // The last index of the row: of a closed one that of the first point again.
    [[nodiscard]] int last() const { return closed_ ? count_ : count_ - 1; }

    [[nodiscard]] fit_point &operator[](int i) const
    {
        return points_[i < 0 ? i + count_ : i < count_ ? i : i - count_];
    }
    [[nodiscard]] const vec2 &at(int i) const { return (*this)[i].at; }
    [[nodiscard]] double way(int i) const
    {
        const double round = i < 0 ? -around_ : i < count_ ? 0.0 : around_;
        return (*this)[i].way + round;
    }

    // How far the neighbours of i go: not beyond the ends, nor round to i itself.
    [[nodiscard]] int first_before(int i) const { return closed_ ? i - count_ + 1 : 0; }
    [[nodiscard]] int last_after(int i) const { return closed_ ? i + count_ - 1 : count_ - 1; }

    // The direction from i to the nearest point at least `window` away along the row, up to index `limit`.
    [[nodiscard]] vec2 direction(int i, int limit, double window) const
    {
        const int step = limit > i ? 1 : -1;
        int to = i + step;
        while (to != limit && std::fabs(way(to) - way(i)) < window)
            to += step;
        const vec2 v = unit_vector(at(to) - at(i));
        // Where the row comes back to the point.
        return v.x != 0.0 || v.y != 0.0 ? v : unit_vector(at(i + step) - at(i));
    }

    // Finds `bend` of all points but the ends of an open row, in one sweep.
    void bend(double window) const
    {
        int b = first_before(0), f = 0;
        for (int i = closed_ ? 0 : 1; i < (closed_ ? count_ : count_ - 1); ++i) {
            b = std::max(b, first_before(i));
            while (b + 1 < i && way(i) - way(b + 1) >= window)
                ++b;
            f = std::max(f, i + 1);
            while (f < last_after(i) && way(f) - way(i) < window)
                ++f;
            (*this)[i].bend = half_tangent(at(i) - at(b), at(f) - at(i));
        }
    }

    [[nodiscard]] bool is_corner(int i, double least, double window) const
    {
        if (!((*this)[i].bend > least))
            return false;
        for (int j = i - 1; j >= first_before(i) && way(i) - way(j) <= window; --j)
            if (outdoes(j, i))
                return false;
        for (int j = i + 1; j <= last_after(i) && way(j) - way(i) <= window; ++j)
            if (outdoes(j, i))
                return false;
        return true;
    }

private:
    static bool same(const double *xs, const double *ys, int i, int j) { return xs[i] == xs[j] && ys[i] == ys[j]; }

    // A larger bend, or the same at a point with a lower index.
    [[nodiscard]] bool outdoes(int j, int i) const
    {
        const fit_point &other = (*this)[j], &self = (*this)[i];
        return other.bend > self.bend || (other.bend == self.bend && other.given < self.given);
    }

    void measure()
    {
        for (int i = 1; i < count_; ++i)
            points_[i].way = points_[i - 1].way + teska::any_length(points_[i].at - points_[i - 1].at);
        around_ = points_[count_ - 1].way + teska::any_length(points_[0].at - points_[count_ - 1].at);
    }

    teska::heap_block<fit_point> points_;
    int count_ = 0;
    bool closed_ = false;
    double unit_ = 1.0;
    double around_ = 0.0;  // the way round a closed row
};

struct cubic_of_piece {
    double a, b;      // lengths of the tangents
    double distance;  // the largest of a point
    int worst;        // which it is
};

// One piece of a run, from point `first` to point `last`, with its tangents.
class piece_fit
{
public:
    piece_fit(const row_of_points &row, int first, int last, const vec2 &start, const vec2 &end)
        : row_(row), first_(first), last_(last), start_(start), end_(end), p0_(row.at(first)), p3_(row.at(last)),
          chord_(teska::any_length(p3_ - p0_))
    {
    }

    // The best cubic that is found before one is within the bound.
    [[nodiscard]] cubic_of_piece fit(double bound) const
    {
        if (last_ - first_ == 1)
            return {.a = chord_ / 3.0, .b = chord_ / 3.0, .distance = 0.0, .worst = first_};
        const double way = row_.way(first_), whole = row_.way(last_) - way;
        for (int i = first_ + 1; i < last_; ++i)
            row_[i].t = whole > 0.0 ? (row_.way(i) - way) / whole : 0.5;
        cubic_of_piece best = least_squares();
        improve(best);
        double before = best.distance;
        for (int pass = 0; pass < most_passes && best.distance > bound; ++pass) {
            cubic_of_piece next = least_squares();
            improve(next);
            if (next.distance < best.distance)
                best = next;
            if (next.distance > least_gain * before)
                break;
            before = next.distance;
        }
        return best;
    }

    [[nodiscard]] vec2 p1(const cubic_of_piece &cubic) const { return p0_ + cubic.a * start_; }
    [[nodiscard]] vec2 p2(const cubic_of_piece &cubic) const { return p3_ + cubic.b * end_; }

private:
    // a and b for the parameters as they are.
    [[nodiscard]] cubic_of_piece least_squares() const
    {
        double s11 = 0.0, s12 = 0.0, s22 = 0.0;
        vec2 r1 = {0.0, 0.0}, r2 = {0.0, 0.0};
        for (int i = first_ + 1; i < last_; ++i) {
            const fit_point &point = row_[i];
            const teska::bernstein_weights b(3, point.t);
            const vec2 rest = point.at - ((b.w[0] + b.w[1]) * p0_ + (b.w[2] + b.w[3]) * p3_);
            s11 += b.w[1] * b.w[1];
            s12 += b.w[1] * b.w[2];
            s22 += b.w[2] * b.w[2];
            r1 = r1 + b.w[1] * rest;
            r2 = r2 + b.w[2] * rest;
        }
        s12 *= dot(start_, end_);
        const double x1 = dot(start_, r1), x2 = dot(end_, r2), determinant = s11 * s22 - s12 * s12;
        cubic_of_piece cubic{.a = chord_ / 3.0, .b = chord_ / 3.0, .distance = 0.0, .worst = first_ + 1};
        if (!(std::fabs(determinant) > singular * (s11 * s22)))
            return cubic;
        const double a = (x1 * s22 - x2 * s12) / determinant, b = (s11 * x2 - s12 * x1) / determinant;
        if (a < least_tangent * chord_ || b < least_tangent * chord_)
            return cubic;
        cubic.a = a;
        cubic.b = b;
        return cubic;
    }

    // Finds the farthest point and moves all parameters towards the nearest points of the cubic.
    void improve(cubic_of_piece &cubic) const
    {
        const vec2 p1 = this->p1(cubic), p2 = this->p2(cubic);
        const vec2 d0 = 3.0 * (p1 - p0_), d1 = 3.0 * (p2 - p1), d2 = 3.0 * (p3_ - p2);
        const vec2 e0 = 2.0 * (d1 - d0), e1 = 2.0 * (d2 - d1);
        double largest = -1.0;
        for (int i = first_ + 1; i < last_; ++i) {
            fit_point &point = row_[i];
            const double t = point.t, s = 1.0 - t;
            const teska::bernstein_weights b(3, t);
            const vec2 off = (b.w[0] * p0_ + b.w[1] * p1 + b.w[2] * p2 + b.w[3] * p3_) - point.at;
            const vec2 slope = s * s * d0 + 2.0 * s * t * d1 + t * t * d2;
            const double square = dot(off, off);
            if (square > largest) {
                largest = square;
                cubic.worst = i;
            }
            const double bend = dot(slope, slope) + dot(off, s * e0 + t * e1);
            if (bend > 0.0)
                point.t = std::clamp(t - dot(off, slope) / bend, 0.0, 1.0);
        }
        cubic.distance = std::sqrt(largest);
    }

    const row_of_points &row_;
    int first_;
    int last_;
    vec2 start_;
    vec2 end_;
    vec2 p0_;
    vec2 p3_;
    double chord_;
};

class fitter
{
public:
    fitter(const row_of_points &row, const double *xs, const double *ys, double max_error, double corner, bool closed)
        : row_(row), xs_(xs), ys_(ys), bound_(max_error / row.unit()), window_(corner_window * bound_),
          least_bend_(half_tangent(std::isnan(corner) ? 180.0 : std::max(corner, 0.0))), closed_(closed)
    {
    }

    // Empty when memory is short.
    [[nodiscard]] owned_chain fit()
    {
        chain_ = teska::make_chain(given(0));
        if (!chain_)
            return nullptr;
        row_.bend(window_);
        for (int first = 0; first < row_.last();) {
            int last = first + 1;
            while (last < row_.last() && !row_.is_corner(last, least_bend_, window_))
                ++last;
            if (!fit_run(first, last))
                return nullptr;
            first = last;
        }
        return std::move(chain_);
    }

private:
    [[nodiscard]] vec2 given(int i) const { return {xs_[row_[i].given], ys_[row_[i].given]}; }

    bool fit_run(int first, int last)
    {
        vec2 start = row_.direction(first, last, window_), end = row_.direction(last, first, window_);
        if (closed_ && !(row_[0].bend > least_bend_))
            smooth_joint(first, last, start, end);
        int from = first, to = last;
        for (;;) {
            const piece_fit piece(row_, from, to, from == first ? start : divided_tangent(from, 1),
                                  to == last ? end : divided_tangent(to, -1));
            const cubic_of_piece cubic = piece.fit(bound_);
            if (cubic.distance > bound_) {
                row_[cubic.worst].pending = to;
                to = cubic.worst;
            } else {
                if (!put(from, to, piece.p1(cubic), piece.p2(cubic)))
                    return false;
                if (to == last)
                    return true;
                from = to;
                to = row_[to].pending;
            }
        }
    }

    // Of the run that begins, or ends, at the start of a closed chain.
    void smooth_joint(int first, int last, vec2 &start, vec2 &end) const
    {
        if (first != 0 && last != row_.last())
            return;
        // The neighbouring run may be this one.
        int after = 1, before = row_.last() - 1;
        while (after < row_.last() && !row_.is_corner(after, least_bend_, window_))
            ++after;
        while (before > 0 && !row_.is_corner(before, least_bend_, window_))
            --before;
        const vec2 mean = unit_vector(row_.direction(0, after, window_) - row_.direction(row_.last(), before, window_));
        if (mean.x == 0.0 && mean.y == 0.0)
            return;
        if (first == 0)
            start = mean;
        if (last == row_.last())
            end = -1.0 * mean;
    }

    // Along the row (1) or against it (-1) from a point at which a run is divided.
    [[nodiscard]] vec2 divided_tangent(int i, int direction) const
    {
        const vec2 along = unit_vector(row_.at(i + 1) - row_.at(i - 1));
        if (along.x == 0.0 && along.y == 0.0)
            return unit_vector(row_.at(i + direction) - row_.at(i));
        return direction * along;
    }

    bool put(int from, int to, const vec2 &p1, const vec2 &p2) const
    {
        const auto held = [&](double value) { return std::clamp(value * row_.unit(), -DBL_MAX, DBL_MAX); };
        chain_segment segment{.degree = 3};
        segment.set(0, given(from));
        segment.set(1, {held(p1.x), held(p1.y)});
        segment.set(2, {held(p2.x), held(p2.y)});
        segment.set(3, given(to));
        return teska::chain_push(*chain_, segment);
    }

    const row_of_points &row_;
    const double *xs_;
    const double *ys_;
    double bound_;
    double window_;
    double least_bend_;
    bool closed_;
    owned_chain chain_;
};

}  // namespace

// ---- Life -----------------------------------------------------------------------------------------------------------

poly_bezier *poly_bezier_fit(int n, const double *xs, const double *ys, double max_error, double corner,
                             int closed) TESKA_NOTHROW
{
    if (!(max_error > 0.0) || std::isinf(max_error)) {
        TESKA_ERR("poly_bezier_fit: illegal error bound");
        return nullptr;
    }
    if (!teska::all_finite(xs, n) || !teska::all_finite(ys, n)) {
        TESKA_ERR("poly_bezier_fit: illegal point");
        return nullptr;
    }
    row_of_points row;
    owned_chain p;
    const bool made = n < 1 || row.make(n, xs, ys, closed != 0);
    if (made && row.count() < 2) {
        TESKA_ERR("poly_bezier_fit: too few points");
        return nullptr;
    }
    if (made)
        p = fitter(row, xs, ys, max_error, corner, closed != 0).fit();
    if (!p)
        TESKA_ERR("poly_bezier_fit: malloc failure");
    return p.release();
}
