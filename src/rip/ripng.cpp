#include "rip/ripng.h"

#include "binding/describe.h"
#include "core/checks.h"
#include "core/describe_collection.h"
#include "core/parse.h"
#include "core/port.h"
#include "core/protocol_interface.h"

namespace zk {
// --- route range ---------------------------------------------------------

void TCLRipngRouteRange::setDefault() { FromRecord(hal::ERIPngRouteRange{}); }

bool TCLRipngRouteRange::Validate() {
    Checks c;
    c.range(enable, 0, 1, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid enable.");
    c.range(enableIncludeLoopback, 0, 1,
            "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid enableIncludeLoopback.");
    c.range(enableIncludeMulticast, 0, 1,
            "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid enableIncludeMulticast.");
    c.notNegative(routeTag, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()   Invalid routeTag");
    c.notNegative(metric, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()   Invalid metric");
    c.notNegative(step, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()   Invalid step");
    c.notNegative(maskWidth, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()   Invalid networkMaskWidth");
    c.ipv6(networkIpAddress, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid networkIpAddress");
    c.ipv6(nextHop, "TCLRipngRouteRange::ValidateRipngRouteRangeParms()    Invalid nextHop");
    return c.ok();
}

int TCLRipngRouteRange::ToRecord(hal::ERIPngRouteRange& r) {
    if (!Validate()) return kFail;
    r.SetEnabled(enable);
    r.SetRouteTag(uint16_t(routeTag));  // the equipment keeps 16 bits of both
    r.SetMetric(uint16_t(metric));
    r.SetStep(uint32_t(step));
    r.SetNumberOfRoutes(numRoutes);
    r.SetMask(maskWidth);
    // The include flags go to the exclude setters as they are; the
    // equipment has always read them that way.
    r.SetExcludeLoopback(enableIncludeLoopback);
    r.SetExcludeMulticast(enableIncludeMulticast);
    r.SetNetworkNumber(*ipv6Address(networkIpAddress));
    r.SetNextHop(*ipv6Address(nextHop));
    return kOk;
}

void TCLRipngRouteRange::FromRecord(const hal::ERIPngRouteRange& r) {
    enable = r.IsEnabled();
    routeTag = r.GetRouteTag();
    networkIpAddress = r.GetNetworkNumber().ToString();
    maskWidth = r.GetMask();
    step = int(r.GetStep());
    numRoutes = r.GetNumberOfRoutes();
    nextHop = r.GetNextHop().ToString();
    metric = r.GetMetric();
    enableIncludeLoopback = r.GetExcludeLoopback();
    enableIncludeMulticast = r.GetExcludeMulticast();
}

static binding::Describe<TCLRipngRouteRange> describeRouteRange(150, "TCLRipngRouteRange", [](auto& c) {
    using T = TCLRipngRouteRange;
    c.constructor();
    c.option("enable", &T::enable);
    c.option("routeTag", &T::routeTag);
    c.option("networkIpAddress", &T::networkIpAddress);
    c.option("maskWidth", &T::maskWidth);
    c.option("step", &T::step);
    c.option("numRoutes", &T::numRoutes);
    c.option("nextHop", &T::nextHop);
    c.option("metric", &T::metric);
    c.option("enableIncludeLoopback", &T::enableIncludeLoopback);
    c.option("enableIncludeMulticast", &T::enableIncludeMulticast);
    c.method("setDefault", &T::setDefault);
});

// --- interface -----------------------------------------------------------

void TCLRipngInterface::setDefault() {
    work = hal::ERIPngInterface{};
    loadOptions(work);
    protocolInterfaceDescription.clear();
}

bool TCLRipngInterface::Validate() {
    Checks c;
    // 0 passes although the text asks for more.
    c.notNegative(interfaceMetric,
                  "TCLRipngInterface::ValidateRipngInterfaceParms()  interfaceMetric must be greater than 0.");
    c.range(enable, 0, 1, "TCLRipngInterface::ValidateRipngInterfaceParms()    Invalid enable.");
    c.range(responseMode, 0, 2, "TCLRipngInterface::ValidateRipngInterfaceParms()    Invalid responseMode.");
    return c.ok();
}

int TCLRipngInterface::ToRecord(hal::ERIPngInterface& r) {
    if (!Validate()) return kFail;
    r = work;
    r.SetEnabled(enable);
    r.SetResponseMode(responseMode);
    r.SetInterfaceMetric(uint32_t(interfaceMetric));
    if (auto id = interfaceIdOf(protocolInterfaceDescription)) r.SetInterfaceId(*id);
    return kOk;
}

void TCLRipngInterface::loadOptions(const hal::ERIPngInterface& r) {
    enable = r.IsEnabled();
    responseMode = r.GetResponseMode();
    interfaceMetric = int(r.GetInterfaceMetric());
}

void TCLRipngInterface::FromRecord(const hal::ERIPngInterface& r) {
    loadOptions(r);
    protocolInterfaceDescription = interfaceDescriptionOf(r.GetInterfaceId());
    work = r;
}

static binding::Describe<TCLRipngInterface> describeInterface(160, "TCLRipngInterface", [](auto& c) {
    using T = TCLRipngInterface;
    c.constructor();
    c.option("enable", &T::enable);
    c.option("responseMode", &T::responseMode);
    c.option("interfaceMetric", &T::interfaceMetric);
    c.option("protocolInterfaceDescription", &T::protocolInterfaceDescription);
    c.method("setDefault", &T::setDefault);
});

// --- router --------------------------------------------------------------

TCLRipngRouter::TCLRipngRouter(TCLRipngRouteRange* pRipngRouteRange, TCLRipngInterface* pRipngInterface)
    : routeRanges(pRipngRouteRange, {.ready = childListsReady,
                                     .records = [this] { return &work.RouteRanges(); },
                                     .names = [this] { return &routeRangeNames; }}),
      interfaces(pRipngInterface, {.ready = childListsReady,
                                   .records = [this] { return &work.Interfaces(); },
                                   .names = [this] { return &interfaceNames; }}) {
    setDefault();
}

void TCLRipngRouter::setDefault() {
    loadOptions(hal::ERIPngRouter{});
    routeRanges.resetCursor();
    interfaces.resetCursor();
}

bool TCLRipngRouter::Validate() {
    Checks c;
    c.notNegative(routerId, "TCLRipngRouter::Validate()  routerId must be greater or equal to 0.");
    c.that(updateInterval >= 1, "TCLRipngRouter::Validate()  updateInterval must be greater than 0.");
    // The offset check has always reported the routerId text.
    c.notNegative(updateIntervalOffset, "TCLRipngRouter::Validate()  routerId must be greater or equal to 0.");
    c.range(receiveType, 0, 1, "TCLRipngRouter::Validate() Invalid receiveType.");
    c.range(enableInterfaceMetric, 0, 1, "TCLRipngRouter::Validate()  interfaceMetric must be TRUE or FALSE. ");
    return c.ok();
}

// Unlike every other conversion here, this one reports 1 on success and 0
// when validation fails.
int TCLRipngRouter::Set(hal::ERIPngRouter& r) {
    if (!Validate()) return 0;
    r = work;  // brings the route ranges and interfaces along
    r.SetEnabled(enable);
    r.SetReceiveType(receiveType);
    r.SetRouterId(uint32_t(routerId));
    r.SetUpdateInterval(uint32_t(updateInterval));
    r.SetUpdateIntervalOffset(uint32_t(updateIntervalOffset));
    r.EnableInterfaceMetric(enableInterfaceMetric);
    return 1;
}

int TCLRipngRouter::ToRecord(hal::ERIPngRouter& r) { return Set(r) == 1 ? kOk : kFail; }

void TCLRipngRouter::loadOptions(const hal::ERIPngRouter& r) {
    enable = r.IsEnabled();
    routerId = int(r.GetRouterId());
    receiveType = r.GetReceiveType();
    updateInterval = int(r.GetUpdateInterval());
    updateIntervalOffset = int(r.GetUpdateIntervalOffset());
    enableInterfaceMetric = r.IsInterfaceMetricEnabled();
}

void TCLRipngRouter::FromRecord(const hal::ERIPngRouter& r) {
    loadOptions(r);
    work = r;
}

static binding::Describe<TCLRipngRouter> describeRouter(170, "TCLRipngRouter", [](auto& c) {
    using T = TCLRipngRouter;
    c.template constructor<TCLRipngRouteRange*, TCLRipngInterface*>("pRipngRouteRange", "pRipngInterface");
    c.option("enable", &T::enable);
    c.option("routerId", &T::routerId);
    c.option("receiveType", &T::receiveType);
    c.option("updateInterval", &T::updateInterval);
    c.option("updateIntervalOffset", &T::updateIntervalOffset);
    c.option("enableInterfaceMetric", &T::enableInterfaceMetric);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeId", "clearAllRouteRanges");
    describeCollection<&T::interfaces>(c, "Interface", "interfaceId", "clearAllInterfaces");
});

// --- server --------------------------------------------------------------

TCLRipngServer::TCLRipngServer(TCLRipngRouter* pRipngRouter)
    : PortServer(Protocol::Ripng, 1),
      routers(pRipngRouter, {.ready = [this] { return ready(); },
                             .records = [this] {
                                 auto* c = config<hal::ERIPngServer>();
                                 return c ? &c->Routers() : nullptr;
                             },
                             .names = [this] { return names(0); }}) {
    setDefault();
}

chassis::EConfigRoot& TCLRipngServer::configOf(Port& port) {
    return port.holder(Protocol::Ripng).Config<hal::ERIPngServer>();
}

void TCLRipngServer::setDefault() {
    hal::ERIPngServer d;
    numRoutes = int(d.GetNumberOfRoutes());
    timePeriod = int(d.GetTimePeriod());
    routers.resetCursor();
}

bool TCLRipngServer::Validate() {
    Checks c;
    c.notNegative(numRoutes, "TCLRipngServer::Validate()   Invalid numRoutes");
    c.notNegative(timePeriod, "TCLRipngServer::Validate()   Invalid timePeriod");
    return c.ok();
}

int TCLRipngServer::set() {
    auto* config = this->config<hal::ERIPngServer>();
    if (!config) return kNoPort;
    if (!Validate()) return kFail;
    config->SetNumberOfRoutes(uint32_t(numRoutes));
    config->SetTimePeriod(uint32_t(timePeriod));
    return kOk;
}

int TCLRipngServer::get() {
    auto* config = this->config<hal::ERIPngServer>();
    if (!config) return kNoPort;
    numRoutes = int(config->GetNumberOfRoutes());
    timePeriod = int(config->GetTimePeriod());
    return kOk;
}

static binding::Describe<TCLRipngServer> describeServer(180, "TCLRipngServer", [](auto& c) {
    using T = TCLRipngServer;
    c.template constructor<TCLRipngRouter*>("pRipngRouter");
    c.option("numRoutes", &T::numRoutes);
    c.option("timePeriod", &T::timePeriod);
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("set", &T::set);
    c.method("get", &T::get);
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::routers>(c, "Router", "routerId", "clearAllRouters");
});

}  // namespace zk
