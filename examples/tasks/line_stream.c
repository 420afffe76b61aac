/* line_stream - sharpen and resize a picture of 16 bits that comes as a stream
 *
 *     line_stream <percent> <in.ppm >out.ppm
 *
 * A line is read, sharpened and resized while only a few lines are in memory, however long the picture is. */
#ifdef _WIN32
#    include <fcntl.h>
#    include <io.h>
#endif
#include <teska/fusm.h>
#include <teska/izat.h>

#include <stdio.h>
#include <stdlib.h>

struct stream {
    izat *zoom;
    unsigned short *sharp, *resized;
    size_t samples; /* of a resized line */
};

static void write_line(void *context, int line)
{
    const struct stream *stream = context;
    (void)line;
    for (size_t i = 0; i < stream->samples; ++i)
        putchar(stream->resized[i] >> 8), putchar(stream->resized[i] & 255);
}

/* Component 2 is the last one of a line: it is complete and goes on. */
static void sharpened(void *context, int component)
{
    struct stream *stream = context;
    if (component == 2)
        izat_line(stream->zoom, stream->sharp, &stream->resized);
}

int main(int argc, char **argv)
{
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    int width, height;
    const int percent = argc > 1 ? atoi(argv[1]) : 50;
    if (scanf("P6 %d %d 65535", &width, &height) != 2 || getchar() == EOF || width < 1 || height < 1 || percent < 1)
        return fprintf(stderr, "usage: line_stream <percent> <in.ppm >out.ppm, 16 bits\n"), 1;
    const int columns = (int)((long long)width * percent / 100), rows = (int)((long long)height * percent / 100);

    /* The filter looks at up to five lines; they stay where they are until it has done with them. */
    const size_t samples = (size_t)width * 3;
    unsigned short *lines = malloc(5 * samples * sizeof *lines);
    struct stream stream = {izat_new(IZAT_LANCZOS3), malloc(samples * sizeof *lines), NULL, (size_t)columns * 3};
    stream.resized = malloc(stream.samples * sizeof *stream.resized + 1);
    fusm *usm = fusm_new(1, 65535, 3, 3, NULL, NULL);
    if (lines == NULL || stream.sharp == NULL || stream.resized == NULL || stream.zoom == NULL || usm == NULL ||
        izat_start(stream.zoom, 3, height, width, rows, columns, write_line, &stream, 3, 3) == 0 ||
        fusm_start_with(usm, height, width, sharpened, &stream, 3, 0, 3) == 0)
        return 1; /* said by the library */

    printf("P6\n%d %d\n65535\n", columns, rows);
    for (int y = 0; y < height; ++y) {
        unsigned short *line = lines + (size_t)(y % 5) * samples;
        for (size_t i = 0; i < samples; ++i) {
            const int high = getchar(), low = getchar();
            if (low == EOF)
                return fprintf(stderr, "line_stream: the picture ends in line %d\n", y), 1;
            line[i] = (unsigned short)(high << 8 | low);
        }
        unsigned short *in[3] = {line, line + 1, line + 2};
        unsigned short *out[3] = {stream.sharp, stream.sharp + 1, stream.sharp + 2};
        fusm_do(usm, in, out, NULL);
    }
    fusm_kill(usm);
    izat_kill(stream.zoom);
    free(lines), free(stream.sharp), free(stream.resized);
    return fflush(stdout) != 0;
}
