// One OSPFv2 interface of an emulated router: addressing, area, timers,
// authentication, traffic-engineering link data, the network range it
// advertises, and the LSAs it has learned from the port.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/equipment.h"
#include "core/learned.h"
#include "hal/ospf.h"
#include "ospf/ranges.h"
#include "ospf/user_lsa.h"

namespace zk {

// What `zkchassis::learn ospfLsas` files the lists under: the kind, and per
// list the interface address in its dotted form.
inline constexpr const char* kOspfLsasKind = "ospfLsas";

class TCLOspfInterface : public binding::Staged<TCLOspfInterface, hal::EOSPFInterface>, public TeBandwidths {
public:
    TCLOspfInterface(TCLOspfUserLsa* pOspfUserLsa, TCLOspfNetworkRange* pOspfNetworkRange);

    int enable;
    int connectToDut;
    std::string ipAddress;
    std::string ipMask;
    int areaId;
    int priority;
    int options;
    int helloInterval;
    int deadInterval;
    int networkType;
    int metric;
    int enableTrafficEngineering;
    int linkMetric;
    std::string adminGroup;
    int linkType;
    std::string neighborRouterId;
    int mtuSize;
    int enableValidateMtu;
    int enableAdvertiseNetworkRange;
    int authenticationMethod;
    int md5KeyId;
    std::string password;
    std::string md5Key;
    std::string neighborIp;
    std::string protocolInterfaceDescription;
    int numberOfLearnedLsas;

    void setDefault();

    void FromRecord(const hal::EOSPFInterface& r);
    int intoRecordRest(hal::EOSPFInterface& r);
    void fromRecordRest(const hal::EOSPFInterface& r) { loadBandwidths(r.te); }

    // The LSAs the interface learned (its description declares the methods).
    LearnedWalk<hal::EOSPFUserLSA, TCLOspfUserLsa> learnedLsas;

private:
    void setPortFeatures(hal::EOSPFInterface& r) const;

    Ref<TCLOspfNetworkRange> networkRange_;

};

}  // namespace zk
