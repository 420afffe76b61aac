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
#include <cstring>
#include <fstream>
#include <iostream>

namespace
{

using Lines = std::vector<std::string>;  // a hash, a blank and the operation; by operation

constexpr int exit_skipped = 77;

Lines compute()
{
    Lines lines;
    for (const teska_test::Operation &operation : teska_test::Operation::all()) {
        char hash[18];
        std::snprintf(hash, sizeof hash, "%016" PRIx64 " ", operation.digest());
        lines.push_back(hash + operation.name());
    }
    std::sort(lines.begin(), lines.end(), [](const auto &a, const auto &b) { return a.substr(17) < b.substr(17); });
    return lines;
}

Lines read(const char *path)
{
    std::ifstream file(path);
    Lines lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line.substr(0, line.find('\r')));
    return lines;
}

// Prints the lines that the others lack.
int differences(const char *side, const Lines &lines, const Lines &others)
{
    int count = 0;
    for (const std::string &line : lines)
        if (std::find(others.begin(), others.end(), line) == others.end()) {
            std::printf("%s: %s\n", side, line.c_str());
            ++count;
        }
    return count;
}

int check(const Lines &computed, const Lines &kept)
{
    const int missed = differences("file", kept, computed);
    const int added = differences("here", computed, kept);
    std::printf("%zu operations, %d of the file differ, %d here\n", computed.size(), missed, added);
    return missed + added == 0 && !computed.empty() ? 0 : 1;
}

const char *option(int argc, char **argv, const char *name)
{
    for (int i = 1; i + 1 < argc; ++i)
        if (std::strcmp(argv[i], name) == 0)
            return argv[i + 1];
    return nullptr;
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
    if (const char *level = option(argc, argv, "--level"); level != nullptr && !limit_to(level)) {
        std::printf("skipped: this processor has no %s\n", level);
        return exit_skipped;
    }
    const Lines lines = compute();
    if (const char *path = option(argc, argv, "--check"))
        return check(lines, read(path));
    std::ofstream file;
    if (const char *path = option(argc, argv, "--write"))
        file.open(path, std::ios::binary);
    for (const std::string &line : lines)
        (file.is_open() ? file : std::cout) << line << '\n';
    return 0;
}
