// The inputs of one corpus, fed to the target they belong to: as they are, and the small ones with every damage. What
// the target checks it checks with abort().

#include "target.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

bool fuzz::in_bulk = false;

namespace
{

constexpr std::size_t small_size = 200;  // bytes

std::string now;  // what is fed at the moment

// A copy of its own, so that reading past the end is noticed.
void feed(const std::string &input)
{
    std::vector<std::uint8_t> bytes(std::max(input.size(), std::size_t{1}));  // null would mean something else
    std::copy(input.begin(), input.end(), bytes.begin());
    LLVMFuzzerTestOneInput(bytes.data(), input.size());
}

// Calls use(input) for each up to a size; there is one at least.
template <class Use>
void each_input(std::size_t largest, const Use &use)
{
    std::signal(SIGABRT, [](int) { std::fprintf(stderr, "The input: %s\n", now.c_str()); });
    for (const auto &file : std::filesystem::directory_iterator(TESKA_CORPUS)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(stream), {}};
        now = file.path().filename().string();
        if (input.size() <= largest)
            use(input);
    }
    std::signal(SIGABRT, SIG_DFL);
    EXPECT_FALSE(now.empty()) << TESKA_CORPUS;
}

TEST(Corpus, IsTakenWithoutAComplaint) { each_input(SIZE_MAX, feed); }

TEST(Corpus, StandsEveryTruncationAndEveryBitThatFlips)
{
#ifdef TESKA_CORPUS_ONLY
    GTEST_SKIP() << "an emulator or a host without files in memory takes too long";
#endif
    fuzz::in_bulk = true;
    const auto damage = [](const std::string &input) {
        const std::string name = now;
        for (std::size_t bit = 0; bit < 8 * input.size(); ++bit) {
            std::string damaged = input;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
            now = name + " without bit " + std::to_string(bit);
            feed(damaged);
            now = name + " up to byte " + std::to_string(bit / 8);
            if (bit % 8 == 0)
                feed(input.substr(0, bit / 8));
        }
    };
    each_input(small_size, damage);
    fuzz::in_bulk = false;
}

}  // namespace
