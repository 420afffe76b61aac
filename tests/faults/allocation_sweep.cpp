// The rows of tests/hostile with plain arguments, every allocation of their calls failing in turn
//
// docs/testing.md says what must be true then. A call that comes out as with memory and reports nothing did without;
// any other has failed, and tells so by its result, which is no object then, or a report.
#include "faults/sweep.h"
#include "hostile/hostile.h"

using namespace teska_test;

namespace
{

// ---- What the headers promise

struct Promise {
    std::string_view header, function, text;
};

const Promise promises[] = {
#include "promised_texts.inc"
};

// Texts of the common rules that a member of a class has to report.
const Promise of_members[] = {{"", "TTriangularTopSurface_TTriangularTopSurface", "Not enough memory"},
                              {"", "TTriangularTopSurface_TTriangularTopSurface", "No more memory"},
                              {"", "TTriangularTopSurface_TTriangularTopSurface", "no Memory"},
                              {"", "TTriangularTopSurface_UmbrellaEdge", "Out of memory"},
                              {"", "TTriangularTopSurface_UmbrellaEdge", "No More Memory"},
                              {"", "TTriangularTopSurface_DetermineXYZMinGam", "out of memory"},
                              {"", "TTriangularTopSurface_Export", "No memory"}};

// A text against one whose arguments are the byte 1.
bool fits(std::string_view text, std::string_view pattern)
{
    const std::size_t argument = pattern.find('\1');
    if (argument == std::string_view::npos)
        return text == pattern;
    const std::string_view rest = pattern.substr(argument + 1);
    bool found = false;
    if (text.starts_with(pattern.substr(0, argument)))
        for (std::size_t at = argument; at <= text.size() && !found; ++at)
            found = fits(text.substr(at), rest);
    return found;
}

std::string_view header_of(std::string_view function)
{
    const Promise *const found = std::ranges::find(promises, function, &Promise::function);
    return found != std::end(promises) ? found->header : "";
}

// By the header of a function, or one that its module uses.
bool promised_for(std::string_view function, std::string_view line)
{
    std::set<std::string_view> headers;
    for (const Promise &one : promises)
        if (one.header == header_of(function) && one.function == "uses")
            headers.insert(one.text);
    return std::ranges::any_of(promises, [&](const Promise &one) {
        return headers.contains(one.header) && !line.empty() && fits(line, one.text);
    });
}

// Whether a text is that of a call without memory.
bool of_memory(std::string_view text)
{
    const char *const words[] = {"o memory", "e memory", "f memory",  "h memory",        " Mem",
                                 "nsuff",    "alloc",    "resources", "nable to create", "cannot create"};
    return std::ranges::any_of(words, [&](const char *word) { return text.find(word) != std::string_view::npos; });
}

// Whether a text of common rules is an example of a line, or begins with a function of another header.
bool of_another(const Promise &one)
{
    const std::string_view name = one.text.substr(0, one.text.find_first_of(" :"));
    const bool example = one.text.starts_with("ERROR");
    return one.function == "" && (example || (header_of(name) != one.header && header_of(name) != ""));
}

// Whether the block of a function, or the common rules of its header, have such a text.
bool reports_memory(std::string_view function)
{
    return std::ranges::any_of(promises, [&, header = header_of(function)](const Promise &one) {
        return one.header == header && (one.function == "" || one.function == function) && of_memory(one.text) &&
               !of_another(one);
    });
}

// What a header says otherwise.
const struct Exception {
    std::string_view function;
    enum { answers, changed, again, untold, silent, seen, without } what;
    const char *why;
} exceptions[] = {
    {"TFastPow_TFastPow", Exception::without, "gives the same powers without a table"},
    {"archive_add", Exception::answers, "the last failure is what an archive is asked for"},
    {"archive_add_file", Exception::answers, "the last failure is what an archive is asked for"},
    {"archive_next", Exception::answers, "the last failure is what an archive is asked for"},
    {"izat_start", Exception::changed, "lines are ignored until a start succeeds"},
    {"fusm_level_red_set", Exception::changed, "level reduction is off"},
    {"condirmin", Exception::again, "goes on from where it stopped"},
    {"condirmin_restr", Exception::again, "goes on from where it stopped"},
    {"whole_image_flood", Exception::again, "may leave parts of the region"},
    {"writeVRML", Exception::untold, "the second scene may fail unnoticed"},
    {"hash_tab_new", Exception::silent, "no line of its own for a pool"},
    {"TObjFac_TObjFac", Exception::silent, "without a register there is only the error number"},
    {"hist_new", Exception::silent, "illegal bounds, for the counts"},
    {"initrs232", Exception::silent, "a line that cannot be opened"},
    {"TTriangularTopSurface_Export", Exception::silent, "a file that cannot be opened"},
    {"fusm_level_red_set", Exception::silent, "no memory for the factors is not reported"},
    {"whole_image_sharpen", Exception::silent, "calls fusm_level_red_set"},
    {"rom_obj_malloc", Exception::seen, "one registry, in the order of core_faults.cpp"},
    {"error_mess_fl", Exception::seen, "the queue is the matter of core_faults.cpp"},
    {"bezier_new", Exception::seen, "a pool, in curves_faults.cpp"},
    {"bezier_subdivide", Exception::seen, "a pool, in curves_faults.cpp"},
};

bool excepted(std::string_view function, int what)
{
    return std::ranges::any_of(exceptions,
                               [=](const Exception &one) { return one.function == function && one.what == what; });
}

// ---- Calls

// What is reported while memory fails must not need any.
struct {
    char text[8192];
    std::size_t size;
} reported;

int collect(const char *line)
{
    std::string_view text(line);
    if (text.starts_with("ERROR"))
        text = text.substr(text.find('\'') + 1, text.rfind('\'') - text.find('\'') - 1);
    if (reported.size + text.size() < sizeof reported.text) {
        reported.size += text.copy(reported.text + reported.size, text.size());
        reported.text[reported.size++] = '\n';
    }
    return 0;
}

struct Outcome {
    std::uint64_t result, arrays, answers;
    std::string files, reports;
    bool operator==(const Outcome &) const = default;
};

class Calls : public Observer
{
public:
    explicit Calls(const HostileRow &row)
        : row_(row), silent_(!reports_memory(row.name) || excepted(row.name, Exception::silent))
    {
    }

