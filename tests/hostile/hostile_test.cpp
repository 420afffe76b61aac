// Runs the rows of hostile.h, one test each.

#include "hostile/hostile.h"

#include "error_mess.h"

#include <wem.h>

using namespace teska_test;

namespace
{

// What a function gives, writes and reports in many calls, and how its objects then answer, as one number. Calls with
// paths are left out: the folder has another name each time.
class Answers : public Observer
{
public:
    Answers()
    {
        empties_folder = false;
        told_ = this;
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

    void draw(const HostileRow &row, std::uint64_t seed)
    {
        quiet();
        error_set(1);
        error_set_handler([](void *, const char *line) { tell(line); }, nullptr, nullptr);
        wem_set_errexit(tell);
        Digest::coarse = true;
        Draw::observer = this;
        one_ = {};
        Draw draw(seed);
        row.call(draw);
        draw.finish();
        if (!draw.in_folder)
            all_.put(one_.value());
        Draw::observer = nullptr;
        Digest::coarse = false;
        quiet();
    }

    [[nodiscard]] std::string digits() const
    {
        const bool any = all_.value() != Digest().value();
        return any ? (std::ostringstream() << std::hex << (all_.value() >> 32)).str() : "none";
    }

private:
    static int tell(const char *line)
    {
        told_->one_.add(line, std::strlen(line));
        return 0;
    }

    static inline Answers *told_ = nullptr;
    Digest one_, all_;
};

// By clocks, or by the order of addresses.
bool answers_differ(const std::string &name)
{
    const char *const beginnings[] = {"cputime", "dattim", "elapsed", "get_diff_system_time", "time_", "rom_"};
    return std::ranges::any_of(beginnings, [&](const char *one) { return name.starts_with(one); });
}

using Hostile = testing::TestWithParam<HostileRow>;

// The file changes with the row and with what the function answers: only what was meant to change is put into it.
TEST_P(Hostile, ArgumentsAreAnsweredAsTheFileSays)
{
    constexpr std::uint64_t rounds = 160;
    const HostileRow &row = GetParam();
    Answers answers;
    for (std::uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        answers.draw(row, seed_of(row) + round);
    }
    if (sizeof(long) == 8 && !answers_differ(row.name)) {  // or else arguments are drawn in other sizes
        EXPECT_EQ(answers.digits(), word_for(row.name, TESKA_ANSWERS));
    }
}

INSTANTIATE_TEST_SUITE_P(Functions, Hostile, testing::ValuesIn(HostileRows::all()),
                         [](const auto &row) { return row.param.name; });

}  // namespace
