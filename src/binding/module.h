// Entry points of the two packages and the pieces they install.
#pragma once

#include <tcl.h>

#include <cstddef>
#include <functional>

namespace zk::binding {

void installConstants(Tcl_Interp* interp);
size_t constantCount();
// Every constant in table order: its name, its value as scripts read it
// (the unsigned ones as their unsigned decimal) and whether it is unsigned.
void forEachConstant(const std::function<void(const char* name, long long value, bool isUnsigned)>& visit);
void createLibraryCommands(Tcl_Interp* interp);  // atof ... labs

}  // namespace zk::binding

extern "C" {
int Zktclprotocol_Init(Tcl_Interp* interp);
int Zkchassis_Init(Tcl_Interp* interp);
}
