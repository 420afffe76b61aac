// determinism - prints one hash per operation, or compares them with a file
//
//     determinism                        print the hashes
//     determinism --write FILE           write them
//     determinism --check FILE           compare: exit code 1 and a line per difference
//     determinism ... --level avx2       use no instruction set above this one; 77 when the processor lacks it

#include "Kernels/kernels.h"

#include "determinism/operations.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <set>

namespace
{

constexpr int exit_skipped = 77;

// "hash name", by name.
struct ByName {
    bool operator()(const std::string &a, const std::string &b) const { return a.substr(16) + a < b.substr(16) + b; }
};
using Lines = std::set<std::string, ByName>;

// Prints the lines that the others lack.
std::size_t differences(const char *side, const Lines &lines, const Lines &others)
{
    std::size_t count = 0;
    for (const std::string &line : lines)
        if (!others.contains(line) && ++count > 0)
            std::printf("%s: %s\n", side, line.c_str());
    return count;
}

// Returns false when the processor lacks the level; an unknown name is one it lacks.
bool limit_to(const std::string &level)
{
    const char *names[] = {"scalar", "v128", "avx2", "avx512"};
    const auto *at = std::find(std::begin(names), std::end(names), level);
    const auto wanted = static_cast<teska::simd_level>(at - names);
    if (at == std::end(names) || wanted > teska::simd_available())
        return false;
    teska::simd_limit(wanted);
    return true;
}

}  // namespace

int main(int argc, char **argv)
{
    std::map<std::string, std::string> options;
    for (int i = 1; i + 1 < argc; i += 2)
        options[argv[i]] = argv[i + 1];
    if (const std::string &level = options["--level"]; !level.empty() && !limit_to(level)) {
        std::printf("skipped: this processor has no %s\n", level.c_str());
        return exit_skipped;
    }
    Lines lines;
    for (const teska_test::Operation &operation : teska_test::Operation::all()) {
        char hash[17];
        std::snprintf(hash, sizeof hash, "%016" PRIx64, operation.digest());
        lines.insert(hash + (" " + operation.name()));
    }
    if (const std::string &path = options["--check"]; !path.empty()) {
        Lines kept;
        std::ifstream file(path);
        for (std::string line; std::getline(file, line) && line.size() > 16;)
            kept.insert(line.substr(0, line.find('\r')));
        const std::size_t missed = differences("file", kept, lines), added = differences("here", lines, kept);
        std::printf("%zu operations, %zu of the file differ, %zu here\n", lines.size(), missed, added);
        return missed + added == 0 && !lines.empty() ? 0 : 1;
    }
    std::ofstream file;
    if (const std::string &path = options["--write"]; !path.empty())
        file.open(path, std::ios::binary);
    for (const std::string &line : lines)
        (file.is_open() ? file : std::cout) << line << '\n';
    return 0;
}
