// BGP-4 configuration records of the open HAL: the port's server with its
// two blocks of connection settings, the emulated neighbors, and the routes
// each neighbor advertises.
//
// Fields are as wide as BGP carries them: an AS number is 16 bits in OPEN
// and in AS_PATH, hold time and keepalive 16 bits, a graceful-restart time
// 12 bits, communities 32 bits, an extended community 8 bytes. Defaults are
// the usual ones of a BGP speaker: hold 90 s, keepalive 30 s, connect retry
// 120 s, minimum route advertisement interval 30 s, local preference 100.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hal/basic.h"

namespace hal {

// One block of connection settings, applied to every internal or every
// external peer of a port.
struct EBGPGlobalConfig {
    uint16_t asNumberForIbgp = 64512;  // the first private AS; 16 bits on the wire
    uint32_t connectRetries = 3;
    uint32_t retryDelay = 120;  // seconds: the connect-retry timer
    bool activeConnect = true;
    bool establishOnceOnly = false;

    uint16_t GetASNumberForIBGP() const { return asNumberForIbgp; }
    void SetASNumberForIBGP(uint32_t as) { asNumberForIbgp = uint16_t(as); }
    void Empty() { *this = EBGPGlobalConfig{}; }

    static constexpr auto fields() {
        using R = EBGPGlobalConfig;
        return hal::fields(field("ASNumberForIBGP", &R::asNumberForIbgp, "16 bits"),
                           field("ConnectRetries", &R::connectRetries),
                           field("RetryDelay", &R::retryDelay, "seconds between connect retries"),
                           field("ActiveConnect", &R::activeConnect, "open the TCP connection"),
                           field("EstablishOnceOnly", &R::establishOnceOnly, "do not re-open a closed peering"));
    }
};

namespace EBGP {

// One AS_PATH segment: its type and its AS numbers in order.
struct ConfigAsPathSegment : ERecord {
    uint8_t type = 2;  // AS_SEQUENCE
    std::vector<uint16_t> asNumbers;

    static constexpr auto fields() {
        using R = ConfigAsPathSegment;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Type", &R::type, "1 set, 2 sequence, 3 confed sequence, 4 confed set"),
                                          field("ASNumbers", &R::asNumbers)));
    }
};

// An extended community: type, sub-type and six bytes of value.
struct ConfigExtendedCommunity : ERecord {
    uint8_t type = 0;     // two-octet AS specific, transitive
    uint8_t subType = 2;  // route target
    EBlob value{std::vector<uint8_t>(6, 0)};

    static constexpr auto fields() {
        using R = ConfigExtendedCommunity;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Type", &R::type), field("SubType", &R::subType),
                                          field("Value", &R::value, "six bytes")));
    }
};

// What every block of advertised prefixes carries: the prefixes and their
// path attributes.
struct ConfigRoutes : ERecord {
    bool enabled = true;
    EIPAddress firstNetwork = EIPAddress::FromV4(0x0A000000);  // 10.0.0.0
    uint8_t fromPrefix = 24;
    uint8_t thruPrefix = 24;
    uint32_t numberOfRoutes = 1;  // per prefix length
    uint32_t routeStep = 1;       // between consecutive networks, in units of the prefix
    uint8_t origin = 0;           // IGP
    uint8_t asPathMode = 1;       // include the local AS as a sequence
    RecordList<ConfigAsPathSegment> asPath;
    uint8_t nextHopSetMode = 1;  // the neighbor's local address
    uint8_t nextHopMode = 0;     // fixed
    EIPAddress nextHop;
    uint32_t localPreference = 100;
    bool medEnabled = false;
    uint32_t med = 0;
    std::vector<uint32_t> communities;
    RecordList<ConfigExtendedCommunity> extendedCommunities;
    bool atomicAggregate = false;
    uint16_t aggregatorAs = 0;  // 0: no AGGREGATOR attribute
    EIPAddress aggregatorAddress;
    EIPAddress originatorId;  // 0.0.0.0: no ORIGINATOR_ID
    std::vector<EIPAddress> clusterList;
    bool flapping = false;
    uint32_t flapUpTime = 10;
    uint32_t flapDownTime = 10;

