// line_store - lines of a picture that are wanted in another order than they come

#include "pictures/line_store.h"

#include "frame/failure.h"

#include <cstring>

namespace tool
{

namespace
{

constexpr std::uint64_t most_in_memory = std::uint64_t{256} << 20;

}  // namespace

line_store::line_store(const std::string &path, std::size_t line_bytes, std::uint32_t lines)
    : path_(path), line_bytes_(line_bytes), in_file_(std::uint64_t{line_bytes} * lines > most_in_memory)
{
    if (!in_file_)
        memory_.resize(line_bytes * lines);
    else if (!file_.make_scratch() || !file_.cut(std::uint64_t{line_bytes} * lines))
        throw failure(path, "no temporary file for its lines: " + last_error());
}

void line_store::put(std::uint32_t y, const void *line)
{
    const std::uint64_t start = std::uint64_t{line_bytes_} * y;
    if (!in_file_)
        std::memcpy(memory_.data() + start, line, line_bytes_);
    else if (!file_.write_at(start, line, line_bytes_))
        throw failure(path_, "its temporary file cannot be written: " + last_error());
}

void line_store::get(std::uint32_t y, void *line) const { get(y, 0, line, line_bytes_); }

void line_store::get(std::uint32_t y, std::size_t start, void *part, std::size_t size) const
{
    const std::uint64_t from = std::uint64_t{line_bytes_} * y + start;
    if (!in_file_)
        std::memcpy(part, memory_.data() + from, size);
    else if (file_.read_at(from, part, size) != size)
        throw failure(path_, "its temporary file cannot be read: " + last_error());
}

}  // namespace tool
