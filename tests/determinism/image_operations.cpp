#include "Source/fir/fir_priv.h"

#include "determinism/operations.h"
#include "fusm.h"
#include "ibilin.h"
#include "izat.h"

#include <vector>

namespace teska_test
{

namespace
{

constexpr int width = 301;
constexpr int height = 40;

void ignore_line(int) {}

// Coefficients of both signs, some above 1; the sums of 16-bit samples wrap.
template <int Radius, class Sample, int (*Feed)(fir *, const Sample *, Sample **)>
void filter(Generator &input, Digest &digest)
{
    std::vector<double> kernel((2 * Radius + 1) * (2 * Radius + 1));
    for (double &coefficient : kernel)
        coefficient = input.between(-1.5, 1.6);
    fir *const record = fir_new(Radius, sizeof(Sample) == 1 ? 255 : 65535);
    teska::fir_set_kernel(record, kernel.data());
    fir_start(record, 1, height, width, ignore_line, 1, 2);
    std::vector<Sample> lines(height * width);
    for (Sample &sample : lines)
        sample = static_cast<Sample>(input.next() >> 40);
    std::vector<Sample> out(2 * width);
    for (int y = 0; y < height; ++y) {
        Sample *holder = out.data();
        Feed(record, &lines[static_cast<std::size_t>(y * width)], &holder);
        digest.put(out);
    }
    fir_kill(record);
}

template <class Sample, int From, int To>
void ibilin_image(Generator &input, Digest &digest)
{
    std::vector<Sample> in(3 * From), out(3 * To);
    Sample *to[] = {out.data(), out.data() + 1, out.data() + 2};
    ibilin *const record = ibilin_new(0);
    ibilin_start(record, 3, height, From, height * To / From, To, ignore_line, 3, 3);
    for (int y = 0; y < height; ++y) {
        for (Sample &sample : in)
            sample = static_cast<Sample>(input.next() >> 40);
        if constexpr (sizeof(Sample) == 1)
            ibilin_rgb_b(record, &in[0], &in[1], &in[2], &to[0], &to[1], &to[2]);
        else
            ibilin_rgb(record, &in[0], &in[1], &in[2], &to[0], &to[1], &to[2]);
        digest.put(out);
    }
    ibilin_kill(record);
}

// Every destination line is handed out in the same place.
template <class Sample>
struct Handed {
    Digest *digest;
    const std::vector<Sample> *line;

