static int page_bytes(void *pages, int id) { return pages == NULL ? 100 + id : 0; }
static void page_read(void *pages, int id, void *destination)
{
    (void)pages;
    memset(destination, id, (size_t)(100 + id));
    ++seen;
}
#define load load_page
#include "cache_1.inc"

EXAMPLE(cache)
{
    void *pages = NULL;
    const int nr_pages = 20;
#include "cache_2.inc"
    CHECK(page != NULL && next != NULL);
    CHECK(seen == 2);
}
