// colour_table - a table of 16-bit samples with its curves

#include "tables/colour_table.h"

#include "frame/failure.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>

namespace tool
{

namespace
{

constexpr int most_channels = 16;

}  // namespace

bool is_possible_table(int inputs, int outputs, int points)
{
    constexpr double most_samples_of_a_table = 1 << 28;
    return points >= 2 && std::pow(points, inputs) * outputs <= most_samples_of_a_table;
}

colour_table::colour_table(int inputs, int outputs, int points)
    : inputs_(inputs), outputs_(outputs), points_(points), table_(md_tetras_new(inputs, outputs, points)),
      curves_(static_cast<std::size_t>(inputs))
{
    if (!table_)
        throw_report("");
}

std::size_t colour_table::samples() const
{
    return static_cast<std::size_t>(md_tetras_get_nrpoints(table_.get())) * static_cast<std::size_t>(outputs_);
}

bool colour_table::has_curves() const
{
    return std::any_of(curves_.begin(), curves_.end(), [](const auto &curve) { return !curve.empty(); });
}

void colour_table::set_curve(int input, std::vector<std::uint16_t> curve)
{
    if (md_tetras_ilut_set(table_.get(), input, static_cast<int>(curve.size()),
                           curve.empty() ? nullptr : curve.data()) == 0)
        throw_report("");
    curves_[static_cast<std::size_t>(input)] = std::move(curve);
}

void colour_table::set_output_curve(int output, const std::vector<std::uint16_t> &curve)
{
    if (md_tetras_olut_set(table_.get(), output, static_cast<int>(curve.size()), curve.data()) == 0)
        throw_report("");
    has_output_curves_ = true;
}

std::uint16_t *colour_table::vertices() { return md_tetras_dataptr(table_.get(), nullptr); }

const std::uint16_t *colour_table::vertices() const { return md_tetras_dataptr(table_.get(), nullptr); }

namespace
{

template <class In, class Out, auto convert>
void run_as(const md_tetras *table, int inputs, int outputs, const void *in, int in_step, void *out, int out_step,
            std::size_t pixels)
{
    std::array<const In *, most_channels> from{};
    std::array<Out *, most_channels> to{};
    constexpr std::size_t at_once = 1 << 20;
    for (std::size_t done = 0; done < pixels; done += at_once) {
        for (int d = 0; d < inputs; ++d)
            from[static_cast<std::size_t>(d)] =
                static_cast<const In *>(in) + done * static_cast<std::size_t>(in_step) + d;
        for (int c = 0; c < outputs; ++c)
            to[static_cast<std::size_t>(c)] = static_cast<Out *>(out) + done * static_cast<std::size_t>(out_step) + c;
        convert(table, from.data(), in_step, to.data(), out_step, static_cast<int>(std::min(at_once, pixels - done)),
                nullptr, 0);
    }
}

}  // namespace

void colour_table::run(const void *in, int in_depth, int in_step, void *out, int out_depth, int out_step,
                       std::size_t pixels) const
{
    using byte = unsigned char;
    using word = unsigned short;
    const auto call =
        in_depth == 8
            ? (out_depth == 8 ? run_as<byte, byte, md_tetras_interp_b> : run_as<byte, word, md_tetras_interp_bs>)
            : (out_depth == 8 ? run_as<word, byte, md_tetras_interp_sb> : run_as<word, word, md_tetras_interp>);
    call(table_.get(), inputs_, outputs_, in, in_step, out, out_step, pixels);
}

}  // namespace tool
