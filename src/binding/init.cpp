// Zktclprotocol_Init: the one entry point of the protocol package.
#include <tcl.h>

#include "binding/instance.h"
#include "binding/module.h"
#include "chassis/learn.h"

extern "C" int Zktclprotocol_Init(Tcl_Interp* interp) {
    if (!interp) return TCL_ERROR;
    if (!Tcl_InitStubs(interp, "8.1", 0)) return TCL_ERROR;
    Tcl_PkgProvide(interp, "zkmainprotocol", "0.0");
    Tcl_StaticPackage(nullptr, "Zkchassis", Zkchassis_Init, nullptr);
    zk::binding::voidType();
    zk::binding::classes();  // types and class records: once per process
    zk::binding::createLibraryCommands(interp);
    zk::binding::createClassCommands(interp);
    zk::binding::installConstants(interp);
    chassis::installEventLoop();
    Tcl_SetVar2(interp, "zkErrorInfo", nullptr, "", TCL_GLOBAL_ONLY);
    return TCL_OK;
}
