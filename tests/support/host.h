// host - stands in for the application: takes the lines shown to the user and those of the fatal exit, which returns

#ifndef TESKA_TESTS_HOST_H
#define TESKA_TESTS_HOST_H

#include "support/reports.h"

#include "wem.h"

#include <utility>

namespace teska_test
{

// One object at a time.
class Host
{
public:
    Host() : typefl_(wem_set_typefl(keep)), errexit_(wem_set_errexit(keep)) {}
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;
    ~Host()
    {
        wem_set_typefl(typefl_);
        wem_set_errexit(errexit_);
        kept.clear();
    }

    // The lines since the last call, in their order.
    static lines take() { return std::exchange(kept, {}); }

private:
    static int keep(const char *line)
    {
        kept.emplace_back(line);
        return 0;
    }

    static inline lines kept;
    wem_line_fn typefl_;
    wem_line_fn errexit_;
};

}  // namespace teska_test

#endif
