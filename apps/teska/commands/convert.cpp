// convert - pictures from one colour space into another
//
// For each page: its source profile, what becomes of its extra samples, a table (kept for further pages and pictures
// of the same source), then band after band of lines through the table. With --check or --max-error the page is read
// twice: first for the pixels that the table is compared at.

#include "frame/command.h"
#include "frame/failure.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/progress.h"
#include "frame/text.h"
#include "pictures/alpha.h"
#include "pictures/bands.h"
#include "pictures/picture.h"
#include "space_options.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <set>

namespace tool
{

namespace
{

constexpr std::size_t band_bytes = std::size_t{256} * 1024;  // of output: a strip of a TIFF

// The 20,000 pixels whose numbers have the smallest SplitMix64.
class pixel_choice
{
public:
    explicit pixel_choice(const page_facts &page) : page_(page) {}

    // The next line of the page.
    void take(const void *line)
    {
        for (std::size_t x = 0; x < page_.width; ++x, ++number_) {
            const std::uint64_t order = splitmix64(number_);
            if (chosen_.size() == most && order >= chosen_.rbegin()->first)
                continue;
            chosen_.emplace(order, pixel(line, x));
            if (chosen_.size() > most)
                chosen_.erase(std::prev(chosen_.end()));
        }
    }

    [[nodiscard]] words samples() const
    {
        words all;
        for (const auto &[order, pixel] : chosen_)
            all.insert(all.end(), pixel.begin(), pixel.end());
        return all;
    }

private:
    [[nodiscard]] words pixel(const void *line, std::size_t x) const
    {
        words colours(static_cast<std::size_t>(page_.colours));
        const std::size_t start = x * static_cast<std::size_t>(page_.samples());
        for (std::size_t c = 0; c < colours.size(); ++c)
            colours[c] = page_.depth == 16
                             ? static_cast<const std::uint16_t *>(line)[start + c]
                             : static_cast<std::uint16_t>(static_cast<const std::uint8_t *>(line)[start + c] * 257);
        return colours;
    }

    static constexpr std::size_t most = 20000;
    const page_facts &page_;
    std::uint64_t number_ = 0;
    std::map<std::uint64_t, words> chosen_;
};

// What a page is converted by.
struct page_conversion {
    conversion chain;
    chosen_table chosen;
    bool copies = false;  // source and target are the same
};

class convert : public action
{
public:
    void describe(options &take) override
    {
        take.file("IN", "a picture, or a folder of pictures", in_);
        take.output("OUT", "the picture to write, or a folder", out_);
        said_.describe(take, true);
        take.path("--assume", "P", "profile of a picture that has none", assume_);
        take.choice("--depth", "BITS", {"8", "16"}, "bits of a sample; without it as the input's", depth_);
        take.flag("--no-embed", "write no profile into the output", no_embed_);
        pictures_.describe(take);
    }

    void run(job &work) override
    {
        said_.require_sense();
        work_ = &work;
        const std::optional<file_facts> facts = facts_of(in_);
        const bool folder = facts && facts->folder;
        if (!folder)
            require_format(out_);
        steps_.emplace(work, engine_, said_);
        if (!folder) {
            work.result.take_members(convert_one(in_, out_));
            return;
        }
        convert_folder();
    }

private:
    // ---- Pictures ---------------------------------------------------------------------------------------------------

    void require_format(const std::string &path)
    {
        if (output_format(path, pictures_.format) == file_format::jpeg && depth_ == "16")
            throw usage_failure(path, "JPEG holds 8 bits", "--depth 8, or use TIFF or PNG");
    }

    static bool is_picture(const std::string &path)
    {
        try {
            const input_file file(path);
            job silent("convert");
            silent.quiet = true;
            const auto reader = open_picture(silent, file, picture_options());
            return true;
        } catch (const failure &problem) {
            // Damaged pictures are told when their turn comes; what is none is passed over.
            const std::string what = problem.what();
            return what != "is no PNG, TIFF, JPEG or PPM" && what != "is empty" && what != "not a regular file";
        }
    }

