// OSPFv3 configuration records of the open HAL: router, interface, route
// and network ranges, user LSAs of every OSPFv3 type in LSA groups, the
// learned LSAs, and the port-level server that holds the routers.
//
// What differs from OSPFv2: addresses are IPv6 and live only in prefixes
// (a prefix carries its own options byte), an interface has a 32-bit
// Interface ID and an Instance ID, the options field is 24 bits, and router
// and link-state IDs stay 32-bit numbers written as dotted text. Defaults
// are the usual ones of a broadcast interface (hello 10 s, dead 40 s,
// priority 1, MTU 1500) and options V6, E and R set.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hal/basic.h"
#include "hal/ospf_grid_record.h"

namespace hal {

namespace ospfv3 {
inline constexpr uint32_t kDefaultOptions = 0x13;  // V6, E, R
inline EIPAddress v6(std::array<uint8_t, 16> bytes) { return EIPAddress::FromV6(bytes); }
inline EIPAddress documentation() { return v6({0x20, 0x01, 0x0d, 0xb8}); }  // 2001:db8::
}  // namespace ospfv3

// An emulated grid of routers and IPv6 subnets behind an interface.
struct EOSPFv3NetworkRange : EOSPFGrid {
    EIPMaskedAddress firstSubnet{ospfv3::v6({0x20, 0x01, 0x0d, 0xb8, 0x01}), 64};  // 2001:db8:100::/64
    EIPAddress subnetStep = ospfv3::v6({0, 0, 0, 0, 0, 0, 0, 1});                  // 0:0:0:1:: (the next /64)
    uint8_t linkType = 0;  // broadcast
    uint8_t bits = 0;

    // Every router originates a router LSA and an intra-area-prefix LSA for
    // its stub prefixes; on broadcast links every subnet adds a network LSA
    // and the intra-area-prefix LSA that refers to it.
    // Summed in 128 bits: twice the routers and links of a large grid pass 2^63.
    int CalcNoOfGeneratedLSAs() const {
        __int128 n = 2 * __int128(routers()) + (linkType == 0 ? 2 * __int128(links()) : 0);
        return n > INT32_MAX ? INT32_MAX : n < INT32_MIN ? INT32_MIN : int(n);
    }

    static constexpr auto fields() {
        using R = EOSPFv3NetworkRange;
        return std::tuple_cat(
            EOSPFGrid::fields(),
            hal::fields(field("FirstSubnetPrefix", &R::firstSubnet), field("SubnetIncrement", &R::subnetStep),
                        field("LinkType", &R::linkType, "0 broadcast, 1 point-to-point"),
                        field("BitField", &R::bits, "1 B bit, 2 E bit"),
                        computed<R>("NoOfRouters", [](const R& r) { return r.CalcNoOfRouters(); }),
                        computed<R>("NoOfSubnets", [](const R& r) { return r.CalcNoOfSubnets(); }),
                        computed<R>("NoOfGeneratedLSAs", [](const R& r) { return r.CalcNoOfGeneratedLSAs(); }),
                        computed<R>("Description", [](const R& r) { return r.Description(); })));
    }
};

struct EOSPFv3Interface : ERecord {
    bool enabled = true;
    bool connectedToDut = true;
    EIPAddress address = ospfv3::v6({0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});  // 2001:db8::1
    uint8_t prefixLength = 64;
    uint32_t interfaceId = 1;
    uint8_t instanceId = 0;
    uint32_t area = 0;
    uint8_t networkType = 2;  // broadcast
    UIntBits<24> options = ospfv3::kDefaultOptions;
    uint8_t priority = 1;
    uint16_t hello = 10;
    uint16_t dead = 40;  // RouterDeadInterval is 16 bits in OSPFv3
    uint16_t metric = 10;
    uint16_t mtu = 1500;
    int portInterfaceId = 0;  // the port's protocol interface it runs on
    std::string interfaceDescription;
    RecordList<EOSPFv3NetworkRange> ranges;

