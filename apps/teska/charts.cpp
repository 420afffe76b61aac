// charts - the colours of measured charts, text files of the CGATS form

#include "charts.h"

#include "frame/failure.h"
#include "frame/files.h"
#include "frame/job.h"
#include "frame/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

namespace tool
{

namespace
{

constexpr std::uint64_t largest_file = std::uint64_t{16} << 20;
constexpr double largest_value = 10000;

// ---- The text -------------------------------------------------------------------------------------------------------

struct token {
    std::string_view text;
    std::size_t line;
    bool quoted;
    bool first;  // of its line
};

// The words of a text: between blanks, or in quotes; nothing of comments.
class chart_words
{
public:
    explicit chart_words(const std::string &path) : path_(path), text_(read_file(path, largest_file))
    {
        if (text_.starts_with("\xEF\xBB\xBF"))
            at_ = 3;
    }

    [[nodiscard]] const std::string &path() const { return path_; }
    [[nodiscard]] std::size_t line() const { return line_; }

    [[noreturn]] void fail(std::size_t line, const std::string &what) const
    {
        throw failure(path_, "line " + std::to_string(line) + ": " + what);
    }

    // The next word; empty at the end of the text.
    std::optional<token> next()
    {
        while (at_ < text_.size()) {
            const char byte = text_[at_];
            if (byte == '\n' || byte == '\r')
                end_line();
            else if (byte == '#')
                at_ = end_of_line();
            else if (byte == ' ' || byte == '\t')
                ++at_;
            else
                return byte == '"' ? quoted() : plain();
        }
        return std::nullopt;
    }

    void skip_line() { at_ = end_of_line(); }

private:
    void end_line()
    {
        at_ += text_.compare(at_, 2, "\r\n") == 0 ? 2 : 1;
        ++line_;
        first_ = true;
    }

    [[nodiscard]] std::size_t end_of_line() const { return std::min(text_.find_first_of("\r\n", at_), text_.size()); }

    token word(std::size_t start, std::size_t end, bool quoted)
    {
        const token made = {std::string_view(text_).substr(start, end - start), line_, quoted, first_};
        first_ = false;
        return made;
    }

    token plain()
    {
        const std::size_t start = at_;
        at_ = std::min(text_.find_first_of(" \t\r\n", at_), text_.size());
        return word(start, at_, false);
    }

    // A quote in a text is written twice.
    token quoted()
    {
        const std::size_t start = at_ + 1;
        const std::size_t line_end = end_of_line();
        std::size_t end = text_.find('"', start);
        while (end < line_end && end + 1 < line_end && text_[end + 1] == '"')
            end = text_.find('"', end + 2);
        if (end >= line_end)
            fail(line_, "a quoted text has no end");
        at_ = end + 1;
        return word(start, end, true);
    }

    std::string path_;
    std::string text_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
    bool first_ = true;
};

// ---- Tables ---------------------------------------------------------------------------------------------------------

struct colour_columns {
    std::array<std::size_t, 3> at;
    bool xyz;
};

// Columns of inks, in lower case; empty when there are less than three or more than eight.
struct ink_columns {
    std::vector<std::string> names;
    bool additive;
};

std::vector<ink_columns> known_inks()
{
    std::vector<ink_columns> known = {{{"cmyk_c", "cmyk_m", "cmyk_y", "cmyk_k"}, false},
                                      {{"rgb_r", "rgb_g", "rgb_b"}, true},
                                      {{"cmy_c", "cmy_m", "cmy_y"}, false}};
    for (char number = '3'; number <= '8'; ++number) {
        known.push_back({{}, false});
        for (char ink = '1'; ink <= number; ++ink)
            known.back().names.push_back(std::string(1, number) + "clr_" + ink);
    }
    return known;
}

// What is read of a file.
struct chart_wish {
    std::string table;  // empty: the first that has what is wanted
    bool inks;
};

class chart_reader
{
public:
    chart_reader(job &work, const std::string &path, chart_wish wish)
        : work_(work), words_(path), wish_(std::move(wish))
    {
    }

