// The examples of the public headers, extracted (extract.py), compiled and run; each in a folder of its own.

#include "support/folder.h"

#include "check.h"

#include <gtest/gtest.h>

#include <filesystem>

#undef EXAMPLE
#define EXAMPLE(name) extern "C" void example_##name();
#include "examples.inc"
#undef EXAMPLE

namespace
{

void run(void (*example)())
{
    const std::filesystem::path before = std::filesystem::current_path();
    const teska_test::Folder folder;
    std::filesystem::current_path(folder.path());
    example();
    std::filesystem::current_path(before);
}

}  // namespace

extern "C" void reference_check(int ok, const char *text, const char *file, int line)
{
    if (ok == 0)
        ADD_FAILURE_AT(file, line) << text;
}

extern "C" void reference_make_folder(const char *name) { std::filesystem::create_directories(name); }

#define EXAMPLE(name)                                                                                                  \
    TEST(HeaderExample, name) { run(example_##name); }
#include "examples.inc"
