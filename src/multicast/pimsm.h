// PIM-SM: the server of a port, the emulated routers with their bootstrap
// and candidate-RP settings, their interfaces with the joins and prunes
// they send upstream and the sources they register, and what a router
// learned: its neighbours and the RP set.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/port_server.h"
#include "hal/multicast.h"
#include "multicast/common.h"

namespace zk {

class TCLPimsmJoinPrune : public binding::Staged<TCLPimsmJoinPrune, hal::EPimsmJoinPrune> {
public:
    TCLPimsmJoinPrune() { setDefault(); }

    int enable;
    int type;
    std::string rpAddress;
    std::string groupAddress;
    int numberOfGroups;
    std::string sourceAddress;
    int numberOfSources;
    int mapping;
    int pruneAfterJoinDelay;
};

class TCLPimsmSourceRange : public binding::Staged<TCLPimsmSourceRange, hal::EPimsmSourceRange> {
public:
    TCLPimsmSourceRange() { setDefault(); }

    int enable;
    std::string rpAddress;
    std::string sourceAddress;
    int numberOfSources;
    std::string groupAddress;
    int numberOfGroups;
    int registersPerSecond;
    int enableNullRegisters;
};

class TCLPimsmInterface : public binding::Staged<TCLPimsmInterface, hal::EPimsmInterface> {
public:
    TCLPimsmInterface(TCLPimsmJoinPrune* pPimsmJoinPrune, TCLPimsmSourceRange* pPimsmSourceRange)
        : joinPrunes(this, pPimsmJoinPrune), sourceRanges(this, pPimsmSourceRange) {
        setDefault();
    }

    int enable;
    std::string ipAddress;
    int maskWidth;
    std::string neighborAddress;

    ChildList<TCLPimsmJoinPrune, &hal::EPimsmInterface::joinPrunes> joinPrunes;
    ChildList<TCLPimsmSourceRange, &hal::EPimsmInterface::sourceRanges> sourceRanges;
};

class TCLPimsmCandidateRpRange : public binding::Staged<TCLPimsmCandidateRpRange, hal::EPimsmCandidateRpRange> {
public:
    TCLPimsmCandidateRpRange() { setDefault(); }

    int enable;
    std::string groupAddress;
    int maskWidth;
};

class TCLPimsmLearnedNeighbor : public binding::Staged<TCLPimsmLearnedNeighbor, hal::EPimsmLearnedNeighbor> {
public:
    TCLPimsmLearnedNeighbor() { setDefault(); }

    std::string neighborAddress;
    std::string interfaceAddress;
    unsigned drPriority;
    unsigned generationId;
    int holdTime;
};

class TCLPimsmLearnedRp : public binding::Staged<TCLPimsmLearnedRp, hal::EPimsmLearnedRp> {
public:
    TCLPimsmLearnedRp() { setDefault(); }

    std::string rpAddress;
    std::string groupAddress;
    int maskWidth;
    int priority;
    int holdTime;
};

// `zkchassis::learn pimsmNeighbors C D P routerId neighborList` and
// `... pimsmRpSet C D P routerId rpList` file what a router learned, per
// router ID in dotted form.
inline constexpr const char* kPimsmNeighborsKind = "pimsmNeighbors";
inline constexpr const char* kPimsmRpSetKind = "pimsmRpSet";

class TCLPimsmRouter : public binding::Staged<TCLPimsmRouter, hal::EPimsmRouter> {
public:
    TCLPimsmRouter(TCLPimsmInterface* pPimsmInterface, TCLPimsmCandidateRpRange* pPimsmCandidateRpRange,
                   TCLPimsmLearnedNeighbor* pPimsmLearnedNeighbor, TCLPimsmLearnedRp* pPimsmLearnedRp);

    int enable;
    std::string routerId;
    unsigned drPriority;
    int helloInterval;
    int helloHoldTime;
    int joinPruneInterval;
    int joinPruneHoldTime;
    int generationIdMode;
    int enableBootstrap;
    int bootstrapPriority;
    int hashMaskLength;
    int bootstrapInterval;
    int enableCandidateRp;
    int candidateRpPriority;
    int candidateRpInterval;
    int candidateRpHoldTime;
    int numberOfLearnedNeighbors;
    int numberOfLearnedRps;

    ChildList<TCLPimsmInterface, &hal::EPimsmRouter::interfaces> interfaces;
    ChildList<TCLPimsmCandidateRpRange, &hal::EPimsmRouter::candidateRpRanges> candidateRpRanges;

    // The neighbours and the RP set the router learned (the description
    // declares the methods).
    LearnedWalk<hal::EPimsmLearnedNeighbor, TCLPimsmLearnedNeighbor> learnedNeighbors;
    LearnedWalk<hal::EPimsmLearnedRp, TCLPimsmLearnedRp> learnedRps;

    void setDefault();
    void FromRecord(const hal::EPimsmRouter& r);

private:
    void forgetLearned();
};

class TCLPimsmServer : public Server<hal::EPimsmServer> {
public:
    explicit TCLPimsmServer(TCLPimsmRouter* pPimsmRouter) : Server(Protocol::Pimsm), routers(this, pPimsmRouter) {}

    ServerList<TCLPimsmRouter, &hal::EPimsmServer::routers> routers;

    void setDefault() { routers.resetCursor(); }
    // The server has no options of its own: set and get only ask for the port.
    int set() { return ready(); }
    int get() { return currentPort() ? kOk : kNoPort; }
};

}  // namespace zk
