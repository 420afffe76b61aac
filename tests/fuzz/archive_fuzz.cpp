// archive - the three ways to unpack an archive of arbitrary bytes, compared; none of them may leave its directory
//
// The first byte of an input says what is done: bit 0 puts a well-formed header in front of the rest, bit 1 reads it
// with the raw calls as well. Of many inputs one in sixteen is unpacked to files, which takes ten times as long.

#include "support/folder.h"
#include "support/generator.h"

#include "filepacker.h"
#include "fuzz/target.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace
{

namespace fs = std::filesystem;

using entries = std::vector<std::pair<std::string, std::string>>;  // name and content
using tree = std::map<std::string, std::string>;                   // relative path and content of files, "" of others

using fuzz::expect;

// Two directories to unpack to, each with a folder and, where the host has them, links that lead out of it.
struct Workshop {
    Workshop()
    {
        for (const char *name : {"each", "all"}) {
            const fs::path directory = fs::path(root) / name;
            fs::create_directories(directory / "sub");
#if !defined(_WIN32)
            fs::create_symlink("../bait", directory / "link");
            fs::create_directory_symlink("..", directory / "up");
#endif
        }
        write(root + "/bait", "untouched");
        write(archive, "");
        at_rest = content(folder.path());
        directory_at_rest = content(root + "/all");
    }

    ~Workshop()
    {
        write(archive, "");
        expect(content(folder.path()) == at_rest);
    }

    static void write(const std::string &path, const std::string &text)
    {
        std::FILE *file = std::fopen(path.c_str(), "wb");
        expect(file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size());
        std::fclose(file);
    }

    static tree content(const std::string &directory)
    {
        tree found;
        for (const auto &file : fs::recursive_directory_iterator(directory)) {
            std::string &text = found[file.path().lexically_relative(directory).string()];
            if (file.symlink_status().type() == fs::file_type::regular) {
                std::ifstream stream(file.path(), std::ios::binary);
                text.assign(std::istreambuf_iterator<char>(stream), {});
            }
        }
        return found;
    }

    // Removes what was unpacked; what was there before is only "sub" and links.
    static void clear(const std::string &directory)
    {
        for (const std::string &place : {directory + "/sub", directory})
            for (const auto &file : fs::directory_iterator(place))
                if (file.symlink_status().type() == fs::file_type::regular)
                    fs::remove(file.path());
    }

    teska_test::Folder folder;
    std::string root = folder.path("1/2/3");  // names that go up a little do not leave the folder
    std::string archive = root + "/archive";
    tree at_rest, directory_at_rest;
};

Workshop &workshop()
{
    fuzz::work_in_memory();
    static Workshop shop;
    return shop;
}

// Reads all entries into memory. Returns the code at the end, 0 for a mark of the end.
int read_all(FilePacker &packer, entries &found)
{
    char *content = nullptr;
    char name[200];
    long length = 0;
    int code = 0;
    while ((code = packer.UnpackFileAsBuffer(&content, &length, name)) == 0)
        found.emplace_back(name, std::string(content, static_cast<std::size_t>(length)));
    expect(content == nullptr && length == 0);
    return packer.GetError(nullptr) == 0 ? 0 : code;
}

// Unpacks both ways, and compares codes and files with what was read.
void unpack(const entries &read, int end)
{
    const std::string each = workshop().root + "/each";
    const std::string all = workshop().root + "/all";
    FilePacker walker(workshop().archive.c_str(), 1, nullptr);
    FilePacker packer(workshop().archive.c_str(), 1, nullptr);
    tree expected = workshop().directory_at_rest;
    tree expected_of_all;
    int first_failure = 0;
    int code = 0;
    std::size_t n = 0;
    char name[200] = "";
    for (; (code = walker.UnpackFile(each.c_str(), name)) == 0 || code == 2; ++n) {
        expect(n < read.size() ? read[n].first == name : end == 0);
        if (code == 2 && first_failure == 0) {
            first_failure = code;
            expected_of_all = expected;
        }
        if (code == 0 && n < read.size()) {
            std::replace(std::begin(name), std::end(name), '\\', '/');
            expected[fs::path(name).relative_path().lexically_normal().string()] = read[n].second;
        }
    }
    expect(end == 0 || (code == end && n == read.size()));
    if (first_failure == 0) {
        first_failure = code == 9 ? 0 : code;
        expected_of_all = expected;
    }
    expect(packer.Unpack(all.c_str()) == first_failure);
#if !defined(_WIN32)
    // Without a mark of the end everything unpacked was read. Other hosts change names.
    expect(n > read.size() || (Workshop::content(each) == expected && Workshop::content(all) == expected_of_all));
#endif
    if (n > 0) {
        Workshop::clear(each);
        Workshop::clear(all);
    }
    expect(std::distance(fs::directory_iterator(workshop().root), fs::directory_iterator()) == 4);
}

// Reads up to delimiters that the input begins with, against a search in the bytes themselves.
void read_raw(const std::string &bytes)
{
    FilePacker packer(workshop().archive.c_str(), 1, nullptr);
    std::size_t at = 0;
    int code = 0;
    for (std::size_t turn = 0; code == 0; ++turn) {
        const std::string delimiter = bytes.substr(0, turn % 4).c_str();
        const std::size_t room = bytes.size() * turn % 11;
        std::string buffer(room, '?');
        code = packer.ReadUpTo(buffer.data(), static_cast<int>(room), delimiter.c_str());

        // A delimiter of no length is found after the last byte too.
        const std::size_t found = delimiter.empty() ? at : bytes.find(delimiter, at);
        const std::size_t left = bytes.size() - std::min(at, bytes.size());
        const std::size_t taken = found == std::string::npos ? SIZE_MAX : found + delimiter.size() - at;
        const bool full = room > 0 && room < taken && room <= left;
        expect(code == (full || taken <= left ? 0 : 5));
        std::string expected = bytes.substr(std::min(at, bytes.size()), full ? room : std::min({taken, room, left}));
        expected.resize(room);
        expect(buffer == expected);
        at += full ? room : taken + 1;
        if (at > bytes.size() && delimiter.empty())
            break;
    }
}

// An input that could ask for files would ask for them all the time, when a hunter made it: there is more to find.
bool goes_to_files(const std::uint8_t *data, std::size_t size)
{
    teska_test::Digest digest;
    digest.add(data, size);
    return !fuzz::in_bulk || digest.value() % 16 == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const unsigned choice = size > 0 ? data[0] : 0;
    const std::string rest(reinterpret_cast<const char *>(data) + (size > 0 ? 1 : 0), size > 0 ? size - 1 : 0);
    std::string head("QWFP\0ver1.0", 12);
    head.resize(141);
    const bool well_formed = (choice & 1) != 0;
    Workshop::write(workshop().archive, (well_formed ? head : std::string()) + rest);

    FilePacker opened(workshop().archive.c_str(), 1, nullptr);
    if (opened.GetError(nullptr) != 0) {
        expect(!well_formed && opened.GetError(nullptr) == 5);
        return 0;
    }
    entries found;
    const int end = read_all(opened, found);
    if (goes_to_files(data, size))
        unpack(found, end);
    if (well_formed && (choice & 2) != 0)
        read_raw(rest);
    return 0;
}
