// The entry points of the two packages of the library. Each registers the
// other as a static package, so that once the library is loaded under one
// prefix the other package comes from it too. This is the one place that
// wires the emulated chassis in as the module's equipment.
#include <tcl.h>

#include "binding/instance.h"
#include "binding/module.h"
#include "chassis/commands.h"
#include "chassis/lab.h"
#include "live/live_ports.h"
#include "core/host.h"
#include "core/host_interface.h"

namespace {
// The protocol package asks for Tcl 8.1 or later, as it always has: its
// commands use nothing newer. The host package needs 8.6 (its capture
// directory check uses Tcl_GetModeFromStat).
constexpr const char* kProtocolTclVersion = "8.1";
constexpr const char* kChassisTclVersion = "8.6";

// The emulated chassis is the module's host: at load it hands the module
// its table, as a host program would, and takes the module's log.
void chassisLog(void*, const char* message) { chassis::Lab::instance().log(message); }

void stopLivePorts(ClientData) { live::shutdownLivePorts(); }

void connectEmulatedHost() {
    chassis::Lab::instance();  // installs the emulated chassis as the equipment
    static bool live = [] {
        live::installLivePorts();
        // At exit every live session ends cleanly and the engine thread is joined.
        Tcl_CreateExitHandler(stopLivePorts, nullptr);
        return true;
    }();
    (void)live;
    ZkProtocolHostTable table{};
    table.version = unsigned(ProtocolTCLAPIVersion());
    table.log = chassisLog;
    InitProtocols(&table);
}
}  // namespace

extern "C" int Zktclprotocol_Init(Tcl_Interp* interp) {
    if (!interp) return TCL_ERROR;
    if (!Tcl_InitStubs(interp, kProtocolTclVersion, 0)) return TCL_ERROR;
    Tcl_PkgProvide(interp, "zkmainprotocol", zk::kPackageVersion);
    Tcl_StaticPackage(nullptr, "Zkchassis", Zkchassis_Init, nullptr);
    zk::binding::voidType();
    zk::binding::classes();  // types and class records: once per process
    zk::binding::createLibraryCommands(interp);
    zk::binding::createClassCommands(interp);
    zk::binding::installConstants(interp);
    chassis::installEventLoop();
    connectEmulatedHost();
    Tcl_SetVar2(interp, "zkErrorInfo", nullptr, "", TCL_GLOBAL_ONLY);
    return TCL_OK;
}

extern "C" int Zkchassis_Init(Tcl_Interp* interp) {
    if (!interp) return TCL_ERROR;
    if (!Tcl_InitStubs(interp, kChassisTclVersion, 0)) return TCL_ERROR;
    Tcl_PkgProvide(interp, "zkchassis", "1.0");
    Tcl_StaticPackage(nullptr, "Zktclprotocol", Zktclprotocol_Init, nullptr);
    chassis::installEventLoop();
    connectEmulatedHost();
    chassis::createCommands(interp);
    return TCL_OK;
}
