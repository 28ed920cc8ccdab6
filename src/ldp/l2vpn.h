// Layer-2 VPNs an emulated LDP router signals: pseudowire interfaces of
// every PW type (RFC 4447, 4448), their ranges of VCs, and the MAC
// addresses behind a VPLS instance (RFC 4762).
#pragma once

#include <string>

#include "binding/staged.h"
#include "hal/ldp.h"

namespace zk {

class TCLLdpL2VpnVcRange : public binding::Staged<TCLLdpL2VpnVcRange, hal::ELdpL2VpnVcRange> {
public:
    TCLLdpL2VpnVcRange() { setDefault(); }

    int enable;
    std::string peerAddress;
    unsigned firstVcId;
    unsigned vcIdStep;
    int count;
    int labelMode;
    int firstLabel;
    int enableControlWord;
    int firstVlanId;
    int vlanIdStep;
    int cemPayloadBytes;
};

class TCLLdpVplsMacRange : public binding::Staged<TCLLdpVplsMacRange, hal::ELdpVplsMacRange> {
public:
    TCLLdpVplsMacRange() { setDefault(); }

    int enable;
    std::string firstMac;
    int count;
    int step;
    int vlanId;
};

class TCLLdpL2VpnInterface : public binding::Staged<TCLLdpL2VpnInterface, hal::ELdpL2VpnInterface> {
public:
    TCLLdpL2VpnInterface(TCLLdpL2VpnVcRange* pLdpL2VpnVcRange, TCLLdpVplsMacRange* pLdpVplsMacRange)
        : vcRanges(this, pLdpL2VpnVcRange), macRanges(this, pLdpVplsMacRange) {
        setDefault();
    }

    int enable;
    int type;
    unsigned groupId;
    int mtu;
    std::string description;

    ChildList<TCLLdpL2VpnVcRange, &hal::ELdpL2VpnInterface::vcRanges> vcRanges;
    ChildList<TCLLdpVplsMacRange, &hal::ELdpL2VpnInterface::macRanges> macRanges;

    int intoRecordRest(hal::ELdpL2VpnInterface& r);
};

}  // namespace zk
