// Streams: their allocations and the host's calls on an open file failing in turn; lock files: their record
#include "faults/injector.h"
#include "faults/sweep.h"
#include "fdstream.h"
#include "flock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

namespace teska_test
{

namespace
{

// Longer than a text keeps inside itself.
constexpr const char *path = "streams_rows_with_a_name_of_some_length.tmp";

void fill() { std::ofstream(path) << "0123456789"; }

template <class Stream>
bool opened()
{
    const Stream stream(path, 32 | 8);
    EXPECT_EQ(stream.is_open(), stream.good());
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
        fill();
        return SweepCase{.call = call};
    };
    return {.name = name, .make = make, .failures = {{.count = allocations, .once = {}}}};
}

const SweepRows rows({constructor("fdifstream", opened<fdifstream>, 2),
                      constructor("fdofstream", opened<fdofstream>, 2), constructor("flock_get", locked, 1)});

int lowest_descriptor()
{
    const int lowest = dup(0);
    close(lowest);
    return lowest;
}

char block[8];

// Each makes one call of the host. What it leaves: bad, eof, fail, a number; when all is well, when the call fails, and
// when half of the bytes are moved.
const struct {
    std::streamoff (*call)(fdifstream &in, fdofstream &out);
    const char *good, *failed, *partial;
} calls[] = {
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return in.read(block, 8).gcount(); }, "8", "ef-1", "8"},
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return in.get(); }, "48", "ef-1", "ef-1"},
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return in.peek(); }, "48", "e-1", "e-1"},
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return in.tellg(); }, "0", "-1", "-1"},
    {[](fdifstream &in, fdofstream &) -> std::streamoff { return !in.seekg(3); }, "0", "f1", "f1"},
    {[](fdifstream &, fdofstream &out) -> std::streamoff { return !out.write("abcdef", 6); }, "0", "b1", "b1"},
    {[](fdifstream &, fdofstream &out) -> std::streamoff { return !(out << "ab" << std::flush); }, "0", "bf1", "bf1"},
    {[](fdifstream &, fdofstream &out) -> std::streamoff { return !out.put('a'); }, "0", "b1", "b1"},
};

TEST(Fdstream, MakesOneCallOfTheHostShowsItsFailureAndKeepsNoDescriptor)
{
    const int lowest = lowest_descriptor();
    for (const auto &row : calls) {
        const auto with = [&](int n, file_fault fault) {
            fill();
            fdifstream in(path, std::ios::binary);
            fdofstream out(path, std::ios::binary | std::ios::app);
            EXPECT_EQ(static_cast<streambufExt *>(in.rdbuf())->openfile(), 0) << "once more";
            arm(fault_kind::files, n, n == 1, fault);
            const std::streamoff number = row.call(in, out);
            disarm();
            const auto state = in.rdstate() | out.rdstate();
            return std::string(state & std::ios::badbit ? "b" : "") + (state & std::ios::eofbit ? "e" : "") +
                   (state & std::ios::failbit ? "f" : "") + std::to_string(number);
        };
        const std::string at = "call " + std::to_string(&row - calls);
        EXPECT_EQ(with(0, {.error = ENOSPC}), row.failed) << at;
        EXPECT_EQ(with(0, {.error = EINTR}), row.good) << at;
        EXPECT_EQ(with(0, {.partial = true}), row.partial) << at;
        EXPECT_EQ(with(1, {}), row.good) << at << ", of which there is but one";
    }
    EXPECT_EQ(streambufExt(path, 1).openfile(), 0);
    EXPECT_EQ(lowest_descriptor(), lowest);
    std::remove(path);
}

}  // namespace

}  // namespace teska_test