    static constexpr auto fields() {
        using R = EOSPFv3Interface;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("ConnectedToDUT", &R::connectedToDut),
                        field("IPv6Address", &R::address), field("PrefixLength", &R::prefixLength),
                        field("InterfaceID", &R::interfaceId), field("InstanceID", &R::instanceId),
                        field("AreaID", &R::area), field("NetworkType", &R::networkType, "1 point-to-point, 2 broadcast"),
                        field("Options", &R::options, "24 bits: 1 V6, 2 E, 4 MC, 8 N, 16 R, 32 DC"),
                        field("Priority", &R::priority), field("HelloInterval", &R::hello, "seconds"),
                        field("DeadInterval", &R::dead, "seconds"), field("Metric", &R::metric),
                        field("MTU", &R::mtu), field("ProtocolInterfaceId", &R::portInterfaceId),
                        field("InterfaceDescription", &R::interfaceDescription),
                        field("NetworkRangeList", &R::ranges)));
    }
};

struct EOSPFv3RouteRange : ERecord {
    bool enabled = true;
    uint8_t origin = 0;       // another area
    UIntBits<24> metric = 0;  // inter-area and external metrics are 24 bits
    uint32_t routes = 1;
    uint8_t prefixLength = 64;
    EIPAddress network = ospfv3::v6({0x20, 0x01, 0x0d, 0xb8, 0x10});  // 2001:db8:1000::

    static constexpr auto fields() {
        using R = EOSPFv3RouteRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled),
                                          field("Origin", &R::origin, "0 another area, 1 external type 1, 2 type 2"),
                                          field("Metric", &R::metric), field("NumberOfRoutes", &R::routes),
                                          field("PrefixLength", &R::prefixLength),
                                          field("FirstPrefix", &R::network)));
    }
};

// ---- user LSAs ----

// One prefix of an LSA: its options byte and, in intra-area-prefix LSAs, a
// 16-bit metric (link LSAs carry no metric; the field is then not sent
// on the wire).
struct EOSPFv3LSAPrefix : ERecord {
    EIPAddress address = ospfv3::documentation();
    uint8_t length = 64;
    uint8_t options = 0;
    uint16_t metric = 0;

    static constexpr auto fields() {
        using R = EOSPFv3LSAPrefix;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Prefix", &R::address), field("PrefixLength", &R::length),
                                          field("PrefixOptions", &R::options, "1 NU, 2 LA, 4 MC, 8 P"),
                                          field("Metric", &R::metric)));
    }
};

// The header every LSA has; the LS type is the record's own.
struct EOSPFv3LSAHeader : ERecord {
    EIPAddress linkStateId;
    EIPAddress advertisingRouter;
    uint32_t sequence = 0x80000001;  // the initial sequence number
    uint16_t age = 0;

    static constexpr auto fields() {
        using R = EOSPFv3LSAHeader;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("LinkStateID", &R::linkStateId),
                                          field("AdvertisingRouter", &R::advertisingRouter),
                                          field("SequenceNumber", &R::sequence), field("Age", &R::age)));
    }
};

// LS type codes on the wire (function code with the U and S bits).
namespace ospfv3 {
inline constexpr uint16_t kRouterLsa = 0x2001, kNetworkLsa = 0x2002, kInterAreaPrefixLsa = 0x2003,
                          kInterAreaRouterLsa = 0x2004, kAsExternalLsa = 0x4005, kLinkLsa = 0x0008,
                          kIntraAreaPrefixLsa = 0x2009;
template <uint16_t code>
constexpr auto lsType() {
    return hal::fields(computed<EOSPFv3LSAHeader>("LSType", [](const EOSPFv3LSAHeader&) { return int(code); }));
}
}  // namespace ospfv3

// One interface description of a router LSA.
struct EOSPFv3RouterLSAInterface : ERecord {
    uint8_t type = 1;  // point-to-point
    uint16_t metric = 10;
    uint32_t interfaceId = 1;
    uint32_t neighborInterfaceId = 1;
    EIPAddress neighborRouterId;

    static constexpr auto fields() {
        using R = EOSPFv3RouterLSAInterface;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Type", &R::type, "1 point-to-point, 2 transit, 4 virtual"),
                                          field("Metric", &R::metric), field("InterfaceID", &R::interfaceId),
                                          field("NeighborInterfaceID", &R::neighborInterfaceId),
                                          field("NeighborRouterID", &R::neighborRouterId)));
    }
};

struct EOSPFv3RouterLSA : EOSPFv3LSAHeader {
    uint8_t bits = 0;  // 1 B, 2 E, 4 V
    UIntBits<24> options = ospfv3::kDefaultOptions;
    RecordList<EOSPFv3RouterLSAInterface> interfaces;

