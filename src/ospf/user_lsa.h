// User LSAs: LSAs that a script builds field by field and an emulated
// router advertises as they are, grouped in named LSA groups. The same
// record receives the LSAs an interface has learned.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/collection.h"
#include "hal/ospf.h"
#include "ospf/ranges.h"

namespace zk {

class TCLOspfUserLsa : public binding::Staged<TCLOspfUserLsa, hal::EOSPFUserLSA>, public TeBandwidths {
public:
    TCLOspfUserLsa() { setDefault(); }

    // Common header.
    int lsaType;
    std::string linkStateId;
    std::string advertisingRouterId;
    int options;
    unsigned sequenceNumber;
    int lsaAge;
    // Router LSA.
    int routerBits;
    std::string routerLinks;  // Tcl list of {linkType linkId linkData metric}
    // Network LSA; the mask also serves summary and external LSAs.
    std::string networkMask;
    std::string attachedRouters;  // Tcl list of router IDs
    // Summary and external LSAs.
    int metric;
    int externalMetricType;
    std::string forwardingAddress;
    unsigned externalRouteTag;
    // Opaque traffic-engineering LSA.
    int tlvType;
    std::string routerAddress;
    int tlvLinkType;
    std::string tlvLinkId;
    std::string localIpAddress;
    std::string remoteIpAddress;
    int teMetric;
    std::string adminGroup;

    int intoRecordRest(hal::EOSPFUserLSA& r);
    void fromRecordRest(const hal::EOSPFUserLSA& r);
};

class TCLOspfUserLsaGroup : public binding::Staged<TCLOspfUserLsaGroup, hal::EOSPFUserLSAGroup> {
public:
    explicit TCLOspfUserLsaGroup(TCLOspfUserLsa* pOspfUserLsa);

    int enable;
    int areaId;
    std::string description;

    ChildList<TCLOspfUserLsa, &hal::EOSPFUserLSAGroup::lsas> userLsas;
};

}  // namespace zk
