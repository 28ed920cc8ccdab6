// OSPFv3 route ranges (blocks of IPv6 prefixes a router advertises) and
// network ranges (an emulated grid of routers and IPv6 subnets behind an
// interface).
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/ospfv3.h"

namespace zk {

class TCLOspfV3RouteRange : public binding::Staged<TCLOspfV3RouteRange, hal::EOSPFv3RouteRange> {
public:
    TCLOspfV3RouteRange() { setDefault(); }

    int enable;
    int routeOrigin;
    int metric;
    int numberOfNetworks;
    int prefix;
    std::string networkIpAddress;
};

class TCLOspfV3NetworkRange : public binding::Staged<TCLOspfV3NetworkRange, hal::EOSPFv3NetworkRange> {
public:
    TCLOspfV3NetworkRange() { setDefault(); }

    int entryPointRow;
    int entryPointColumn;
    int numRows;
    int numColumns;
    std::string firstRouterId;
    std::string routerIdIncrementBy;
    std::string firstSubnetIpAddress;
    int maskWidth;
    std::string subnetIpIncrementBy;
    int linkType;
    int enableBBit;
    int enableEBit;
    int numSubnets;
    int numRouters;
    int numGeneratedLsas;

    int intoRecordRest(hal::EOSPFv3NetworkRange& r);
    void fromRecordRest(const hal::EOSPFv3NetworkRange& r);
};

}  // namespace zk