    void convert_folder()
    {
        if (const std::optional<file_facts> target = facts_of(out_); target && !target->folder)
            throw failure(out_, "is no folder, " + in_ + " is one");
        if (const auto source = facts_of(in_), target = facts_of(out_);
            target && source->device == target->device && source->node == target->node)
            throw failure(out_, "is the input");
        std::set<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(native_path(in_)))
            if (is_picture(text_of(entry.path())))
                names.insert(text_of(entry.path().filename()));
        if (names.empty())
            throw failure(in_, "has no pictures in it");
        std::filesystem::create_directory(native_path(out_));
        json all = json::array();
        std::set<std::string> made;
        for (const std::string &name : names) {
            try {
                const std::string target = target_name(name);
                if (!made.insert(target).second)
                    throw failure(join(in_, name), "another picture has become " + target + " already");
                require_format(target);
                all.push_back(convert_one(join(in_, name), join(out_, target)));
            } catch (const failure &problem) {
                work_->failed(problem);
            }
        }
        work_->result["pictures"] = all;
    }

    static std::string join(const std::string &folder, const std::string &name)
    {
        return text_of(native_path(folder) / native_path(name));
    }

    [[nodiscard]] std::string target_name(const std::string &name) const
    {
        if (pictures_.format.empty())
            return name;
        const std::string extension = pictures_.format == "tiff"   ? "tif"
                                      : pictures_.format == "jpeg" ? "jpg"
                                                                   : pictures_.format;
        return name.substr(0, name.rfind('.')) + "." + extension;
    }

    json convert_one(const std::string &in, const std::string &out)
    {
        const auto start = std::chrono::steady_clock::now();
        const input_file file(in);
        const file_format format = output_format(out, pictures_.format);
        output_file saved(*work_, out, {&file});
        const bool turns = pictures_.orient == "apply" || format == file_format::png || format == file_format::ppm;
        const auto open = [&] {
            auto reader = open_picture(*work_, file, pictures_);
            return turns ? upright(std::move(reader)) : std::move(reader);
        };
        const std::unique_ptr<picture_reader> reader = open();
        const std::unique_ptr<picture_writer> writer = make_picture(*work_, saved, format, pictures_);
        json shown = json::object();
        std::vector<std::string> dropped;
        std::uint64_t pixels = 0;
        double ink = 0;
        for (int number = 1; reader->next_page(); ++number) {
            const page_facts &page = reader->page();
            const page_conversion by = conversion_of(in, out, format, *reader, number, open);
            page_facts target = target_facts(page, by, format);
            ink = std::max(ink, convert_page(in, *reader, *writer, target, by));
            pixels += std::uint64_t{page.width} * page.height;
            for (const std::string &name : page.metadata)
                if (std::find(dropped.begin(), dropped.end(), name) == dropped.end())
                    dropped.push_back(name);
            if (number == 1)
                tell(shown, out, format, target, page, by);
        }
        writer->finish();
        saved.publish();
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        finish_telling(shown, out, ink, pixels, seconds, dropped);
        return shown;
    }

    // ---- A page -----------------------------------------------------------------------------------------------------

    template <class Open>
    page_conversion conversion_of(const std::string &in, const std::string &out, file_format format,
                                  const picture_reader &reader, int number, const Open &open)
    {
        const page_facts &page = reader.page();
        page_conversion by;
        source_.reset();
        const colour_space space = {page.kind, page.colours};
        if (steps_->needs_source())
            source_ = source_of(in, page);
        by.chain = steps_->chain(source_ ? &*source_ : nullptr, in, space);
        const page_facts target = target_facts(page, by, format);
        require_holdable(out, format, target, reader.pages());
        by.copies = source_ && said_.links.empty() && said_.cubes.empty() && !said_.ink_limit &&
                    source_->bytes() == steps_->target()->bytes() && page.depth == 8 && target.depth == 8;
        if (by.copies) {
            work_->note(in, "source and target are the same");
            return by;
        }
        const std::string key = (source_ ? source_->bytes() : "") + name_of(space.kind, space.channels);
        const auto known = tables_.find(key);
        if (!said_.checked() && known != tables_.end()) {
            by.chosen = known->second;
            return by;
        }
        words samples;
        if (said_.checked()) {
            const auto again = open();
            for (int i = 0; i < number; ++i)
                again->next_page();
            samples = chosen_pixels(*again, plan_extras(page, by.chain.to().kind, pictures_.alpha));
        }
        by.chosen = choose_table(by.chain, said_, in, samples, target.depth, work_->threads);
        if (!said_.checked())
            tables_.emplace(key, by.chosen);
        return by;
    }

