EXAMPLE(rsys)
{
    reference_make_folder("jobs");
    fclose(fopen("jobs/page.TIF", "wb"));
#include "rsys_1.inc"
    CHECK(rsys_kind("archive/2024") == RSYS_FOLDER);
}
