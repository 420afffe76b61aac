// operations - what the same-bits program runs
//
// Each operation works on generated input and adds every byte of its results to a digest. The digests are checked in
// (tests/data/hashes.txt) and must come out alike on every compiler, host and instruction set.
//
//     const Operation md_tetrab_3to3("md_tetrab_interp 3 to 3, 17 points", [](Generator &input, Digest &digest) { ...
//     });

#ifndef TESKA_TESTS_OPERATIONS_H
#define TESKA_TESTS_OPERATIONS_H

#include "support/generator.h"

#include <functional>
#include <string>
#include <vector>

namespace teska_test
{

class Operation
{
public:
    using Run = std::function<void(Generator &input, Digest &digest)>;

    // Registers itself; the generator's seed comes from the name.
    Operation(const char *name, void (*run)(Generator &input, Digest &digest));
    // Makes one object, and what runs does not change it: any number of threads may run it at once.
    Operation(const char *name, Run (*make)(Generator &input));

    const std::string &name() const { return name_; }
    std::uint64_t digest() const;
    // Runs on a new object, the same each time; empty when the operation has none.
    Run on_one_object() const;

    static const std::vector<Operation> &all();

private:
    std::string name_;
    Run run_ = nullptr;
    Run (*make_)(Generator &input) = nullptr;
};

}  // namespace teska_test

#endif
