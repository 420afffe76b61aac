// convert_rows - conversion of pixels that lie in memory in any regular way (colour)
//
// The axes are sorted by the outputs' strides, the longest first, and an axis that continues the next one is joined
// with it. Pixels are independent of each other, so their order is free. What is left of, say, a cropped picture is a
// list of two axes, rows and pixels; a plain picture is one. A run goes along the last axis, or along the longest one
// where the last is short: the call of a table costs as much as some pixels.
//
// Example: 480 x 640 interleaved RGB in a frame of 700 columns, to dense CMYK: strides (2100, 3) and (2560, 4) do not
// join, 480 runs of 640. The same without the frame: (1920, 3) and (2560, 4) join to one run of 307,200.
//
// Steps are ints in the tables' functions. A run is cut where count times step would leave an int; a stride that does
// so by itself makes runs of one pixel. No process-wide state.

#include "convert_rows.h"

#include "Support/report.h"

#include "clut_table.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>

namespace
{

constexpr std::int64_t farthest = std::int64_t{1} << 30;  // count times step of a run, in samples
constexpr std::int64_t short_run = 32;                    // pixels; below, a longer axis is looked for
constexpr int mask_room = 1024;                           // mask bytes that are gathered at a time

struct axis {
    std::int64_t count, in, out, mask;
};

struct sample_sizes {
    int in, out;
};

constexpr sample_sizes sizes[] = {{1, 1}, {2, 2}, {1, 1}, {1, 2}, {2, 1}, {8, 8}, {8, 8}};
constexpr int kinds = static_cast<int>(std::size(sizes));

// The pointers to the samples of the pixel at hand.
struct pixel {
    void **at;
    int channels;

    void move(std::int64_t bytes) const
    {
        for (int c = 0; c < channels; ++c)
            if (at[c] != nullptr)
                at[c] = static_cast<unsigned char *>(at[c]) + static_cast<std::ptrdiff_t>(bytes);
    }
};

struct conversion {
    int kind;
    void *table;
    pixel in, out;

    template <class Sample>
    Sample **inputs() const
    {
        return reinterpret_cast<Sample **>(in.at);
    }
    template <class Sample>
    Sample **outputs() const
    {
        return reinterpret_cast<Sample **>(out.at);
    }

    // A run without a mask, or with one byte for each pixel.
    void call(int in_step, int out_step, int count, const unsigned char *mask) const
    {
        const auto *const words = static_cast<const md_tetras *>(table);
        switch (kind) {
        case CONVERT_ROWS_TETRAB:
            md_tetrab_interp(static_cast<md_tetrab *>(table), inputs<unsigned char>(), in_step,
                             outputs<unsigned char>(), out_step, count, mask, 0.0);
            out.move(-std::int64_t{count} * out_step);
            break;
        case CONVERT_ROWS_TETRAS:
            md_tetras_interp(words, inputs<unsigned short>(), in_step, outputs<unsigned short>(), out_step, count, mask,
                             0);
            break;
        case CONVERT_ROWS_TETRAS_B:
            md_tetras_interp_b(words, inputs<unsigned char>(), in_step, outputs<unsigned char>(), out_step, count, mask,
                               0);
            break;
        case CONVERT_ROWS_TETRAS_BS:
            md_tetras_interp_bs(words, inputs<unsigned char>(), in_step, outputs<unsigned short>(), out_step, count,
                                mask, 0);
            break;
        case CONVERT_ROWS_TETRAS_SB:
            md_tetras_interp_sb(words, inputs<unsigned short>(), in_step, outputs<unsigned char>(), out_step, count,
                                mask, 0);
            break;
        default:
            call_doubles(in_step, out_step, count, mask);
        }
    }

    // Tables of doubles know no mask: the pixels between two that are left out are a run.
    void call_doubles(int in_step, int out_step, int count, const unsigned char *mask) const
    {
        int begin = 0;
        while (begin < count) {
            const auto wanted = [&](int p) { return mask == nullptr || mask[p] != 0; };
            int end = begin;
            while (end < count && wanted(end))
                ++end;
            if (end > begin)
                doubles_at(begin, in_step, out_step, end - begin);
            begin = end + 1;
        }
    }

    void doubles_at(int begin, int in_step, int out_step, int count) const
    {
        constexpr std::int64_t size = sizeof(double);
        in.move(size * begin * in_step);
        out.move(size * begin * out_step);
        if (kind == CONVERT_ROWS_TETRAD) {
            md_tetrad_interp(static_cast<md_tetrad *>(table), inputs<double>(), in_step, outputs<double>(), out_step,
                             count);
            out.move(-size * count * out_step);
        } else {
            clut_table_interp(static_cast<const clut_table *>(table), inputs<double>(), in_step, outputs<double>(),
                              out_step, count);
        }
        in.move(-size * begin * in_step);
        out.move(-size * begin * out_step);
    }
};

// What is left of the axes, the run last.
struct axes {
    axis list[CONVERT_ROWS_MAX_RANK + 1];
    int count = 0;
    bool empty = false;

