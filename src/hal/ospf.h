// OSPFv2 configuration records of the open HAL: router, interface, route
// and network ranges, traffic-engineering data, user LSA groups and LSAs,
// and the port-level server that holds the routers.
//
// Fields are as wide as OSPF carries them: a router priority and the
// options field are one byte, the hello interval and an interface cost are
// 16 bits, summary and external metrics 24 bits. Defaults are the usual
// ones of a broadcast interface (hello 10 s, dead 40 s, priority 1, MTU 1500).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "hal/basic.h"
#include "hal/ospf_grid_record.h"
#include "hal/te_data.h"

namespace hal {

// An emulated grid of routers and IPv4 subnets behind an interface.
struct EOSPFNetworkRange : EOSPFGrid {
    EIPMaskedAddress firstSubnet{EIPAddress::FromV4(0x0A010000), 24};  // 10.1.0.0/24
    uint32_t subnetStep = 0x100;
    bool incrementFromMask = true;
    uint8_t linkType = 0;  // broadcast
    uint8_t bits = 0;
    bool loopback = false;
    bool teEnabled = false;
    ETrafficEngineeringData te;

    // Every router originates a router LSA and, on broadcast links, every
    // subnet a network LSA.
    // Summed in 128 bits: a grid of 2^31 by 2^31 has more than 2^63 routers and links.
    int CalcNoOfGeneratedLSAs() const {
        __int128 n = __int128(routers()) + (linkType == 0 ? links() : 0);
        return n > INT32_MAX ? INT32_MAX : n < INT32_MIN ? INT32_MIN : int(n);
    }

    static constexpr auto fields() {
        using R = EOSPFNetworkRange;
        return std::tuple_cat(
            EOSPFGrid::fields(),
            hal::fields(field("FirstSubnetIPAddress", &R::firstSubnet), field("SubnetIncrement", &R::subnetStep),
                        field("IncrementAddressFromMask", &R::incrementFromMask),
                        field("LinkType", &R::linkType, "0 broadcast, 1 point-to-point"),
                        field("BitField", &R::bits, "1 B bit, 2 E bit"),
                        field("RouterLSAAdvertiseLoopback", &R::loopback), field("TEEnabled", &R::teEnabled),
                        field("TEConfig", &R::te),
                        computed<R>("NoOfRouters", [](const R& r) { return r.CalcNoOfRouters(); }),
                        computed<R>("NoOfSubnets", [](const R& r) { return r.CalcNoOfSubnets(); }),
                        computed<R>("NoOfGeneratedLSAs", [](const R& r) { return r.CalcNoOfGeneratedLSAs(); }),
                        computed<R>("Description", [](const R& r) { return r.Description(); })));
    }
};

// What every link-state interface has.
struct ELSInterface : ERecord {
    bool enabled = true;
    bool connectedToDut = true;
    EIPAddress address;
    EIPAddress mask = EIPAddress::FromV4(0xFFFFFF00);
    uint16_t metric = 1;  // an interface cost is 16 bits
    bool teEnabled = false;
    ETrafficEngineeringData te;
    uint8_t linkType = 2;  // transit, as on a broadcast network
    EIPAddress neighborRouterId;
    int interfaceId = 0;
    std::string interfaceDescription;

    static constexpr auto fields() {
        using R = ELSInterface;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("ConnectedToDUT", &R::connectedToDut),
                        field("IPAddress", &R::address), field("InterfaceMask", &R::mask),
                        field("Metric", &R::metric), field("TEEnabled", &R::teEnabled),
                        field("TrafficEngineering", &R::te),
                        field("LinkType", &R::linkType, "1 point-to-point, 2 transit, 3 stub, 4 virtual"),
                        field("NeighborRouterID", &R::neighborRouterId), field("InterfaceId", &R::interfaceId),
                        field("InterfaceDescription", &R::interfaceDescription)));
    }
};