    static constexpr auto fields() {
        using R = EOSPFv3RouterLSA;
        return std::tuple_cat(EOSPFv3LSAHeader::fields(), ospfv3::lsType<ospfv3::kRouterLsa>(),
                              hal::fields(field("RouterBits", &R::bits, "1 B, 2 E, 4 V"), field("Options", &R::options),
                                          field("InterfaceList", &R::interfaces)));
    }
};

struct EOSPFv3NetworkLSA : EOSPFv3LSAHeader {
    UIntBits<24> options = ospfv3::kDefaultOptions;
    std::vector<EIPAddress> attached;

    static constexpr auto fields() {
        using R = EOSPFv3NetworkLSA;
        return std::tuple_cat(EOSPFv3LSAHeader::fields(), ospfv3::lsType<ospfv3::kNetworkLsa>(),
                              hal::fields(field("Options", &R::options), field("AttachedRouters", &R::attached)));
    }
};

// The one prefix an inter-area-prefix or AS-external LSA carries.
struct EOSPFv3OnePrefix {
    EIPAddress prefix = ospfv3::documentation();
    uint8_t prefixLength = 64;
    uint8_t prefixOptions = 0;

    static constexpr auto fields() {
        using R = EOSPFv3OnePrefix;
        return hal::fields(field("Prefix", &R::prefix), field("PrefixLength", &R::prefixLength),
                           field("PrefixOptions", &R::prefixOptions, "1 NU, 2 LA, 4 MC, 8 P"));
    }
};

struct EOSPFv3InterAreaPrefixLSA : EOSPFv3LSAHeader, EOSPFv3OnePrefix {
    UIntBits<24> metric = 1;

    static constexpr auto fields() {
        using R = EOSPFv3InterAreaPrefixLSA;
        return std::tuple_cat(EOSPFv3LSAHeader::fields(), ospfv3::lsType<ospfv3::kInterAreaPrefixLsa>(),
                              hal::fields(field("Metric", &R::metric)), EOSPFv3OnePrefix::fields());
    }
};

struct EOSPFv3InterAreaRouterLSA : EOSPFv3LSAHeader {
    UIntBits<24> options = ospfv3::kDefaultOptions;
    UIntBits<24> metric = 1;
    EIPAddress destinationRouterId;

    static constexpr auto fields() {
        using R = EOSPFv3InterAreaRouterLSA;
        return std::tuple_cat(EOSPFv3LSAHeader::fields(), ospfv3::lsType<ospfv3::kInterAreaRouterLsa>(),
                              hal::fields(field("Options", &R::options), field("Metric", &R::metric),
                                          field("DestinationRouterID", &R::destinationRouterId)));
    }
};

// The F and T bits are set by a forwarding address other than :: and a
// route tag other than 0; a referenced LS type other than 0 adds the
// referenced link state ID.
struct EOSPFv3ASExternalLSA : EOSPFv3LSAHeader, EOSPFv3OnePrefix {
    UIntBits<24> metric = 1;
    uint8_t externalType = 1;  // the E bit: type 2, the usual default for redistributed routes
    EIPAddress forwarding = ospfv3::v6({});
    uint32_t routeTag = 0;
    uint16_t referencedLsType = 0;
    EIPAddress referencedLinkStateId;

    static constexpr auto fields() {
        using R = EOSPFv3ASExternalLSA;
        return std::tuple_cat(EOSPFv3LSAHeader::fields(), ospfv3::lsType<ospfv3::kAsExternalLsa>(),
                              hal::fields(field("Metric", &R::metric),
                                          field("ExternalMetricType", &R::externalType, "0 type 1, 1 type 2")),
                              EOSPFv3OnePrefix::fields(),
                              hal::fields(field("ForwardingAddress", &R::forwarding),
                                          field("ExternalRouteTag", &R::routeTag),
                                          field("ReferencedLSType", &R::referencedLsType),
                                          field("ReferencedLinkStateID", &R::referencedLinkStateId)));
    }
};

struct EOSPFv3LinkLSA : EOSPFv3LSAHeader {
    uint8_t priority = 1;
    UIntBits<24> options = ospfv3::kDefaultOptions;
    EIPAddress linkLocalAddress = ospfv3::v6({0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});  // fe80::1
    RecordList<EOSPFv3LSAPrefix> prefixes;

    static constexpr auto fields() {
        using R = EOSPFv3LinkLSA;
        return std::tuple_cat(EOSPFv3LSAHeader::fields(), ospfv3::lsType<ospfv3::kLinkLsa>(),
                              hal::fields(field("RouterPriority", &R::priority), field("Options", &R::options),
                                          field("LinkLocalAddress", &R::linkLocalAddress),
                                          field("Prefixes", &R::prefixes)));
    }
};

