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

struct Bgp4LabelOptions {
    int labelMode;
    int startLabel;
};

// Labelled unicast routes; their AS path comes from the AS-path mode alone.
class TCLBgp4MplsRouteRange : public binding::Staged<TCLBgp4MplsRouteRange, hal::EBGP::ConfigMplsRouteRange>,
                              public Bgp4RouteOptions,
                              public Bgp4LabelOptions {
public:
    TCLBgp4MplsRouteRange() { setDefault(); }
};

// A route distinguisher or a route target: an AS number or an address, and
// the number assigned under it.
struct Bgp4Administrator {
    int type;
    int asNum;
    std::string ipAddress;
    unsigned assignedNum;
};

class TCLBgp4VpnRouteRange : public binding::Staged<TCLBgp4VpnRouteRange, hal::EBGP::ConfigVpnRouteRange>,
                             public Bgp4RouteOptions,
                             public Bgp4LabelOptions {
public:
    TCLBgp4VpnRouteRange() { setDefault(); }

    int distinguisherType;
    int distinguisherAsNum;
    std::string distinguisherIpAddress;
    unsigned distinguisherAssignedNum;
    int distinguisherIncrementMode;
    unsigned distinguisherStep;
};

// The checks and mappings of a distinguisher or target whose options are
// <prefix>Type, <prefix>AsNum, <prefix>IpAddress and <prefix>AssignedNum.
template <class T, class B, class... Path>
void describeAdministrator(binding::ClassDesc<T>& c, const std::string& prefix, int B::*type, int B::*asNum,
                           std::string B::*ipAddress, unsigned B::*assignedNum, Path... path) {
    using A = hal::EBGP::ConfigAdministrator;
    c.option((prefix + "Type").c_str(), type).check(range(0, 1)).maps(path..., &A::type);
    c.option((prefix + "AsNum").c_str(), asNum).check(range(0, 65535)).maps(path..., &A::asNumber);
    c.option((prefix + "IpAddress").c_str(), ipAddress).check(ipv4).maps(path..., &A::ipAddress);
    // Beside an address the assigned number has 16 bits.
    c.option((prefix + "AssignedNum").c_str(), assignedNum)
        .check([type, assignedNum](const T& t) { return t.*type != 1 || t.*assignedNum <= 65535; })
        .maps(path..., &A::assignedNumber);
}

}  // namespace zk
