#include "Source/fir/fir_priv.h"

#include "determinism/operations.h"
#include "fusm.h"
#include "ibilin.h"
#include "izat.h"

using namespace teska_test;

namespace
{

constexpr int width = 301;
constexpr int height = 40;

void ignore_line(int) {}

// Feeds an image of noise, n components side by side, line by line: what the room for results holds after each.
template <class Sample>
void feed_noise(Generator &input, Digest &digest, int n, int columns, int room, auto feed)
{
    std::vector<Sample> in(static_cast<std::size_t>(n * columns * height)), out(static_cast<std::size_t>(room));
    for (Sample &sample : in)
        sample = static_cast<Sample>(input.next() >> 40);
    for (Sample *line = in.data(); line != in.data() + in.size(); line += n * columns) {
        Sample *from[] = {line, line + 1, line + 2}, *to[] = {out.data(), out.data() + 1, out.data() + 2};
        feed(from, to);
        digest.put(out);
    }
}

// Coefficients of both signs, some above 1; the sums of 16-bit samples wrap.
template <int Radius, class Sample, int (*Feed)(fir *, const Sample *, Sample **)>
void filter(Generator &input, Digest &digest)
{
    const auto kernel = between(input, (2 * Radius + 1) * (2 * Radius + 1), -1.5, 1.6);
    const auto record = shared(fir_new(Radius, sizeof(Sample) == 1 ? 255 : 65535), fir_kill);
    teska::fir_set_kernel(record.get(), kernel.data());
    fir_start(record.get(), 1, height, width, ignore_line, 1, 2);
    feed_noise<Sample>(input, digest, 1, width, 2 * width, [&](auto in, auto to) { Feed(record.get(), *in, to); });
}

template <class Sample, auto Feed, int From, int To>
void ibilin_image(Generator &input, Digest &digest)
{
    const auto record = shared(ibilin_new(0), ibilin_kill);
    ibilin_start(record.get(), 3, height, From, height * To / From, To, ignore_line, 3, 3);
    feed_noise<Sample>(input, digest, 3, From, 3 * To,
                       [&](auto in, auto to) { Feed(record.get(), in[0], in[1], in[2], to, to + 1, to + 2); });
}

// Coring and level reduction differ from component to component; samples above V as well.
template <int Radius, class Sample, int (*Feed)(fusm *, Sample **, Sample **, const Sample *)>
void sharpen(Generator &input, Digest &digest)
{
    const auto record = shared(fusm_new(Radius, sizeof(Sample) == 1 ? 255 : 40000, 3, 3, nullptr, nullptr), fusm_kill);
    const auto numbers = between(input, 18, 0.0, 1.5);
    fusm_stren_set(record.get(), &numbers[0]);
    fusm_noise_red_set(record.get(), &numbers[3]);
    if (Radius != 1)
        fusm_level_red_set(record.get(), 2, &numbers[6], &numbers[12]);
    fusm_start(record.get(), height, width, ignore_line, 3, 0, 3);
    feed_noise<Sample>(input, digest, 3, width, 3 * width,
                       [&](auto in, auto to) { Feed(record.get(), in, to, nullptr); });
}

// Brings noise of 120 columns and 30 lines to other sizes, izat also a window of it to its own. Many samples lie at the
// ends of the range, so that kernels of both signs leave it. Every destination line is handed out in the same place.
template <class Record, class Sample>
void zoom(Record *record, auto start, int feed(Record *, const Sample *, Sample **), Generator &input, Digest &digest)
{
    constexpr int lines = 30, columns = 120, ratios[][2] = {{2, 1}, {3, 1}, {7, 3}, {2, 3}, {1, 4}, {1, 1}};
    for (const int n : {1, 3, 4, 5})
        for (const auto &[from, to] : ratios) {
            if constexpr (std::is_same_v<Record, izat>)
                from == to ? izat_window_set(record, 10.3, 0.7, 87.45, 23.1) : izat_window_set(record, 0, 0, 0, 0);
            else if (from == to)
                continue;
            const int made = columns * to / from;
            std::vector<Sample> in(static_cast<std::size_t>(columns * n)), out(static_cast<std::size_t>(made * n));
            std::function<void()> add = [&] { digest.put(out); };
            const auto handed = [](void *context, int) { (*static_cast<const std::function<void()> *>(context))(); };
            start(record, n, lines, columns, lines * to / from, made, handed, &add, n, n);
            Sample *holder = out.data();
            for (int y = 0; y < lines; ++y) {
                for (Sample &sample : in) {
                    const std::uint64_t noise = input.next();
                    sample = static_cast<Sample>(noise >> 62 == 0 ? 0 : noise >> 62 == 1 ? ~0U : noise >> 40);
                }
                feed(record, in.data(), &holder);
            }
        }
}

template <class Sample>
Operation::Run izat_images(int kernel, int feed(izat *, const Sample *, Sample **))
{
    return [=](Generator &input, Digest &digest) {
        zoom(shared(izat_new(kernel), izat_kill).get(), izat_start, feed, input, digest);
    };
}

template <auto Feed>
void izoom_images(Generator &input, Digest &digest)
{
    zoom(shared(izoom_new(), izoom_kill).get(), izoom_start, Feed, input, digest);
}

const Operation operations[] = {
    {"fir_mono, radius 3", filter<3, unsigned short, fir_mono>},
    {"fir_mono_b, radius 10", filter<10, unsigned char, fir_mono_b>},
    {"fusm_b_do, radius 0, levels", sharpen<0, unsigned char, fusm_b_do>},
    {"fusm_b_do, radius 1", sharpen<1, unsigned char, fusm_b_do>},
    {"fusm_do, radius 2, levels", sharpen<2, unsigned short, fusm_do>},
    {"ibilin 8-bit, 1000 to 750", ibilin_image<unsigned char, ibilin_rgb_b, 1000, 750>},
    {"ibilin 8-bit, 300 to 1717", ibilin_image<unsigned char, ibilin_rgb_b, 300, 1717>},
    {"ibilin 16-bit, 1000 to 1500", ibilin_image<unsigned short, ibilin_rgb, 1000, 1500>},
    {"ibilin 16-bit, 1201 to 300", ibilin_image<unsigned short, ibilin_rgb, 1201, 300>},
    {"izat 8-bit, area", izat_images(IZAT_AREA, izat_line_b)},
    {"izat 16-bit, area", izat_images(IZAT_AREA, izat_line)},
    {"izat 8-bit, triangle", izat_images(IZAT_TRIANGLE, izat_line_b)},
    {"izat 16-bit, triangle", izat_images(IZAT_TRIANGLE, izat_line)},
    {"izat 8-bit, Catmull-Rom", izat_images(IZAT_CATMULL_ROM, izat_line_b)},
    {"izat 16-bit, Catmull-Rom", izat_images(IZAT_CATMULL_ROM, izat_line)},
    {"izat 8-bit, Mitchell", izat_images(IZAT_MITCHELL, izat_line_b)},
    {"izat 16-bit, Mitchell", izat_images(IZAT_MITCHELL, izat_line)},
    {"izat 8-bit, Lanczos-3", izat_images(IZAT_LANCZOS3, izat_line_b)},
    {"izat 16-bit, Lanczos-3", izat_images(IZAT_LANCZOS3, izat_line)},
    {"izoom 8-bit", izoom_images<izoom_line_b>},
    {"izoom 16-bit", izoom_images<izoom_line>},
};

}  // namespace
