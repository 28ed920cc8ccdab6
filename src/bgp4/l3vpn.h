// BGP/MPLS IP VPN sites: the VPN routes behind the emulated PE and the
// route targets each site imports and exports.
#pragma once

#include <string>

#include "binding/staged.h"
#include "bgp4/routes.h"
#include "hal/bgp.h"

namespace zk {

class TCLBgp4RouteTarget : public binding::Staged<TCLBgp4RouteTarget, hal::EBGP::ConfigRouteTarget> {
public:
    TCLBgp4RouteTarget() { setDefault(); }

    int targetType;
    int targetAsNum;
    std::string targetIpAddress;
    unsigned targetAssignedNum;
};

// Import and export targets share one staging route target.
class TCLBgp4L3Site : public binding::Staged<TCLBgp4L3Site, hal::EBGP::ConfigL3Site> {
public:
    TCLBgp4L3Site(TCLBgp4VpnRouteRange* pVpnRouteRange, TCLBgp4RouteTarget* pRouteTarget);

    int enable;
    std::string description;

    ChildList<TCLBgp4VpnRouteRange, &hal::EBGP::ConfigL3Site::vpnRouteRanges> vpnRouteRanges;
    ChildList<TCLBgp4RouteTarget, &hal::EBGP::ConfigL3Site::importTargets> importTargets;
    ChildList<TCLBgp4RouteTarget, &hal::EBGP::ConfigL3Site::exportTargets> exportTargets;
};

}  // namespace zk
