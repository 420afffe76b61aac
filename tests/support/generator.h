// generator - the same numbers on every machine, for tests, hashes and benchmarks

#ifndef TESKA_TESTS_GENERATOR_H
#define TESKA_TESTS_GENERATOR_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace teska_test
{

// SplitMix64 (Steele, Lea and Flood, Fast splittable pseudorandom number generators, OOPSLA 2014).
class Generator
{
public:
    explicit Generator(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next();
    std::uint8_t byte() { return static_cast<std::uint8_t>(next() >> 56); }
    int below(int limit) { return static_cast<int>(next() >> 33) % limit; }  // 0 .. limit - 1
    double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }    // 0 <= u < 1
    // Any value of an integer type.
    template <class T>
    void fill(T *first, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            first[i] = static_cast<T>(next() >> (64 - 8 * sizeof(T)));
    }
    double between(double lo, double hi) { return lo + unit() * (hi - lo); }

private:
    std::uint64_t state_;
};

// Under an emulator or with sanitizers (TESKA_SLOW): loops over much input that is alike take a part of it.
bool runs_slowly();

// FNV-1a over 64 bits: a digest of numbers by their bytes, of each number the lowest first, whatever the host's order.
class Digest
{
public:
    // Numbers, arrays of them, or records of nothing but numbers of one type, which is then named; with their size.
    template <class Number = void, class T>
    void add(const T *numbers, std::size_t size)
    {
        using Given = std::conditional_t<std::is_void_v<Number>, std::remove_all_extents_t<T>, Number>;
        static_assert(std::is_arithmetic_v<Given>);
        if constexpr (std::is_floating_point_v<Given>)
            if (coarse) {
                for (std::size_t i = 0; i < size / sizeof(Given); ++i)
                    put(six_digits(static_cast<double>(reinterpret_cast<const Given *>(numbers)[i])));
                return;
            }
        add_bytes(reinterpret_cast<const unsigned char *>(numbers), size, sizeof(Given));
    }

    // Floating-point numbers count by six digits only: where the C library has a part in them.
    static inline bool coarse = false;

    template <class Number, std::size_t n>
    void add(const std::array<Number, n> *numbers, std::size_t size)
    {
        add(numbers->data(), size);
    }

    // Whole numbers, arrays or vectors of them, one after the other.
    template <class... T>
    void put(const T &...numbers)
    {
        (add(&numbers, sizeof numbers), ...);
    }
    template <class... T>
    void put(const std::vector<T> &...numbers)
    {
        (add(numbers.data(), numbers.size() * sizeof(T)), ...);
    }

    [[nodiscard]] std::uint64_t value() const { return value_; }

private:
    static std::int64_t six_digits(double number);
    void add_bytes(const unsigned char *bytes, std::size_t size, std::size_t number_size);

    std::uint64_t value_ = 0xcbf29ce484222325U;
};

}  // namespace teska_test

#endif
