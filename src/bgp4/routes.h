// The routes a BGP-4 neighbor advertises: route ranges of either family,
// with their AS_PATH segments and extended communities as named items.
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/bgp.h"

namespace zk {

// One AS_PATH segment of a route range.
class TCLBgp4AsPathItem : public binding::Staged<TCLBgp4AsPathItem, hal::EBGP::ConfigAsPathSegment> {
public:
    TCLBgp4AsPathItem() { setDefault(); }

    int segmentType;
    std::string asList;
};

class TCLBgp4ExtendedCommunity
    : public binding::Staged<TCLBgp4ExtendedCommunity, hal::EBGP::ConfigExtendedCommunity> {
public:
    TCLBgp4ExtendedCommunity() { setDefault(); }

    int type;
    int subType;
    std::string value;
};

// The path attributes every block of advertised routes carries; route
// ranges, MPLS route ranges and VPN route ranges share them.
struct Bgp4RouteOptions {
    int enable;
    std::string networkAddress;
    int fromPrefix;
    int thruPrefix;
    int numberOfRoutes;
    int routeStep;
    int origin;
    int asPathMode;
    int nextHopSetMode;
    int nextHopMode;
    std::string nextHopIpAddress;
    unsigned localPref;
    int enableMed;
    unsigned med;
    std::string communities;
    int enableAtomicAggregate;
    int aggregatorAsNum;
    std::string aggregatorIpAddress;
    std::string originatorId;
    std::string clusterList;
    int enableFlapping;
    int flapUpTime;
    int flapDownTime;
};

class TCLBgp4RouteRange : public binding::Staged<TCLBgp4RouteRange, hal::EBGP::ConfigRouteRange>,
                          public Bgp4RouteOptions {
public:
    TCLBgp4RouteRange(TCLBgp4AsPathItem* pAsPathItem, TCLBgp4ExtendedCommunity* pExtendedCommunity);

    ChildList<TCLBgp4AsPathItem, &hal::EBGP::ConfigRouteRange::asPath> asPathItems;
    ChildList<TCLBgp4ExtendedCommunity, &hal::EBGP::ConfigRouteRange::extendedCommunities> extendedCommunities;
};

}  // namespace zk
