#include "bgp4/l3vpn.h"

#include "binding/collection_methods.h"

namespace zk {

static binding::Describe<TCLBgp4RouteTarget> describeBgp4RouteTarget("TCLBgp4RouteTarget", [](auto& c) {
    using T = TCLBgp4RouteTarget;
    c.constructor();
    describeAdministrator(c, "target", &T::targetType, &T::targetAsNum, &T::targetIpAddress, &T::targetAssignedNum,
                          &hal::EBGP::ConfigRouteTarget::target);
    c.method("setDefault", &T::setDefault);
});

TCLBgp4L3Site::TCLBgp4L3Site(TCLBgp4VpnRouteRange* pVpnRouteRange, TCLBgp4RouteTarget* pRouteTarget)
    : vpnRouteRanges(this, pVpnRouteRange), importTargets(this, pRouteTarget), exportTargets(this, pRouteTarget) {
    setDefault();
}

static binding::Describe<TCLBgp4L3Site> describeBgp4L3Site("TCLBgp4L3Site", [](auto& c) {
    using T = TCLBgp4L3Site;
    using R = hal::EBGP::ConfigL3Site;
    c.template constructor<TCLBgp4VpnRouteRange*, TCLBgp4RouteTarget*>("pVpnRouteRange", "pRouteTarget");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("description", &T::description).check(maxLength(255)).maps(&R::description);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::vpnRouteRanges>(c, "VpnRouteRange", "vpnRouteRangeId", "clearAllVpnRouteRanges");
    describeCollection<&T::importTargets>(c, "ImportTarget", "importTargetId", "clearAllImportTargets");
    describeCollection<&T::exportTargets>(c, "ExportTarget", "exportTargetId", "clearAllExportTargets");
});

}  // namespace zk
