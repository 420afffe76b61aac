// rsys_links - links for tests: the host's, on Windows feigned ones

#ifndef TESKA_TESTS_RSYS_LINKS_H
#define TESKA_TESTS_RSYS_LINKS_H

#ifdef _WIN32

#    include "files/reparse_points.h"

#else

#    include <filesystem>
#    include <string>

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
