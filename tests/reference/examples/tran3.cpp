EXAMPLE(tran3)
{
#include "tran3_1.inc"
    CHECK(first >= 0 && first <= 1);
    CHECK(replay.Generate() == noise.Generate());
}
