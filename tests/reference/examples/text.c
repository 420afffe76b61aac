#include "check.h"
#include "teska_text.h"

EXAMPLES(text)
{
    const char *text = "[paper]   anything after the bracket is ignored\nwhite = 95.2 -0.4 1.8\nweight = 120\n";
#include "file_double_1.inc"
#define THEN CHECK(memcmp(file, "\x3F\x80\0\0", 4) == 0), CHECK(back == 1.0f)
#include "numb_1.inc"
#define THEN CHECK(strcmp(text, "1000") == 0)
#include "numb_2.inc"
#define DOTS_1 seen = strcmp(value, "600") == 0
#define THEN CHECK(seen)
#include "str_utils_1.inc"
#define THEN NEAR_3(white, 1e-12, 95.2, -0.4, 1.8)
#include "str_zuk_1.inc"
}
