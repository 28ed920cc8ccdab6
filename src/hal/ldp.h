// LDP configuration records of the open HAL (RFC 5036) with the layer-2
// VPNs it signals (pseudowires, RFC 4447/4448; VPLS, RFC 4762) and the
// label ranges of LDP over ATM (RFC 3035).
//
// Widths are those of the wire: labels 20 bits, hello and keepalive times
// 16 bits, VPI 12 bits, VCI and VLAN IDs 16 and 12 bits, the interface MTU
// of a pseudowire 16 bits. Timer defaults are those of RFC 5036: link hello
// every 5 s held 15 s, targeted hello every 15 s held 45 s, keepalive every
// 30 s with three times that as the session hold time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hal/basic.h"

namespace hal {

// One range of VPI/VCI values an ATM interface offers as labels.
struct ELdpAtmLabelRange : ERecord {
    UIntBits<12> minVpi = 0;
    UIntBits<12> maxVpi = 0;
    uint16_t minVci = 32;  // VCIs 0 to 31 are reserved for signalling and OAM
    uint16_t maxVci = 65535;

    static constexpr auto fields() {
        using R = ELdpAtmLabelRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("MinVPI", &R::minVpi), field("MaxVPI", &R::maxVpi),
                                          field("MinVCI", &R::minVci), field("MaxVCI", &R::maxVci)));
    }
};

struct ELdpInterface : ERecord {
    bool enabled = true;
    EIPAddress address;
    EIPAddress mask = EIPAddress::FromV4(0xFFFFFF00);
    uint8_t discoveryMode = 0;      // basic
    uint8_t labelDistribution = 1;  // downstream unsolicited
    uint8_t controlMode = 1;        // independent
    uint16_t helloInterval = 5;
    uint16_t holdTime = 15;
    uint8_t atmDirection = 0;  // unidirectional
    RecordList<ELdpAtmLabelRange> atmLabelRanges;
    int interfaceId = 0;
    std::string interfaceDescription;

    static constexpr auto fields() {
        using R = ELdpInterface;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("IPAddress", &R::address),
                        field("InterfaceMask", &R::mask),
                        field("DiscoveryMode", &R::discoveryMode, "0 basic, 1 extended, 2 extended Martini"),
                        field("LabelDistribution", &R::labelDistribution,
                              "1 downstream unsolicited, 2 downstream on demand"),
                        field("ControlMode", &R::controlMode, "1 independent, 2 ordered"),
                        field("HelloInterval", &R::helloInterval, "seconds"),
                        field("HoldTime", &R::holdTime, "seconds; 0 the default of 15"),
                        field("ATMDirection", &R::atmDirection, "0 unidirectional, 1 bidirectional VCs"),
                        field("ATMLabelRanges", &R::atmLabelRanges), field("InterfaceId", &R::interfaceId),
                        field("InterfaceDescription", &R::interfaceDescription)));
    }
};

struct ELdpTargetedPeer : ERecord {
    bool enabled = true;
    EIPAddress address;
    uint16_t helloInterval = 15;
    uint16_t holdTime = 45;

    static constexpr auto fields() {
        using R = ELdpTargetedPeer;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("PeerAddress", &R::address),
                                          field("HelloInterval", &R::helloInterval, "seconds"),
                                          field("HoldTime", &R::holdTime, "seconds; 0 the default of 45")));
    }
};

// A block of prefix FECs: `count` prefixes of one length, each the next
// network after the one before.
struct ELdpFecPrefixes : ERecord {
    bool enabled = true;
    EIPAddress network = EIPAddress::FromV4(0x0A000000);  // 10.0.0.0
    uint8_t prefixLength = 24;
    uint32_t count = 1;

    static constexpr auto fields() {
        using R = ELdpFecPrefixes;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("FirstNetwork", &R::network),
                                          field("PrefixLength", &R::prefixLength),
                                          field("NumberOfNetworks", &R::count)));
    }
};

// Labels are 20 bits; 0 to 15 are reserved.
inline constexpr uint32_t kFirstLdpLabel = 16;
inline constexpr uint32_t kLastLdpLabel = 1048575;

