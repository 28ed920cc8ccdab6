// RSVP-TE configuration records of the open HAL: the port's server, its
// neighbor pairs, their destination ranges (the tunnels signalled towards
// a range of endpoints) with their sender ranges, explicit and recorded
// route subobjects, user-defined objects (custom TLVs) and the fast-reroute
// PLR node pairs, and the table of labels a pair learned.
//
// Defaults follow RFC practice: refresh period R 30 s with keep multiplier
// K 3 (RFC 2205), labels from 16 up since 0 to 15 are reserved (RFC 3032),
// setup priority 7 and holding priority 0 (RFC 3209), a one-to-one or
// facility backup hop limit of 3 (RFC 4090).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hal/basic.h"

namespace hal {

// One subobject of an Explicit Route Object: an IPv4 prefix or an AS.
struct ERSVPConfigEROItem {
    uint8_t type = 0;  // 0 IPv4 prefix, 1 AS number
    EIPAddress ipAddress;
    uint8_t prefixLength = 32;
    uint16_t as = 0;  // an AS subobject carries 16 bits
    bool loose = false;

    static constexpr auto fields() {
        using R = ERSVPConfigEROItem;
        return hal::fields(field("Type", &R::type, "0 IPv4 prefix, 1 AS number"), field("IPAddress", &R::ipAddress),
                           field("PrefixLength", &R::prefixLength), field("AS", &R::as),
                           field("Loose", &R::loose));
    }
};

// One subobject of a Record Route Object: an IPv4 address or a label.
struct ERSVPConfigRROItem {
    uint8_t type = 0;  // 0 IPv4 address, 1 label
    EIPAddress ipAddress;
    uint32_t label = 0;
    uint8_t cType = 1;  // the C-Type of the label object, 1 for a generic label
    bool localProtectionAvailable = false;
    bool localProtectionInUse = false;
    bool globalLabel = false;
    bool bandwidthProtection = false;
    bool nodeProtection = false;

    static constexpr auto fields() {
        using R = ERSVPConfigRROItem;
        return hal::fields(field("Type", &R::type, "0 IPv4 address, 1 label"), field("IPAddress", &R::ipAddress),
                           field("Label", &R::label), field("LabelCType", &R::cType),
                           field("LocalProtectionAvailable", &R::localProtectionAvailable),
                           field("LocalProtectionInUse", &R::localProtectionInUse),
                           field("GlobalLabel", &R::globalLabel),
                           field("BandwidthProtection", &R::bandwidthProtection),
                           field("NodeProtection", &R::nodeProtection));
    }
};

namespace ERSVP {

// A user-defined object added to a message: class, C-Type and contents.
struct ConfigCustomTLV {
    uint8_t tlvClass = 0;
    uint8_t cType = 0;
    EBlob data;

    static constexpr auto fields() {
        using R = ConfigCustomTLV;
        return hal::fields(field("Class", &R::tlvClass), field("CType", &R::cType), field("Data", &R::data));
    }
};

// The labels a neighbor pair learned: per tunnel (FEC) its label, walked
// in the order the port answered them.
struct ConfigLabelTable {
    struct Entry {
        std::string fecDescription;
        uint32_t label = 0;
    };
    std::vector<Entry> entries;
};

}  // namespace ERSVP

using ERSVPCustomTLVList = std::vector<ERSVP::ConfigCustomTLV>;

// A point of local repair and the node its backup avoids (RFC 4090).
struct ERSVPConfigPLRNodeIDPair {
    EIPAddress plrId;
    EIPAddress avoidNodeId;

    static constexpr auto fields() {
        using R = ERSVPConfigPLRNodeIDPair;
        return hal::fields(field("PLRID", &R::plrId), field("AvoidNodeID", &R::avoidNodeId));
    }
};

// The senders of a destination range's tunnels: their addresses and LSP
// IDs, the traffic they reserve for (an RFC 2210 token bucket, in bytes and
// bytes per second) and the fast reroute they ask for.
struct ERSVPConfigSenderRange {
    EIPAddress firstSender;
    uint32_t senderCount = 1;
    uint16_t firstLspId = 1;  // an LSP ID is 16 bits
    uint16_t lspIdIncrement = 1;
    uint32_t tokenBucketRate = 0;
    uint32_t tokenBucketSize = 0;
    uint32_t peakDataRate = 0;
    uint32_t minimumPolicedUnit = 20;
    uint32_t maximumPacketSize = 1500;
    bool fastReroute = false;
    bool oneToOneBackup = true;
    bool facilityBackup = false;
    uint8_t frrSetupPriority = 7;
    uint8_t frrHoldingPriority = 0;
    uint8_t frrHopLimit = 3;
    uint32_t frrBandwidth = 0;
    uint32_t includeAny = 0;
    uint32_t excludeAny = 0;
    uint32_t includeAll = 0;
    std::vector<ERSVPConfigPLRNodeIDPair> nodeList;
    ERSVPCustomTLVList pathErrTlvs;

