// RIP (IPv4) and RIPng (IPv6) configuration records: the port's server, the
// emulated routers, RIPng's protocol interfaces, and the route ranges a
// router advertises. Defaults follow common RIP practice: a full table
// every 30 s with a few seconds of jitter, one hop per advertised route.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "hal/basic.h"

namespace hal {

// A block of networks a router advertises; what RIP and RIPng share.
struct EAnyIpRouteRange : ERecord {
    bool enabled = true;
    uint16_t routeTag = 0;  // 16 bits on the wire
    EIPAddress networkNumber;
    int mask;  // prefix length
    int numberOfRoutes = 1;
    EIPAddress nextHop;  // the any-address: the router itself

    static constexpr auto fields() {
        using R = EAnyIpRouteRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("RouteTag", &R::routeTag),
                                          field("NetworkNumber", &R::networkNumber),
                                          field("Mask", &R::mask, "prefix length"),
                                          field("NumberOfRoutes", &R::numberOfRoutes),
                                          field("NextHop", &R::nextHop, "the any-address: the router itself")));
    }

protected:
    EAnyIpRouteRange(EIPAddress anyAddress, int prefix) : networkNumber(anyAddress), mask(prefix), nextHop(anyAddress) {}
};

struct ERIPRouteRange : EAnyIpRouteRange {
    ERIPRouteRange() : EAnyIpRouteRange(EIPAddress::FromV4(0), 24) {}
    uint32_t metric = 1;

    static constexpr auto fields() {
        return std::tuple_cat(EAnyIpRouteRange::fields(), hal::fields(field("Metric", &ERIPRouteRange::metric)));
    }
};

struct ERIPRouter : ERecord {
    bool enabled = true;
    EIPMaskedAddress ipAddress{EIPAddress::FromV4(0), 24};
    int responseMode = 0;
    int sendType = 0;
    int receiveType = 3;
    bool generalRequest = true;
    bool authorization = false;
    std::string authorizationPassword;
    uint32_t updateInterval = 30;
    uint32_t updateIntervalOffset = 5;
    std::optional<int> interfaceId;
    RecordList<ERIPRouteRange> routeRanges;

    static constexpr auto fields() {
        using R = ERIPRouter;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("IPAddress", &R::ipAddress),
                        field("ResponseMode", &R::responseMode,
                              "0 default, 1 split horizon, 2 poison reverse, 3 split horizon space saver, 4 silent"),
                        field("SendType", &R::sendType, "0 multicast, 1 broadcast v1, 2 broadcast v2"),
                        field("ReceiveType", &R::receiveType, "0 none, 1 v1, 2 v2, 3 both"),
                        field("GeneralRequestEnabled", &R::generalRequest, "ask neighbours for their table at start"),
                        field("AuthorizationEnabled", &R::authorization),
                        field("AuthorizationPassword", &R::authorizationPassword),
                        field("UpdateInterval", &R::updateInterval, "seconds"),
                        field("UpdateIntervalOffset", &R::updateIntervalOffset, "seconds of jitter"),
                        field("InterfaceId", &R::interfaceId, "the port's protocol interface; none until set"),
                        field("RouteRanges", &R::routeRanges)));
    }
};

// The RIP configuration of one port.
struct ERIPServer : ConfigRoot<ERIPServer> {
    RecordList<ERIPRouter> routers;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("Routers", &ERIPServer::routers)));
    }
};

struct ERIPngRouteRange : EAnyIpRouteRange {
    ERIPngRouteRange() : EAnyIpRouteRange(EIPAddress::FromV6({}), 64) {}
    uint16_t metric = 1;  // the equipment keeps 16 bits
    uint32_t step = 1;
    bool excludeLoopback = false;
    bool excludeMulticast = false;

    static constexpr auto fields() {
        using R = ERIPngRouteRange;
        return std::tuple_cat(EAnyIpRouteRange::fields(),
                              hal::fields(field("Metric", &R::metric),
                                          field("Step", &R::step, "between generated prefixes"),
                                          field("ExcludeLoopback", &R::excludeLoopback),
                                          field("ExcludeMulticast", &R::excludeMulticast)));
    }
};

struct ERIPngInterface : ERecord {
    bool enabled = true;
    int responseMode = 0;
    uint32_t interfaceMetric = 1;
    std::optional<int> interfaceId;

    static constexpr auto fields() {
        using R = ERIPngInterface;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled),
                        field("ResponseMode", &R::responseMode, "0 split horizon, 1 none, 2 poison reverse"),
                        field("InterfaceMetric", &R::interfaceMetric, "added to routes learned here"),
                        field("InterfaceId", &R::interfaceId)));
    }
};

struct ERIPngRouter : ERecord {
    bool enabled = true;
    uint32_t routerId = 0;
    int receiveType = 1;
    uint32_t updateInterval = 30;
    uint32_t updateIntervalOffset = 5;
    bool interfaceMetric = true;
    RecordList<ERIPngRouteRange> routeRanges;
    RecordList<ERIPngInterface> interfaces;

    static constexpr auto fields() {
        using R = ERIPngRouter;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("RouterId", &R::routerId),
                        field("ReceiveType", &R::receiveType, "0 ignore received routes, 1 store them"),
                        field("UpdateInterval", &R::updateInterval),
                        field("UpdateIntervalOffset", &R::updateIntervalOffset),
                        field("InterfaceMetricEnabled", &R::interfaceMetric,
                              "interface metrics are added to advertised routes"),
                        field("RouteRanges", &R::routeRanges), field("Interfaces", &R::interfaces)));
    }
};

// The RIPng configuration of one port. Update pacing: at most
// NumberOfRoutes routes per TimePeriod milliseconds; 0 sends without pause.
struct ERIPngServer : ConfigRoot<ERIPngServer> {
    uint32_t numberOfRoutes = 0;
    uint32_t timePeriod = 0;
    RecordList<ERIPngRouter> routers;

    static constexpr auto fields() {
        using R = ERIPngServer;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("NumberOfRoutes", &R::numberOfRoutes),
                                          field("TimePeriod", &R::timePeriod), field("Routers", &R::routers)));
    }
};

// A route a RIP or RIPng router of a bound port learned from its link: the
// metric as the neighbour sent it, the next hop it named (or the neighbour
// itself), the route tag and the neighbour's address.
struct ERIPLearnedRoute {
    EIPAddress network;
    uint8_t prefixLength = 0;
    EIPAddress nextHop;
    uint32_t metric = 0;
    uint16_t routeTag = 0;
    EIPAddress source;

    static constexpr auto fields() {
        using R = ERIPLearnedRoute;
        return hal::fields(field("Network", &R::network), field("PrefixLength", &R::prefixLength),
                           field("NextHop", &R::nextHop), field("Metric", &R::metric),
                           field("RouteTag", &R::routeTag), field("Source", &R::source));
    }
};

}  // namespace hal
