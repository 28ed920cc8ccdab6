// The OSPFv2 server of a port and the emulated routers it holds.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/port_server.h"
#include "hal/ospf.h"
#include "ospf/interface.h"
#include "ospf/ranges.h"
#include "ospf/user_lsa.h"

namespace zk {

class TCLOspfRouter : public binding::Staged<TCLOspfRouter, hal::EOSPFRouter> {
public:
    TCLOspfRouter(TCLOspfInterface* pOspfInterface, TCLOspfRouteRange* pOspfRouteRange,
                  TCLOspfUserLsaGroup* pOspfUserLsaGroup);

    std::string routerId;
    int enable;
    int autoGenerateRouterLsa;
    int enableDiscardLearnedLsas;
    int enableGracefulRestart;
    int enableRebuildAdjacency;

    // A router's lists need no port: the router is only a record until the
    // server adds it. Every refusal is a plain failure.
    ChildList<TCLOspfInterface, &hal::EOSPFRouter::interfaces> interfaces;
    ChildList<TCLOspfRouteRange, &hal::EOSPFRouter::routeRanges> routeRanges;
    ChildList<TCLOspfUserLsaGroup, &hal::EOSPFRouter::groups> userLsaGroups;

    int intoRecordRest(hal::EOSPFRouter& r);
};

class TCLOspfServer : public RouterServer<hal::EOSPFServer, TCLOspfRouter, &hal::EOSPFServer::routers, Protocol::Ospf> {
public:
    using RouterServer::RouterServer;
};

}  // namespace zk
