/* teska_colour.h - gathers the headers of one subsystem: colour lookup tables and multidimensional interpolation */
#ifndef TESKA_COLOUR_H
#define TESKA_COLOUR_H
#ifdef __cplusplus
#    include "clut.h"
#endif
#include "clut_table.h"
#include "convert_rows.h"
#include "md_tetrab.h"
#include "md_tetrad.h"
#include "md_tetras.h"
#include "mmd_tetras.h"
#ifdef __cplusplus
#    include "tfastpow.h"
#endif
#endif
