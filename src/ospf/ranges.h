// OSPF route ranges (blocks of networks a router advertises) and network
// ranges (an emulated grid of routers and subnets behind an interface).
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/te_options.h"
#include "hal/ospf.h"

namespace zk {

class TCLOspfRouteRange : public binding::Staged<TCLOspfRouteRange, hal::EOSPFRouteRange> {
public:
    TCLOspfRouteRange() { setDefault(); }

    int enable;
    int routeOrigin;
    int metric;
    int numberOfNetworks;
    int prefix;
    std::string networkIpAddress;
};

class TCLOspfNetworkRange : public binding::Staged<TCLOspfNetworkRange, hal::EOSPFNetworkRange>, public TeBandwidths {
public:
    TCLOspfNetworkRange() { setDefault(); }

    int entryPointRow;
    int entryPointColumn;
    int numRows;
    int numColumns;
    std::string firstRouterId;
    std::string firstSubnetIpAddress;
    std::string routerIdIncrementBy;
    std::string subnetIpIncrementBy;
    int enableIncrementIpFromMask;
    int maskWidth;
    int linkType;
    int enableBBit;
    int enableEBit;
    int enableAdvertiseRouterLsaLoopback;
    int enableTe;
    int linkMetric;
    int numSubnets;
    int numRouters;
    int numGeneratedLsas;

    int intoRecordRest(hal::EOSPFNetworkRange& r);
    void fromRecordRest(const hal::EOSPFNetworkRange& r);
};

}  // namespace zk
