// cube - tables of three colours as text, .cube files

#include "tables/cube.h"

#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>

namespace tool
{

namespace
{

constexpr std::uint64_t largest_file = std::uint64_t{64} << 20;
using row = std::array<double, 3>;

struct range {
    row least = {0, 0, 0};
    row most = {1, 1, 1};
};

// What a file says, before it becomes a table.
struct cube_facts {
    int size1 = 0;
    int size3 = 0;
    std::optional<range> domain;
    std::optional<range> range1;
    std::optional<range> range3;
    std::vector<row> rows1;
    std::vector<row> rows3;
};

class cube_parser
{
public:
    cube_parser(job &work, const std::string &path) : work_(work), path_(path), text_(read_file(path, largest_file))
    {
        rest_ = text_;
        if (rest_.starts_with("\xEF\xBB\xBF"))
            rest_.remove_prefix(3);
    }

    cube_facts parse()
    {
        while (!rest_.empty()) {
            ++line_;
            const std::vector<std::string_view> words = next_line();
            if (words.empty())
                continue;
            if (is_number_start(words.front().front()))
                take_row(words);
            else
                take_keyword(words);
        }
        require_rows();
        return facts_;
    }

private:
    [[noreturn]] void fail(const std::string &what) const
    {
        throw failure(path_, "line " + std::to_string(line_) + ": " + what);
    }

    static bool is_number_start(char c) { return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.'; }

    static bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }

    // The words of the next line; a quoted text counts as its blanks divide it.
    std::vector<std::string_view> next_line()
    {
        const std::size_t end = std::min(rest_.find_first_of("\r\n"), rest_.size());
        std::string_view line = rest_.substr(0, end);
        rest_.remove_prefix(end);
        if (rest_.starts_with("\r\n"))
            rest_.remove_prefix(2);
        else if (!rest_.empty())
            rest_.remove_prefix(1);
        line = line.substr(0, line.find('#'));
        std::vector<std::string_view> words;
        for (std::size_t at = 0; at < line.size();) {
            while (at < line.size() && is_blank(line[at]))
                ++at;
            const std::size_t start = at;
            while (at < line.size() && !is_blank(line[at]))
                ++at;
            if (at > start)
                words.push_back(line.substr(start, at - start));
        }
        return words;
    }

    row numbers(const std::vector<std::string_view> &words, std::size_t first, std::size_t count) const
    {
        const char *wanted = count == 3 ? "three numbers wanted" : "two numbers wanted";
        row values{};
        if (words.size() != first + count)
            fail(wanted);
        for (std::size_t i = 0; i < count; ++i) {
            const std::optional<double> value = parse_number(words[first + i]);
            if (!value) {
                const std::string word = lower_case(words[first + i]);
                if (word.ends_with("nan") || word.ends_with("inf") || word.ends_with("infinity"))
                    fail("a number is not finite");
                fail(wanted);
            }
            values[i] = *value;
        }
        return values;
    }

    [[nodiscard]] std::size_t wanted1() const { return static_cast<std::size_t>(facts_.size1); }
    [[nodiscard]] std::size_t wanted3() const
    {
        const auto size = static_cast<std::size_t>(facts_.size3);
        return size * size * size;
    }

    void take_row(const std::vector<std::string_view> &words)
    {
        if (facts_.size1 == 0 && facts_.size3 == 0)
            fail("no LUT_1D_SIZE and no LUT_3D_SIZE");
        const row values = numbers(words, 0, 3);
        if (facts_.rows1.size() < wanted1())
            facts_.rows1.push_back(values);
        else if (facts_.rows3.size() < wanted3())
            facts_.rows3.push_back(values);
        else
            fail("more than " + std::to_string(wanted1() + wanted3()) + " rows");
    }

    int size(const std::vector<std::string_view> &words, int most) const
    {
        const std::optional<std::int64_t> value = words.size() == 2 ? parse_integer(words[1]) : std::nullopt;
        if (!value || *value < 2 || *value > most)
            fail(std::string(words.front()) + " " + (words.size() > 1 ? std::string(words[1]) : "") + ": 2 to " +
                 std::to_string(most));
        return static_cast<int>(*value);
    }

    void take_keyword(const std::vector<std::string_view> &words)
    {
        const std::string word = lower_case(words.front());
        if (!facts_.rows1.empty() || !facts_.rows3.empty())
            fail("three numbers wanted");
        if (word == "title")
            return;
        if (word == "lut_1d_size") {
            facts_.size1 = size(words, 65536);
        } else if (word == "lut_3d_size") {
            facts_.size3 = size(words, 129);
        } else if (word == "domain_min" || word == "domain_max") {
            if (!facts_.domain)
                facts_.domain.emplace();
            (word == "domain_min" ? facts_.domain->least : facts_.domain->most) = numbers(words, 1, 3);
            domain_line_ = line_;
        } else if (word == "lut_1d_input_range" || word == "lut_3d_input_range") {
            const row ends = numbers(words, 1, 2);
            if (!(ends[0] < ends[1]))
                fail(std::string(words.front()) + " " + number_text(ends[0]) + " is not below " + number_text(ends[1]));
            (word == "lut_1d_input_range" ? facts_.range1 : facts_.range3) =
                range{{ends[0], ends[0], ends[0]}, {ends[1], ends[1], ends[1]}};
        } else {
            work_.note(path_, "line " + std::to_string(line_) + ": \"" + std::string(words.front()) +
                                  "\" is not known, skipped");
        }
    }

