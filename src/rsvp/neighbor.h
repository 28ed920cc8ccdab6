// The RSVP-TE server of a port and its neighbor pairs: one RSVP session
// each between an emulated router address and the device under test, with
// Hello, the label space the router allocates from, refresh reduction
// (RFC 2961, a feature of the port), the pair's destination ranges, its
// Hello custom TLVs and the labels it learned.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "binding/staged.h"
#include "core/equipment.h"
#include "core/learned.h"
#include "core/port_server.h"
#include "hal/rsvp.h"
#include "rsvp/ranges.h"

namespace zk {

// What a port answers to a label request: the labels learned on the pair
// of one emulated address and one DUT address, per tunnel.
using LearnedRsvpLabel = hal::ERSVP::ConfigLabelTable::Entry;
inline constexpr const char* kRsvpLabelsKind = "rsvpLabels";
std::string learnedLabelsKey(const hal::EIPAddress& ourIp, const hal::EIPAddress& dutIp);

// The pair's destination ranges. Emptying them also empties the lists of
// the staging destination range, so that the next pair starts afresh.
class RsvpDestinationRangeList
    : public ChildList<TCLRsvpDestinationRange, &hal::ERSVPConfigNeighborPair::destinationRanges> {
public:
    using ChildList::ChildList;
    void clearQuiet() override;
};

class TCLRsvpNeighborPair : public binding::Staged<TCLRsvpNeighborPair, hal::ERSVPConfigNeighborPair> {
public:
    TCLRsvpNeighborPair(TCLRsvpDestinationRange* pDestinationRange, TCLRsvpCustomTlv* pCustomTlv);

    int enableNeighborPair;
    std::string ipAddress;
    std::string dutAddress;
    int enableHello;
    int helloInterval;
    int helloTimeoutMultiplier;
    int labelSpaceStart;
    int labelSpaceEnd;
    int enableRefreshReduction;
    int summaryRefreshInterval;
    std::string lsp_tunnel;
    std::string rxLabel;
    int numRxLabels;

    RsvpDestinationRangeList destinationRanges;
    WalkList<TCLRsvpCustomTlv, &hal::ERSVPConfigNeighborPair::helloTlvs> helloTlvs;

    // Learned labels (requestRxLabels, getLabels, getFirstLabel,
    // getNextLabel): the walk fills the pair's own -lsp_tunnel and -rxLabel.
    LearnedWalk<LearnedRsvpLabel, TCLRsvpNeighborPair> labels{this};

    void setDefault();
    void FromRecord(const hal::ERSVPConfigNeighborPair& r);
    void FromRecord(const LearnedRsvpLabel& learned);
    int intoRecordRest(hal::ERSVPConfigNeighborPair& r);
    void fromRecordRest(const hal::ERSVPConfigNeighborPair& r);
};

class TCLRsvpServer : public Server<hal::ERSVPServer> {
public:
    explicit TCLRsvpServer(TCLRsvpNeighborPair* pNeighborPair)
        : Server(Protocol::Rsvp), neighborPairs(this, pNeighborPair) {}

    ServerList<TCLRsvpNeighborPair, &hal::ERSVPServer::neighborPairs> neighborPairs;

    // Selecting a port starts its names afresh; what was staged on the
    // port stays staged.
    int select(int chasID, int cardID, int portID);
};

}  // namespace zk
