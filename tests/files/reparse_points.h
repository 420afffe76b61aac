// reparse_points - links and junctions for Windows programs on a host that has none
//
// While one lives, this program's calls of the host pass through it. An empty file or folder stands in for each reparse
// point, and a table says what the host would keep of it, by the number of the stand-in, so that it can be renamed.
// Paths find their way through them as they do through the host's own.

#ifndef TESKA_TESTS_REPARSE_POINTS_H
#define TESKA_TESTS_REPARSE_POINTS_H

#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace teska_test
{

using Bytes = std::vector<unsigned char>;

struct Links {
    Links();
    ~Links();
    Links(const Links &) = delete;
    Links &operator=(const Links &) = delete;

    static Bytes symbolic_link(const std::wstring &substitute, const std::wstring &print, bool relative);
    static Bytes junction(const std::wstring &substitute, const std::wstring &print);

    // Makes a symbolic link.
    static void make(const std::string &to, const std::string &path, bool folder = true);
    std::string target(const std::string &path) const;
    // Makes a reparse point, whatever its data are.
    void set(const std::string &path, const Bytes &data, bool folder);
    Bytes data(const std::string &path) const;
    std::wstring substitute(const std::string &path) const;

    // The error that a call gives now, or 0. Most calls are ""; tests ask for "list" and "open to list" of a folder,
    // and for "unprivileged".
    std::function<DWORD(const std::string &call)> refusal = [](const std::string &) { return 0; };
    // What every path into L"\\??\\Volume{1}\\" leads to; it has a device of its own.
    std::wstring volume = {};

    std::map<std::uint64_t, Bytes> table = {};
};

}  // namespace teska_test

#endif