    bool take(const convert_rows_layout &layout, const sample_sizes &sample)
    {
        if (layout.rank < 0 || layout.rank > CONVERT_ROWS_MAX_RANK)
            return false;
        for (int k = 0; k < layout.rank; ++k) {
            const axis a{layout.shape[k], layout.in_strides[k], layout.out_strides[k],
                         layout.mask != nullptr ? layout.mask_strides[k] : 0};
            if (a.count < 0 || a.in % sample.in != 0 || a.out % sample.out != 0)
                return false;
            empty = empty || a.count == 0;
            if (a.count > 1)
                list[count++] = a;
        }
        return true;
    }

    void sort()
    {
        std::sort(list, list + count, [](const axis &a, const axis &b) {
            const std::int64_t x = std::abs(a.out), y = std::abs(b.out);
            return x != y ? x > y : std::abs(a.in) > std::abs(b.in);
        });
    }

    void join()
    {
        int kept = 0;
        for (int k = 1; k < count; ++k) {
            axis &a = list[kept];
            const axis &b = list[k];
            if (a.in == b.in * b.count && a.out == b.out * b.count && a.mask == b.mask * b.count)
                a = {a.count * b.count, b.in, b.out, b.mask};
            else
                list[++kept] = b;
        }
        count = count != 0 ? kept + 1 : 0;
    }

    // A run of one pixel is needed where there is no axis.
    void choose_run()
    {
        if (count == 0)
            list[count++] = {1, 0, 0, 0};
        axis *const last = list + count - 1;
        axis *const longest =
            std::max_element(list, list + count, [](const axis &a, const axis &b) { return a.count < b.count; });
        if (last->count < short_run)
            std::swap(*last, *longest);
    }
};

std::int64_t samples(std::int64_t stride, int size) { return stride / size; }

// The run from the pixel at hand, in as many calls as an int's range and the room for masks ask for.
void convert_run(const conversion &job, const axis &run, const sample_sizes &sample, const unsigned char *mask)
{
    std::int64_t in_step = samples(run.in, sample.in), out_step = samples(run.out, sample.out);
    const std::int64_t step = std::max({std::abs(in_step), std::abs(out_step), std::int64_t{1}});
    const bool gather = mask != nullptr && run.mask != 1;
    std::int64_t most = std::max(farthest / step, std::int64_t{1});
    if (most == 1)
        in_step = out_step = 0;
    if (gather)
        most = std::min<std::int64_t>(most, mask_room);
    unsigned char gathered[mask_room];
    for (std::int64_t done = 0; done < run.count;) {
        const int count = static_cast<int>(std::min(run.count - done, most));
        const unsigned char *bytes = mask;
        if (gather) {
            for (int p = 0; p < count; ++p)
                gathered[p] = mask[static_cast<std::ptrdiff_t>((done + p) * run.mask)];
            bytes = gathered;
        } else if (mask != nullptr) {
            bytes = mask + static_cast<std::ptrdiff_t>(done);
        }
        job.call(static_cast<int>(in_step), static_cast<int>(out_step), count, bytes);
        job.in.move(count * run.in);
        job.out.move(count * run.out);
        done += count;
    }
    job.in.move(-run.count * run.in);
    job.out.move(-run.count * run.out);
}

// All runs: the axes before the last one count like the wheels of an odometer.
void convert_all(const conversion &job, const axes &of, const sample_sizes &sample, const unsigned char *mask)
{
    std::int64_t at[CONVERT_ROWS_MAX_RANK + 1] = {};
    for (int k = 0; k >= 0;) {
        convert_run(job, of.list[of.count - 1], sample, mask);
        for (k = of.count - 2; k >= 0; --k) {
            const axis &wheel = of.list[k];
            const std::int64_t by = ++at[k] < wheel.count ? 1 : 1 - wheel.count;
            job.in.move(by * wheel.in);
            job.out.move(by * wheel.out);
            if (mask != nullptr)
                mask += static_cast<std::ptrdiff_t>(by * wheel.mask);
            if (by == 1)
                break;
            at[k] = 0;
        }
    }
}

}  // namespace

int teska_convert_rows(int kind, void *table, int inputs, void **in, int outputs, void **out,
                       const convert_rows_layout *layout) TESKA_NOTHROW
{
    if (kind < 0 || kind >= kinds || table == nullptr || inputs < 1 || outputs < 1) {
        TESKA_ERR("teska_convert_rows: illegal kind");
        return 0;
    }
    axes of;
    if (!of.take(*layout, sizes[kind])) {
        TESKA_ERR("teska_convert_rows: illegal layout");
        return 0;
    }
    if (of.empty)
        return 1;
    of.sort();
    of.join();
    of.choose_run();
    convert_all({kind, table, {in, inputs}, {out, outputs}}, of, sizes[kind], layout->mask);
    return 1;
}
