// RIP: the port-level server, the emulated routers (one per protocol
// interface) and the IPv4 route ranges each router advertises.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/port_server.h"
#include "hal/rip.h"

namespace zk {

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
    explicit TCLRipInterfaceRouter(TCLRipRouteRange* pRipRouteRange);

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