    static words chosen_pixels(picture_reader &reader, const extra_plan &plan)
    {
        const page_facts &page = reader.page();
        pixel_choice choice(page);
        std::vector<std::uint16_t> line((page.line_bytes() + 1) / 2);
        for (std::uint32_t y = 0; y < page.height; ++y) {
            reader.read_line(line.data());
            prepare_colours(page, plan, line.data(), page.width);
            choice.take(line.data());
        }
        return choice.samples();
    }

    // The profile of a page: --from, its own, --assume, what its format says, what its kind suggests.
    colour_profile source_of(const std::string &in, const page_facts &page)
    {
        const colour_space space = {page.kind, page.colours};
        const auto fits = [&](const colour_profile &profile) {
            const std::optional<colour_space> of = profile.space();
            return of && of->kind == space.kind && of->channels == space.channels;
        };
        const std::string kind = name_of(space.kind, space.channels);
        if (!said_.from.empty()) {
            colour_profile given = engine_.open(*work_, said_.from);
            given.require_source();
            if (!fits(given))
                throw failure(said_.from, "is for " + space_name(given.signature()) + ", " + in + " is " + kind);
            note_unused(in, page);
            return given;
        }
        if (!page.profile.empty()) {
            colour_profile own = engine_.open_embedded(*work_, in, page.profile);
            if (!fits(own))
                throw failure(in,
                              "its profile \"" + own.description() + "\" is for " + space_name(own.signature()) +
                                  ", the picture is " + kind,
                              "--from names another");
            own.require_source();
            return own;
        }
        if (!assume_.empty()) {
            colour_profile given = engine_.open(*work_, assume_);
            given.require_source();
            if (!fits(given))
                throw failure(assume_, "is for " + space_name(given.signature()) + ", " + in + " is " + kind);
            return given;
        }
        if (page.gamma)
            return engine_.from_gamma(*page.gamma, page.kind);
        switch (page.kind) {
        case colour_kind::rgb:
            if (!page.said_srgb)
                work_->note(in, "no profile, taken as sRGB");
            return engine_.open(*work_, "srgb");
        case colour_kind::gray:
            if (!page.said_srgb)
                work_->note(in, "no profile, taken as gray with the curve of sRGB");
            return engine_.open(*work_, "gray");
        case colour_kind::lab:
            return engine_.open(*work_, "lab");
        default:
            throw failure(in, kind + " without a profile", "say which with --from");
        }
    }

    void note_unused(const std::string &in, const page_facts &page)
    {
        if (page.profile.empty())
            return;
        std::string name = "damaged";
        try {
            colour_engine other;
            job silent("convert");
            silent.quiet = true;
            name = other.open_embedded(silent, in, page.profile).description();
        } catch (const failure &) {
            // Its name is all that was wanted.
        }
        work_->note(in, "embedded profile \"" + name + "\" not used (--from)");
    }

    page_facts target_facts(const page_facts &page, const page_conversion &by, file_format format) const
    {
        page_facts target = page;
        const colour_space to = by.chain.to();
        const extra_plan plan = plan_extras(page, to.kind, pictures_.alpha);
        target.kind = to.kind;
        target.colours = to.channels;
        target.extras = plan.kinds;
        if (!depth_.empty())
            target.depth = depth_ == "8" ? 8 : 16;
        else if (format == file_format::jpeg)
            target.depth = 8;
        const bool stays = said_.to.empty() && said_.links.empty();
        if (!stays) {
            target.profile.clear();
            target.said_srgb = false;
            target.gamma.reset();
            target.tiff.ink_names.clear();
        }
        if (const colour_profile *profile = steps_->target()) {
            const bool chunk = profile->is_srgb() && format == file_format::png;
            target.said_srgb = chunk;
            if (!chunk && to.kind != colour_kind::lab)
                target.profile = profile->bytes();
        }
        if (no_embed_) {
            target.profile.clear();
            target.said_srgb = false;
            target.gamma.reset();
        }
        return target;
    }

