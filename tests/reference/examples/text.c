#include "check.h"
#include "teska_text.h"

EXAMPLES(text)
{
    const char *text = "[paper]   anything after the bracket is ignored\nwhite = 95.2 -0.4 1.8\nweight = 120\n";
    file_double_1();
    numb_1(CHECK(memcmp(file, "\x3F\x80\0\0", 4) == 0), CHECK(back == 1.0f));
    numb_2(CHECK(strcmp(text, "1000") == 0));
    str_utils_1(seen = strcmp(value, "600") == 0, CHECK(seen));
    str_zuk_1(NEAR_3(white, 1e-12, 95.2, -0.4, 1.8));
}
