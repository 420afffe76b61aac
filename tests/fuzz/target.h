// target - what the targets of this folder share: a check, an input that is taken piece by piece, files in memory

#ifndef TESKA_TESTS_TARGET_H
#define TESKA_TESTS_TARGET_H

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace fuzz
{

// A hunter keeps the input that ends it.
inline void expect(bool holds, int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "What line %d expects does not hold\n", line);
    std::abort();
}

// Whether inputs come by the thousand: what takes ten times as long as the rest is then done for some of them.
#ifdef TESKA_CORPUS
extern bool in_bulk;
#else
inline constexpr bool in_bulk = true;
#endif

// Folders of tests made from now on are in memory, where the host has a place for that.
inline void work_in_memory()
{
#if !defined(_WIN32)
    if (std::filesystem::is_directory("/dev/shm"))
        setenv("TEST_TMPDIR", "/dev/shm", 0);
#endif
}

// Bytes that are missing are zero.
struct Input {
    const std::uint8_t *at;
    std::size_t left;

    int byte() { return left > 0 ? --left, *at++ : 0; }
    int below(int limit) { return byte() % limit; }

    // In memory of its own, so that reading past the end is noticed.
    template <class T = char>
    std::vector<T> bytes(int count)
    {
        std::vector<T> taken(static_cast<std::size_t>(count > 1 ? count : 1));  // null would mean something else
        taken.resize(static_cast<std::size_t>(count));
        for (T &byte_taken : taken)
            byte_taken = static_cast<T>(byte());
        return taken;
    }

    template <class T>
    T raw()
    {
        T value;
        const std::vector<unsigned char> own = bytes<unsigned char>(sizeof value);
        std::memcpy(&value, own.data(), sizeof value);
        return value;
    }

    // -5 .. 94 as a rule, or any number.
    int integer()
    {
        static const int ends[] = {INT_MIN, INT_MIN + 1, -65536, 255, 256, 65535, 65536, INT_MAX - 1, INT_MAX};
        const int kind = byte();
        return kind < 240 ? kind % 100 - 5 : kind < 249 ? ends[kind - 240] : raw<int>();
    }

    // A whole number of -100 .. 99 as a rule, or any number.
    double number()
    {
        using limits = std::numeric_limits<double>;
        static const double odd[] = {limits::quiet_NaN(),
                                     limits::infinity(),
                                     -limits::infinity(),
                                     limits::max(),
                                     -limits::max(),
                                     limits::min(),
                                     limits::denorm_min(),
                                     -0.0,
                                     limits::epsilon(),
                                     1 + limits::epsilon(),
                                     1.0 / 3,
                                     0.1,
                                     1e-5,
                                     1e100,
                                     -1e16,
                                     0.5};
        const int kind = byte();
        return kind < 200   ? kind - 100
               : kind < 216 ? odd[kind - 200]
               : kind < 236 ? (kind - 216) / 20.0
                            : raw<double>();
    }

    std::vector<double> numbers(int count)
    {
        std::vector<double> taken(static_cast<std::size_t>(count));
        for (double &value : taken)
            value = number();
        return taken;
    }
};

}  // namespace fuzz

#endif
