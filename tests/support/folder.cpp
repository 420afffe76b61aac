#include "support/folder.h"

#include "support/test.h"

#include <random>

namespace teska_test
{

namespace fs = std::filesystem;

void work_in_memory()
{
#ifndef _WIN32
    if (fs::is_directory("/dev/shm"))
        setenv("TEST_TMPDIR", "/dev/shm", 0);
#endif
}

Folder::Folder()
{
    std::random_device random;
    do
        folder = fs::path(testing::TempDir()) / ("teska-" + std::to_string(random()));
    while (!fs::create_directory(folder));
}

Folder::~Folder()
{
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

std::string Folder::path() const { return folder.generic_string(); }
std::string Folder::path(const std::string &file) const { return (folder / file).generic_string(); }

std::string Folder::read(const std::string &file) const
{
    std::ifstream stream(folder / file, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

void Folder::write(const std::string &file, const std::string &content) const
{
    std::ofstream stream(folder / file, std::ios::binary);
    stream.exceptions(std::ios::failbit | std::ios::badbit);
    stream << content << std::flush;
}

std::string Folder::listing() const
{
    std::set<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename().generic_string() + (entry.is_directory() ? "/" : ""));
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

}  // namespace teska_test
