// What the network ranges of both OSPF versions share beyond their record:
// the port decides how large a grid it emulates.
#pragma once

#include "hal/ospf_grid.h"

namespace zk {

// Sets rows and columns as far as the current port allows; a lowered count
// is reported with `where` ("TCLOspfNetworkRange::SetOspfNetworkRange()")
// and the port's name, the conversion going on. Without a port there is no
// limit and nothing is reported.
void setGridSize(hal::EOspfGrid& r, int numRows, int numColumns, const char* where);

}  // namespace zk
