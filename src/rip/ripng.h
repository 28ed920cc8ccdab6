// RIPng: the port-level server with its update pacing, the emulated routers,
// the protocol interfaces they run on and the IPv6 route ranges they
// advertise.
#pragma once

#include <string>
#include <vector>

#include "core/collection.h"
#include "core/server.h"
#include "hal/rip.h"

namespace zk {

class TCLRipngRouteRange : public Object {
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

    void setDefault();

    int ToRecord(hal::ERIPngRouteRange& r);
    void FromRecord(const hal::ERIPngRouteRange& r);

private:
    bool Validate();
};

class TCLRipngInterface : public Object {
public:
    TCLRipngInterface() { setDefault(); }

    int enable;
    int responseMode;
    int interfaceMetric;
    std::string protocolInterfaceDescription;

    void setDefault();

    int ToRecord(hal::ERIPngInterface& r);
    void FromRecord(const hal::ERIPngInterface& r);

private:
    bool Validate();
    void loadOptions(const hal::ERIPngInterface& r);

    hal::ERIPngInterface work;  // keeps the interface id a description did not match
};

class TCLRipngRouter : public Object {
public:
    TCLRipngRouter(TCLRipngRouteRange* pRipngRouteRange, TCLRipngInterface* pRipngInterface);

    int enable;
    int routerId;
    int receiveType;
    int updateInterval;
    int updateIntervalOffset;
    int enableInterfaceMetric;

    Collection<TCLRipngRouteRange, hal::ERIPngRouteRange> routeRanges;
    Collection<TCLRipngInterface, hal::ERIPngInterface> interfaces;

    void setDefault();
    std::vector<CollectionBase*> childCollections() override { return {&routeRanges, &interfaces}; }

    int ToRecord(hal::ERIPngRouter& r);
    void FromRecord(const hal::ERIPngRouter& r);

private:
    bool Validate();
    int Set(hal::ERIPngRouter& r);
    void loadOptions(const hal::ERIPngRouter& r);

    hal::ERIPngRouter work;  // holds the route ranges and interfaces added so far
    ItemList routeRangeNames, interfaceNames;
};

class TCLRipngServer : public PortServer {
public:
    explicit TCLRipngServer(TCLRipngRouter* pRipngRouter);

    int numRoutes;
    int timePeriod;

    Collection<TCLRipngRouter, hal::ERIPngRouter> routers;

    void setDefault();
    int set();
    int get();

    std::vector<CollectionBase*> childCollections() override { return {&routers}; }

protected:
    chassis::EConfigRoot& configOf(Port& port) override;

private:
    bool Validate();
};

}  // namespace zk
