// devices - models of printers and displays: device values to colours
//
// A printer: each combination of full inks (a Neugebauer primary) has the reflectance of paper times the transmittances
// of its inks squared into one factor, in bands of 20 nm. A halftone shows them by their shares of the area,
// the products of the inks' dot areas (Demichel), averaged as the 1/n-th power (Yule and Nielsen). Dots grow: an area a
// prints as a + g * 4 a (1 - a). The eye is the piecewise Gaussian fit of the 1931 observer; the light is even.
//
// Sources: J. A. C. Yule, Principles of Color Reproduction, Wiley 1967, ch. 8 and 10; C. Wyman, P.-P. Sloan, P.
// Shirley, Simple Analytic Approximations to the CIE XYZ Color Matching Functions, JCGT 2 (2013), pp. 1-11.

#include "support/devices.h"

#include <array>
#include <cmath>
#include <memory>

namespace examples
{

namespace
{

constexpr std::size_t bands = 16;  // 400 .. 700 nm
using spectrum = std::array<double, bands>;
using triple = std::array<double, 3>;

double wavelength(std::size_t band) { return 400.0 + 20.0 * static_cast<double>(band); }

double bell(double x, double centre, double below, double above)
{
    const double t = (x - centre) / (x < centre ? below : above);
    return std::exp(-0.5 * t * t);
}

triple observer(double w)
{
    return {1.056 * bell(w, 599.8, 37.9, 31.0) + 0.362 * bell(w, 442.0, 16.0, 26.7) -
                0.065 * bell(w, 501.1, 20.4, 26.2),
            0.821 * bell(w, 568.8, 46.9, 40.5) + 0.286 * bell(w, 530.9, 16.3, 31.1),
            1.217 * bell(w, 437.0, 11.8, 36.0) + 0.681 * bell(w, 459.0, 26.0, 13.8)};
}

void lab_of(const triple &xyz, const triple &white, double *lab)
{
    triple f;
    for (std::size_t k = 0; k < 3; ++k) {
        const double t = xyz[k] / white[k];
        f[k] = t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0;
    }
    lab[0] = 116.0 * f[1] - 16.0;
    lab[1] = 500.0 * (f[0] - f[1]);
    lab[2] = 200.0 * (f[1] - f[2]);
}

// ---- Inks -----------------------------------------------------------------------------------------------------------

// Density of an ink at a wavelength: its main absorption, and what it absorbs beside it.
double density(char ink, double w)
{
    switch (ink) {
    case 'C':
        return 1.55 * bell(w, 640.0, 52.0, 80.0) + 0.12 * bell(w, 430.0, 50.0, 60.0) + 0.05;
    case 'M':
        return 1.5 * bell(w, 545.0, 36.0, 32.0) + 0.35 * bell(w, 430.0, 40.0, 60.0) + 0.03;
    case 'Y':
        return 1.4 * bell(w, 435.0, 60.0, 36.0) + 0.03;
    case 'K':
        return 1.75 - 0.0003 * (w - 400.0);
    case 'O':
        return 1.5 * bell(w, 470.0, 90.0, 55.0) + 0.03;
    case 'G':
        return 1.4 * bell(w, 425.0, 50.0, 34.0) + 1.5 * bell(w, 655.0, 45.0, 70.0) + 0.04;
    case 'V':
        return 1.5 * bell(w, 585.0, 48.0, 38.0) + 0.05;
    case 'o':
        return 0.75 * density('O', w);
    case 'g':
        return 0.75 * density('G', w);
    case 'c':
        return 0.32 * density('C', w);
    case 'm':
        return 0.32 * density('M', w);
    case 'D':
        return 0.45 * density('K', w) + 0.25 * density('M', w) + 0.3 * density('Y', w);
    default:
        return 8.0;
    }
}

double paper(double w) { return 0.86 - 0.03 * bell(w, 400.0, 20.0, 30.0); }

class Halftone
{
public:
    explicit Halftone(const std::string &inks) : count(inks.size())
    {
        for (std::size_t band = 0; band < bands; ++band) {
            const triple eye = observer(wavelength(band));
            for (std::size_t k = 0; k < 3; ++k) {
                weight[k][band] = eye[k];
                white[k] += eye[k];
            }
        }
        primaries.resize(std::size_t{1} << count);
        for (std::size_t mask = 0; mask < primaries.size(); ++mask) {
            for (std::size_t band = 0; band < bands; ++band) {
                const double w = wavelength(band);
                double total = 0.0;
                for (std::size_t i = 0; i < count; ++i)
                    total += (mask >> i & 1) != 0 ? density(inks[i], w) : 0.0;
                const double surface = inks.find('X') == std::string::npos ? 0.01 : 0.0;  // reflected by the gloss
                primaries[mask][band] = std::pow(surface + paper(w) * std::pow(10.0, -total), 1.0 / yule_nielsen);
            }
        }
    }

