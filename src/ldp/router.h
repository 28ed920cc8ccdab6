// The LDP server of a port and the emulated label switching routers it
// holds, each with its interfaces, targeted peers, FEC ranges, layer-2
// VPN interfaces and the labels it learned.
#pragma once

#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/learned.h"
#include "core/port_server.h"
#include "hal/ldp.h"
#include "ldp/interface.h"
#include "ldp/l2vpn.h"
#include "ldp/learned.h"
#include "ldp/ranges.h"

namespace zk {

class TCLLdpRouter : public binding::Staged<TCLLdpRouter, hal::ELdpRouter> {
public:
    TCLLdpRouter(TCLLdpInterface* pLdpInterface, TCLLdpTargetedPeer* pLdpTargetedPeer,
                 TCLLdpAdvertiseFecRange* pLdpAdvertiseFecRange, TCLLdpRequestFecRange* pLdpRequestFecRange,
                 TCLLdpL2VpnInterface* pLdpL2VpnInterface, TCLLdpLearnedLabel* pLdpLearnedLabel);

    int enable;
    std::string routerId;
    int labelSpaceId;
    std::string transportAddress;
    int keepAliveInterval;
    int keepAliveHoldTime;
    int enableGracefulRestart;
    int reconnectTime;
    int recoveryTime;
    int numberOfLearnedLabels;

    // A router's lists need no port: the router is only a record until the
    // server adds it.
    ChildList<TCLLdpInterface, &hal::ELdpRouter::interfaces> interfaces;
    ChildList<TCLLdpTargetedPeer, &hal::ELdpRouter::targetedPeers> targetedPeers;
    ChildList<TCLLdpAdvertiseFecRange, &hal::ELdpRouter::advertiseFecRanges> advertiseFecRanges;
    ChildList<TCLLdpRequestFecRange, &hal::ELdpRouter::requestFecRanges> requestFecRanges;
    ChildList<TCLLdpL2VpnInterface, &hal::ELdpRouter::l2VpnInterfaces> l2VpnInterfaces;


    // The labels the router learned (its description declares the methods).
    LearnedWalk<hal::ELdpLearnedLabel, TCLLdpLearnedLabel> learnedLabels;

    void setDefault();

    void FromRecord(const hal::ELdpRouter& r);
    int intoRecordRest(hal::ELdpRouter& r);

private:
    void forgetLearned();
};

class TCLLdpServer : public RouterServer<hal::ELdpServer, TCLLdpRouter, &hal::ELdpServer::routers, Protocol::Ldp> {
public:
    using RouterServer::RouterServer;
};

}  // namespace zk
