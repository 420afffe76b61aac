// space_options - from which space to which, as the user says it, for the commands that convert

#include "space_options.h"

#include "frame/failure.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/text.h"
#include "tables/cube.h"

#include <algorithm>

namespace tool
{

namespace
{

// What a table's channels are, by the signature kept with it or by their number.
colour_space space_of_table(const std::string &signature, int channels)
{
    std::uint32_t number = 0;
    for (const char c : signature)
        number = number * 256 + static_cast<unsigned char>(c);
    const std::optional<colour_space> known = space_of(number);
    if (known && known->channels == channels)
        return *known;
    switch (channels) {
    case 1:
        return {colour_kind::gray, 1};
    case 3:
        return {colour_kind::rgb, 3};
    case 4:
        return {colour_kind::cmyk, 4};
    default:
        return {colour_kind::inks, channels};
    }
}

bool is_table_file(const std::string &path)
{
    const input_file file(path);
    char start[4] = {};
    return file.read_at(0, start, sizeof start) == sizeof start && std::string(start, sizeof start) == "TTAB";
}

void require_same(const std::string &path, colour_space wanted, const std::string &name, colour_space there)
{
    if (wanted.kind == there.kind && wanted.channels == there.channels)
        return;
    throw failure(path, "is for " + name_of(wanted.kind, wanted.channels) + ", " + name + " is " +
                            name_of(there.kind, there.channels));
}

}  // namespace

void space_options::describe(options &take, bool direct_allowed)
{
    take.path("--from", "P", "profile of the source: an ICC file, or srgb, linear, gray, lab", from);
    take.path("--to", "P", "profile of the target, named in the same way", to);
    take.choice("--intent", "I", {"perceptual", "relative", "saturation", "absolute"}, "rendering intent", intent);
    take.flag("--bpc", "compensate the black point", bpc);
    take.paths("--link", "F", "device link or table file, in place of --from and --to", links);
    take.paths("--cube", "F", "table of RGB as text, applied last", cubes);
    const std::string what = direct_allowed ? "auto, 2 to 256, or direct" : "auto or 2 to 256";
    const auto take_tables = [this, direct_allowed, what](const std::string &given) {
        const std::optional<std::int64_t> points = parse_integer(given);
        const bool word = given == "auto" || (direct_allowed && given == "direct");
        if (!word && (!points || *points < 2 || *points > 256))
            throw usage_failure("--tables " + given, what + " wanted");
        tables = given;
    };
    take.add(option{"--tables",
                    "N",
                    "points of the table along each axis: " + what,
                    tables,
                    {},
                    false,
                    completes::nothing,
                    take_tables});
    take.number("--max-error", "E", 1e-6, 1000, "largest delta E 2000 of a table; more points are taken, or it fails",
                max_error);
    take.flag("--check", "tell how far the table is from direct evaluation", check);
    take.number("--tac", "T", 1, 1500, "limit of the total ink in per cent", ink_limit);
}

int space_options::points() const { return static_cast<int>(parse_integer(tables).value_or(0)); }

void space_options::require_sense() const
{
    if (to.empty() && links.empty() && cubes.empty())
        throw usage_failure("", "nothing to do: --to, --link or --cube is missing");
    if (!links.empty() && (!from.empty() || !to.empty()))
        throw usage_failure("--link", "is given in place of --from and --to");
    if (bpc && intent == "absolute")
        throw usage_failure("--bpc", "has no meaning with --intent absolute");
}

target_steps::target_steps(job &work, colour_engine &engine, const space_options &said) : engine_(engine), said_(said)
{
    if (!said.to.empty()) {
        target_ = engine.open(work, said.to);
        target_->require_target(intent_of(said.intent));
        modified_ = target_->modified();
    }
    for (const std::string &path : said.links) {
        if (is_table_file(path)) {
            kept_table kept = read_ttab(path);
            const colour_space from = space_of_table(kept.names.source, kept.table.inputs());
            const colour_space to = space_of_table(kept.names.target, kept.table.outputs());
            links_.emplace_back(true, link_tables_.size());
            link_tables_.push_back({path, std::make_shared<colour_table>(std::move(kept.table)), from, to});
        } else {
            links_.emplace_back(false, link_profiles_.size());
            link_profiles_.push_back(engine.open(work, path));
        }
        modified_ = std::max(modified_, input_file(path).facts().modified);
    }
    const colour_space rgb = {colour_kind::rgb, 3};
    for (const std::string &path : said.cubes) {
        cubes_.push_back({path, std::make_shared<colour_table>(read_cube(work, path)), rgb, rgb});
        modified_ = std::max(modified_, input_file(path).facts().modified);
    }
}

colour_space target_steps::first_space() const
{
    if (links_.empty())
        return {colour_kind::rgb, 3};
    const auto &[is_table, place] = links_.front();
    return is_table ? link_tables_[place].from
                    : link_profiles_[place].space().value_or(colour_space{colour_kind::rgb, 3});
}

conversion target_steps::chain(const colour_profile *source, const std::string &name, colour_space space) const
{
    const cmsUInt32Number intent = intent_of(said_.intent);
    conversion made;
    std::string before = name;
    if (target_)
        made.add_profiles(engine_, *source, *target_, intent, said_.bpc);
    for (const auto &[is_table, place] : links_) {
        const colour_space there = made.empty() ? space : made.to();
        if (is_table) {
            const table_step &step = link_tables_[place];
            require_same(step.path, step.from, before, there);
            made.add_table(step.table, step.from, step.to);
            before = step.path;
        } else {
            const colour_profile &link = link_profiles_[place];
            conversion alone;
            alone.add_link(engine_, link, intent);
            require_same(link.shown(), alone.from(), before, there);
            made.add_link(engine_, link, intent);
            before = link.shown();
        }
    }
    for (const table_step &cube : cubes_) {
        const colour_space there = made.empty() ? space : made.to();
        if (there.kind != colour_kind::rgb)
            throw failure(name, "--cube works on RGB, this is " + name_of(there.kind, there.channels));
        made.add_table(cube.table, cube.from, cube.to);
    }
    if (said_.ink_limit) {
        const colour_space to = made.to();
        if (to.kind != colour_kind::cmyk && to.kind != colour_kind::inks)
            throw usage_failure("--tac", "the output is " + name_of(to.kind, to.channels) + ", which has no inks");
        if (*said_.ink_limit > 100.0 * to.channels)
            throw usage_failure("--tac " + number_text(*said_.ink_limit), "1 to " + std::to_string(100 * to.channels));
        made.set_ink_limit(*said_.ink_limit);
    }
    return made;
}

namespace
{

void measure_all(const conversion &chain, const words &samples, int depth, chosen_table &chosen)
{
    chosen.space = measure(chain, check_points(chain.from()), chosen.run, depth);
    if (!samples.empty())
        chosen.picture = measure(chain, samples, chosen.run, depth);
}

double largest_of(const chosen_table &chosen)
{
    return std::max(chosen.space->exact.largest, chosen.picture ? chosen.picture->exact.largest : 0.0);
}

std::string worst_of(const chosen_table &chosen)
{
    const bool of_picture = chosen.picture && chosen.picture->exact.largest > chosen.space->exact.largest;
    std::string text;
    for (const std::uint16_t sample : of_picture ? chosen.picture->exact.worst : chosen.space->exact.worst)
        text += (text.empty() ? "" : " ") + std::to_string((sample + 128) / 257);
    return text;
}

chosen_table table_of(const conversion &chain, std::shared_ptr<const colour_table> table)
{
    chosen_table chosen;
    chosen.table = std::move(table);
    if (chosen.table)
        chosen.run = [kept = chosen.table](const std::uint16_t *in, std::uint16_t *out, std::size_t pixels) {
            kept->run(in, 16, kept->inputs(), out, 16, kept->outputs(), pixels);
        };
    else
        chosen.run = [chain](const std::uint16_t *in, std::uint16_t *out, std::size_t pixels) {
            chain.direct(in, out, pixels);
        };
    return chosen;
}

}  // namespace

chosen_table choose_table(const conversion &chain, const space_options &said, const std::string &name,
                          const words &samples, int depth, int threads, kept_curves keeps)
{
    std::vector<int> points = chain.points();
    if (said.points() > 0)
        points = {said.points()};
    std::shared_ptr<const colour_table> only = chain.only_table();
    if (only && ((keeps != kept_curves::all && only->has_output_curves()) ||
                 (keeps == kept_curves::none && only->has_curves())))
        only = nullptr;
    if (said.direct() || (only && said.points() == 0)) {
        chosen_table chosen = table_of(chain, said.direct() ? nullptr : only);
        if (said.checked())
            measure_all(chain, samples, depth, chosen);
        return chosen;
    }
    for (const int count : points) {
        if (!is_possible_table(chain.from().channels, chain.to().channels, count))
            throw usage_failure("--tables " + std::to_string(count),
                                "too many points for " + std::to_string(chain.from().channels) + " channels");
        chosen_table chosen = table_of(chain, chain.build(count, threads, keeps != kept_curves::none));
        if (said.checked())
            measure_all(chain, samples, depth, chosen);
        if (!said.max_error || largest_of(chosen) <= *said.max_error)
            return chosen;
        if (count == points.back()) {
            const std::string unit = chain.to_lab() != nullptr ? "delta E " : "per cent ";
            throw failure(name, unit + fixed_text(largest_of(chosen), 2) + " with " + std::to_string(count) +
                                    " points" + (said.points() > 0 ? "" : ", the most there is") + "; --max-error " +
                                    number_text(*said.max_error) + " not reached (worst at " + worst_of(chosen) + ")");
        }
    }
    return {};
}

json check_figures(const conversion &chain, const chosen_table &chosen)
{
    constexpr int digits = 4;
    const auto figures = [](const differences &found) {
        json shown = json::object();
        shown["n"] = found.count;
        shown["mean"] = json::rounded(found.mean, digits);
        shown["p95"] = json::rounded(found.p95, digits);
        shown["max"] = json::rounded(found.largest, digits);
        return shown;
    };
    json shown = json::object();
    shown["unit"] = chain.to_lab() != nullptr ? "dE2000" : "percent";
    double rounding = chosen.space->rounding;
    if (chosen.picture) {
        shown["picture"] = figures(chosen.picture->written);
        rounding = std::max(rounding, chosen.picture->rounding);
    }
    shown["space"] = figures(chosen.space->written);
    json worst = json::array();
    for (const std::uint16_t sample : chosen.space->written.worst)
        worst.push_back((sample + 128) / 257);
    shown["space"]["worst"] = worst;
    shown["rounding"]["max"] = json::rounded(rounding, digits);
    return shown;
}

std::string check_line(const conversion &chain, const chosen_table &chosen)
{
    const differences &found = chosen.space->written;
    std::string line = chain.to_lab() != nullptr ? "delta E 2000: mean " : "per cent of the range: mean ";
    line +=
        fixed_text(found.mean, 2) + ", 95 % " + fixed_text(found.p95, 2) + ", largest " + fixed_text(found.largest, 2);
    if (chosen.picture)
        line += " (picture " + fixed_text(chosen.picture->written.largest, 2) + ")";
    return line;
}

json table_figures(const chosen_table &chosen)
{
    if (!chosen.table)
        return nullptr;
    json shown = json::object();
    shown["points"] = chosen.table->points();
    shown["bytes"] = chosen.table->samples() * 2;
    shown["curves"] = chosen.table->has_curves();
    return shown;
}

json bpc_figure(const space_options &said, const colour_profile *from, const colour_profile *to)
{
    constexpr double version4 = 4.0;
    const bool photographic = said.intent == "perceptual" || said.intent == "saturation";
    if (photographic && from != nullptr && to != nullptr && cmsGetProfileVersion(from->get()) >= version4 &&
        cmsGetProfileVersion(to->get()) >= version4)
        return "forced";
    return said.bpc;
}

}  // namespace tool
