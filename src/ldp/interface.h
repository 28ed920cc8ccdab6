// Where an emulated LDP router finds its peers: its interfaces (basic and
// extended discovery, with the label ranges of an ATM interface) and its
// targeted peers.
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/ldp.h"

namespace zk {

class TCLLdpAtmLabelRange : public binding::Staged<TCLLdpAtmLabelRange, hal::ELdpAtmLabelRange> {
public:
    TCLLdpAtmLabelRange() { setDefault(); }

    int minVpi;
    int maxVpi;
    int minVci;
    int maxVci;
};

class TCLLdpInterface : public binding::Staged<TCLLdpInterface, hal::ELdpInterface> {
public:
    explicit TCLLdpInterface(TCLLdpAtmLabelRange* pLdpAtmLabelRange) : atmLabelRanges(this, pLdpAtmLabelRange) {
        setDefault();
    }

    int enable;
    std::string ipAddress;
    std::string ipMask;
    int discoveryMode;
    int labelDistribution;
    int controlMode;
    int helloInterval;
    int holdTime;
    int atmVcDirection;
    std::string protocolInterfaceDescription;

    ChildList<TCLLdpAtmLabelRange, &hal::ELdpInterface::atmLabelRanges> atmLabelRanges;

    int intoRecordRest(hal::ELdpInterface& r);
};

class TCLLdpTargetedPeer : public binding::Staged<TCLLdpTargetedPeer, hal::ELdpTargetedPeer> {
public:
    TCLLdpTargetedPeer() { setDefault(); }

    int enable;
    std::string peerAddress;
    int helloInterval;
    int holdTime;
};

}  // namespace zk