struct EOSPFv3IntraAreaPrefixLSA : EOSPFv3LSAHeader {
    uint16_t referencedLsType = ospfv3::kRouterLsa;
    EIPAddress referencedLinkStateId;
    EIPAddress referencedAdvertisingRouter;
    RecordList<EOSPFv3LSAPrefix> prefixes;

    static constexpr auto fields() {
        using R = EOSPFv3IntraAreaPrefixLSA;
        return std::tuple_cat(EOSPFv3LSAHeader::fields(), ospfv3::lsType<ospfv3::kIntraAreaPrefixLsa>(),
                              hal::fields(field("ReferencedLSType", &R::referencedLsType),
                                          field("ReferencedLinkStateID", &R::referencedLinkStateId),
                                          field("ReferencedAdvertisingRouter", &R::referencedAdvertisingRouter),
                                          field("Prefixes", &R::prefixes)));
    }
};

struct EOSPFv3UserLSAGroup : ERecord {
    bool enabled = true;
    uint32_t area = 0;
    std::string description;
    RecordList<EOSPFv3RouterLSA> routerLsas;
    RecordList<EOSPFv3NetworkLSA> networkLsas;
    RecordList<EOSPFv3InterAreaPrefixLSA> interAreaPrefixLsas;
    RecordList<EOSPFv3InterAreaRouterLSA> interAreaRouterLsas;
    RecordList<EOSPFv3ASExternalLSA> asExternalLsas;
    RecordList<EOSPFv3LinkLSA> linkLsas;
    RecordList<EOSPFv3IntraAreaPrefixLSA> intraAreaPrefixLsas;

    static constexpr auto fields() {
        using R = EOSPFv3UserLSAGroup;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("AreaID", &R::area), field("Description", &R::description),
                        field("RouterLSAList", &R::routerLsas), field("NetworkLSAList", &R::networkLsas),
                        field("InterAreaPrefixLSAList", &R::interAreaPrefixLsas),
                        field("InterAreaRouterLSAList", &R::interAreaRouterLsas),
                        field("ASExternalLSAList", &R::asExternalLsas), field("LinkLSAList", &R::linkLsas),
                        field("IntraAreaPrefixLSAList", &R::intraAreaPrefixLsas)));
    }
};

// One LSA of a port's database as the port reports it: the header, the
// type as one of the ospfV3Lsa* numbers, and the prefixes it carries.
struct EOSPFv3LearnedLSA : ERecord {
    int type = 0;  // router
    EIPAddress linkStateId;
    EIPAddress advertisingRouter;
    uint32_t sequence = 0x80000001;
    uint16_t age = 0;
    std::vector<EIPMaskedAddress> prefixes;

    static constexpr auto fields() {
        using R = EOSPFv3LearnedLSA;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Type", &R::type), field("LinkStateID", &R::linkStateId),
                                          field("AdvertisingRouter", &R::advertisingRouter),
                                          field("SequenceNumber", &R::sequence), field("Age", &R::age),
                                          field("Prefixes", &R::prefixes)));
    }
};

struct EOSPFv3Router : ERecord {
    EIPAddress routerId = EIPAddress::FromV4(0x01010101);  // 1.1.1.1
    bool enabled = true;
    bool areaBorder = false;
    bool asBoundary = false;
    bool gracefulRestart = false;
    RecordList<EOSPFv3Interface> interfaces;
    RecordList<EOSPFv3RouteRange> routeRanges;
    RecordList<EOSPFv3UserLSAGroup> groups;

    static constexpr auto fields() {
        using R = EOSPFv3Router;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("RouterID", &R::routerId), field("Enabled", &R::enabled),
                        field("AreaBorderRouter", &R::areaBorder), field("ASBoundaryRouter", &R::asBoundary),
                        field("GracefulRestart", &R::gracefulRestart), field("InterfaceList", &R::interfaces),
                        field("RouteRangeList", &R::routeRanges), field("UserLSAGroupList", &R::groups)));
    }
};

// The OSPFv3 configuration of one port: its emulated routers.
struct EOSPFv3Server : ConfigRoot<EOSPFv3Server> {
    RecordList<EOSPFv3Router> routers;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("RouterList", &EOSPFv3Server::routers)));
    }
};

}  // namespace hal
