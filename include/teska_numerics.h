/* teska_numerics.h - gathers the headers of one subsystem: numerical methods */
#ifndef TESKA_NUMERICS_H
#define TESKA_NUMERICS_H
#include "condirmin.h"
#include "dhsm.h"
#include "mat.h"
#include "random.h"
#include "rdither.h"
#include "restriction.h"
#include "scalar_solvers.h"
#include "special_functions.h"
#include "vect.h"
#include "vect_lobe.h"
#ifdef __cplusplus
#    include "tran3.h"
#endif
#endif
