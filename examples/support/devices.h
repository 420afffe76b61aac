// devices - models of printers and displays: device values to colours
//
// Device values run from 1 (a display's channel fully on, a printer's ink off) to 0. Colours are L*, a*, b* (D50), or
// for the linear ones a lightness and two opponent coordinates; their first coordinate is the vertical one.

#ifndef EXAMPLES_DEVICES_H
#define EXAMPLES_DEVICES_H

#include <functional>
#include <string>
#include <vector>

namespace examples
{

struct device {
    std::string name;
    int colorants;
    std::function<void(const double *values, double *colour)> convert;

    // For callbacks that take the device as their user data. Returns 1.
    static int answer(void *self, const double *values, double *colour);
};

// Three channels that add up.
device linear_display();
// The same in Lab. flare: share of white that black still shows.
device lab_display(double flare);
// Four channels that add up.
device linear_four();

// A printer by the model of Neugebauer with a Yule-Nielsen factor and dot gain. inks: one letter each, of
//     C M Y K   process inks          O G V   orange, green, violet      o g   the same, weak
//     c m       light cyan, magenta   D       a dull brown               X     one that scales all colours to nothing
device printer(const std::string &inks);

// All devices on which the top surface is measured.
std::vector<device> measured_devices();

}  // namespace examples

#endif
