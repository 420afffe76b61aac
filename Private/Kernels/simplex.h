// simplex - what the kernels that interpolate over a simplex have in common
//
// A point of a cell has one fraction per dimension. In descending order they say along which dimension the path from
// the lower to the far corner of the cell steps next, and the weights of its N + 1 vertices are their differences.
//
// In an unnamed namespace on purpose: every kernel source gets a copy of its own, built for its instruction set.

#ifndef TESKA_SIMPLEX_H
#define TESKA_SIMPLEX_H

namespace teska
{

namespace
{

// Sorts n fractions in descending order and carries the strides along. Equal fractions keep their order.
template <class Fraction, class Stride>
inline void sort_descending(Fraction *fraction, Stride *stride, int n) noexcept
{
    for (int i = 1; i < n; ++i) {
        const Fraction f = fraction[i];
        const Stride s = stride[i];
        int k = i;
        for (; k > 0 && fraction[k - 1] < f; --k) {
            fraction[k] = fraction[k - 1];
            stride[k] = stride[k - 1];
        }
        fraction[k] = f;
        stride[k] = s;
    }
}

// Sorts n keys in descending order by exchanges in a fixed sequence; `order` puts the larger of two first. For N keys,
// or any number when N is 0. Keys may be vectors: then every lane is sorted by itself.
template <int N, class Key, class Order>
inline void sort_keys(Key *key, int n, Order order) noexcept
{
    if constexpr (N == 4) {
        order(key[0], key[1]);
        order(key[2], key[3]);
        order(key[0], key[2]);
        order(key[1], key[3]);
        order(key[1], key[2]);
    } else {
        for (int i = 1; i < (N != 0 ? N : n); ++i)
            for (int k = i; k > 0; --k)
                order(key[k - 1], key[k]);
    }
}

// Whether none of the output lines is to be skipped.
template <class Sample>
inline bool all_present(Sample *const *out, int outputs) noexcept
{
    for (int c = 0; c < outputs; ++c)
        if (out[c] == nullptr)
            return false;
    return true;
}

}  // namespace

}  // namespace teska

#endif
