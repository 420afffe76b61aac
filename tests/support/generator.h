// generator - the same numbers on every machine, for tests, hashes and benchmarks

#ifndef TESKA_TESTS_GENERATOR_H
#define TESKA_TESTS_GENERATOR_H

#include <cstddef>
#include <cstdint>

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
    double between(double lo, double hi) { return lo + unit() * (hi - lo); }

private:
    std::uint64_t state_;
};

// FNV-1a over 64 bits: a digest of a run of bytes.
class Digest
{
public:
    void add(const void *bytes, std::size_t count);
    [[nodiscard]] std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xcbf29ce484222325U;
};

}  // namespace teska_test

#endif
