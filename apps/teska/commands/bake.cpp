// bake - a conversion kept in a file: a table, a .cube, or a device link

#include "frame/command.h"
#include "frame/failure.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/text.h"
#include "space_options.h"
#include "tables/cube.h"

#include <algorithm>
#include <cstdlib>

namespace tool
{

namespace
{

constexpr int most_cube_points = 129;

class bake : public action
{
public:
    void describe(options &take) override
    {
        take.output("OUT", "the file to write: .ttab, .cube or .icc", out_);
        said_.describe(take, false);
        take.choice("--type", "T", {"tables", "cube", "link"}, "what to write, when the name of OUT does not say it",
                    type_);
    }

    void run(job &work) override
    {
        said_.require_sense();
        const std::string type = type_of();
        if (!said_.to.empty() && said_.from.empty())
            throw usage_failure("--from", "is missing", "it names the profile of the source");
        if (type == "link" && said_.to.empty())
            throw usage_failure(out_, "a device link is made from --from and --to");
        if (type == "link" && (!said_.cubes.empty() || said_.ink_limit || said_.checked()))
            throw usage_failure(out_, "a device link is what Little CMS makes of two profiles",
                                "--cube, --tac, --check and --max-error are for tables");
        if (type == "cube" && said_.points() > most_cube_points)
            throw usage_failure("--tables " + said_.tables, "a .cube holds 2 to 129 points");
        output_file saved(work, out_);
        const target_steps steps(work, engine_, said_);
        std::optional<colour_profile> source;
        if (steps.needs_source()) {
            source = engine_.open(work, said_.from);
            source->require_source();
        }
        const colour_profile *from = source ? &*source : nullptr;
        const conversion chain = steps.chain(from, out_, from != nullptr ? *from->space() : steps.first_space());
        tell(work, type, chain, from, steps);
        if (type == "link")
            write_link(work, saved, chain, *source, steps);
        else
            write_table(work, saved, type, chain, from, steps);
        saved.publish();
    }

private:
    std::string type_of() const
    {
        if (!type_.empty())
            return type_;
        const std::string name = lower_case(out_);
        if (name.ends_with(".ttab"))
            return "tables";
        if (name.ends_with(".cube"))
            return "cube";
        if (name.ends_with(".icc") || name.ends_with(".icm"))
            return "link";
        throw usage_failure(out_, "what type? --type tables, cube or link");
    }

    void tell(job &work, const std::string &type, const conversion &chain, const colour_profile *from,
              const target_steps &steps) const
    {
        work.result["out"] = out_;
        work.result["type"] = type;
        work.result["inputs"] = chain.from().channels;
        work.result["outputs"] = chain.to().channels;
        work.result["from"] = from != nullptr ? json(from->description()) : json(nullptr);
        work.result["to"] = steps.target() != nullptr ? json(steps.target()->description()) : json(nullptr);
        work.result["intent"] = said_.intent;
        work.result["bpc"] = bpc_figure(said_, from, steps.target());
    }

    std::string line_start(const conversion &chain) const
    {
        return printable(out_) + ": " + name_of(chain.from().kind, chain.from().channels) + " to " +
               name_of(chain.to().kind, chain.to().channels) + ", ";
    }

    // What the file is called inside.
    std::string title(const colour_profile *from, const target_steps &steps) const
    {
        if (from != nullptr && steps.target() != nullptr)
            return from->description() + " to " + steps.target()->description();
        return name_of(said_.cubes.empty() ? said_.links.front() : said_.cubes.front());
    }

    void write_table(job &work, output_file &saved, const std::string &type, const conversion &chain,
                     const colour_profile *from, const target_steps &steps)
    {
        const bool cube = type == "cube";
        if (cube && (chain.from().kind != colour_kind::rgb || chain.to().kind != colour_kind::rgb))
            throw usage_failure(out_,
                                "a .cube holds RGB to RGB, this is " +
                                    name_of(chain.from().kind, chain.from().channels) + " to " +
                                    name_of(chain.to().kind, chain.to().channels),
                                "use .ttab or .icc");
        const chosen_table chosen =
            choose_table(chain, said_, out_, {}, 16, work.threads, cube ? kept_curves::none : kept_curves::inputs);
        const std::string name = title(from, steps);
        if (cube)
            saved.write(cube_text(name, *chosen.table));
        else
            write_ttab(saved, *chosen.table, {signature_of(chain.from()), signature_of(chain.to()), name});
        work.result["table"] = table_figures(chosen);
        work.line(line_start(chain) + "table of " + std::to_string(chosen.table->points()) + " points");
        if (chosen.space) {
            work.result["check"] = check_figures(chain, chosen);
            work.line(check_line(chain, chosen));
        }
        work.result["bytes"] = saved.size();
    }

