// difference - how far two pictures lie apart

#ifndef EXAMPLES_DIFFERENCE_H
#define EXAMPLES_DIFFERENCE_H

#include "support/picture.h"

#include <vector>

namespace examples
{

// Of the absolute differences between samples. The unit is that of the values: steps of 255, or colour difference.
struct difference {
    double mean = 0;
    double percentile_95 = 0;  // the smallest value that at least 95 of 100 samples do not exceed
    double largest = 0;
};

difference summarise(std::vector<double> values);

// All channels together; the pictures have the same size and channels.
difference compare(const picture &a, const picture &b);

// Values, one for each pixel, as colours from dark for 0 to light for `top` and above (support/heat.h).
picture difference_map(const std::vector<double> &values, int width, int height, double top);

}  // namespace examples

#endif
