// What every command takes from the frame: arguments, texts, JSON, files.

#include "support/folder.h"
#include "support/process.h"

#include "frame/command_line.h"
#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/json.h"
#include "frame/pages.h"
#include "frame/text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iomanip>
#include <regex>
#include <set>
#include <sstream>

namespace
{

using namespace tool;
using teska_test::Folder;

const command probe = {"probe", "try the frame", "Text.", {{"teska probe a", "tries"}}, nullptr};

// What the description of a command looks like to its author, with one option of each kind.
struct Described {
    Described()
    {
        take.file("IN", "in", in);
        take.files("MORE", 0, 2, "more", more);
        take.flag("--bpc", "flag", bpc);
        take.choice("--intent", "I", {"relative", "absolute"}, "choice", intent);
        take.integer("--depth", "N", 8, 16, "integer", depth);
        take.number("--strength", "S", -1, 10, "number", strength);
        take.numbers("--inside", "L,a,b", 3, "numbers", inside);
        take.paths("--link", "F", "paths", links);
    }

    std::string refusal(const std::vector<std::string> &arguments)
    {
        try {
            parse_arguments(probe, take, arguments);
        } catch (const failure &problem) {
            return std::to_string(problem.code()) + " " + problem.file() + ": " + problem.what();
        }
        return "";
    }

    options take;
    std::string in;
    std::vector<std::string> more;
    bool bpc = false;
    std::string intent = "relative";
    int depth = 8;
    double strength = 1;
    std::vector<std::vector<double>> inside;
    std::vector<std::string> links;
};

TEST(Arguments, StandInAnyOrderWithMinusAndOddNames)
{
    Described line;
    EXPECT_EQ(line.refusal({"--inside", "-50,-20,1e1", "[a,b].png", "--strength=-.5", "--link", "x", "--inside=1,2,3",
                            "--link=[y,z]", "--bpc", "second", "--", "--third"}),
              "");
    EXPECT_EQ(line.in, "[a,b].png");
    EXPECT_EQ(line.more, (std::vector<std::string>{"second", "--third"}));
    EXPECT_TRUE(line.bpc);
    EXPECT_EQ(line.strength, -0.5);
    EXPECT_EQ(line.inside, (std::vector<std::vector<double>>{{-50, -20, 10}, {1, 2, 3}}));
    EXPECT_EQ(line.links, (std::vector<std::string>{"x", "[y,z]"}));
    EXPECT_EQ(line.intent, "relative");
}

TEST(Arguments, AreRefusedWithWhatIsWrong)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> table = {
        {{"a", "--strength", "0,5"}, "2 --strength 0,5: not a number"},
        {{"a", "--strength", "nan"}, "2 --strength nan: not a number"},
        {{"a", "--strength", "0x1"}, "2 --strength 0x1: not a number"},
        {{"a", "--strength", "11"}, "2 --strength 11: -1 to 10"},
        {{"a", "--depth", "8.0"}, "2 --depth 8.0: not a whole number"},
        {{"a", "--depth", "99999999999999999999"}, "2 --depth 99999999999999999999: not a whole number"},
        {{"a", "--intent", "rel"}, "2 --intent rel: relative or absolute wanted"},
        {{"a", "--inside", "1,2"}, "2 --inside 1,2: 3 numbers with commas between wanted"},
        {{"a", "--inside", "1,,2"}, "2 --inside 1,,2: 3 numbers with commas between wanted"},
        {{"a", "--depth"}, "2 --depth: a value is missing (N)"},
        {{"a", "--depth="}, "2 --depth: a value is missing (N)"},
        {{"a", "--link", "--bpc"}, "2 --link: a value is missing (F)"},
        {{"a", "--depth", "8", "--depth", "8"}, "2 --depth: is there twice"},
        {{"a", "--bpc=no"}, "2 --bpc: takes no value"},
        {{"a", "--bp"}, "2 --bp: unknown option; teska probe --help lists the options"},
        {{"a", "-x"}, "2 -x: unknown option; teska probe --help lists the options"},
        {{}, "2 IN: is missing; teska probe --help shows how to call it"},
        {{"a", "b", "c", "d"}, "2 d: one file too many; teska probe --help lists the options"},
    };
    for (const auto &[arguments, message] : table)
        EXPECT_EQ(Described().refusal(arguments), message);
}

