// progress - how far long work has come, on a terminal
//
// One line on standard error that rewrites itself and is gone at the end. When standard error is no terminal (a log, a
// pipe) nothing is written at all.

#ifndef EXAMPLES_PROGRESS_H
#define EXAMPLES_PROGRESS_H

#include <string>

namespace examples
{

class progress
{
public:
    // label  what is being done, for instance "separation table"
    // total  number of steps
    progress(std::string label, int total);
    progress(const progress &) = delete;
    progress &operator=(const progress &) = delete;
    ~progress();

    void done(int steps);

private:
    std::string label_;
    int total_;
    int shown_ = -1;  // per cent on the terminal now
    bool terminal_;
};

}  // namespace examples

#endif
