// resampler - a page brought to another size while its lines pass by

#include "resampler.h"

#include "frame/failure.h"

#include <utility>

namespace tool
{

namespace
{

int kernel_of(const std::string &name)
{
    if (name == "area")
        return IZAT_AREA;
    if (name == "triangle")
        return IZAT_TRIANGLE;
    if (name == "catmull")
        return IZAT_CATMULL_ROM;
    return name == "mitchell" ? IZAT_MITCHELL : IZAT_LANCZOS3;
}

}  // namespace

resampler::resampler(const std::string &file, const resampling &how, std::function<void(void *line)> take)
    : depth_(how.depth), take_(std::move(take)),
      line_(std::size_t{how.target_width} * static_cast<unsigned>(how.samples))
{
    const auto &[left, top, width, height] = how.window;
    const auto start = [&](auto call, auto *record) {
        return record != nullptr && call(record, how.samples, static_cast<int>(how.height), static_cast<int>(how.width),
                                         static_cast<int>(how.target_height), static_cast<int>(how.target_width),
                                         take_line, this, how.samples, how.samples) != 0;
    };
    if (how.kernel == "nearest") {
        picking_.reset(izoom_new());
        if (picking_)
            izoom_window_set(picking_.get(), static_cast<int>(left), static_cast<int>(top), static_cast<int>(width),
                             static_cast<int>(height));
        if (!start(izoom_start, picking_.get()))
            throw_report(file);
        return;
    }
    averaging_.reset(izat_new(kernel_of(how.kernel)));
    if (averaging_)
        izat_window_set(averaging_.get(), left, top, width, height);
    if (!start(izat_start, averaging_.get()))
        throw_report(file);
}

// Nothing may be thrown through the library: what comes up is kept until it has returned.
void resampler::take_line(void *context, int)
{
    auto *self = static_cast<resampler *>(context);
    if (self->problem_)
        return;
    try {
        self->take_(self->line_.data());
    } catch (...) {
        self->problem_ = std::current_exception();
    }
}

template <class Sample, class Averages, class Picks>
void resampler::feed_samples(const void *line, Averages averages, Picks picks)
{
    auto *out = reinterpret_cast<Sample *>(line_.data());
    if (averaging_)
        averages(averaging_.get(), static_cast<const Sample *>(line), &out);
    else
        picks(picking_.get(), static_cast<const Sample *>(line), &out);
}

void resampler::feed(const void *line)
{
    if (depth_ == 8)
        feed_samples<unsigned char>(line, izat_line_b, izoom_line_b);
    else
        feed_samples<unsigned short>(line, izat_line, izoom_line);
    if (problem_)
        std::rethrow_exception(problem_);
}

}  // namespace tool
