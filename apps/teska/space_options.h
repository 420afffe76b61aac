// space_options - from which space to which, as the user says it, for the commands that convert

#ifndef TESKA_TOOL_SPACE_OPTIONS_H
#define TESKA_TOOL_SPACE_OPTIONS_H

#include "conversion.h"
#include "frame/json.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool
{

class options;

struct space_options {
    // Adds --from, --to, --intent, --bpc, --link, --cube, --tables, --max-error, --check, --tac.
    void describe(options &take, bool direct_allowed);

    // Throws usage_failure for what does not fit together.
    void require_sense() const;

    std::string from;
    std::string to;
    std::string intent = "relative";
    bool bpc = false;
    std::vector<std::string> links;
    std::vector<std::string> cubes;
    std::string tables = "auto";
    std::optional<double> max_error;
    bool check = false;
    std::optional<double> ink_limit;

    [[nodiscard]] bool checked() const { return check || max_error.has_value(); }
    [[nodiscard]] bool direct() const { return tables == "direct"; }

    // Points that were asked for; 0 for auto and direct.
    [[nodiscard]] int points() const;
};

// The target, links and cubes, opened once for any number of pictures.
class target_steps
{
public:
    target_steps(job &work, colour_engine &engine, const space_options &said);

    // The whole conversion of a source; links and cubes need none. Throws when a step does not take what is before it.
    //   name  of the picture, for messages
    [[nodiscard]] conversion chain(const colour_profile *source, const std::string &name, colour_space space) const;

    [[nodiscard]] const colour_profile *target() const { return target_ ? &*target_ : nullptr; }
    [[nodiscard]] bool needs_source() const { return target_.has_value(); }

    // Newest time of the files, in seconds since 1970.
    [[nodiscard]] std::int64_t modified() const { return modified_; }

    // Of the first link, or of the cubes' RGB; for bake without a picture.
    [[nodiscard]] colour_space first_space() const;

    [[nodiscard]] const std::vector<colour_profile> &links() const { return link_profiles_; }

private:
    struct table_step {
        std::string path;
        std::shared_ptr<const colour_table> table;
        colour_space from;
        colour_space to;
    };

    colour_engine &engine_;
    const space_options &said_;
    std::optional<colour_profile> target_;
    std::vector<colour_profile> link_profiles_;
    std::vector<table_step> link_tables_;
    std::vector<std::pair<bool, std::size_t>> links_;  // a table or a profile, in the order given, and its place
    std::vector<table_step> cubes_;
    std::int64_t modified_ = 0;
};

// A table for a conversion: as asked for, or the first that is near enough to direct evaluation.
struct chosen_table {
    std::shared_ptr<const colour_table> table;  // null: evaluated directly
    pixel_function run;
    std::optional<measured> space;    // of the points of the whole space
    std::optional<measured> picture;  // of those of the picture
};

// name      of the file, for messages
// samples   pixels of the picture to look at; may be empty
// depth     of the output
// keeps     curves of inputs, and of outputs too, that the table may have
enum class kept_curves { all, inputs, none };
chosen_table choose_table(const conversion &chain, const space_options &said, const std::string &name,
                          const words &samples, int depth, int threads, kept_curves keeps = kept_curves::all);

// "check" of the JSON, and the line for people.
json check_figures(const conversion &chain, const chosen_table &chosen);
std::string check_line(const conversion &chain, const chosen_table &chosen);

// "table" of the JSON; null without one.
json table_figures(const chosen_table &chosen);

// "forced" where Little CMS compensates the black point unasked, else what was asked.
json bpc_figure(const space_options &said, const colour_profile *from, const colour_profile *to);

}  // namespace tool

#endif