TEST(Texts, AreHarmlessOnATerminalAndInJson)
{
    EXPECT_EQ(printable("a\nb\x1B[2J\x7F"), "a\\x0Ab\\x1B[2J\\x7F");
    EXPECT_EQ(printable("\xC2\x9Bq \xC3\xA4 \xE2\x80\xA8"), "\\xC2\\x9Bq \xC3\xA4 \\xE2\\x80\\xA8");
    EXPECT_EQ(valid_utf8("a\xFF\xC3\xA4\xE0\x80\x80"), "a\xEF\xBF\xBD\xC3\xA4\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    json value = json::object();
    value["name"] = "\"\\\n\xFE";
    value["list"] = json::array({1, 0.1, -2.0, nullptr, true, 1e300 * 1e300});
    value["none"] = json::object();
    EXPECT_EQ(value.text(), "{\"name\": \"\\\"\\\\\\u000a\xEF\xBF\xBD\", \"list\": [1, 0.1, -2, null, true, null], "
                            "\"none\": {}}");
    EXPECT_EQ(fixed_text(-0.125, 6), "-0.125000");
}

std::set<std::string> matches(const std::string &text, const std::string &pattern)
{
    std::set<std::string> found;
    const std::regex expression(pattern);
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at)
        found.insert(std::regex_replace((*at)[1].str(), std::regex("\\\\"), ""));
    return found;
}

std::ptrdiff_t matches_of(const std::string &text, const std::string &pattern)
{
    const std::regex expression(pattern);
    return std::distance(std::sregex_iterator(text.begin(), text.end(), expression), std::sregex_iterator());
}

TEST(Pages, NameTheSameOptionsAndTheirExamplesAreRight)
{
    const std::string bash = completion("bash");
    const std::string fish = completion("fish");
    for (const command *known : all_commands()) {
        SCOPED_TRACE(known->name);
        const options take = described(*known);
        std::set<std::string> names;
        std::set<std::string> longs;
        for (const option &shown : take.all()) {
            names.insert(shown.name);
            longs.insert(shown.name.substr(2));
        }
        EXPECT_EQ(matches(help_page(*known, take), "\n  (--[a-z0-9-]+)"), names);
        EXPECT_EQ(matches(man_page(*known, take), "\n\\.B (\\\\-\\\\-[a-z0-9\\\\-]+)"), names);
        EXPECT_EQ(matches(fish, "from " + known->name + "' -l ([a-z0-9-]+)"), longs);
        // That an option may be repeated is said once, and only of those that may.
        const std::string help = help_page(*known, take);
        for (const option &shown : take.all()) {
            std::size_t start = help.find("\n  " + shown.name + (shown.value.empty() ? " " : " " + shown.value));
            std::string entry = help.substr(start, help.find("\n  --", start + 1) - start);
            entry = std::regex_replace(entry, std::regex("\\s+"), " ");
            EXPECT_EQ(matches_of(entry, "may be repeated"), shown.repeats ? 1 : 0) << entry;
        }
        const std::string line = "        " + known->name + ") options='";
        const std::size_t start = bash.find(line);
        ASSERT_NE(start, std::string::npos);
        EXPECT_EQ(matches(bash.substr(start, bash.find('\n', start) - start), "(--[a-z0-9-]+)"), names);
        EXPECT_NE(completion("zsh").find("    " + known->name + ")\n"), std::string::npos);
        for (const example &shown : known->examples) {
            std::istringstream words(shown.line);
            std::vector<std::string> arguments;
            for (std::string word; words >> std::quoted(word);)
                arguments.push_back(word);
            ASSERT_GT(arguments.size(), 2U);
            EXPECT_EQ(arguments[0] + " " + arguments[1], "teska " + known->name);
            const std::unique_ptr<action> made = known->make();
            options fresh;
            common_options common = {};
            common.threads = 1;
            made->describe(fresh);
            describe_common(fresh, common);
            EXPECT_NO_THROW(parse_arguments(*known, fresh, {arguments.begin() + 2, arguments.end()})) << shown.line;
        }
    }
}

