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
    archive_1(CHECK(0));
    archive_2(
        (CHECK(strcmp(name, "index.txt") == 0), CHECK(bytes == 13), CHECK(memcmp(content, text, 13) == 0), ++seen),
        CHECK(seen == 1), CHECK(archive_get_error(in, NULL) == 9), archive_kill(in));
    base64_1(CHECK(strncmp(out, "TQ==", 4) == 0), CHECK(back[0] == 0x4D));
    {
        unsigned char *text = magic, hidden[6];
        cipher_1(CHECK(strcmp((char *)text, "magic") == 0), CHECK(memcmp(text, hidden, 6) != 0));
    }
    rsys_make_folder("spool");
    flock_1(CHECK(0), ++seen, CHECK(seen));
    fport_1(CHECK(strcmp(path, "C:\\out\\jobs\\new\\page") == 0));
    replace_utf8("profile.icc", "", 0);
    md5_digest_1(CHECK(strcmp(text, "D41D8CD98F00B204E9800998ECF8427E") == 0));
    md5_digest_2();
    /* Only where somebody is at the other end is there something to wait for. */
    if (getenv("TESKA_SERIAL_LINE") != NULL)
        rs232_1(return );
    rsys_make_folder("jobs");
    replace_utf8("jobs/page.TIF", "", 0);
    rsys_1(CHECK(rsys_kind("archive/2024") == RSYS_FOLDER));
    rsys_make_folder("system/tables/inks");
    replace_utf8("system/tables/inks/coated.rec", "[cyan]\ndensity = 1.5\n", 21);
#define wem_lognam_set(name, folder) wem_lognam_set(name, strcmp(name, "USER") == 0 ? "user" : "system")
    wemfile_1(CHECK(strcmp(value, "1.5") == 0));
#undef wem_lognam_set
#define umlaut "daten-gr\xc3\xbcn.txt"
    replace_utf8(umlaut, "x", 1);
#define fopen_utf8(name, mode) fopen_utf8(umlaut, mode)
    lopra_1(CHECK(d >= 0), CHECK(h != LOPRA_INVALID_HANDLE));
#undef fopen_utf8
    wem_1(CHECK(strcmp(line, "ERROR : 'list_new: no memory'") == 0), CHECK(strcmp(translation, "C:\\data") == 0));
    wem_set_errexit(NULL);
    wem_lognam_clear();
    zuk_1();
}
