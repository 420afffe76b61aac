#include "check.h"
#include "lopra.h"
#include "teska_files.h"
#include "wem.h"
#include "zuk.h"

static int my_exit(const char *line) { return line == NULL; }

EXAMPLES(files)
{
    const char *text = "cyan, magenta", header[] = "message ", data[] = "digest", *path = "scratch.bin";
    const int length = 13, size = 6;
    unsigned char magic[6] = "magic";
    char translation[WEM_NAME_SIZE];
#include "archive_1.inc"
#define DOTS_1 CHECK(strcmp(name, "index.txt") == 0), CHECK(bytes == 13), CHECK(memcmp(content, text, 13) == 0), ++seen
#define THEN CHECK(seen == 1), CHECK(archive_get_error(in, NULL) == 9), archive_kill(in)
#include "archive_2.inc"
#define THEN CHECK(strncmp(out, "TQ==", 4) == 0), CHECK(back[0] == 0x4D)
#include "base64_1.inc"
    {
        unsigned char *text = magic, hidden[6];
#define THEN CHECK(strcmp((char *)text, "magic") == 0), CHECK(memcmp(text, hidden, 6) != 0)
#include "cipher_1.inc"
    }
    reference_make_folder("spool");
#define DOTS_1 CHECK(0)
#define DOTS_2 ++seen
#define THEN CHECK(seen)
#include "flock_1.inc"
#define THEN CHECK(strcmp(path, "C:\\out\\jobs\\new\\page") == 0)
#include "fport_1.inc"
    reference_make_file("profile.icc");
#define THEN CHECK(strcmp(text, "D41D8CD98F00B204E9800998ECF8427E") == 0)
#include "md5_digest_1.inc"
#include "md5_digest_2.inc"
    /* Only where somebody is at the other end is there something to wait for. */
    if (getenv("TESKA_SERIAL_LINE") != NULL)
#define DOTS_1 return
#include "rs232_1.inc"
        reference_make_folder("jobs");
    reference_make_file("jobs/page.TIF");
#define THEN CHECK(rsys_kind("archive/2024") == RSYS_FOLDER)
#include "rsys_1.inc"

    reference_make_folder("system/tables/inks");
    replace_utf8("system/tables/inks/coated.rec", "[cyan]\ndensity = 1.5\n", 21);
#define wem_lognam_set(name, folder) wem_lognam_set(name, strcmp(name, "USER") == 0 ? "user" : "system")
#define THEN CHECK(strcmp(value, "1.5") == 0)
#include "wemfile_1.inc"
#undef wem_lognam_set
#define umlaut "daten-gr\xc3\xbcn.txt"
    replace_utf8(umlaut, "x", 1);
#define fopen_utf8(name, mode) fopen_utf8(umlaut, mode)
#define THEN CHECK(d >= 0), CHECK(h != LOPRA_INVALID_HANDLE)
#include "lopra_1.inc"
#undef fopen_utf8
#define THEN CHECK(strcmp(line, "ERROR : 'list_new: no memory'") == 0), CHECK(strcmp(translation, "C:\\data") == 0)
#include "wem_1.inc"
    wem_set_errexit(NULL);
    wem_lognam_clear();
#include "zuk_1.inc"
}
