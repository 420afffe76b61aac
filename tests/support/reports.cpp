#include "support/reports.h"

#include "error_mess.h"

#include <algorithm>

namespace teska_test
{

Reports::Reports() : previous_(error_set(2)) {}

Reports::~Reports() { error_set(previous_); }

lines Reports::take()
{
    const std::string prefix = "ERROR : '";
    lines taken;
    while (const char *line = error_get()) {
        std::string text = line;
        // A line of another form is left whole, so that a comparison shows it.
        if (text.size() > prefix.size() && text.starts_with(prefix) && text.ends_with('\''))
            text = text.substr(prefix.size(), text.size() - prefix.size() - 1);
        taken.push_back(text);
    }
    std::reverse(taken.begin(), taken.end());
    return taken;
}

}  // namespace teska_test
