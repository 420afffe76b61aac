/* bezier.h - gathers the headers of the Bezier segment */
#ifndef TESKA_BEZIER_H
#define TESKA_BEZIER_H
#include "bezier_cpoly_det.h"
#include "bezierd_base.h"
#include "bezierd_fit.h"
#include "bezierd_split.h"
#include "bezierd_vector.h"
#endif
