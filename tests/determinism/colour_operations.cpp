#include "support/owned_clut.h"
#include "support/samples.h"

#include "determinism/operations.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"
#include "mmd_tetras.h"

#include <cmath>
#include <span>

using namespace teska_test;

namespace
{

struct Size {
    int inputs, outputs, points;
    int low = 0, high = 255, extension = 1;  // of weights
};

using Words = std::vector<unsigned short>;
using Bytes = std::vector<unsigned char>;

// What a table holds at its vertices, as given by its dataptr.
template <auto dataptr, class... Table>
auto vertices(Table... table)
{
    int size = 0;
    auto *const data = dataptr(table..., &size);
    return std::span(data, static_cast<std::size_t>(size));
}

template <class Array>
Array filled(Generator &input, Array samples)
{
    input.fill(samples.data(), samples.size());
    return samples;
}

// Values and points reach a little beyond 0 .. 1.
Operation::Run clut(Generator &input, Size s)
{
    std::vector<float> values(static_cast<std::size_t>(s.outputs * std::lround(std::pow(s.points, s.inputs))));
    for (float &value : values)
        value = static_cast<float>(input.between(-0.1, 1.1));
    const Bytes counts(static_cast<std::size_t>(s.inputs), static_cast<unsigned char>(s.points));
    const auto table = std::make_shared<OwnedClut>(counts, s.outputs, values);
    return [=](Generator &at, Digest &digest) {
        std::vector<double> in(counts.size()), out(static_cast<std::size_t>(s.outputs));
        for (int i = 0; i < 1000; ++i) {
            for (double &x : in)
                x = i % 10 == 0 ? at.below(5) / 4.0 : at.between(-0.1, 1.1);
            table->Interpolate(out.data(), in.data());
            digest.put(out);
            if (s.inputs != 3)
                continue;
            for (double &x : in)
                x = at.unit();
            table->Interp3d(out.data(), in.data());
            digest.put(out);
        }
    };
}

// A table of random vertices and curves converts random pixels; then it is expanded.
Operation::Run tetrab(Generator &input, Size s)
{
    const std::shared_ptr<md_tetrab> table(
        md_tetrab_new_special(s.inputs, s.outputs, s.points, s.low, s.high, s.extension), md_tetrab_kill);
    filled(input, vertices<md_tetrab_dataptr>(table.get()));
    for (int v = 0; v < 256; ++v)
        md_tetrab_ilutptr(table.get(), 0)[v] = md_tetrab_olutptr(table.get(), s.outputs - 1)[v] = input.byte();
    return [=](Generator &at, Digest &digest) {
        Samples<unsigned char> in(s.inputs, 1000, s.inputs), out(s.outputs, 1000, s.outputs);
        at.fill(in.buffer.data(), in.buffer.size());
        md_tetrab_interp(table.get(), in.at.data(), in.step, out.at.data(), out.step, 1000, nullptr, 0);
        digest.put(out.buffer);
        for (const int resolution : {2 * s.points - 1, s.points + 1}) {
            const auto expanded = shared(md_tetrab_expand(table.get(), resolution), md_tetrab_kill);
            const auto made = vertices<md_tetrab_dataptr>(expanded.get());
            digest.add(made.data(), made.size());
        }
    };
}

// A table of random vertices evaluates points, some of them on vertices and a little outside.
Operation::Run tetrad(Generator &input, Size s)
{
    constexpr double lo = -20.0, hi = 100.0;
    const std::shared_ptr<md_tetrad> table(md_tetrad_new(s.inputs, s.outputs, s.points, lo, hi), md_tetrad_kill);
    for (double &value : vertices<md_tetrad_dataptr>(table.get()))
        value = input.between(-1.0, 1.0);
    return [=](Generator &at, Digest &digest) {
        Samples<double> in(s.inputs, 1000, s.inputs), out(s.outputs, 1000, s.outputs);
        for (double &x : in.buffer)
            x = at.below(8) == 0 ? at.below(s.points) * ((hi - lo) / (s.points - 1)) + lo : at.between(lo - 1, hi + 1);
        md_tetrad_interp(table.get(), in.at.data(), in.step, out.at.data(), out.step, 1000);
        digest.put(out.buffer);
    };
}

// Words and bytes through a table of random vertices, without curves and with, and through a mask.
Operation::Run tetras(Generator &input, Size s)
{
    const std::shared_ptr<md_tetras> made(md_tetras_new(s.inputs, s.outputs, s.points), md_tetras_kill);
    filled(input, vertices<md_tetras_dataptr>(made.get()));
    return [=](Generator &at, Digest &digest) {
        const auto table = shared(md_tetras_clone(made.get()), md_tetras_kill);
        Samples<unsigned short> in(s.inputs, 1000, s.inputs), out(s.outputs, 1000, s.outputs);
        Samples<unsigned char> in_b(s.inputs, 1000, s.inputs), out_b(s.outputs, 1000, s.outputs);
        const Bytes mask = filled(at, Bytes(1000));
        for (const std::size_t entries : {0U, 2U, 300U}) {
            if (entries != 0) {
                const int count = static_cast<int>(entries);
                md_tetras_ilut_set(table.get(), s.inputs - 1, count, filled(at, Words(entries)).data());
                md_tetras_olut_set(table.get(), 0, count, filled(at, Words(entries)).data());
            }
            for (std::size_t i = 0; i < in.buffer.size(); ++i) {
                in.buffer[i] = static_cast<unsigned short>(at.next() >> 48);
                in_b.buffer[i] = at.byte();
            }
            const auto convert = [&](auto function, const auto &from, auto &to, const unsigned char *through) {
                function(table.get(), from.at.data(), from.step, to.at.data(), to.step, 1000, through,
                         through ? 100 : 0);
                digest.put(to.buffer);
            };
            convert(md_tetras_interp, in, out, nullptr);
            convert(md_tetras_interp_b, in_b, out_b, nullptr);
            convert(md_tetras_interp_bs, in_b, out, mask.data());
            convert(md_tetras_interp_sb, in, out_b, mask.data());
        }
    };
}

// Three tables, chosen by tag, all, and blended.
Operation::Run tetras_set(Generator &input, Size s)
{
    const std::shared_ptr<mmd_tetras> made(mmd_tetras_new(3, s.inputs, s.outputs, s.points), mmd_tetras_kill);
    for (int k = 0; k < 3; ++k)
        filled(input, vertices<mmd_tetras_dataptr>(made.get(), k));
    mmd_tetras_olut_set(made.get(), 1, s.outputs - 1, 9, filled(input, Words(9)).data());
    return [=](Generator &at, Digest &digest) {
        Samples<unsigned short> in(s.inputs, 500, s.inputs), out(3 * s.outputs, 500, 3 * s.outputs);
        at.fill(in.buffer.data(), in.buffer.size());
        Bytes tags(500);
        for (unsigned char &tag : tags)
            tag = static_cast<unsigned char>(at.below(4));
        const Words weights = filled(at, Words(500));
        mmd_tetras *const set = made.get();
        mmd_tetras_interp_all(set, in.at.data(), in.step, out.at.data(), out.step, 500);
        digest.put(out.buffer);
        mmd_tetras_interp_tag(set, in.at.data(), in.step, out.at.data(), out.step, 500, tags.data());
        digest.put(out.buffer);
        mmd_tetras_interp_mix(set, 2, 1, in.at.data(), in.step, out.at.data(), out.step, 500, weights.data(), 0);
        digest.put(out.buffer);
    };
}

// Copies of tables whose vertices are rounded from doubles.
const Operation doubles("md_tetrab_fill_double, md_tetras_fill_double, clones", [](Generator &input, Digest &digest) {
    const auto values = between(input, 4000, -10, 110);
    const auto bytes = shared(md_tetrab_new(3, 4, 9), md_tetrab_kill);
    const auto words = shared(md_tetras_new(3, 4, 9), md_tetras_kill);
    md_tetrab_fill_double(bytes.get(), values.data(), 1, 0, 100);
    md_tetras_fill_double(words.get(), values.data(), 0, 100, 0);
    const auto bytes_copy = shared(md_tetrab_clone(bytes.get()), md_tetrab_kill);
    const auto words_copy = shared(md_tetras_clone(words.get()), md_tetras_kill);
    const auto of_bytes = vertices<md_tetrab_dataptr>(bytes_copy.get());
    const auto of_words = vertices<md_tetras_dataptr>(words_copy.get());
    digest.add(of_bytes.data(), of_bytes.size_bytes());
    digest.add(of_words.data(), of_words.size_bytes());
});

struct Operations {
    Operations(const std::string &what, Operation::Run (*make)(Generator &, Size), std::initializer_list<Size> sizes,
               const char *weights = "")
    {
        for (const Size &s : sizes)
            Operation(what + std::to_string(s.inputs) + " to " + std::to_string(s.outputs) + ", " +
                          std::to_string(s.points) + " points" + weights,
                      [=](Generator &input) { return make(input, s); });
    }
};

const Operations operations[] = {
    // Of 11 inputs a table has not all the weights at once.
    {"CLUT ", clut, {{1, 3, 33}, {2, 1, 9}, {3, 3, 17}, {4, 4, 9}, {5, 2, 5}, {6, 5, 4}, {8, 7, 2}, {11, 3, 2}}},
    {"md_tetrab ", tetrab, {{1, 3, 14}, {2, 1, 33}, {3, 3, 17}, {4, 4, 9}, {6, 7, 3}}},
    {"md_tetrab ", tetrab, {{3, 5, 5, 0, 100}}, ", weights 0 .. 100"},
    {"md_tetrab ", tetrab, {{3, 3, 5, 16, 235, 0}}, ", weights 16 .. 235, no further layer"},
    {"md_tetrab ", tetrab, {{5, 6, 2, 30, 31, 2}}, ", weights 30 .. 31, two further layers"},
    {"md_tetrab ", tetrab, {{3, 4, 9, 0, 255, 0}}, ", no further layer"},
    {"md_tetrad ", tetrad, {{1, 3, 50}, {2, 1, 33}, {3, 3, 17}, {4, 4, 9}, {3, 6, 12}, {6, 7, 3}}},
    {"md_tetras ", tetras, {{1, 1, 65536}, {2, 2, 33}, {3, 3, 17}, {3, 5, 2}, {4, 4, 9}, {5, 6, 3}, {6, 7, 2}}},
    {"mmd_tetras ", tetras_set, {{3, 4, 17}, {4, 3, 3}}},
};

}  // namespace