    // Returns the largest total ink that was written, in per cent; 0 when nobody asks.
    double convert_page(const std::string &in, picture_reader &reader, picture_writer &writer, const page_facts &target,
                        const page_conversion &by)
    {
        const page_facts &page = reader.page();
        const extra_plan plan = plan_extras(page, target.kind, pictures_.alpha);
        const std::size_t line = std::max<std::size_t>(target.line_bytes(), 1);
        const auto lines = static_cast<std::uint32_t>(
            std::clamp<std::size_t>(band_bytes / line, 1, std::min<std::uint32_t>(page.height, 4096)));
        const std::uint32_t bands = (page.height + lines - 1) / lines;
        const int threads = static_cast<int>(std::min<std::uint32_t>(bands, static_cast<unsigned>(work_->threads)));
        struct slot {
            std::vector<std::uint16_t> in;
            std::vector<std::uint16_t> out;
            double ink = 0;
        };
        std::vector<slot> slots(static_cast<std::size_t>(threads));
        for (slot &made : slots) {
            made.in.resize((page.line_bytes() * lines + 1) / 2);
            made.out.resize((target.line_bytes() * lines + 1) / 2);
        }
        const auto count = [&](std::uint32_t band) { return std::min(lines, page.height - band * lines); };
        progress shown(*work_, in, page.height);
        writer.begin_page(target);
        const band_steps steps = {[&](int at, std::uint32_t band) {
                                      reader.read_lines(slots[static_cast<std::size_t>(at)].in.data(), count(band));
                                  },
                                  [&](int at, std::uint32_t band) {
                                      slot &held = slots[static_cast<std::size_t>(at)];
                                      const std::size_t pixels = std::size_t{page.width} * count(band);
                                      convert_pixels(page, target, plan, by, held.in.data(), held.out.data(), pixels);
                                      if (said_.ink_limit)
                                          held.ink = std::max(held.ink, largest_ink(target, held.out.data(), pixels));
                                  },
                                  [&](int at, std::uint32_t band) {
                                      writer.write_lines(slots[static_cast<std::size_t>(at)].out.data(), count(band));
                                      shown.done(std::uint64_t{band} * lines);
                                  }};
        for_bands(threads, bands, steps);
        writer.end_page();
        double ink = 0;
        for (const slot &held : slots)
            ink = std::max(ink, held.ink);
        return ink;
    }

    static void convert_pixels(const page_facts &page, const page_facts &target, const extra_plan &plan,
                               const page_conversion &by, void *in, void *out, std::size_t pixels)
    {
        prepare_colours(page, plan, in, pixels);
        if (by.copies)
            copy_colours(page, target, static_cast<const std::uint8_t *>(in), static_cast<std::uint8_t *>(out), pixels);
        else if (by.chosen.table)
            by.chosen.table->run(in, page.depth, page.samples(), out, target.depth, target.samples(), pixels);
        else
            convert_directly(page, target, by, in, out, pixels);
        if (!plan.copied.empty())
            finish_extras(page, target, plan, in, out, pixels);
    }

    static void copy_colours(const page_facts &page, const page_facts &target, const std::uint8_t *in,
                             std::uint8_t *out, std::size_t pixels)
    {
        for (std::size_t p = 0; p < pixels; ++p, in += page.samples(), out += target.samples())
            std::copy_n(in, page.colours, out);
    }

    static void convert_directly(const page_facts &page, const page_facts &target, const page_conversion &by,
                                 const void *in, void *out, std::size_t pixels)
    {
        constexpr std::size_t at_once = 1024;
        const auto inputs = static_cast<std::size_t>(page.colours);
        const auto outputs = static_cast<std::size_t>(target.colours);
        words from(at_once * inputs);
        words to(at_once * outputs);
        for (std::size_t done = 0; done < pixels; done += at_once) {
            const std::size_t count = std::min(at_once, pixels - done);
            for (std::size_t p = 0; p < count; ++p)
                for (std::size_t c = 0; c < inputs; ++c) {
                    const std::size_t at = (done + p) * static_cast<std::size_t>(page.samples()) + c;
                    from[p * inputs + c] =
                        page.depth == 16 ? static_cast<const std::uint16_t *>(in)[at]
                                         : static_cast<std::uint16_t>(static_cast<const std::uint8_t *>(in)[at] * 257);
                }
            by.chain.direct(from.data(), to.data(), count);
            for (std::size_t p = 0; p < count; ++p)
                for (std::size_t c = 0; c < outputs; ++c) {
                    const std::size_t at = (done + p) * static_cast<std::size_t>(target.samples()) + c;
                    const std::uint16_t sample = to[p * outputs + c];
                    if (target.depth == 16)
                        static_cast<std::uint16_t *>(out)[at] = sample;
                    else
                        static_cast<std::uint8_t *>(out)[at] = static_cast<std::uint8_t>((sample + 128) / 257);
                }
        }
    }

