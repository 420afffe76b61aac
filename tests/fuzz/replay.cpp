// The inputs of one corpus, fed to the target they belong to. What the target checks it checks with abort().

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

TEST(Corpus, IsTakenWithoutAComplaint)
{
    int inputs = 0;
    for (const auto &file : std::filesystem::directory_iterator(TESKA_CORPUS)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(stream), {}};
        SCOPED_TRACE(file.path().string());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
        ++inputs;
    }
    EXPECT_GT(inputs, 0) << TESKA_CORPUS;
}
