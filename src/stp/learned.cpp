#include "stp/learned.h"

#include "core/learn_input.h"
#include "stp/forms.h"

namespace zk {

// Learned MACs are only read back: a script cannot set them.
static hal::EBlob noMac(const std::string&) { return {}; }

static binding::Describe<TCLStpLearnedBridge> describeStpLearnedBridge("TCLStpLearnedBridge", [](auto& c) {
    using T = TCLStpLearnedBridge;
    using R = hal::EStpLearnedBridge;
    c.constructor();
    c.readOnly("rootPriority", &T::rootPriority).maps(&R::rootPriority);
    c.readOnly("rootMac", &T::rootMac).mapsVia(noMac, macText, &R::rootMac);
    c.readOnly("rootPathCost", &T::rootPathCost).maps(&R::rootPathCost);
    c.readOnly("designatedPriority", &T::designatedPriority).maps(&R::designatedPriority);
    c.readOnly("designatedMac", &T::designatedMac).mapsVia(noMac, macText, &R::designatedMac);
    c.readOnly("rootPort", &T::rootPort).maps(&R::rootPort);
    c.readOnly("topologyChanges", &T::topologyChanges).maps(&R::topologyChanges);
    c.readOnly("secondsSinceTopologyChange", &T::secondsSinceTopologyChange).maps(&R::secondsSinceTopologyChange);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLStpLearnedInterface> describeStpLearnedInterface("TCLStpLearnedInterface", [](auto& c) {
    using T = TCLStpLearnedInterface;
    using R = hal::EStpLearnedInterface;
    c.constructor();
    c.readOnly("portNumber", &T::portNumber).maps(&R::portNumber);
    c.readOnly("role", &T::role).maps(&R::role);
    c.readOnly("state", &T::state).maps(&R::state);
    c.readOnly("designatedPathCost", &T::designatedPathCost).maps(&R::designatedPathCost);
    c.readOnly("forwardTransitions", &T::forwardTransitions).maps(&R::forwardTransitions);
    c.method("setDefault", &T::setDefault);
});

// ---- zkchassis::learn stpBridge C D P bridgeMac info
// ---- zkchassis::learn stpInterfaces C D P bridgeMac interfaceList

namespace {

using Bridge = hal::EStpLearnedBridge;
using Interface = hal::EStpLearnedInterface;

const learn::Option<Bridge> kBridgeOptions[] = {
    {"-rootPriority", learn::number<&Bridge::rootPriority, 0, 65535>},
    {"-rootMac", learn::mac<&Bridge::rootMac>},
    {"-rootPathCost", learn::number<&Bridge::rootPathCost, 0, UINT32_MAX>},
    {"-designatedPriority", learn::number<&Bridge::designatedPriority, 0, 65535>},
    {"-designatedMac", learn::mac<&Bridge::designatedMac>},
    {"-rootPort", learn::number<&Bridge::rootPort, 0, stp::kLastPortNumber>},
    {"-topologyChanges", learn::number<&Bridge::topologyChanges, 0, UINT32_MAX>},
    {"-secondsSinceTopologyChange", learn::number<&Bridge::secondsSinceTopologyChange, 0, UINT32_MAX>},
};
const learn::Option<Interface> kInterfaceOptions[] = {
    {"-portNumber", learn::number<&Interface::portNumber, 1, stp::kLastPortNumber>},
    {"-role", learn::number<&Interface::role, 0, 4>},
    {"-state", learn::number<&Interface::state, 0, 2>},
    {"-designatedPathCost", learn::number<&Interface::designatedPathCost, 0, UINT32_MAX>},
    {"-forwardTransitions", learn::number<&Interface::forwardTransitions, 0, UINT32_MAX>},
};

// The bridge's information is one list of -option value pairs, not a list of them.
int learnStpBridge(Tcl_Interp* interp, chassis::Port& port, Tcl_Obj* const objv[]) {
    auto key = learn::readKey(interp, objv[0], "bridgeMac", learn::kMacKey);
    if (!key) return TCL_ERROR;
    auto data = std::make_shared<LearnedStpBridge>();
    if (std::string why = learn::withOptions<Bridge>(kBridgeOptions)(objv[1], *key, data->bridge); !why.empty())
        return learn::failed(interp, "info: " + why);
    return learn::file(interp, port, stp::kBridgeKind, *key, data);
}

struct RegisterLearnedStp {
    RegisterLearnedStp() {
        chassis::registerLearnKind(stp::kBridgeKind, "bridgeMac info", learnStpBridge);
        learn::registerItems<Interface>(stp::kInterfacesKind, "bridgeMac interfaceList", &learn::kMacKey, "interface",
                                        learn::withOptions<Interface>(kInterfaceOptions));
    }
} registerLearnedStp;

}  // namespace
}  // namespace zk
