// Streams and lock files: their allocations, and the host's calls on an open file failing in turn
#include "faults/injector.h"
#include "faults/sweep.h"

#include "fdstream.h"
#include "flock.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace teska_test
{

namespace
{

// Longer than a text keeps inside itself.
constexpr const char *path = "streams_rows_with_a_name_of_some_length.tmp";

std::string content()
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Whether the stream opened; if not, it failed and nothing happened.
template <class Stream>
bool opened()
{
    const Stream stream(path, 32);
    EXPECT_EQ(stream.is_open(), stream.good());
    EXPECT_TRUE(stream.is_open() || content() == "0123456789");
    return stream.is_open();
}

bool locked()
{
    std::remove(path);
    flock_rec *lock = flock_get(path);
    EXPECT_EQ(access(path, F_OK) == 0, lock != nullptr);
    flock_free(lock);
    EXPECT_NE(access(path, F_OK), 0);
    return lock != nullptr;
}

SweepRow constructor(const char *name, bool (*call)(), int allocations)
{
    const auto make = [=] {
        std::ofstream(path) << "0123456789";
        return SweepCase{.call = call};
    };
    return {.name = name, .make = make, .failures = {{.count = allocations, .once = {}}}};
}

const SweepRows rows({constructor("fdifstream", opened<fdifstream>, 2),
                      constructor("fdofstream", opened<fdofstream>, 2), constructor("flock_get", locked, 1)});

// What a call leaves: the bits of the stream's state, and a number.
std::string left(const std::ios &stream, std::streamoff number)
{
    return std::string(stream.bad() ? "bad " : "") + (stream.eof() ? "eof " : "") + (stream.fail() ? "fail " : "") +
           std::to_string(number);
}

std::string reading(std::streamoff (*call)(fdifstream &stream))
{
    fdifstream stream(path, std::ios::binary);
    const std::streamoff number = call(stream);
    return left(stream, number);
}

std::string writing(void (*call)(fdofstream &stream))
{
    fdofstream stream(path, std::ios::binary | std::ios::app);
    call(stream);
    return left(stream, static_cast<std::streamoff>(content().size()));
}

// Each makes one call of the host on a file of ten bytes. The last: half a transfer.
const struct {
    std::string (*call)();
    const char *good, *failed, *partial;
} calls[] = {
    {[] {
         return reading([](fdifstream &in) {
             char block[8];
             return std::streamoff{in.read(block, 8).gcount()};
         });
     },
     "8", "eof fail -1", "8"},
    {[] { return reading([](fdifstream &in) { return std::streamoff{in.get()}; }); }, "48", "eof fail -1",
     "eof fail -1"},
    {[] { return reading([](fdifstream &in) { return std::streamoff{in.peek()}; }); }, "48", "eof -1", "eof -1"},
    {[] { return reading([](fdifstream &in) { return std::streamoff{in.tellg()}; }); }, "0", "-1", "-1"},
    {[] {
         return reading([](fdifstream &in) {
             in.seekg(3);
             return std::streamoff{0};
         });
     },
     "0", "fail 0", "fail 0"},
    {[] { return writing([](fdofstream &out) { out.write("abcdef", 6); }); }, "16", "bad fail 10", "bad fail 13"},
    {[] { return writing([](fdofstream &out) { out << "abcd"; }); }, "14", "bad fail 10", "bad fail 12"},
    {[] { return writing([](fdofstream &out) { out.put('a'); }); }, "11", "bad fail 10", "bad fail 10"},
    {[] { return writing([](fdofstream &out) { out << std::flush; }); }, "10", "10", "10"},
};

int lowest_descriptor()
{
    const int lowest = dup(0);
    close(lowest);
    return lowest;
}

TEST(Streambuf, KeepsNoDescriptor)
{
    const int lowest = lowest_descriptor();
    {
        std::ofstream(path) << "";
        streambufExt twice(path, std::ios::in);
        EXPECT_EQ(twice.openfile() + twice.openfile(), 0);
        EXPECT_EQ(lowest_descriptor(), lowest + 1);
    }
    EXPECT_EQ(lowest_descriptor(), lowest);
    EXPECT_EQ(std::remove(path), 0);
}

TEST(Fdstream, MakesOneCallOfTheHostAndShowsItsFailure)
{
    for (const auto &row : calls) {
        const std::string at = "call " + std::to_string(&row - calls);
        const int lowest = lowest_descriptor();
        const auto with = [&](int n, file_fault fault, bool sticky = false) {
            std::ofstream(path) << "0123456789";
            arm(fault_kind::files, n, sticky, fault);
            std::string result = row.call();
            disarm();
            return result;
        };
        EXPECT_EQ(with(0, {.error = EIO}, true), row.failed) << at;
        EXPECT_EQ(with(0, {.error = ENOSPC}), row.failed) << at;
        EXPECT_EQ(with(0, {.error = EINTR}), row.good) << at;
        EXPECT_EQ(with(0, {.partial = true}), row.partial) << at;
        EXPECT_EQ(with(1, {}, true), row.good) << at << ", of which there is but one";
        EXPECT_EQ(lowest_descriptor(), lowest) << at;
    }
    std::remove(path);
}

TEST(FlockGet, HoldsWithoutItsMarkAndNeverTakesAFileWithHalfOfIt)
{
    for (const file_fault fault : {file_fault{.error = ENOSPC}, file_fault{.partial = true}}) {
        arm(fault_kind::files, 0, true, fault);
        flock_rec *lock = flock_get(path);
        EXPECT_EQ(disarm(), 1);
        EXPECT_NE(lock, nullptr);
        EXPECT_EQ(flock_get(path), nullptr);
        flock_free(lock);
        EXPECT_NE(access(path, F_OK), 0);
    }
}

}  // namespace

}  // namespace teska_test
