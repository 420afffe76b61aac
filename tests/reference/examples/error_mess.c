#include "list.h"

static void count_line(const char *line) { seen += line != NULL; }
static void append(char *text, const char *line) { strcpy(text, line); }
static const char *line;

#include "error_mess_3.inc"
static void show_line(void *window, const char *line) { *(int *)window += line != NULL; }
static void to_functions(void)
{
    int window = 0;
#include "error_mess_4.inc"
    error_set_handler(NULL, NULL, NULL);
#include "error_mess_5.inc"
    error_mess_fl("for the window", __FILE__, __LINE__);
    CHECK(window == 1);
    error_set_thread_handler(NULL, NULL, NULL);
    error_set_thread(TESKA_ERROR_PROCESS_WIDE);
}

EXAMPLE(error_mess)
{
    {
#define log_line count_line
#include "error_mess_1.inc"
#undef log_line
        CHECK(list != NULL && seen == 0);
        list_kill(list);
    }
    list_rec *list = list_new(1, 4, NULL);
    const int element[1] = {7};
    char text[600] = "";
#include "error_mess_2.inc"
    CHECK(list_num(list) == 1 && text[0] == 0);
    list_kill(list);
    to_functions();
}
