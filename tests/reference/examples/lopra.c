EXAMPLE(lopra)
{
    const char *path = "scratch.bin";
    replace_utf8("daten-gr\xc3\xbc"
                 "n.txt",
                 "x", 1);
#define fopen_utf8(name, mode)                                                                                         \
    fopen_utf8("daten-gr\xc3\xbc"                                                                                      \
               "n.txt",                                                                                                \
               mode)
#include "lopra_1.inc"
#undef fopen_utf8
    CHECK(d >= 0 && h != LOPRA_INVALID_HANDLE);
}