    static constexpr auto fields() {
        using R = ConfigRoutes;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("FirstNetwork", &R::firstNetwork, "IPv4 or IPv6"),
                        field("FromPrefix", &R::fromPrefix), field("ThruPrefix", &R::thruPrefix),
                        field("NumberOfRoutes", &R::numberOfRoutes, "per prefix length"),
                        field("RouteStep", &R::routeStep), field("Origin", &R::origin, "0 IGP, 1 EGP, 2 incomplete"),
                        field("AsPathMode", &R::asPathMode,
                              "0 none, 1 local AS sequence, 2 set, 3 confed sequence, 4 confed set, 5 prepend"),
                        field("AsPath", &R::asPath),
                        field("NextHopSetMode", &R::nextHopSetMode, "0 as given, 1 the local address"),
                        field("NextHopMode", &R::nextHopMode, "0 fixed, 1 increment, 2 increment per prefix"),
                        field("NextHop", &R::nextHop), field("LocalPreference", &R::localPreference),
                        field("MEDEnabled", &R::medEnabled), field("MED", &R::med),
                        field("Communities", &R::communities), field("ExtendedCommunities", &R::extendedCommunities),
                        field("AtomicAggregate", &R::atomicAggregate),
                        field("AggregatorAS", &R::aggregatorAs, "0: not sent"),
                        field("AggregatorAddress", &R::aggregatorAddress),
                        field("OriginatorID", &R::originatorId, "0.0.0.0: not sent"),
                        field("ClusterList", &R::clusterList), field("Flapping", &R::flapping),
                        field("FlapUpTime", &R::flapUpTime, "seconds"),
                        field("FlapDownTime", &R::flapDownTime, "seconds")));
    }
};

// Unlabelled unicast or multicast routes of either family.
struct ConfigRouteRange : ConfigRoutes {};

// Labels of labelled routes: one for all, or one more for each route.
// A label is 20 bits; 0 to 15 are reserved.
struct ConfigLabels {
    uint8_t labelMode = 0;  // fixed
    UIntBits<20> startLabel = 16;

    static constexpr auto fields() {
        using R = ConfigLabels;
        return hal::fields(field("LabelMode", &R::labelMode, "0 fixed, 1 increment"),
                           field("StartLabel", &R::startLabel, "20 bits"));
    }
};

// Labelled unicast routes (IPv4 or IPv6 with MPLS labels).
struct ConfigMplsRouteRange : ConfigRoutes {
    ConfigLabels labels;

    static constexpr auto fields() {
        return std::tuple_cat(ConfigRoutes::fields(), hal::fields(field("Labels", &ConfigMplsRouteRange::labels)));
    }
};

// An AS number or an IPv4 address with an assigned number: the two forms
// of a route distinguisher and of a route target. The assigned number is
// 32 bits beside an AS number, 16 beside an address.
struct ConfigAdministrator {
    uint8_t type = 0;  // AS
    uint16_t asNumber = 64512;
    EIPAddress ipAddress;
    uint32_t assignedNumber = 1;

    static constexpr auto fields() {
        using R = ConfigAdministrator;
        return hal::fields(field("Type", &R::type, "0 AS and 32-bit number, 1 IPv4 address and 16-bit number"),
                           field("ASNumber", &R::asNumber), field("IPAddress", &R::ipAddress),
                           field("AssignedNumber", &R::assignedNumber));
    }
};

struct ConfigRouteTarget : ERecord {
    ConfigAdministrator target;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("Target", &ConfigRouteTarget::target)));
    }
};

// VPN routes: labelled, each under a route distinguisher that stays fixed
// or moves on by its global or local part from one route to the next.
struct ConfigVpnRouteRange : ConfigRoutes {
    ConfigLabels labels;
    ConfigAdministrator distinguisher;
    uint8_t distinguisherIncrementMode = 1;  // the local part
    uint32_t distinguisherStep = 0;          // 0: one distinguisher for every route

    static constexpr auto fields() {
        using R = ConfigVpnRouteRange;
        return std::tuple_cat(ConfigRoutes::fields(),
                              hal::fields(field("Labels", &R::labels), field("Distinguisher", &R::distinguisher),
                                          field("DistinguisherIncrementMode", &R::distinguisherIncrementMode,
                                                "0 global part, 1 local part"),
                                          field("DistinguisherStep", &R::distinguisherStep)));
    }
};

// One VPN site behind the emulated PE: its routes and the route targets it
// imports and exports.
struct ConfigL3Site : ERecord {
    bool enabled = true;
    std::string description;
    RecordList<ConfigVpnRouteRange> vpnRouteRanges;
    RecordList<ConfigRouteTarget> importTargets;
    RecordList<ConfigRouteTarget> exportTargets;

    static constexpr auto fields() {
        using R = ConfigL3Site;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("Description", &R::description),
                                          field("VPNRouteRanges", &R::vpnRouteRanges),
                                          field("ImportTargets", &R::importTargets),
                                          field("ExportTargets", &R::exportTargets)));
    }
};

