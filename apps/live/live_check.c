/* live_check - the conversion of the page as a native program: what the page's bytes are compared with
 *
 *     live_check                                                        the digest of the self-test
 *     live_check <press grid> <screen grid> <in.rgb> <out.rgb>          raw bytes, through both tables
 *
 * Grids are raw samples of 16 bits in the host's order: 3 inputs and 4 outputs, 4 inputs and 3 outputs.
 */
#include "live.h"

#include <stdio.h>
#include <stdlib.h>

struct bytes {
    unsigned char *at;
    long size;
};

static struct bytes read_whole(const char *path)
{
    struct bytes got = {NULL, 0};
    FILE *file = fopen(path, "rb");
    if (file == NULL || fseek(file, 0, SEEK_END) != 0 || (got.size = ftell(file)) < 0 ||
        (got.at = malloc((size_t)got.size + 1)) == NULL || fseek(file, 0, SEEK_SET) != 0 ||
        fread(got.at, 1, (size_t)got.size, file) != (size_t)got.size) {
        fprintf(stderr, "live_check: cannot read %s\n", path);
        exit(1);
    }
    fclose(file);
    return got;
}

/* The number of points follows from the number of samples. */
static void *read_table(const char *path, int inputs, int outputs)
{
    const struct bytes grid = read_whole(path);
    for (int points = 2; points < 256; ++points) {
        long samples = outputs;
        for (int i = 0; i < inputs; ++i)
            samples *= points;
        if (samples * 2 != grid.size)
            continue;
        void *table = live_table_new(inputs, outputs, points);
        if (table != NULL && live_table_set(table, (const unsigned short *)(const void *)grid.at, (int)samples)) {
            free(grid.at);
            return table;
        }
    }
    fprintf(stderr, "live_check: %s is no grid\n", path);
    exit(1);
}

int main(int argc, char **argv)
{
    if (argc == 1)
        return puts(live_self_test()) < 0;
    if (argc != 5) {
        fprintf(stderr, "live_check: four files wanted\n");
        return 2;
    }
    void *press = read_table(argv[1], 3, 4), *screen = read_table(argv[2], 4, 3);
    const struct bytes in = read_whole(argv[3]);
    const int pixels = (int)(in.size / 3);
    unsigned char *inks = malloc(4 * (size_t)pixels + 1), *out = malloc(3 * (size_t)pixels + 1);
    FILE *file = fopen(argv[4], "wb");
    if (inks == NULL || out == NULL || file == NULL)
        return 1;
    live_table_run(press, in.at, 3, inks, 4, pixels);
    live_table_run(screen, inks, 4, out, 3, pixels);
    const size_t written = fwrite(out, 3, (size_t)pixels, file);
    const int closed = fclose(file);
    live_table_kill(press);
    live_table_kill(screen);
    free(in.at);
    free(inks);
    free(out);
    return written != (size_t)pixels || closed != 0;
}
