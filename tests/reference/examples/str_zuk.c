EXAMPLE(str_zuk)
{
    const char *text = "[paper]   anything after the bracket is ignored\nwhite = 95.2 -0.4 1.8\nweight = 120\n";
#include "str_zuk_1.inc"
    NEAR(white[0], 95.2, 1e-12);
    NEAR(white[2], 1.8, 1e-12);
}
