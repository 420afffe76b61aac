// The examples of the public headers, extracted (extract.py), compiled and run; those of a subsystem in a folder of
// their own.

#include "support/folder.h"

#include "check.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

void run(void (*examples)())
{
    const std::filesystem::path before = std::filesystem::current_path();
    const teska_test::Folder folder;
    std::filesystem::current_path(folder.path());
    examples();
    std::filesystem::current_path(before);
}

}  // namespace

void reference_check(int ok, const char *text, const char *file, int line)
{
    if (ok == 0)
        ADD_FAILURE_AT(file, line) << text;
}

#define RUN(subsystem)                                                                                                 \
    EXAMPLES(subsystem);                                                                                               \
    TEST(HeaderExamples, subsystem) { run(subsystem##_examples); }
#include "examples.inc"