struct ELdpAdvertiseFecRange : ELdpFecPrefixes {
    uint8_t labelMode = 0;  // one label for all
    UIntBits<20> firstLabel = kFirstLdpLabel;

    static constexpr auto fields() {
        using R = ELdpAdvertiseFecRange;
        return std::tuple_cat(ELdpFecPrefixes::fields(),
                              hal::fields(field("LabelMode", &R::labelMode, "0 fixed, 1 increment"),
                                          field("FirstLabel", &R::firstLabel)));
    }
};

// Prefixes whose labels the router asks for (downstream on demand).
struct ELdpRequestFecRange : ELdpFecPrefixes {
    EIPAddress peer;  // the LSR asked
    uint8_t hopCount = 0;  // 0: no hop count TLV

    static constexpr auto fields() {
        using R = ELdpRequestFecRange;
        return std::tuple_cat(ELdpFecPrefixes::fields(),
                              hal::fields(field("PeerAddress", &R::peer), field("HopCount", &R::hopCount)));
    }
};

// Layer-2 VPN interface types (the PW type, RFC 4447; VPLS, RFC 4762).
enum ELdpL2VpnType : uint16_t {
    kL2VpnFrameRelay = 1, kL2VpnAtmAal5 = 2, kL2VpnAtmCell = 3, kL2VpnVlan = 4, kL2VpnEthernet = 5,
    kL2VpnHdlc = 6, kL2VpnPpp = 7, kL2VpnAtmVcc = 9, kL2VpnAtmVpc = 10, kL2VpnEthernetVpls = 11,
    kL2VpnCem = 0x8008,
};

// `count` pseudowires to one peer: VC IDs from `firstVcId` by `vcIdStep`.
struct ELdpL2VpnVcRange : ERecord {
    bool enabled = true;
    EIPAddress peer;
    uint32_t firstVcId = 1;  // VC ID 0 is reserved
    uint32_t vcIdStep = 1;
    uint32_t count = 1;
    uint8_t labelMode = 0;  // one label for all
    UIntBits<20> firstLabel = kFirstLdpLabel;
    bool controlWord = false;
    UIntBits<12> firstVlanId = 1;
    UIntBits<12> vlanIdStep = 1;
    uint16_t cemPayloadBytes = 783;  // one STS-1 SPE
    uint16_t type = kL2VpnEthernet;  // the interface's type, copied when it is converted

    bool hasVlan() const { return type == kL2VpnVlan; }
    bool hasCem() const { return type == kL2VpnCem; }

    static constexpr auto fields() {
        using R = ELdpL2VpnVcRange;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("PeerAddress", &R::peer),
                        field("FirstVCID", &R::firstVcId), field("VCIDIncrement", &R::vcIdStep),
                        field("NumberOfVCs", &R::count), field("LabelMode", &R::labelMode, "0 fixed, 1 increment"),
                        field("FirstLabel", &R::firstLabel), field("ControlWord", &R::controlWord),
                        field("PWType", &R::type, "that of the L2 VPN interface"),
                        onlyIf(&R::hasVlan, field("FirstVLANID", &R::firstVlanId)),
                        onlyIf(&R::hasVlan, field("VLANIDIncrement", &R::vlanIdStep)),
                        onlyIf(&R::hasCem, field("CEMPayloadBytes", &R::cemPayloadBytes))));
    }
};

// Emulated hosts behind a VPLS instance: `count` MAC addresses from
// `firstMac` by `step`, on one VLAN (0: untagged).
struct ELdpVplsMacRange : ERecord {
    bool enabled = true;
    EBlob firstMac{std::vector<uint8_t>{0x00, 0x00, 0x5e, 0x00, 0x01, 0x01}};
    uint32_t count = 1;
    uint32_t step = 1;
    UIntBits<12> vlanId = 0;

    static constexpr auto fields() {
        using R = ELdpVplsMacRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("FirstMAC", &R::firstMac, "six bytes"),
                                          field("NumberOfMACs", &R::count), field("MACIncrement", &R::step),
                                          field("VLANID", &R::vlanId, "0 untagged")));
    }
};

