/* tone_curve - a curve through measured tone values, and its inverse
 *
 * A press prints 50 % darker than 50 %. The curve says what a value of the file becomes on paper; its inverse says what
 * the file must hold for a value to come out right. A line of pixels goes through a table made of the inverse. */
#include <teska/error_mess.h>
#include <teska/interp_double.h>
#include <teska/md_tetras.h>

#include <stdio.h>

static const double measured[][2] = {{0, 0}, {10, 17}, {25, 39}, {40, 57}, {50, 67}, {75, 88}, {90, 97}, {100, 100}};

int main(void)
{
    error_set(2); /* messages wait for error_get */
    lin_interp_double *gain = lin_interp_double_new(16, NULL);
    for (int i = 0; i < 8; ++i)
        if (gain == NULL || lin_interp_double_insert(gain, measured[i][0], measured[i][1]) != 0)
            return fprintf(stderr, "%s\n", error_get()), 1;
    lin_interp_double *correction = lin_interp_double_invert(gain, NULL);
    if (correction == NULL)
        return fprintf(stderr, "%s\n", error_get()), 1;

    printf("wanted  in the file  on paper\n");
    for (double wanted = 0; wanted <= 100; wanted += 20) {
        double file, paper;
        lin_interp_double_inter(correction, wanted, &file);
        lin_interp_double_inter(gain, file, &paper);
        printf("%6.1f  %11.2f  %8.2f\n", wanted, file, paper);
    }

    /* The same for pixels: a table of one channel whose curve has 256 entries. */
    unsigned short entries[256];
    for (int i = 0; i < 256; ++i) {
        double file;
        lin_interp_double_inter(correction, i / 2.55, &file);
        entries[i] = (unsigned short)(file / 100 * 65535 + 0.5);
    }
    md_tetras *table = md_tetras_new(1, 1, 2);
    if (table == NULL || md_tetras_ilut_set(table, 0, 256, entries) == 0)
        return fprintf(stderr, "%s\n", error_get()), 1;
    const int corner[1] = {1};
    *md_tetras_vertex_get(table, corner, NULL) = 65535; /* the grid is the identity: 0 and 65535 */
    unsigned char line[] = {0, 64, 128, 192, 255};
    const unsigned char *in[] = {line};
    unsigned char *out[] = {line};
    md_tetras_interp_b(table, in, 1, out, 1, 5, NULL, 0);
    printf("0 64 128 192 255 become %d %d %d %d %d\n", line[0], line[1], line[2], line[3], line[4]);

    md_tetras_kill(table);
    lin_interp_double_kill(correction);
    lin_interp_double_kill(gain);
    return 0;
}
