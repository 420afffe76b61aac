EXAMPLE(cipher)
{
    unsigned char text[6] = "magic", hidden[6];
    const int size = 6;
#include "cipher_1.inc"
    CHECK(strcmp((const char *)text, "magic") == 0);
    CHECK(memcmp(text, hidden, 6) != 0);
}
