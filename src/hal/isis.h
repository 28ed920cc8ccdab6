// IS-IS configuration records of the open HAL: router, interface (circuit),
// route ranges, generated grids with their traffic-engineering paths, the
// LSPs a port learned, and the port-level server that holds the routers.
//
// Defaults are those of ISO 10589 and the TE and restart extensions:
// hello 10 s with a hold multiplier of 3, LSPs refreshed every 900 s and
// living 1200 s, a circuit metric of 10, a DIS priority of 64, level 1 and
// 2 on every router and circuit. Fields are as wide as IS-IS carries them:
// a wide metric is 24 bits, a priority 7, LSP timers 16.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hal/basic.h"
#include "hal/grid_record.h"
#include "hal/te_data.h"

namespace hal {

// A system ID is six bytes; an area address one to thirteen.
inline EBlob DefaultIsisSystemId() { return EBlob({0, 0, 0, 0, 0, 1}); }

// A block of consecutive prefixes (IPv4 or IPv6) a router advertises.
struct EISISRouteRange : ERecord {
    bool enabled = true;
    EIPAddress firstPrefix = EIPAddress::FromV4(0x0A0A0000);  // 10.10.0.0
    uint8_t prefixLength = 24;
    uint32_t count = 1;
    uint32_t step = 1;  // in prefixes of that length: 1 is back to back
    UIntBits<24> metric = 10;
    uint8_t origin = 0;  // internal
    bool upDown = false;

    static constexpr auto fields() {
        using R = EISISRouteRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("FirstPrefix", &R::firstPrefix),
                                          field("PrefixLength", &R::prefixLength), field("NumberOfPrefixes", &R::count),
                                          field("PrefixStep", &R::step, "prefixes of the prefix length"),
                                          field("Metric", &R::metric), field("Origin", &R::origin, "0 internal, 1 external"),
                                          field("UpDownBit", &R::upDown)));
    }
};

// A traffic-engineering path through a grid, from one node to another
// (rows and columns counted from 1).
struct EISISGridTePath : ERecord {
    bool enabled = true;
    int sourceRow = 1, sourceColumn = 1;
    int destinationRow = 2, destinationColumn = 2;
    double bandwidth = ETrafficEngineeringData::kGigabit;
    EBlob adminGroup{std::vector<uint8_t>(4, 0)};

    static constexpr auto fields() {
        using R = EISISGridTePath;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("SourceRow", &R::sourceRow),
                        field("SourceColumn", &R::sourceColumn), field("DestinationRow", &R::destinationRow),
                        field("DestinationColumn", &R::destinationColumn),
                        field("Bandwidth", &R::bandwidth, "bytes per second"),
                        field("AdministrativeGroup", &R::adminGroup)));
    }
};

// An emulated grid of IS-IS routers behind a circuit: every node has a
// system ID and a router ID stepped from the first, every link a subnet.
struct EISISGrid : EGrid {
    int entryRow = 1, entryCol = 1;
    EBlob firstSystemId = EBlob({0, 0, 0, 0, 0x10, 0x01});
    EBlob systemIdStep = EBlob({0, 0, 0, 0, 0, 1});
    EIPAddress firstRouterId = EIPAddress::FromV4(0x0A000001);  // 10.0.0.1
    uint32_t routerIdStep = 1;
    EIPMaskedAddress firstSubnet{EIPAddress::FromV4(0x0A010000), 24};  // 10.1.0.0/24
    uint32_t subnetStep = 0x100;
    uint8_t linkType = 0;  // point-to-point
    UIntBits<24> metric = 10;
    bool teEnabled = false;
    ETrafficEngineeringData te;
    RecordList<EISISRouteRange> routeRanges;  // advertised by every node
    RecordList<EISISGridTePath> tePaths;

    int CalcNoOfRouters() const { return saturated(routers()); }
    int CalcNoOfLinks() const { return saturated(links()); }

    static constexpr auto fields() {
        using R = EISISGrid;
        return std::tuple_cat(
            EGrid::fields(),
            hal::fields(field("EntryPointRow", &R::entryRow), field("EntryPointColumn", &R::entryCol),
                        field("FirstSystemID", &R::firstSystemId), field("SystemIDIncrement", &R::systemIdStep),
                        field("FirstRouterID", &R::firstRouterId), field("RouterIDIncrement", &R::routerIdStep),
                        field("FirstSubnetIPAddress", &R::firstSubnet), field("SubnetIncrement", &R::subnetStep),
                        field("LinkType", &R::linkType, "0 point-to-point, 1 broadcast"), field("Metric", &R::metric),
                        field("TEEnabled", &R::teEnabled), field("TEConfig", &R::te),
                        field("RouteRangeList", &R::routeRanges), field("TEPathList", &R::tePaths),
                        computed<R>("NoOfRouters", [](const R& r) { return r.CalcNoOfRouters(); }),
                        computed<R>("NoOfLinks", [](const R& r) { return r.CalcNoOfLinks(); })));
    }
};

