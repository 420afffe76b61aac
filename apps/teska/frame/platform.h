// platform - what the program takes from the operating system; one source for each of them
//
// Paths and arguments are UTF-8 on Windows, bytes elsewhere.

#ifndef TESKA_TOOL_PLATFORM_H
#define TESKA_TOOL_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tool
{

// What main got, without the program's name.
std::vector<std::string> program_arguments(int argc, char **argv);

std::filesystem::path native_path(const std::string &path);
std::string text_of(const std::filesystem::path &path);

bool errors_reach_terminal();

// From here on what is printed has the same bytes on every system: UTF-8, lines that end in "\n".
void prepare_output();

// From here on SIGINT and SIGTERM end the process with 130 and 143, and no temporary name is left.
void catch_signals();

// Whether a line of progress is on the terminal, which a signal has to remove.
void set_progress_shown(bool shown);

struct file_facts {
    bool regular;
    bool folder;
    std::uint64_t size;
    std::uint64_t device;
    std::uint64_t node;     // with device: which file it is, whatever its name
    std::int64_t modified;  // seconds since 1970
    unsigned mode;
};

// Facts of what a path leads to, links followed; empty when there is nothing.
std::optional<file_facts> facts_of(const std::string &path);

// The path itself, or where it leads when it is a symbolic link; the last may not exist.
std::string without_links(const std::string &path);

// An open file. All calls give false, or less than was asked for, when the system refuses; last_error then says why.
class host_file
{
public:
    host_file() = default;
    host_file(const host_file &) = delete;
    host_file &operator=(const host_file &) = delete;
    ~host_file();

    // Opens for reading. A pipe or device is not waited for.
    bool open(const std::string &path);

    // Makes a file without a name in a folder or, where the system has none, with a temporary one that is gone when the
    // object or the process ends without publish.
    bool make(const std::string &folder, const std::string &name);

    // A file without a name in the folder for temporary files, for data that is not to be kept in memory.
    bool make_scratch();

    [[nodiscard]] std::optional<file_facts> facts() const;

    // Returns how many bytes were read; less than size at the end of the file or when the system refuses.
    std::size_t read_at(std::uint64_t offset, void *data, std::size_t size) const;
    bool write_at(std::uint64_t offset, const void *data, std::size_t size);
    bool cut(std::uint64_t size);

    // A name by which other code can open a file that make() has made.
    [[nodiscard]] std::string name_for_others() const;

    enum class outcome { done, exists, refused };

    // Brings all bytes to the disk and gives the file the name `folder/name`. What has that name is replaced or not.
    outcome publish(bool replace);

    void close();

private:
    bool give_temporary_name();

    std::intptr_t handle_ = -1;
    std::string folder_;
    std::string name_;
    std::string temporary_;  // path of the temporary name; empty when there is none
    bool is_output_ = false;
    std::uint64_t begun_ = 0;  // up to here the system was told to write to the disk
    int slot_ = -1;            // of the temporary name in the list that signals remove
};

// Why the last call was refused, as "Permission denied".
std::string last_error();

}  // namespace tool

#endif
