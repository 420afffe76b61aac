/* teska.h - the whole library with one line
 *
 *     #include <teska/teska.h>
 *
 * Programs that compile often include the headers of the modules they use, or of their subsystem.
 */
#ifndef TESKA_H
#define TESKA_H
#include "teska_colour.h"
#include "teska_core.h"
#include "teska_curves.h"
#include "teska_files.h"
#include "teska_geometry.h"
#include "teska_image.h"
#include "teska_numerics.h"
#include "teska_text.h"
#endif
