// target - what the targets of this folder share: a check, an input that is taken piece by piece, files in memory

#ifndef TESKA_TESTS_TARGET_H
#define TESKA_TESTS_TARGET_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
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

    // In memory of its own, so that reading past the end is noticed.
    std::vector<char> bytes(int count)
    {
        std::vector<char> taken(static_cast<std::size_t>(count > 1 ? count : 1));  // null would mean something else
        taken.resize(static_cast<std::size_t>(count));
        for (char &one : taken)
            one = static_cast<char>(byte());
        return taken;
    }
};

}  // namespace fuzz

#endif
