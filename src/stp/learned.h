// What a port learned of the spanning tree for one of its bridges: what
// `zkchassis::learn stpBridge` and `stpInterfaces` load, and the read-only
// objects a script reads it with.
#pragma once

#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/learned.h"
#include "hal/stp.h"

namespace zk {

struct LearnedStpBridge : zk::LearnedData {
    hal::EStpLearnedBridge bridge;
};

// The root and designated bridge, the bridge's root port and its
// topology changes, read-only to scripts.
class TCLStpLearnedBridge : public binding::Staged<TCLStpLearnedBridge, hal::EStpLearnedBridge> {
public:
    TCLStpLearnedBridge() { setDefault(); }

    int rootPriority;
    std::string rootMac;
    unsigned rootPathCost;
    int designatedPriority;
    std::string designatedMac;
    int rootPort;
    unsigned topologyChanges;
    unsigned secondsSinceTopologyChange;
};

// The role and state of one bridge port, read-only to scripts.
class TCLStpLearnedInterface : public binding::Staged<TCLStpLearnedInterface, hal::EStpLearnedInterface> {
public:
    TCLStpLearnedInterface() { setDefault(); }

    int portNumber;
    int role;
    int state;
    unsigned designatedPathCost;
    unsigned forwardTransitions;
};

}  // namespace zk
