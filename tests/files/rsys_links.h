// rsys_links - links for tests: the host's, on Windows feigned ones

#ifndef TESKA_TESTS_RSYS_LINKS_H
#define TESKA_TESTS_RSYS_LINKS_H

#include <filesystem>
#include <string>

#ifdef _WIN32

#    include "files/reparse_points.h"

#    include <gtest/gtest.h>

namespace teska_test
{

struct Links : ReparsePoints {
    static void make(const std::string &to, const std::string &path, bool folder = true)
    {
        const std::wstring target = std::filesystem::path(to).make_preferred().wstring();
        const std::wstring link = std::filesystem::path(path).wstring();
        EXPECT_TRUE(CreateSymbolicLinkW(link.c_str(), target.c_str(), folder ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0));
    }
    std::string target(const std::string &path) const { return std::filesystem::path(substitute(path)).string(); }
};

}  // namespace teska_test

#else

namespace teska_test
{

struct Links {
    static void make(const std::string &to, const std::string &path, bool = true)
    {
        std::filesystem::create_symlink(to, path);
    }
    static std::string target(const std::string &path) { return std::filesystem::read_symlink(path); }
};

}  // namespace teska_test

#endif

#endif