    static std::string signature_of(colour_space space)
    {
        switch (space.kind) {
        case colour_kind::gray:
            return "GRAY";
        case colour_kind::rgb:
            return "RGB ";
        case colour_kind::cmyk:
            return "CMYK";
        case colour_kind::lab:
            return "Lab ";
        case colour_kind::inks:
            break;
        }
        constexpr const char *digits = "0123456789ABCDEF";
        return std::string(1, digits[space.channels & 15]) + "CLR";
    }

    // SOURCE_DATE_EPOCH, else the newest of the files it is made of, else a fixed day: two runs give equal bytes.
    static std::int64_t date_of(const colour_profile &source, const target_steps &steps)
    {
        constexpr std::int64_t fixed = 946684800;  // 2000-01-01
        if (const char *said = std::getenv("SOURCE_DATE_EPOCH"))
            if (const std::optional<std::int64_t> date = parse_integer(said); date && *date >= 0)
                return std::min<std::int64_t>(*date, 253402300799);  // the end of the year 9999
        const std::int64_t newest = std::max(source.modified(), steps.modified());
        return newest > 0 ? newest : fixed;
    }

    void write_link(job &work, output_file &saved, const conversion &chain, const colour_profile &source,
                    const target_steps &steps)
    {
        constexpr double version = 4.3;
        const transform direct = engine_.connect(source, *steps.target(), intent_of(said_.intent), said_.bpc);
        const int points = said_.points() > 0 ? said_.points() : chain.points().front();
        const auto flags = static_cast<cmsUInt32Number>(cmsFLAGS_GRIDPOINTS(points)) | cmsFLAGS_KEEP_SEQUENCE;
        const auto closes = [](void *profile) { cmsCloseProfile(profile); };
        const std::unique_ptr<void, decltype(closes)> link(cmsTransform2DeviceLink(direct.get(), version, flags),
                                                           closes);
        if (!link)
            throw failure(out_, "Little CMS: " + engine_.take_text());
        const std::unique_ptr<cmsMLU, decltype(&cmsMLUfree)> text(cmsMLUalloc(engine_.context(), 1), cmsMLUfree);
        const std::string name = printable(title(&source, steps));
        if (text && cmsMLUsetASCII(text.get(), "en", "US", name.c_str()) != FALSE)
            cmsWriteTag(link.get(), cmsSigProfileDescriptionTag, text.get());
        const std::string bytes = saved_profile(link.get(), date_of(source, steps));
        const std::unique_ptr<void, decltype(closes)> again(
            cmsOpenProfileFromMemTHR(engine_.context(), bytes.data(), static_cast<cmsUInt32Number>(bytes.size())),
            closes);
        if (!again || cmsGetDeviceClass(again.get()) != cmsSigLinkClass)
            throw failure(out_, "Little CMS has written no device link");
        saved.write(bytes);
        work.result["bytes"] = bytes.size();
        work.line(line_start(chain) + "device link of " + std::to_string(bytes.size()) + " bytes");
    }

    std::string out_;
    space_options said_;
    std::string type_;
    colour_engine engine_;
};

}  // namespace

extern const command bake_command;
const command bake_command = {
    "bake",
    "keep a conversion in a file: a table, a .cube or a device link",
    "A table file (.ttab) is taken by teska convert wherever --link takes a device link; it has the same bytes on "
    "every "
    "machine. A .cube holds RGB to RGB. A device link (.icc) is what Little CMS makes of the two profiles.",
    {{"teska bake press.ttab --from srgb --to press.icc --bpc --max-error 1", "as many points as delta E 1 needs"},
     {"teska bake look.cube --from photo.icc --to srgb", "33 points a side, for video programs"}},
    make_action<bake>};

}  // namespace tool
