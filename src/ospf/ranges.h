// OSPF route ranges (blocks of networks a router advertises) and network
// ranges (an emulated grid of routers and subnets behind an interface),
// and the traffic-engineering bandwidth options that interfaces, ranges
// and user LSAs share.
#pragma once

#include <string>

#include "binding/describe.h"
#include "core/object.h"
#include "hal/ospf.h"

namespace zk {

// Bandwidths of traffic engineering: carried to the HAL as they stand and
// read back; scripts cannot configure them.
struct TeBandwidths {
    double maxBandwidth = 0;
    double maxReservableBandwidth = 0;
    double unreservedBandwidthPriority0 = 0, unreservedBandwidthPriority1 = 0, unreservedBandwidthPriority2 = 0,
           unreservedBandwidthPriority3 = 0, unreservedBandwidthPriority4 = 0, unreservedBandwidthPriority5 = 0,
           unreservedBandwidthPriority6 = 0, unreservedBandwidthPriority7 = 0;

    void loadBandwidths(const hal::ETrafficEngineeringData& te);
    void fillBandwidths(hal::ETrafficEngineeringData& te) const;
};

// The read-only options of TeBandwidths, in the order the classes list them.
template <class T>
void describeMaxBandwidths(binding::ClassDesc<T>& c) {
    c.readOnly("maxBandwidth", &TeBandwidths::maxBandwidth);
    c.readOnly("maxReservableBandwidth", &TeBandwidths::maxReservableBandwidth);
}
template <class T>
void describeUnreservedBandwidths(binding::ClassDesc<T>& c) {
    c.readOnly("unreservedBandwidthPriority0", &TeBandwidths::unreservedBandwidthPriority0);
    c.readOnly("unreservedBandwidthPriority1", &TeBandwidths::unreservedBandwidthPriority1);
    c.readOnly("unreservedBandwidthPriority2", &TeBandwidths::unreservedBandwidthPriority2);
    c.readOnly("unreservedBandwidthPriority3", &TeBandwidths::unreservedBandwidthPriority3);
    c.readOnly("unreservedBandwidthPriority4", &TeBandwidths::unreservedBandwidthPriority4);
    c.readOnly("unreservedBandwidthPriority5", &TeBandwidths::unreservedBandwidthPriority5);
    c.readOnly("unreservedBandwidthPriority6", &TeBandwidths::unreservedBandwidthPriority6);
    c.readOnly("unreservedBandwidthPriority7", &TeBandwidths::unreservedBandwidthPriority7);
}

class TCLOspfRouteRange : public Object {
public:
    TCLOspfRouteRange() { setDefault(); }

    int enable;
    int routeOrigin;
    int metric;
    int numberOfNetworks;
    int prefix;
    std::string networkIpAddress;

    void setDefault() { FromRecord(hal::EOSPFRouteRange{}); }
    int ToRecord(hal::EOSPFRouteRange& r);
    void FromRecord(const hal::EOSPFRouteRange& r);

private:
    bool Validate();
};

class TCLOspfNetworkRange : public Object, public TeBandwidths {
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

    void setDefault() { FromRecord(hal::EOSPFNetworkRange{}); }
    int ToRecord(hal::EOSPFNetworkRange& r);
    void FromRecord(const hal::EOSPFNetworkRange& r);

private:
    bool Validate();
    void setGridSize(hal::EOSPFNetworkRange& r) const;
    void loadCounts(const hal::EOSPFNetworkRange& r);
};

}  // namespace zk
