// nearest_measure - how far a point is from triangles: the arithmetic, for one triangle or as many as a vector holds
//
// The longest side of a triangle, its bottom, is b and runs from base to end; h is the height on it, and the apex lies
// at base + l = base + slant b + h. A point q is first reduced along b and then along h, one after the other as in an
// orthogonalisation:
//
//                   apex
//                 . |  .                 f = q - base,  s = f . b / b^2,  g = f - s b
//               .   |h   .               y = g . h / h^2
//         base ------------- end         weights: apex y, end s - slant y, base what is left
//
// Where no weight is below 0 the foot of the perpendicular lies in the triangle and is the answer, else the nearest
// point of the sides. Every reduction is off by a few units in the last place of the coordinates, also in the flattest
// triangle: an error d of the foot in its plane takes it no farther than d^2 / (2 distance) from q, and d is within the
// height or of the order of distance / height. So the distance found is the least one but for some 1e-15 of the
// coordinates, without any tolerance. A triangle that is a segment or a point has no height, or one that rounding made,
// and its sides answer.
//
// Everything is relative to the base: at a corner the distance is exactly 0.

#ifndef TESKA_NEAREST_MEASURE_H
#define TESKA_NEAREST_MEASURE_H

namespace teska
{

namespace
{

// Doubles by themselves, under the names of the vectors.
struct single_doubles {
    using vector = double;
    using mask = bool;
    static constexpr int lanes = 1;

    static vector all(double value) noexcept { return value; }
    static vector load(const double *at) noexcept { return *at; }
    static void store(double *at, vector a) noexcept { *at = a; }
    static vector min(vector a, vector b) noexcept { return a < b ? a : b; }
    static vector max(vector a, vector b) noexcept { return a > b ? a : b; }
    static mask below(vector a, vector b) noexcept { return a < b; }
    static mask either(mask a, mask b) noexcept { return a || b; }
    static vector choose(mask which, vector yes, vector no) noexcept { return which ? yes : no; }
};

template <class Isa>
struct vec3_of {
    using number = typename Isa::vector;
    number x, y, z;

    friend vec3_of operator-(const vec3_of &a, const vec3_of &b) noexcept { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend vec3_of operator*(number s, const vec3_of &a) noexcept { return {s * a.x, s * a.y, s * a.z}; }
    friend number dot(const vec3_of &a, const vec3_of &b) noexcept { return a.x * b.x + a.y * b.y + a.z * b.z; }
};

// What triangles are asked with.
template <class Isa>
struct triangle_frame {
    using number = typename Isa::vector;
    vec3_of<Isa> base;
    vec3_of<Isa> bottom;
    vec3_of<Isa> left;  // from base to apex
    vec3_of<Isa> height;
    number slant;
    number per_bottom;  // 1 / square of the length; 0 for a side without one
    number per_left;
    number per_right;  // from apex to end
    number per_height;
};

template <class Isa>
struct triangle_measure {
    using number = typename Isa::vector;
    number at_apex, at_base, at_end;               // weights of the foot
    number along_bottom, along_left, along_right;  // 0 .. 1 from base, base, apex
    number foot, bottom, left, right;              // squares of the distances
    typename Isa::mask beside;                     // the foot is not in the triangle

    triangle_measure(const triangle_frame<Isa> &t, const vec3_of<Isa> &q) noexcept
    {
        const number zero = Isa::all(0.0);
        const vec3_of<Isa> from = q - t.base;
        const number s = dot(from, t.bottom) * t.per_bottom;
        const vec3_of<Isa> across = from - s * t.bottom;
        at_apex = dot(across, t.height) * t.per_height;
        at_end = s - at_apex * t.slant;
        at_base = (Isa::all(1.0) - at_end) - at_apex;
        beside =
            Isa::either(Isa::either(Isa::below(at_apex, zero), Isa::below(at_end, zero)), Isa::below(at_base, zero));
        foot = square(across - at_apex * t.height);

        along_bottom = within(s);
        bottom = square(from - along_bottom * t.bottom);
        along_left = within(dot(from, t.left) * t.per_left);
        left = square(from - along_left * t.left);
        const vec3_of<Isa> right_side = t.bottom - t.left;
        const vec3_of<Isa> from_apex = from - t.left;
        along_right = within(dot(from_apex, right_side) * t.per_right);
        right = square(from_apex - along_right * right_side);
    }

    [[nodiscard]] number nearest() const noexcept
    {
        return Isa::choose(beside, Isa::min(Isa::min(bottom, left), right), foot);
    }

private:
    static number within(number t) noexcept { return Isa::min(Isa::max(t, Isa::all(0.0)), Isa::all(1.0)); }
    static number square(const vec3_of<Isa> &a) noexcept { return dot(a, a); }
};

}  // namespace

}  // namespace teska

#endif
