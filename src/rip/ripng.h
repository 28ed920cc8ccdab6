// RIPng: the port-level server with its update pacing, the emulated routers,
// the protocol interfaces they run on and the IPv6 route ranges they
// advertise.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/learned.h"
#include "core/port_server.h"
#include "hal/rip.h"

namespace zk {

// `zkchassis::learn ripngRoutes C D P routerId routeList` files the routes a
// router learned under its router ID; a bound port answers the same kind.
inline constexpr const char* kRipngRoutesKind = "ripngRoutes";

// One route a RIPng router learned from its link, read-only to scripts.
class TCLRipngLearnedRoute : public binding::Staged<TCLRipngLearnedRoute, hal::ERIPLearnedRoute> {
public:
    TCLRipngLearnedRoute() { setDefault(); }

    std::string networkIpAddress;
    int maskWidth;
    std::string nextHop;
    int metric;
    int routeTag;
    std::string sourceAddress;
};

class TCLRipngRouteRange : public binding::Staged<TCLRipngRouteRange, hal::ERIPngRouteRange> {
public:
    TCLRipngRouteRange() { setDefault(); }

    int enable;
    int routeTag;
    std::string networkIpAddress;
    int maskWidth;
    int step;
    int numRoutes;
    std::string nextHop;
    int metric;
    int enableIncludeLoopback;
    int enableIncludeMulticast;
};

class TCLRipngInterface : public binding::Staged<TCLRipngInterface, hal::ERIPngInterface> {
public:
    TCLRipngInterface() { setDefault(); }

    int enable;
    int responseMode;
    int interfaceMetric;
    std::string protocolInterfaceDescription;

    void setDefault() { FromRecord(hal::ERIPngInterface{}); }
    int intoRecordRest(hal::ERIPngInterface& r);
    void fromRecordRest(const hal::ERIPngInterface& r);
};

class TCLRipngRouter : public binding::Staged<TCLRipngRouter, hal::ERIPngRouter> {
public:
    TCLRipngRouter(TCLRipngRouteRange* pRipngRouteRange, TCLRipngInterface* pRipngInterface,
                   TCLRipngLearnedRoute* pRipngLearnedRoute = nullptr);

    int enable;
    int routerId;
    int receiveType;
    int updateInterval;
    int updateIntervalOffset;
    int enableInterfaceMetric;

    ChildList<TCLRipngRouteRange, &hal::ERIPngRouter::routeRanges> routeRanges;
    ChildList<TCLRipngInterface, &hal::ERIPngRouter::interfaces> interfaces;

    // What the router learned on its link; the count is no option of the
    // router, a script walks the list.
    int numberOfLearnedRoutes = 0;
    LearnedWalk<hal::ERIPLearnedRoute, TCLRipngLearnedRoute> learnedRoutes;

    void setDefault();
};

class TCLRipngServer : public Server<hal::ERIPngServer> {
public:
    explicit TCLRipngServer(TCLRipngRouter* pRipngRouter);

    int numRoutes;
    int timePeriod;

    ServerList<TCLRipngRouter, &hal::ERIPngServer::routers> routers;

    void setDefault();
    int set();
    int get();
};

}  // namespace zk
