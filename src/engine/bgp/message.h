// BGP-4 messages (RFC 4271) as plain values and functions over bytes: the
// 19-byte header, OPEN with its capabilities, NOTIFICATION, KEEPALIVE and
// ROUTE-REFRESH. UPDATE is in update.h.
//
// Every decoder takes one whole message, header included, and gives either
// the value or the NOTIFICATION that RFC 4271 section 6 prescribes for what
// was wrong with it (code, subcode and data), ready to be sent.
#pragma once

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "engine/bgp/wire.h"

namespace engine::bgp {

inline constexpr size_t kHeaderSize = 19;
inline constexpr size_t kMaxMessage = 4096;           // RFC 4271
inline constexpr size_t kMaxExtendedMessage = 65535;  // RFC 8654, once both sides offered it
inline constexpr uint16_t kAsTrans = 23456;           // RFC 6793: stands in for an AS above 65535
inline constexpr uint16_t kBgpPort = 179;

enum class MessageType : uint8_t { Open = 1, Update = 2, Notification = 3, Keepalive = 4, RouteRefresh = 5 };

// NOTIFICATION error codes (RFC 4271 4.5, RFC 4486, RFC 7313).
namespace err {
inline constexpr uint8_t kHeader = 1, kOpen = 2, kUpdate = 3, kHoldTimer = 4, kFsm = 5, kCease = 6, kRouteRefresh = 7;
// Message header subcodes.
inline constexpr uint8_t kNotSynchronized = 1, kBadLength = 2, kBadType = 3;
// OPEN subcodes.
inline constexpr uint8_t kUnsupportedVersion = 1, kBadPeerAs = 2, kBadBgpId = 3, kUnsupportedOptParam = 4,
                         kUnacceptableHoldTime = 6, kUnsupportedCapability = 7;
// UPDATE subcodes.
inline constexpr uint8_t kMalformedAttributeList = 1, kUnrecognizedWellKnown = 2, kMissingWellKnown = 3,
                         kAttributeFlags = 4, kAttributeLength = 5, kInvalidOrigin = 6, kInvalidNextHop = 8,
                         kOptionalAttribute = 9, kInvalidNetworkField = 10, kMalformedAsPath = 11;
// Cease subcodes (RFC 4486).
inline constexpr uint8_t kMaxPrefixes = 1, kAdminShutdown = 2, kPeerDeconfigured = 3, kAdminReset = 4,
                         kConnectionRejected = 5, kOtherConfigChange = 6, kCollision = 7, kOutOfResources = 8;
}  // namespace err

struct Notification {
    uint8_t code = 0;
    uint8_t subcode = 0;
    Bytes data;
    bool operator==(const Notification&) const = default;
};

// A decoded value or the NOTIFICATION that answers the bytes.
template <class T>
class Result {
public:
    Result(T v) : v_(std::move(v)) {}             // NOLINT(google-explicit-constructor)
    Result(Notification n) : v_(std::move(n)) {}  // NOLINT(google-explicit-constructor)
    bool ok() const { return v_.index() == 0; }
    explicit operator bool() const { return ok(); }
    T& value() { return std::get<0>(v_); }
    const T& value() const { return std::get<0>(v_); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    const Notification& error() const { return std::get<1>(v_); }

private:
    std::variant<T, Notification> v_;
};

Notification notification(uint8_t code, uint8_t subcode, Bytes data = {});

// ---- Header and framing --------------------------------------------------

struct Header {
    uint16_t length = 0;
    MessageType type = MessageType::Keepalive;
};

// Checks the header at the start of `msg` (at least 19 bytes): the marker of
// ones (1/1), a length from 19 to maxSize that fits the type (1/2 with the
// length field as data), a known type (1/3 with the type as data).
Result<Header> decodeHeader(ByteView msg, size_t maxSize = kMaxMessage);

// Cuts the next message off a stream buffer: 0 when more bytes are needed
// (fewer than a header, or fewer than its length), the message length when a
// whole message is there, or the NOTIFICATION for a bad header. The header
// is judged as soon as its 19 bytes are in, so a peer that announces an
// absurd length is answered at once instead of being waited for.
struct Frame {
    size_t length = 0;  // 0: need more
    std::optional<Notification> error;
};
Frame nextFrame(ByteView buffer, size_t maxSize = kMaxMessage);

// Writes a header of `type` in front of a body that follows it; fills the
// length when the message is complete.
void beginMessage(Bytes& out, MessageType type);
void endMessage(Bytes& out, size_t start);

// ---- OPEN ------------------------------------------------------------------

struct AfiSafi {
    uint16_t afi = 1;  // 1 IPv4, 2 IPv6
    uint8_t safi = 1;  // 1 unicast, 2 multicast, 4 labelled, 128 VPN
    auto operator<=>(const AfiSafi&) const = default;
};
inline constexpr AfiSafi kIpv4Unicast{1, 1};
inline constexpr AfiSafi kIpv6Unicast{2, 1};

struct GracefulRestart {        // RFC 4724
    bool restarting = false;    // the R bit
    bool notification = false;  // the N bit (RFC 8538)
    uint16_t time = 0;          // 12 bits
    struct Family {
        AfiSafi family;
        bool forwarding = false;  // the F bit: forwarding state kept
        bool operator==(const Family&) const = default;
    };
    std::vector<Family> families;
    bool operator==(const GracefulRestart&) const = default;
};

struct RawCapability {
    uint8_t code = 0;
    Bytes value;
    bool operator==(const RawCapability&) const = default;
};

struct Capabilities {
    std::vector<AfiSafi> multiprotocol;              // RFC 4760, code 1
    bool routeRefresh = false;                       // RFC 2918, code 2
    bool extendedMessage = false;                    // RFC 8654, code 6
    std::optional<GracefulRestart> gracefulRestart;  // code 64
    std::optional<uint32_t> as4;                     // RFC 6793, code 65
    std::vector<RawCapability> other;                // anything else, kept as sent
    bool operator==(const Capabilities&) const = default;
};

struct Open {
    uint8_t version = 4;
    uint16_t myAs = 0;  // AS_TRANS when the AS does not fit
    uint16_t holdTime = 90;
    uint32_t bgpId = 0;
    Capabilities caps;
    // The sender's AS: the 4-octet AS capability when present, else My AS.
    uint32_t asNumber() const { return caps.as4 ? *caps.as4 : myAs; }
    bool operator==(const Open&) const = default;
};

// An OPEN for `as`: My AS is AS_TRANS above 65535, and the 4-octet AS
// capability carries the AS itself.
Open makeOpen(uint32_t as, uint16_t holdTime, uint32_t bgpId);

// Each capability goes in an optional parameter of its own (type 2).
// Decoding also reads the extended parameter lengths of RFC 9072.
Bytes encodeOpen(const Open& open);
// Syntax only (RFC 4271 6.2 and RFC 5492): version 4 (else 2/1 with the
// version we speak), a length that agrees with the optional parameters
// (1/2 or 2/0), a known parameter type (2/4), a capability cut short (2/0),
// a hold time of 1 or 2 s (2/6), an identifier of 0 (2/3).
Result<Open> decodeOpen(ByteView msg);
// What depends on our side: the AS we expect (0: any) gives 2/2.
std::optional<Notification> checkPeerOpen(const Open& peer, uint32_t expectedAs);

// What the two OPENs agree on.
struct Session {
    bool as4 = false;
    bool extendedMessage = false;
    bool routeRefresh = false;
    uint16_t holdTime = 0;   // the smaller of the two; 0: no keepalives
    uint16_t keepalive = 0;  // a third of the hold time
    std::vector<AfiSafi> families;
    size_t maxMessage() const { return extendedMessage ? kMaxExtendedMessage : kMaxMessage; }
    bool has(AfiSafi f) const;
};
// Families: those both offered; IPv4 unicast when neither sent multiprotocol
// capabilities (RFC 4760 section 8).
Session negotiate(const Open& ours, const Open& theirs);

// ---- NOTIFICATION, KEEPALIVE, ROUTE-REFRESH --------------------------------

// The data is cut to what a 4096-byte message holds.
Bytes encodeNotification(const Notification& n);
// nullopt for a malformed one: a NOTIFICATION is never answered by another
// (RFC 4271 6.4), the connection just closes.
std::optional<Notification> decodeNotification(ByteView msg);

Bytes encodeKeepalive();
// A KEEPALIVE is exactly a header; any other length is 1/2.
Result<std::monostate> decodeKeepalive(ByteView msg);

struct RouteRefresh {
    AfiSafi family;
    uint8_t subtype = 0;  // RFC 7313: 0 normal, 1 begin, 2 end of route refresh
    bool operator==(const RouteRefresh&) const = default;
};
Bytes encodeRouteRefresh(const RouteRefresh& r);
// A length other than 23 is 7/1 with the message as data (RFC 7313).
Result<RouteRefresh> decodeRouteRefresh(ByteView msg);

}  // namespace engine::bgp