// The program's own words, whatever the command.
TEST(Program, TellsVersionHelpAndMistakes)
{
    using tool_test::run_teska;
    EXPECT_EQ(run_teska({"--version"}).out, "teska " TESKA_TOOL_VERSION "\n");
    EXPECT_EQ(run_teska({"convert", "--help", "--json", "--nonsense"}).code, 0);
    EXPECT_EQ(run_teska({"nothing"}).err, "teska: nothing: no such command; teska --help lists them\n");
    const tool_test::outcome result = run_teska({"convert", "a\n\xFF", "--json", "--x"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err, "teska convert: --x: unknown option; teska convert --help lists the options\n");
    EXPECT_EQ(result.out, "{\"ok\": false, \"code\": 2, \"file\": \"--x\", \"message\": \"unknown option; teska "
                          "convert --help lists the options\"}\n");
    const tool_test::outcome odd = run_teska({"convert", "a\n\xFF", "o.tif", "--to", "srgb", "--json"});
    EXPECT_EQ(odd.err, "teska convert: a\\x0A\xFF: no such file\n");
    EXPECT_EQ(odd.out, "{\"ok\": false, \"code\": 1, \"file\": \"a\\u000a\xEF\xBF\xBD\", \"message\": \"no such "
                       "file\"}\n");
}

// A file is seen by its name only when it is whole.
TEST(Outputs, AppearWholeOrNotAtAll)
{
    const Folder folder;
    job work("probe");
    {
        output_file out(work, folder.path("a"));
        out.write("half");
    }
    EXPECT_EQ(folder.listing(), "");
    output_file out(work, folder.path("a"));
    out.write("0123456789");
    out.seek(2);
    out.write("ab");
    out.seek(10);
    out.write(std::string(1000000, 'z'));
    EXPECT_EQ(folder.listing(), "");
    out.publish();
    EXPECT_EQ(folder.read("a"), "01ab456789" + std::string(1000000, 'z'));
}

std::string refusal_of_output(const job &work, const std::string &path, const input_file *input = nullptr)
{
    try {
        output_file out(work, path,
                        input != nullptr ? std::vector<const input_file *>{input} : std::vector<const input_file *>{});
        out.write("new");
        out.publish();
    } catch (const failure &problem) {
        return problem.what();
    }
    return "";
}

TEST(Outputs, ReplaceOnlyWhenForced)
{
    const Folder folder;
    folder.write("old", "old");
    std::filesystem::create_symlink("old", folder.path("link"));
    std::filesystem::permissions(folder.path("old"), std::filesystem::perms(0640));
    job work("probe");
    const input_file input(folder.path("old"));
    EXPECT_EQ(refusal_of_output(work, folder.path("old")), "exists; --force replaces it");
    EXPECT_EQ(refusal_of_output(work, folder.path("link"), &input), "is the input");
    EXPECT_EQ(refusal_of_output(work, folder.path("x/new")), "no such folder");
    EXPECT_EQ(refusal_of_output(work, folder.path()), "is a folder");
    EXPECT_EQ(refusal_of_output(work, "-"), "standard input and output are not supported");
    output_file late(work, folder.path("late"));
    folder.write("late", "somebody else's");
    EXPECT_THROW(late.publish(), failure);
    EXPECT_EQ(folder.read("late"), "somebody else's");
    work.force = true;
    EXPECT_EQ(refusal_of_output(work, folder.path("old"), &input), "is the input");
    EXPECT_EQ(refusal_of_output(work, folder.path("link")), "");
    EXPECT_EQ(folder.read("old"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    EXPECT_EQ(std::filesystem::status(folder.path("old")).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(folder.listing(), "late link old");
}

TEST(Inputs, AreRegularFiles)
{
    const Folder folder;
    const auto refusal = [](const std::string &path) {
        try {
            const input_file in(path);
        } catch (const failure &problem) {
            return std::string(problem.what());
        }
        return std::string();
    };
    EXPECT_EQ(refusal(folder.path("none")), "no such file");
    EXPECT_EQ(refusal(folder.path()), "not a regular file");
    EXPECT_EQ(refusal("/dev/zero"), "not a regular file");
    EXPECT_EQ(refusal("-"), "standard input and output are not supported");
}

}  // namespace
