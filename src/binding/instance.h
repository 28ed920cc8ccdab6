// Class commands and instance commands.
#pragma once

#include <tcl.h>

#include <string>

#include "binding/describe.h"

namespace zk::binding {

struct InstanceRecord {
    Object* object = nullptr;  // null once the object was destroyed elsewhere
    const ClassRecord* cls = nullptr;
    Tcl_Interp* interp = nullptr;
    Tcl_Command token = nullptr;  // valid while the command runs; elsewhere find it by name
    std::string name;             // fully qualified, followed through renames
    bool owned = true;  // the script owns the object: deleting the command deletes it
};

int instanceCommand(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]);
int classCommand(ClientData cd, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]);
// What Tcl_CreateObjCommand gets for them: an instance command is known by its procedure.
inline constexpr Tcl_ObjCmdProc* instanceCommandProc = zk::guarded<instanceCommand, kErrorFamily>;
inline constexpr Tcl_ObjCmdProc* classCommandProc = zk::guarded<classCommand, kErrorFamily>;

// The object of `inst` was destroyed: remove its command without touching it.
void dropInstanceCommand(InstanceRecord* inst);

// Creates every command of every described class in `interp`.
void createClassCommands(Tcl_Interp* interp);

}  // namespace zk::binding