    ink_chart read()
    {
        while (const std::optional<token> word = read_ahead_ ? std::exchange(read_ahead_, {}) : words_.next())
            if (word->first && !word->quoted && !take_keyword(*word))
                break;
        if (done_)
            return std::move(read_);
        if (tables_ == 0)
            throw failure(words_.path(), "is no ICC profile and no chart");
        if (!wish_.table.empty() && !found_)
            throw failure(words_.path(), "has no table \"" + printable(wish_.table) + "\"", "it has " + all_names_);
        if (has_colours_)
            throw failure(words_.path(), "has no columns of 3 to 8 inks");
        throw failure(words_.path(), "has no Lab and no XYZ columns");
    }

private:
    // False when no more is wanted of the file.
    bool take_keyword(const token &word)
    {
        const std::string keyword = lower_case(word.text);
        if (keyword == "number_of_fields")
            fields_wanted_ = count(word);
        else if (keyword == "number_of_sets")
            sets_wanted_ = count(word);
        else if (keyword == "begin_data_format")
            read_format();
        else if (keyword == "begin_data")
            return read_table(word);
        else if (keyword == "table_name" || keyword == "table_descriptor" || keyword == "descriptor")
            take_name();
        else
            take_first_line(word);
        return true;
    }

    void take_name()
    {
        read_ahead_ = words_.next();
        if (!read_ahead_ || read_ahead_->first)
            return;  // there is no name
        table_names_.emplace_back(std::exchange(read_ahead_, {})->text);
        words_.skip_line();
    }

    // The kind of a table stands alone in its first line.
    void take_first_line(const token &word)
    {
        if (table_names_.empty() && names_.empty())
            table_names_.emplace_back(word.text);
        words_.skip_line();
    }

    [[nodiscard]] bool is_wanted() const
    {
        const std::string wanted = lower_case(wish_.table);
        const auto is_it = [&](const std::string &name) { return lower_case(name) == wanted; };
        return wanted.empty() || wanted == std::to_string(tables_) ||
               std::any_of(table_names_.begin(), table_names_.end(), is_it);
    }

    bool read_table(const token &begin)
    {
        ++tables_;
        if (names_.empty())
            words_.fail(begin.line, "BEGIN_DATA without columns before it");
        constexpr int most_shown = 10;
        if (tables_ <= most_shown)
            all_names_ += (tables_ > 1 ? ", \"" : "\"") +
                          printable(table_names_.empty() ? std::to_string(tables_) : table_names_.back()) + "\"";
        const bool wanted = is_wanted();
        found_ = found_ || wanted;
        const std::optional<colour_columns> columns = wanted ? find_columns() : std::nullopt;
        has_colours_ = has_colours_ || columns;
        const ink_columns inks = columns && wish_.inks ? find_inks() : ink_columns();
        if (columns && (!wish_.inks || !inks.names.empty())) {
            read_sets(*columns, inks);
            done_ = true;
            if (wish_.table.empty())
                return false;
        } else {
            skip_sets();
        }
        forget_table();
        return true;
    }

    std::size_t count(const token &keyword)
    {
        const std::optional<token> word = words_.next();
        const std::optional<std::int64_t> number = word && !word->first ? parse_integer(word->text) : std::nullopt;
        if (!number || *number < 0)
            words_.fail(keyword.line, printable(keyword.text) + ": a number wanted");
        return static_cast<std::size_t>(*number);
    }

    void read_format()
    {
        names_.clear();
        while (const std::optional<token> word = words_.next()) {
            const std::string name = lower_case(word->text);
            if (!word->quoted && name == "end_data_format") {
                format_end_ = word->line;
                return;
            }
            if (!word->quoted && (name == "begin_data" || name == "end_data"))
                words_.fail(word->line, printable(word->text) + " before END_DATA_FORMAT");
            names_.push_back(name);
        }
        words_.fail(words_.line(), "the file ends without END_DATA_FORMAT");
    }

    [[nodiscard]] std::optional<std::size_t> column(const std::string &name) const
    {
        const auto found = std::find(names_.begin(), names_.end(), name);
        if (found == names_.end())
            return std::nullopt;
        if (std::find(found + 1, names_.end(), name) != names_.end())
            words_.fail(format_end_, "column " + name + " is there twice");
        return static_cast<std::size_t>(found - names_.begin());
    }

