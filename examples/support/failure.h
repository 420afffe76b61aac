// failure - what ends an example: one line for the person who started it
//
// Programs, unlike the library, may throw. Whatever goes wrong with an input or an output becomes a failure; main
// prints its text and gives exit code 1.

#ifndef EXAMPLES_FAILURE_H
#define EXAMPLES_FAILURE_H

#include <stdexcept>

namespace examples
{

class failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A failure with the line that the library has queued about its last one; main has set the reporting mode.
[[noreturn]] void throw_report();

}  // namespace examples

#endif
