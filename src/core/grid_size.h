// The grid a port may emulate: rows and columns cut to the port's limit.
#pragma once

#include "hal/grid_record.h"

namespace zk {

// Sets rows, then columns, through the record's capped setters with the
// current port's limit, and reports a count the port lowered under the
// name of the converting function `where`. Without a port nothing caps
// the grid and nothing is reported.
void setGridSize(hal::EGrid& r, int numRows, int numColumns, const char* where);

// The entry point of a grid stays in the grid the port took: a row or a
// column past a cut grid becomes its last one. The message of the cut
// count tells the script the grid was cut.
void keepEntryInside(int& entryRow, int& entryColumn, const hal::EGrid& r);

}  // namespace zk
