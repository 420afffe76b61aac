#include "error_mess.h"

#include "../check.h"
#include "list.h"

static int lines;
static void log_line(const char *line)
{
    (void)line;
    ++lines;
}
static void append(char *text, const char *line) { strcpy(text, line); }
static const char *line;

void example_error_mess(void);
void example_error_mess(void)
{
    {
#include "error_mess_1.inc"
        CHECK(list != NULL && lines == 0);
        list_kill(list);
    }
    list_rec *list = list_new(1, 4, NULL);
    const int element[1] = {7};
    char text[600] = "";
#include "error_mess_2.inc"
    CHECK(list_num(list) == 1 && text[0] == 0);
    list_kill(list);
}
