// An object configured from a list of -option value pairs, as the host's
// learn commands take what a port learned ({-lsaType 2 -linkStateId ...}).
#pragma once

#include <tcl.h>

#include <string>

#include "binding/describe.h"

namespace zk::binding {

// Sets each option of `pairs` on `obj` (an object of class `cls`); false
// with a message in `error` on a list that is no list of pairs, an unknown
// or read-only option, or a value of the wrong kind.
bool configureFromList(Tcl_Interp* interp, const ClassRecord& cls, Object& obj, Tcl_Obj* pairs, std::string& error);

}  // namespace zk::binding
