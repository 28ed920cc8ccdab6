// The OSPFv3 server of a port and the emulated routers it holds.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/port_server.h"
#include "hal/ospfv3.h"
#include "ospfv3/interface.h"
#include "ospfv3/ranges.h"
#include "ospfv3/user_lsa.h"

namespace zk {

class TCLOspfV3Router : public binding::Staged<TCLOspfV3Router, hal::EOSPFv3Router> {
public:
    TCLOspfV3Router(TCLOspfV3Interface* pOspfV3Interface, TCLOspfV3RouteRange* pOspfV3RouteRange,
                    TCLOspfV3UserLsaGroup* pOspfV3UserLsaGroup);

    std::string routerId;
    int enable;
    int enableAreaBorderRouter;
    int enableAsBoundaryRouter;
    int enableGracefulRestart;

    // A router's lists need no port: the router is only a record until the
    // server adds it.
    ChildList<TCLOspfV3Interface, &hal::EOSPFv3Router::interfaces> interfaces;
    ChildList<TCLOspfV3RouteRange, &hal::EOSPFv3Router::routeRanges> routeRanges;
    ChildList<TCLOspfV3UserLsaGroup, &hal::EOSPFv3Router::groups> userLsaGroups;

    int intoRecordRest(hal::EOSPFv3Router& r);
};

class TCLOspfV3Server : public RouterServer<hal::EOSPFv3Server, TCLOspfV3Router, &hal::EOSPFv3Server::routers, Protocol::OspfV3> {
public:
    using RouterServer::RouterServer;
};

}  // namespace zk
