// Multicast group protocol records of the open HAL: the emulated hosts of
// IGMP (RFC 1112, 2236, 3376) and MLD (RFC 2710, 3810), and the emulated
// PIM-SM routers (RFC 7761, with the bootstrap and candidate-RP machinery
// of RFC 5059 and the register path of RFC 4601).
//
// IGMP and MLD agree on everything but the address family, the versions and
// the units of the query response interval, so one record family serves
// both, told apart by IgmpFamily and MldFamily.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "hal/basic.h"

namespace hal {

struct IgmpFamily {
    static constexpr bool v6 = false;
    static constexpr uint8_t lastVersion = 3;
    static constexpr uint8_t defaultVersion = 2;
    static constexpr uint16_t defaultUnsolicitedInterval = 10;     // RFC 2236; RFC 3376 asks for 1
    static constexpr uint32_t defaultQueryResponseInterval = 100;  // tenths of a second
    static constexpr const char* hostField = "HostAddress";
    static EIPAddress firstGroup() { return EIPAddress::FromV4(0xE1000001); }  // 225.0.0.1
    static EIPAddress firstHost() { return EIPAddress{}; }
    static EIPAddress firstSource() { return EIPAddress{}; }
};

struct MldFamily {
    static constexpr bool v6 = true;
    static constexpr uint8_t lastVersion = 2;
    static constexpr uint8_t defaultVersion = 2;
    static constexpr uint16_t defaultUnsolicitedInterval = 1;        // RFC 3810
    static constexpr uint32_t defaultQueryResponseInterval = 10000;  // milliseconds
    // MLD messages leave from the host's link-local address (RFC 3590).
    static constexpr const char* hostField = "LinkLocalAddress";
    static EIPAddress firstGroup() {  // ff1e::1, transient and global
        return EIPAddress::FromV6({0xff, 0x1e, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    }
    static EIPAddress firstHost() {  // fe80::1
        return EIPAddress::FromV6({0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    }
    static EIPAddress firstSource() { return EIPAddress::FromV6({}); }
};

// Source filter modes of IGMPv3 and MLDv2 group records.
inline constexpr uint8_t kSourceModeInclude = 0;
inline constexpr uint8_t kSourceModeExclude = 1;

// `count` sources from `firstSource`, each the next address.
template <class F>
struct EGroupSourceRange : ERecord {
    bool enabled = true;
    EIPAddress firstSource = F::firstSource();
    uint16_t count = 1;

    static constexpr auto fields() {
        using R = EGroupSourceRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("FirstSource", &R::firstSource),
                                          field("NumberOfSources", &R::count)));
    }
};

// `count` groups from `firstGroup`, `step` apart, joined with one filter
// mode and source list. Without sources, exclude mode is the any-source
// join of IGMPv1/v2 and MLDv1.
template <class F>
struct EGroupRange : ERecord {
    bool enabled = true;
    EIPAddress firstGroup = F::firstGroup();
    uint16_t count = 1;
    uint32_t step = 1;
    uint8_t sourceMode = kSourceModeExclude;
    RecordList<EGroupSourceRange<F>> sourceRanges;

    static constexpr auto fields() {
        using R = EGroupRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("FirstGroup", &R::firstGroup),
                                          field("NumberOfGroups", &R::count), field("GroupIncrement", &R::step),
                                          field("SourceMode", &R::sourceMode, "0 include, 1 exclude"),
                                          field("SourceRanges", &R::sourceRanges)));
    }
};

// `count` emulated hosts from `address`, `step` apart, all members of the
// same groups.
template <class F>
struct EGroupHost : ERecord {
    bool enabled = true;
    EIPAddress address = F::firstHost();
    uint16_t count = 1;
    uint32_t step = 1;
    uint8_t version = F::defaultVersion;
    uint8_t reportMode = 0;  // one report when queried
    uint16_t unsolicitedReportInterval = F::defaultUnsolicitedInterval;
    bool routerAlert = true;  // RFC 2113/2711, required on reports
    bool generalQueryResponse = true;
    RecordList<EGroupRange<F>> groupRanges;

    static constexpr auto fields() {
        using R = EGroupHost;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(
                field("Enabled", &R::enabled), field(F::hostField, &R::address), field("NumberOfHosts", &R::count),
                field("HostIncrement", &R::step), field("Version", &R::version),
                field("ReportMode", &R::reportMode, "0 one report when queried, 1 all when queried, 2 all unsolicited"),
                field("UnsolicitedReportInterval", &R::unsolicitedReportInterval, "seconds"),
                field("RouterAlert", &R::routerAlert), field("GeneralQueryResponse", &R::generalQueryResponse),
                field("GroupRanges", &R::groupRanges)));
    }
};

// The IGMP or MLD configuration of a port: how its hosts answer queries
// (the querier's robustness and intervals until a query tells otherwise)
// and the hosts.
template <class F>
struct EGroupServer : ConfigRoot<EGroupServer<F>> {
    uint8_t robustness = 2;
    uint32_t queryInterval = 125;
    uint32_t queryResponseInterval = F::defaultQueryResponseInterval;
    uint32_t reportsPerSecond = 0;
    RecordList<EGroupHost<F>> hosts;

