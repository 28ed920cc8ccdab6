#include "bgp4/neighbor.h"

#include <array>

#include "bgp4/forms.h"
#include "binding/collection_methods.h"
#include "binding/learned_methods.h"
#include "core/port.h"
#include "core/port_feature.h"
#include "core/span.h"

namespace zk {

using Neighbor = hal::EBGP::ConfigNeighbor;

ItemList BorrowedNames::snapshot() {
    CollectionBase* list = list_();
    return list ? list->snapshot() : ItemList{};
}
void BorrowedNames::restore(const ItemList& names) {
    if (CollectionBase* list = list_()) list->restore(names);
}
void BorrowedNames::resetCursor() {
    if (CollectionBase* list = list_()) list->resetCursor();
}

TCLBgp4Neighbor::TCLBgp4Neighbor(TCLBgp4RouteRange* pBgpRouteRange, TCLBgp4L3Site* pL3Site,
                                 TCLBgp4MplsRouteRange* pMplsRouteRange, TCLBgp4PrefixFilter* pPrefixFilter,
                                 TCLBgp4RouteFilter* pRouteFilter, TCLBgp4InternalTable* pInternalTable,
                                 TCLBgp4LearnedRoute* pLearnedRoute)
    : routeRanges(this, pBgpRouteRange),
      l3Sites(this, pL3Site),
      mplsRouteRanges(this, pMplsRouteRange),
      prefixFilters(this, pPrefixFilter),
      learnedRoutes(pLearnedRoute),
      routeFilter_(pRouteFilter),
      internalTable_(pInternalTable),
      internalPeerNames_([this]() -> CollectionBase* {
          TCLBgp4InternalTable* table = internalTable_.get();
          return table ? &table->neighborItems : nullptr;
      }) {
    adoptList(&internalPeerNames_);
    setDefault();
}

namespace {

// The address-family switches: each needs the port's BGP families.
struct Family {
    const char* option;
    int TCLBgp4Neighbor::*value;
    bool Neighbor::*field;
};
const Family kFamilies[] = {
    {"enableIpV4Unicast", &TCLBgp4Neighbor::enableIpV4Unicast, &Neighbor::ipV4Unicast},
    {"enableIpV4Multicast", &TCLBgp4Neighbor::enableIpV4Multicast, &Neighbor::ipV4Multicast},
    {"enableIpV4Mpls", &TCLBgp4Neighbor::enableIpV4Mpls, &Neighbor::ipV4Mpls},
    {"enableIpV4MplsVpn", &TCLBgp4Neighbor::enableIpV4MplsVpn, &Neighbor::ipV4MplsVpn},
    {"enableIpV6Unicast", &TCLBgp4Neighbor::enableIpV6Unicast, &Neighbor::ipV6Unicast},
    {"enableIpV6Multicast", &TCLBgp4Neighbor::enableIpV6Multicast, &Neighbor::ipV6Multicast},
    {"enableIpV6Mpls", &TCLBgp4Neighbor::enableIpV6Mpls, &Neighbor::ipV6Mpls},
    {"enableIpV6MplsVpn", &TCLBgp4Neighbor::enableIpV6MplsVpn, &Neighbor::ipV6MplsVpn},
};

bool holdTime(int h) { return h == 0 || (h >= 3 && h <= 65535); }
bool validTimers(const TCLBgp4Neighbor& t) { return holdTime(t.holdTime) && t.keepAlive >= 0 && t.keepAlive <= 65535; }

}  // namespace

// On a port without the BGP families every switch keeps the record's
// default and a differing one is reported; without a port the same, with
// another text. Neither refuses the neighbor.
void TCLBgp4Neighbor::setFamilies(Neighbor& r) const {
    const Neighbor defaults;
    std::array<PortDependent, std::size(kFamilies)> options;
    for (size_t i = 0; i < options.size(); ++i)
        options[i] = {kFamilies[i].option, (this->*kFamilies[i].value != 0) != defaults.*kFamilies[i].field};
    if (portHasFeature("TCLBgp4Neighbor::SetBgpNeighbor()", [](const Port& p) { return p.bgpFamilies != 0; }, options))
        return;
    for (const Family& f : kFamilies) r.*f.field = defaults.*f.field;
}

// A route filter or internal table that does not convert refuses the
// neighbor with its own message.
int TCLBgp4Neighbor::intoRecordRest(Neighbor& r) {
    setFamilies(r);
    if (TCLBgp4RouteFilter* filter = routeFilter_.get(); filter && filter->ToRecord(r.routeFilter) != kOk) return kFail;
    if (TCLBgp4InternalTable* table = internalTable_.get(); table && table->ToRecord(r.internalTable) != kOk)
        return kFail;
    return kOk;
}

void TCLBgp4Neighbor::setDefault() {
    Staged::setDefault();
    statisticValue.clear();
    forgetLearned();
}

void TCLBgp4Neighbor::forgetLearned() {
    learnedRoutes.forget();
    statsReply_.forget();
    numberOfLearnedRoutes = 0;
}

// Another neighbor's record: what was learned belonged to the one before.
void TCLBgp4Neighbor::FromRecord(const Neighbor& r) {
    if (r.id != work().id) forgetLearned();
    Staged::FromRecord(r);
    if (TCLBgp4RouteFilter* filter = routeFilter_.get()) filter->FromRecord(r.routeFilter);
    if (TCLBgp4InternalTable* table = internalTable_.get()) table->FromRecord(r.internalTable);
}

void TCLBgp4Neighbor::fromRecordRest(const Neighbor& r) {
    addressType = r.localAddress.IsV6() ? bgp4::kAddressTypeIpV6 : bgp4::kAddressTypeIpV4;
}

// ---- learned routes and statistics ----

int TCLBgp4Neighbor::requestStatistics() {
    if (int r = mayRequestLearned("TCLBgp4Neighbor::requestStatistics()", work().id.IsValid(),
                                  "The neighbor has not been loaded from the server.", kBgpStatsKind))
        return r;
    statsReply_.send(*currentPort(), kBgpStatsKind, work().dutAddress.ToString(), token());
    return kOk;
}

// A counter the port did not report reads 0.
int TCLBgp4Neighbor::getStatistic(int selector) {
    if (selector < 0 || selector > kLastStatistic) {
        setLastErrorf("TCLBgp4Neighbor::getStatistic()   Unknown statistic selector %d.", selector);
        return kFail;
    }
    if (!statsReply_.arrived()) {
        setLastError("TCLBgp4Neighbor::getStatistic()   No statistics have arrived yet.");
        return kFail;
    }
    statisticValue = "0";
    if (auto reply = statsReply_.data())
        if (auto it = reply->values.find(selector); it != reply->values.end()) statisticValue = it->second;
    return kOk;
}

static binding::Describe<TCLBgp4Neighbor> describeBgp4Neighbor("TCLBgp4Neighbor", [](auto& c) {
    using T = TCLBgp4Neighbor;
    using R = Neighbor;
    c.template constructor<TCLBgp4RouteRange*, TCLBgp4L3Site*, TCLBgp4MplsRouteRange*, TCLBgp4PrefixFilter*,
                           TCLBgp4RouteFilter*, TCLBgp4InternalTable*, TCLBgp4LearnedRoute*>(
        "pBgpRouteRange", "pL3Site", "pMplsRouteRange", "pPrefixFilter", "pRouteFilter", "pInternalTable",
        "pLearnedRoute");
    c.option("type", &T::type).check(range(0, 1)).maps(&R::type);
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("addressType", &T::addressType).check([](int t) {
        return t == bgp4::kAddressTypeIpV4 || t == bgp4::kAddressTypeIpV6;
    });
    c.option("localIpAddress", &T::localIpAddress)
        .check([](const T& t) { return bgp4::isAddressOfType(t.addressType, t.localIpAddress); })
        .maps(&R::localAddress);
    c.option("dutIpAddress", &T::dutIpAddress)
        .check([](const T& t) { return bgp4::isAddressOfType(t.addressType, t.dutIpAddress); })
        .maps(&R::dutAddress);
    c.option("localAsNum", &T::localAsNum).check(range(1, 65535)).maps(&R::localAs);
    c.option("asNumMode", &T::asNumMode).check(range(0, 1)).maps(&R::asNumMode);
    // In increment mode each route range takes the next AS number.
    c.option("asNumStep", &T::asNumStep)
        .check(range(0, 65535))
        .check([](const T& t) {
                   return t.asNumMode != 1 || !range(1, 65535)(t.localAsNum) || !range(0, 65535)(t.asNumStep) ||
                          stepsFit(unsigned(t.localAsNum), (long long)t.work().routeRanges.Size(), unsigned(t.asNumStep), 65535);
               },
               "TCLBgp4Neighbor::Validate()   asNumStep runs past AS number 65535 from localAsNum over the route ranges.")
        .maps(&R::asNumStep);
    c.option("bgpId", &T::bgpId).check(ipv4).maps(&R::bgpId);
    // A hold time is 0 (no keepalives) or at least 3 seconds.
    c.option("holdTime", &T::holdTime)
        .check(holdTime)
        .maps(&R::holdTime);
    c.option("keepAlive", &T::keepAlive)
        .check(range(0, 65535))
        .check([](const T& t) { return !validTimers(t) || 3LL * t.keepAlive <= t.holdTime; },
               "TCLBgp4Neighbor::Validate()   keepAlive must be at most a third of holdTime.")
        .maps(&R::keepAlive);
    c.option("updateInterval", &T::updateInterval).check(range(0, 65535)).maps(&R::updateInterval);
    c.option("ttl", &T::ttl).check(range(1, 255)).maps(&R::ttl);
    c.option("md5Key", &T::md5Key).check(maxLength(80)).maps(&R::md5Key);
    c.option("enableGracefulRestart", &T::enableGracefulRestart).check(boolean).maps(&R::gracefulRestart);
    c.option("restartTime", &T::restartTime).check(range(0, 4095)).maps(&R::restartTime);
    c.option("staleTime", &T::staleTime).check(atLeast(0)).maps(&R::staleTime);
    c.option("enableLinkFlap", &T::enableLinkFlap).check(boolean).maps(&R::linkFlap);
    c.option("linkFlapUpTime", &T::linkFlapUpTime).check(atLeast(0)).maps(&R::linkUpTime);
    c.option("linkFlapDownTime", &T::linkFlapDownTime).check(atLeast(0)).maps(&R::linkDownTime);
    // Read back as stored; they reach the record only where the port has the families.
    for (const Family& f : kFamilies) c.option(f.option, f.value).check(boolean).maps(f.field);
    c.readOnly("numberOfLearnedRoutes", &T::numberOfLearnedRoutes);
    c.readOnly("statisticValue", &T::statisticValue);
    c.method("setDefault", &T::setDefault);
    describeLearned<&T::learnedRoutes, &T::numberOfLearnedRoutes>(
        c, {.kind = kBgpRoutesKind,
            .notLoaded = "The neighbor has not been loaded from the server.",
            .key = [](const T& t) { return t.work().dutAddress.ToString(); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestLearnedRoutes",
            .list = "getLearnedRouteList",
            .first = "getFirstLearnedRoute",
            .next = "getNextLearnedRoute",
            .noneYet = "No learned routes have arrived yet.",
            .noMore = "No more learned routes.",
            .keep = [](const T& t, const hal::EBGP::LearnedRoute& r) { return keepsRoute(t.work(), r); },
            .limit = [](const T& t) -> size_t {
                return t.work().routeFilter.enabled ? t.work().routeFilter.maxRoutes : 0;
            }});
    c.method("requestStatistics", &T::requestStatistics);
    c.method("getStatistic", &T::getStatistic, "selector");
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeId", "clearAllRouteRanges");
    describeCollection<&T::l3Sites>(c, "L3Site", "l3SiteId", "clearAllL3Sites");
    describeCollection<&T::mplsRouteRanges>(c, "MplsRouteRange", "mplsRouteRangeId", "clearAllMplsRouteRanges");
    describeCollection<&T::prefixFilters>(c, "PrefixFilter", "prefixFilterId", "clearAllPrefixFilter");
});

}  // namespace zk
