#include "stp/bridge.h"

#include <set>

#include "binding/collection_methods.h"
#include "binding/learned_methods.h"
#include "stp/forms.h"

namespace zk {

TCLStpBridge::TCLStpBridge(TCLStpInterface* pStpInterface, TCLStpLan* pStpLan, TCLStpLearnedBridge* pStpLearnedBridge,
                           TCLStpLearnedInterface* pStpLearnedInterface)
    : interfaces(this, pStpInterface),
      lans(this, pStpLan),
      learnedInterfaces(pStpLearnedInterface),
      learnedBridge_(pStpLearnedBridge) {
    setDefault();
}

void TCLStpBridge::setDefault() {
    Staged::setDefault();
    forgetLearned();
}

void TCLStpBridge::forgetLearned() {
    bridgeReply_.forget();
    learnedInterfaces.forget();
    numberOfLearnedInterfaces = 0;
}

// Another bridge's record: what was learned belonged to the one before.
void TCLStpBridge::FromRecord(const hal::EStpBridge& r) {
    if (r.id != work().id) forgetLearned();
    Staged::FromRecord(r);
}

// ---- learned information ----

int TCLStpBridge::requestLearnedBridge() {
    if (int r = mayRequestLearned("TCLStpBridge::requestLearnedBridge()", work().id.IsValid(),
                                  "The bridge has not been loaded from the server.", stp::kBridgeKind))
        return r;
    bridgeReply_.send(*currentPort(), stp::kBridgeKind, macText(work().mac), token());
    return kOk;
}

// A port that learned nothing for the bridge answers with zeros.
int TCLStpBridge::getLearnedBridge() {
    if (!bridgeReply_.arrived()) {
        setLastError("TCLStpBridge::getLearnedBridge()   No learned bridge information has arrived yet.");
        return kFail;
    }
    TCLStpLearnedBridge* staging = learnedBridge_.get();
    if (!staging) {
        setLastError("TCLStpBridge::getLearnedBridge()   There is no learned bridge object to fill.");
        return kFail;
    }
    auto reply = bridgeReply_.data();
    staging->FromRecord(reply ? reply->bridge : hal::EStpLearnedBridge{});
    return kOk;
}

// ---- checks ----

namespace {

// The timer relations of 802.1D-2004 17.14, checked only between timers
// that passed their own range checks. Hello times up to 10 s are those of
// 802.1D-1998 bridges.
bool maxAgeCoversHellos(const TCLStpBridge& t) {
    return !stp::inRange(t.helloTime, 1, 10) || !stp::inRange(t.maxAge, 6, 40) || t.maxAge >= 2 * (t.helloTime + 1);
}
bool forwardDelayCoversMaxAge(const TCLStpBridge& t) {
    return !stp::inRange(t.forwardDelay, 4, 30) || !stp::inRange(t.maxAge, 6, 40) ||
           2 * (t.forwardDelay - 1) >= t.maxAge;
}

// The root path cost is 0 exactly at the root (17.6): a bridge that
// advertises itself as root has none, one behind another root some.
bool rootCostFits(const TCLStpBridge& t) {
    bool rootGiven = !t.rootMac.empty();
    if (!stp::individualMac(t.bridgeMac) || (rootGiven && !stp::individualMac(t.rootMac)) || t.rootPathCost < 0)
        return true;  // refused by their own checks
    bool itself = !rootGiven || (*parseMac(t.rootMac) == *parseMac(t.bridgeMac) && t.rootPriority == t.bridgePriority);
    return itself == (t.rootPathCost == 0);
}

// Every interface on a port number of its own; every LAN behind one of them.
bool portNumbersDistinct(const TCLStpBridge& t) {
    std::set<uint32_t> seen;
    bool distinct = true;
    t.work().interfaces.ForEach(
        [&](const hal::EStpInterface& i) { distinct = seen.insert(i.portNumber).second && distinct; });
    return distinct;
}
bool lansBehindInterfaces(const TCLStpBridge& t) {
    std::set<uint32_t> ports;
    t.work().interfaces.ForEach([&](const hal::EStpInterface& i) { ports.insert(i.portNumber); });
    bool behind = true;
    t.work().lans.ForEach([&](const hal::EStpLan& l) { behind = behind && ports.count(l.portNumber); });
    return behind;
}

std::string rootMacText(const hal::EBlob& b) { return b.bytes.size() ? macText(b) : ""; }
hal::EBlob rootMacBlob(const std::string& text) { return text.empty() ? hal::EBlob{} : macBlob(text); }

}  // namespace

static binding::Describe<TCLStpBridge> describeStpBridge("TCLStpBridge", [](auto& c) {
    using T = TCLStpBridge;
    using R = hal::EStpBridge;
    c.template constructor<TCLStpInterface*, TCLStpLan*, TCLStpLearnedBridge*, TCLStpLearnedInterface*>(
        "pStpInterface", "pStpLan", "pStpLearnedBridge", "pStpLearnedInterface");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("mode", &T::mode).check(range(hal::kStpModeStp, hal::kStpModeRstp)).maps(&R::mode);
    c.option("bridgePriority", &T::bridgePriority)
        .check(range(0, 61440))
        .check([](const T& t) { return stp::inSteps(t.bridgePriority, 61440, stp::kBridgePriorityStep); },
               "TCLStpBridge::Validate()   bridgePriority must be a multiple of 4096.")
        .maps(&R::priority);
    c.option("bridgeMac", &T::bridgeMac).check(stp::individualMac).mapsVia(macBlob, macText, &R::mac);
    c.option("helloTime", &T::helloTime).check(range(1, 10)).maps(&R::helloTime);
    c.option("maxAge", &T::maxAge)
        .check(range(6, 40))
        .check(maxAgeCoversHellos, "TCLStpBridge::Validate()   maxAge must be at least 2 x (helloTime + 1).")
        .maps(&R::maxAge);
    c.option("forwardDelay", &T::forwardDelay)
        .check(range(4, 30))
        .check(forwardDelayCoversMaxAge, "TCLStpBridge::Validate()   2 x (forwardDelay - 1) must be at least maxAge.")
        .maps(&R::forwardDelay);
    c.option("transmitHoldCount", &T::transmitHoldCount).check(range(1, 10)).maps(&R::transmitHoldCount);
    c.option("rootPriority", &T::rootPriority)
        .check(range(0, 61440))
        .check([](const T& t) { return stp::inSteps(t.rootPriority, 61440, stp::kBridgePriorityStep); },
               "TCLStpBridge::Validate()   rootPriority must be a multiple of 4096.")
        .maps(&R::rootPriority);
    c.option("rootMac", &T::rootMac)
        .check([](const std::string& s) { return s.empty() || stp::individualMac(s); })
        .mapsVia(rootMacBlob, rootMacText, &R::rootMac);
    // The checks of the bridge's lists run last.
    c.option("rootPathCost", &T::rootPathCost)
        .check(atLeast(0))
        .check(rootCostFits,
               "TCLStpBridge::Validate()   rootPathCost must be 0 exactly when the bridge is its own root.")
        .check(portNumbersDistinct, "TCLStpBridge::Validate()   Two interfaces have the same portNumber.")
        .check(lansBehindInterfaces, "TCLStpBridge::Validate()   A LAN is behind a portNumber that no interface has.")
        .maps(&R::rootPathCost);
    c.readOnly("numberOfLearnedInterfaces", &T::numberOfLearnedInterfaces);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::interfaces>(c, "Interface", "interfaceLocalId", "clearAllInterfaces");
    describeCollection<&T::lans>(c, "Lan", "lanLocalId", "clearAllLans");
    c.method("requestLearnedBridge", &T::requestLearnedBridge);
    c.method("getLearnedBridge", &T::getLearnedBridge);
    describeLearned<&T::learnedInterfaces, &T::numberOfLearnedInterfaces>(
        c, {.kind = stp::kInterfacesKind,
            .notLoaded = "The bridge has not been loaded from the server.",
            .key = [](const T& t) { return macText(t.work().mac); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestLearnedInterfaces",
            .list = "getLearnedInterfaceList",
            .first = "getFirstLearnedInterface",
            .next = "getNextLearnedInterface",
            .noneYet = "No learned interfaces have arrived yet.",
            .noMore = "No more learned interfaces."});
});

static binding::Describe<TCLStpServer> describeStpServer("TCLStpServer", [](auto& c) {
    using T = TCLStpServer;
    c.template constructor<TCLStpBridge*>("pStpBridge");
    c.method("setDefault", &T::setDefault);
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("set", &T::set);
    c.method("get", &T::get);
    describeCollection<&T::bridges>(c, "Bridge", "bridgeLocalId", "clearAllBridges");
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
});

}  // namespace zk
