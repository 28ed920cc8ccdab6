#include "ospf/router.h"

#include "binding/collection_methods.h"
#include "core/port_feature.h"

namespace zk {

TCLOspfRouter::TCLOspfRouter(TCLOspfInterface* pOspfInterface, TCLOspfRouteRange* pOspfRouteRange,
                             TCLOspfUserLsaGroup* pOspfUserLsaGroup)
    : interfaces(this, pOspfInterface), routeRanges(this, pOspfRouteRange), userLsaGroups(this, pOspfUserLsaGroup) {
    setDefault();
}

// Graceful restart needs the port's OSPF features; elsewhere the HAL keeps
// its defaults and a differing option is reported, without failing.
int TCLOspfRouter::intoRecordRest(hal::EOSPFRouter& r) {
    const hal::EOSPFRouter defaults;  // VerifyDefaultSettings
    if (portHasFeature("TCLOspfRouter::SetOspfRouter()", [](const Port& p) { return p.ospfFeatures != 0; },
                       {{"enableGracefulRestart", enableGracefulRestart != int(defaults.gracefulRestart)},
                        {"enableRebuildAdjacency", enableRebuildAdjacency != int(defaults.rebuildAdj)}})) {
        r.gracefulRestart = enableGracefulRestart != 0;
        r.rebuildAdj = enableGracefulRestart ? enableRebuildAdjacency != 0 : work().rebuildAdj;
        return kOk;
    }
    r.gracefulRestart = defaults.gracefulRestart;
    r.rebuildAdj = defaults.rebuildAdj;
    return kOk;
}

namespace {

// The router ID: four bytes, written and read as a dotted address.
hal::EBlob routerIdBytes(const std::string& text) {
    uint32_t id = parseIPv4(text).value_or(0);
    return hal::EBlob({uint8_t(id >> 24), uint8_t(id >> 16), uint8_t(id >> 8), uint8_t(id)});
}

std::string routerIdText(const hal::EBlob& b) {
    uint32_t id = 0;
    for (size_t i = 0; i < 4; ++i) id = id << 8 | (i < b.bytes.size() ? b.bytes[i] : 0);
    return formatIPv4(id);
}

}  // namespace

static binding::Describe<TCLOspfRouter> describeOspfRouter("TCLOspfRouter", [](auto& c) {
    using T = TCLOspfRouter;
    using R = hal::EOSPFRouter;
    c.template constructor<TCLOspfInterface*, TCLOspfRouteRange*, TCLOspfUserLsaGroup*>(
        "pOspfInterface", "pOspfRouteRange", "pOspfUserLsaGroup");
    c.option("routerId", &T::routerId)
        .check(ipv4, "TCLOspfRouter::Validate()   Invalid routerId")
        .mapsVia(routerIdBytes, routerIdText, &R::routerId);
    c.option("enable", &T::enable).check(boolean, "TCLOspfRouter::Validate()   Invalid enable.").maps(&R::enabled);
    c.option("autoGenerateRouterLsa", &T::autoGenerateRouterLsa)
        .check(boolean, "TCLOspfRouter::Validate()   Invalid autoGenerateRouterLsa.")
        .maps(&R::generateRouterLsa);
    c.option("enableDiscardLearnedLsas", &T::enableDiscardLearnedLsas)
        .check(boolean, "TCLOspfRouter::Validate()   Invalid enableDiscardLearnedLsas.")
        .maps(&R::discardLearned);
    // Both need the port's OSPF features (intoRecordRest); read back as stored.
    c.option("enableGracefulRestart", &T::enableGracefulRestart).maps(&R::gracefulRestart);
    c.option("enableRebuildAdjacency", &T::enableRebuildAdjacency).maps(&R::rebuildAdj);
    c.checkOrder({"enable", "autoGenerateRouterLsa", "routerId", "enableDiscardLearnedLsas"});
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::interfaces>(c, "Interface", "interfaceLocalId", "clearAllInterfaces");
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeLocalId", "clearAllRouteRanges");
    describeCollection<&T::userLsaGroups>(c, "UserLsaGroup", "userLsaGroupLocalId", "clearAllLsaGroups");
});

static binding::Describe<TCLOspfServer> describeOspfServer("TCLOspfServer", [](auto& c) {
    describeRouterServer<&TCLOspfServer::routers>(c, "pOspfRouter");
});

}  // namespace zk
