// The zkchassis commands, and how they fail.
#pragma once

#include <tcl.h>

#include <initializer_list>
#include <string_view>

#include "util/tcl_command.h"

namespace chassis {

// Creates the zkchassis:: commands in `interp`.
void createCommands(Tcl_Interp* interp);

// Lets the event loop deliver due replies (called by both package entries).
void installEventLoop();

// Every error of a zkchassis command has the error code
// {ZKCHASSIS <kind> <detail>...}; docs/chassis.md lists the kinds.
inline constexpr char kErrorFamily[] = "ZKCHASSIS";

inline int chassisError(Tcl_Interp* interp, std::string_view message, std::initializer_list<std::string_view> code) {
    return zk::tclError(interp, message, kErrorFamily, code);
}

}  // namespace chassis
