// RIP: the port-level server, the emulated routers (one per protocol
// interface) and the IPv4 route ranges each router advertises.
#pragma once

#include <string>
#include <vector>

#include "core/collection.h"
#include "core/server.h"
#include "hal/rip.h"

namespace zk {

class TCLRipRouteRange : public Object {
public:
    TCLRipRouteRange() { setDefault(); }

    int enableRouteRange;
    int routeTag;
    std::string networkIpAddress;
    int networkMaskWidth;
    int numberOfNetworks;
    std::string nextHop;
    int metric;

    void setDefault();

    int ToRecord(hal::ERIPRouteRange& r);
    void FromRecord(const hal::ERIPRouteRange& r);

private:
    bool Validate();
};

class TCLRipInterfaceRouter : public Object {
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

    Collection<TCLRipRouteRange, hal::ERIPRouteRange> routeRanges;

    void setDefault();
    std::vector<CollectionBase*> childCollections() override { return {&routeRanges}; }

    int ToRecord(hal::ERIPRouter& r);
    void FromRecord(const hal::ERIPRouter& r);

private:
    bool Validate();
    void loadOptions(const hal::ERIPRouter& r);

    int enableGeneralRequest;  // not an option: the HAL default, validated and sent
    hal::ERIPRouter work;      // holds the route ranges added so far
    ItemList routeRangeNames;
};

// All RIP configuration lives in the routers; the server only keeps them
// per port.
class TCLRipServer : public PortServer {
public:
    explicit TCLRipServer(TCLRipInterfaceRouter* pRipRouter);

    Collection<TCLRipInterfaceRouter, hal::ERIPRouter> routers;

    std::vector<CollectionBase*> childCollections() override { return {&routers}; }

protected:
    chassis::EConfigRoot& configOf(Port& port) override;
};

}  // namespace zk
