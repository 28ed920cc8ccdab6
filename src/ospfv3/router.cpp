#include "ospfv3/router.h"

#include "binding/collection_methods.h"
#include "core/port_feature.h"

namespace zk {

TCLOspfV3Router::TCLOspfV3Router(TCLOspfV3Interface* pOspfV3Interface, TCLOspfV3RouteRange* pOspfV3RouteRange,
                                 TCLOspfV3UserLsaGroup* pOspfV3UserLsaGroup)
    : interfaces(this, pOspfV3Interface),
      routeRanges(this, pOspfV3RouteRange),
      userLsaGroups(this, pOspfV3UserLsaGroup) {
    setDefault();
}

// Graceful restart needs the port's OSPF features, as in OSPFv2; elsewhere
// the record keeps its default and a differing option is reported, without
// failing.
int TCLOspfV3Router::intoRecordRest(hal::EOSPFv3Router& r) {
    const hal::EOSPFv3Router defaults;
    if (!portHasFeature("TCLOspfV3Router::SetOspfV3Router()", [](const Port& p) { return p.ospfFeatures != 0; },
                        {{"enableGracefulRestart", enableGracefulRestart != int(defaults.gracefulRestart)}}))
        r.gracefulRestart = defaults.gracefulRestart;
    return kOk;
}

static binding::Describe<TCLOspfV3Router> describeOspfV3Router("TCLOspfV3Router", [](auto& c) {
    using T = TCLOspfV3Router;
    using R = hal::EOSPFv3Router;
    c.template constructor<TCLOspfV3Interface*, TCLOspfV3RouteRange*, TCLOspfV3UserLsaGroup*>(
        "pOspfV3Interface", "pOspfV3RouteRange", "pOspfV3UserLsaGroup");
    c.option("routerId", &T::routerId).check(ipv4).maps(&R::routerId);  // 32 bits, as in OSPFv2
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("enableAreaBorderRouter", &T::enableAreaBorderRouter).check(boolean).maps(&R::areaBorder);
    c.option("enableAsBoundaryRouter", &T::enableAsBoundaryRouter).check(boolean).maps(&R::asBoundary);
    c.option("enableGracefulRestart", &T::enableGracefulRestart).check(boolean).maps(&R::gracefulRestart);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::interfaces>(c, "Interface", "interfaceLocalId", "clearAllInterfaces");
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeLocalId", "clearAllRouteRanges");
    describeCollection<&T::userLsaGroups>(c, "UserLsaGroup", "userLsaGroupLocalId", "clearAllLsaGroups");
});

static binding::Describe<TCLOspfV3Server> describeOspfV3Server("TCLOspfV3Server", [](auto& c) {
    describeRouterServer<&TCLOspfV3Server::routers>(c, "pOspfV3Router");
});

}  // namespace zk
