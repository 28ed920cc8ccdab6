// The spanning tree server of a port and the emulated bridges it holds,
// each with its interfaces (bridge ports), the LANs behind them, and what
// the port learned of the tree for it.
#pragma once

#include <memory>
#include <string>

#include "binding/staged.h"
#include "core/learned.h"
#include "core/port_server.h"
#include "hal/stp.h"
#include "stp/interface.h"
#include "stp/learned.h"

namespace zk {

class TCLStpBridge : public binding::Staged<TCLStpBridge, hal::EStpBridge> {
public:
    TCLStpBridge(TCLStpInterface* pStpInterface, TCLStpLan* pStpLan, TCLStpLearnedBridge* pStpLearnedBridge,
                 TCLStpLearnedInterface* pStpLearnedInterface);

    int enable;
    int mode;
    int bridgePriority;
    std::string bridgeMac;
    int helloTime;
    int maxAge;
    int forwardDelay;
    int transmitHoldCount;
    int rootPriority;
    std::string rootMac;  // "": the bridge is its own root
    int rootPathCost;
    int numberOfLearnedInterfaces;

    ChildList<TCLStpInterface, &hal::EStpBridge::interfaces> interfaces;
    ChildList<TCLStpLan, &hal::EStpBridge::lans> lans;

    // The interfaces the bridge learned (its description declares the methods).
    LearnedWalk<hal::EStpLearnedInterface, TCLStpLearnedInterface> learnedInterfaces;

    void setDefault();
    // Learned information of a bridge loaded from the server, keyed by its
    // MAC address. Requests: 0 sent; 100 no port or a bridge not loaded
    // from the server; 1 the port cannot be asked. Polls: 0 in, 1 not yet.
    int requestLearnedBridge();
    int getLearnedBridge();

    void FromRecord(const hal::EStpBridge& r);

private:
    void forgetLearned();

    Ref<TCLStpLearnedBridge> learnedBridge_;
    LearnedReply<LearnedStpBridge> bridgeReply_;
};

class TCLStpServer : public Server<hal::EStpServer> {
public:
    explicit TCLStpServer(TCLStpBridge* pStpBridge) : Server(Protocol::Stp), bridges(this, pStpBridge) {}

    ServerList<TCLStpBridge, &hal::EStpServer::bridges> bridges;

    void setDefault() { bridges.resetCursor(); }
    // The server has no options of its own: set and get only ask for the port.
    int set() { return ready(); }
    int get() { return currentPort() ? kOk : kNoPort; }
};

}  // namespace zk
