// Runs the rows of hostile.h, one test each.

#include "hostile/hostile.h"

#include "support/folder.h"

#include "error_mess.h"
#include "wem.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <filesystem>
#include <fstream>
#ifndef _WIN32
#    include <sys/stat.h>
#endif

namespace teska_test
{

Draw::Draw(std::uint64_t seed) : random(seed)
{
    const int kinds[] = {0, 8, 2, 1};
    hostile_ = kinds[seed % 4];
}

double Draw::number()
{
    using Limits = std::numeric_limits<double>;
    static const double hostile[] = {0.0,
                                     1.0,
                                     Limits::quiet_NaN(),
                                     Limits::infinity(),
                                     Limits::denorm_min(),
                                     Limits::min(),
                                     Limits::max(),
                                     1e-300,
                                     1e-20,
                                     1e-9,
                                     1e9,
                                     2147483648.0,
                                     9223372036854775808.0,
                                     1e20,
                                     1e77,
                                     1e155,
                                     1e300,
                                     Limits::epsilon(),
                                     0.1,
                                     std::nextafter(1.0, 2.0)};
    if (hostile_ == 0 || !chance(hostile_))
        return chance(4) ? std::round(plain()) : plain();
    const double drawn = hostile[random.below(std::size(hostile))];
    return chance(2) ? -drawn : drawn;
}

void Draw::finish()
{
    while (!later_.empty()) {
        const std::function<void()> check = std::move(later_.back());
        later_.pop_back();
        check();
    }
}

const std::string &hostile_text(Draw &draw)
{
    static const std::vector<std::string> texts = {"",
                                                   " ",
                                                   "a",
                                                   "=",
                                                   "[",
                                                   "]",
                                                   "[a",
                                                   "[a]\nb = 1 2 3\n\r\n[c] d\r e=\n",
                                                   "a = b",
                                                   "\t\r\n",
                                                   ";;*?;",
                                                   "*",
                                                   "a*b?c",
                                                   "../..",
                                                   "\\",
                                                   "/",
                                                   "A:[b.c]d.e",
                                                   ":",
                                                   "C:",
                                                   "x.y.z",
                                                   "1 2 3",
                                                   "nan -inf 1e999 -1e-999",
                                                   "99999999999999999999 -0x1p3 +",
                                                   "0xg",
                                                   "ffffffffff",
                                                   "\x80\xff\xc3\x28",
                                                   "#%",
                                                   "'#'%",
                                                   "r+b",
                                                   std::string(127, 'x'),
                                                   std::string(255, ' '),
                                                   std::string(256, '['),
                                                   std::string(400, '=')};
    return texts[static_cast<std::size_t>(draw.random.below(static_cast<int>(texts.size())))];
}

const std::string &hostile_path(Draw &draw)
{
    static const Folder folder;
    static const std::vector<std::string> paths = {folder.path("file"),
                                                   folder.path("file"),
                                                   folder.path("new"),
                                                   folder.path("sub"),
                                                   folder.path("sub/inner"),
                                                   folder.path("none/x"),
                                                   folder.path("file/x"),
                                                   folder.path("pipe"),
                                                   "",
                                                   folder.path(std::string(300, 'n')),
                                                   folder.path("\xff\xfe"),
                                                   folder.path("sub") + "\\more"};
    std::filesystem::create_directories(paths[3]);
#ifndef _WIN32
    mkfifo(paths[7].c_str(), 0600);
#endif
    const bool there = std::filesystem::is_regular_file(paths[0]);
    if (!there)
        std::filesystem::remove_all(paths[0]);
    if (!there || draw.chance(4))
        std::ofstream(paths[0], std::ios::binary) << hostile_text(draw);
    return paths[static_cast<std::size_t>(draw.random.below(static_cast<int>(paths.size())))];
}

std::vector<HostileRow> &HostileRows::all()
{
    static std::vector<HostileRow> rows;
    return rows;
}

HostileRows::HostileRows(std::initializer_list<HostileRow> rows)
{
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(all()), [](const HostileRow &row) { return row.call; });
}

namespace
{

// Nothing that is reported, shown or fatal reaches anybody.
void quiet()
{
    const wem_line_fn nobody = [](const char *) { return 0; };
    wem_set_typefl(nobody);
    wem_set_errexit(nobody);
    error_set(0);
    error_set_handler([](void *, const char *) {}, nullptr, nullptr);
}

std::uint64_t seed_of(const std::string &name)
{
    Digest digest;
    digest.add(name.data(), name.size());
    return digest.value() & ~std::uint64_t{3};
}

class Hostile : public testing::TestWithParam<HostileRow>
{
};

TEST_P(Hostile, ArgumentsAreAnswered)
{
    constexpr std::uint64_t rounds = 160;
    quiet();
    for (std::uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Draw draw(seed_of(GetParam().name) + round);
        GetParam().call(draw);
        draw.finish();
    }
}

INSTANTIATE_TEST_SUITE_P(Functions, Hostile, testing::ValuesIn(HostileRows::all()),
                         [](const auto &row) { return row.param.name; });

}  // namespace

}  // namespace teska_test
