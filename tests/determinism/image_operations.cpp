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

template <class Sample>
void shift_in(Generator &input, std::vector<Sample> &samples)
{
    for (Sample &sample : samples)
        sample = static_cast<Sample>(input.next() >> 40);
}

// Coefficients of both signs, some above 1; the sums of 16-bit samples wrap.
template <int Radius, class Sample, int (*Feed)(fir *, const Sample *, Sample **)>
void filter(Generator &input, Digest &digest)
{
    const auto kernel = between<(2 * Radius + 1) * (2 * Radius + 1)>(input, -1.5, 1.6);
    const auto record = shared(fir_new(Radius, sizeof(Sample) == 1 ? 255 : 65535), fir_kill);
    teska::fir_set_kernel(record.get(), kernel.data());
    fir_start(record.get(), 1, height, width, ignore_line, 1, 2);
    std::vector<Sample> lines(height * width), out(2 * width);
    shift_in(input, lines);
    for (int y = 0; y < height; ++y) {
        Sample *holder = out.data();
        Feed(record.get(), &lines[static_cast<std::size_t>(y * width)], &holder);
        digest.put(out);
    }
}

template <class Sample, int From, int To>
void ibilin_image(Generator &input, Digest &digest)
{
    std::vector<Sample> in(3 * From), out(3 * To);
    Sample *to[] = {out.data(), out.data() + 1, out.data() + 2};
    const auto record = shared(ibilin_new(0), ibilin_kill);
    ibilin_start(record.get(), 3, height, From, height * To / From, To, ignore_line, 3, 3);
    for (int y = 0; y < height; ++y) {
        shift_in(input, in);
        if constexpr (sizeof(Sample) == 1)
            ibilin_rgb_b(record.get(), &in[0], &in[1], &in[2], &to[0], &to[1], &to[2]);
        else
            ibilin_rgb(record.get(), &in[0], &in[1], &in[2], &to[0], &to[1], &to[2]);
        digest.put(out);
    }
}

// Brings noise of 120 columns and 30 lines to `To` / `From` of its size. Many samples lie at the ends of the range, so
// that kernels of both signs leave it.
template <class Record, class Sample>
void zoom_image(Record *record, int start(Record *, int, int, int, int, int, izat_callback, void *, int, int),
                int feed(Record *, const Sample *, Sample **), int n, int from, int to, Generator &input,
                Digest &digest)
{
    constexpr int source_lines = 30, source_width = 120;
    const int lines = source_lines * to / from, columns = source_width * to / from;
    std::vector<Sample> in(static_cast<std::size_t>(source_width * n)), out(static_cast<std::size_t>(columns * n));
    // Every destination line is handed out in the same place.
    std::function<void()> add = [&] { digest.put(out); };
    const auto handed = [](void *context, int) { (*static_cast<const std::function<void()> *>(context))(); };
    start(record, n, source_lines, source_width, lines, columns, handed, &add, n, n);
    Sample *holder = out.data();
    for (int y = 0; y < source_lines; ++y) {
        for (Sample &sample : in) {
            const std::uint64_t noise = input.next();
            sample = static_cast<Sample>(noise >> 62 == 0 ? 0 : noise >> 62 == 1 ? ~0U : noise >> 40);
        }
        feed(record, in.data(), &holder);
    }
}

const int zoom_ratios[][2] = {{2, 1}, {3, 1}, {7, 3}, {2, 3}, {1, 4}};

template <class Sample>
Operation::Run izat_images(int kernel, int feed(izat *, const Sample *, Sample **))
{
    return [=](Generator &input, Digest &digest) {
        const auto record = shared(izat_new(kernel), izat_kill);
        for (const int n : {1, 3, 4, 5}) {
            izat_window_set(record.get(), 0, 0, 0, 0);
            for (const auto &[from, to] : zoom_ratios)
                zoom_image(record.get(), izat_start, feed, n, from, to, input, digest);
            izat_window_set(record.get(), 10.3, 0.7, 87.45, 23.1);
            zoom_image(record.get(), izat_start, feed, n, 1, 1, input, digest);
        }
    };
}

template <class Sample>
Operation::Run izoom_images(int feed(izoom *, const Sample *, Sample **))
{
    return [=](Generator &input, Digest &digest) {
        const auto record = shared(izoom_new(), izoom_kill);
        for (const int n : {1, 3, 4, 5})
            for (const auto &[from, to] : zoom_ratios)
                zoom_image(record.get(), izoom_start, feed, n, from, to, input, digest);
    };
}

// Coring and level reduction differ from component to component; samples above V as well.
template <int Radius, class Sample, int (*Feed)(fusm *, Sample **, Sample **, const Sample *)>
void sharpen(Generator &input, Digest &digest)
{
    constexpr bool bytes = sizeof(Sample) == 1;
    const auto record = shared(fusm_new(Radius, bytes ? 255 : 40000, 3, 3, nullptr, nullptr), fusm_kill);
    const auto numbers = between<18>(input, 0.0, 1.5);
    fusm_stren_set(record.get(), &numbers[0]);
    fusm_noise_red_set(record.get(), &numbers[3]);
    if (Radius != 1)
        fusm_level_red_set(record.get(), 2, &numbers[6], &numbers[12]);
    fusm_start(record.get(), height, width, ignore_line, 3, 0, 3);
    std::vector<Sample> lines(3 * height * width), out(3 * width);
    shift_in(input, lines);
    Sample *to[] = {out.data(), out.data() + 1, out.data() + 2};
    for (int y = 0; y < height; ++y) {
        Sample *const line = &lines[static_cast<std::size_t>(3 * y * width)];
        Sample *in[] = {line, line + 1, line + 2};
        Feed(record.get(), in, to, nullptr);
        digest.put(out);
    }
}

const Operation operations[] = {
    {"fir_mono, radius 3", filter<3, unsigned short, fir_mono>},
    {"fir_mono_b, radius 10", filter<10, unsigned char, fir_mono_b>},
    {"fusm_b_do, radius 0, levels", sharpen<0, unsigned char, fusm_b_do>},
    {"fusm_b_do, radius 1", sharpen<1, unsigned char, fusm_b_do>},
    {"fusm_do, radius 2, levels", sharpen<2, unsigned short, fusm_do>},
    {"ibilin 8-bit, 1000 to 750", ibilin_image<unsigned char, 1000, 750>},
    {"ibilin 8-bit, 300 to 1717", ibilin_image<unsigned char, 300, 1717>},
    {"ibilin 16-bit, 1000 to 1500", ibilin_image<unsigned short, 1000, 1500>},
    {"ibilin 16-bit, 1201 to 300", ibilin_image<unsigned short, 1201, 300>},
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
    {"izoom 8-bit", izoom_images(izoom_line_b)},
    {"izoom 16-bit", izoom_images(izoom_line)},
};

}  // namespace
