// determinism - prints one hash per operation, or compares them with a file
//
//     determinism                        print the hashes
//     determinism --write FILE           write them
//     determinism --check FILE           compare: exit code 1 and a line per difference
//     determinism ... --level avx2       use no instruction set above this one; 77 when the processor lacks
//     it

#include "determinism/operations.h"

#include "Kernels/kernels.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

namespace teska_test
{

namespace
{

std::vector<Operation> &registry()
{
    static std::vector<Operation> operations;
    return operations;
}

std::uint64_t seed_of(const std::string &name)
{
    Digest digest;
    digest.add(name.data(), name.size());
    return digest.value();
}

}  // namespace

Operation::Operation(const char *name, Run run) : name_(name), run_(run) { registry().push_back(*this); }

std::uint64_t Operation::digest() const
{
    Generator input(seed_of(name_));
    Digest digest;
    run_(input, digest);
    return digest.value();
}

const std::vector<Operation> &Operation::all() { return registry(); }

}  // namespace teska_test

namespace
{

using Hashes = std::map<std::string, std::string>;  // by operation

constexpr int exit_skipped = 77;

Hashes compute()
{
    Hashes hashes;
    for (const teska_test::Operation &operation : teska_test::Operation::all()) {
        char text[17];
        std::snprintf(text, sizeof text, "%016" PRIx64, operation.digest());
        hashes[operation.name()] = text;
    }
    return hashes;
}

// A line is a hash, a blank and the operation.
Hashes read(const char *path)
{
    std::ifstream file(path);
    Hashes hashes;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.size() > 17)
            hashes[line.substr(17)] = line.substr(0, 16);
    }
    return hashes;
}

std::string format(const Hashes &hashes)
{
    std::ostringstream text;
    for (const auto &[name, hash] : hashes)
        text << hash << ' ' << name << '\n';
    return text.str();
}

int check(const Hashes &computed, const Hashes &kept)
{
    int differences = 0;
    const auto differs = [&](const std::string &name, const char *was, const char *is) {
        std::printf("%s: file %s, here %s\n", name.c_str(), was, is);
        ++differences;
    };
    for (const auto &[name, hash] : computed) {
        const auto entry = kept.find(name);
        if (entry == kept.end())
            differs(name, "lacks it", hash.c_str());
        else if (entry->second != hash)
            differs(name, entry->second.c_str(), hash.c_str());
    }
    for (const auto &[name, hash] : kept)
        if (!computed.contains(name))
            differs(name, hash.c_str(), "not run");
    std::printf("%zu operations, %d differences\n", computed.size(), differences);
    return differences == 0 && !computed.empty() ? 0 : 1;
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
    const char *names[] = {"scalar", "sse41", "avx2", "avx512"};
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
    const Hashes hashes = compute();
    if (const char *path = option(argc, argv, "--check"))
        return check(hashes, read(path));
    if (const char *path = option(argc, argv, "--write")) {
        std::ofstream(path, std::ios::binary) << format(hashes);
        return 0;
    }
    std::fputs(format(hashes).c_str(), stdout);
    return 0;
}
