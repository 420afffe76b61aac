// resize - pictures of another size
//
// Bands of lines are read and made ready on several threads: colours through the curves to linear light, associated
// with alpha. One resampler takes them in their order. Each line that comes out is brought back: divided by alpha,
// through the curves again.

#include "frame/command.h"
#include "frame/failure.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/progress.h"
#include "frame/text.h"
#include "linear_light.h"
#include "picture_pass.h"
#include "pictures/bands.h"
#include "resampler.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace tool
{

namespace
{

constexpr std::size_t band_bytes = std::size_t{256} * 1024;
constexpr std::uint32_t most_lines = 4096;

// What is done to lines of a page before and after they are resampled.
class line_steps
{
public:
    // averages  samples are mixed, not picked or copied
    // curves    to linear light; null: none
    line_steps(const page_pass &page, bool averages, const light_curves *curves)
        : page_(page), plan_(page.extras), curves_(curves)
    {
        alpha_ = page.target.alpha();
        if (alpha_ >= 0 && averages) {
            weighs_ = curves != nullptr || !page.stays_associated;
            limits_ = !weighs_;
        }
        again_ = curves != nullptr && page.stays_associated;
        plan_.divide = plan_.divide || again_;
    }

    // Bits of the samples that are resampled.
    [[nodiscard]] int depth() const { return weighs_ || curves_ != nullptr ? 16 : page_.source.depth; }

    // Samples of the source, which are changed, into those that are resampled.
    void prepare(void *in, void *out, std::size_t pixels) const
    {
        prepare_colours(page_.source, plan_, in, pixels);
        if (depth() == 8)
            pick(static_cast<const std::uint8_t *>(in), static_cast<std::uint8_t *>(out), pixels, 1);
        else if (page_.source.depth == 8)
            pick(static_cast<const std::uint8_t *>(in), static_cast<std::uint16_t *>(out), pixels, 257);
        else
            pick(static_cast<const std::uint16_t *>(in), static_cast<std::uint16_t *>(out), pixels, 1);
        if (curves_ != nullptr)
            through(curves_->to_linear, static_cast<std::uint16_t *>(out), pixels);
        if (weighs_)
            associate(static_cast<std::uint16_t *>(out), pixels);
    }

    // Resampled pixels, in place.
    void finish(void *samples, std::size_t pixels) const
    {
        if (limits_ && depth() == 8)
            limit(static_cast<std::uint8_t *>(samples), pixels);
        else if (limits_)
            limit(static_cast<std::uint16_t *>(samples), pixels);
        if (weighs_)
            divide(static_cast<std::uint16_t *>(samples), pixels);
        if (curves_ != nullptr)
            through(curves_->from_linear, static_cast<std::uint16_t *>(samples), pixels);
        if (again_)
            associate(static_cast<std::uint16_t *>(samples), pixels);
    }

private:
    template <class In, class Out>
    void pick(const In *in, Out *out, std::size_t pixels, unsigned factor) const
    {
        const auto colours = static_cast<std::size_t>(page_.source.colours);
        const auto in_step = static_cast<std::size_t>(page_.source.samples());
        const auto out_step = static_cast<std::size_t>(page_.target.samples());
        for (std::size_t p = 0; p < pixels; ++p, in += in_step, out += out_step) {
            for (std::size_t c = 0; c < colours; ++c)
                out[c] = static_cast<Out>(in[c] * factor);
            for (std::size_t e = 0; e < plan_.copied.size(); ++e)
                out[colours + e] = static_cast<Out>(in[colours + static_cast<std::size_t>(plan_.copied[e])] * factor);
        }
    }

    // Calls change(colour, alpha, channel) for every colour; it returns the new one. Without alpha that is 0.
    template <class Sample, class Change>
    void change_colours(Sample *pixel, std::size_t pixels, const Change &change) const
    {
        const auto colours = static_cast<std::size_t>(page_.target.colours);
        const auto step = static_cast<std::size_t>(page_.target.samples());
        for (std::size_t p = 0; p < pixels; ++p, pixel += step) {
            const std::uint64_t alpha = alpha_ < 0 ? 0 : pixel[colours + static_cast<std::size_t>(alpha_)];
            for (std::size_t c = 0; c < colours; ++c)
                pixel[c] = static_cast<Sample>(change(std::uint64_t{pixel[c]}, alpha, c));
        }
    }

    void through(const std::vector<std::vector<std::uint16_t>> &tables, std::uint16_t *pixel, std::size_t pixels) const
    {
        change_colours(pixel, pixels, [&](std::uint64_t value, std::uint64_t, std::size_t c) -> std::uint64_t {
            return tables[c][value];
        });
    }

    void associate(std::uint16_t *pixel, std::size_t pixels) const
    {
        change_colours(pixel, pixels, [](std::uint64_t value, std::uint64_t alpha, std::size_t) {
            return (value * alpha + 32767) / 65535;
        });
    }

    void divide(std::uint16_t *pixel, std::size_t pixels) const
    {
        change_colours(pixel, pixels, [](std::uint64_t value, std::uint64_t alpha, std::size_t) {
            return alpha == 0 ? 0 : std::min<std::uint64_t>(65535, (value * 65535 + alpha / 2) / alpha);
        });
    }

    template <class Sample>
    void limit(Sample *pixel, std::size_t pixels) const
    {
        change_colours(pixel, pixels,
                       [](std::uint64_t value, std::uint64_t alpha, std::size_t) { return std::min(value, alpha); });
    }

    const page_pass &page_;
    extra_plan plan_;
    const light_curves *curves_;
    int alpha_;            // among the target's extras
    bool weighs_ = false;  // colours are associated before and divided after
    bool limits_ = false;  // associated samples are at most their alpha
    bool again_ = false;   // associated ones were divided, for linear light
};

class resize : public action
{
public:
    void describe(options &take) override
    {
        take.file("IN", "the picture to read", in_);
        take.output("OUT", "the picture to write", out_);
        take.add(option{"--size",
                        "WxH",
                        "width and height in pixels, proportions are not kept",
                        "",
                        {},
                        false,
                        completes::nothing,
                        [this](const std::string &given) { take_size(given); }});
        take.integer("--width", "W", 1, longest_side, "width in pixels, the height in proportion", width_);
        take.integer("--height", "H", 1, longest_side, "height in pixels, the width in proportion", height_);
        take.number("--scale", "F", 1e-6, 1e6, "factor for width and height", scale_);
        take.choice("--kernel", "K", {"area", "triangle", "catmull", "mitchell", "lanczos3", "nearest"},
                    "what pixels are made of; without it area when both sides shrink to a half, a third or the like, "
                    "nearest for pictures of 1 bit or with a palette, else lanczos3",
                    kernel_);
        take.add(option{"--window",
                        "X,Y,W,H",
                        "the part that is shown, from the upper left corner, in pixels and fractions of them; nearest "
                        "takes whole pixels",
                        "",
                        {},
                        false,
                        completes::nothing,
                        [this](const std::string &given) { take_window(given); }});
        take.flag("--linear", "average light: RGB and gray go through the curves of the profile and back", linear_);
        pictures_.describe(take);
    }

    void run(job &work) override
    {
        require_one_size();
        if (kernel_ == "nearest")
            require_whole_window();
        picture_pass pass(work, in_, out_, pictures_);
        bool is_first = true;
        pass.run([&](page_pass &page) {
            resize_page(work, page, is_first);
            is_first = false;
        });
        work.result["source"] = source_;
        work.result["kernel"] = first_kernel_;
        work.result["linear"] = linear_;
        work.line(printable(out_) + ": " + std::to_string(pass.first().width) + " x " +
                  std::to_string(pass.first().height) + " from " + source_text_ + " by " + first_kernel_);
    }

private:
    // ---- The command line -------------------------------------------------------------------------------------------

    void take_size(const std::string &given)
    {
        const std::size_t cross = given.find_first_of("xX");
        const auto side = [&](const std::string &text) {
            const std::optional<std::int64_t> value = parse_integer(text);
            if (!value)
                throw usage_failure("--size " + given, "WIDTHxHEIGHT wanted");
            if (*value < 1 || *value > static_cast<std::int64_t>(longest_side))
                throw usage_failure("--size " + given, "1 to " + std::to_string(longest_side));
            return static_cast<int>(*value);
        };
        if (cross == std::string::npos)
            throw usage_failure("--size " + given, "WIDTHxHEIGHT wanted");
        size_ = {side(given.substr(0, cross)), side(given.substr(cross + 1))};
    }

    void take_window(const std::string &given)
    {
        const std::optional<std::vector<double>> values = parse_numbers(given);
        if (!values || values->size() != 4)
            throw usage_failure("--window " + given, "4 numbers with commas between wanted");
        const std::vector<double> &w = *values;
        if (w[0] < 0 || w[1] < 0 || w[2] <= 0 || w[3] <= 0)
            throw usage_failure("--window " + given, "X and Y from 0, W and H above 0");
        window_ = {w[0], w[1], w[2], w[3]};
        window_text_ = given;
    }

    void require_one_size() const
    {
        std::vector<std::string> given;
        if (size_)
            given.emplace_back("--size");
        if (width_)
            given.emplace_back("--width");
        if (height_)
            given.emplace_back("--height");
        if (scale_)
            given.emplace_back("--scale");
        if (given.empty())
            throw usage_failure("", "nothing to do: --size, --width, --height or --scale is missing");
        if (given.size() > 1)
            throw usage_failure(given[1], "stands beside " + given[0], "--size gives both sides");
    }

    void require_whole_window() const
    {
        if (window_)
            for (const double value : *window_)
                if (value != std::floor(value))
                    throw usage_failure("--window " + window_text_, "whole numbers wanted for kernel nearest");
    }

    // ---- A page -----------------------------------------------------------------------------------------------------

    [[nodiscard]] std::array<double, 4> window_of(const page_facts &page) const
    {
        if (!window_)
            return {0, 0, static_cast<double>(page.width), static_cast<double>(page.height)};
        const std::array<double, 4> &w = *window_;
        if (w[0] + w[2] > page.width || w[1] + w[3] > page.height)
            throw failure(in_, "--window " + window_text_ + " reaches beyond the " + std::to_string(page.width) +
                                   " x " + std::to_string(page.height) + " pixels");
        return w;
    }

    // Sides of the target of a window.
    [[nodiscard]] std::array<double, 2> target_size(double width, double height) const
    {
        const auto rounded = [](double side) { return std::max(1.0, std::floor(side + 0.5)); };
        if (size_)
            return {static_cast<double>((*size_)[0]), static_cast<double>((*size_)[1])};
        if (width_)
            return {static_cast<double>(*width_), rounded(height * *width_ / width)};
        if (height_)
            return {rounded(width * *height_ / height), static_cast<double>(*height_)};
        return {rounded(width * *scale_), rounded(height * *scale_)};
    }

    [[nodiscard]] std::string kernel_for(const page_facts &page, double width, double height,
                                         const page_facts &target) const
    {
        if (!kernel_.empty())
            return kernel_;
        if (page.was_bilevel || page.was_palette)
            return "nearest";
        const auto shrinks = [](double side, std::uint32_t to) {
            const double ratio = side / to;
            return ratio >= 2 && ratio == std::floor(ratio);
        };
        return shrinks(width, target.width) && shrinks(height, target.height) ? "area" : "lanczos3";
    }

    // The size on paper stays. A density without a unit says a proportion only.
    static resolution density_of(const resolution &density, double across, double down)
    {
        resolution changed = density;
        if (density.per == resolution::unit::none && across == down)
            return changed;
        changed.x *= across;
        changed.y *= down;
        if (density.per == resolution::unit::none && changed.x > 0 && changed.y > 0) {
            // Files hold whole numbers.
            const double fine = 10000 / std::max(changed.x, changed.y);
            changed.x *= fine;
            changed.y *= fine;
        }
        return changed;
    }

    void resize_page(job &work, page_pass &page, bool is_first)
    {
        const page_facts &source = page.source;
        page_facts &target = page.target;
        const std::array<double, 4> window = window_of(source);
        const auto [width, height] = target_size(window[2], window[3]);
        require_sizes(out_, static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height),
                      static_cast<unsigned>(target.samples()), target.depth);
        target.width = static_cast<std::uint32_t>(width);
        target.height = static_cast<std::uint32_t>(height);
        const std::string kernel = kernel_for(source, window[2], window[3], target);
        if (kernel == "nearest")
            require_whole_window();
        if (target.samples() > most_resampled)
            throw failure(in_, std::to_string(target.samples()) + " samples a pixel are more than resize takes");
        const bool copies =
            !window_ && target.width == source.width && target.height == source.height && kernel != "mitchell";
        target.density = density_of(source.density, target.width / window[2], target.height / window[3]);
        light_curves curves;
        const bool linear = linear_ && !copies && kernel != "nearest";
        if (linear_)
            curves = curves_of(work, in_, source);
        if (is_first) {
            first_kernel_ = kernel;
            source_["width"] = source.width;
            source_["height"] = source.height;
            source_text_ = std::to_string(source.width) + " x " + std::to_string(source.height);
        }
        page.begin();
        const line_steps steps(page, !copies && kernel != "nearest", linear ? &curves : nullptr);
        if (copies) {
            for_lines(work, page, steps, [&](void *line) { page.write(line, steps.depth(), 1); });
            return;
        }
        resampler by(
            in_,
            {source.width, source.height, window, target.width, target.height, target.samples(), steps.depth(), kernel},
            [&](void *line) {
                steps.finish(line, target.width);
                page.write(line, steps.depth(), 1);
            });
        for_lines(work, page, steps, [&](const void *line) { by.feed(line); });
    }

    // Calls take(line) for each line of the source, made ready, one after the other.
    template <class Take>
    void for_lines(job &work, page_pass &page, const line_steps &steps, const Take &take)
    {
        const page_facts &source = page.source;
        const std::size_t line = source.line_bytes();
        const std::size_t ready =
            source.width * static_cast<std::size_t>(page.target.samples()) * static_cast<unsigned>(steps.depth() / 8);
        const auto lines = static_cast<std::uint32_t>(
            std::clamp<std::size_t>(band_bytes / line, 1, std::min(most_lines, source.height)));
        const std::uint32_t bands = (source.height + lines - 1) / lines;
        struct slot {
            std::vector<std::uint16_t> in;
            std::vector<std::uint16_t> ready;
        };
        std::vector<slot> slots(std::min<std::uint32_t>(bands, static_cast<unsigned>(work.threads)));
        for (slot &made : slots) {
            made.in.resize((line * lines + 1) / 2);
            made.ready.resize((ready * lines + 1) / 2);
        }
        const auto count = [&](std::uint32_t band) { return std::min(lines, source.height - band * lines); };
        const auto of = [&](int at) -> slot & { return slots[static_cast<std::size_t>(at)]; };
        progress shown(work, in_, source.height);
        for_bands(static_cast<int>(slots.size()), bands,
                  {[&](int at, std::uint32_t band) { page.reader.read_lines(of(at).in.data(), count(band)); },
                   [&](int at, std::uint32_t band) {
                       steps.prepare(of(at).in.data(), of(at).ready.data(), std::size_t{source.width} * count(band));
                   },
                   [&](int at, std::uint32_t band) {
                       auto *from = reinterpret_cast<char *>(of(at).ready.data());
                       for (std::uint32_t i = 0; i < count(band); ++i)
                           take(from + i * ready);
                       shown.done(band * std::uint64_t{lines} + count(band));
                   }});
    }

    std::string in_;
    std::string out_;
    std::optional<std::array<int, 2>> size_;
    std::optional<int> width_;
    std::optional<int> height_;
    std::optional<double> scale_;
    std::string kernel_;
    std::optional<std::array<double, 4>> window_;
    std::string window_text_;
    bool linear_ = false;
    picture_options pictures_;

    // Of the first page, to be told.
    std::string first_kernel_;
    std::string source_text_;
    json source_ = json::object();
};

}  // namespace

extern const command resize_command;
const command resize_command = {
    "resize",
    "give pictures another size",
    "Each page is resampled by itself; what it measures in print stays, its resolution tags change. Transparent pixels "
    "count by their alpha. Sizes and windows count pixels as the file has them: a picture that is shown turned by its "
    "orientation tag is turned first with --orient apply.\n"
    "The same size gives the same pixels, except with mitchell, which blurs.",
    {{"teska resize in.tif out.tif --width 800", "800 pixels wide, the height in proportion"},
     {"teska resize in.tif out.png --scale 0.5 --linear", "half of each side, averaging light"}},
    make_action<resize>};

}  // namespace tool