    // Makes the calls of a draw. Returns how many allocations there were.
    int with_memory(std::uint64_t seed)
    {
        expected_.clear();
        run(seed, INT_MAX, false);
        return calls_counted();
    }

    void failing_at(std::uint64_t seed, int n, bool sticky)
    {
        // What lives on is made once.
        if (run(seed, n, sticky), live_blocks() != 0)
            run(seed, n, sticky);
        EXPECT_EQ(live_blocks(), 0) << "memory was leaked";
    }

    void before() override
    {
        reported.size = 0;
        heed(true);
    }
    void after() override { heed(false); }

    bool again(Draw &draw, std::uint64_t result) override
    {
        const Outcome now = outcome(draw, result);
        const bool failing = injections() > injected_;
        injected_ = injections();
        if (n_ == INT_MAX) {
            expected_.push_back(now);
        } else if (failing && now != expected_.at(at_)) {
            check_failure(draw, now);
            disarm();
            return true;
        } else {
            check_success(now);
        }
        for (Lent &one : draw.lent)
            one.before = one.now;
        ++at_;
        return false;
    }

    std::set<std::string> seen;
    std::set<std::uint64_t> refusals;  // digests of what is given when memory is short
    bool in_folder = false;            // where it is not always asked for: names differ in length

private:
    void run(std::uint64_t seed, int n, bool sticky)
    {
        quiet();
        error_set(1);
        error_set_handler([](void *, const char *line) { collect(line); }, nullptr, nullptr);
        wem_set_errexit(collect);
        n_ = n;
        injected_ = 0;
        at_ = 0;
        Draw::observer = this;
        track_memory();
        heed(false);
        arm(fault_kind::memory, n, sticky);
        std::optional<Draw> draw(std::in_place, seed);
        row_.call(*draw);
        draw.reset();
        disarm();
        heed(true);
        Draw::observer = nullptr;
        quiet();
    }

    Outcome outcome(Draw &draw, std::uint64_t result) const
    {
        Digest arrays, answers;
        for (const auto &array : draw.arrays)
            array(arrays);
        for (Lent &one : draw.lent)
            answers.put(one.now = excepted(row_.name, Exception::answers) ? one.before : one.answers());
        return {.result = result,
                .arrays = arrays.value(),
                .answers = answers.value(),
                .files = draw.in_folder ? folder_image() : "",
                .reports = {reported.text, reported.size}};
    }

