// One OSPFv3 interface of an emulated router: its IPv6 address and
// prefix, Interface and Instance IDs, area, network type, timers, the grid
// it may advertise, and the LSAs it has learned from the port, read one by
// one into a read-only learned-LSA object.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/equipment.h"
#include "core/learned.h"
#include "hal/ospfv3.h"
#include "ospfv3/ranges.h"

namespace zk {

// What `zkchassis::learn ospfv3Lsas` files the lists under: the kind, and
// per list the interface address in its canonical IPv6 form.
inline constexpr const char* kOspfV3LsasKind = "ospfv3Lsas";
std::string ospfV3LearnedKey(const std::string& ipv6Text);

// One learned LSA; every option only reads.
class TCLOspfV3LearnedLsa : public binding::Staged<TCLOspfV3LearnedLsa, hal::EOSPFv3LearnedLSA> {
public:
    TCLOspfV3LearnedLsa() { setDefault(); }

    int lsaType;
    std::string linkStateId;
    std::string advertisingRouterId;
    unsigned sequenceNumber;
    int lsaAge;
    std::string prefixes;  // Tcl list of address/length
};

class TCLOspfV3Interface : public binding::Staged<TCLOspfV3Interface, hal::EOSPFv3Interface> {
public:
    TCLOspfV3Interface(TCLOspfV3LearnedLsa* pOspfV3LearnedLsa, TCLOspfV3NetworkRange* pOspfV3NetworkRange);

    int enable;
    int connectToDut;
    std::string ipAddress;
    int prefixLength;
    int interfaceId;
    int instanceId;
    int areaId;
    int networkType;
    int options;
    int priority;
    int helloInterval;
    int deadInterval;
    int metric;
    int mtuSize;
    std::string protocolInterfaceDescription;
    int numberOfLearnedLsas;

    void setDefault();

    void FromRecord(const hal::EOSPFv3Interface& r);
    int intoRecordRest(hal::EOSPFv3Interface& r);

    // The LSAs the interface learned (its description declares the methods).
    LearnedWalk<hal::EOSPFv3LearnedLSA, TCLOspfV3LearnedLsa> learnedLsas;

private:
    Ref<TCLOspfV3NetworkRange> networkRange_;

};

}  // namespace zk
