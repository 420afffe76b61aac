// Runs the rows of hostile.h, one test each.

#include "hostile/hostile.h"

#include "error_mess.h"

#include <wem.h>

#include <numeric>

using namespace teska_test;

namespace
{

using Hostile = testing::TestWithParam<HostileRow>;

TEST_P(Hostile, ArgumentsAreAnswered)
{
    constexpr std::uint64_t rounds = 160;
    quiet();
    for (std::uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Draw draw(seed_of(GetParam()) + round);
        GetParam().call(draw);
        draw.finish();
    }
}

// What a function gives, writes and reports in many calls, and how its objects then answer, as one number. Calls with
// paths are left out: the folder has another name each time.
class Answers : public Observer
{
public:
    Answers() { told_ = this; }

    std::uint64_t of(const HostileRow &row)
    {
        Digest all;
        Digest::coarse = true;
        for (std::uint64_t round = 0; round < 160; ++round) {
            quiet();
            error_set(1);
            error_set_handler([](void *, const char *line) { tell(line); }, nullptr, nullptr);
            wem_set_errexit(tell);
            Draw::observer = this;
            one_ = {};
            Draw draw(seed_of(row) + round);
            row.call(draw);
            draw.finish();
            Draw::observer = nullptr;
            if (!draw.in_folder)
                all.put(one_.value());
        }
        Digest::coarse = false;
        quiet();
        return all.value();
    }

    void before() override {}
    void after() override {}
    bool again(Draw &draw, std::uint64_t result) override
    {
        one_.put(result);
        for (const auto &array : draw.arrays)
            array(one_);
        for (const Lent &each : draw.lent)
            one_.put(each.answers());
        return false;
    }

private:
    static int tell(const char *line)
    {
        told_->one_.add(line, std::strlen(line));
        return 0;
    }

    static inline Answers *told_ = nullptr;
    Digest one_;
};

// By clocks, or by the order of addresses.
bool answers_differ(const std::string &name)
{
    const char *const beginnings[] = {"cputime", "dattim", "elapsed", "get_diff_system_time", "time_", "rom_"};
    return std::ranges::any_of(beginnings, [&](const char *one) { return name.starts_with(one); });
}

// A line changes with the row and with what its function answers: only what was meant to change is put into the file.
TEST(HostileAnswers, AreThoseOfTheFile)
{
    if (sizeof(long) != 8)
        GTEST_SKIP() << "arguments of other sizes";
    std::set<std::string> found;
    Answers answers;
    for (const HostileRow &row : HostileRows::all())
        if (!answers_differ(row.name))
            found.insert((std::ostringstream() << row.name << ' ' << std::hex << answers.of(row) << '\n').str());
    std::ifstream file(TESKA_ANSWERS);
    const std::string all = std::accumulate(found.begin(), found.end(), std::string());
    const std::string kept(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(all, kept) << "those of now are in answers.txt";
    if (all != kept)
        std::ofstream("answers.txt") << all;
}

INSTANTIATE_TEST_SUITE_P(Functions, Hostile, testing::ValuesIn(HostileRows::all()),
                         [](const auto &row) { return row.param.name; });

}  // namespace
