#include "wem.h"
#include "zuk.h"

EXAMPLE(wemfile)
{
    reference_make_folder("system/tables/inks");
    FILE *file = fopen("system/tables/inks/coated.rec", "wb");
    fputs("[cyan]\ndensity = 1.5\n", file);
    fclose(file);
#define wem_lognam_set(name, folder) wem_lognam_set(name, strcmp(name, "USER") == 0 ? "user" : "system")
#include "wemfile_1.inc"
#undef wem_lognam_set
    CHECK(strcmp(value, "1.5") == 0);
    wem_lognam_clear();
}
