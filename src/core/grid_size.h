// The grid a port may emulate: rows and columns cut to the port's limit.
#pragma once

#include "hal/grid_record.h"

namespace zk {

// Sets rows, then columns, through the record's capped setters with the
// current port's limit, and reports a count the port lowered under the
// name of the converting function `where`. Without a port nothing caps
// the grid and nothing is reported.
void setGridSize(hal::EGrid& r, int numRows, int numColumns, const char* where);

}  // namespace zk