    static constexpr auto fields() {
        using R = EGroupServer;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Robustness", &R::robustness), field("QueryInterval", &R::queryInterval, "seconds"),
                        field("QueryResponseInterval", &R::queryResponseInterval,
                              F::v6 ? "milliseconds" : "tenths of a second"),
                        field("ReportsPerSecond", &R::reportsPerSecond, "0 unpaced"), field("HostList", &R::hosts)));
    }
};

using EIgmpSourceRange = EGroupSourceRange<IgmpFamily>;
using EIgmpGroupRange = EGroupRange<IgmpFamily>;
using EIgmpHost = EGroupHost<IgmpFamily>;
using EIgmpServer = EGroupServer<IgmpFamily>;
using EMldSourceRange = EGroupSourceRange<MldFamily>;
using EMldGroupRange = EGroupRange<MldFamily>;
using EMldHost = EGroupHost<MldFamily>;
using EMldServer = EGroupServer<MldFamily>;

// A group as the querier of the link keeps it (RFC 3376 6.2.1, RFC 3810
// 7.2.1): learned by the port from the querier's queries and the reports
// it answered.
struct EMulticastLearnedGroup {
    EIPAddress group;
    EIPAddress querier;
    uint8_t version = 0;  // the querier's compatibility mode
    uint8_t sourceMode = kSourceModeExclude;
    std::string sources;      // the source list, blank-separated
    uint32_t groupTimer = 0;  // seconds left

    static constexpr auto fields() {
        using R = EMulticastLearnedGroup;
        return hal::fields(field("GroupAddress", &R::group), field("QuerierAddress", &R::querier),
                           field("Version", &R::version), field("SourceMode", &R::sourceMode, "0 include, 1 exclude"),
                           field("Sources", &R::sources), field("GroupTimer", &R::groupTimer, "seconds"));
    }
};

// ---- PIM-SM ----

enum EPimsmJoinPruneType : uint8_t {
    kPimsmRp = 0,                   // (*,*,RP)
    kPimsmG = 1,                    // (*,G)
    kPimsmSG = 2,                   // (S,G)
    kPimsmSptSwitchover = 3,        // (*,G) then (S,G) and (S,G,rpt) prune
    kPimsmRegisterTriggeredSG = 4,  // (S,G) towards the sources that register
};

// Joins (and prunes) the router sends its upstream neighbour.
struct EPimsmJoinPrune : ERecord {
    bool enabled = true;
    uint8_t type = kPimsmG;
    EIPAddress rp;
    EIPAddress firstGroup = EIPAddress::FromV4(0xE1000001);  // 225.0.0.1
    uint16_t groupCount = 1;
    EIPAddress firstSource;
    uint16_t sourceCount = 1;
    uint8_t mapping = 0;               // fully meshed
    uint16_t pruneAfterJoinDelay = 0;  // seconds; 0 never pruned

    bool hasSources() const { return type >= kPimsmSG; }
    bool hasGroups() const { return type != kPimsmRp; }

    static constexpr auto fields() {
        using R = EPimsmJoinPrune;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(
                field("Enabled", &R::enabled),
                field("Type", &R::type, "0 (*,*,RP), 1 (*,G), 2 (S,G), 3 SPT switchover, 4 register-triggered (S,G)"),
                field("RPAddress", &R::rp), onlyIf(&R::hasGroups, field("FirstGroup", &R::firstGroup)),
                onlyIf(&R::hasGroups, field("NumberOfGroups", &R::groupCount)),
                onlyIf(&R::hasSources, field("FirstSource", &R::firstSource)),
                onlyIf(&R::hasSources, field("NumberOfSources", &R::sourceCount)),
                onlyIf(&R::hasSources, field("Mapping", &R::mapping, "0 fully meshed, 1 one to one")),
                field("PruneAfterJoinDelay", &R::pruneAfterJoinDelay, "seconds; 0 never")));
    }
};

// Sources the router registers with the RP as their designated router.
struct EPimsmSourceRange : ERecord {
    bool enabled = true;
    EIPAddress rp;
    EIPAddress firstSource;
    uint16_t sourceCount = 1;
    EIPAddress firstGroup = EIPAddress::FromV4(0xE1000001);
    uint16_t groupCount = 1;
    uint32_t registersPerSecond = 1;
    bool nullRegisters = true;  // Register probes while suppressed (RFC 7761 4.4.1)

    static constexpr auto fields() {
        using R = EPimsmSourceRange;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("RPAddress", &R::rp),
                        field("FirstSource", &R::firstSource), field("NumberOfSources", &R::sourceCount),
                        field("FirstGroup", &R::firstGroup), field("NumberOfGroups", &R::groupCount),
                        field("RegistersPerSecond", &R::registersPerSecond),
                        field("NullRegisters", &R::nullRegisters)));
    }
};

struct EPimsmInterface : ERecord {
    bool enabled = true;
    EIPAddress address;
    uint8_t prefixLength = 24;
    EIPAddress neighbor;  // 0.0.0.0: the first neighbour heard
    RecordList<EPimsmJoinPrune> joinPrunes;
    RecordList<EPimsmSourceRange> sourceRanges;

