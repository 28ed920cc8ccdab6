// Entry points of the two packages and the pieces they install.
#pragma once

#include <tcl.h>

#include <cstddef>

namespace zk::binding {

void installConstants(Tcl_Interp* interp);
size_t constantCount();
void createLibraryCommands(Tcl_Interp* interp);  // atof ... labs

}  // namespace zk::binding

extern "C" {
int Zktclprotocol_Init(Tcl_Interp* interp);
int Zkchassis_Init(Tcl_Interp* interp);
}