struct EOSPFInterface : ELSInterface {
    uint32_t area = 0;
    uint8_t priority = 1;
    uint8_t options = 2;  // E bit: external routes are flooded
    uint16_t hello = 10;
    uint32_t dead = 40;
    uint8_t networkType = 2;  // broadcast
    uint16_t mtu = 1500;
    bool validateMtu = true;
    bool advertiseRange = false;
    uint8_t authMethod = 0;
    uint8_t md5KeyId = 1;
    std::string password;
    std::string md5Key;
    EIPAddress neighborIp;
    RecordList<EOSPFNetworkRange> ranges;

    static constexpr auto fields() {
        using R = EOSPFInterface;
        return std::tuple_cat(
            ELSInterface::fields(),
            hal::fields(field("AreaID", &R::area), field("Priority", &R::priority), field("Options", &R::options),
                        field("HelloInterval", &R::hello, "seconds"), field("DeadInterval", &R::dead, "seconds"),
                        field("NetworkType", &R::networkType, "1 point-to-point, 2 broadcast, 3 point-to-multipoint"),
                        field("MTU", &R::mtu), field("ValidateReceivedMTUSize", &R::validateMtu),
                        field("AdvertiseNetworkRange", &R::advertiseRange),
                        field("AuthenticationMethod", &R::authMethod, "0 none, 1 password, 2 MD5"),
                        field("MD5AuthenticationKeyId", &R::md5KeyId),
                        field("AuthenticationPassword", &R::password), field("MD5AuthenticationKey", &R::md5Key),
                        field("NeighborIPAddress", &R::neighborIp), field("NetworkRangeList", &R::ranges)));
    }
};

struct EOSPFRouteRange : ERecord {
    bool enabled = true;
    uint8_t origin = 0;  // another area
    UIntBits<24> metric = 0;  // summary and external metrics are 24 bits
    uint32_t routes = 1;
    uint8_t maskWidth = 24;
    EIPAddress network = EIPAddress::FromV4(0xC0000000);  // 192.0.0.0

    static constexpr auto fields() {
        using R = EOSPFRouteRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled),
                                          field("Origin", &R::origin, "0 another area, 1 external type 1, 2 type 2"),
                                          field("Metric", &R::metric), field("NumberOfRoutes", &R::routes),
                                          field("MaskWidth", &R::maskWidth), field("NetworkAddress", &R::network)));
    }
};

// One link of a router LSA.
struct EOSPFRouterLink {
    int type = 1;  // point-to-point
    EIPAddress linkId;
    EIPAddress linkData;
    int metric = 1;

    static constexpr auto fields() {
        using R = EOSPFRouterLink;
        return hal::fields(field("Type", &R::type), field("LinkID", &R::linkId), field("LinkData", &R::linkData),
                           field("Metric", &R::metric));
    }
};

// One LSA as the router advertises it: the common header and the body of
// its type. Fields of other types keep their defaults and are not sent.
struct EOSPFUserLSA : ERecord {
    enum Type { kRouter = 1, kNetwork = 2, kSummaryIp = 3, kSummaryAs = 4, kExternal = 5,
                kOpaqueLocal = 9, kOpaqueArea = 10, kOpaqueDomain = 11 };

    uint8_t type = kRouter;
    EIPAddress linkStateId;
    EIPAddress advertisingRouter;
    uint8_t options = 2;
    uint32_t sequence = 0x80000001;  // the initial sequence number
    uint16_t age = 0;
    uint8_t routerBits = 0;
    std::vector<EOSPFRouterLink> links;
    EIPAddress mask = EIPAddress::FromV4(0xFFFFFF00);
    std::vector<EIPAddress> attached;
    UIntBits<24> metric = 1;
    uint8_t externalType = 1;  // type 2, the usual default for redistributed routes
    EIPAddress forwarding;
    uint32_t routeTag = 0;
    uint8_t tlvType = 0;  // router address TLV
    EIPAddress routerAddress;
    uint8_t tlvLinkType = 1;  // point-to-point
    EIPAddress tlvLinkId;
    EIPAddress localIp;
    EIPAddress remoteIp;
    ETrafficEngineeringData te;