    std::optional<colour_columns> find_columns()
    {
        static const std::array<std::array<std::string, 3>, 4> known = {{{"lab_l", "lab_a", "lab_b"},
                                                                         {"l*", "a*", "b*"},
                                                                         {"d50_l", "d50_a", "d50_b"},
                                                                         {"xyz_x", "xyz_y", "xyz_z"}}};
        for (const auto &names : known) {
            const auto first = column(names[0]);
            const auto second = column(names[1]);
            const auto third = column(names[2]);
            if (!first || !second || !third)
                continue;
            if (fields_wanted_ && *fields_wanted_ != names_.size())
                words_.fail(format_end_, std::to_string(*fields_wanted_) + " fields wanted, " +
                                             std::to_string(names_.size()) + " found");
            return colour_columns{{*first, *second, *third}, names[0] == "xyz_x"};
        }
        return std::nullopt;
    }

    void skip_sets()
    {
        while (const std::optional<token> word = words_.next())
            if (!word->quoted && lower_case(word->text) == "end_data")
                break;
    }

    void forget_table()
    {
        names_.clear();
        table_names_.clear();
        fields_wanted_.reset();
        sets_wanted_.reset();
    }

    // The first of the known groups of columns that is there as a whole.
    [[nodiscard]] ink_columns find_inks() const
    {
        for (const ink_columns &known : known_inks())
            if (std::all_of(known.names.begin(), known.names.end(),
                            [this](const std::string &name) { return column(name).has_value(); }))
                return known;
        return {};
    }

    void read_sets(const colour_columns &columns, const ink_columns &inks)
    {
        std::vector<std::size_t> wanted(columns.at.begin(), columns.at.end());
        for (const std::string &name : inks.names)
            wanted.push_back(*column(name));
        std::vector<token> sets;  // of each set the wanted ones
        std::size_t values = 0;
        std::size_t end_line = 0;
        bool point = false;
        while (const std::optional<token> word = words_.next()) {
            if (!word->quoted && lower_case(word->text) == "end_data") {
                end_line = word->line;
                break;
            }
            const std::size_t field = values++ % names_.size();
            if (field == 0)
                sets.resize(sets.size() + wanted.size());
            for (std::size_t i = 0; i < wanted.size(); ++i)
                if (wanted[i] == field)
                    sets[sets.size() - wanted.size() + i] = *word;
            point = point || (!word->quoted && word->text.find('.') != std::string_view::npos &&
                              parse_number(word->text).has_value());
        }
        require_whole(values, end_line);
        const bool commas = !point && std::any_of(sets.begin(), sets.end(), [](const token &word) {
            return word.text.find(',') != std::string_view::npos;
        });
        if (commas)
            work_.note(words_.path(), "decimal commas, taken as points");
        std::vector<lab_colour> colours;
        std::vector<double> amounts;
        for (std::size_t i = 0; i < sets.size(); ++i) {
            const std::size_t field = i % wanted.size();
            const double number = value(sets[i], names_[wanted[field]], commas);
            if (field == 0)
                colours.emplace_back();
            if (field < 3)
                colours.back()[field] = number;
            else
                amounts.push_back(number);
        }
        if (columns.xyz)
            turn_to_lab(colours);
        read_.colours.insert(read_.colours.end(), colours.begin(), colours.end());
        if (!inks.names.empty())
            take_amounts(inks, std::move(amounts));
    }

    static void turn_to_lab(std::vector<lab_colour> &colours)
    {
        double largest = 0;
        for (const lab_colour &xyz : colours)
            largest = std::max({largest, xyz[0], xyz[1], xyz[2]});
        for (lab_colour &colour : colours)
            colour = lab_of(colour, largest <= 2 ? 100 : 1);
    }

    void take_amounts(const ink_columns &inks, std::vector<double> amounts)
    {
        const double largest = amounts.empty() ? 0 : *std::max_element(amounts.begin(), amounts.end());
        const double full = largest <= 1 ? 1 : largest <= 100 ? 100 : 255;
        for (double &amount : amounts)
            amount /= full;
        read_.amounts = std::move(amounts);
        read_.additive = inks.additive;
        read_.inks = channel_names(static_cast<int>(inks.names.size()), inks.additive);
    }

