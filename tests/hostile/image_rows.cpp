#include "hostile/objects.h"

using namespace teska_test;

namespace
{

const auto line = [] { return mid(40); };
const auto holder = [] { return rows_of(1, 40); };
const auto size = [] { return one_of(1, 3, 6, 0, -1, INT_MIN); };
const auto length = [] { return one_of(0, 1, 20, -1, INT_MIN); };
const auto first = [] { return one_of(0, 0, 0, 0, 1, 5, -1, INT_MAX); };
const auto lines = [] { return one_of(8, 8, 8, 8, 1, 2, 0, INT_MAX); };
const auto components = [] { return about(1, 4); };

// An image of samples of its own, or one that is none; alike: of the kind of the last one, and of its size; or else of
// another size.
const whole_image *image_of(Draw &draw, int n, int depth, int width, int height)
{
    const int sample = depth == 16 ? 2 : 1, outside[] = {0, -1, INT_MIN};
    unsigned char *const pixels = draw.room<unsigned char>(8 * 8 * 4 * 2);
    whole_image *const image = draw.values<whole_image>(1);
    *image = {pixels, width, height, n, depth, 32 * sample, 4 * sample, sample};
    int *const fields[] = {&image->width, &image->height, &image->components, &image->depth};
    if (draw.chance(5))
        *fields[draw.random.below(4)] = outside[draw.random.below(3)];
    if (depth == 16 && draw.chance(8))
        image->line = 3;
    return image;
}

int extent(Draw &draw) { return draw.chance(2) ? 8 : 1 + draw.random.below(8); }  // the room ends where 8 do

constexpr From image{[](Draw &draw, const whole_image **) {
    return in_order(image_of, std::tuple<Draw &, int, int, int, int>{
                                  draw, 1 + draw.random.below(4), draw.chance(2) ? 8 : 16, extent(draw), extent(draw)});
}};
constexpr From alike{[](Draw &draw, const whole_image **) {
    const whole_image &last = *draw.last<const whole_image>();
    return image_of(draw, last.components, last.depth, last.width, last.height);
}};
constexpr From resized{[](Draw &draw, const whole_image **) {
    const whole_image &last = *draw.last<const whole_image>();
    return in_order(image_of, std::tuple<Draw &, int, int, int, int>{draw, last.components, last.depth, extent(draw),
                                                                     extent(draw)});
}};
constexpr From how{[](Draw &draw, const whole_image_sharpening **) {
    whole_image_sharpening *const made = draw.values<whole_image_sharpening>(1);
    *made = {draw.random.below(5) - 1, draw.values<double>(4),  draw.chance(2) ? draw.values<double>(4) : nullptr,
             draw.random.below(4) - 1, draw.values<double>(12), draw.values<double>(12)};
    return made;
}};

const HostileRows rows({
    row<flood_new, ibilin_new, izoom_new, izoom_window_set, izat_window_set, izat_strip_set>(),
    row<fir_kill, flood_kill, fusm_kill, ibilin_kill, izoom_kill, izat_kill>(last_of),
    row<fir_new>(about(0, 10), one_of(0, 255, 65535, INT_MAX)),
    row<fir_start, fir_start_with>(live, usual, one_of(1, 3, INT_MAX), length()),
    feeding<fir_mono, fir_mono_b, ibilin_mono, ibilin_mono_b, izoom_line, izoom_line_b, izat_line, izat_line_b>(
        live, line(), holder()),
    feeding<fir_rgb, fir_rgb_b, ibilin_rgb, ibilin_rgb_b>(live, line(), line(), line(), holder(), holder(), holder()),
    feeding<fir_cmyk, fir_cmyk_b, ibilin_cmyk, ibilin_cmyk_b>(live, line(), line(), line(), line(), holder(), holder(),
                                                              holder(), holder()),
    row<flood_do>(live, one_of(nullptr)),
    row<fusm_new, fusm_new_with>(about(0, 2), about(0, 255), about(1, 4), about(4, 10), or_null(room_of(4, 0, 1, 2)),
                                 or_null(usual)),
    row<fusm_stren_set, fusm_noise_red_set>(live, in(2)),
    row<fusm_level_red_set>(live, one_of(0, 2, 3, 1, -1, INT_MIN), in(6), in(6)),
    row<fusm_stren_get, fusm_noise_red_get>(kept),
    row<fusm_start, fusm_start_with>(live, usual, length()),
    feeding<fusm_b_do, fusm_do>(live, rows_of(2, 40), rows_of(2, 40), or_null(line())),
    row<ibilin_start, ibilin_start_with>(live, components(), size(), size(), size(), size()),
    row<izoom_start>(live, about(1, 16), size(), size(), size(), size()),
    row<izat_new>(about(0, 4)),
    by<izat_start>([](Draw &draw) {
        izat *record = lend<izat>(draw, false);
        if (draw.chance(2))
            in_order(izat_window_set, std::tuple{record, draw.number(), draw.number(), draw.number(), draw.number()});
        if (draw.chance(2))
            in_order(izat_strip_set, std::tuple{record, draw.random.below(4) - 1, draw.value<int>()});
        const auto side = [&] { return draw.chance(8) ? draw.random.below(3) - 2 : 1 + draw.random.below(9); };
        const int n = side(), from_lines = side(), from_width = side(), to_lines = side(), to_width = side();
        calling(draw, [=] {
            return izat_start(record, n, from_lines, from_width, to_lines, to_width, handed, nullptr, 1, 1);
        });
    }),
    row<whole_image_resize>(one_of(-1, -1, 0, 1, 2, 3, 4, 5, INT_MAX), image, resized, or_null(in(4)), first(),
                            lines()),
    row<whole_image_sharpen>(how, image, alike, first(), lines()),
    row<whole_image_flood>(image, about(0, 7), about(0, 7), one_of(0, 1, 40, INT_MAX), out(64)),
});

}  // namespace
