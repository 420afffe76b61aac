EXAMPLE(interp_double)
{
    lin_interp_double *line = lin_interp_double_new(16, NULL);
    lin_interp_double_insert(line, 0.0, 0.0);
    lin_interp_double_insert(line, 1.0, 10.0);
    double beyond;
    lin_interp_double_inter(line, 2.0, &beyond);
    NEAR(beyond, 20, 0);
    lin_interp_double_kill(line);
#include "interp_double_1.inc"
    NEAR(y, 10, 0);
}
