// whole_image - the filters of lines on images that lie in memory as a whole (image)
//
// Lines are fed from where they are; components that do not lie side by side are resized one by one, since a record of
// izat takes them interleaved.
//
// A strip of a sharpened image is fed with as many lines around it as the window reaches over. The record takes the
// first and the last of them for the border of an image and copies them; they go to a line that nobody wants. Lines at
// the border of the whole image are copied rightly. Example, reach 2, lines 10 .. 19 of many: 8 .. 21 are fed, the
// copies are 8, 9, 20 and 21.
//
// The callback of fusm knows nothing of its image: the one at work is known per thread, for the time of a call.

#include "whole_image.h"

#include "Support/memory.h"
#include "Support/report.h"

#include "flood.h"
#include "fusm.h"
#include "izat.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <utility>

namespace
{

using teska::handle;

constexpr int most_together = 16;  // components of a record of izat and izoom
constexpr int most_sharpened = 4;  // components of a record of fusm
constexpr int farthest_step = INT_MAX / 2;

int sample_size(const whole_image &image) { return image.depth / CHAR_BIT; }

bool is_step(std::int64_t stride, int size)
{
    return stride % size == 0 && stride / size >= -farthest_step && stride / size <= farthest_step;
}

bool is_image(const whole_image &image)
{
    if (image.pixels == nullptr || image.width < 1 || image.height < 1 || image.components < 1 ||
        (image.depth != 8 && image.depth != 16))
        return false;
    const int size = sample_size(image);
    return is_step(image.pixel, size) && image.line % size == 0 && image.component % size == 0;
}

bool match(const whole_image &a, const whole_image &b)
{
    return is_image(a) && is_image(b) && a.depth == b.depth && a.components == b.components;
}

bool has_lines(const whole_image &image, int first, int lines)
{
    return first >= 0 && lines >= 1 && lines <= image.height && first <= image.height - lines;
}

int step(const whole_image &image) { return static_cast<int>(image.pixel / sample_size(image)); }

template <class Sample>
Sample *line_of(const whole_image &image, std::int64_t y, int component)
{
    auto *const bytes = static_cast<unsigned char *>(image.pixels);
    return reinterpret_cast<Sample *>(bytes +
                                      static_cast<std::ptrdiff_t>(y * image.line + component * image.component));
}

// ---- Resizing -------------------------------------------------------------------------------------------------------

struct resizing {
    const whole_image *source, *target;
    const double *window;
    int kernel, first, lines;
    int component, together;  // the components at hand
};

int feed(izat *record, const unsigned char *line, unsigned char **out) { return izat_line_b(record, line, out); }
int feed(izat *record, const unsigned short *line, unsigned short **out) { return izat_line(record, line, out); }
int feed(izoom *record, const unsigned char *line, unsigned char **out) { return izoom_line_b(record, line, out); }
int feed(izoom *record, const unsigned short *line, unsigned short **out) { return izoom_line(record, line, out); }

// Where the next target line goes; outside the strip nowhere.
template <class Sample>
struct taker {
    const resizing *job;
    Sample *out = nullptr;