    static double largest_ink(const page_facts &target, const void *out, std::size_t pixels)
    {
        std::uint32_t largest = 0;
        for (std::size_t p = 0; p < pixels; ++p) {
            std::uint32_t sum = 0;
            for (int c = 0; c < target.colours; ++c) {
                const std::size_t at = p * static_cast<std::size_t>(target.samples()) + static_cast<std::size_t>(c);
                sum += target.depth == 16 ? static_cast<const std::uint16_t *>(out)[at]
                                          : static_cast<const std::uint8_t *>(out)[at];
            }
            largest = std::max(largest, sum);
        }
        return largest * 100.0 / (target.depth == 16 ? 65535 : 255);
    }

    // ---- What is told -----------------------------------------------------------------------------------------------

    void tell(json &shown, const std::string &out, file_format format, const page_facts &target, const page_facts &page,
              const page_conversion &by)
    {
        shown["out"] = out;
        shown["format"] = lower_case(name_of(format));
        shown["width"] = target.width;
        shown["height"] = target.height;
        shown["pages"] = target.tiff.pages;
        shown["inputs"] = page.colours;
        shown["outputs"] = target.colours;
        shown["depth"] = target.depth;
        shown["from"] = source_ ? json(source_->description()) : json(nullptr);
        shown["to"] = steps_->target() != nullptr ? json(steps_->target()->description()) : json(nullptr);
        if (!said_.links.empty())
            shown["links"] = names(said_.links);
        if (!said_.cubes.empty())
            shown["cubes"] = names(said_.cubes);
        shown["intent"] = said_.intent;
        shown["bpc"] = bpc_figure(said_, source_ ? &*source_ : nullptr, steps_->target());
        shown["table"] = table_figures(by.chosen);
        std::string line = printable(out) + ": " + std::to_string(target.width) + " x " +
                           std::to_string(target.height) + ", " + std::to_string(page.colours) + " to " +
                           std::to_string(target.colours) + ", ";
        if (by.copies)
            line += "copied";
        else if (by.chosen.table)
            line += "table of " + std::to_string(by.chosen.table->points()) + " points";
        else
            line += "evaluated directly";
        lines_ = {line};
        if (by.chosen.space) {
            shown["check"] = check_figures(by.chain, by.chosen);
            lines_.push_back(check_line(by.chain, by.chosen));
        }
    }

    static json names(const std::vector<std::string> &paths)
    {
        json all = json::array();
        for (const std::string &path : paths)
            all.push_back(path);
        return all;
    }

    void finish_telling(json &shown, const std::string &out, double ink, std::uint64_t pixels, double seconds,
                        const std::vector<std::string> &dropped)
    {
        if (said_.ink_limit) {
            shown["tac"]["max"] = json::rounded(ink, 1);
            if (steps_->target() != nullptr)
                shown["tac"]["profile"] = json::rounded(cmsDetectTAC(steps_->target()->get()), 1);
            work_->note(out, "the largest total ink is " + fixed_text(ink, 1) + " %");
        }
        shown["seconds"] = json::rounded(seconds, 3);
        shown["mpixels_per_s"] = json::rounded(static_cast<double>(pixels) / 1e6 / std::max(seconds, 1e-6), 1);
        shown["dropped"] = names(dropped);
        for (const std::string &line : lines_)
            work_->line(line);
    }

    std::string in_;
    std::string out_;
    space_options said_;
    std::string assume_;
    std::string depth_;
    bool no_embed_ = false;
    picture_options pictures_;

    job *work_ = nullptr;
    colour_engine engine_;
    std::optional<target_steps> steps_;
    std::optional<colour_profile> source_;        // of the page
    std::map<std::string, chosen_table> tables_;  // by the bytes of the source's profile
    std::vector<std::string> lines_;              // for people, when the picture is there
};

}  // namespace

extern const command convert_command;
const command convert_command = {
    "convert",
    "convert pictures from one colour space into another",
    "Pictures are PNG, TIFF, JPEG or PPM. They go through a table that is built from the profiles; --check tells how "
    "far "
    "it is from what Little CMS gives for each pixel, --max-error takes as many points as are needed.\n"
    "The source is what --from says, else the profile in the picture, else what --assume says, else what the format "
    "says, else sRGB, gray with its curve, or Lab. IN may be a folder: then every picture in it is converted.",
    {{"teska convert photo.tif press.tif --to press.icc --bpc", "separates a photo for a press"},
     {"teska convert in.png out.png --cube look.cube", "applies a look"}},
    make_action<convert>};

}  // namespace tool
