#include "file_double.h"

#include "../check.h"

void example_file_double(void);
void example_file_double(void)
{
#include "file_double_1.inc"
}
