#include "rdither.h"

#include "support/test.h"

TEST(RditherNew, KeptHoldsWhatWholeNumbersGive)
{
    const int matrix[] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
    const std::pair<int, int> sizes[] = {{1, 0}, {4, 1}, {16, 1}, {255, 15}, {255, 254}, {65535, 3}, {65535, 65534}};
    for (const auto &[n, m] : sizes) {
        const std::unique_ptr<rdither, int (*)(rdither *)> table(
            rdither_new(static_cast<unsigned>(n), static_cast<unsigned>(m)), rdither_kill);
        for (long long level = 0; level <= n; level += 1 + n / 500)
            for (unsigned p = 0; p < 16; ++p) {
                // f = g / n; rows and columns are asked for far out in the picture.
                const long long k = (2 * level * m + n) / (2 * n);
                const long long g = level * m - k * n;
                const long long d = matrix[p];
                const long long step = d * n < 16 * g ? 1 : -d * n > 16 * g ? -1 : 0;
                ASSERT_EQ(rdither_val(table.get(), UINT_MAX - 3 + p / 4, 400 + p % 4, static_cast<unsigned>(level)),
                          k + step)
                    << level << " of " << n << " to " << m << ", entry " << d;
            }
    }
}
