#include "check.h"
#include "teska_core.h"

static int page_bytes(void *pages, int id) { return pages == NULL ? 100 + id : 0; }
static void page_read(void *pages, int id, void *to) { ++seen, memset(to, id, (size_t)page_bytes(pages, id)); }
cache_1();
error_mess_3();
#define log_line(line) (seen += line != NULL) /* the function has two arguments */
static void append(char *text, const char *line) { strcpy(text, line); }
static void show_line(void *window, const char *line) { *(int *)window += line != NULL; }
hash_tab_1();
struct job {
    int number;
};
static void run(const struct job *job) { seen += job->number; }
static int width_of(int column) { return column; }
struct plate {
    char *name;
};
static int plate(void)
{
    rom_1(, );
    return 0;
}

EXAMPLES(core)
{
    void *pages = NULL;
    const int nr_pages = 20, columns = 100, element[1] = {7};
    int total = 0, window = 0;
    unsigned id = 7;
    double weight = 2.5;
    struct job job = {5};
    char text[600] = "";
    const char *line;
    cache_2(CHECK(page != NULL), CHECK(next != NULL), CHECK(seen == 2));
    dynar_1(CHECK(total == 4950));
    list_rec *list = list_new(1, 4, NULL);
    error_mess_1(CHECK(list != NULL), CHECK(seen == 0), list_kill(list));
    error_mess_2(CHECK(list_num(list) == 1), CHECK(text[0] == 0), list_kill(list));
    error_mess_4(error_set_handler(NULL, NULL, NULL));
    error_mess_5(error_mess_fl("for the window", __FILE__, __LINE__), CHECK(window == 1));
    error_set_thread_handler(NULL, NULL, NULL);
    error_set_thread(TESKA_ERROR_PROCESS_WIDE);
    hash_tab_2(CHECK(table == NULL), CHECK(slots >= 500));
    itemfifo_1(CHECK(0), CHECK(seen == 5));
    list_1(CHECK(0));
    CHECK(plate() == 0);
    teska_time_1(CHECK(passed >= 19), CHECK(passed < 5000));
    CHECK(teska_version_number() == TESKA_VERSION_NUMBER);
    /* As if the headers were those of a later version. */
#undef TESKA_VERSION_NUMBER
#define TESKA_VERSION_NUMBER TESKA_VERSION_NUMBER_OF(9, 0, 0)
#include "directives.h"
    teska_version_1();
}