// Learned routes a neighbor keeps: of one family, or one of the prefixes
// given (or anything longer inside it).
struct ConfigPrefixFilter : ERecord {
    bool enabled = true;
    uint8_t family = 1;  // IPv4 unicast
    EIPAddress network;
    uint8_t prefixLength = 0;
    bool exactMatch = false;

    static constexpr auto fields() {
        using R = ConfigPrefixFilter;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled),
                                          field("Family", &R::family, "1 to 8: IPv4/IPv6 unicast, multicast, MPLS, VPN; 9 user defined"),
                                          field("Network", &R::network), field("PrefixLength", &R::prefixLength),
                                          field("ExactMatch", &R::exactMatch, "false: longer prefixes match too")));
    }
};

struct ConfigRouteFilter {
    bool enabled = false;
    uint8_t family = 0;  // every family
    bool usePrefixFilters = false;
    uint32_t maxRoutes = 0;  // no limit

    static constexpr auto fields() {
        using R = ConfigRouteFilter;
        return hal::fields(field("Enabled", &R::enabled), field("Family", &R::family, "0: every family"),
                           field("UsePrefixFilters", &R::usePrefixFilters), field("MaxRoutes", &R::maxRoutes, "0: no limit"));
    }
};

// A further internal peer of the emulated router: it opens a session with
// each, so the router sits in a full IBGP mesh.
struct ConfigInternalNeighborItem : ERecord {
    bool enabled = true;
    EIPAddress dutAddress;

    static constexpr auto fields() {
        using R = ConfigInternalNeighborItem;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("DUTAddress", &R::dutAddress)));
    }
};

// The internal sessions of one neighbor: connection settings that stand in
// for the port's internal block while enabled, and the further peers.
struct ConfigInternalTable {
    bool enabled = false;
    uint32_t retries = 3;
    uint32_t retryDelay = 120;
    bool activeConnect = true;
    bool establishOnceOnly = false;
    RecordList<ConfigInternalNeighborItem> peers;

    static constexpr auto fields() {
        using R = ConfigInternalTable;
        return hal::fields(field("Enabled", &R::enabled, "false: the port's internal block applies"),
                           field("ConnectRetries", &R::retries), field("RetryDelay", &R::retryDelay, "seconds"),
                           field("ActiveConnect", &R::activeConnect), field("EstablishOnceOnly", &R::establishOnceOnly),
                           field("Peers", &R::peers));
    }
};

// One emulated BGP peer and everything it advertises.
struct ConfigNeighbor : ERecord {
    uint8_t type = 0;  // internal
    bool enabled = true;
    EIPAddress localAddress;
    EIPAddress dutAddress;
    UIntBits<16> localAs = 64512;
    uint8_t asNumMode = 0;  // fixed
    uint16_t asNumStep = 1;
    EIPAddress bgpId;  // 0.0.0.0: the local address
    uint16_t holdTime = 90;
    uint16_t keepAlive = 30;
    uint16_t updateInterval = 30;  // seconds between UPDATEs for one prefix
    uint8_t ttl = 64;
    std::string md5Key;  // empty: no TCP MD5 signature
    bool gracefulRestart = false;
    UIntBits<12> restartTime = 120;  // 12 bits in the capability
    uint32_t staleTime = 300;
    bool linkFlap = false;
    uint32_t linkUpTime = 10;
    uint32_t linkDownTime = 10;
    bool ipV4Unicast = true;
    bool ipV4Multicast = false;
    bool ipV4Mpls = false;
    bool ipV4MplsVpn = false;
    bool ipV6Unicast = false;
    bool ipV6Multicast = false;
    bool ipV6Mpls = false;
    bool ipV6MplsVpn = false;
    RecordList<ConfigRouteRange> routeRanges;
    RecordList<ConfigL3Site> l3Sites;
    RecordList<ConfigMplsRouteRange> mplsRouteRanges;
    RecordList<ConfigPrefixFilter> prefixFilters;
    ConfigRouteFilter routeFilter;
    ConfigInternalTable internalTable;