    void expect(int line)
    {
        const bool wanted = line >= job->first && line - job->first < job->lines;
        out = wanted ? line_of<Sample>(*job->target, line, job->component) : nullptr;
    }
    static void took(void *context, int line) { static_cast<taker *>(context)->expect(line + 1); }
};

template <class Sample>
bool start(const resizing &job, izat *record, taker<Sample> &to)
{
    if (job.window != nullptr)
        izat_window_set(record, job.window[0], job.window[1], job.window[2], job.window[3]);
    izat_strip_set(record, job.first, job.lines);
    return izat_start(record, job.together, job.source->height, job.source->width, job.target->height,
                      job.target->width, taker<Sample>::took, &to, step(*job.source), step(*job.target)) != 0;
}

// INT_MIN, which no window takes, for what is not a number.
int whole(double value) { return value >= INT_MIN ? static_cast<int>(std::min(value, INT_MAX + 0.0)) : INT_MIN; }

template <class Sample>
bool start(const resizing &job, izoom *record, taker<Sample> &to)
{
    if (job.window != nullptr)
        izoom_window_set(record, whole(job.window[0]), whole(job.window[1]), whole(job.window[2]),
                         whole(job.window[3]));
    return izoom_start(record, job.together, job.source->height, job.source->width, job.target->height,
                       job.target->width, taker<Sample>::took, &to, step(*job.source), step(*job.target)) != 0;
}

template <class Sample, class Record>
bool resize_with(const resizing &job, Record *record)
{
    taker<Sample> to{&job};
    if (record == nullptr || !start(job, record, to))
        return false;
    // Picking hands out all lines, averaging those of the strip.
    int line = job.kernel == WHOLE_IMAGE_PICK ? 0 : job.first;
    to.expect(line);
    for (int y = 0; y < job.source->height && line < job.first + job.lines; ++y)
        line += feed(record, line_of<Sample>(*job.source, y, job.component), &to.out);
    return true;
}

template <class Sample>
bool resize(const resizing &job)
{
    if (job.kernel == WHOLE_IMAGE_PICK) {
        const handle<izoom, izoom_kill> record(izoom_new());
        return resize_with<Sample>(job, record.get());
    }
    const handle<izat, izat_kill> record(izat_new(job.kernel));
    return resize_with<Sample>(job, record.get());
}

// ---- Sharpening -----------------------------------------------------------------------------------------------------

struct sharpening {
    const whole_image *source, *target;
    int first, lines;           // that are wanted
    int component, together;    // the components at hand
    int line;                   // which is handed over next
    unsigned char *nobody;      // a line of samples
    void *out[most_sharpened];  // where its components go

    void expect(int next)
    {
        line = next;
        const bool wanted = next >= first && next - first < lines;
        for (int k = 0; k < together; ++k)
            out[k] = wanted ? line_of<void>(*target, next, component + k) : nobody;
    }
};

// Per thread: the sharpening whose lines are being fed.
thread_local sharpening *at_work = nullptr;

void handed_over(int k)
{
    if (k + 1 == at_work->together)
        at_work->expect(at_work->line + 1);
}

void feed(fusm *record, unsigned char **in, void **out)
{
    fusm_b_do(record, in, reinterpret_cast<unsigned char **>(out), nullptr);
}
void feed(fusm *record, unsigned short **in, void **out)
{
    fusm_do(record, in, reinterpret_cast<unsigned short **>(out), nullptr);
}

template <class Sample>
void feed_lines(sharpening &job, fusm *record, int begin, int end)
{
    job.expect(begin);
    sharpening *const before = std::exchange(at_work, &job);
    for (int y = begin; y < end; ++y) {
        Sample *in[most_sharpened];
        for (int k = 0; k < job.together; ++k)
            in[k] = line_of<Sample>(*job.source, y, job.component + k);
        feed(record, in, job.out);
    }
    at_work = before;
}

bool prepare(fusm *record, const whole_image_sharpening &how, const sharpening &job)
{
    if (record == nullptr)
        return false;
    fusm_stren_set(record, how.strength + job.component);
    if (how.noise != nullptr)
        fusm_noise_red_set(record, how.noise + job.component);
    const std::ptrdiff_t first = std::ptrdiff_t{how.points} * job.component;
    return how.points <= 0 || fusm_level_red_set(record, how.points, how.levels + first, how.factors + first) != 0;
}

// The components of a group have pointers of their own, so that none need lie beside another.
bool sharpen(sharpening &job, const whole_image_sharpening &how)
{
    const int reach = how.radius == 0 ? 1 : 2;
    const int top = job.source->depth == 8 ? UCHAR_MAX : USHRT_MAX;
    const handle<fusm, fusm_kill> record(fusm_new(how.radius, top, job.together, job.together, nullptr, nullptr));
    if (!prepare(record.get(), how, job))
        return false;
    const bool small = job.source->height < 2 * reach + 1;
    const int begin = small ? 0 : std::max(job.first - reach, 0);
    const int end = small ? job.source->height : std::min(job.source->height, job.first + job.lines + reach);
    if (fusm_start(record.get(), end - begin, job.source->width, handed_over, step(*job.source), 0,
                   step(*job.target)) == 0)
        return false;
    if (job.source->depth == 8)
        feed_lines<unsigned char>(job, record.get(), begin, end);
    else
        feed_lines<unsigned short>(job, record.get(), begin, end);
    return true;
}

// ---- Filling --------------------------------------------------------------------------------------------------------

struct filling {
    const whole_image *source;
    int tolerance;
    unsigned char *region;
    int seed_x, seed_y;

