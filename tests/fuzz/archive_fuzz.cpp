// archive - the three ways to unpack an archive of arbitrary bytes, compared; none of them may leave its directory
//
// Bit 0 of an input puts a well-formed header in front of the bytes after the first one. Of many inputs one in sixteen
// is unpacked to files, which takes ten times as long.

#include "support/folder.h"
#include "support/generator.h"

#include "filepacker.h"
#include "fuzz/target.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <utility>

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
        folder.write("1/2/3/bait", "untouched");
        store("");
        at_rest = content(folder.path());
        directory_at_rest = content(root + "/all");
    }

    ~Workshop()
    {
        store("");
        expect(content(folder.path()) == at_rest);
    }

    void store(const std::string &bytes) const { folder.write("1/2/3/archive", bytes); }

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
    teska_test::work_in_memory();
    static Workshop shop;
    return shop;
}

// Reads all entries into memory. Returns the code at the end, 0 for a mark of the end.
int read_all(FilePacker &packer, entries &found)
{
    char *content = nullptr, name[200];
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
    const std::string each = workshop().root + "/each", all = workshop().root + "/all";
    FilePacker walker(workshop().archive.c_str(), 1, nullptr), packer(workshop().archive.c_str(), 1, nullptr);
    tree expected = workshop().directory_at_rest, expected_of_all;
    int first_failure = 0, code = 0;
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string bytes(data, data + size), head("QWFP\0ver1.0", 12);
    head.resize(141);
    const bool well_formed = size > 0 && (data[0] & 1) != 0;
    workshop().store(bytes.replace(0, 1, well_formed ? head : ""));

    FilePacker opened(workshop().archive.c_str(), 1, nullptr);
    if (opened.GetError(nullptr) != 0) {
        expect(!well_formed && opened.GetError(nullptr) == 5);
        return 0;
    }
    entries found;
    const int end = read_all(opened, found);
    teska_test::Digest digest;
    digest.add(data, size);
    if (!fuzz::in_bulk || digest.value() % 16 == 0)
        unpack(found, end);
    return 0;
}