    bool isRouter() const { return type == kRouter; }
    bool isNetwork() const { return type == kNetwork; }
    bool hasMask() const { return type >= kNetwork && type <= kExternal; }
    bool hasMetric() const { return type >= kSummaryIp && type <= kExternal; }
    bool isExternal() const { return type == kExternal; }
    bool isOpaque() const { return type > kExternal; }
    bool isRouterAddressTlv() const { return isOpaque() && tlvType == 0; }
    bool isLinkTlv() const { return isOpaque() && tlvType != 0; }

    static constexpr auto fields() {
        using R = EOSPFUserLSA;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Type", &R::type), field("LinkStateID", &R::linkStateId),
                        field("AdvertisingRouter", &R::advertisingRouter), field("Options", &R::options),
                        field("SequenceNumber", &R::sequence), field("Age", &R::age),
                        onlyIf(&R::isRouter, field("RouterBits", &R::routerBits)),
                        onlyIf(&R::isRouter, field("RouterLinks", &R::links)),
                        onlyIf(&R::hasMask, field("NetworkMask", &R::mask)),
                        onlyIf(&R::isNetwork, field("AttachedRouters", &R::attached)),
                        onlyIf(&R::hasMetric, field("Metric", &R::metric)),
                        onlyIf(&R::isExternal, field("ExternalMetricType", &R::externalType)),
                        onlyIf(&R::isExternal, field("ForwardingAddress", &R::forwarding)),
                        onlyIf(&R::isExternal, field("ExternalRouteTag", &R::routeTag)),
                        onlyIf(&R::isOpaque, field("TlvType", &R::tlvType, "0 router address, 1 link")),
                        onlyIf(&R::isRouterAddressTlv, field("RouterAddress", &R::routerAddress)),
                        onlyIf(&R::isLinkTlv, field("TlvLinkType", &R::tlvLinkType)),
                        onlyIf(&R::isLinkTlv, field("TlvLinkID", &R::tlvLinkId)),
                        onlyIf(&R::isLinkTlv, field("LocalIPAddress", &R::localIp)),
                        onlyIf(&R::isLinkTlv, field("RemoteIPAddress", &R::remoteIp)),
                        onlyIf(&R::isLinkTlv, field("TrafficEngineering", &R::te))));
    }
};

struct EOSPFUserLSAGroup : ERecord {
    bool enabled = true;
    uint32_t area = 0;
    std::string description;
    RecordList<EOSPFUserLSA> lsas;

    static constexpr auto fields() {
        using R = EOSPFUserLSAGroup;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("AreaID", &R::area),
                                          field("Description", &R::description), field("UserLSAList", &R::lsas)));
    }
};

struct EOSPFRouter : ERecord {
    EBlob routerId{std::vector<uint8_t>(4, 0)};
    bool enabled = true;
    bool generateRouterLsa = true;
    bool discardLearned = false;
    bool gracefulRestart = false;
    bool rebuildAdj = false;
    RecordList<EOSPFInterface> interfaces;
    RecordList<EOSPFRouteRange> routeRanges;
    RecordList<EOSPFUserLSAGroup> groups;

    static constexpr auto fields() {
        using R = EOSPFRouter;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("RouterID", &R::routerId, "four bytes"), field("Enabled", &R::enabled),
                        field("GenerateRouterLSA", &R::generateRouterLsa),
                        field("DiscardLearnedLSAs", &R::discardLearned), field("GracefulRestart", &R::gracefulRestart),
                        field("RebuildAdjForLSDBChange", &R::rebuildAdj), field("InterfaceList", &R::interfaces),
                        field("RouteRangeList", &R::routeRanges), field("UserLSAGroupList", &R::groups)));
    }
};

// The OSPF configuration of one port: its emulated routers.
struct EOSPFServer : ConfigRoot<EOSPFServer> {
    RecordList<EOSPFRouter> routers;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("RouterList", &EOSPFServer::routers)));
    }
};

}  // namespace hal
