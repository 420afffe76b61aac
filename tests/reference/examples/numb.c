EXAMPLE(numb)
{
    {
#include "numb_1.inc"
        CHECK(file[0] == 0x3F && file[1] == 0x80 && file[2] == 0 && file[3] == 0);
        CHECK(back == 1.0f);
    }
#include "numb_2.inc"
    CHECK(strcmp(text, "1000") == 0);
}
