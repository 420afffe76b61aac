// reports - captures what the library reports while an object lives

#ifndef TESKA_TESTS_REPORTS_H
#define TESKA_TESTS_REPORTS_H

#include <string>
#include <vector>

namespace teska_test
{

using lines = std::vector<std::string>;

// Collects by the library's queue, so equal lines appear once and the order is that of their text. The reporting mode
// is put back at the end of the object's life.
class Reports
{
public:
    Reports();
    Reports(const Reports &) = delete;
    Reports &operator=(const Reports &) = delete;
    ~Reports();

    // The messages reported since the last call, in ascending order, without prefix and quotes.
    lines take();

private:
    int previous_;
};

}  // namespace teska_test

#endif
