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

namespace
{

using Hashes = std::map<std::string, std::string>;  // by operation

constexpr int exit_skipped = 77;

Hashes compute()
{
    Hashes hashes;
    for (const teska_test::Operation &operation : teska_test::Operation::all()) {
        char hash[17];
        std::snprintf(hash, sizeof hash, "%016" PRIx64, operation.digest());
        hashes[operation.name()] = hash;
    }
    return hashes;
}

Hashes read(const std::string &path)
{
    std::ifstream file(path);
    Hashes hashes;
    for (std::string hash, name; file >> hash && std::getline(file >> std::ws, name);)
        hashes[name.substr(0, name.find('\r'))] = hash;
    return hashes;
}

// Prints the lines that the others lack.
int differences(const char *side, const Hashes &hashes, const Hashes &others)
{
    int count = 0;
    for (const auto &[name, hash] : hashes)
        if (const auto other = others.find(name); other == others.end() || other->second != hash) {
            std::printf("%s: %s %s\n", side, hash.c_str(), name.c_str());
            ++count;
        }
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
    const Hashes hashes = compute();
    if (const std::string &path = options["--check"]; !path.empty()) {
        const Hashes kept = read(path);
        const int missed = differences("file", kept, hashes), added = differences("here", hashes, kept);
        std::printf("%zu operations, %d of the file differ, %d here\n", hashes.size(), missed, added);
        return missed + added == 0 && !hashes.empty() ? 0 : 1;
    }
    std::ofstream file;
    if (const std::string &path = options["--write"]; !path.empty())
        file.open(path, std::ios::binary);
    for (const auto &[name, hash] : hashes)
        (file.is_open() ? file : std::cout) << hash << ' ' << name << '\n';
    return 0;
}
