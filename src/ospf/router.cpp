#include "ospf/router.h"

#include "binding/describe.h"
#include "core/checks.h"
#include "core/describe_collection.h"
#include "core/parse.h"
#include "core/port.h"

namespace zk {

// ---- port configuration ----

hal::Json COspfServer::ToJson() const {
    hal::Json j = server;
    j["ID"] = GetID();  // the port's configuration carries the identity streams are generated for
    size_t router = 0;
    server.GetRouterList().ForEach([&](const hal::EOSPFRouter& r) {
        size_t interface = 0;
        r.GetInterfaceList().ForEach([&](const hal::EOSPFInterface& i) {
            size_t range = 0;
            i.GetNetworkRangeList().ForEach([&](const hal::EOSPFNetworkRange& n) {
                j["RouterList"][router]["InterfaceList"][interface]["NetworkRangeList"][range++]["Description"] =
                    formatText("Auto generated %d by %d grid", n.GetNumberOfRows(), n.GetNumberOfCols());
            });
            ++interface;
        });
        ++router;
    });
    return j;
}

// ---- router ----

// A router's lists need no port: the router is only a record until the
// server adds it. Every refusal is a plain failure.
TCLOspfRouter::TCLOspfRouter(TCLOspfInterface* pOspfInterface, TCLOspfRouteRange* pOspfRouteRange,
                             TCLOspfUserLsaGroup* pOspfUserLsaGroup)
    : interfaces(pOspfInterface, {.ready = [] { return int(kOk); },
                                  .records = [this] { return &work_.GetInterfaceList(); },
                                  .names = [this] { return &interfaceNames_; },
                                  .refused = kFail}),
      routeRanges(pOspfRouteRange, {.ready = [] { return int(kOk); },
                                    .records = [this] { return &work_.GetRouteRangeList(); },
                                    .names = [this] { return &routeRangeNames_; },
                                    .refused = kFail}),
      userLsaGroups(pOspfUserLsaGroup, {.ready = [] { return int(kOk); },
                                        .records = [this] { return &work_.GetUserLSAGroupList(); },
                                        .names = [this] { return &userLsaGroupNames_; },
                                        .refused = kFail}) {
    setDefault();
}

void TCLOspfRouter::setDefault() {
    Copy(hal::EOSPFRouter{});
    for (CollectionBase* c : childCollections()) c->resetCursor();
}

bool TCLOspfRouter::Validate() {
    Checks c;
    c.range(enable, 0, 1, "TCLOspfRouter::Validate()   Invalid enable.");
    c.range(autoGenerateRouterLsa, 0, 1, "TCLOspfRouter::Validate()   Invalid autoGenerateRouterLsa.");
    c.ipv4(routerId, "TCLOspfRouter::Validate()   Invalid routerId");
    c.range(enableDiscardLearnedLsas, 0, 1, "TCLOspfRouter::Validate()   Invalid enableDiscardLearnedLsas.");
    return c.ok();
}

int TCLOspfRouter::ToRecord(hal::EOSPFRouter& r) {
    if (!Validate()) return kFail;
    r = work_;
    uint32_t id = parseIPv4(routerId).value_or(0);
    r.SetRouterID(hal::EBlob({uint8_t(id >> 24), uint8_t(id >> 16), uint8_t(id >> 8), uint8_t(id)}));
    r.SetEnabled(enable != 0);
    r.SetGenerateRouterLSA(autoGenerateRouterLsa != 0);
    r.SetDiscardLearnedLSAs(enableDiscardLearnedLsas != 0);
    setPortFeatures(r);
    return kOk;
}

// Graceful restart needs the port's OSPF features; elsewhere the HAL keeps
// its defaults and a differing option is reported, without failing.
void TCLOspfRouter::setPortFeatures(hal::EOSPFRouter& r) const {
    const hal::EOSPFRouter defaults;
    Port* port = currentPort();
    if (port && port->ospfFeatures) {
        r.SetGracefulRestart(enableGracefulRestart != 0);
        if (enableGracefulRestart) r.SetRebuildAdjForLSDBChange(enableRebuildAdjacency != 0);
        return;
    }
    if (!port) {
        setLastError("TCLOspfRouter::SetOspfRouter(): Please select the port to configure port specific features");
    } else {  // VerifyDefaultSettings
        if (enableGracefulRestart != int(defaults.GetGracefulRestart()))
            setLastErrorf("TCLOspfRouter::SetOspfRouter():  enableGracefulRestart is not supported on port %s.",
                          portName(*port));
        if (enableRebuildAdjacency != int(defaults.GetRebuildAdjForLSDBChange()))
            setLastErrorf("TCLOspfRouter::SetOspfRouter():  enableRebuildAdjacency is not supported on port %s.",
                          portName(*port));
    }
    r.SetGracefulRestart(defaults.GetGracefulRestart());
    r.SetRebuildAdjForLSDBChange(defaults.GetRebuildAdjForLSDBChange());
}

void TCLOspfRouter::Copy(const hal::EOSPFRouter& r) {
    const auto& b = r.GetRouterID().GetData();
    uint32_t id = 0;
    for (size_t i = 0; i < 4; ++i) id = id << 8 | (i < b.size() ? b[i] : 0);
    routerId = formatIPv4(id);
    enable = r.IsEnabled();
    autoGenerateRouterLsa = r.GenerateRouterLSA();
    enableDiscardLearnedLsas = r.GetDiscardLearnedLSAs();
    enableGracefulRestart = r.GetGracefulRestart();
    enableRebuildAdjacency = r.GetRebuildAdjForLSDBChange();
}

void TCLOspfRouter::FromRecord(const hal::EOSPFRouter& r) {
    work_ = r;
    Copy(r);
}

static binding::Describe<TCLOspfRouter> describeRouter(220, "TCLOspfRouter", [](auto& c) {
    using T = TCLOspfRouter;
    c.template constructor<TCLOspfInterface*, TCLOspfRouteRange*, TCLOspfUserLsaGroup*>(
        "pOspfInterface", "pOspfRouteRange", "pOspfUserLsaGroup");
    c.option("routerId", &T::routerId);
    c.option("enable", &T::enable);
    c.option("autoGenerateRouterLsa", &T::autoGenerateRouterLsa);
    c.option("enableDiscardLearnedLsas", &T::enableDiscardLearnedLsas);
    c.option("enableGracefulRestart", &T::enableGracefulRestart);
    c.option("enableRebuildAdjacency", &T::enableRebuildAdjacency);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::interfaces>(c, "Interface", "interfaceLocalId", "clearAllInterfaces");
    describeCollection<&T::routeRanges>(c, "RouteRange", "routeRangeLocalId", "clearAllRouteRanges");
    describeCollection<&T::userLsaGroups>(c, "UserLsaGroup", "userLsaGroupLocalId", "clearAllLsaGroups");
});

// ---- server ----

TCLOspfServer::TCLOspfServer(TCLOspfRouter* pOspfRouter)
    : PortServer(Protocol::Ospf, 1),
      routers(pOspfRouter, {.ready = [this] { return ready(); },
                            .records =
                                [this] {
                                    auto* c = config<COspfServer>();
                                    return c ? &c->server.GetRouterList() : nullptr;
                                },
                            .names = [this] { return names(0); }}) {}

chassis::EConfigRoot& TCLOspfServer::configOf(Port& port) {
    return port.holder(Protocol::Ospf).Config<COspfServer>();
}

static binding::Describe<TCLOspfServer> describeServer(221, "TCLOspfServer", [](auto& c) {
    using T = TCLOspfServer;
    c.template constructor<TCLOspfRouter*>("pOspfRouter");
    c.method("setDefault", &T::setDefault);
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("set", &T::set);
    c.method("get", &T::get);
    describeCollection<&T::routers>(c, "Router", "routerLocalId", "clearAllRouters");
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
});

}  // namespace zk