    static void add(void *context, int)
    {
        const auto *const own = static_cast<Handed *>(context);
        own->digest->put(*own->line);
    }
};

// Brings noise of 120 columns and 30 lines to `To` / `From` of its size. Many samples lie at the ends of the range, so
// that kernels of both signs leave it.
template <class Sample, class Record, int (*Start)(Record *, int, int, int, int, int, izat_callback, void *, int, int),
          int (*Feed)(Record *, const Sample *, Sample **)>
void zoom_image(Record *record, int n, int from, int to, Generator &input, Digest &digest)
{
    constexpr int source_lines = 30, source_width = 120;
    const int lines = source_lines * to / from, columns = source_width * to / from;
    std::vector<Sample> in(static_cast<std::size_t>(source_width * n)), out(static_cast<std::size_t>(columns * n));
    Handed<Sample> handed{&digest, &out};
    Start(record, n, source_lines, source_width, lines, columns, Handed<Sample>::add, &handed, n, n);
    Sample *holder = out.data();
    for (int y = 0; y < source_lines; ++y) {
        for (Sample &sample : in) {
            const std::uint64_t noise = input.next();
            sample = static_cast<Sample>(noise >> 62 == 0 ? 0 : noise >> 62 == 1 ? ~0U : noise >> 40);
        }
        Feed(record, in.data(), &holder);
    }
}

const int zoom_ratios[][2] = {{2, 1}, {3, 1}, {7, 3}, {2, 3}, {1, 4}};

template <int Kernel, class Sample, int (*Feed)(izat *, const Sample *, Sample **)>
void izat_images(Generator &input, Digest &digest)
{
    izat *const record = izat_new(Kernel);
    for (const int n : {1, 3, 4, 5}) {
        izat_window_set(record, 0, 0, 0, 0);
        for (const auto &[from, to] : zoom_ratios)
            zoom_image<Sample, izat, izat_start, Feed>(record, n, from, to, input, digest);
        izat_window_set(record, 10.3, 0.7, 87.45, 23.1);
        zoom_image<Sample, izat, izat_start, Feed>(record, n, 1, 1, input, digest);
    }
    izat_kill(record);
}

template <class Sample, int (*Feed)(izoom *, const Sample *, Sample **)>
void izoom_images(Generator &input, Digest &digest)
{
    izoom *const record = izoom_new();
    for (const int n : {1, 3, 4, 5})
        for (const auto &[from, to] : zoom_ratios)
            zoom_image<Sample, izoom, izoom_start, Feed>(record, n, from, to, input, digest);
    izoom_kill(record);
}

// Coring and level reduction differ from component to component; samples above V as well.
template <int Radius, class Sample, int (*Feed)(fusm *, Sample **, Sample **, const Sample *)>
void sharpen(Generator &input, Digest &digest)
{
    constexpr bool bytes = sizeof(Sample) == 1;
    fusm *const record = fusm_new(Radius, bytes ? 255 : 40000, 3, 3, nullptr, nullptr);
    std::vector<double> numbers(18);
    for (double &number : numbers)
        number = input.between(0.0, 1.5);
    fusm_stren_set(record, &numbers[0]);
    fusm_noise_red_set(record, &numbers[3]);
    if (Radius != 1)
        fusm_level_red_set(record, 2, &numbers[6], &numbers[12]);
    fusm_start(record, height, width, ignore_line, 3, 0, 3);
    std::vector<Sample> lines(3 * height * width);
    for (Sample &sample : lines)
        sample = static_cast<Sample>(input.next() >> 40);
    std::vector<Sample> out(3 * width);
    Sample *to[] = {out.data(), out.data() + 1, out.data() + 2};
    for (int y = 0; y < height; ++y) {
        Sample *const line = &lines[static_cast<std::size_t>(3 * y * width)];
        Sample *in[] = {line, line + 1, line + 2};
        Feed(record, in, to, nullptr);
        digest.put(out);
    }
    fusm_kill(record);
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
    {"izat 8-bit, area", izat_images<IZAT_AREA, unsigned char, izat_line_b>},
    {"izat 8-bit, triangle", izat_images<IZAT_TRIANGLE, unsigned char, izat_line_b>},
    {"izat 8-bit, Catmull-Rom", izat_images<IZAT_CATMULL_ROM, unsigned char, izat_line_b>},
    {"izat 8-bit, Mitchell", izat_images<IZAT_MITCHELL, unsigned char, izat_line_b>},
    {"izat 8-bit, Lanczos-3", izat_images<IZAT_LANCZOS3, unsigned char, izat_line_b>},
    {"izat 16-bit, area", izat_images<IZAT_AREA, unsigned short, izat_line>},
    {"izat 16-bit, triangle", izat_images<IZAT_TRIANGLE, unsigned short, izat_line>},
    {"izat 16-bit, Catmull-Rom", izat_images<IZAT_CATMULL_ROM, unsigned short, izat_line>},
    {"izat 16-bit, Mitchell", izat_images<IZAT_MITCHELL, unsigned short, izat_line>},
    {"izat 16-bit, Lanczos-3", izat_images<IZAT_LANCZOS3, unsigned short, izat_line>},
    {"izoom 8-bit", izoom_images<unsigned char, izoom_line_b>},
    {"izoom 16-bit", izoom_images<unsigned short, izoom_line>},
};

}  // namespace

}  // namespace teska_test
