// UPDATE messages and their path attributes (RFC 4271 4.3 and 5, RFC 4760
// multiprotocol reach, RFC 6793 four-octet ASes, RFC 1997 and RFC 4360
// communities, RFC 4456 route reflection), with the error handling of
// RFC 7606: each malformed attribute is answered by attribute discard,
// treat-as-withdraw or a session reset, and the decoder says which.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "engine/bgp/message.h"

namespace engine::bgp {

namespace attr {
inline constexpr uint8_t kOrigin = 1, kAsPath = 2, kNextHop = 3, kMed = 4, kLocalPref = 5, kAtomicAggregate = 6,
                         kAggregator = 7, kCommunities = 8, kOriginatorId = 9, kClusterList = 10, kMpReach = 14,
                         kMpUnreach = 15, kExtendedCommunities = 16, kAs4Path = 17, kAs4Aggregator = 18;
// Flag bits of an attribute.
inline constexpr uint8_t kOptional = 0x80, kTransitive = 0x40, kPartial = 0x20, kExtendedLength = 0x10;
}  // namespace attr

// An address prefix of either family: the significant bytes, the rest zero.
// Labelled routes (SAFI 4, RFC 8277) carry one label field, VPN routes
// (SAFI 128, RFC 4364) a label field and a route distinguisher in front of
// the prefix; the label field is kept as sent: the label in the top 20 bits,
// then 3 traffic-class bits and the bottom-of-stack bit.
struct Prefix {
    bool v6 = false;
    uint8_t safi = 1;
    uint8_t length = 0;  // of the address part alone
    std::array<uint8_t, 16> bytes{};
    uint32_t labelField = 0;
    uint64_t rd = 0;
    auto operator<=>(const Prefix&) const = default;
    static Prefix v4(uint32_t address, uint8_t length);
    uint32_t label() const { return labelField >> 4; }
};

// Bytes in front of the address of a prefix of this SAFI: 0, 3 or 11.
size_t prefixHeaderSize(uint8_t safi);
// The label field of a withdrawn labelled route (RFC 8277 2.4).
inline constexpr uint32_t kWithdrawLabelField = 0x800000;

struct AsSegment {
    uint8_t type = 2;  // 1 AS_SET, 2 AS_SEQUENCE, 3 AS_CONFED_SEQUENCE, 4 AS_CONFED_SET
    std::vector<uint32_t> asns;
    bool operator==(const AsSegment&) const = default;
};
using AsPath = std::vector<AsSegment>;

struct Aggregator {
    uint32_t as = 0;
    uint32_t address = 0;
    bool operator==(const Aggregator&) const = default;
};

struct RawAttribute {
    uint8_t flags = 0;
    uint8_t type = 0;
    Bytes value;
    bool operator==(const RawAttribute&) const = default;
};

// MP_REACH_NLRI: the family, its next hop (4 bytes, 16, or 32 with an IPv6
// link-local address second) and the announced prefixes.
struct MpReach {
    AfiSafi family;
    Bytes nextHop;
    std::vector<Prefix> nlri;
    bool operator==(const MpReach&) const = default;
};
struct MpUnreach {
    AfiSafi family;
    std::vector<Prefix> withdrawn;
    bool operator==(const MpUnreach&) const = default;
};

// Path attributes as values. An attribute that is absent is empty or
// nullopt; `unknown` keeps optional attributes this code does not read, in
// order, with their flags (the partial bit set on transitive ones).
struct PathAttributes {
    std::optional<uint8_t> origin;
    std::optional<AsPath> asPath;
    std::optional<uint32_t> nextHop;
    std::optional<uint32_t> med;
    std::optional<uint32_t> localPref;
    bool atomicAggregate = false;
    std::optional<Aggregator> aggregator;
    std::vector<uint32_t> communities;
    std::optional<uint32_t> originatorId;
    std::vector<uint32_t> clusterList;
    std::vector<std::array<uint8_t, 8>> extendedCommunities;
    std::optional<AsPath> as4Path;  // only between 2-octet speakers
    std::optional<Aggregator> as4Aggregator;
    std::optional<MpReach> mpReach;
    std::optional<MpUnreach> mpUnreach;
    std::vector<RawAttribute> unknown;
    bool operator==(const PathAttributes&) const = default;
};

// What RFC 7606 makes of an UPDATE, from the mildest to the most severe.
enum class ErrorAction : uint8_t { None, AttributeDiscard, TreatAsWithdraw, SessionReset };

struct AttributeError {
    uint8_t type = 0;  // the attribute; 0 for the attribute list as a whole
    ErrorAction action = ErrorAction::None;
    uint8_t subcode = 0;  // the UPDATE subcode RFC 4271 would have sent
    bool operator==(const AttributeError&) const = default;
};

struct UpdateOptions {
    bool as4 = false;       // 4-octet AS numbers in AS_PATH and AGGREGATOR
    bool internal = false;  // LOCAL_PREF is read from internal peers only
};

struct Update {
    std::vector<Prefix> withdrawn;  // the IPv4 withdrawn routes field
    PathAttributes attributes;
    std::vector<Prefix> nlri;  // the IPv4 NLRI field
    // The most severe action any attribute called for, and each of them.
    // TreatAsWithdraw: every prefix of nlri and of mpReach is to be taken
    // as withdrawn. Attributes to be discarded are already left out.
    ErrorAction action = ErrorAction::None;
    std::vector<AttributeError> errors;
    // An End-of-RIB marker (RFC 4724) of this family.
    std::optional<AfiSafi> endOfRib;
};

// Decodes a whole UPDATE message. A session reset comes back as the
// NOTIFICATION to send (3/x); every milder fault is in the Update.
// With !as4, AS4_PATH and AS4_AGGREGATOR are merged into AS_PATH and
// AGGREGATOR (RFC 6793 4.2.3) and left out of the result.
Result<Update> decodeUpdate(ByteView msg, const UpdateOptions& opts);

// Encodes one UPDATE; the attributes in type order, MP_REACH_NLRI and
// MP_UNREACH_NLRI first (RFC 7606 5.1). With !as4 an AS above 65535 goes
// out as AS_TRANS and AS4_PATH/AS4_AGGREGATOR carry the real ones.
Bytes encodeUpdate(const std::vector<Prefix>& withdrawn, const PathAttributes& attrs, const std::vector<Prefix>& nlri,
                   bool as4);

// Appends the path attributes alone (no UPDATE around them).
void encodeAttributes(Bytes& out, const PathAttributes& attrs, bool as4);

// The End-of-RIB marker: an empty UPDATE for IPv4 unicast, an UPDATE with
// an empty MP_UNREACH_NLRI for any other family.
Bytes encodeEndOfRib(AfiSafi family);

// Prefix fields: length byte, label field and route distinguisher where
// the SAFI has them, and the significant bytes. false when the length is
// above the family's width or the bytes run out.
bool decodePrefixes(ByteView field, AfiSafi family, std::vector<Prefix>& out);
void encodePrefix(Bytes& out, const Prefix& p);

// The AS numbers of a path in order, sets included (for display); the
// path length of RFC 4271 9.1.2.2 counts a set as one and confederation
// segments as none.
std::vector<uint32_t> flatten(const AsPath& path);
size_t pathLength(const AsPath& path);

}  // namespace engine::bgp