// One circuit of an emulated router.
struct EISISInterface : ERecord {
    bool enabled = true;
    bool connectedToDut = true;
    EIPAddress address;
    EIPAddress mask = EIPAddress::FromV4(0xFFFFFF00);
    EIPAddress ipv6Address = EIPAddress::FromV6({});
    uint8_t ipv6PrefixLength = 64;
    uint8_t networkType = 2;  // broadcast
    uint8_t level = 3;        // level 1 and 2
    UIntBits<24> metric = 10;
    uint16_t helloInterval = 10;
    uint8_t holdMultiplier = 3;
    uint8_t priority = 64;
    uint8_t authType = 0;
    std::string password;
    bool teEnabled = false;
    ETrafficEngineeringData te;
    int interfaceId = 0;
    std::string interfaceDescription;

    static constexpr auto fields() {
        using R = EISISInterface;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("ConnectedToDUT", &R::connectedToDut),
                        field("IPAddress", &R::address), field("InterfaceMask", &R::mask),
                        field("IPv6Address", &R::ipv6Address), field("IPv6PrefixLength", &R::ipv6PrefixLength),
                        field("NetworkType", &R::networkType, "1 point-to-point, 2 broadcast"),
                        field("CircuitLevel", &R::level, "1 level 1, 2 level 2, 3 both"), field("Metric", &R::metric),
                        field("HelloInterval", &R::helloInterval, "seconds"),
                        field("HoldMultiplier", &R::holdMultiplier, "hello intervals"),
                        field("Priority", &R::priority, "DIS election"),
                        field("AuthenticationType", &R::authType, "0 none, 1 password"),
                        field("AuthenticationPassword", &R::password), field("TEEnabled", &R::teEnabled),
                        field("TrafficEngineering", &R::te), field("InterfaceId", &R::interfaceId),
                        field("InterfaceDescription", &R::interfaceDescription)));
    }
};

struct EISISRouter : ERecord {
    bool enabled = true;
    EBlob systemId = DefaultIsisSystemId();
    std::vector<EBlob> areaAddresses{EBlob({0x49, 0x00, 0x01})};
    uint8_t level = 3;
    bool dynamicHostname = true;
    std::string hostname;
    bool wideMetrics = false;  // narrow metrics, as ISO 10589 has them
    bool teEnabled = false;
    EIPAddress teRouterId;
    bool overload = false;
    bool attached = false;
    uint16_t lspRefresh = 900;
    uint16_t lspLifetime = 1200;
    uint8_t areaAuthType = 0;
    std::string areaPassword;
    uint8_t domainAuthType = 0;
    std::string domainPassword;
    uint8_t restartMode = 0;     // a normal router
    uint8_t restartVersion = 2;  // draft version 4
    uint16_t restartTime = 30;   // seconds: the hold time of default hellos
    RecordList<EISISInterface> interfaces;
    RecordList<EISISRouteRange> routeRanges;
    RecordList<EISISGrid> grids;

    static constexpr auto fields() {
        using R = EISISRouter;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("SystemID", &R::systemId, "six bytes"),
                        field("AreaAddresses", &R::areaAddresses), field("Level", &R::level, "1, 2 or 3 (both)"),
                        field("DynamicHostname", &R::dynamicHostname), field("Hostname", &R::hostname),
                        field("WideMetrics", &R::wideMetrics), field("TEEnabled", &R::teEnabled),
                        field("TERouterID", &R::teRouterId), field("OverloadBit", &R::overload),
                        field("AttachedBit", &R::attached), field("LSPRefreshInterval", &R::lspRefresh, "seconds"),
                        field("LSPMaxLifetime", &R::lspLifetime, "seconds"),
                        field("AreaAuthenticationType", &R::areaAuthType), field("AreaPassword", &R::areaPassword),
                        field("DomainAuthenticationType", &R::domainAuthType),
                        field("DomainPassword", &R::domainPassword),
                        field("GracefulRestartMode", &R::restartMode, "0 normal, 1 restarting, 2 starting, 3 helper"),
                        field("GracefulRestartVersion", &R::restartVersion, "1 draft 3, 2 draft 4"),
                        field("GracefulRestartTime", &R::restartTime, "seconds"),
                        field("InterfaceList", &R::interfaces), field("RouteRangeList", &R::routeRanges),
                        field("GridList", &R::grids)));
    }
};

// The IS-IS configuration of one port: its emulated routers.
struct EISISServer : ConfigRoot<EISISServer> {
    RecordList<EISISRouter> routers;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("RouterList", &EISISServer::routers)));
    }
};

// An LSP a port holds in its database, as it reports it.
struct EISISLearnedLSP {
    EBlob lspId{std::vector<uint8_t>(8, 0)};  // system ID, pseudonode, fragment
    uint32_t sequence = 1;
    uint16_t remainingLifetime = 1200;
    uint8_t level = 1;
    std::string tlvs;

    static constexpr auto fields() {
        using R = EISISLearnedLSP;
        return hal::fields(field("LSPID", &R::lspId), field("SequenceNumber", &R::sequence),
                           field("RemainingLifetime", &R::remainingLifetime), field("Level", &R::level),
                           field("TLVs", &R::tlvs));
    }
};

}  // namespace hal
