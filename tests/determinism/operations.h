// operations - what the same-bits program runs
//
// Each operation works on generated input and adds every byte of its results to a digest. The digests are checked in
// (tests/data/hashes.txt) and must come out alike on every compiler, host and instruction set.
//
//     const Operation tree("TQuadTree, points and boxes", [](Generator &input, Digest &digest) { ... });

#ifndef TESKA_TESTS_OPERATIONS_H
#define TESKA_TESTS_OPERATIONS_H

#include "support/generator.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace teska_test
{

class Operation
{
public:
    using Run = std::function<void(Generator &input, Digest &digest)>;
    using Make = std::function<Run(Generator &input)>;

    // Registers itself; the generator's seed comes from the name. Makes one object, and what runs does not change it:
    // any number of threads may run it at once.
    Operation(std::string name, Make make, bool one_object = true)
        : name_(std::move(name)), make_(std::move(make)), one_object_(one_object)
    {
        all().push_back(*this);
    }
    Operation(std::string name, Run run)
        : Operation(
              std::move(name), [run](Generator &) { return run; }, false)
    {
    }

    const std::string &name() const { return name_; }
    std::uint64_t digest() const
    {
        Generator input = seeded();
        Digest digest;
        make_(input)(input, digest);
        return digest.value();
    }
    // Runs on a new object, the same each time; empty when the operation has none.
    Run on_one_object() const
    {
        Generator input = seeded();
        return one_object_ ? make_(input) : nullptr;
    }

    static std::vector<Operation> &all()
    {
        static std::vector<Operation> operations;
        return operations;
    }

private:
    Generator seeded() const
    {
        Digest digest;
        digest.add(name_.data(), name_.size());
        return Generator(digest.value());
    }

    std::string name_;
    Make make_;
    bool one_object_;
};

// An object that goes with its last user.
template <class Object, class Kill>
std::shared_ptr<Object> shared(Object *object, Kill kill)
{
    return {object, kill};
}

using Values = std::vector<double>;

inline Values between(Generator &input, int count, double lo = -1, double hi = 1)
{
    Values values;
    for (int i = 0; i < count; ++i)
        values.push_back(input.between(lo, hi));
    return values;
}

}  // namespace teska_test

#endif