    void require_rows()
    {
        if (facts_.size1 == 0 && facts_.size3 == 0)
            throw failure(path_, "no LUT_1D_SIZE and no LUT_3D_SIZE");
        if (facts_.domain)
            for (std::size_t c = 0; c < 3; ++c)
                if (!(facts_.domain->least[c] < facts_.domain->most[c])) {
                    line_ = domain_line_;
                    fail("DOMAIN_MIN " + number_text(facts_.domain->least[c]) + " is not below DOMAIN_MAX " +
                         number_text(facts_.domain->most[c]));
                }
        const std::size_t there = facts_.rows1.size() + facts_.rows3.size();
        if (there == wanted1() + wanted3())
            return;
        const std::string side = std::to_string(facts_.size3);
        std::string shape = facts_.size1 != 0 ? std::to_string(facts_.size1) : "";
        if (facts_.size3 != 0)
            shape += (shape.empty() ? "" : " + ") + side + " x " + side + " x " + side;
        fail(std::to_string(wanted1() + wanted3()) + " rows wanted (" + shape + "), the file ends after " +
             std::to_string(there));
    }

    job &work_;
    std::string path_;
    std::string text_;
    std::string_view rest_;
    std::size_t line_ = 0;
    std::size_t domain_line_ = 0;
    cube_facts facts_;
};

std::uint16_t sample_of(double value)
{
    return static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0, 1.0) * 65535));
}

// Value of the 1D table at x in 0 .. 1.
double on_rows(const std::vector<row> &rows, std::size_t channel, double x)
{
    const double at = x * static_cast<double>(rows.size() - 1);
    const std::size_t cell = std::min(static_cast<std::size_t>(at), rows.size() - 2);
    const double part = at - static_cast<double>(cell);
    return rows[cell][channel] * (1 - part) + rows[cell + 1][channel] * part;
}

// Domain and shaper of a channel as one curve onto the grid.
std::vector<std::uint16_t> input_curve(const cube_facts &facts, std::size_t c)
{
    const bool shaped = facts.size1 != 0;
    const range whole = {};
    const range first = (shaped ? facts.range1 : facts.range3).value_or(facts.domain.value_or(whole));
    const range second = facts.range3.value_or(whole);
    std::vector<std::uint16_t> curve(65536);
    for (std::size_t v = 0; v < curve.size(); ++v) {
        double x = (static_cast<double>(v) / 65535 - first.least[c]) / (first.most[c] - first.least[c]);
        x = std::clamp(x, 0.0, 1.0);
        if (shaped) {
            x = on_rows(facts.rows1, c, x);
            if (facts.size3 != 0)
                x = (x - second.least[c]) / (second.most[c] - second.least[c]);
        }
        curve[v] = sample_of(x);
    }
    return curve;
}

bool is_identity(const std::vector<std::uint16_t> &curve)
{
    for (std::size_t v = 0; v < curve.size(); ++v)
        if (curve[v] != v)
            return false;
    return true;
}

// The values of an output, scaled to the samples of the grid when they go beyond 0 .. 1, and the curve back.
void fill_output(colour_table &table, const std::vector<row> &rows, std::size_t c)
{
    double least = 0;
    double most = 1;
    for (const row &values : rows) {
        least = std::min(least, values[c]);
        most = std::max(most, values[c]);
    }
    const auto side = static_cast<std::size_t>(table.points());
    std::uint16_t *vertices = table.vertices();
    for (std::size_t b = 0; b < side; ++b)
        for (std::size_t g = 0; g < side; ++g)
            for (std::size_t r = 0; r < side; ++r)
                vertices[3 * ((r * side + g) * side + b) + c] =
                    sample_of((rows[(b * side + g) * side + r][c] - least) / (most - least));
    if (least == 0 && most == 1)
        return;
    std::vector<std::uint16_t> back(65536);
    for (std::size_t v = 0; v < back.size(); ++v)
        back[v] = sample_of(least + static_cast<double>(v) / 65535 * (most - least));
    table.set_output_curve(static_cast<int>(c), back);
}

}  // namespace

colour_table read_cube(job &work, const std::string &path)
{
    cube_facts facts = cube_parser(work, path).parse();
    if (facts.size3 == 0) {
        // Curves alone stand in front of a grid that changes nothing.
        for (const double b : {0.0, 1.0})
            for (const double g : {0.0, 1.0})
                for (const double r : {0.0, 1.0})
                    facts.rows3.push_back({r, g, b});
    }
    colour_table table(3, 3, facts.size3 == 0 ? 2 : facts.size3);
    for (std::size_t c = 0; c < 3; ++c) {
        std::vector<std::uint16_t> curve = input_curve(facts, c);
        if (!is_identity(curve))
            table.set_curve(static_cast<int>(c), std::move(curve));
        fill_output(table, facts.rows3, c);
    }
    return table;
}

std::string cube_text(const std::string &title, const colour_table &table)
{
    std::string shown;
    for (const char c : printable(title))
        if (c != '"')
            shown += c;
    std::string text = "TITLE \"" + shown + "\"\nLUT_3D_SIZE " + std::to_string(table.points()) + "\n";
    const auto side = static_cast<std::size_t>(table.points());
    const std::uint16_t *vertices = table.vertices();
    for (std::size_t b = 0; b < side; ++b)
        for (std::size_t g = 0; g < side; ++g)
            for (std::size_t r = 0; r < side; ++r)
                for (std::size_t c = 0; c < 3; ++c)
                    text +=
                        fixed_text(vertices[3 * ((r * side + g) * side + b) + c] / 65535.0, 6) + (c == 2 ? '\n' : ' ');
    return text;
}

}  // namespace tool
