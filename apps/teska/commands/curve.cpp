// curve - curves through measured points: values, the inverse, tables

#include "frame/command.h"
#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/text.h"
#include "interp_double.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

namespace tool
{

namespace
{

constexpr std::uint64_t largest_file = std::uint64_t{16} << 20;
constexpr std::size_t most_points = 65535;

struct curve_point {
    double x;
    double y;
    std::size_t line;
};

// The rows "x y" of a text, sorted by x.
std::vector<curve_point> read_points(const std::string &path)
{
    const std::string text = read_file(path, largest_file);
    std::string_view rest = text;
    std::vector<curve_point> points;
    const auto fail = [&](std::size_t line, const std::string &what) {
        throw failure(path, "line " + std::to_string(line) + ": " + what);
    };
    for (std::size_t line = 1; !rest.empty(); ++line) {
        const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
        std::string_view row = rest.substr(0, end);
        rest.remove_prefix(std::min(end + (rest.substr(end, 2) == "\r\n" ? 2 : 1), rest.size()));
        row = row.substr(0, row.find('#'));
        std::vector<std::optional<double>> numbers;
        while ((row = row.substr(std::min(row.find_first_not_of(" \t"), row.size()))).empty() == false) {
            const std::size_t stop = std::min(row.find_first_of(" \t"), row.size());
            numbers.push_back(parse_number(row.substr(0, stop)));
            row.remove_prefix(stop);
        }
        if (numbers.empty())
            continue;
        if (numbers.size() != 2 || !numbers[0] || !numbers[1])
            fail(line, "two numbers wanted");
        if (points.size() == most_points)
            fail(line, "more than " + std::to_string(most_points) + " points");
        points.push_back({*numbers[0], *numbers[1], line});
    }
    if (points.size() < 2)
        throw failure(path, "two points wanted, it has " + std::to_string(points.size()));
    std::stable_sort(points.begin(), points.end(),
                     [](const curve_point &a, const curve_point &b) { return a.x < b.x; });
    for (std::size_t i = 1; i < points.size(); ++i)
        if (points[i].x == points[i - 1].x)
            fail(points[i].line, "x " + number_text(points[i].x) + " is there twice");
    return points;
}

class curve : public action
{
public:
    void describe(options &take) override
    {
        take.file("IN", "a text with x and y of a point in each line", in_);
        take.flag("--invert", "takes the inverse: x from y", invert_);
        take.numbers("--at", "X", 1, "tells the value at x", at_);
        take.choice("--table", "N", {"256", "1024", "65536"},
                    "a table of so many values, each 0 .. N - 1, in place of the points", table_);
        take.numbers("--range", "LO,HI", 2,
                     "what becomes 0 and N - 1 of a table, of x and y; without it their own ranges", range_);
        take.path("--out", "F", "writes points or table into a file, a line for each", out_);
    }

    void run(job &work) override
    {
        if (range_.size() > 1 || (!range_.empty() && !(range_[0][0] < range_[0][1])))
            throw usage_failure("--range", "one range wanted, the lower end first");
        if (!range_.empty() && table_.empty())
            throw usage_failure("--range", "goes with --table");
        const input_file file(in_);
        std::unique_ptr<output_file> out;
        if (!out_.empty())
            out = std::make_unique<output_file>(work, out_, std::vector<const input_file *>{&file});
        std::vector<curve_point> points = read_points(in_);
        if (invert_)
            turn_over(points);
        build(points);
        work.result["points"] = points.size();
        for (const std::vector<double> &x : at_) {
            json member = json::object();
            member["x"] = x[0];
            member["y"] = value(x[0]);
            work.result["at"].push_back(std::move(member));
            work.line("at " + number_text(x[0]) + " " + number_text(value(x[0])));
        }
        if (!table_.empty())
            tell_table(work, points, out.get());
        else if (out || at_.empty())
            tell_points(work, points, out.get());
        if (out)
            out->publish();
    }

private:
    struct kills {
        void operator()(lin_interp_double *record) const { lin_interp_double_kill(record); }
    };

    void turn_over(std::vector<curve_point> &points) const
    {
        const bool rises = points[1].y > points[0].y;
        for (std::size_t i = 1; i < points.size(); ++i)
            if (points[i].y == points[i - 1].y || (points[i].y > points[i - 1].y) != rises)
                throw failure(in_, "y turns at x " + number_text(points[i - 1].x) + "; it has no inverse");
        for (curve_point &point : points)
            std::swap(point.x, point.y);
        if (!rises)
            std::reverse(points.begin(), points.end());
    }

    void build(const std::vector<curve_point> &points)
    {
        lines_.reset(lin_interp_double_new(static_cast<int>(points.size()), nullptr));
        if (!lines_)
            throw_report(in_);
        for (const curve_point &point : points)
            if (lin_interp_double_insert(lines_.get(), point.x, point.y) != 0)
                throw_report(in_);
    }

    // The end values go on outside of the points.
    [[nodiscard]] double value(double x) const
    {
        double y = 0;
        if (lin_interp_double_inextp(lines_.get(), x, &y) != 0)
            throw_report(in_);
        return y;
    }

    static void tell_points(job &work, const std::vector<curve_point> &points, output_file *out)
    {
        json all = json::array();
        for (const curve_point &point : points) {
            all.push_back(json::array({point.x, point.y}));
            tell_line(work, number_text(point.x) + " " + number_text(point.y), out);
        }
        work.result["curve"] = std::move(all);
    }

    void tell_table(job &work, const std::vector<curve_point> &points, output_file *out) const
    {
        const double last = static_cast<double>(*parse_integer(table_)) - 1;
        const auto [low, high] = std::minmax_element(
            points.begin(), points.end(), [](const curve_point &a, const curve_point &b) { return a.y < b.y; });
        const double x0 = range_.empty() ? points.front().x : range_[0][0];
        const double x1 = range_.empty() ? points.back().x : range_[0][1];
        const double y0 = range_.empty() ? low->y : range_[0][0];
        const double y1 = range_.empty() ? high->y : range_[0][1];
        if (!(y0 < y1) || !std::isfinite(x1 - x0) || !std::isfinite(y1 - y0))
            throw failure(in_, "its values have no range", "--range gives one");
        json all = json::array();
        for (int i = 0; i <= static_cast<int>(last); ++i) {
            const double y = (value(x0 + (x1 - x0) * (i / last)) - y0) / (y1 - y0);
            const auto entry = static_cast<int>(std::floor(std::clamp(y, 0.0, 1.0) * last + 0.5));
            all.push_back(entry);
            tell_line(work, std::to_string(entry), out);
        }
        work.result["table"] = std::move(all);
    }

    static void tell_line(job &work, const std::string &text, output_file *out)
    {
        if (out != nullptr)
            out->write(text + "\n");
        else
            work.line(text);
    }

    std::string in_;
    bool invert_ = false;
    std::vector<std::vector<double>> at_;
    std::string table_;
    std::vector<std::vector<double>> range_;
    std::string out_;
    std::unique_ptr<lin_interp_double, kills> lines_;
};

}  // namespace

extern const command curve_command;
const command curve_command = {
    "curve",
    "values, inverses and tables of curves through points",
    "The curve runs in straight lines between the points; outside of them the first and the last value continue. A "
    "line of IN has x and y of a point, in any order of x; what follows a \"#\" is skipped.",
    {{"teska curve dots.txt --at 0.5", "the value in the middle"},
     {"teska curve dots.txt --invert --table 256 --range=0,1 --out plate.txt", "a table that undoes a gain"}},
    make_action<curve>};

}  // namespace tool
