/* record_file - settings that survive a crash
 *
 *     record_file settings.rec
 *
 * A child saves the file again and again until it is killed in the midst of it. What is there afterwards is whole: a
 * pair of values that were saved together. */
#include <signal.h>
#include <sys/wait.h>
#include <teska/zuk.h>
#include <unistd.h>

#include <stdio.h>
#include <stdlib.h>

static void save_for_ever(const char *path)
{
    zuk_db *db = zuk_open();
    if (db == NULL || zuk_push_rfile(db, path) == NULL)
        _exit(1);
    for (long i = 0;; ++i) {
        char number[24], square[24];
        sprintf(number, "%ld", i % 30000);
        sprintf(square, "%ld", (i % 30000) * (i % 30000));
        if (zuk_add_item(db, "job", "number", number, "") != 0 || zuk_add_item(db, "job", "square", square, "") != 0 ||
            zuk_flush(db) != 0)
            _exit(1);
    }
}

static int is_whole(const char *path, long *number)
{
    char value[ZUK_VALUE_SIZE], square[ZUK_VALUE_SIZE];
    zuk_db *db = zuk_open();
    const int found = db != NULL && zuk_push_rfile(db, path) != NULL && zuk_search(db, "job", "number", value) == 0 &&
                      zuk_search(db, "job", "square", square) == 0;
    zuk_close(db);
    *number = found ? atol(value) : -1;
    return found && atol(square) == *number * *number;
}

int main(int argc, char **argv)
{
    const char *path = argc > 1 ? argv[1] : "settings.rec";
    zuk_db *db = zuk_open();
    zuk_rfile *file = db != NULL ? zuk_create_rfile(db, path) : NULL;
    if (file == NULL || zuk_add_topic(db, file, "job", " written by record_file") != 0 ||
        zuk_add_item(db, "job", "number", "0", "") != 0 || zuk_add_item(db, "job", "square", "0", "") != 0 ||
        zuk_flush(db) != 0)
        return fprintf(stderr, "%s: cannot be made\n", path), 1;
    zuk_close(db);

    int whole = 0;
    long number = 0;
    for (int round = 0; round < 20; ++round) {
        const pid_t child = fork();
        if (child == 0)
            save_for_ever(path);
        usleep(20000 + 1000 * (unsigned)round);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        if (!WIFSIGNALED(status))
            return fprintf(stderr, "%s: cannot be saved\n", path), 1;
        whole += is_whole(path, &number);
    }
    printf("killed 20 times, whole %d times; the last number is %s\n", whole, number >= 0 ? "there" : "lost");
    return whole != 20;
}
