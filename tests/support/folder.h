// folder - a folder of a test's own, empty at first and removed with all it holds

#ifndef TESKA_TESTS_FOLDER_H
#define TESKA_TESTS_FOLDER_H

#include <filesystem>
#include <string>

namespace teska_test
{

// Folders made from now on are in memory, where the host has a place for that: what is flushed often, or made by the
// thousand.
void work_in_memory();

class Folder
{
public:
    Folder();
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    // The folder's path, or that of a file in it; both separators are "/".
    std::string path() const;
    std::string path(const std::string &file) const;

    // Content of a file in it; a missing file fails the test and reads as "".
    std::string read(const std::string &file) const;
    // Throws when the host does not take it.
    void write(const std::string &file, const std::string &content) const;

    // Names of what is in it, in ascending order, with "/" behind those of folders.
    std::string listing() const;

private:
    std::filesystem::path folder;
};

}  // namespace teska_test

#endif
