#include "isis/router.h"

#include "binding/collection_methods.h"
#include "binding/learned_methods.h"
#include "core/port.h"
#include "isis/forms.h"

namespace zk {

TCLIsisRouter::TCLIsisRouter(TCLIsisInterface* pIsisInterface, TCLIsisRouteRange* pIsisRouteRange,
                             TCLIsisGrid* pIsisGrid, TCLIsisLearnedLsp* pIsisLearnedLsp)
    : interfaces(this, pIsisInterface),
      routeRanges(this, pIsisRouteRange),
      grids(this, pIsisGrid),
      learnedLsps(pIsisLearnedLsp) {
    setDefault();
}

void TCLIsisRouter::setDefault() {
    Staged::setDefault();
    forgetLearned();
}

// Traffic engineering and graceful restart need the port's IS-IS features.
int TCLIsisRouter::intoRecordRest(hal::EISISRouter& r) {
    using R = hal::EISISRouter;
    static const isis::PortFeature<R> kFeatures[] = {
        {"enableTrafficEngineering", isis::restoreDefault<&R::teEnabled>},
        {"teRouterId", isis::restoreDefault<&R::teRouterId>},
        {"gracefulRestartMode", isis::restoreDefault<&R::restartMode>},
        {"gracefulRestartVersion", isis::restoreDefault<&R::restartVersion>},
        {"gracefulRestartTime", isis::restoreDefault<&R::restartTime>},
    };
    isis::applyPortFeatures(r, "TCLIsisRouter::SetIsisRouter()", kFeatures);
    return kOk;
}

void TCLIsisRouter::forgetLearned() {
    learnedLsps.forget();
    numberOfLearnedLsps = 0;
}

// Another router's record: what was learned belonged to the one before.
void TCLIsisRouter::FromRecord(const hal::EISISRouter& r) {
    if (r.id != work().id) forgetLearned();
    Staged::FromRecord(r);
}

namespace {

// Traffic engineering travels in the wide-metric TLVs (22 and 135). Both
// relations are checked only between values that passed their own checks.
bool teHasWideMetrics(const TCLIsisRouter& t) { return !(t.enableTrafficEngineering == 1 && t.enableWideMetric == 0); }
// Narrow metrics (TLVs 2, 128 and 130) carry 6 bits: 0 to 63.
constexpr uint32_t kMaxNarrowMetric = 63;
bool narrowMetricsFit(const hal::EISISRouter& r) {
    bool fit = true;
    r.interfaces.ForEach([&](const hal::EISISInterface& i) { fit = fit && i.metric <= kMaxNarrowMetric; });
    r.routeRanges.ForEach([&](const hal::EISISRouteRange& rr) { fit = fit && rr.metric <= kMaxNarrowMetric; });
    r.grids.ForEach([&](const hal::EISISGrid& g) { fit = fit && g.metric <= kMaxNarrowMetric; });
    return fit;
}
// An LSP is refreshed before it ages out.
bool refreshedInTime(const TCLIsisRouter& t) {
    bool timers = t.lspRefreshInterval >= 1 && t.lspRefreshInterval <= 65535 && t.lspMaxLifetime >= 1 &&
                  t.lspMaxLifetime <= 65535;
    return !timers || t.lspRefreshInterval < t.lspMaxLifetime;
}

}  // namespace

static binding::Describe<TCLIsisRouter> describeIsisRouter("TCLIsisRouter", [](auto& c) {
    using T = TCLIsisRouter;
    using R = hal::EISISRouter;
    c.template constructor<TCLIsisInterface*, TCLIsisRouteRange*, TCLIsisGrid*, TCLIsisLearnedLsp*>(
        "pIsisInterface", "pIsisRouteRange", "pIsisGrid", "pIsisLearnedLsp");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("systemId", &T::systemId).check(isis::systemId).mapsVia(isis::systemIdBlob, isis::systemIdText, &R::systemId);
    c.option("areaAddresses", &T::areaAddresses)
        .check(isis::areaAddresses)
        .mapsVia(isis::areaBlobs, isis::areaText, &R::areaAddresses);
    c.option("level", &T::level).check(range(1, 3)).maps(&R::level);
    c.option("enableDynamicHostname", &T::enableDynamicHostname).check(boolean).maps(&R::dynamicHostname);
    c.option("hostname", &T::hostname).check(maxLength(255)).maps(&R::hostname);  // TLV 137 holds 255 bytes
    // A router with narrow metrics and a metric above 63 is taken, and the
    // script is told.
    c.option("enableWideMetric", &T::enableWideMetric)
        .check(boolean)
        .checkWith([](const T& t, Checks& c) {
            if (c.ok() && t.enableWideMetric == 0 && !narrowMetricsFit(t.work()))
                setLastError("TCLIsisRouter::Validate()   A metric above 63 needs enableWideMetric.");
        })
        .maps(&R::wideMetrics);
    c.option("enableTrafficEngineering", &T::enableTrafficEngineering)
        .check(boolean)
        .check(teHasWideMetrics, "TCLIsisRouter::Validate()   enableTrafficEngineering needs enableWideMetric.")
        .maps(&R::teEnabled);
    c.option("teRouterId", &T::teRouterId).check(ipv4).maps(&R::teRouterId);
    c.option("enableOverloadBit", &T::enableOverloadBit).check(boolean).maps(&R::overload);
    c.option("enableAttachedBit", &T::enableAttachedBit).check(boolean).maps(&R::attached);
    c.option("lspRefreshInterval", &T::lspRefreshInterval).check(range(1, 65535)).maps(&R::lspRefresh);
    c.option("lspMaxLifetime", &T::lspMaxLifetime)
        .check(range(1, 65535))
        .check(refreshedInTime, "TCLIsisRouter::Validate()   lspRefreshInterval must be below lspMaxLifetime.")
        .maps(&R::lspLifetime);
    c.option("areaAuthType", &T::areaAuthType).check(range(0, 1)).maps(&R::areaAuthType);
    c.option("areaPassword", &T::areaPassword).check(maxLength(isis::kMaxPassword)).maps(&R::areaPassword);
    c.option("domainAuthType", &T::domainAuthType).check(range(0, 1)).maps(&R::domainAuthType);
    c.option("domainPassword", &T::domainPassword).check(maxLength(isis::kMaxPassword)).maps(&R::domainPassword);
    c.option("gracefulRestartMode", &T::gracefulRestartMode).check(range(0, 3)).maps(&R::restartMode);
    c.option("gracefulRestartVersion", &T::gracefulRestartVersion).check(range(1, 2)).maps(&R::restartVersion);
    c.option("gracefulRestartTime", &T::gracefulRestartTime).check(range(1, 65535)).maps(&R::restartTime);
    c.readOnly("numberOfLearnedLsps", &T::numberOfLearnedLsps);
    c.method("setDefault", &T::setDefault);
    describeLearned<&T::learnedLsps, &T::numberOfLearnedLsps>(
        c, {.kind = kIsisLspsKind,
            .notLoaded = "The router has not been loaded from the server.",
            .key = [](const T& t) { return isis::systemIdText(t.work().systemId); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestLearnedLsps",
            .list = "getLearnedLspList",
            .first = "getFirstLearnedLsp",
            .next = "getNextLearnedLsp",
            .noneYet = "No learned LSPs have arrived yet.",
            .noMore = "No more learned LSPs."});
    describeCollection<&T::interfaces>(c, "Interface", "interfaceLocalId", "clearAllInterfaces");
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeLocalId", "clearAllRouteRanges");
    describeCollection<&T::grids>(c, "Grid", "gridLocalId", "clearAllGrids");
});

static binding::Describe<TCLIsisServer> describeIsisServer("TCLIsisServer", [](auto& c) {
    describeRouterServer<&TCLIsisServer::routers>(c, "pIsisRouter");
});

}  // namespace zk
