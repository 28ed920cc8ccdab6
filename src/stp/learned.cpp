#include "stp/learned.h"

#include "binding/learned.h"
#include "stp/forms.h"

namespace zk {

static binding::Describe<TCLStpLearnedBridge> describeStpLearnedBridge("TCLStpLearnedBridge", [](auto& c) {
    using T = TCLStpLearnedBridge;
    using R = hal::EStpLearnedBridge;
    c.constructor();
    c.readOnly("rootPriority", &T::rootPriority).maps(&R::rootPriority).learned(range(0, 65535));
    c.readOnly("rootMac", &T::rootMac).mapsVia(macBlob, macText, &R::rootMac).learned(validMac);
    c.readOnly("rootPathCost", &T::rootPathCost).maps(&R::rootPathCost).learned(range(0, UINT32_MAX));
    c.readOnly("designatedPriority", &T::designatedPriority).maps(&R::designatedPriority).learned(range(0, 65535));
    c.readOnly("designatedMac", &T::designatedMac).mapsVia(macBlob, macText, &R::designatedMac).learned(validMac);
    c.readOnly("rootPort", &T::rootPort).maps(&R::rootPort).learned(range(0, stp::kLastPortNumber));
    c.readOnly("topologyChanges", &T::topologyChanges).maps(&R::topologyChanges).learned(range(0, UINT32_MAX));
    c.readOnly("secondsSinceTopologyChange", &T::secondsSinceTopologyChange)
        .maps(&R::secondsSinceTopologyChange)
        .learned(range(0, UINT32_MAX));
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLStpLearnedInterface> describeStpLearnedInterface("TCLStpLearnedInterface", [](auto& c) {
    using T = TCLStpLearnedInterface;
    using R = hal::EStpLearnedInterface;
    c.constructor();
    c.readOnly("portNumber", &T::portNumber).maps(&R::portNumber).learned(range(1, stp::kLastPortNumber));
    c.readOnly("role", &T::role).maps(&R::role).learned(range(0, 4));
    c.readOnly("state", &T::state).maps(&R::state).learned(range(0, 2));
    c.readOnly("designatedPathCost", &T::designatedPathCost).maps(&R::designatedPathCost).learned(range(0, UINT32_MAX));
    c.readOnly("forwardTransitions", &T::forwardTransitions).maps(&R::forwardTransitions).learned(range(0, UINT32_MAX));
    c.method("setDefault", &T::setDefault);
});

// ---- zkchassis::learn stpBridge C D P bridgeMac info
// ---- zkchassis::learn stpInterfaces C D P bridgeMac interfaceList

namespace {

// The bridge's information is one list of -option value pairs, not a list of them.
int learnStpBridge(Tcl_Interp* interp, Tcl_Obj* const objv[], learn::Filed& out) {
    auto key = learn::readKey(interp, objv[0], "bridgeMac", learn::kMacKey);
    if (!key) return TCL_ERROR;
    auto data = std::make_shared<LearnedStpBridge>();
    if (std::string why = binding::learnedItems<TCLStpLearnedBridge>()(objv[1], *key, data->bridge); !why.empty())
        return learn::failed(interp, "info: " + why);
    return learn::file(interp, out, *key, data);
}

struct RegisterLearnedStp {
    RegisterLearnedStp() {
        learn::registerKind(stp::kBridgeKind, Protocol::Stp, "bridgeMac info", learnStpBridge);
        learn::registerItems<hal::EStpLearnedInterface>(stp::kInterfacesKind, Protocol::Stp, "bridgeMac interfaceList",
                                                        &learn::kMacKey, "interface",
                                                        binding::learnedItems<TCLStpLearnedInterface>());
    }
} registerLearnedStp;

}  // namespace
}  // namespace zk
