#include "rip/rip.h"

#include <bit>

#include "binding/collection_methods.h"
#include "binding/learned.h"
#include "binding/learned_methods.h"
#include "core/protocol_interface.h"

namespace zk {
namespace {

// The HAL keeps a router's mask as a prefix length: the leading one bits.
int prefixOfMask(uint32_t mask) { return std::countl_one(mask); }
uint32_t maskOfPrefix(int prefix) {
    if (prefix <= 0) return 0;
    if (prefix >= 32) return 0xffffffffu;
    return ~(0xffffffffu >> prefix);
}

}  // namespace

static binding::Describe<TCLRipRouteRange> describeRipRouteRange("TCLRipRouteRange", [](auto& c) {
    using T = TCLRipRouteRange;
    using R = hal::ERIPRouteRange;
    c.constructor();
    c.option("enableRouteRange", &T::enableRouteRange)
        .check(boolean, "TCLRipRouteRange::Validate()    Invalid enableRouteRange.")
        .maps(&R::enabled);
    c.option("routeTag", &T::routeTag)
        .check(atLeast(0), "TCLRipRouteRange::Validate()   Invalid routeTag")
        .maps(&R::routeTag);
    c.option("networkIpAddress", &T::networkIpAddress)
        .check(ipv4, "TCLRipRouteRange::Validate()    Invalid networkIpAddress")
        .maps(&R::networkNumber);
    c.option("networkMaskWidth", &T::networkMaskWidth)
        .check(range(0, 32), "TCLRipRouteRange::Validate()   Invalid networkMaskWidth")
        .maps(&R::mask);
    c.option("numberOfNetworks", &T::numberOfNetworks).maps(&R::numberOfRoutes);
    c.option("nextHop", &T::nextHop).check(ipv4, "TCLRipRouteRange::Validate()    Invalid nextHop").maps(&R::nextHop);
    c.option("metric", &T::metric).check(atLeast(0), "TCLRipRouteRange::Validate()   Invalid metric").maps(&R::metric);
    c.checkOrder({"enableRouteRange", "routeTag", "metric", "networkMaskWidth", "networkIpAddress", "nextHop"});
    c.method("setDefault", &T::setDefault);
});

// --- learned route -------------------------------------------------------

static binding::Describe<TCLRipLearnedRoute> describeRipLearnedRoute("TCLRipLearnedRoute", [](auto& c) {
    using T = TCLRipLearnedRoute;
    using R = hal::ERIPLearnedRoute;
    c.constructor();
    c.readOnly("networkIpAddress", &T::networkIpAddress).maps(&R::network).learned(ipv4);
    c.readOnly("networkMaskWidth", &T::networkMaskWidth).maps(&R::prefixLength).learned(range(0, 32));
    c.readOnly("nextHop", &T::nextHop).maps(&R::nextHop).learned(ipv4);
    c.readOnly("metric", &T::metric).maps(&R::metric).learned(range(1, 16));
    c.readOnly("routeTag", &T::routeTag).maps(&R::routeTag).learned(range(0, 65535));
    c.readOnly("sourceAddress", &T::sourceAddress).maps(&R::source).learned(ipv4);
    c.method("setDefault", &T::setDefault);
});

namespace {
struct RegisterLearnedRip {
    RegisterLearnedRip() {
        learn::registerItems<hal::ERIPLearnedRoute>(kRipRoutesKind, Protocol::Rip, "ipAddress routeList",
                                                    &learn::kIpv4Key, "route",
                                                    binding::learnedItems<TCLRipLearnedRoute>());
    }
} registerLearnedRip;
}  // namespace

// --- router --------------------------------------------------------------

TCLRipInterfaceRouter::TCLRipInterfaceRouter(TCLRipRouteRange* pRipRouteRange, TCLRipLearnedRoute* pRipLearnedRoute)
    : routeRanges(this, pRipRouteRange, childListsReady, kNoPort), learnedRoutes(pRipLearnedRoute) {
    setDefault();
}

void TCLRipInterfaceRouter::setDefault() {
    Staged::setDefault();
    work().interfaceId.reset();  // the route ranges stay; the interface is chosen anew
    learnedRoutes.forget();
    numberOfLearnedRoutes = 0;
}

int TCLRipInterfaceRouter::intoRecordRest(hal::ERIPRouter& r) {
    r.ipAddress = {*ipv4Address(ipAddress), prefixOfMask(*parseIPv4(ipMask))};
    if (auto id = interfaceIdOf(protocolInterfaceDescription)) r.interfaceId = *id;
    return kOk;
}

void TCLRipInterfaceRouter::fromRecordRest(const hal::ERIPRouter& r) {
    ipAddress = r.ipAddress.address.ToString();
    ipMask = formatIPv4(maskOfPrefix(r.ipAddress.prefix));
    protocolInterfaceDescription = interfaceDescriptionOf(r.interfaceId);
}

static binding::Describe<TCLRipInterfaceRouter> describeRipInterfaceRouter("TCLRipInterfaceRouter", [](auto& c) {
    using T = TCLRipInterfaceRouter;
    using R = hal::ERIPRouter;
    c.template constructor<TCLRipRouteRange*, TCLRipLearnedRoute*>("pRipRouteRange",
                                                                   binding::optional("pRipLearnedRoute"));
    c.option("enableRouter", &T::enableRouter)
        .check(boolean, "TCLRipInterfaceRouter::Validate()   Invalid enableRouter.")
        .maps(&R::enabled);
    c.option("ipAddress", &T::ipAddress).check(ipv4, "TCLRipInterfaceRouter::Validate()   Invalid ipAddress");
    c.option("ipMask", &T::ipMask).check(ipv4, "TCLRipInterfaceRouter::Validate()   Invalid ipMask");
    c.option("responseMode", &T::responseMode)
        .check(range(0, 4), "TCLRipInterfaceRouter::Validate()   Invalid responseMode.")
        .maps(&R::responseMode);
    c.option("sendType", &T::sendType)
        .check(range(0, 2), "TCLRipInterfaceRouter::Validate()   Invalid sendType.")
        .maps(&R::sendType);
    c.option("receiveType", &T::receiveType)  // its check has always reported the send-type text
        .check(range(0, 3), "TCLRipInterfaceRouter::Validate()   Invalid sendType.")
        .maps(&R::receiveType);
    c.option("updateInterval", &T::updateInterval)
        .check(atLeast(0), "TCLRipInterfaceRouter::Validate()   Invalid updateInterval")
        .maps(&R::updateInterval);
    c.option("updateIntervalOffset", &T::updateIntervalOffset)
        .check(range(0, 15), "TCLRipInterfaceRouter::Validate()   Invalid updateIntervalOffset")
        .maps(&R::updateIntervalOffset);
    c.option("enableAuthorization", &T::enableAuthorization)
        .check(boolean, "TCLRipInterfaceRouter::Validate()   Invalid enableAuthorization.")
        .maps(&R::authorization);
    c.option("authorizationPassword", &T::authorizationPassword).maps(&R::authorizationPassword);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription);
    c.checkOrder({"enableRouter", "enableAuthorization", "responseMode", "sendType", "receiveType", "updateInterval",
                  "updateIntervalOffset"});
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeId", "clearAllRouteRange");
    describeLearned<&T::learnedRoutes, &T::numberOfLearnedRoutes>(
        c, {.kind = kRipRoutesKind,
            .notLoaded = "The router has not been loaded from the server.",
            .key = [](const T& t) { return t.work().ipAddress.address.ToString(); },
            .loaded = [](const T& t) { return t.work().id.IsValid(); },
            .request = "requestLearnedRoutes",
            .list = "getLearnedRouteList",
            .first = "getFirstLearnedRoute",
            .next = "getNextLearnedRoute",
            .noneYet = "No learned routes have arrived yet.",
            .noMore = "No more learned routes.",
            .ownRecord = true});
});

// --- server --------------------------------------------------------------

static binding::Describe<TCLRipServer> describeRipServer("TCLRipServer", [](auto& c) {
    using T = TCLRipServer;
    c.template constructor<TCLRipInterfaceRouter*>("pRipRouter");
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
    describeCollection<&T::routers>(c, "Router", "routerId", "clearAllRouters");
});

}  // namespace zk
