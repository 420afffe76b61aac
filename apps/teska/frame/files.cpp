// files - inputs and outputs of commands: what is refused, and that an output is there whole or not at all

#include "frame/files.h"

#include "frame/failure.h"
#include "frame/job.h"

#include <algorithm>

namespace tool
{

namespace
{

constexpr std::size_t block = std::size_t{256} * 1024;  // bytes written at once, and where in the file they begin

void refuse_dash(const std::string &path)
{
    if (path == "-")
        throw usage_failure("-", "standard input and output are not supported");
}

file_facts facts_of_input(const std::string &path)
{
    refuse_dash(path);
    const std::optional<file_facts> facts = facts_of(path);
    if (!facts) {
        const std::string why = last_error();
        throw failure(path, why == "No such file or directory" ? "no such file" : "cannot be read: " + why);
    }
    if (!facts->regular)
        throw failure(path, "not a regular file");
    return *facts;
}

}  // namespace

std::string folder_of(const std::string &path)
{
    const std::string folder = text_of(native_path(path).parent_path());
    return folder.empty() ? "." : folder;
}

std::string name_of(const std::string &path) { return text_of(native_path(path).filename()); }

input_file::input_file(const std::string &path) : path_(path), facts_(facts_of_input(path))
{
    if (!file_.open(path))
        throw failure(path, "cannot be read: " + last_error());
    const std::optional<file_facts> facts = file_.facts();
    if (!facts || !facts->regular)
        throw failure(path, "not a regular file");
    facts_ = *facts;
}

std::size_t input_file::read_at(std::uint64_t offset, void *data, std::size_t size) const
{
    if (offset >= facts_.size)
        return 0;
    return file_.read_at(offset, data, size);
}

std::string read_file(const std::string &path, std::uint64_t limit)
{
    const input_file file(path);
    if (file.size() > limit)
        throw failure(path, std::to_string(file.size()) + " bytes are more than teska takes");
    std::string bytes(static_cast<std::size_t>(file.size()), '\0');
    if (file.read_at(0, bytes.data(), bytes.size()) != bytes.size())
        throw failure(path, "cannot be read as a whole");
    return bytes;
}

output_file::output_file(const job &work, const std::string &path, const std::vector<const input_file *> &inputs)
    : path_(path), replace_(work.force)
{
    refuse_dash(path);
    const std::string target = without_links(path);
    if (const std::optional<file_facts> old = facts_of(target)) {
        for (const input_file *input : inputs)
            if (old->device == input->facts().device && old->node == input->facts().node)
                throw failure(path, "is the input");
        if (!old->regular)
            throw failure(path, old->folder ? "is a folder" : "not a regular file");
        if (!replace_)
            throw failure(path, "exists", "--force replaces it");
    }
    const std::optional<file_facts> folder = facts_of(folder_of(target));
    if (!folder || !folder->folder || name_of(target).empty())
        throw failure(path, "no such folder");
    if (!file_.make(folder_of(target), name_of(target)))
        throw failure(path, "cannot be written: " + last_error());
    held_.reserve(block);
}

void output_file::put(const char *data, std::size_t size)
{
    if (!file_.write_at(start_, data, size))
        throw failure(path_, "cannot be written: " + last_error());
    start_ += size;
    size_ = std::max(size_, start_);
}

void output_file::flush()
{
    if (!held_.empty())
        put(held_.data(), held_.size());
    held_.clear();
}

// Whole blocks from a multiple of their size on: systems keep files in pages and take such blocks with the least work.
void output_file::write(const void *data, std::size_t size)
{
    const char *bytes = static_cast<const char *>(data);
    while (size > 0) {
        const std::size_t room = block - static_cast<std::size_t>(position() % block);
        const std::size_t taken = std::min(size, room);
        if (taken == block) {
            put(bytes, taken);
        } else {
            held_.insert(held_.end(), bytes, bytes + taken);
            if (taken == room)
                flush();
        }
        bytes += taken;
        size -= taken;
    }
}

void output_file::seek(std::uint64_t position)
{
    if (position == this->position())
        return;
    flush();
    start_ = position;
}

std::size_t output_file::read(void *data, std::size_t size)
{
    flush();
    const std::size_t got = file_.read_at(start_, data, size);
    start_ += got;
    return got;
}

void output_file::publish()
{
    flush();
    switch (file_.publish(replace_)) {
    case host_file::outcome::done:
        return;
    case host_file::outcome::exists:
        throw failure(path_, "exists", "--force replaces it");
    case host_file::outcome::refused:
        throw failure(path_, "cannot be written: " + last_error());
    }
}

}  // namespace tool
