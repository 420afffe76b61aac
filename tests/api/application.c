/* application - the library used from C11, through the shared libraries' public headers alone, all of them together;
 * what the functions do is shown by the examples of their headers */
#include <lopra.h>
#include <wem.h>
#include <zuk.h>

#include <teska_colour.h>
#include <teska_core.h>
#include <teska_curves.h>
#include <teska_files.h>
#include <teska_geometry.h>
#include <teska_image.h>
#include <teska_numerics.h>
#include <teska_text.h>

#include <string.h>

#define EXPECT(condition)                                                                                              \
    if (!(condition))                                                                                                  \
    return #condition

const char *use_every_part(void);
const char *use_every_part(void)
{
    const int before = error_set(2);
    EXPECT(md_tetrab_new(0, 1, 2) == NULL);
    EXPECT(strcmp(error_get(), "ERROR : 'md_tetra_new: illegal dimension'") == 0);
    EXPECT(error_set(before) == 2);

    static const char umlaut[] = "api_\xc3\xa4\xe2\x82\xac.txt";
    flock_rec *lock = flock_get(umlaut);
    EXPECT(lock != NULL && flock_get(umlaut) == NULL && flock_free(lock) == 0 && remove_utf8(umlaut) == -1);
    EXPECT(zuk_close(zuk_open()) == 0);

    return NULL;
}
