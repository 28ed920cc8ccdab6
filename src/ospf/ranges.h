// OSPF route ranges (blocks of networks a router advertises) and network
// ranges (an emulated grid of routers and subnets behind an interface),
// and the traffic-engineering bandwidth options that interfaces, ranges
// and user LSAs share.
#pragma once

#include <array>
#include <string>

#include "binding/staged.h"
#include "hal/ospf.h"

namespace zk {

// Bandwidths of traffic engineering (bytes per second): interfaces and
// network ranges carry them to the HAL as they stand and only read them
// back; user LSAs let scripts set them.
struct TeBandwidths {
    double maxBandwidth = 0;
    double maxReservableBandwidth = 0;
    double unreservedBandwidthPriority0 = 0, unreservedBandwidthPriority1 = 0, unreservedBandwidthPriority2 = 0,
           unreservedBandwidthPriority3 = 0, unreservedBandwidthPriority4 = 0, unreservedBandwidthPriority5 = 0,
           unreservedBandwidthPriority6 = 0, unreservedBandwidthPriority7 = 0;

    struct Field {
        const char* name;
        double TeBandwidths::*member;
    };
    // maxBandwidth, maxReservableBandwidth, then priorities 0 to 7.
    static const std::array<Field, 10> kFields;

    void loadBandwidths(const hal::ETrafficEngineeringData& te);
    void fillBandwidths(hal::ETrafficEngineeringData& te) const;
};

template <class T>
void describeBandwidths(binding::ClassDesc<T>& c, size_t first, size_t last, bool writable) {
    for (size_t i = first; i <= last; ++i) {
        const auto& f = TeBandwidths::kFields[i];
        if (writable) c.option(f.name, f.member);
        else c.readOnly(f.name, f.member);
    }
}
template <class T>
void describeMaxBandwidths(binding::ClassDesc<T>& c, bool writable = false) {
    describeBandwidths(c, 0, 1, writable);
}
template <class T>
void describeUnreservedBandwidths(binding::ClassDesc<T>& c, bool writable = false) {
    describeBandwidths(c, 2, 9, writable);
}

// Text forms of options that validation has already accepted.
hal::EIPAddress validAddress(const std::string& ipv4Text);  // 0.0.0.0 for anything else
hal::EBlob adminGroupBlob(const std::string& text);         // four bytes
// The administrative group as scripts read it back: four hex bytes, "00 00 00 0a".
std::string adminGroupText(const hal::EBlob& group);

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
