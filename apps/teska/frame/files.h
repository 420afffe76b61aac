// files - inputs and outputs of commands: what is refused, and that an output is there whole or not at all
//
//     const input_file in(path);                   no such file, not a regular file, ..
//     output_file out(work, given, {&in});         is the input, exists, no such folder; nothing has that name yet
//     out.write("text");
//     out.publish();                               flushed to the disk, and now it has its name
//
// An output that is not published leaves nothing, however the program ends.

#ifndef TESKA_TOOL_FILES_H
#define TESKA_TOOL_FILES_H

#include "frame/platform.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool
{

class job;

class input_file
{
public:
    // Throws a failure when the path leads to no regular file, or may not be read.
    explicit input_file(const std::string &path);

    [[nodiscard]] const std::string &path() const { return path_; }
    [[nodiscard]] std::uint64_t size() const { return facts_.size; }
    [[nodiscard]] const file_facts &facts() const { return facts_; }

    // Returns how many bytes were read: less than size at the end of the file. Any number of threads.
    std::size_t read_at(std::uint64_t offset, void *data, std::size_t size) const;

private:
    std::string path_;
    host_file file_;
    file_facts facts_;
};

// The bytes of a whole file; a failure when there are more than `limit`.
std::string read_file(const std::string &path, std::uint64_t limit);

class output_file
{
public:
    // Throws a failure when the path leads to one of the inputs, when the name is taken (and there is no --force), or
    // when its folder is missing. A symbolic link is followed: what it leads to is replaced.
    output_file(const job &work, const std::string &path, const std::vector<const input_file *> &inputs = {});

    [[nodiscard]] const std::string &path() const { return path_; }

    // A name that functions which open files themselves can write to; write() and seek() are then not used.
    [[nodiscard]] std::string name_for_others() const { return file_.name_for_others(); }

    // The position counts from 0; writing moves it. One thread at a time.
    void write(const void *data, std::size_t size);
    void write(std::string_view text) { write(text.data(), text.size()); }
    void seek(std::uint64_t position);
    [[nodiscard]] std::uint64_t position() const { return start_ + held_.size(); }
    [[nodiscard]] std::uint64_t size() const { return std::max(size_, position()); }

    // Reads what was written, at the position.
    std::size_t read(void *data, std::size_t size);

    void publish();

private:
    void put(const char *data, std::size_t size);
    void flush();

    std::string path_;
    bool replace_;
    host_file file_;
    std::uint64_t start_ = 0;  // where the held bytes belong
    std::uint64_t size_ = 0;
    std::vector<char> held_;
};

// The two halves of a path; the folder of a bare name is ".".
std::string folder_of(const std::string &path);
std::string name_of(const std::string &path);

}  // namespace tool

#endif
