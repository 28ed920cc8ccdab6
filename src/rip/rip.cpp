#include "rip/rip.h"

#include <bit>

#include "binding/describe.h"
#include "core/checks.h"
#include "core/describe_collection.h"
#include "core/parse.h"
#include "core/port.h"
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

// --- route range ---------------------------------------------------------

void TCLRipRouteRange::setDefault() { FromRecord(hal::ERIPRouteRange{}); }

bool TCLRipRouteRange::Validate() {
    Checks c;
    c.range(enableRouteRange, 0, 1, "TCLRipRouteRange::Validate()    Invalid enableRouteRange.");
    c.notNegative(routeTag, "TCLRipRouteRange::Validate()   Invalid routeTag");
    c.notNegative(metric, "TCLRipRouteRange::Validate()   Invalid metric");
    c.range(networkMaskWidth, 0, 32, "TCLRipRouteRange::Validate()   Invalid networkMaskWidth");
    c.ipv4(networkIpAddress, "TCLRipRouteRange::Validate()    Invalid networkIpAddress");
    c.ipv4(nextHop, "TCLRipRouteRange::Validate()    Invalid nextHop");
    return c.ok();
}

int TCLRipRouteRange::ToRecord(hal::ERIPRouteRange& r) {
    if (!Validate()) return kFail;
    r.SetEnabled(enableRouteRange);
    r.SetRouteTag(uint16_t(routeTag));  // 16 bits on the wire
    r.SetMetric(uint32_t(metric));
    r.SetNumberOfRoutes(numberOfNetworks);
    r.SetMask(networkMaskWidth);
    r.SetNetworkNumber(*ipv4Address(networkIpAddress));
    r.SetNextHop(*ipv4Address(nextHop));
    return kOk;
}

void TCLRipRouteRange::FromRecord(const hal::ERIPRouteRange& r) {
    enableRouteRange = r.IsEnabled();
    routeTag = r.GetRouteTag();
    networkIpAddress = r.GetNetworkNumber().ToString();
    networkMaskWidth = r.GetMask();
    numberOfNetworks = r.GetNumberOfRoutes();
    nextHop = r.GetNextHop().ToString();
    metric = int(r.GetMetric());
}

static binding::Describe<TCLRipRouteRange> describeRouteRange(100, "TCLRipRouteRange", [](auto& c) {
    using T = TCLRipRouteRange;
    c.constructor();
    c.option("enableRouteRange", &T::enableRouteRange);
    c.option("routeTag", &T::routeTag);
    c.option("networkIpAddress", &T::networkIpAddress);
    c.option("networkMaskWidth", &T::networkMaskWidth);
    c.option("numberOfNetworks", &T::numberOfNetworks);
    c.option("nextHop", &T::nextHop);
    c.option("metric", &T::metric);
    c.method("setDefault", &T::setDefault);
});

// --- router --------------------------------------------------------------

TCLRipInterfaceRouter::TCLRipInterfaceRouter(TCLRipRouteRange* pRipRouteRange)
    : routeRanges(pRipRouteRange, {.ready = childListsReady,
                                   .records = [this] { return &work.RouteRanges(); },
                                   .names = [this] { return &routeRangeNames; }}) {
    setDefault();
}

void TCLRipInterfaceRouter::setDefault() {
    loadOptions(hal::ERIPRouter{});
    protocolInterfaceDescription.clear();
    work.ClearInterfaceId();  // the route ranges stay; the interface is chosen anew
    routeRanges.resetCursor();
}

bool TCLRipInterfaceRouter::Validate() {
    Checks c;
    c.range(enableRouter, 0, 1, "TCLRipInterfaceRouter::Validate()   Invalid enableRouter.");
    c.range(enableGeneralRequest, 0, 1, "TCLRipInterfaceRouter::Validate()   Invalid enableGeneralRequest.");
    c.range(enableAuthorization, 0, 1, "TCLRipInterfaceRouter::Validate()   Invalid enableAuthorization.");
    c.range(responseMode, 0, 4, "TCLRipInterfaceRouter::Validate()   Invalid responseMode.");
    c.range(sendType, 0, 2, "TCLRipInterfaceRouter::Validate()   Invalid sendType.");
    // The receive-type check has always reported the send-type text.
    c.range(receiveType, 0, 3, "TCLRipInterfaceRouter::Validate()   Invalid sendType.");
    c.notNegative(updateInterval, "TCLRipInterfaceRouter::Validate()   Invalid updateInterval");
    c.range(updateIntervalOffset, 0, 15, "TCLRipInterfaceRouter::Validate()   Invalid updateIntervalOffset");
    c.ipv4(ipAddress, "TCLRipInterfaceRouter::Validate()   Invalid ipAddress");
    c.ipv4(ipMask, "TCLRipInterfaceRouter::Validate()   Invalid ipMask");
    return c.ok();
}

