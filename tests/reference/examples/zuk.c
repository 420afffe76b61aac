EXAMPLE(zuk)
{
#include "zuk_1.inc"
}
