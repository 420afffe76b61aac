// sharpen - unsharp masking of pictures
//
// Pages go band by band through filters of fusm.h. A band is fed with as many lines above and below it as the window
// reaches, which come out as copies and are left out: so each line is what it would be in the whole page. Samples that
// are associated with alpha stay so, and alpha is their upper limit.

#include "frame/command.h"
#include "frame/failure.h"
#include "frame/job.h"
#include "frame/options.h"
#include "frame/progress.h"
#include "frame/text.h"
#include "fusm.h"
#include "picture_pass.h"
#include "pictures/bands.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace tool
{

namespace
{

constexpr std::size_t band_bytes = std::size_t{256} * 1024;
constexpr std::uint32_t least_lines = 16;  // of a band: the lines around it are worked on twice
constexpr std::uint32_t most_lines = 4096;
constexpr int most_processed = 4;  // channels of one filter

struct strength_settings {
    int radius = 1;
    double strength = 1;
    double noise = 0.02;

    [[nodiscard]] std::uint32_t reach() const { return radius == 0 ? 1 : 2; }
};

struct kills_fusm {
    void operator()(fusm *filter) const { fusm_kill(filter); }
};

// Where the next line of each channel goes.
template <class Sample>
struct output_lines {
    std::array<Sample *, most_processed> next;
    std::size_t step;

    static void advance(void *context, int k)
    {
        auto *lines = static_cast<output_lines *>(context);
        lines->next[static_cast<std::size_t>(k)] += lines->step;
    }
};

int feed(fusm *filter, std::uint8_t **in, std::uint8_t **out, const std::uint8_t *limits)
{
    return fusm_b_do(filter, in, out, limits);
}

int feed(fusm *filter, std::uint16_t **in, std::uint16_t **out, const std::uint16_t *limits)
{
    return fusm_do(filter, in, out, limits);
}

// The filters of a page for one thread, four channels each.
class line_filters
{
public:
    line_filters(const std::string &file, const page_pass &page, const strength_settings &settings)
        : file_(file), page_(page), limited_(page.stays_associated), plan_(page.extras),
          channels_(page.source.kind == colour_kind::lab ? 1 : page.source.colours)
    {
        for (int done = 0; done < channels_; done += most_processed) {
            const int count = std::min(most_processed, channels_ - done);
            filters_.emplace_back(
                fusm_new(settings.radius, page.source.depth == 8 ? 255 : 65535, count, count, nullptr, nullptr));
            if (!filters_.back())
                throw_report(file_);
            const std::array<double, most_processed> strengths = {settings.strength, settings.strength,
                                                                  settings.strength, settings.strength};
            const std::array<double, most_processed> noise = {settings.noise, settings.noise, settings.noise,
                                                              settings.noise};
            fusm_stren_set(filters_.back().get(), strengths.data());
            fusm_noise_red_set(filters_.back().get(), noise.data());
        }
    }

    // Lines that are taken for a whole picture; `in` is changed where alpha goes.
    void run(void *in, void *out, std::uint32_t lines)
    {
        const std::size_t pixels = std::size_t{page_.source.width} * lines;
        prepare_colours(page_.source, plan_, in, pixels);
        page_facts wide = page_.target;
        wide.depth = page_.source.depth;
        if (!plan_.copied.empty())
            finish_extras(page_.source, wide, plan_, in, out, pixels);
        if (page_.source.depth == 8)
            sharpen(static_cast<std::uint8_t *>(in), static_cast<std::uint8_t *>(out), lines);
        else
            sharpen(static_cast<std::uint16_t *>(in), static_cast<std::uint16_t *>(out), lines);
    }

private:
    template <class Sample>
    void sharpen(Sample *in, Sample *out, std::uint32_t lines)
    {
        const auto in_step = static_cast<std::size_t>(page_.source.samples());
        const auto out_step = static_cast<std::size_t>(page_.target.samples());
        const std::size_t width = page_.source.width;
        for (int c = channels_; c < page_.source.colours; ++c)
            for (std::size_t p = 0; p < width * lines; ++p)
                out[p * out_step + static_cast<std::size_t>(c)] = in[p * in_step + static_cast<std::size_t>(c)];
        for (std::size_t f = 0; f < filters_.size(); ++f) {
            fusm *const filter = filters_[f].get();
            const std::size_t first = f * most_processed;
            const std::size_t count = std::min<std::size_t>(most_processed, static_cast<unsigned>(channels_) - first);
            output_lines<Sample> written = {{}, width * out_step};
            for (std::size_t k = 0; k < count; ++k)
                written.next[k] = out + first + k;
            if (fusm_start_with(filter, static_cast<int>(lines), static_cast<int>(width), output_lines<Sample>::advance,
                                &written, static_cast<int>(in_step), static_cast<int>(in_step),
                                static_cast<int>(out_step)) == 0)
                throw_report(file_);
            for (std::uint32_t y = 0; y < lines; ++y) {
                Sample *const line = in + y * width * in_step;
                std::array<Sample *, most_processed> read{};
                for (std::size_t k = 0; k < count; ++k)
                    read[k] = line + first + k;
                feed(filter, read.data(), written.next.data(),
                     limited_ ? line + page_.source.colours + plan_.alpha : nullptr);
            }
        }
    }

    const std::string &file_;
    const page_pass &page_;
    bool limited_;  // by alpha
    const extra_plan &plan_;
    int channels_;  // that are sharpened
    std::vector<std::unique_ptr<fusm, kills_fusm>> filters_;
};

// The lines of a band and around it.
struct band_span {
    std::uint32_t first;  // of the band
    std::uint32_t last;   // after it
    std::uint32_t start;  // of what is read
    std::uint32_t end;
};

class sharpen : public action
{
public:
    void describe(options &take) override
    {
        take.file("IN", "the picture to read", in_);
        take.output("OUT", "the picture to write", out_);
        take.integer("--radius", "R", 0, 2, "window: 0 is 3 pixels wide, 1 is 5, 2 is 5 and a band-pass",
                     settings_.radius);
        take.number("--strength", "S", 0, 10, "how much is added", settings_.strength);
        take.number("--noise", "N", 0, 1, "differences below this part of the range are taken for noise",
                    settings_.noise);
        pictures_.describe(take);
    }

    void run(job &work) override
    {
        picture_pass pass(work, in_, out_, pictures_);
        pass.run([&](page_pass &page) { sharpen_page(work, page); });
        work.result["radius"] = settings_.radius;
        work.result["strength"] = settings_.strength;
        work.result["noise"] = settings_.noise;
        work.line(printable(out_) + ": " + std::to_string(pass.first().width) + " x " +
                  std::to_string(pass.first().height) + ", sharpened with radius " + std::to_string(settings_.radius));
    }

private:
    [[nodiscard]] band_span span_of(const page_facts &page, std::uint32_t lines, std::uint32_t band) const
    {
        const std::uint32_t reach = settings_.reach();
        const std::uint32_t first = band * lines;
        const std::uint32_t last = std::min(page.height, first + lines);
        return {first, last, first - std::min(first, reach), std::min(page.height, last + reach)};
    }

    void sharpen_page(job &work, page_pass &page)
    {
        page.begin();
        const page_facts &source = page.source;
        const std::size_t line = source.line_bytes();
        const std::size_t out_line = source.width * static_cast<std::size_t>(page.target.samples() * source.depth / 8);
        const auto lines =
            static_cast<std::uint32_t>(std::clamp<std::size_t>(band_bytes / line, least_lines, most_lines));
        const std::uint32_t bands = (source.height + lines - 1) / lines;
        struct slot {
            std::vector<std::uint16_t> in;
            std::vector<std::uint16_t> out;
            std::unique_ptr<line_filters> filters;
        };
        std::vector<slot> slots(std::min<std::uint32_t>(bands, static_cast<unsigned>(work.threads)));
        const std::uint32_t held = std::min(source.height, lines + 2 * settings_.reach());
        for (slot &made : slots) {
            made.in.resize((line * held + 1) / 2);
            made.out.resize((out_line * held + 1) / 2);
            made.filters = std::make_unique<line_filters>(in_, page, settings_);
        }
        std::vector<char> kept;  // lines that were read and are needed again
        progress shown(work, in_, source.height);
        const auto read = [&](int at, std::uint32_t band) {
            const band_span span = span_of(source, lines, band);
            auto *to = reinterpret_cast<char *>(slots[static_cast<std::size_t>(at)].in.data());
            std::copy(kept.begin(), kept.end(), to);
            const auto again = static_cast<std::uint32_t>(kept.size() / line);
            page.reader.read_lines(to + kept.size(), span.end - span.start - again);
            if (span.last < source.height) {
                const std::uint32_t next = span_of(source, lines, band + 1).start;
                kept.assign(to + (next - span.start) * line, to + (span.end - span.start) * line);
            }
        };
        const auto filter = [&](int at, std::uint32_t band) {
            const band_span span = span_of(source, lines, band);
            slot &of = slots[static_cast<std::size_t>(at)];
            of.filters->run(of.in.data(), of.out.data(), span.end - span.start);
        };
        const auto write = [&](int at, std::uint32_t band) {
            const band_span span = span_of(source, lines, band);
            const auto *from = reinterpret_cast<const char *>(slots[static_cast<std::size_t>(at)].out.data());
            page.write(from + (span.first - span.start) * out_line, source.depth, span.last - span.first);
            shown.done(span.last);
        };
        for_bands(static_cast<int>(slots.size()), bands, {read, filter, write});
    }

    std::string in_;
    std::string out_;
    strength_settings settings_;
    picture_options pictures_;
};

}  // namespace

extern const command sharpen_command;
const command sharpen_command = {
    "sharpen",
    "sharpen pictures by unsharp masking",
    "Each channel of colour is sharpened by itself in the picture's own space, of Lab only L; alpha, other extra "
    "samples and the profile stay as they are. Associated samples are limited by their alpha. The outermost lines and "
    "columns, one with radius 0 and two else, stay as they are.\n"
    "Radius 0 and 1 add what a pixel differs from its neighbours; radius 2 is a band-pass, which leaves the finest "
    "detail, often noise or a screen, out.",
    {{"teska sharpen photo.tif crisp.tif --strength 1.5 --noise 0.03", "sharpens a photo, not its grain"}},
    make_action<sharpen>};

}  // namespace tool