    void require_whole(std::size_t values, std::size_t end_line)
    {
        const std::size_t line = end_line != 0 ? end_line : words_.line();
        const std::size_t found = values / names_.size();
        if (sets_wanted_ && *sets_wanted_ != found)
            words_.fail(line, std::to_string(*sets_wanted_) + " sets wanted, " + std::to_string(found) + " found");
        if (values % names_.size() != 0)
            words_.fail(line, "the last set has " + std::to_string(values % names_.size()) + " of " +
                                  std::to_string(names_.size()) + " values");
        if (end_line == 0 && !sets_wanted_)
            words_.fail(line, "the file ends without END_DATA");
        if (end_line == 0)
            work_.note(words_.path(), "END_DATA is missing at its end");
    }

    [[nodiscard]] double value(const token &word, const std::string &name, bool commas) const
    {
        std::string text(word.text);
        if (commas && std::count(text.begin(), text.end(), ',') == 1)
            std::replace(text.begin(), text.end(), ',', '.');
        const std::optional<double> number = parse_number(text);
        const auto shown = [&] { return "column " + printable(name) + ": \"" + printable(word.text) + "\""; };
        if (!number)
            words_.fail(word.line, shown() + " is not a number");
        if (std::abs(*number) > largest_value)
            words_.fail(word.line, shown() + " is no colour");
        return *number;
    }

    static lab_colour lab_of(const lab_colour &xyz, double scale)
    {
        constexpr double edge = 24.0 / 116;
        constexpr lab_colour white = {96.42, 100, 82.49};
        lab_colour root;
        for (std::size_t i = 0; i < 3; ++i) {
            const double ratio = xyz[i] * scale / white[i];
            root[i] = ratio > edge * edge * edge ? std::cbrt(ratio) : ratio * (841.0 / 108) + 16.0 / 116;
        }
        return {116 * root[1] - 16, 500 * (root[0] - root[1]), 200 * (root[1] - root[2])};
    }

    job &work_;
    chart_words words_;
    chart_wish wish_;
    std::optional<token> read_ahead_;
    ink_chart read_ = {};
    bool done_ = false;                     // something was read
    bool found_ = false;                    // a table of the wanted name
    bool has_colours_ = false;              // a table, but perhaps without inks
    std::string all_names_;                 // of the tables, for a message
    std::vector<std::string> table_names_;  // of the table that comes
    std::vector<std::string> names_;        // of the columns, in lower case
    std::size_t format_end_ = 0;
    std::optional<std::size_t> fields_wanted_;
    std::optional<std::size_t> sets_wanted_;
    int tables_ = 0;
};

}  // namespace

chart read_chart(job &work, const std::string &path) { return read_chart(work, path, ""); }

chart read_chart(job &work, const std::string &path, const std::string &table)
{
    return {chart_reader(work, path, {table, false}).read().colours};
}

ink_chart read_ink_chart(job &work, const std::string &path) { return chart_reader(work, path, {"", true}).read(); }

std::vector<std::string> channel_names(int channels, bool additive)
{
    if (additive && channels == 3)
        return {"Red", "Green", "Blue"};
    std::vector<std::string> names = {"Cyan", "Magenta", "Yellow", "Black"};
    for (int i = 0; channels > 4 && i < channels; ++i) {
        names.resize(static_cast<std::size_t>(channels));
        names[static_cast<std::size_t>(i)] = "Ink " + std::to_string(i + 1);
    }
    names.resize(static_cast<std::size_t>(channels));
    return names;
}

std::vector<lab_colour> read_colours(job &work, const std::string &path)
{
    chart_words words(path);
    std::vector<lab_colour> colours;
    std::size_t values = 0;
    std::size_t line = 0;
    const auto require_three = [&] {
        if (values % 3 != 0)
            words.fail(line, "three numbers wanted");
    };
    while (const std::optional<token> word = words.next()) {
        const std::optional<double> number = word->quoted ? std::nullopt : parse_number(word->text);
        if (!number && values == 0)
            return read_chart(work, path).colours;
        if (word->first) {
            require_three();
            colours.emplace_back();
        } else if (values % 3 == 0) {
            words.fail(word->line, "three numbers wanted");
        }
        line = word->line;
        if (!number || std::abs(*number) > largest_value)
            words.fail(line, "\"" + printable(word->text) + "\" is no number of a colour");
        colours.back()[values++ % 3] = *number;
    }
    require_three();
    if (colours.empty())
        throw failure(path, "has no colours in it");
    return colours;
}

}  // namespace tool
