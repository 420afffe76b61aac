/* words - three words in a list that keeps them in order */
#include <teska/teska_core.h>
#include <teska/teska_version.h>

#include <stdio.h>
#include <string.h>

int main(void)
{
    list_rec *words = list_new(4, 8, str_ins);
    if (words == NULL)
        return 1;
    list_insert(words, "pear\0\0\0");
    list_insert(words, "apple\0\0");
    list_insert(words, "fig\0\0\0\0");
    const int right = list_num(words) == 3 && strcmp(list_get_element(words, 0), "apple") == 0;
    list_kill(words);
    printf("TESKAShared %s: %s\n", teska_version(), right ? "in order" : "not in order");
    return right ? 0 : 1;
}
