#include "rsvp/neighbor.h"

#include "binding/collection_methods.h"
#include "binding/learned_methods.h"
#include "core/parse.h"
#include "core/port.h"
#include "core/port_feature.h"

namespace zk {

std::string learnedLabelsKey(const hal::EIPAddress& ourIp, const hal::EIPAddress& dutIp) {
    return ourIp.ToString() + " " + dutIp.ToString();
}

void RsvpDestinationRangeList::clearQuiet() {
    ChildList::clearQuiet();
    if (TCLRsvpDestinationRange* range = staging()) clearChildren(*range);
}

TCLRsvpNeighborPair::TCLRsvpNeighborPair(TCLRsvpDestinationRange* pDestinationRange, TCLRsvpCustomTlv* pCustomTlv)
    : destinationRanges(this, pDestinationRange),
      helloTlvs(this, pCustomTlv, [] { return currentPort() != nullptr; }) {
    setDefault();
}

void TCLRsvpNeighborPair::setDefault() {
    Staged::setDefault();
    labels.rewind();
    lsp_tunnel.clear();
    rxLabel.clear();
    numRxLabels = 0;
}

void TCLRsvpNeighborPair::FromRecord(const hal::ERSVPConfigNeighborPair& r) {
    Staged::FromRecord(r);
    labels.rewind();
}

void TCLRsvpNeighborPair::FromRecord(const LearnedRsvpLabel& learned) {
    lsp_tunnel = learned.fecDescription;
    rxLabel = std::to_string(learned.label);
}

// Refresh reduction is a feature of the port. Without a port, or on a port
// without it, the fields stay as the pair had them; a differing option is
// reported, and the pair is taken all the same.
int TCLRsvpNeighborPair::intoRecordRest(hal::ERSVPConfigNeighborPair& r) {
    const hal::ERSVPConfigNeighborPair defaults;  // VerifyDefaultSettings
    if (!portHasFeature(
            "TCLRsvpNeighborPair::SetRsvpNeighborPair()", [](const Port& p) { return p.refreshReduction != 0; },
            {{"enableRefreshReduction", (enableRefreshReduction != 0) != defaults.refreshReduction},
             {"summaryRefreshInterval", (long long)summaryRefreshInterval != (long long)defaults.sRefreshInterval}}))
        return kOk;
    r.refreshReduction = enableRefreshReduction != 0;
    r.sRefreshInterval = uint32_t(summaryRefreshInterval);
    return kOk;
}

void TCLRsvpNeighborPair::fromRecordRest(const hal::ERSVPConfigNeighborPair& r) {
    enableRefreshReduction = r.refreshReduction;
    summaryRefreshInterval = int(r.sRefreshInterval);
}

namespace {
std::string rsvpPairDotted(const hal::EIPAddress& a) { return a.ToString(); }
}  // namespace

static binding::Describe<TCLRsvpNeighborPair> describeRsvpNeighborPair("TCLRsvpNeighborPair", [](auto& c) {
    using T = TCLRsvpNeighborPair;
    using R = hal::ERSVPConfigNeighborPair;
    c.template constructor<TCLRsvpDestinationRange*, TCLRsvpCustomTlv*>("pDestinationRange", "pCustomTlv");
    c.option("enableNeighborPair", &T::enableNeighborPair)
        .check(boolean, "TCLRsvpNeighborPair::Validate()    Invalid enableNeighborPair.")
        .maps(&R::enabled);
    c.option("ipAddress", &T::ipAddress)
        .check(ipv4, "TCLRsvpNeighborPair::Validate()     Invalid ipAddress")
        .mapsVia(rsvpIPv4, rsvpPairDotted, &R::ourIp);
    // Never checked: whatever is not an address is sent as 0.0.0.0.
    c.option("dutAddress", &T::dutAddress).mapsVia(rsvpIPv4, rsvpPairDotted, &R::dutIp);
    c.option("enableHello", &T::enableHello)
        .check(boolean, "TCLRsvpNeighborPair::Validate()    Invalid enableHello.")
        .maps(&R::helloEnabled);
    c.option("helloInterval", &T::helloInterval)
        .check(atLeast(0), "TCLRsvpNeighborPair::Validate()   Invalid helloInterval")
        .maps(&R::helloInterval);
    c.option("helloTimeoutMultiplier", &T::helloTimeoutMultiplier)
        .check(atLeast(0), "TCLRsvpNeighborPair::Validate()   Invalid helloTimeoutMultiplier")
        .maps(&R::helloTimeoutMultiplier);
    // The two ends of the label space are not compared.
    c.option("labelSpaceStart", &T::labelSpaceStart)
        .check(atLeast(0), "TCLRsvpNeighborPair::Validate()   Invalid labelSpaceStart")
        .maps(&R::labelSpaceStart);
    c.option("labelSpaceEnd", &T::labelSpaceEnd)
        .check(atLeast(0), "TCLRsvpNeighborPair::Validate()   Invalid labelSpaceEnd")
        .maps(&R::labelSpaceEnd);
    // Both need the port's refresh reduction (intoRecordRest, fromRecordRest).
    c.option("enableRefreshReduction", &T::enableRefreshReduction);
    c.option("summaryRefreshInterval", &T::summaryRefreshInterval);
    c.readOnly("lsp_tunnel", &T::lsp_tunnel);
    c.readOnly("rxLabel", &T::rxLabel);
    c.readOnly("numRxLabels", &T::numRxLabels);
    c.checkOrder({"enableNeighborPair", "enableHello", "ipAddress", "helloInterval", "helloTimeoutMultiplier",
                  "labelSpaceStart", "labelSpaceEnd"});
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::destinationRanges>(c, "DestinationRange", "destId", "clearAllDestinationRange");
    describeWalk<&T::helloTlvs>(c, "HelloTlv", "clearHelloTlvList");
    // The answer is the pair's asked about: another pair loaded has none.
    describeLearned<&T::labels, &T::numRxLabels>(
        c, {.kind = kRsvpLabelsKind,
            .notLoaded = "The neighbor pair has not been loaded from the server.",
            .key = [](const T& t) { return learnedLabelsKey(t.work().ourIp, t.work().dutIp); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestRxLabels",
            .list = "getLabels",
            .first = "getFirstLabel",
            .next = "getNextLabel",
            .noneYet = "No labels have arrived yet.",
            .noMore = "No more labels.",
            .sameKey = true});
});

int TCLRsvpServer::select(int chasID, int cardID, int portID) {
    int r = PortServer::select(chasID, cardID, portID);
    if (r != kOk) return r;
    if (ItemList* names = this->names(0)) names->clear();
    return kOk;
}

static binding::Describe<TCLRsvpServer> describeRsvpServer("TCLRsvpServer", [](auto& c) {
    using T = TCLRsvpServer;
    c.template constructor<TCLRsvpNeighborPair*>("pNeighborPair");
    c.method("select", &T::select, "chasID", "cardID", "portID");
    describeCollection<&T::neighborPairs>(c, "NeighborPair", "neighborPairId", "clearAllNeighborPair");
    c.method("write", &T::write);
});

}  // namespace zk
