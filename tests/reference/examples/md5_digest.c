EXAMPLE(md5_digest)
{
    fclose(fopen("profile.icc", "wb"));
    {
#include "md5_digest_1.inc"
        CHECK(strcmp(text, "D41D8CD98F00B204E9800998ECF8427E") == 0);
    }
    const char header[] = "message ", data[] = "digest";
    const unsigned size = 6;
#include "md5_digest_2.inc"
}
