#include "rsys.h"

#include "../check.h"

void example_rsys(void);
void example_rsys(void)
{
    reference_make_folder("jobs");
    fclose(fopen("jobs/page.TIF", "wb"));
#include "rsys_1.inc"
    CHECK(rsys_kind("archive/2024") == RSYS_FOLDER);
}
