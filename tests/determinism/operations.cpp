#include "determinism/operations.h"

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
