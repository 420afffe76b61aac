// reports - captures what the library reports while an object lives

#ifndef TESKA_TESTS_REPORTS_H
#define TESKA_TESTS_REPORTS_H

#include <string>
#include <vector>

namespace teska_test
{

using lines = std::vector<std::string>;

// Collects what the printing mode writes on standard output: the queue would hold equal lines once. The reporting mode
// is put back at the end of the object's life, and no handler is set then. One object at a time.
class Reports
{
public:
    Reports();
    Reports(const Reports &) = delete;
    Reports &operator=(const Reports &) = delete;
    ~Reports();

    // The messages reported since the last call, in ascending order, without prefix and quotes.
    lines take();

    // The line of a call that gave 0 or null, the only one since the last call.
    template <class Result>
    std::string refusal(const Result &result)
    {
        const lines said = take();
        return result ? "not refused" : said.size() != 1 ? std::to_string(said.size()) + " lines" : said[0];
    }

private:
    static lines collect();

    int previous_;
};

}  // namespace teska_test

#endif
