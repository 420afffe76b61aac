EXAMPLE(file_double)
{
#include "file_double_1.inc"
}
