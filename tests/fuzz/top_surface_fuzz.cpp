// top_surface - the light side of the gamut of any device: what is asked of it has an answer, and comes back
//
// An input is the number of colorants, levels, steps and the vertical coordinate, then the colours of the corners of
// the device; between them it is multilinear, and nowhere at the level of the origin, where colours have no direction.
// A device may fail, or give what is no number, at one corner.

#include "error_mess.h"
#include "fuzz/target.h"
#include "ttriangulartopsurface.h"

#include <algorithm>
#include <cmath>

using fuzz::expect;

namespace
{

struct Device {
    int colorants;
    double corner[16][3];
    int odd;  // a corner with faults; 16: none
    int result;

    static int convert(void *self, const double *values, double *colour)
    {
        const auto &device = *static_cast<const Device *>(self);
        std::fill_n(colour, 3, 0.0);
        for (int c = 0; c < 1 << device.colorants; ++c) {
            double weight = 1.0;
            for (int i = 0; i < device.colorants; ++i)
                weight *= (c >> i & 1) != 0 ? values[i] : 1.0 - values[i];
            for (int axis = 0; axis < 3 && weight != 0.0; ++axis)
                colour[axis] += weight * device.corner[c][axis];
            if (c == device.odd && weight == 1.0)
                return device.result;
        }
        return 1;
    }
};

bool unit(double value, double within = 0) { return value >= -within && value <= 1 + within; }

void expect_conversions(TTriangularTopSurface &top, const Device &device)
{
    for (int c = 0; c < 1 << device.colorants; ++c) {
        double norm[3], back[3], again[3], penalty = 0;
        const double *const colour = device.corner[c];
        if (!std::isfinite(colour[0] + colour[1] + colour[2]))
            continue;
        using Top = TTriangularTopSurface;
        const auto convert = [&](auto there, auto back_again) {
            if ((top.*there)(colour, norm, &penalty, 1) != 0)
                return false;
            expect(unit(norm[0]) && unit(norm[1]) && norm[2] <= 1 && penalty <= 0);
            expect((top.*back_again)(norm, back, nullptr, 1) == 0);
            return true;
        };
        convert(&Top::DetermineNormCoordMinGam, &Top::DetermineXYZMinGam);
        if (convert(&Top::DetermineNormCoord, &Top::DetermineXYZ) && std::isfinite(back[0] + back[1] + back[2]) &&
            top.DetermineNormCoord(back, again, nullptr, 1) == 0)
            expect(std::isfinite(again[0] + again[1]));
    }
}

void expect_parts(TTriangularTopSurface &top, int colorants)
{
    std::vector<double> values(static_cast<std::size_t>(colorants));
    const int parts = top.GetNrDifferentPrimCombs();
    expect(parts >= 0 && top.GetPrimComb(parts, values.data()) == -1);
    for (int part = 0; part < parts; ++part) {
        const double middle[] = {0.5, 0.5, 0.5, 0.5};
        expect(top.GetPrimComb(part, values.data()) == 0 && top.GetNrVarCoordPrimComb(part) >= 2);
        expect(top.GetDevCoord(part, middle, values.data()) == 0);
        expect(std::all_of(values.begin(), values.end(), [](double value) { return unit(value); }));
    }
    double xyz[3][3], coords[3][3];
    int triangles = 0, heads = 0;
    for (int more = top.ScanTriangles(1, xyz, coords); more >= 0; more = top.ScanTriangles(0, xyz, coords)) {
        heads += more;
        for (int k = 0; k < 3; ++k) {
            expect(std::isfinite(xyz[k][0] + xyz[k][1] + xyz[k][2]));
            expect(unit(coords[k][0], 1e-9) && unit(coords[k][1], 1e-9));
        }
        expect(++triangles < 1000000);
    }
    expect(heads < std::max(parts, 1));
    for (int more = top.ScanMaskedTriangles(1, xyz); more >= 0; more = top.ScanMaskedTriangles(0, xyz))
        expect(++triangles < 1000000);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    error_set(0);
    fuzz::Input input{data, size};
    Device device = {1 + input.below(4), {}, 16, 1};
    const int steps = input.below(20), vertical = input.below(4), odd = input.byte();
    if (odd < 32) {
        device.odd = odd % 16;
        device.result = odd < 16 ? -1 : 1;
    }
    double levels[4][5];
    const double *of[4] = {levels[0], levels[1], levels[2], levels[3]};
    int counts[4];
    for (int i = 0; i < device.colorants; ++i) {
        counts[i] = 2 + input.below(4);
        std::generate(levels[i], levels[i] + counts[i], [&] { return input.byte() / 255.0; });
    }
    for (int c = 0; c < 1 << device.colorants; ++c)
        for (double &axis : device.corner[c])
            axis = &axis == device.corner[c] + vertical ? 1 + input.byte() / 2.0 : input.byte() / 2.0 - 64;
    if (device.odd < 16 && device.result == 1)
        device.corner[device.odd][input.below(3)] = input.number();

    TTriangularTopSurface top(device.colorants, of, counts, &device, vertical, Device::convert, steps, steps);
    const int error = top.ErrNo();
    expect(error >= 0 && error <= 2);
    TTriangularTopSurface copy(top);
    expect(copy.ErrNo() == error && copy.GetNrDifferentPrimCombs() == top.GetNrDifferentPrimCombs());
    if (error == 0) {
        expect_parts(copy, device.colorants);
        if (fuzz::in_bulk && size % 4 != 0)  // the edge takes most of the time
            return 0;
        expect_conversions(top, device);
        double angle = 0, height = 0;
        for (const double hue : {0.0, input.number()})
            if (top.UmbrellaEdge(hue, &angle, &height) == 0)
                expect(angle > 0 && angle < 3.2);
    }
    return 0;
}
