#include "support/owned_clut.h"
#include "support/samples.h"

#include "determinism/operations.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"
#include "mmd_tetras.h"

#include <memory>

namespace teska_test
{

namespace
{

// Values and points reach a little beyond 0 .. 1.
template <std::size_t Inputs, std::size_t Outputs, int Points>
Operation::Run clut(Generator &input)
{
    std::size_t size = Outputs;
    for (std::size_t k = 0; k < Inputs; ++k)
        size *= Points;
    std::vector<float> values(size);
    for (float &value : values)
        value = static_cast<float>(input.between(-0.1, 1.1));
    const auto table = std::make_shared<OwnedClut>(std::vector<unsigned char>(Inputs, Points), Outputs, values);
    return [table](Generator &at, Digest &digest) {
        double in[Inputs];
        double out[Outputs];
        for (int i = 0; i < 1000; ++i) {
            for (double &x : in)
                x = i % 10 == 0 ? at.below(5) / 4.0 : at.between(-0.1, 1.1);
            table->Interpolate(out, in);
            digest.put(out);
            if (Inputs == 3) {
                for (double &x : in)
                    x = at.unit();
                table->Interp3d(out, in);
                digest.put(out);
            }
        }
    };
}

// A table of random vertices and curves converts random pixels; then it is expanded.
template <int Inputs, int Outputs, int Points, int Low = 0, int High = 255, int Extension = 1>
Operation::Run tetrab(Generator &input)
{
    const std::shared_ptr<md_tetrab> table(md_tetrab_new_special(Inputs, Outputs, Points, Low, High, Extension),
                                           md_tetrab_kill);
    int size = 0;
    unsigned char *data = md_tetrab_dataptr(table.get(), &size);
    input.fill(data, static_cast<std::size_t>(size));
    for (int v = 0; v < 256; ++v)
        md_tetrab_ilutptr(table.get(), 0)[v] = md_tetrab_olutptr(table.get(), Outputs - 1)[v] = input.byte();
    return [table](Generator &at, Digest &digest) {
        Samples<unsigned char> in(Inputs, 1000, Inputs), out(Outputs, 1000, Outputs);
        at.fill(in.buffer.data(), in.buffer.size());
        md_tetrab_interp(table.get(), in.at.data(), in.step, out.at.data(), out.step, 1000, nullptr, 0);
        digest.put(out.buffer);

        for (const int resolution : {2 * Points - 1, Points + 1}) {
            int expanded_size = 0;
            md_tetrab *expanded = md_tetrab_expand(table.get(), resolution);
            const unsigned char *vertices = md_tetrab_dataptr(expanded, &expanded_size);
            digest.add(vertices, static_cast<std::size_t>(expanded_size));
            md_tetrab_kill(expanded);
        }
    };
}

// A table of random vertices evaluates points, some of them on vertices and a little outside.
template <int Inputs, int Outputs, int Points>
Operation::Run tetrad(Generator &input)
{
    constexpr double lo = -20.0;
    constexpr double hi = 100.0;
    const std::shared_ptr<md_tetrad> table(md_tetrad_new(Inputs, Outputs, Points, lo, hi), md_tetrad_kill);
    int size = 0;
    double *data = md_tetrad_dataptr(table.get(), &size);
    for (int i = 0; i < size; ++i)
        data[i] = input.between(-1.0, 1.0);
    return [table](Generator &at, Digest &digest) {
        Samples<double> in(Inputs, 1000, Inputs), out(Outputs, 1000, Outputs);
        for (double &x : in.buffer)
            x = at.below(8) == 0 ? at.below(Points) * ((hi - lo) / (Points - 1)) + lo : at.between(lo - 1, hi + 1);
        md_tetrad_interp(table.get(), in.at.data(), in.step, out.at.data(), out.step, 1000);
        digest.put(out.buffer);
    };
}

// Copies of tables whose vertices are rounded from doubles.
const Operation filled("md_tetrab_fill_double, md_tetras_fill_double, clones", [](Generator &input, Digest &digest) {
    const std::unique_ptr<md_tetrab, md_tetrab *(*)(md_tetrab *)> bytes(md_tetrab_new(3, 4, 9), md_tetrab_kill);
    const std::unique_ptr<md_tetras, md_tetras *(*)(md_tetras *)> words(md_tetras_new(3, 4, 9), md_tetras_kill);
    std::vector<double> values(4000);
    for (double &v : values)
        v = input.between(-10, 110);
    md_tetrab_fill_double(bytes.get(), values.data(), 1, 0, 100);
    md_tetras_fill_double(words.get(), values.data(), 0, 100, 0);
    const std::unique_ptr<md_tetrab, md_tetrab *(*)(md_tetrab *)> b(md_tetrab_clone(bytes.get()), md_tetrab_kill);
    const std::unique_ptr<md_tetras, md_tetras *(*)(md_tetras *)> s(md_tetras_clone(words.get()), md_tetras_kill);
    int size = 0;
    const unsigned char *const byte = md_tetrab_dataptr(b.get(), &size);
    digest.add(byte, static_cast<std::size_t>(size));
    const unsigned short *const word = md_tetras_dataptr(s.get(), &size);
    digest.add(word, static_cast<std::size_t>(size) * sizeof(unsigned short));
});

// Entries of a curve.
std::vector<unsigned short> curve(Generator &input, int entries)
{
    std::vector<unsigned short> values(static_cast<std::size_t>(entries));
    input.fill(values.data(), values.size());
    return values;
}

// Words and bytes through a table of random vertices, without curves and with, and through a mask.
template <int Inputs, int Outputs, int Points>
void tetras(Generator &input, Digest &digest)
{
    md_tetras *table = md_tetras_new(Inputs, Outputs, Points);
    int size = 0;
    unsigned short *data = md_tetras_dataptr(table, &size);
    input.fill(data, static_cast<std::size_t>(size));
    Samples<unsigned short> in(Inputs, 1000, Inputs), out(Outputs, 1000, Outputs);
    Samples<unsigned char> in_bytes(Inputs, 1000, Inputs), out_bytes(Outputs, 1000, Outputs);
    std::vector<unsigned char> mask(1000);
    input.fill(mask.data(), mask.size());
    for (const int entries : {0, 2, 300}) {
        if (entries != 0) {
            md_tetras_ilut_set(table, Inputs - 1, entries, curve(input, entries).data());
            md_tetras_olut_set(table, 0, entries, curve(input, entries).data());
        }
        for (std::size_t i = 0; i < in.buffer.size(); ++i) {
            in.buffer[i] = static_cast<unsigned short>(input.next() >> 48);
            in_bytes.buffer[i] = input.byte();
        }
        md_tetras_interp(table, in.at.data(), Inputs, out.at.data(), Outputs, 1000, nullptr, 0);
        digest.put(out.buffer);
        md_tetras_interp_b(table, in_bytes.at.data(), Inputs, out_bytes.at.data(), Outputs, 1000, nullptr, 0);
        digest.put(out_bytes.buffer);
        md_tetras_interp_bs(table, in_bytes.at.data(), Inputs, out.at.data(), Outputs, 1000, mask.data(), 100);
        digest.put(out.buffer);
        md_tetras_interp_sb(table, in.at.data(), Inputs, out_bytes.at.data(), Outputs, 1000, mask.data(), 100);
        digest.put(out_bytes.buffer);
    }
    md_tetras_kill(table);
}

// Three tables, chosen by tag, all, and blended.
template <int Inputs, int Outputs, int Points>
Operation::Run tetras_set(Generator &input)
{
    const std::shared_ptr<mmd_tetras> set(mmd_tetras_new(3, Inputs, Outputs, Points), mmd_tetras_kill);
    for (int k = 0; k < 3; ++k) {
        int size = 0;
        unsigned short *data = mmd_tetras_dataptr(set.get(), k, &size);
        input.fill(data, static_cast<std::size_t>(size));
    }
    mmd_tetras_olut_set(set.get(), 1, Outputs - 1, 9, curve(input, 9).data());
    return [set](Generator &at, Digest &digest) {
        Samples<unsigned short> in(Inputs, 500, Inputs), out(3 * Outputs, 500, 3 * Outputs);
        at.fill(in.buffer.data(), in.buffer.size());
        std::vector<unsigned char> tags(500);
        for (unsigned char &tag : tags)
            tag = static_cast<unsigned char>(at.below(4));
        const std::vector<unsigned short> weights = curve(at, 500);
        mmd_tetras_interp_all(set.get(), in.at.data(), Inputs, out.at.data(), 3 * Outputs, 500);
        digest.put(out.buffer);
        mmd_tetras_interp_tag(set.get(), in.at.data(), Inputs, out.at.data(), 3 * Outputs, 500, tags.data());
        digest.put(out.buffer);
        mmd_tetras_interp_mix(set.get(), 2, 1, in.at.data(), Inputs, out.at.data(), 3 * Outputs, 500, weights.data(),
                              0);
        digest.put(out.buffer);
    };
}

const Operation operations[] = {
    {"CLUT 1 to 3, 33 points", clut<1, 3, 33>},
    {"CLUT 2 to 1, 9 points", clut<2, 1, 9>},
    {"CLUT 3 to 3, 17 points", clut<3, 3, 17>},
    {"CLUT 4 to 4, 9 points", clut<4, 4, 9>},
    {"CLUT 5 to 2, 5 points", clut<5, 2, 5>},
    {"CLUT 6 to 5, 4 points", clut<6, 5, 4>},
    {"CLUT 8 to 7, 2 points", clut<8, 7, 2>},
    {"md_tetrab 1 to 3, 14 points", tetrab<1, 3, 14>},
    {"md_tetrab 2 to 1, 33 points", tetrab<2, 1, 33>},
    {"md_tetrab 3 to 3, 17 points", tetrab<3, 3, 17>},
    {"md_tetrab 4 to 4, 9 points", tetrab<4, 4, 9>},
    {"md_tetrab 6 to 7, 3 points", tetrab<6, 7, 3>},
    {"md_tetrad 1 to 3, 50 points", tetrad<1, 3, 50>},
    {"md_tetrad 2 to 1, 33 points", tetrad<2, 1, 33>},
    {"md_tetrad 3 to 3, 17 points", tetrad<3, 3, 17>},
    {"md_tetrad 4 to 4, 9 points", tetrad<4, 4, 9>},
    {"md_tetrad 3 to 6, 12 points", tetrad<3, 6, 12>},
    {"md_tetrad 6 to 7, 3 points", tetrad<6, 7, 3>},
    {"md_tetrab 3 to 5, 5 points, weights 0 .. 100", tetrab<3, 5, 5, 0, 100>},
    {"md_tetrab 3 to 3, 5 points, weights 16 .. 235, no further layer", tetrab<3, 3, 5, 16, 235, 0>},
    {"md_tetrab 5 to 6, 2 points, weights 30 .. 31, two further layers", tetrab<5, 6, 2, 30, 31, 2>},
    {"md_tetrab 3 to 4, 9 points, no further layer", tetrab<3, 4, 9, 0, 255, 0>},
    {"md_tetras 1 to 1, 65536 points", tetras<1, 1, 65536>},
    {"md_tetras 2 to 2, 33 points", tetras<2, 2, 33>},
    {"md_tetras 3 to 3, 17 points", tetras<3, 3, 17>},
    {"md_tetras 3 to 5, 2 points", tetras<3, 5, 2>},
    {"md_tetras 4 to 4, 9 points", tetras<4, 4, 9>},
    {"md_tetras 5 to 6, 3 points", tetras<5, 6, 3>},
    {"md_tetras 6 to 7, 2 points", tetras<6, 7, 2>},
    {"mmd_tetras 3 to 4, 17 points", tetras_set<3, 4, 17>},
    {"mmd_tetras 4 to 3, 3 points", tetras_set<4, 3, 3>},
};

}  // namespace

}  // namespace teska_test
