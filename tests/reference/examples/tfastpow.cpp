EXAMPLE(tfastpow)
{
    const unsigned short sample = 30000;
    const int n = 2;
    unsigned short samples[2] = {10000, 20000}, exponents[2] = {0x7FFF, 0x7FFF}, results[2];
#include "tfastpow_1.inc"
    CHECK(root > sample);
    CHECK(results[0] < results[1]);
}
