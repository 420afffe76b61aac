#include "support/reports.h"

#include "support/test.h"

#include "error_mess.h"
#include "str_utils.h"

#include <iostream>

namespace teska_test
{

// Lines are written as usual; like a log, what writes them leaves a reason of its own.
Reports::Reports() : previous_(error_set(1))
{
    error_set_handler([](void *, const char *line) { std::cout << line << std::endl, errno = EXDEV; }, nullptr,
                      nullptr);
    testing::internal::CaptureStdout();
}

Reports::~Reports()
{
    collect();
    error_set_handler(nullptr, nullptr, nullptr);
    error_set(previous_);
}

lines Reports::take()
{
    lines taken = collect();
    testing::internal::CaptureStdout();
    return taken;
}

lines Reports::collect()
{
    const std::string prefix = "ERROR : '";
    std::istringstream printed(testing::internal::GetCapturedStdout());
    lines collected;
    for (std::string line; std::getline(printed, line);)
        if (line.starts_with(prefix) && line.ends_with('\''))
            collected.push_back(line.substr(prefix.size(), line.size() - prefix.size() - 1));
        else
            std::cout << line << std::endl;  // what the tests themselves print
    std::sort(collected.begin(), collected.end(),
              [](const std::string &a, const std::string &b) { return strcmp_ci(a.c_str(), b.c_str()) < 0; });
    return collected;
}

}  // namespace teska_test
