// Objects configured from a list of -option value pairs, as the host's
// learn commands take what a port learned ({-lsaType 2 -linkStateId ...}).
#pragma once

#include <tcl.h>

#include <string>

#include "binding/describe.h"
#include "core/learn_input.h"

namespace zk::binding {

// Sets each option of `pairs` on `obj` (an object of class `cls`) as
// `configure` would; false with a message in `error` on a list that is no
// list of pairs, an unknown or read-only option, or a value of the wrong
// kind.
bool configureFromList(const ClassRecord& cls, Object& obj, Tcl_Obj* pairs, std::string& error);

// The same with the options the class declares learned, read-only ones
// included, each value as its declaration accepts it; "" or why the pairs
// are refused. `given` records the options named.
std::string learnOptions(const ClassRecord& cls, Object& obj, Tcl_Obj* pairs, learn::Given& given);

}  // namespace zk::binding