struct ELdpL2VpnInterface : ERecord {
    bool enabled = true;
    uint16_t type = kL2VpnEthernet;
    uint32_t groupId = 0;
    uint16_t mtu = 1500;
    std::string description;
    RecordList<ELdpL2VpnVcRange> vcRanges;
    RecordList<ELdpVplsMacRange> macRanges;

    bool isVpls() const { return type == kL2VpnEthernetVpls; }

    static constexpr auto fields() {
        using R = ELdpL2VpnInterface;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled),
                        field("Type", &R::type, "the PW type: 1 frame relay ... 11 Ethernet VPLS, 0x8008 CEM"),
                        field("GroupID", &R::groupId), field("InterfaceMTU", &R::mtu),
                        field("Description", &R::description), field("VCRanges", &R::vcRanges),
                        onlyIf(&R::isVpls, field("MACRanges", &R::macRanges))));
    }
};

struct ELdpRouter : ERecord {
    bool enabled = true;
    EIPAddress routerId;
    uint16_t labelSpaceId = 0;  // 0: the platform-wide label space
    EIPAddress transportAddress;
    uint16_t keepAliveInterval = 30;
    uint16_t keepAliveHoldTime = 90;
    bool gracefulRestart = false;
    uint32_t reconnectTime = 120;
    uint32_t recoveryTime = 120;
    RecordList<ELdpInterface> interfaces;
    RecordList<ELdpTargetedPeer> targetedPeers;
    RecordList<ELdpAdvertiseFecRange> advertiseFecRanges;
    RecordList<ELdpRequestFecRange> requestFecRanges;
    RecordList<ELdpL2VpnInterface> l2VpnInterfaces;

    static constexpr auto fields() {
        using R = ELdpRouter;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("RouterID", &R::routerId),
                        field("LabelSpaceID", &R::labelSpaceId, "0 platform-wide"),
                        field("TransportAddress", &R::transportAddress),
                        field("KeepAliveInterval", &R::keepAliveInterval, "seconds"),
                        field("KeepAliveHoldTime", &R::keepAliveHoldTime, "seconds"),
                        field("GracefulRestart", &R::gracefulRestart),
                        field("ReconnectTime", &R::reconnectTime, "seconds"),
                        field("RecoveryTime", &R::recoveryTime, "seconds"), field("InterfaceList", &R::interfaces),
                        field("TargetedPeerList", &R::targetedPeers),
                        field("AdvertiseFECRangeList", &R::advertiseFecRanges),
                        field("RequestFECRangeList", &R::requestFecRanges),
                        field("L2VPNInterfaceList", &R::l2VpnInterfaces)));
    }
};

// The LDP configuration of one port: its emulated routers.
struct ELdpServer : ConfigRoot<ELdpServer> {
    RecordList<ELdpRouter> routers;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("RouterList", &ELdpServer::routers)));
    }
};

// A label binding the router learned from a peer.
struct ELdpLearnedLabel {
    uint8_t fecType = 2;  // RFC 5036 prefix FEC element; 128 the PWid FEC element of RFC 4447
    EIPAddress network;
    uint8_t prefixLength = 0;
    uint32_t vcId = 0;
    uint32_t groupId = 0;
    uint16_t pwType = 0;
    uint32_t label = 0;
    EIPAddress peer;
    uint8_t state = 1;  // 0 requested, 1 mapped, 2 withdrawn

    static constexpr auto fields() {
        using R = ELdpLearnedLabel;
        return hal::fields(field("FECType", &R::fecType, "2 prefix, 128 PWid"), field("Network", &R::network),
                           field("PrefixLength", &R::prefixLength),
                           field("VCID", &R::vcId), field("GroupID", &R::groupId), field("PWType", &R::pwType),
                           field("Label", &R::label), field("PeerAddress", &R::peer),
                           field("State", &R::state, "0 requested, 1 mapped, 2 withdrawn"));
    }
};

}  // namespace hal
