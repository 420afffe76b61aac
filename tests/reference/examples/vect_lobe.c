EXAMPLE(vect_lobe)
{
    double lab[6] = {60, 60, 40, 10, -50, -50};
    int i;
    const int colours = 2;
#include "vect_lobe_1.inc"
    NEAR(lab[1], 66, 1e-9);
    NEAR(lab[4], -50, 1e-9);
}