    static constexpr auto fields() {
        using R = ERSVPConfigSenderRange;
        return hal::fields(
            field("FirstSenderIP", &R::firstSender), field("NumberOfSenders", &R::senderCount),
            field("FirstLSPID", &R::firstLspId), field("LSPIDIncrement", &R::lspIdIncrement),
            field("TokenBucketRate", &R::tokenBucketRate, "bytes per second"),
            field("TokenBucketSize", &R::tokenBucketSize, "bytes"),
            field("PeakDataRate", &R::peakDataRate, "bytes per second"),
            field("MinimumPolicedUnit", &R::minimumPolicedUnit, "bytes"),
            field("MaximumPacketSize", &R::maximumPacketSize, "bytes"), field("FastReroute", &R::fastReroute),
            field("OneToOneBackup", &R::oneToOneBackup), field("FacilityBackup", &R::facilityBackup),
            field("FRRSetupPriority", &R::frrSetupPriority), field("FRRHoldingPriority", &R::frrHoldingPriority),
            field("FRRHopLimit", &R::frrHopLimit), field("FRRBandwidth", &R::frrBandwidth, "bytes per second"),
            field("IncludeAny", &R::includeAny), field("ExcludeAny", &R::excludeAny),
            field("IncludeAll", &R::includeAll), field("NodeList", &R::nodeList),
            field("PathErrCustomTLVs", &R::pathErrTlvs));
    }
};

// The tunnels a neighbor pair signals (ingress) or answers (egress)
// towards a range of tunnel endpoints.
struct ERSVPConfigDestinationRange : ERecord {
    bool enabled = true;
    EIPAddress firstTunnelEndPoint;
    uint32_t tunnelCount = 1;
    uint8_t behavior = 0;      // ingress
    uint8_t endPointType = 1;  // the range holds tunnel endpoints
    uint8_t eroMode = 0;       // no ERO
    uint8_t reservationStyle = 2;   // shared explicit, as rerouting needs
    uint8_t egressStylePolicy = 0;  // always the configured style
    uint8_t labelValue = 3;         // implicit null: the hop before pops
    uint32_t refreshInterval = 30;
    uint32_t timeoutMultiplier = 3;
    uint8_t setupPriority = 7;
    uint8_t holdingPriority = 0;
    bool localProtectionDesired = false;
    bool labelRecordingDesired = false;
    bool seStyleDesired = false;
    bool bandwidthProtectionDesired = false;
    bool nodeProtectionDesired = false;
    std::string sessionName;
    std::vector<ERSVPConfigEROItem> eroItems;
    std::vector<ERSVPConfigRROItem> rroItems;
    std::vector<ERSVPConfigSenderRange> senderRanges;
    ERSVPCustomTLVList pathTlvs, resvTlvs, resvErrTlvs, resvTearTlvs;

    static constexpr auto fields() {
        using R = ERSVPConfigDestinationRange;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("FirstTunnelEndPoint", &R::firstTunnelEndPoint),
                        field("NumberOfTunnels", &R::tunnelCount),
                        field("Behavior", &R::behavior, "0 ingress, 1 egress"),
                        field("EndPointType", &R::endPointType, "0 traffic endpoints, 1 tunnel endpoints"),
                        field("EROMode", &R::eroMode, "0 none, 1 prepend loose, 2 prepend strict"),
                        field("ReservationStyle", &R::reservationStyle, "1 fixed filter, 2 shared explicit"),
                        field("EgressStylePolicy", &R::egressStylePolicy,
                              "0 always the configured style, 1 SE when the session attribute asks"),
                        field("LabelValue", &R::labelValue,
                              "0 explicit null, 1 router alert, 2 IPv6 explicit null, 3 implicit null"),
                        field("RefreshInterval", &R::refreshInterval, "seconds"),
                        field("TimeoutMultiplier", &R::timeoutMultiplier),
                        field("SetupPriority", &R::setupPriority), field("HoldingPriority", &R::holdingPriority),
                        field("LocalProtectionDesired", &R::localProtectionDesired),
                        field("LabelRecordingDesired", &R::labelRecordingDesired),
                        field("SEStyleDesired", &R::seStyleDesired),
                        field("BandwidthProtectionDesired", &R::bandwidthProtectionDesired),
                        field("NodeProtectionDesired", &R::nodeProtectionDesired),
                        field("SessionName", &R::sessionName), field("EROList", &R::eroItems),
                        field("RROList", &R::rroItems), field("SenderRangeList", &R::senderRanges),
                        field("PathCustomTLVs", &R::pathTlvs), field("ResvCustomTLVs", &R::resvTlvs),
                        field("ResvErrCustomTLVs", &R::resvErrTlvs),
                        field("ResvTearCustomTLVs", &R::resvTearTlvs)));
    }
};

// One RSVP session between an emulated router and the device under test.
struct ERSVPConfigNeighborPair : ERecord {
    bool enabled = true;
    EIPAddress ourIp;
    EIPAddress dutIp;
    bool helloEnabled = false;
    uint32_t helloInterval = 5;
    uint16_t helloTimeoutMultiplier = 3;  // the equipment keeps 16 bits
    uint32_t labelSpaceStart = 16;
    uint32_t labelSpaceEnd = 100000;
    bool refreshReduction = false;
    uint32_t sRefreshInterval = 30;
    RecordList<ERSVPConfigDestinationRange> destinationRanges;
    ERSVPCustomTLVList helloTlvs;

    static constexpr auto fields() {
        using R = ERSVPConfigNeighborPair;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("OurIP", &R::ourIp), field("DUTIP", &R::dutIp),
                        field("HelloEnabled", &R::helloEnabled), field("HelloInterval", &R::helloInterval, "seconds"),
                        field("HelloTimeoutMultiplier", &R::helloTimeoutMultiplier),
                        field("LabelSpaceStart", &R::labelSpaceStart), field("LabelSpaceEnd", &R::labelSpaceEnd),
                        field("RefreshReductionEnabled", &R::refreshReduction),
                        field("SRefreshInterval", &R::sRefreshInterval, "seconds; summary refresh (RFC 2961)"),
                        field("DestinationRangeList", &R::destinationRanges),
                        field("HelloCustomTLVs", &R::helloTlvs)));
    }
};

// The RSVP-TE configuration of one port: its neighbor pairs.
struct ERSVPServer : ConfigRoot<ERSVPServer> {
    RecordList<ERSVPConfigNeighborPair> neighborPairs;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("NeighborPairList", &ERSVPServer::neighborPairs)));
    }
};

}  // namespace hal
