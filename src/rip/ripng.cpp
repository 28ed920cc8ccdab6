#include "rip/ripng.h"

#include <tcl.h>

#include <cstdint>

#include "binding/collection_methods.h"
#include "binding/learned.h"
#include "binding/learned_methods.h"
#include "core/protocol_interface.h"

namespace zk {

// --- route range ---------------------------------------------------------

static binding::Describe<TCLRipngRouteRange> describeRipngRouteRange("TCLRipngRouteRange", [](auto& c) {
    using T = TCLRipngRouteRange;
    using R = hal::ERIPngRouteRange;
    c.constructor();
    c.option("enable", &T::enable)
        .check(boolean, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid enable.")
        .maps(&R::enabled);
    c.option("routeTag", &T::routeTag)
        .check(atLeast(0), "TCLRipngRouteRange::ValidateRipngRouteRangeParms()   Invalid routeTag")
        .maps(&R::routeTag);
    c.option("networkIpAddress", &T::networkIpAddress)
        .check(ipv6, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid networkIpAddress")
        .maps(&R::networkNumber);
    c.option("maskWidth", &T::maskWidth)
        .check(atLeast(0), "TCLRipngRouteRange::ValidateRipngRouteRangeParms()   Invalid networkMaskWidth")
        .maps(&R::mask);
    c.option("step", &T::step)
        .check(atLeast(0), "TCLRipngRouteRange::ValidateRipngRouteRangeParms()   Invalid step")
        .maps(&R::step);
    c.option("numRoutes", &T::numRoutes).maps(&R::numberOfRoutes);
    c.option("nextHop", &T::nextHop)
        .check(ipv6, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid nextHop")
        .maps(&R::nextHop);
    c.option("metric", &T::metric)
        .check(atLeast(0), "TCLRipngRouteRange::ValidateRipngRouteRangeParms()   Invalid metric")
        .maps(&R::metric);
    // The include switches go to the exclude fields as they are; the
    // equipment has always read them that way.
    c.option("enableIncludeLoopback", &T::enableIncludeLoopback)
        .check(boolean, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid enableIncludeLoopback.")
        .maps(&R::excludeLoopback);
    c.option("enableIncludeMulticast", &T::enableIncludeMulticast)
        .check(boolean, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid enableIncludeMulticast.")
        .maps(&R::excludeMulticast);
    c.checkOrder({"enable", "enableIncludeLoopback", "enableIncludeMulticast", "routeTag", "metric", "step",
                  "maskWidth"});
    c.method("setDefault", &T::setDefault);
});

// --- interface -----------------------------------------------------------

// The interface id stays as loaded when the description matches no
// interface of the port.
int TCLRipngInterface::intoRecordRest(hal::ERIPngInterface& r) {
    if (auto id = interfaceIdOf(protocolInterfaceDescription)) r.interfaceId = *id;
    return kOk;
}

void TCLRipngInterface::fromRecordRest(const hal::ERIPngInterface& r) {
    protocolInterfaceDescription = interfaceDescriptionOf(r.interfaceId);
}

static binding::Describe<TCLRipngInterface> describeRipngInterface("TCLRipngInterface", [](auto& c) {
    using T = TCLRipngInterface;
    using R = hal::ERIPngInterface;
    c.constructor();
    c.option("enable", &T::enable)
        .check(boolean, "TCLRipngInterface::ValidateRipngInterfaceParms()    Invalid enable.")
        .maps(&R::enabled);
    c.option("responseMode", &T::responseMode)
        .check(range(0, 2), "TCLRipngInterface::ValidateRipngInterfaceParms()    Invalid responseMode.")
        .maps(&R::responseMode);
    c.option("interfaceMetric", &T::interfaceMetric)  // 0 passes although the text asks for more
        .check(atLeast(0), "TCLRipngInterface::ValidateRipngInterfaceParms()  interfaceMetric must be greater than 0.")
        .maps(&R::interfaceMetric);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription);
    c.checkOrder({"interfaceMetric"});
    c.method("setDefault", &T::setDefault);
});

// --- learned route -------------------------------------------------------

static binding::Describe<TCLRipngLearnedRoute> describeRipngLearnedRoute("TCLRipngLearnedRoute", [](auto& c) {
    using T = TCLRipngLearnedRoute;
    using R = hal::ERIPLearnedRoute;
    c.constructor();
    c.readOnly("networkIpAddress", &T::networkIpAddress).maps(&R::network).learned(ipv6);
    c.readOnly("maskWidth", &T::maskWidth).maps(&R::prefixLength).learned(range(0, 128));
    c.readOnly("nextHop", &T::nextHop).maps(&R::nextHop).learned(ipv6);
    c.readOnly("metric", &T::metric).maps(&R::metric).learned(range(1, 16));
    c.readOnly("routeTag", &T::routeTag).maps(&R::routeTag).learned(range(0, 65535));
    c.readOnly("sourceAddress", &T::sourceAddress).maps(&R::source).learned(ipv6);
    c.method("setDefault", &T::setDefault);
});

namespace {

// A RIPng router is known by its router ID, in decimal.
const learn::Key kRouterIdKey{"a router ID from 0 to 4294967295", [](Tcl_Obj* v) -> std::optional<std::string> {
                                  Tcl_WideInt n;
                                  if (Tcl_GetWideIntFromObj(nullptr, v, &n) != TCL_OK || n < 0 || n > UINT32_MAX)
                                      return std::nullopt;
                                  return std::to_string(n);
                              }};

struct RegisterLearnedRipng {
    RegisterLearnedRipng() {
        learn::registerItems<hal::ERIPLearnedRoute>(
            kRipngRoutesKind, Protocol::Ripng, "routerId routeList", &kRouterIdKey, "route",
            binding::learnedItems<TCLRipngLearnedRoute>(
                {hal::EIPAddress::FromV6({}), 0, hal::EIPAddress::FromV6({}), 1, 0, hal::EIPAddress::FromV6({})}));
    }
} registerLearnedRipng;

}  // namespace

// --- router --------------------------------------------------------------

TCLRipngRouter::TCLRipngRouter(TCLRipngRouteRange* pRipngRouteRange, TCLRipngInterface* pRipngInterface,
                               TCLRipngLearnedRoute* pRipngLearnedRoute)
    : routeRanges(this, pRipngRouteRange, childListsReady, kNoPort),
      interfaces(this, pRipngInterface, childListsReady, kNoPort),
      learnedRoutes(pRipngLearnedRoute) {
    setDefault();
}

void TCLRipngRouter::setDefault() {
    Staged::setDefault();
    learnedRoutes.forget();
    numberOfLearnedRoutes = 0;
}

static binding::Describe<TCLRipngRouter> describeRipngRouter("TCLRipngRouter", [](auto& c) {
    using T = TCLRipngRouter;
    using R = hal::ERIPngRouter;
    c.template constructor<TCLRipngRouteRange*, TCLRipngInterface*, TCLRipngLearnedRoute*>(
        "pRipngRouteRange", "pRipngInterface", binding::optional("pRipngLearnedRoute"));
    c.option("enable", &T::enable).maps(&R::enabled);
    c.option("routerId", &T::routerId)
        .check(atLeast(0), "TCLRipngRouter::Validate()  routerId must be greater or equal to 0.")
        .maps(&R::routerId);
    c.option("receiveType", &T::receiveType)
        .check(range(0, 1), "TCLRipngRouter::Validate() Invalid receiveType.")
        .maps(&R::receiveType);
    c.option("updateInterval", &T::updateInterval)
        .check(atLeast(1), "TCLRipngRouter::Validate()  updateInterval must be greater than 0.")
        .maps(&R::updateInterval);
    c.option("updateIntervalOffset", &T::updateIntervalOffset)  // its check has always reported the routerId text
        .check(atLeast(0), "TCLRipngRouter::Validate()  routerId must be greater or equal to 0.")
        .maps(&R::updateIntervalOffset);
    c.option("enableInterfaceMetric", &T::enableInterfaceMetric)
        .check(boolean, "TCLRipngRouter::Validate()  interfaceMetric must be TRUE or FALSE. ")
        .maps(&R::interfaceMetric);
    c.checkOrder({"routerId", "updateInterval", "updateIntervalOffset"});
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeId", "clearAllRouteRanges");
    describeCollection<&T::interfaces>(c, "Interface", "interfaceId", "clearAllInterfaces");
    describeLearned<&T::learnedRoutes, &T::numberOfLearnedRoutes>(
        c, {.kind = kRipngRoutesKind,
            .notLoaded = "The router has not been loaded from the server.",
            .key = [](const T& t) { return std::to_string(t.work().routerId); },
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

TCLRipngServer::TCLRipngServer(TCLRipngRouter* pRipngRouter) : Server(Protocol::Ripng), routers(this, pRipngRouter) {
    setDefault();
}

void TCLRipngServer::setDefault() {
    binding::loadOptions(*this, hal::ERIPngServer{});
    routers.resetCursor();
}

int TCLRipngServer::set() {
    auto* c = config();
    if (!c) return kNoPort;
    if (!binding::validate(*this)) return kFail;
    binding::storeOptions(*this, *c);
    return kOk;
}

// get asks only that the port exists: an unavailable port still reads.
int TCLRipngServer::get() {
    Port* port = currentPort();
    if (!port) return kNoPort;
    binding::loadOptions(*this, configAt(*port));
    return kOk;
}

static binding::Describe<TCLRipngServer> describeRipngServer("TCLRipngServer", [](auto& c) {
    using T = TCLRipngServer;
    using R = hal::ERIPngServer;
    c.template constructor<TCLRipngRouter*>("pRipngRouter");
    c.option("numRoutes", &T::numRoutes)
        .check(atLeast(0), "TCLRipngServer::Validate()   Invalid numRoutes")
        .maps(&R::numberOfRoutes);
    c.option("timePeriod", &T::timePeriod)
        .check(atLeast(0), "TCLRipngServer::Validate()   Invalid timePeriod")
        .maps(&R::timePeriod);
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("set", &T::set);
    c.method("get", &T::get);
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::routers>(c, "Router", "routerId", "clearAllRouters");
});

}  // namespace zk
