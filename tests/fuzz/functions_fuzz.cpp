// functions - every function of the interface: the rows of tests/hostile, each argument drawn by bytes of the input
//
// An input is which row, in two bytes; how hostile its numbers are; and what is drawn, as hostile.h says.

#include "fuzz/target.h"
#include "hostile/hostile.h"

#include <map>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    teska_test::quiet();
    // By name, so that an input goes to the same row when there are more.
    static const auto rows = [] {
        std::map<std::uint64_t, const teska_test::HostileRow *> found;
        for (const teska_test::HostileRow &row : teska_test::HostileRows::all())
            found[teska_test::seed_of(row) >> 48] = &row;
        return found;
    }();
    fuzz::Input input{data, size};
    const int high = input.byte(), low = input.byte(), hostile = input.byte();
    const auto row = rows.lower_bound(static_cast<std::uint64_t>(256 * high + low));
    const std::string_view drawn(reinterpret_cast<const char *>(input.at), input.left);
    teska_test::Draw draw(static_cast<std::uint64_t>(hostile), drawn);
    (row == rows.end() ? rows.begin() : row)->second->call(draw);
    draw.finish();
    fuzz::expect(!testing::Test::HasFailure());
    return 0;
}