int TCLRipInterfaceRouter::ToRecord(hal::ERIPRouter& r) {
    if (!Validate()) return kFail;
    r = work;  // brings the route ranges along
    r.SetEnabled(enableRouter);
    r.SetResponseMode(responseMode);
    r.SetReceiveType(receiveType);
    r.SetSendType(sendType);
    r.EnableGeneralRequest(enableGeneralRequest);
    r.SetAuthorizationPassword(authorizationPassword);
    r.SetUpdateInterval(uint32_t(updateInterval));
    r.SetUpdateIntervalOffset(uint32_t(updateIntervalOffset));
    r.EnableAuthorization(enableAuthorization);
    r.SetIPAddress({*ipv4Address(ipAddress), prefixOfMask(*parseIPv4(ipMask))});
    if (auto id = interfaceIdOf(protocolInterfaceDescription)) r.SetInterfaceId(*id);
    return kOk;
}

void TCLRipInterfaceRouter::loadOptions(const hal::ERIPRouter& r) {
    enableRouter = r.IsEnabled();
    ipAddress = r.GetIPAddress().GetAddress().ToString();
    ipMask = formatIPv4(maskOfPrefix(r.GetIPAddress().GetPrefixLength()));
    responseMode = r.GetResponseMode();
    sendType = r.GetSendType();
    receiveType = r.GetReceiveType();
    updateInterval = int(r.GetUpdateInterval());
    updateIntervalOffset = int(r.GetUpdateIntervalOffset());
    enableAuthorization = r.IsAuthorizationEnabled();
    authorizationPassword = r.GetAuthorizationPassword();
    enableGeneralRequest = r.IsGeneralRequestEnabled();
}

void TCLRipInterfaceRouter::FromRecord(const hal::ERIPRouter& r) {
    loadOptions(r);
    protocolInterfaceDescription = interfaceDescriptionOf(r.GetInterfaceId());
    work = r;
}

static binding::Describe<TCLRipInterfaceRouter> describeRouter(110, "TCLRipInterfaceRouter", [](auto& c) {
    using T = TCLRipInterfaceRouter;
    c.template constructor<TCLRipRouteRange*>("pRipRouteRange");
    c.option("enableRouter", &T::enableRouter);
    c.option("ipAddress", &T::ipAddress);
    c.option("ipMask", &T::ipMask);
    c.option("responseMode", &T::responseMode);
    c.option("sendType", &T::sendType);
    c.option("receiveType", &T::receiveType);
    c.option("updateInterval", &T::updateInterval);
    c.option("updateIntervalOffset", &T::updateIntervalOffset);
    c.option("enableAuthorization", &T::enableAuthorization);
    c.option("authorizationPassword", &T::authorizationPassword);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeId", "clearAllRouteRange");
});

// --- server --------------------------------------------------------------

TCLRipServer::TCLRipServer(TCLRipInterfaceRouter* pRipRouter)
    : PortServer(Protocol::Rip, 1),
      routers(pRipRouter, {.ready = [this] { return ready(); },
                           .records = [this] {
                               auto* c = config<hal::ERIPServer>();
                               return c ? &c->Routers() : nullptr;
                           },
                           .names = [this] { return names(0); }}) {}

chassis::EConfigRoot& TCLRipServer::configOf(Port& port) {
    return port.holder(Protocol::Rip).Config<hal::ERIPServer>();
}

static binding::Describe<TCLRipServer> describeServer(120, "TCLRipServer", [](auto& c) {
    using T = TCLRipServer;
    c.template constructor<TCLRipInterfaceRouter*>("pRipRouter");
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
    describeCollection<&T::routers>(c, "Router", "routerId", "clearAllRouters");
});

}  // namespace zk
