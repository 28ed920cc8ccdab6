#include "stp/learned.h"

#include <tcl.h>

#include <span>
#include <string_view>
#include <type_traits>

#include "chassis/lab.h"
#include "chassis/learn.h"
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

// One -option of a learned record and how its value is read.
template <class R>
struct LearnedOption {
    std::string_view name;
    bool (*read)(Tcl_Obj*, R&);
};

template <auto Field, long long Lo, long long Hi, class R>
bool readNumber(Tcl_Obj* o, R& r) {
    Tcl_WideInt w;
    if (Tcl_GetWideIntFromObj(nullptr, o, &w) != TCL_OK || w < Lo || w > Hi) return false;
    r.*Field = static_cast<std::remove_reference_t<decltype(r.*Field)>>(w);
    return true;
}

template <auto Field, class R>
bool readMac(Tcl_Obj* o, R& r) {
    if (!validMac(Tcl_GetString(o))) return false;
    r.*Field = macBlob(Tcl_GetString(o));
    return true;
}

using Bridge = hal::EStpLearnedBridge;
using Interface = hal::EStpLearnedInterface;

const LearnedOption<Bridge> kBridgeOptions[] = {
    {"-rootPriority", readNumber<&Bridge::rootPriority, 0, 65535>},
    {"-rootMac", readMac<&Bridge::rootMac>},
    {"-rootPathCost", readNumber<&Bridge::rootPathCost, 0, UINT32_MAX>},
    {"-designatedPriority", readNumber<&Bridge::designatedPriority, 0, 65535>},
    {"-designatedMac", readMac<&Bridge::designatedMac>},
    {"-rootPort", readNumber<&Bridge::rootPort, 0, stp::kLastPortNumber>},
    {"-topologyChanges", readNumber<&Bridge::topologyChanges, 0, UINT32_MAX>},
    {"-secondsSinceTopologyChange", readNumber<&Bridge::secondsSinceTopologyChange, 0, UINT32_MAX>},
};
const LearnedOption<Interface> kInterfaceOptions[] = {
    {"-portNumber", readNumber<&Interface::portNumber, 1, stp::kLastPortNumber>},
    {"-role", readNumber<&Interface::role, 0, 4>},
    {"-state", readNumber<&Interface::state, 0, 2>},
    {"-designatedPathCost", readNumber<&Interface::designatedPathCost, 0, UINT32_MAX>},
    {"-forwardTransitions", readNumber<&Interface::forwardTransitions, 0, UINT32_MAX>},
};

// A record from its -option value pairs; "" or why they are refused.
template <class R>
std::string parsePairs(Tcl_Obj* pairs, std::span<const LearnedOption<R>> options, R& r) {
    int n;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(nullptr, pairs, &n, &items) != TCL_OK || n % 2)
        return "expected a list of -option value pairs";
    for (int k = 0; k < n; k += 2) {
        std::string_view name = Tcl_GetString(items[k]);
        const LearnedOption<R>* option = nullptr;
        for (const LearnedOption<R>& o : options)
            if (o.name == name) option = &o;
        if (!option) return "unknown option \"" + std::string(name) + "\"";
        if (!option->read(items[k + 1], r))
            return "bad value for " + std::string(name) + ": \"" + Tcl_GetString(items[k + 1]) + "\"";
    }
    return "";
}

int learnFailed(Tcl_Interp* interp, const std::string& text) {
    Tcl_SetObjResult(interp, Tcl_NewStringObj(text.c_str(), -1));
    return TCL_ERROR;
}

// The bridge MAC the learned information is filed under, "" when it is none.
std::string bridgeKey(Tcl_Obj* o) {
    auto mac = parseMac(Tcl_GetString(o));
    return mac ? formatMac(*mac) : "";
}

int learnStpBridge(Tcl_Interp* interp, chassis::Port& port, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2)
        return learnFailed(interp, "wrong # args: should be \"zkchassis::learn stpBridge C D P bridgeMac info\"");
    std::string key = bridgeKey(objv[0]);
    if (key.empty())
        return learnFailed(interp,
                           std::string("invalid bridgeMac \"") + Tcl_GetString(objv[0]) + "\": expected a MAC address");
    auto data = std::make_shared<LearnedStpBridge>();
    if (std::string why = parsePairs<Bridge>(objv[1], kBridgeOptions, data->bridge); !why.empty())
        return learnFailed(interp, "info: " + why);
    chassis::Lab::instance().replies().learn(port.id.key(), stp::kBridgeKind, key, data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

int learnStpInterfaces(Tcl_Interp* interp, chassis::Port& port, int objc, Tcl_Obj* const objv[]) {
    if (objc != 2)
        return learnFailed(interp,
                           "wrong # args: should be \"zkchassis::learn stpInterfaces C D P bridgeMac interfaceList\"");
    std::string key = bridgeKey(objv[0]);
    if (key.empty())
        return learnFailed(interp,
                           std::string("invalid bridgeMac \"") + Tcl_GetString(objv[0]) + "\": expected a MAC address");
    int count;
    Tcl_Obj** items;
    if (Tcl_ListObjGetElements(interp, objv[1], &count, &items) != TCL_OK) return TCL_ERROR;
    auto data = std::make_shared<LearnedStpInterfaces>();
    data->interfaces.resize(size_t(count));
    for (int i = 0; i < count; ++i)
        if (std::string why = parsePairs<Interface>(items[i], kInterfaceOptions, data->interfaces[size_t(i)]);
            !why.empty())
            return learnFailed(interp, "interface " + std::to_string(i + 1) + " of interfaceList: " + why);
    chassis::Lab::instance().replies().learn(port.id.key(), stp::kInterfacesKind, key, data);
    Tcl_ResetResult(interp);
    return TCL_OK;
}

struct RegisterLearnedStp {
    RegisterLearnedStp() {
        chassis::registerLearnKind(stp::kBridgeKind, "bridgeMac info", learnStpBridge);
        chassis::registerLearnKind(stp::kInterfacesKind, "bridgeMac interfaceList", learnStpInterfaces);
    }
} registerLearnedStp;

}  // namespace
}  // namespace zk
