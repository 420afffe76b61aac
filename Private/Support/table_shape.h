// table_shape - inputs, outputs and vertices of a table, for modules that fill one
//
// Used by clg, md_tetrab and md_tetrad.

#ifndef TESKA_SUPPORT_TABLE_SHAPE_H
#define TESKA_SUPPORT_TABLE_SHAPE_H

#include "Support/grid.h"

#include "md_tetrab.h"
#include "md_tetrad.h"

namespace teska
{

const grid_shape &shape_of(const md_tetrab &table) noexcept;
const grid_shape &shape_of(const md_tetrad &table) noexcept;

}  // namespace teska

#endif
