#include "multicast/pimsm.h"

#include <climits>

#include "binding/collection_methods.h"
#include "binding/learned.h"
#include "binding/learned_methods.h"

namespace zk {

namespace {

bool unicastV4(const std::string& text) { return mcast::unicastAddress(text, false); }

// A hold time outlasts the interval of what refreshes it; out-of-range
// values have their own message.
bool holdOutlastsInterval(int hold, int interval) {
    return hold < 1 || hold > 65535 || interval < 1 || interval > 65535 || hold > interval;
}

// The groups of a join/prune or a register source range: the first group
// and how many, all within 224.0.0.0/4.
template <class T>
void describeGroupBlock(binding::ClassDesc<T>& c, const std::string& cls) {
    using R = typename T::Record;
    c.option("groupAddress", &T::groupAddress)
        .checkWith(
            [cls](const T& t, Checks& k) { mcast::checkGroupAddress(k, cls, "groupAddress", t.groupAddress, false); })
        .maps(&R::firstGroup);
    c.option("numberOfGroups", &T::numberOfGroups)
        .check(range(1, 65535))
        .check(
            [](const T& t) {
                return mcast::rangeFits(t.groupAddress, t.numberOfGroups, 1, false, mcast::Space::Groups);
            },
            cls + "::Validate()   numberOfGroups groups from groupAddress leave 224.0.0.0/4.")
        .maps(&R::groupCount);
}

// Their sources: the first and how many, all unicast addresses.
template <class T>
void describeSourceBlock(binding::ClassDesc<T>& c, const std::string& cls) {
    using R = typename T::Record;
    c.option("sourceAddress", &T::sourceAddress).check(unicastV4).maps(&R::firstSource);
    c.option("numberOfSources", &T::numberOfSources)
        .check(range(1, 65535))
        .check(
            [](const T& t) {
                return mcast::rangeFits(t.sourceAddress, t.numberOfSources, 1, false, mcast::Space::Unicast);
            },
            cls + "::Validate()   numberOfSources sources from sourceAddress leave the unicast addresses.")
        .maps(&R::sourceCount);
}

}  // namespace

// ---- join/prune, register sources, interface, candidate-RP range ----

static binding::Describe<TCLPimsmJoinPrune> describePimsmJoinPrune("TCLPimsmJoinPrune", [](auto& c) {
    using T = TCLPimsmJoinPrune;
    using R = hal::EPimsmJoinPrune;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("type", &T::type).check(range(hal::kPimsmRp, hal::kPimsmRegisterTriggeredSG)).maps(&R::type);
    c.option("rpAddress", &T::rpAddress).check(unicastV4).maps(&R::rp);
    describeGroupBlock(c, "TCLPimsmJoinPrune");
    describeSourceBlock(c, "TCLPimsmJoinPrune");
    // One to one pairs the n-th source with the n-th group.
    c.option("mapping", &T::mapping)
        .check(range(0, 1))
        .check(
            [](const T& t) {
                return t.mapping != 1 || t.type < hal::kPimsmSG || t.numberOfSources == t.numberOfGroups;
            },
            "TCLPimsmJoinPrune::Validate()   pimsmMappingOneToOne needs numberOfSources equal to numberOfGroups.")
        .maps(&R::mapping);
    c.option("pruneAfterJoinDelay", &T::pruneAfterJoinDelay).check(range(0, 65535)).maps(&R::pruneAfterJoinDelay);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLPimsmSourceRange> describePimsmSourceRange("TCLPimsmSourceRange", [](auto& c) {
    using T = TCLPimsmSourceRange;
    using R = hal::EPimsmSourceRange;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("rpAddress", &T::rpAddress).check(unicastV4).maps(&R::rp);
    describeSourceBlock(c, "TCLPimsmSourceRange");
    describeGroupBlock(c, "TCLPimsmSourceRange");
    c.option("registersPerSecond", &T::registersPerSecond).check(range(1, 100000)).maps(&R::registersPerSecond);
    c.option("enableNullRegisters", &T::enableNullRegisters).check(boolean).maps(&R::nullRegisters);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLPimsmInterface> describePimsmInterface("TCLPimsmInterface", [](auto& c) {
    using T = TCLPimsmInterface;
    using R = hal::EPimsmInterface;
    c.template constructor<TCLPimsmJoinPrune*, TCLPimsmSourceRange*>("pPimsmJoinPrune", "pPimsmSourceRange");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("ipAddress", &T::ipAddress).check(unicastV4).maps(&R::address);
    c.option("maskWidth", &T::maskWidth).check(range(1, 32)).maps(&R::prefixLength);
    c.option("neighborAddress", &T::neighborAddress).check(unicastV4).maps(&R::neighbor);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::joinPrunes>(c, "JoinPrune", "joinPruneId", "clearAllJoinPrunes");
    describeCollection<&T::sourceRanges>(c, "SourceRange", "sourceRangeId", "clearAllSourceRanges");
});

static binding::Describe<TCLPimsmCandidateRpRange> describePimsmCandidateRpRange(
    "TCLPimsmCandidateRpRange", [](auto& c) {
        using T = TCLPimsmCandidateRpRange;
        using R = hal::EPimsmCandidateRpRange;
        c.constructor();
        c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
        c.option("groupAddress", &T::groupAddress)
            .checkWith([](const T& t, Checks& k) {
                mcast::checkGroupAddress(k, "TCLPimsmCandidateRpRange", "groupAddress", t.groupAddress, false);
            })
            .maps(&R::group);
        // Shorter than /4 would reach beyond the multicast space.
        c.option("maskWidth", &T::maskWidth).check(range(4, 32)).maps(&R::prefixLength);
        c.method("setDefault", &T::setDefault);
    });

// ---- learned neighbours and RP set ----

static binding::Describe<TCLPimsmLearnedNeighbor> describePimsmLearnedNeighbor("TCLPimsmLearnedNeighbor", [](auto& c) {
    using T = TCLPimsmLearnedNeighbor;
    using R = hal::EPimsmLearnedNeighbor;
    c.constructor();
    c.readOnly("neighborAddress", &T::neighborAddress).maps(&R::neighbor).learned(ipv4);
    c.readOnly("interfaceAddress", &T::interfaceAddress).maps(&R::interfaceAddress).learned(ipv4);
    c.readOnly("drPriority", &T::drPriority).maps(&R::drPriority).learned(range(0, UINT32_MAX));
    c.readOnly("generationId", &T::generationId).maps(&R::generationId).learned(range(0, UINT32_MAX));
    c.readOnly("holdTime", &T::holdTime).maps(&R::holdTime).learned(range(0, 65535));
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLPimsmLearnedRp> describePimsmLearnedRp("TCLPimsmLearnedRp", [](auto& c) {
    using T = TCLPimsmLearnedRp;
    using R = hal::EPimsmLearnedRp;
    c.constructor();
    c.readOnly("rpAddress", &T::rpAddress).maps(&R::rp).learned(ipv4);
    c.readOnly("groupAddress", &T::groupAddress).maps(&R::group).learned([](const std::string& text) {
        return mcast::multicastAddress(text, false);
    });
    c.readOnly("maskWidth", &T::maskWidth).maps(&R::prefixLength).learned(range(4, 32));
    c.readOnly("priority", &T::priority).maps(&R::priority).learned(range(0, 255));
    c.readOnly("holdTime", &T::holdTime).maps(&R::holdTime).learned(range(0, 65535));
    c.method("setDefault", &T::setDefault);
});

// ---- router ----

TCLPimsmRouter::TCLPimsmRouter(TCLPimsmInterface* pPimsmInterface, TCLPimsmCandidateRpRange* pPimsmCandidateRpRange,
                               TCLPimsmLearnedNeighbor* pPimsmLearnedNeighbor, TCLPimsmLearnedRp* pPimsmLearnedRp)
    : interfaces(this, pPimsmInterface),
      candidateRpRanges(this, pPimsmCandidateRpRange),
      learnedNeighbors(pPimsmLearnedNeighbor),
      learnedRps(pPimsmLearnedRp) {
    setDefault();
}

void TCLPimsmRouter::setDefault() {
    Staged::setDefault();
    forgetLearned();
}

void TCLPimsmRouter::forgetLearned() {
    learnedNeighbors.forget();
    learnedRps.forget();
    numberOfLearnedNeighbors = 0;
    numberOfLearnedRps = 0;
}

// Another router's record: what was learned belonged to the one before.
void TCLPimsmRouter::FromRecord(const hal::EPimsmRouter& r) {
    if (r.id != work().id) forgetLearned();
    Staged::FromRecord(r);
}

static binding::Describe<TCLPimsmRouter> describePimsmRouter("TCLPimsmRouter", [](auto& c) {
    using T = TCLPimsmRouter;
    using R = hal::EPimsmRouter;
    c.template constructor<TCLPimsmInterface*, TCLPimsmCandidateRpRange*, TCLPimsmLearnedNeighbor*, TCLPimsmLearnedRp*>(
        "pPimsmInterface", "pPimsmCandidateRpRange", "pPimsmLearnedNeighbor", "pPimsmLearnedRp");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("routerId", &T::routerId).check(unicastV4).maps(&R::routerId);
    c.option("drPriority", &T::drPriority).check(range(0, UINT32_MAX)).maps(&R::drPriority);
    c.option("helloInterval", &T::helloInterval).check(range(1, 65535)).maps(&R::helloInterval);
    c.option("helloHoldTime", &T::helloHoldTime)
        .check(range(1, 65535))
        .check([](const T& t) { return holdOutlastsInterval(t.helloHoldTime, t.helloInterval); },
               "TCLPimsmRouter::Validate()   helloHoldTime must be more than helloInterval.")
        .maps(&R::helloHoldTime);
    c.option("joinPruneInterval", &T::joinPruneInterval).check(range(1, 65535)).maps(&R::joinPruneInterval);
    c.option("joinPruneHoldTime", &T::joinPruneHoldTime)
        .check(range(1, 65535))
        .check([](const T& t) { return holdOutlastsInterval(t.joinPruneHoldTime, t.joinPruneInterval); },
               "TCLPimsmRouter::Validate()   joinPruneHoldTime must be more than joinPruneInterval.")
        .maps(&R::joinPruneHoldTime);
    c.option("generationIdMode", &T::generationIdMode).check(range(0, 2)).maps(&R::generationIdMode);
    c.option("enableBootstrap", &T::enableBootstrap).check(boolean).maps(&R::bootstrap);
    c.option("bootstrapPriority", &T::bootstrapPriority).check(range(0, 255)).maps(&R::bootstrapPriority);
    c.option("hashMaskLength", &T::hashMaskLength).check(range(0, 32)).maps(&R::hashMaskLength);
    c.option("bootstrapInterval", &T::bootstrapInterval).check(range(1, 65535)).maps(&R::bootstrapInterval);
    c.option("enableCandidateRp", &T::enableCandidateRp).check(boolean).maps(&R::candidateRp);
    c.option("candidateRpPriority", &T::candidateRpPriority).check(range(0, 255)).maps(&R::candidateRpPriority);
    c.option("candidateRpInterval", &T::candidateRpInterval).check(range(1, 65535)).maps(&R::candidateRpInterval);
    c.option("candidateRpHoldTime", &T::candidateRpHoldTime)
        .check(range(1, 65535))
        .check([](const T& t) { return holdOutlastsInterval(t.candidateRpHoldTime, t.candidateRpInterval); },
               "TCLPimsmRouter::Validate()   candidateRpHoldTime must be more than candidateRpInterval.")
        .maps(&R::candidateRpHoldTime);
    c.readOnly("numberOfLearnedNeighbors", &T::numberOfLearnedNeighbors);
    c.readOnly("numberOfLearnedRps", &T::numberOfLearnedRps);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::interfaces>(c, "Interface", "interfaceId", "clearAllInterfaces");
    describeCollection<&T::candidateRpRanges>(c, "CandidateRpRange", "candidateRpRangeId", "clearAllCandidateRpRanges");
    describeLearned<&T::learnedNeighbors, &T::numberOfLearnedNeighbors>(
        c, {.kind = kPimsmNeighborsKind,
            .notLoaded = "The router has not been loaded from the server.",
            .key = [](const T& t) { return t.work().routerId.ToString(); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestLearnedNeighbors",
            .list = "getLearnedNeighborList",
            .first = "getFirstLearnedNeighbor",
            .next = "getNextLearnedNeighbor",
            .noneYet = "No learned neighbors have arrived yet.",
            .noMore = "No more learned neighbors."});
    describeLearned<&T::learnedRps, &T::numberOfLearnedRps>(
        c, {.kind = kPimsmRpSetKind,
            .notLoaded = "The router has not been loaded from the server.",
            .key = [](const T& t) { return t.work().routerId.ToString(); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestLearnedRps",
            .list = "getLearnedRpList",
            .first = "getFirstLearnedRp",
            .next = "getNextLearnedRp",
            .noneYet = "No learned RP set has arrived yet.",
            .noMore = "No more learned RPs."});
});

static binding::Describe<TCLPimsmServer> describePimsmServer("TCLPimsmServer", [](auto& c) {
    describeRouterServer<&TCLPimsmServer::routers>(c, "pPimsmRouter");
});

// ---- zkchassis::learn pimsmNeighbors / pimsmRpSet C D P routerId list ----

namespace {

struct RegisterLearnedPimsm {
    RegisterLearnedPimsm() {
        learn::registerItems<hal::EPimsmLearnedNeighbor>(kPimsmNeighborsKind, Protocol::Pimsm, "routerId neighborList",
                                                         &learn::kIpv4Key, "neighbor",
                                                         binding::learnedItems<TCLPimsmLearnedNeighbor>());
        learn::registerItems<hal::EPimsmLearnedRp>(kPimsmRpSetKind, Protocol::Pimsm, "routerId rpList", &learn::kIpv4Key, "RP",
                                                   binding::learnedItems<TCLPimsmLearnedRp>());
    }
} registerLearnedPimsm;

}  // namespace

}  // namespace zk