    void check_failure(const Draw &draw, const Outcome &now)
    {
        const Outcome &expected = expected_[at_];
        EXPECT_FALSE(excepted(row_.name, Exception::without)) << "fails, although it can do without";
        std::istringstream lines(now.reports);
        for (std::string line; std::getline(lines, line);)
            EXPECT_TRUE(!seen.insert(line).second || promised_for(row_.name, line)) << line;
        const bool refused = now.result != expected.result && !draw.has_given;
        if (refused)
            refusals.insert(now.result);
        in_folder = in_folder || draw.in_folder;
        const bool told = refused || !expected.reports.empty() || !now.reports.empty();
        EXPECT_TRUE(told || excepted(row_.name, Exception::untold)) << "the failure is not told";
        EXPECT_TRUE(silent_ || of_memory(now.reports)) << "memory is not what is reported: " << now.reports;
        const bool may_differ = draw.has_given || !expected.reports.empty() || excepted(row_.name, Exception::again);
        EXPECT_TRUE(refused || may_differ || (now.arrays == expected.arrays && now.answers == expected.answers))
            << "the result is that of success";
        for (const Lent &one : draw.lent)
            EXPECT_TRUE(one.now == one.before || (!one.frozen && excepted(row_.name, Exception::changed)))
                << "an object was changed";
    }

    void check_success(const Outcome &now) const
    {
        const Outcome &expected = expected_.at(at_);
        EXPECT_EQ(now.result, expected.result) << "another result";
        EXPECT_EQ(now.answers, expected.answers) << "an object answers otherwise";
        EXPECT_EQ(now.files, expected.files);
        EXPECT_EQ(now.reports, expected.reports);
        EXPECT_TRUE(now.arrays == expected.arrays || excepted(row_.name, Exception::again)) << "written otherwise";
    }

    const HostileRow &row_;
    const bool silent_;
    std::vector<Outcome> expected_;
    int n_ = 0, injected_ = 0;
    std::size_t at_ = 0;
};

// What a call gives when memory is short, as in tests/data/refusals.txt.
std::string word_of(const std::set<std::uint64_t> &refusals)
{
    const auto digest_of = [](const auto &result) {
        Digest digest;
        digest.put(result);
        return digest.value();
    };
    if (refusals.size() > 1)
        return "several";
    const std::uint64_t only = *refusals.begin();
    for (int code = -1; code < 10; ++code)
        if (only == digest_of(code))
            return std::to_string(code);
    return only == digest_of(true) ? "null" : (std::ostringstream() << std::hex << (only >> 32)).str();
}

using Memory = testing::TestWithParam<HostileRow>;

// Draws are made until some had allocations, fewer if there were many, and all texts were seen, or there were enough.
TEST_P(Memory, FailuresAreCleanAndReported)
{
    constexpr int most_draws = 160, least_swept = 4, most_swept = 80;
    const std::string &name = GetParam().name;
    const std::ptrdiff_t descriptors = open_descriptors();
    EXPECT_NE(header_of(name), "");
    Calls calls(GetParam());
    std::set<std::string_view> missing;
    for (const Promise &one : promises)
        if (one.function == name && of_memory(one.text) && !excepted(name, Exception::seen))
            missing.insert(one.text);
    for (const Promise &one : of_members)
        if (one.function == name)
            missing.insert(one.text);
    for (int draw = 0, swept = 0; draw < most_draws && swept < (missing.empty() ? least_swept : most_swept); ++draw) {
        const std::uint64_t seed = seed_of(GetParam()) + 4 * static_cast<unsigned>(draw);
        const int count = calls.with_memory(seed);
        swept += count > 0 ? 1 + count / 500 : 0;
        for (const bool sticky : {false, true})
            for (int n = 0; n < count && !HasFailure(); n += runs_slowly() ? 1 + n / 32 : 1) {
                SCOPED_TRACE("draw " + std::to_string(draw) + (sticky ? ", from call " : ", at call ") +
                             std::to_string(n));
                calls.failing_at(seed, n, sticky);
            }
        for (const std::string &line : calls.seen)
            std::erase_if(missing, [&](std::string_view text) { return fits(line, text); });
    }
    EXPECT_EQ(missing, std::set<std::string_view>{}) << "promised, but not seen";
    EXPECT_EQ(open_descriptors(), descriptors);
    if (const std::string word = word_for(name, TESKA_REFUSALS);
        !calls.refusals.empty() && word != "several" && !(calls.in_folder && word == "none")) {
        EXPECT_EQ(word_of(calls.refusals), word);
    }
}

INSTANTIATE_TEST_SUITE_P(Functions, Memory, testing::ValuesIn(HostileRows::all()),
                         [](const auto &row) { return row.param.name; });

}  // namespace
