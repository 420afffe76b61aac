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

Operation::Operation(const char *name, void (*run)(Generator &input, Digest &digest)) : name_(name), run_(run)
{
    registry().push_back(*this);
}

Operation::Operation(const char *name, Run (*make)(Generator &input)) : name_(name), make_(make)
{
    registry().push_back(*this);
}

std::uint64_t Operation::digest() const
{
    Generator input(seed_of(name_));
    Digest digest;
    const Run run = make_ != nullptr ? make_(input) : run_;
    run(input, digest);
    return digest.value();
}

Operation::Run Operation::on_one_object() const
{
    Generator input(seed_of(name_));
    return make_ != nullptr ? make_(input) : nullptr;
}

const std::vector<Operation> &Operation::all() { return registry(); }

}  // namespace teska_test
