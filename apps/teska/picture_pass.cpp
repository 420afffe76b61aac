// picture_pass - a picture brought from one file into another when its colours keep their space

#include "picture_pass.h"

#include "frame/files.h"
#include "frame/job.h"
#include "frame/text.h"
#include "profiles.h"

#include <algorithm>
#include <chrono>

namespace tool
{

page_pass::page_pass(picture_reader &from, picture_writer &writer, std::string out, file_format format,
                     const picture_options &said)
    : reader(from), source(from.page()), target(from.page()),
      extras(plan_extras(from.page(), from.page().kind, said.alpha)), writer_(writer), out_(std::move(out)),
      format_(format)
{
    target.extras = extras.kinds;
    stays_associated = extras.divide && extras.multiply;
    if (stays_associated)
        extras.divide = extras.multiply = false;
    if (format == file_format::jpeg)
        target.depth = 8;
    if (target.gamma && (format == file_format::tiff || format == file_format::jpeg)) {
        colour_engine engine;
        target.profile = engine.from_gamma(*target.gamma, target.kind).bytes();
        target.gamma.reset();
    }
}

void page_pass::begin()
{
    require_holdable(out_, format_, target, reader.pages());
    writer_.begin_page(target);
}

void page_pass::write(const void *samples, int depth, std::uint32_t lines)
{
    if (depth == target.depth) {
        writer_.write_lines(samples, lines);
        return;
    }
    const auto *words = static_cast<const std::uint16_t *>(samples);
    narrow_.resize(target.line_bytes() * lines);
    for (std::size_t i = 0; i < narrow_.size(); ++i)
        narrow_[i] = static_cast<std::uint8_t>((words[i] + 128) / 257);
    writer_.write_lines(narrow_.data(), lines);
}

void picture_pass::run(const std::function<void(page_pass &page)> &convert)
{
    const auto start = std::chrono::steady_clock::now();
    const file_format format = output_format(out_, said_.format);
    const input_file file(in_);
    output_file saved(work_, out_, {&file});
    std::unique_ptr<picture_reader> reader = open_picture(work_, file, said_);
    if (said_.orient == "apply" || format == file_format::png || format == file_format::ppm)
        reader = upright(std::move(reader));
    const std::unique_ptr<picture_writer> writer = make_picture(work_, saved, format, said_);
    for (bool is_first = true; reader->next_page(); is_first = false) {
        page_pass page(*reader, *writer, out_, format, said_);
        convert(page);
        writer->end_page();
        if (is_first)
            first_ = page.target;
        pixels_ += std::uint64_t{page.target.width} * page.target.height;
        for (const std::string &name : page.source.metadata)
            if (std::find(dropped_.begin(), dropped_.end(), name) == dropped_.end())
                dropped_.push_back(name);
    }
    writer->finish();
    saved.publish();
    tell(format, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

void picture_pass::tell(file_format format, double seconds)
{
    json &shown = work_.result;
    shown["out"] = out_;
    shown["format"] = lower_case(name_of(format));
    shown["width"] = first_.width;
    shown["height"] = first_.height;
    shown["pages"] = first_.tiff.pages;
    shown["colours"] = first_.colours;
    shown["depth"] = first_.depth;
    shown["seconds"] = json::rounded(seconds, 3);
    shown["mpixels_per_s"] = json::rounded(static_cast<double>(pixels_) / 1e6 / std::max(seconds, 1e-6), 1);
    json dropped = json::array();
    for (const std::string &name : dropped_)
        dropped.push_back(name);
    shown["dropped"] = dropped;
}

}  // namespace tool