    [[nodiscard]] int sample(int x, int y, int c) const
    {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x * source->pixel) / sample_size(*source);
        return source->depth == 8 ? line_of<const unsigned char>(*source, y, c)[at]
                                  : line_of<const unsigned short>(*source, y, c)[at];
    }
    [[nodiscard]] unsigned char *mark(int x, int y) const { return region + std::ptrdiff_t{y} * source->width + x; }
};

int inside(void *user, int x, int y)
{
    const auto &job = *static_cast<const filling *>(user);
    if (x < 0 || y < 0 || x >= job.source->width || y >= job.source->height || *job.mark(x, y) != 0)
        return 0;
    for (int c = 0; c < job.source->components; ++c)
        if (std::abs(job.sample(x, y, c) - job.sample(job.seed_x, job.seed_y, c)) > job.tolerance)
            return 0;
    return 1;
}

void fill(void *user, int first, int last, int y)
{
    const auto &job = *static_cast<const filling *>(user);
    std::fill(job.mark(first, y), job.mark(last, y) + 1, 1);
}

}  // namespace

int whole_image_resize(int kernel, const whole_image *source, const whole_image *target, const double *window,
                       int first, int lines) TESKA_NOTHROW
{
    if (!match(*source, *target) || !has_lines(*target, first, lines)) {
        TESKA_ERR("whole_image_resize: illegal image");
        return 0;
    }
    const int size = sample_size(*source);
    const bool interleaved =
        source->component == size && target->component == size && source->components <= most_together;
    const int together = interleaved ? source->components : 1;
    bool done = true;
    for (int c = 0; c < source->components && done; c += together) {
        const resizing job{source, target, window, kernel, first, lines, c, together};
        done = size == 1 ? resize<unsigned char>(job) : resize<unsigned short>(job);
    }
    return done ? 1 : 0;
}

int whole_image_sharpen(const whole_image_sharpening *how, const whole_image *source, const whole_image *target,
                        int first, int lines) TESKA_NOTHROW
{
    if (!match(*source, *target) || source->width != target->width || source->height != target->height ||
        !has_lines(*target, first, lines)) {
        TESKA_ERR("whole_image_sharpen: illegal image");
        return 0;
    }
    // The samples of a line lie between its ends, whichever the direction.
    const std::int64_t room = std::abs(target->pixel) * (target->width - 1) + sample_size(*target);
    const auto nobody = teska::zeroed_block<unsigned char>(static_cast<std::size_t>(room));
    if (!nobody) {
        TESKA_ERR("whole_image_sharpen: insufficient memory");
        return 0;
    }
    unsigned char *const start = nobody.get() + (target->pixel < 0 ? room - sample_size(*target) : 0);
    // A record takes the levels of its components point by point, here they lie component by component.
    const int group = how->points > 0 ? 1 : most_sharpened;
    bool done = true;
    for (int c = 0; c < source->components && done; c += group) {
        sharpening job{source, target, first, lines, c, std::min(source->components - c, group), 0, start, {}};
        done = sharpen(job, *how);
    }
    return done ? 1 : 0;
}

int whole_image_flood(const whole_image *source, int x, int y, int tolerance, unsigned char *region) TESKA_NOTHROW
{
    if (!is_image(*source) || tolerance < 0) {
        TESKA_ERR("whole_image_flood: illegal image");
        return 0;
    }
    std::fill_n(region, std::ptrdiff_t{source->width} * source->height, 0);
    const handle<flood, flood_kill> record(flood_new(inside, fill));
    if (!record)
        return 0;
    filling job{source, tolerance, region, x, y};
    flood_do(record.get(), &job, x, y);
    return 1;
}
