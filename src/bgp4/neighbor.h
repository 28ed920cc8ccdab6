// One emulated BGP-4 peer: its session (addresses, AS, timers, TCP MD5,
// graceful restart, link flap), the address families it negotiates, and
// the named lists of what it advertises.
#pragma once

#include <string>

#include "binding/staged.h"
#include "bgp4/routes.h"
#include "hal/bgp.h"

namespace zk {

class TCLBgp4Neighbor : public binding::Staged<TCLBgp4Neighbor, hal::EBGP::ConfigNeighbor> {
public:
    explicit TCLBgp4Neighbor(TCLBgp4RouteRange* pBgpRouteRange);

    int type;
    int enable;
    int addressType;
    std::string localIpAddress;
    std::string dutIpAddress;
    int localAsNum;
    int asNumMode;
    int asNumStep;
    std::string bgpId;
    int holdTime;
    int keepAlive;
    int updateInterval;
    int ttl;
    std::string md5Key;
    int enableGracefulRestart;
    int restartTime;
    int staleTime;
    int enableLinkFlap;
    int linkFlapUpTime;
    int linkFlapDownTime;
    int enableIpV4Unicast;
    int enableIpV4Multicast;
    int enableIpV4Mpls;
    int enableIpV4MplsVpn;
    int enableIpV6Unicast;
    int enableIpV6Multicast;
    int enableIpV6Mpls;
    int enableIpV6MplsVpn;

    ChildList<TCLBgp4RouteRange, &hal::EBGP::ConfigNeighbor::routeRanges> routeRanges;

    int intoRecordRest(hal::EBGP::ConfigNeighbor& r);
    void fromRecordRest(const hal::EBGP::ConfigNeighbor& r);
};

}  // namespace zk
