// User LSAs: LSAs that a script builds field by field and an emulated
// router advertises as they are, grouped in named LSA groups. The same
// record receives the LSAs an interface has learned.
#pragma once

#include <string>

#include "core/collection.h"
#include "core/object.h"
#include "hal/ospf.h"
#include "ospf/ranges.h"

namespace zk {

class TCLOspfUserLsa : public Object, public TeBandwidths {
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

    void setDefault() { FromRecord(hal::EOSPFUserLSA{}); }
    int ToRecord(hal::EOSPFUserLSA& r);
    void FromRecord(const hal::EOSPFUserLSA& r);

private:
    bool Validate();
};

class TCLOspfUserLsaGroup : public Object {
public:
    explicit TCLOspfUserLsaGroup(TCLOspfUserLsa* pOspfUserLsa);

    int enable;
    int areaId;
    std::string description;

    Collection<TCLOspfUserLsa, hal::EOSPFUserLSA> userLsas;

    void setDefault();
    int ToRecord(hal::EOSPFUserLSAGroup& r);
    void FromRecord(const hal::EOSPFUserLSAGroup& r);
    std::vector<CollectionBase*> childCollections() override { return {&userLsas}; }

private:
    bool Validate();
    hal::EOSPFUserLSAGroup work_;
    ItemList userLsaNames_;
};

}  // namespace zk
