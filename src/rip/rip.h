// RIP: the port-level server, the emulated routers (one per protocol
// interface) and the IPv4 route ranges each router advertises.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/learned.h"
#include "core/port_server.h"
#include "hal/rip.h"

namespace zk {

// `zkchassis::learn ripRoutes C D P ipAddress routeList` files the routes a
// router learned under its address; a bound port answers the same kind.
inline constexpr const char* kRipRoutesKind = "ripRoutes";

// One route a RIP router learned from its link, read-only to scripts.
class TCLRipLearnedRoute : public binding::Staged<TCLRipLearnedRoute, hal::ERIPLearnedRoute> {
public:
    TCLRipLearnedRoute() { setDefault(); }

    std::string networkIpAddress;
    int networkMaskWidth;
    std::string nextHop;
    int metric;
    int routeTag;
    std::string sourceAddress;
};

class TCLRipRouteRange : public binding::Staged<TCLRipRouteRange, hal::ERIPRouteRange> {
public:
    TCLRipRouteRange() { setDefault(); }

    int enableRouteRange;
    int routeTag;
    std::string networkIpAddress;
    int networkMaskWidth;
    int numberOfNetworks;
    std::string nextHop;
    int metric;
};

class TCLRipInterfaceRouter : public binding::Staged<TCLRipInterfaceRouter, hal::ERIPRouter> {
public:
    explicit TCLRipInterfaceRouter(TCLRipRouteRange* pRipRouteRange, TCLRipLearnedRoute* pRipLearnedRoute = nullptr);

    int enableRouter;
    std::string ipAddress;
    std::string ipMask;
    int responseMode;
    int sendType;
    int receiveType;
    int updateInterval;
    int updateIntervalOffset;
    int enableAuthorization;
    std::string authorizationPassword;
    std::string protocolInterfaceDescription;

    ChildList<TCLRipRouteRange, &hal::ERIPRouter::routeRanges> routeRanges;

    // What the router learned on its link (a bound port's answer, or what
    // zkchassis::learn gave an emulated one); the count is no option of the
    // router, a script walks the list.
    int numberOfLearnedRoutes = 0;
    LearnedWalk<hal::ERIPLearnedRoute, TCLRipLearnedRoute> learnedRoutes;

    void setDefault();
    int intoRecordRest(hal::ERIPRouter& r);
    void fromRecordRest(const hal::ERIPRouter& r);
};

// All RIP configuration lives in the routers; the server only keeps them
// per port.
class TCLRipServer : public Server<hal::ERIPServer> {
public:
    explicit TCLRipServer(TCLRipInterfaceRouter* pRipRouter) : Server(Protocol::Rip), routers(this, pRipRouter) {}

    ServerList<TCLRipInterfaceRouter, &hal::ERIPServer::routers> routers;
};

}  // namespace zk