    static constexpr auto fields() {
        using R = EPimsmInterface;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("Address", &R::address),
                        field("PrefixLength", &R::prefixLength),
                        field("NeighborAddress", &R::neighbor, "0.0.0.0 the first heard"),
                        field("JoinPruneList", &R::joinPrunes), field("SourceRangeList", &R::sourceRanges)));
    }
};

// Groups the router offers to be RP for (RFC 5059 Candidate-RP-Advertisement).
struct EPimsmCandidateRpRange : ERecord {
    bool enabled = true;
    EIPAddress group = EIPAddress::FromV4(0xE0000000);  // 224.0.0.0/4: every group
    uint8_t prefixLength = 4;

    static constexpr auto fields() {
        using R = EPimsmCandidateRpRange;
        return std::tuple_cat(ERecord::fields(),
                              hal::fields(field("Enabled", &R::enabled), field("GroupAddress", &R::group),
                                          field("PrefixLength", &R::prefixLength)));
    }
};

// Timers are those of RFC 7761 4.11 and RFC 5059 5.
struct EPimsmRouter : ERecord {
    bool enabled = true;
    EIPAddress routerId;
    uint32_t drPriority = 1;
    uint16_t helloInterval = 30;
    uint16_t helloHoldTime = 105;  // 3.5 hello intervals
    uint16_t joinPruneInterval = 60;
    uint16_t joinPruneHoldTime = 210;  // 3.5 join/prune intervals
    uint8_t generationIdMode = 1;      // random, RFC 7761 4.3.1
    bool bootstrap = false;
    uint8_t bootstrapPriority = 64;
    uint8_t hashMaskLength = 30;
    uint16_t bootstrapInterval = 60;
    bool candidateRp = false;
    uint8_t candidateRpPriority = 192;
    uint16_t candidateRpInterval = 60;
    uint16_t candidateRpHoldTime = 150;  // 2.5 advertisement intervals
    RecordList<EPimsmInterface> interfaces;
    RecordList<EPimsmCandidateRpRange> candidateRpRanges;

    static constexpr auto fields() {
        using R = EPimsmRouter;
        return std::tuple_cat(
            ERecord::fields(),
            hal::fields(field("Enabled", &R::enabled), field("RouterID", &R::routerId),
                        field("DRPriority", &R::drPriority), field("HelloInterval", &R::helloInterval, "seconds"),
                        field("HelloHoldTime", &R::helloHoldTime, "seconds; 65535 never expires"),
                        field("JoinPruneInterval", &R::joinPruneInterval, "seconds"),
                        field("JoinPruneHoldTime", &R::joinPruneHoldTime, "seconds"),
                        field("GenerationIDMode", &R::generationIdMode, "0 incremental, 1 random, 2 constant"),
                        field("Bootstrap", &R::bootstrap), field("BootstrapPriority", &R::bootstrapPriority),
                        field("HashMaskLength", &R::hashMaskLength),
                        field("BootstrapInterval", &R::bootstrapInterval, "seconds"),
                        field("CandidateRP", &R::candidateRp), field("CandidateRPPriority", &R::candidateRpPriority),
                        field("CandidateRPInterval", &R::candidateRpInterval, "seconds"),
                        field("CandidateRPHoldTime", &R::candidateRpHoldTime, "seconds"),
                        field("InterfaceList", &R::interfaces), field("CandidateRPRangeList", &R::candidateRpRanges)));
    }
};

struct EPimsmServer : ConfigRoot<EPimsmServer> {
    RecordList<EPimsmRouter> routers;

    static constexpr auto fields() {
        return std::tuple_cat(ERecord::fields(), hal::fields(field("RouterList", &EPimsmServer::routers)));
    }
};

// A neighbour a router heard Hellos from.
struct EPimsmLearnedNeighbor {
    EIPAddress neighbor;
    EIPAddress interfaceAddress;
    uint32_t drPriority = 1;
    uint32_t generationId = 0;
    uint16_t holdTime = 105;

    static constexpr auto fields() {
        using R = EPimsmLearnedNeighbor;
        return hal::fields(field("NeighborAddress", &R::neighbor), field("InterfaceAddress", &R::interfaceAddress),
                           field("DRPriority", &R::drPriority), field("GenerationID", &R::generationId),
                           field("HoldTime", &R::holdTime, "seconds"));
    }
};

// An entry of the RP set a router learned from Bootstrap messages.
struct EPimsmLearnedRp {
    EIPAddress rp;
    EIPAddress group;
    uint8_t prefixLength = 4;
    uint8_t priority = 192;
    uint16_t holdTime = 150;

    static constexpr auto fields() {
        using R = EPimsmLearnedRp;
        return hal::fields(field("RPAddress", &R::rp), field("GroupAddress", &R::group),
                           field("PrefixLength", &R::prefixLength), field("Priority", &R::priority),
                           field("HoldTime", &R::holdTime, "seconds"));
    }
};

}  // namespace hal
