// determinants - of differences of lattice points, in doubles and exactly

#ifndef TESKA_CLG_DETERMINANTS_H
#define TESKA_CLG_DETERMINANTS_H

#include "Source/clg/tiling.h"
#include "Source/clg/wide.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace teska::cloud
{

// How many bits a number has.
constexpr auto members = [] {
    std::array<std::uint8_t, 1 << most_corners> count{};
    for (std::size_t i = 1; i < count.size(); ++i)
        count[i] = static_cast<std::uint8_t>(count[i / 2] + i % 2);
    return count;
}();

// q of a difference; exact in 64-bit integers and in doubles.
template <int D, class Number>
Number lifted(const Number *v)
{
    Number squares = 0, sum = 0;
    for (int j = 0; j < D; ++j) {
        squares += v[j] * v[j];
        sum += v[j];
    }
    return 16 * squares - sum * sum;
}

// The vector at right angles to K - 1 vectors of K numbers: its product with v is the determinant of these rows and v.
template <int K>
void normal_of(const double (&rows)[most_free][K], double *normal)
{
    if constexpr (K == 1) {
        normal[0] = 1.0;
    } else if constexpr (K == 2) {
        normal[0] = -rows[0][1];
        normal[1] = rows[0][0];
    } else {
        // Minors of the rows from the last one up, by their columns as bits.
        double minor[1 << K];
        for (int a = 0; a < K; ++a)
            minor[1 << a] = rows[K - 2][a];
        for (int m = 2; m < K; ++m) {
            const double *const row = rows[K - 1 - m];
            for (int set = (1 << m) - 1; set < 1 << K; ++set) {
                if (members[static_cast<unsigned>(set)] != m)
                    continue;
                double sum = 0.0, alternating = 1.0;
                for (int a = 0; a < K; ++a)
                    if ((set >> a & 1) != 0) {
                        sum += alternating * row[a] * minor[set ^ (1 << a)];
                        alternating = -alternating;
                    }
                minor[set] = sum;
            }
        }
        constexpr int all = (1 << K) - 1;
        for (int a = 0; a < K; ++a)
            normal[a] = ((K - 1 + a) % 2 == 0 ? 1.0 : -1.0) * minor[all ^ (1 << a)];
    }
}

// The sign of the determinant of R rows whose first columns are coordinates; with Lifted the last one is q. Minors are
// made of the leading columns, by their rows as bits: three columns stay below 2^51, four below 2^69.
template <int R, bool Lifted>
int exact_sign(const std::int64_t (&rows)[most_corners][most_corners])
{
    constexpr int columns = Lifted ? R - 1 : R;
    constexpr int narrow_columns = std::min(columns, 3);
    std::int64_t narrow[1 << R] = {};
    wide minor[1 << R];
    for (int r = 0; r < R; ++r)
        narrow[1 << r] = rows[r][0];
    for (int m = 2; m <= R; ++m)
        for (int set = (1 << m) - 1; set < 1 << R; ++set) {
            if (members[static_cast<unsigned>(set)] != m)
                continue;
            // Along column m - 1, from the last row of the set up.
            std::int64_t narrow_sum = 0;
            wide sum;
            bool negative = false;
            for (int r = R - 1; r >= 0; --r) {
                if ((set >> r & 1) == 0)
                    continue;
                const std::int64_t entry = negative ? -rows[r][m - 1] : rows[r][m - 1];
                const int rest = set ^ (1 << r);
                if (m <= narrow_columns)
                    narrow_sum += entry * narrow[rest];
                else if (m == narrow_columns + 1)
                    sum = sum + product(entry, narrow[rest]);
                else
                    sum = sum + product(minor[rest], entry);
                negative = !negative;
            }
            narrow[set] = narrow_sum;
            minor[set] = sum;
        }
    constexpr int all = (1 << R) - 1;
    if constexpr (R <= narrow_columns)
        return (narrow[all] > 0 ? 1 : 0) - (narrow[all] < 0 ? 1 : 0);
    else
        return sign(minor[all]);
}

}  // namespace teska::cloud

#endif
