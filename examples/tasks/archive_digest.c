/* archive_digest - files in one archive, with a digest of each
 *
 *     archive_digest pack pictures.fp a.tif b.tif ..
 *     archive_digest check pictures.fp
 *
 * The digests are the last entry, one line for each file, as md5sum writes them. */
#include <teska/archive.h>
#include <teska/md5_digest.h>

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void digest_text(const void *bytes, int length, char text[33])
{
    MD5_CTX context;
    unsigned char digest[16];
    MD5Init(&context);
    MD5Update(&context, bytes, (unsigned)length);
    MD5Final(digest, &context);
    for (int i = 0; i < 16; ++i)
        sprintf(text + 2 * i, "%02x", digest[i]);
}

static int pack(const char *path, int files, char **names)
{
    char list[8192] = "", text[33], reason[ARCHIVE_TEXT_SIZE];
    archive *out = archive_create(path, "made by archive_digest", NULL);
    for (int i = 0; out != NULL && i < files; ++i) {
        if (MD5_check_file(names[i], text) != 0 || archive_add_file(out, names[i], names[i]) != 0)
            return archive_get_error(out, reason), fprintf(stderr, "%s: %s\n", names[i], reason), 1;
        for (char *digit = text; *digit != 0; ++digit)
            *digit = (char)tolower(*digit);
        const size_t used = strlen(list);
        if (snprintf(list + used, sizeof list - used, "%s  %s\n", text, names[i]) >= (int)(sizeof list - used))
            return fprintf(stderr, "too many files for one list\n"), 1;
    }
    if (out == NULL || archive_add(out, "MD5SUMS", list, (int)strlen(list)) != 0)
        return 1;
    archive_kill(out);
    printf("%d files\n", files);
    return 0;
}

static int check(const char *path)
{
    enum { most = 200 };
    char expected[most * 300] = "", name[ARCHIVE_NAME_SIZE], *bytes;
    int length, files = 0, result;
    size_t used = 0;
    archive *in = archive_open(path, NULL);
    while (in != NULL && (result = archive_next(in, &bytes, &length, name)) == 0) {
        if (strcmp(name, "MD5SUMS") == 0) {
            const int same = (size_t)length == used && memcmp(bytes, expected, used) == 0;
            printf("%d files, %s\n", files, same ? "all as they were" : "not as they were");
            archive_kill(in);
            return !same;
        }
        if (files++ == most)
            return 1;
        char text[33];
        digest_text(bytes, length, text);
        used += (size_t)sprintf(expected + used, "%s  %s\n", text, name);
    }
    return fprintf(stderr, "%s: cut or damaged\n", path), 1;
}

int main(int argc, char **argv)
{
    if (argc > 3 && strcmp(argv[1], "pack") == 0)
        return pack(argv[2], argc - 3, argv + 3);
    if (argc == 3 && strcmp(argv[1], "check") == 0)
        return check(argv[2]);
    return fprintf(stderr, "usage: archive_digest pack|check <archive> [file ..]\n"), 2;
}
