// curve - curves through measured points: values, the inverse, tables

#include "fitted_curve.h"
#include "frame/command.h"
#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>

namespace tool
{

namespace
{

constexpr std::uint64_t largest_file = std::uint64_t{16} << 20;
constexpr std::size_t most_points = 65535;
constexpr int most_table = 65536;

struct curve_point {
    double x;
    double y;
    std::size_t line;
};

// The rows "x y" of a text, sorted by x.
std::vector<fitted_curve::point> read_points(const std::string &path)
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
    std::vector<fitted_curve::point> sorted;
    for (const curve_point &point : points)
        sorted.push_back({point.x, point.y});
    return sorted;
}

class curve : public action
{
public:
    void describe(options &take) override
    {
        take.file("IN", "a text with x and y of a point in each line", in_);
        take.choice("--fit", "KIND", {"lines", "cubic", "bezier"},
                    "straight lines or a smooth curve through the points, or one Bezier segment near them", fit_);
        take.integer("--points", "N", 2, most_table, "writes so many points, evenly in x, in place of those of IN",
                     count_);
        take.flag("--invert", "takes the inverse: x from y", invert_);
        take.numbers("--at", "X", 1, "tells the value at x", at_);
        take.choice("--table", "N", {"256", "1024", "65536"},
                    "a table of so many values, each 0 .. N - 1, in place of the points", table_);
        take.pair("--range", "LO,HI", "what becomes 0 and N - 1 of a table, of x and y; without it their own ranges",
                  range_);
        take.path("--out", "F", "writes points or table into a file, a line for each", out_);
    }

    void run(job &work) override
    {
        if (range_ && !((*range_)[0] < (*range_)[1]))
            throw usage_failure("--range", "one range wanted, the lower end first");
        if (range_ && table_.empty())
            throw usage_failure("--range", "goes with --table");
        if (count_ && !table_.empty())
            throw usage_failure("--points", "a table has its own number of them");
        const input_file file(in_);
        std::unique_ptr<output_file> out;
        if (!out_.empty())
            out = std::make_unique<output_file>(work, out_, std::vector<const input_file *>{&file});
        const std::vector<fitted_curve::point> points = read_points(in_);
        const fit_kind kind = fit_ == "lines" ? fit_kind::lines : fit_ == "cubic" ? fit_kind::cubic : fit_kind::bezier;
        fitted_curve through(in_, kind, points);
        if (invert_)
            through.invert();
        const bool has_rows = !table_.empty() || count_ || out || at_.empty();
        tell_fit(work, through, points.size(), has_rows && !out);
        for (const std::vector<double> &x : at_) {
            json member = json::object();
            member["x"] = x[0];
            member["y"] = through.value(x[0]);
            work.result["at"].push_back(std::move(member));
            work.line("at " + number_text(x[0]) + " " + number_text(through.value(x[0])));
        }
        const std::vector<fitted_curve::point> own = through.points();
        if (!table_.empty())
            tell_table(work, through, own, out.get());
        else if (has_rows)
            tell_points(work, count_ ? even_points(through, own) : own, out.get());
        if (out)
            out->publish();
    }

private:
    // Among rows what is no row is a comment.
    void tell_fit(job &work, const fitted_curve &through, std::size_t points, bool among_rows) const
    {
        work.result["points"] = points;
        if (fit_ == "lines")
            return;
        work.result["fit"] = fit_;
        if (fit_ != "bezier")
            return;
        for (const fitted_curve::point &control : through.control_points())
            work.result["bezier"].push_back(json::array({control[0], control[1]}));
        work.result["miss"]["vertical"] = through.vertical_miss();
        work.result["miss"]["parametric"] = through.parametric_miss();
        const std::string start = among_rows ? "# " : "";
        work.line(start + "vertical_miss " + number_text(through.vertical_miss()));
        work.line(start + "parametric_miss " + number_text(through.parametric_miss()));
    }

    [[nodiscard]] std::vector<fitted_curve::point> even_points(const fitted_curve &through,
                                                               const std::vector<fitted_curve::point> &own) const
    {
        std::vector<fitted_curve::point> points;
        const double first = own.front()[0];
        const double last = own.back()[0];
        for (int i = 0; i < *count_; ++i) {
            const double part = static_cast<double>(i) / (*count_ - 1);
            const double x = i + 1 == *count_ ? last : first * (1 - part) + last * part;
            points.push_back({x, through.value(x)});
        }
        return points;
    }

    static void tell_points(job &work, const std::vector<fitted_curve::point> &points, output_file *out)
    {
        json all = json::array();
        for (const fitted_curve::point &point : points) {
            all.push_back(json::array({point[0], point[1]}));
            tell_line(work, number_text(point[0]) + " " + number_text(point[1]), out);
        }
        work.result["curve"] = std::move(all);
    }

    void tell_table(job &work, const fitted_curve &through, const std::vector<fitted_curve::point> &points,
                    output_file *out) const
    {
        const double last = static_cast<double>(*parse_integer(table_)) - 1;
        const auto [low, high] =
            std::minmax_element(points.begin(), points.end(), [](const auto &a, const auto &b) { return a[1] < b[1]; });
        const double x0 = range_ ? (*range_)[0] : points.front()[0];
        const double x1 = range_ ? (*range_)[1] : points.back()[0];
        const double y0 = range_ ? (*range_)[0] : (*low)[1];
        const double y1 = range_ ? (*range_)[1] : (*high)[1];
        if (!(y0 < y1) || !std::isfinite(x1 - x0) || !std::isfinite(y1 - y0))
            throw failure(in_, "its values have no range", "--range gives one");
        json all = json::array();
        for (int i = 0; i <= static_cast<int>(last); ++i) {
            const double y = (through.value(x0 + (x1 - x0) * (i / last)) - y0) / (y1 - y0);
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
    std::string fit_ = "lines";
    std::optional<int> count_;
    bool invert_ = false;
    std::vector<std::vector<double>> at_;
    std::string table_;
    std::optional<std::array<double, 2>> range_;
    std::string out_;
};

}  // namespace

extern const command curve_command;
const command curve_command = {
    "curve",
    "values, inverses and tables of curves through points",
    "The curve runs in straight lines between the points, or smoothly without overshoot (--fit cubic), or is the one "
    "Bezier segment that comes near them and smooths what was measured (--fit bezier): its largest vertical miss is "
    "told, and the fit's own one, the largest distance along the curve. Outside of the points the first and the last "
    "value continue. A line of IN has x and y of a point, in any order of x; what follows a \"#\" is skipped.",
    {{"teska curve dots.txt --at 0.5", "the value in the middle"},
     {"teska curve dots.txt --fit cubic --points 101", "a smooth curve in steps of one in a hundred"},
     {"teska curve dots.txt --invert --table 256 --range=0,1 --out plate.txt", "a table that undoes a gain"}},
    make_action<curve>};

}  // namespace tool
