static int my_exit(const char *line) { return line == NULL; }

EXAMPLE(wem)
{
    char translation[WEM_NAME_SIZE];
#include "wem_1.inc"
    CHECK(strcmp(line, "ERROR : 'list_new: no memory'") == 0);
    CHECK(strcmp(translation, "C:\\data") == 0);
    wem_set_errexit(NULL);
    wem_lognam_clear();
}
