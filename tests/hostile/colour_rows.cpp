#include "hostile/objects.h"

using namespace teska_test;

namespace
{

// Runs of up to 8 pixels with steps up to 6: they stay within 50 samples of where they begin.
const auto ins = [](int k = 3) { return rows_of(k, 50); };
const auto outs = [](int k = 2) { return rows_of(k, 50, true); };
const auto step = [] { return one_of(0, 1, -1, 4, -6); };
const auto count = [] { return one_of(0, 1, 5, 8, -1, INT_MIN); };
const auto mask = [] { return or_null(in(8)); };
const auto coord = [] { return room_of(3, 0, 1, 2); };
const auto vertices = [] { return one_of(2, 3, 1, 0, -1, INT_MIN, INT_MAX); };
const auto curve = [] { return or_null(in(16)); };
const auto entries = [] { return one_of(2, 3, 16, 1, 0, -1, 65537, INT_MAX, INT_MIN); };
const auto threshold = [] { return one_of(0, 100, 255, -1, INT_MIN, INT_MAX); };

// A shape that is no shape is refused before anything is read, and one that is may not lead out of the rows. More than
// eight axes of two would be more pixels than anybody waits for.
void convert(Draw &draw)
{
    int64_t shape[40], in_strides[40], out_strides[40];
    for (int i = 0; i < 40; ++i) {
        shape[i] = draw.chance(10) ? draw.value<int64_t>() | INT64_MIN : draw.random.below(i < 8 ? 3 : 2);
        in_strides[i] = 8 * (draw.random.below(5) - 2);
        out_strides[i] = draw.chance(10) ? 3 : 8 * (draw.random.below(5) - 2);
    }
    const int rank = draw.chance(6) ? draw.random.below(40) - 4 : draw.random.below(4), kind = draw.random.below(9) - 1;
    const convert_rows_layout layout{rank, shape, in_strides, out_strides, nullptr, nullptr};
    void *table = lend<md_tetras>(draw, true);
    if (kind == CONVERT_ROWS_TETRAB)
        table = lend<md_tetrab>(draw, true);
    else if (kind == CONVERT_ROWS_TETRAD)
        table = lend<md_tetrad>(draw, true);
    else if (kind == CONVERT_ROWS_CLUT)
        table = lend<clut_table>(draw, true);
    const From rows = rows_of(3, 50);
    const auto drawn = [&] { return reinterpret_cast<void **>(rows.body(draw, static_cast<double ***>(nullptr))); };
    if (draw.chance(10))
        table = nullptr;
    const int inputs = draw.chance(10) ? 0 : 3, outputs = draw.chance(10) ? -1 : 2;
    void **const in = drawn(), **const out = drawn();
    calling(draw, [&] { return teska_convert_rows(kind, table, inputs, in, outputs, out, &layout); });
}

const HostileRows rows({
    row<md_tetrab_clone, md_tetrad_clone, md_tetras_clone, md_tetras_get_nrpoints, mmd_tetras_clone,
        mmd_tetras_get_nrpoints>(),
    row<clut_table_kill, md_tetrab_kill, md_tetrad_kill, md_tetras_kill, mmd_tetras_kill>(last_of),
    row<clut_table_new>(one_of(1, 2, 3, 0, 17, -1, INT_MIN, INT_MAX),
                        room_of(3, 2, 3, 4, 1, 0, -1, 256, INT_MIN, INT_MAX), one_of(1, 2, 255, 0, 256, -1, INT_MAX),
                        or_null(in(64 * 255))),
    row<clut_table_dataptr, md_tetrab_dataptr, md_tetrad_dataptr, md_tetras_dataptr>(kept, or_null(out(1))),
    row<clut_table_interp>(live, ins(), step(), outs(), step(), count()),
    by<teska_convert_rows>(convert),
    row<md_tetrab_new, md_tetrad_new, md_tetras_new>(about(1, 3), about(1, 4), vertices()),
    row<md_tetrab_new_special>(about(1, 3), about(1, 4), vertices(), one_of(0, 10, 255, -1, INT_MIN),
                               one_of(255, 11, 0, 256, INT_MAX), one_of(0, 1, 2, -1, INT_MAX)),
    row<md_tetrab_LUT>(live, or_null(rows_of(3, 256, true)), or_null(rows_of(2, 256, true))),
    row<md_tetrab_ilutptr>(kept, about(0, 2)),
    row<md_tetrab_olutptr>(kept, about(0, 1)),
    row<md_tetrab_fill_double, md_tetras_fill_double>(live, in(2 * 5 * 5 * 5), one_of(0, 1, 2, -1, INT_MIN, INT_MAX)),
    row<md_tetrab_get_nrpoints, md_tetrad_get_nrpoints>(kept),
    row<md_tetrab_vertex_get, md_tetrad_vertex_get, md_tetras_vertex_get>(kept, coord(), or_null(out(3))),
    row<md_tetrab_scan_vertex, md_tetrad_scan_vertex>(kept, coord()),
    row<md_tetrab_interp>(kept, ins(), step(), outs(), step(), count(), mask(), number),
    row<md_tetrab_expand>(kept, one_of(2, 3, 5, 4, 1, 0, -1, INT_MIN, INT_MAX)),
    row<md_tetrad_interp>(kept, ins(), step(), outs(), step(), count()),
    row<md_tetras_ilut_set, mmd_tetras_ilut_set>(live, about(0, 2), entries(), curve()),
    row<md_tetras_olut_set>(live, about(0, 1), entries(), curve()),
    row<md_tetras_scan_vertex, mmd_tetras_scan_vertex>(live, coord()),
    row<md_tetras_interp, md_tetras_interp_b, md_tetras_interp_bs, md_tetras_interp_sb>(live, ins(), step(), outs(),
                                                                                        step(), count(), mask(),
                                                                                        threshold()),
    row<mmd_tetras_new>(about(1, 3), about(1, 3), about(1, 4), vertices()),
    row<mmd_tetras_olut_set>(live, about(0, 2), about(0, 1), entries(), curve()),
    row<mmd_tetras_dataptr>(kept, about(0, 2), or_null(out(1))),
    row<mmd_tetras_vertex_get>(kept, about(0, 2), coord(), or_null(out(3))),
    row<mmd_tetras_interp_tag, mmd_tetras_interp_tag_b>(live, ins(), step(), outs(), step(), count(), in(8)),
    row<mmd_tetras_interp_all, mmd_tetras_interp_all_b>(live, ins(), step(), outs(6), step(), count()),
    row<mmd_tetras_interp_mix, mmd_tetras_interp_mix_b>(live, about(0, 2), about(0, 2), ins(), step(), outs(), step(),
                                                        count(), or_null(in(8))),
});

}  // namespace