    static constexpr auto fields() {
        using R = ConfigNeighbor;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(
                field("Type", &R::type, "0 internal, 1 external"), field("Enabled", &R::enabled),
                field("LocalAddress", &R::localAddress), field("DUTAddress", &R::dutAddress),
                field("LocalAS", &R::localAs, "16 bits"),
                field("ASNumMode", &R::asNumMode, "0 fixed, 1 each route range adds the step once more"),
                field("ASNumStep", &R::asNumStep), field("BGPIdentifier", &R::bgpId, "0.0.0.0: the local address"),
                field("HoldTime", &R::holdTime, "seconds"), field("KeepAlive", &R::keepAlive, "seconds"),
                field("UpdateInterval", &R::updateInterval, "seconds"), field("TTL", &R::ttl),
                field("MD5Key", &R::md5Key, "empty: no TCP MD5 signature"),
                field("GracefulRestart", &R::gracefulRestart),
                field("RestartTime", &R::restartTime, "seconds, 12 bits"),
                field("StaleTime", &R::staleTime, "seconds"), field("LinkFlap", &R::linkFlap),
                field("LinkUpTime", &R::linkUpTime, "seconds"), field("LinkDownTime", &R::linkDownTime, "seconds"),
                field("IPv4Unicast", &R::ipV4Unicast), field("IPv4Multicast", &R::ipV4Multicast),
                field("IPv4MPLS", &R::ipV4Mpls), field("IPv4MPLSVPN", &R::ipV4MplsVpn),
                field("IPv6Unicast", &R::ipV6Unicast), field("IPv6Multicast", &R::ipV6Multicast),
                field("IPv6MPLS", &R::ipV6Mpls), field("IPv6MPLSVPN", &R::ipV6MplsVpn),
                field("RouteRanges", &R::routeRanges), field("L3Sites", &R::l3Sites),
                field("MPLSRouteRanges", &R::mplsRouteRanges), field("PrefixFilters", &R::prefixFilters),
                field("RouteFilter", &R::routeFilter), field("InternalTable", &R::internalTable)));
    }
};

// A route a neighbor learned from the device under test.
struct LearnedRoute {
    uint8_t family = 1;  // IPv4 unicast
    EIPAddress network;
    uint8_t prefixLength = 0;
    EIPAddress nextHop;
    uint8_t origin = 0;
    std::vector<uint16_t> asPath;
    uint32_t localPreference = 0;
    uint32_t med = 0;
    std::vector<uint32_t> communities;
    UIntBits<20> label = 0;  // labelled and VPN routes
    std::string routeDistinguisher;         // VPN routes, in administratorText's form; empty for the others
    std::vector<std::string> routeTargets;  // the route-target extended communities, the same form

    static constexpr auto fields() {
        using R = LearnedRoute;
        return hal::fields(
            field("Family", &R::family), field("Network", &R::network), field("PrefixLength", &R::prefixLength),
            field("NextHop", &R::nextHop), field("Origin", &R::origin), field("ASPath", &R::asPath),
            field("LocalPreference", &R::localPreference), field("MED", &R::med), field("Communities", &R::communities),
            field("Label", &R::label),
            field("RouteDistinguisher", &R::routeDistinguisher, "VPN routes: AS:number or address:number"),
            field("RouteTargets", &R::routeTargets, "AS:number or address:number each"));
    }
};

// The text of a route distinguisher (RFC 4364 4.2) or a route target
// (RFC 4360 3.1 and 3.2, RFC 5668): its type and the six bytes after the
// type field. Type 0 "AS:number" (2-byte AS, 4-byte number), type 1
// "a.b.c.d:number" (4-byte address, 2-byte number), type 2 "AS:number"
// (4-byte AS, 2-byte number); any other type "type:hex" with the six bytes
// in hex (a distinguisher of a type this code does not know is still told
// apart from the others).
struct Administrator {
    uint8_t type = 0;
    std::array<uint8_t, 6> value{};
    bool operator==(const Administrator&) const = default;
};
std::string administratorText(const Administrator& a);
// The text back: an address before the colon gives type 1, an AS up to
// 65535 type 0, a wider AS type 2; nullopt when a part does not fit its
// width or the text is no such form.
std::optional<Administrator> parseAdministrator(std::string_view text);
// A distinguisher as the 8 bytes of the wire, the type first (big-endian).
Administrator distinguisherOf(uint64_t wire);
uint64_t distinguisherWire(const Administrator& a);

}  // namespace EBGP

// The BGP-4 configuration of one port.
struct EBGPServer : ConfigRoot<EBGPServer> {
    EBGPGlobalConfig internal;
    EBGPGlobalConfig external;
    RecordList<EBGP::ConfigNeighbor> neighbors;

    void SetInternalConfig(const EBGPGlobalConfig& c) { internal = c; }
    void SetExternalConfig(const EBGPGlobalConfig& c) { external = c; }
    const EBGPGlobalConfig& GetInternalConfig() const { return internal; }
    const EBGPGlobalConfig& GetExternalConfig() const { return external; }

    static constexpr auto fields() {
        using R = EBGPServer;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("InternalConfig", &R::internal), field("ExternalConfig", &R::external),
                                          field("Neighbors", &R::neighbors)));
    }
};

}  // namespace hal
