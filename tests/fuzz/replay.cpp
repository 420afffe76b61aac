// The inputs of one corpus, fed to the target they belong to: as they are, and the small ones with every damage. What
// the target checks it checks with abort().

#include "target.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

bool fuzz::in_bulk = false;

namespace
{

constexpr std::size_t small_size = 200;  // bytes

std::string now;  // what is fed at the moment

// A copy of its own, so that reading past the end is noticed.
void feed(const std::string &input)
{
    std::vector<std::uint8_t> bytes(input.begin(), input.end());
    bytes.reserve(1);  // null would mean something else
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

// Calls use(input) for each, and returns how many were used: those up to a size.
template <class Use>
int each_input(std::size_t largest, const Use &use)
{
    std::signal(SIGABRT, [](int) { std::fprintf(stderr, "The input: %s\n", now.c_str()); });
    int inputs = 0;
    for (const auto &file : std::filesystem::directory_iterator(TESKA_CORPUS)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(stream), {}};
        now = file.path().filename().string();
        if (input.size() <= largest) {
            use(input);
            ++inputs;
        }
    }
    std::signal(SIGABRT, SIG_DFL);
    return inputs;
}

TEST(Corpus, IsTakenWithoutAComplaint) { EXPECT_GT(each_input(SIZE_MAX, feed), 0) << TESKA_CORPUS; }

TEST(Corpus, StandsEveryTruncationAndEveryBitThatFlips)
{
#ifdef TESKA_CORPUS_ONLY
    GTEST_SKIP() << "an emulator or a host without files in memory takes too long";
#endif
    fuzz::in_bulk = true;
    const auto damage = [](const std::string &input) {
        const std::string name = now;
        for (std::size_t length = 0; length < input.size(); ++length) {
            now = name + " up to byte " + std::to_string(length);
            feed(input.substr(0, length));
        }
        std::string damaged = input;
        for (std::size_t bit = 0; bit < 8 * input.size(); ++bit) {
            const auto flip = [&] { damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8); };
            now = name + " without bit " + std::to_string(bit);
            flip();
            feed(damaged);
            flip();
        }
    };
    EXPECT_GT(each_input(small_size, damage), 0) << TESKA_CORPUS;
    fuzz::in_bulk = false;
}

}  // namespace