    void convert(const double *values, double *lab) const
    {
        spectrum mean = {};
        std::array<double, 16> area;
        for (std::size_t i = 0; i < count; ++i) {
            const double a = 1.0 - values[i];
            area[i] = a + dot_gain * 4.0 * a * (1.0 - a);
        }
        for (std::size_t mask = 0; mask < primaries.size(); ++mask) {
            double share = 1.0;
            for (std::size_t i = 0; i < count; ++i)
                share *= (mask >> i & 1) != 0 ? area[i] : 1.0 - area[i];
            if (share != 0.0)
                for (std::size_t band = 0; band < bands; ++band)
                    mean[band] += share * primaries[mask][band];
        }
        triple xyz = {};
        for (std::size_t band = 0; band < bands; ++band) {
            const double reflectance = mean[band] * mean[band];  // to the power n = 2
            for (std::size_t k = 0; k < 3; ++k)
                xyz[k] += reflectance * weight[k][band];
        }
        lab_of(xyz, white, lab);
    }

private:
    static constexpr double yule_nielsen = 2.0;
    static constexpr double dot_gain = 0.14;

    std::size_t count;
    std::vector<spectrum> primaries;
    std::array<spectrum, 3> weight;
    triple white = {};
};

// Rows: the channels; columns: X, Y, Z of sRGB phosphors under D50.
constexpr double phosphors[3][3] = {
    {0.4360747, 0.2225045, 0.0139322}, {0.3850649, 0.7168786, 0.0971045}, {0.1430804, 0.0606169, 0.7141733}};

// Rows: the channels; columns: lightness and two opponent coordinates.
constexpr double display_channels[3][3] = {{0.30, 0.35, 0.10}, {0.59, -0.40, 0.25}, {0.11, 0.05, -0.35}};
constexpr double four_channels[4][3] = {
    {0.24, 0.30, 0.06}, {0.33, 0.02, 0.27}, {0.25, -0.31, 0.04}, {0.18, 0.05, -0.30}};

template <std::size_t Channels>
void add_up(const double (&channels)[Channels][3], const double *values, double *colour)
{
    for (std::size_t k = 0; k < 3; ++k) {
        colour[k] = 0.0;
        for (std::size_t i = 0; i < Channels; ++i)
            colour[k] += values[i] * channels[i][k];
    }
}

}  // namespace

int device::answer(void *self, const double *values, double *colour)
{
    static_cast<const device *>(self)->convert(values, colour);
    return 1;
}

device linear_display()
{
    return {"RGB linear", 3, [](const double *v, double *colour) { add_up(display_channels, v, colour); }};
}

device lab_display(double flare)
{
    const auto convert = [flare](const double *v, double *lab) {
        const double full[3] = {1.0, 1.0, 1.0};
        triple white, xyz;
        add_up(phosphors, full, white.data());
        add_up(phosphors, v, xyz.data());
        for (std::size_t k = 0; k < 3; ++k)
            xyz[k] = flare * white[k] + (1.0 - flare) * xyz[k];
        lab_of(xyz, white, lab);
    };
    return {"RGB Lab, flare " + std::to_string(static_cast<int>(std::lround(flare * 1000))) + "/1000", 3, convert};
}

device linear_four()
{
    return {"four-channel linear", 4, [](const double *v, double *colour) { add_up(four_channels, v, colour); }};
}

device printer(const std::string &inks)
{
    const auto model = std::make_shared<const Halftone>(inks);
    return {inks, static_cast<int>(inks.size()), [model](const double *v, double *lab) { model->convert(v, lab); }};
}

std::vector<device> measured_devices()
{
    std::vector<device> all = {linear_display(), lab_display(0.0), lab_display(0.01), linear_four()};
    for (const char *inks : {"CM", "CMY", "CMYK", "KCMY", "CMYKD", "CMYKcm", "CMYKog", "CMYKOG", "CMYKOGV"})
        all.push_back(printer(inks));
    return all;
}

}  // namespace examples
