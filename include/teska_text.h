/* teska_text.h - gathers the headers of one subsystem: text and numbers */
#ifndef TESKA_TEXT_H
#define TESKA_TEXT_H
#include "file_double.h"
#include "numb.h"
#include "str_utils.h"
#include "str_zuk.h"
#endif
