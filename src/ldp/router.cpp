#include "ldp/router.h"

#include "binding/collection_methods.h"
#include "binding/learned_methods.h"
#include "ldp/common.h"

namespace zk {

TCLLdpRouter::TCLLdpRouter(TCLLdpInterface* pLdpInterface, TCLLdpTargetedPeer* pLdpTargetedPeer,
                           TCLLdpAdvertiseFecRange* pLdpAdvertiseFecRange, TCLLdpRequestFecRange* pLdpRequestFecRange,
                           TCLLdpL2VpnInterface* pLdpL2VpnInterface, TCLLdpLearnedLabel* pLdpLearnedLabel)
    : interfaces(this, pLdpInterface),
      targetedPeers(this, pLdpTargetedPeer),
      advertiseFecRanges(this, pLdpAdvertiseFecRange),
      requestFecRanges(this, pLdpRequestFecRange),
      l2VpnInterfaces(this, pLdpL2VpnInterface),
      learnedLabels(pLdpLearnedLabel) {
    setDefault();
}

// Graceful restart (RFC 3478) needs the port's support; elsewhere the
// record keeps its defaults and a differing option is reported.
int TCLLdpRouter::intoRecordRest(hal::ELdpRouter& r) {
    const hal::ELdpRouter defaults;
    if (!portHasFeature("TCLLdpRouter::SetLdpRouter()", [](const Port& p) { return p.ldpGracefulRestart != 0; },
                             {{"enableGracefulRestart", enableGracefulRestart != int(defaults.gracefulRestart)},
                              {"reconnectTime", reconnectTime != int(defaults.reconnectTime)},
                              {"recoveryTime", recoveryTime != int(defaults.recoveryTime)}})) {
        r.gracefulRestart = defaults.gracefulRestart;
        r.reconnectTime = defaults.reconnectTime;
        r.recoveryTime = defaults.recoveryTime;
    }
    return kOk;
}

void TCLLdpRouter::setDefault() {
    Staged::setDefault();
    forgetLearned();
}

void TCLLdpRouter::forgetLearned() {
    learnedLabels.forget();
    numberOfLearnedLabels = 0;
}

// Another router's record: what was learned belonged to the one before.
void TCLLdpRouter::FromRecord(const hal::ELdpRouter& r) {
    if (r.id != work().id) forgetLearned();
    Staged::FromRecord(r);
}

static binding::Describe<TCLLdpRouter> describeLdpRouter("TCLLdpRouter", [](auto& c) {
    using T = TCLLdpRouter;
    using R = hal::ELdpRouter;
    c.template constructor<TCLLdpInterface*, TCLLdpTargetedPeer*, TCLLdpAdvertiseFecRange*, TCLLdpRequestFecRange*,
                           TCLLdpL2VpnInterface*, TCLLdpLearnedLabel*>(
        "pLdpInterface", "pLdpTargetedPeer", "pLdpAdvertiseFecRange", "pLdpRequestFecRange", "pLdpL2VpnInterface",
        "pLdpLearnedLabel");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("routerId", &T::routerId).check(ipv4).maps(&R::routerId);
    c.option("labelSpaceId", &T::labelSpaceId).check(range(0, 65535)).maps(&R::labelSpaceId);
    c.option("transportAddress", &T::transportAddress).check(ipv4).maps(&R::transportAddress);
    c.option("keepAliveInterval", &T::keepAliveInterval).check(range(1, 65535)).maps(&R::keepAliveInterval);
    c.option("keepAliveHoldTime", &T::keepAliveHoldTime)
        .check(range(1, 65535))
        .check([](const T& t) { return ldp::holdOutlasts(t.keepAliveHoldTime, t.keepAliveInterval); },
               "TCLLdpRouter::Validate()   keepAliveHoldTime must be more than keepAliveInterval.")
        .maps(&R::keepAliveHoldTime);
    // These three need the port's graceful restart (intoRecordRest).
    c.option("enableGracefulRestart", &T::enableGracefulRestart).check(boolean).maps(&R::gracefulRestart);
    c.option("reconnectTime", &T::reconnectTime).check(range(1, 3600)).maps(&R::reconnectTime);
    c.option("recoveryTime", &T::recoveryTime).check(range(0, 3600)).maps(&R::recoveryTime);
    c.readOnly("numberOfLearnedLabels", &T::numberOfLearnedLabels);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::interfaces>(c, "Interface", "interfaceLocalId", "clearAllInterfaces");
    describeCollection<&T::targetedPeers>(c, "TargetedPeer", "targetedPeerId", "clearAllTargetedPeers");
    describeCollection<&T::advertiseFecRanges>(c, "AdvertiseFecRange", "fecRangeId", "clearAllAdvertiseFecRanges");
    describeCollection<&T::requestFecRanges>(c, "RequestFecRange", "fecRangeId", "clearAllRequestFecRanges");
    describeCollection<&T::l2VpnInterfaces>(c, "L2VpnInterface", "l2VpnInterfaceId", "clearAllL2VpnInterfaces");
    describeLearned<&T::learnedLabels, &T::numberOfLearnedLabels>(
        c, {.kind = kLdpLabelsKind,
            .notLoaded = "The router has not been loaded from the server.",
            .key = [](const T& t) { return t.work().routerId.ToString(); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestLearnedLabels",
            .list = "getLearnedLabelList",
            .first = "getFirstLearnedLabel",
            .next = "getNextLearnedLabel",
            .noneYet = "No learned labels have arrived yet.",
            .noMore = "No more learned labels."});
});

static binding::Describe<TCLLdpServer> describeLdpServer("TCLLdpServer", [](auto& c) {
    describeRouterServer<&TCLLdpServer::routers>(c, "pLdpRouter");
});

}  // namespace zk
