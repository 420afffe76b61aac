/* teska_curves.h - gathers the headers of one subsystem: curves and one-dimensional tables */
#ifndef TESKA_CURVES_H
#define TESKA_CURVES_H
#include "bezier_cpoly_det.h"
#include "bezierd_base.h"
#include "bezierd_fit.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"
#include "func.h"
#include "grad_tab.h"
#include "hist.h"
#include "interp_double.h"
#include "p_bezierd_base.h"
#endif
