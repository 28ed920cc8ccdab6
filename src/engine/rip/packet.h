// RIP (RFC 1058, RFC 2453) and RIPng (RFC 2080) packets as plain values and
// functions over bytes.
//
// RIP: a 4-byte header (command, version, two zero bytes) and 20-byte
// entries: address family, route tag, address, mask, next hop, metric. An
// entry of family 0xFFFF first in a version 2 packet carries the
// authentication (type 2: a 16-byte password, RFC 2453 section 4.1).
// RIPng: the same header (version 1) and 20-byte entries: prefix, route tag,
// prefix length, metric; an entry of metric 0xFF names the next hop of the
// entries after it.
//
// Decoders check every length against the bytes they are given and return
// the packet or the reason it was refused. Entry-level checks (a metric of
// 0 or 17, an unknown family) are separate, since RFC 2453 drops such an
// entry and keeps the rest of the packet.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace engine::rip {

using Bytes = std::vector<uint8_t>;

inline constexpr uint16_t kRipPort = 520;
inline constexpr uint16_t kRipngPort = 521;
inline constexpr uint32_t kInfinity = 16;
inline constexpr size_t kHeaderSize = 4;
inline constexpr size_t kEntrySize = 20;
inline constexpr size_t kMaxRipEntries = 25;  // 504 bytes of RIP, 512 with the UDP header
inline constexpr uint16_t kAfInet = 2;
inline constexpr uint16_t kAfAuth = 0xFFFF;
inline constexpr uint16_t kAuthPassword = 2;
inline constexpr size_t kPasswordSize = 16;
inline constexpr uint8_t kRipngNextHop = 0xFF;

enum class Command : uint8_t { Request = 1, Response = 2 };

// A decoded value or the reason the bytes were refused.
template <class T>
class Decoded {
public:
    Decoded(T v) : v_(std::move(v)) {}                  // NOLINT(google-explicit-constructor)
    Decoded(std::string why) : v_(std::move(why)) {}    // NOLINT(google-explicit-constructor)
    Decoded(const char* why) : v_(std::string(why)) {}  // NOLINT(google-explicit-constructor)
    bool ok() const { return v_.index() == 0; }
    explicit operator bool() const { return ok(); }
    T& value() { return std::get<0>(v_); }
    const T& value() const { return std::get<0>(v_); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() { return value(); }
    const T& operator*() const { return value(); }
    const std::string& error() const { return std::get<1>(v_); }

private:
    std::variant<T, std::string> v_;
};

// ---- RIP -------------------------------------------------------------------

// Addresses and masks in host order.
struct RipEntry {
    uint16_t family = kAfInet;
    uint16_t tag = 0;
    uint32_t address = 0;
    uint32_t mask = 0;
    uint32_t nextHop = 0;
    uint32_t metric = 0;
    bool operator==(const RipEntry&) const = default;
};

struct RipPacket {
    Command command = Command::Response;
    uint8_t version = 2;
    std::optional<std::string> password;  // simple-password authentication (version 2)
    std::vector<RipEntry> entries;        // the authentication entry not among them
    bool operator==(const RipPacket&) const = default;
};

// The entries a RIP packet holds besides its authentication entry.
constexpr size_t ripEntriesPerPacket(bool authenticated) { return authenticated ? kMaxRipEntries - 1 : kMaxRipEntries; }

// A password longer than 16 bytes is cut; a shorter one is padded with zeros.
Bytes encodeRip(const RipPacket& p);
// Refuses: fewer than 4 bytes, a length that is not 4 + 20n, more than 25
// entries, a command other than request/response, a version other than 1
// or 2, nonzero must-be-zero bytes of a version 1 packet (RFC 1058 3.4),
// an authentication entry that is not first or of an unknown type.
Decoded<RipPacket> decodeRip(std::span<const uint8_t> bytes);

// Whether the packet asks for the whole table: one entry, family 0, metric 16.
bool isWholeTableRequest(const RipPacket& p);
// Why a response entry is not used (nullptr: it is fine): a family other
// than 2, a metric outside 1..16, an address that is multicast, class E,
// 0.x.x.x (but the default route) or loopback, a mask not contiguous.
const char* ripEntryProblem(const RipEntry& e);

// ---- RIPng -----------------------------------------------------------------

struct RipngEntry {
    std::array<uint8_t, 16> prefix{};
    uint16_t tag = 0;
    uint8_t length = 0;
    uint8_t metric = 0;  // 0xFF: a next-hop entry, its prefix the next hop
    bool operator==(const RipngEntry&) const = default;
};

struct RipngPacket {
    Command command = Command::Response;
    std::vector<RipngEntry> entries;
    bool operator==(const RipngPacket&) const = default;
};

// How many entries fit a packet on a link of this MTU (IPv6 and UDP headers
// taken off), at least one.
size_t ripngEntriesPerPacket(size_t mtu);

Bytes encodeRipng(const RipngPacket& p);
// Refuses: fewer than 4 bytes, a length that is not 4 + 20n, a command
// other than request/response, a version other than 1.
Decoded<RipngPacket> decodeRipng(std::span<const uint8_t> bytes);

bool isWholeTableRequest(const RipngPacket& p);
// Why a route entry of a response is not used (nullptr: fine): a metric
// outside 1..16, a prefix length past 128, a multicast or link-local prefix.
const char* ripngEntryProblem(const RipngEntry& e);
// Why a next-hop entry's address is not used as the next hop (nullptr: it
// is a link-local address the routes go through; RFC 2080 2.1.1 says to
// take the sender then).
const char* ripngNextHopProblem(const RipngEntry& e);

}  // namespace engine::rip
