// Spanning tree configuration records of the open HAL (IEEE 802.1D-2004,
// STP and RSTP): the emulated bridges of a port, their ports (interfaces),
// the LANs of hosts behind them, and what a port learned of the tree.
//
// Defaults and widths are the standard's: bridge priority 32768 in steps
// of 4096 (the upper four bits of a 16-bit priority field), port priority
// 128 in steps of 16 (four bits) and a 12-bit port number, hello 2 s (up
// to 10 s for bridges of the 1998 edition), max age 20 s, forward delay
// 15 s, transmit hold count 6, the path cost of a 1 Gb/s link 20000. MAC
// addresses are six bytes.
#pragma once

#include <cstdint>
#include <vector>

#include "hal/basic.h"

namespace hal {

inline constexpr int kStpModeStp = 0;
inline constexpr int kStpModeRstp = 1;

// Addresses of the documentation block (RFC 7042) as defaults.
inline EBlob DefaultStpBridgeMac() { return EBlob({0x00, 0x00, 0x5e, 0x00, 0x53, 0x01}); }
inline EBlob DefaultStpLanMac() { return EBlob({0x00, 0x00, 0x5e, 0x00, 0x53, 0x80}); }

// One port of an emulated bridge.
struct EStpInterface : ERecord {
    bool enabled = true;
    UIntBits<12> portNumber = 1;
    uint8_t portPriority = 128;
    uint32_t pathCost = 20000;  // 1 Gb/s
    uint8_t linkType = 0;       // point-to-point
    bool edgePort = false;

    static constexpr auto fields() {
        using R = EStpInterface;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("PortNumber", &R::portNumber, "1 to 4095"),
                        field("PortPriority", &R::portPriority, "0 to 240 in steps of 16"),
                        field("PathCost", &R::pathCost, "1 to 200000000"),
                        field("LinkType", &R::linkType, "0 point-to-point, 1 shared"),
                        field("AdminEdgePort", &R::edgePort)));
    }
};

// Hosts behind one bridge port: consecutive MAC addresses on one VLAN.
struct EStpLan : ERecord {
    bool enabled = true;
    UIntBits<12> portNumber = 1;
    EBlob firstMac = DefaultStpLanMac();
    uint32_t count = 1;
    UIntBits<12> vlanId = 0;

    static constexpr auto fields() {
        using R = EStpLan;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled),
                                          field("PortNumber", &R::portNumber, "the bridge port it is behind"),
                                          field("FirstMAC", &R::firstMac, "six bytes"),
                                          field("NumberOfMACs", &R::count), field("VLANID", &R::vlanId, "0 untagged")));
    }
};

struct EStpBridge : ERecord {
    bool enabled = true;
    uint8_t mode = kStpModeRstp;
    uint16_t priority = 32768;
    EBlob mac = DefaultStpBridgeMac();
    uint8_t helloTime = 2;
    uint8_t maxAge = 20;
    uint8_t forwardDelay = 15;
    uint8_t transmitHoldCount = 6;
    // The root the bridge advertises; no MAC: the bridge is its own root.
    uint16_t rootPriority = 32768;
    EBlob rootMac;
    uint32_t rootPathCost = 0;
    RecordList<EStpInterface> interfaces;
    RecordList<EStpLan> lans;

    static constexpr auto fields() {
        using R = EStpBridge;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("Mode", &R::mode, "0 STP, 1 RSTP"),
                        field("BridgePriority", &R::priority, "0 to 61440 in steps of 4096"),
                        field("BridgeMAC", &R::mac, "six bytes"), field("HelloTime", &R::helloTime, "seconds, 1 to 10"),
                        field("MaxAge", &R::maxAge, "seconds, 6 to 40"),
                        field("ForwardDelay", &R::forwardDelay, "seconds, 4 to 30"),
                        field("TransmitHoldCount", &R::transmitHoldCount, "BPDUs per hello time"),
                        field("RootPriority", &R::rootPriority),
                        field("RootMAC", &R::rootMac, "empty: the bridge itself"),
                        field("RootPathCost", &R::rootPathCost), field("InterfaceList", &R::interfaces),
                        field("LanList", &R::lans)));
    }
};

// The spanning tree configuration of one port: its emulated bridges.
struct EStpServer : ConfigRoot<EStpServer> {
    RecordList<EStpBridge> bridges;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("BridgeList", &EStpServer::bridges)));
    }
};

// What a port learned of the tree for one of its bridges. Nothing learned:
// all zero.
struct EStpLearnedBridge {
    uint16_t rootPriority = 0;
    EBlob rootMac{std::vector<uint8_t>(6, 0)};
    uint32_t rootPathCost = 0;
    uint16_t designatedPriority = 0;
    EBlob designatedMac{std::vector<uint8_t>(6, 0)};
    uint16_t rootPort = 0;  // 0: the bridge is the root
    uint32_t topologyChanges = 0;
    uint32_t secondsSinceTopologyChange = 0;

    static constexpr auto fields() {
        using R = EStpLearnedBridge;
        return hal::fields(field("RootPriority", &R::rootPriority), field("RootMAC", &R::rootMac),
                           field("RootPathCost", &R::rootPathCost), field("DesignatedPriority", &R::designatedPriority),
                           field("DesignatedMAC", &R::designatedMac), field("RootPort", &R::rootPort),
                           field("TopologyChanges", &R::topologyChanges),
                           field("SecondsSinceTopologyChange", &R::secondsSinceTopologyChange));
    }
};

// The role and state a port learned for one port of a bridge.
struct EStpLearnedInterface {
    uint16_t portNumber = 0;
    uint8_t role = 0;   // disabled
    uint8_t state = 0;  // discarding
    uint32_t designatedPathCost = 0;
    uint32_t forwardTransitions = 0;

    static constexpr auto fields() {
        using R = EStpLearnedInterface;
        return hal::fields(field("PortNumber", &R::portNumber),
                           field("Role", &R::role, "0 disabled, 1 root, 2 designated, 3 alternate, 4 backup"),
                           field("State", &R::state, "0 discarding, 1 learning, 2 forwarding"),
                           field("DesignatedPathCost", &R::designatedPathCost),
                           field("ForwardTransitions", &R::forwardTransitions));
    }
};

}  // namespace hal
