/* consumer - a program that knows the library only as it was installed: the list of its words, in order */
#include <teska/lopra.h>
#include <teska/teska_core.h>
#include <teska/wem.h>
#include <teska/zuk.h>

#include <stdio.h>

int main(int argc, char **argv)
{
    FILE *self = fopen_utf8(argv[0], "rb");
    list_rec *words = list_new(4, 32, str_ins);
    if (self == NULL || words == NULL)
        return 1;
    fclose(self);
    for (int i = 1; i < argc; ++i) {
        char word[32];
        snprintf(word, sizeof word, "%s", argv[i]);
        list_insert(words, word);
    }
    for (int i = 0; i < list_num(words); ++i)
        typefl(list_get_element(words, i));
    list_kill(words);
    return zuk_close(zuk_open());
}
