#include "engine/rip/packet.h"

#include <bit>
#include <cstring>

namespace engine::rip {
namespace {

void put16(Bytes& b, uint16_t v) {
    b.push_back(uint8_t(v >> 8));
    b.push_back(uint8_t(v));
}
void put32(Bytes& b, uint32_t v) {
    put16(b, uint16_t(v >> 16));
    put16(b, uint16_t(v));
}
uint16_t get16(const uint8_t* p) { return uint16_t(p[0] << 8 | p[1]); }
uint32_t get32(const uint8_t* p) { return uint32_t(get16(p)) << 16 | get16(p + 2); }

void putHeader(Bytes& b, Command c, uint8_t version) {
    b.push_back(uint8_t(c));
    b.push_back(version);
    put16(b, 0);
}

// The checks both families share: the header and the entry framing.
const char* frameProblem(std::span<const uint8_t> bytes) {
    if (bytes.size() < kHeaderSize) return "shorter than the 4-byte header";
    if ((bytes.size() - kHeaderSize) % kEntrySize) return "length is not 4 + 20 bytes per entry";
    if (bytes[0] != uint8_t(Command::Request) && bytes[0] != uint8_t(Command::Response)) return "unknown command";
    return nullptr;
}

}  // namespace

// ---- RIP -------------------------------------------------------------------

Bytes encodeRip(const RipPacket& p) {
    Bytes b;
    b.reserve(kHeaderSize + kEntrySize * (p.entries.size() + (p.password ? 1 : 0)));
    putHeader(b, p.command, p.version);
    if (p.password) {
        put16(b, kAfAuth);
        put16(b, kAuthPassword);
        size_t n = std::min(p.password->size(), kPasswordSize);
        b.insert(b.end(), p.password->begin(), p.password->begin() + std::ptrdiff_t(n));
        b.resize(b.size() + kPasswordSize - n, 0);
    }
    for (const RipEntry& e : p.entries) {
        put16(b, e.family);
        put16(b, e.tag);
        put32(b, e.address);
        put32(b, e.mask);
        put32(b, e.nextHop);
        put32(b, e.metric);
    }
    return b;
}

Decoded<RipPacket> decodeRip(std::span<const uint8_t> bytes) {
    if (const char* why = frameProblem(bytes)) return why;
    const size_t count = (bytes.size() - kHeaderSize) / kEntrySize;
    if (count > kMaxRipEntries) return "more than 25 entries";
    RipPacket p;
    p.command = Command(bytes[0]);
    p.version = bytes[1];
    if (p.version != 1 && p.version != 2) return "version " + std::to_string(p.version);
    if (p.version == 1 && (bytes[2] || bytes[3])) return "must-be-zero bytes of the header are set";
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* e = bytes.data() + kHeaderSize + i * kEntrySize;
        uint16_t family = get16(e);
        if (family == kAfAuth) {
            if (p.version == 1) return "authentication entry in a version 1 packet";
            if (i != 0) return "authentication entry is not the first";
            if (get16(e + 2) != kAuthPassword) return "authentication type " + std::to_string(get16(e + 2));
            const char* pw = reinterpret_cast<const char*>(e + 4);
            p.password = std::string(pw, strnlen(pw, kPasswordSize));
            continue;
        }
        RipEntry r{family, get16(e + 2), get32(e + 4), get32(e + 8), get32(e + 12), get32(e + 16)};
        // Version 1 has no tag, mask or next hop: those bytes must be zero.
        if (p.version == 1 && (r.tag || r.mask || r.nextHop)) return "must-be-zero bytes of an entry are set";
        p.entries.push_back(r);
    }
    return p;
}

bool isWholeTableRequest(const RipPacket& p) {
    return p.command == Command::Request && p.entries.size() == 1 && p.entries[0].family == 0 &&
           p.entries[0].metric == kInfinity;
}

const char* ripEntryProblem(const RipEntry& e) {
    if (e.family != kAfInet) return "address family is not IP";
    if (e.metric < 1 || e.metric > kInfinity) return "metric outside 1..16";
    uint8_t first = uint8_t(e.address >> 24);
    if (first >= 224) return "multicast or reserved address";
    if (first == 127) return "loopback address";
    if (first == 0 && e.address != 0) return "address in 0.0.0.0/8";
    if (e.mask && std::countl_one(e.mask) + std::countr_zero(e.mask) != 32) return "mask is not contiguous";
    if (e.address & ~e.mask && e.mask) return "host bits set past the mask";
    return nullptr;
}

// ---- RIPng -----------------------------------------------------------------

size_t ripngEntriesPerPacket(size_t mtu) {
    constexpr size_t kIpUdp = 40 + 8;
    if (mtu <= kIpUdp + kHeaderSize + kEntrySize) return 1;
    return (mtu - kIpUdp - kHeaderSize) / kEntrySize;
}

Bytes encodeRipng(const RipngPacket& p) {
    Bytes b;
    b.reserve(kHeaderSize + kEntrySize * p.entries.size());
    putHeader(b, p.command, 1);
    for (const RipngEntry& e : p.entries) {
        b.insert(b.end(), e.prefix.begin(), e.prefix.end());
        put16(b, e.tag);
        b.push_back(e.length);
        b.push_back(e.metric);
    }
    return b;
}

Decoded<RipngPacket> decodeRipng(std::span<const uint8_t> bytes) {
    if (const char* why = frameProblem(bytes)) return why;
    if (bytes[1] != 1) return "version " + std::to_string(bytes[1]);
    RipngPacket p;
    p.command = Command(bytes[0]);
    const size_t count = (bytes.size() - kHeaderSize) / kEntrySize;
    p.entries.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* e = bytes.data() + kHeaderSize + i * kEntrySize;
        RipngEntry r;
        std::memcpy(r.prefix.data(), e, 16);
        r.tag = get16(e + 16);
        r.length = e[18];
        r.metric = e[19];
        p.entries.push_back(r);
    }
    return p;
}

bool isWholeTableRequest(const RipngPacket& p) {
    if (p.command != Command::Request || p.entries.size() != 1) return false;
    const RipngEntry& e = p.entries[0];
    for (uint8_t x : e.prefix)
        if (x) return false;
    return e.length == 0 && e.metric == kInfinity;
}

const char* ripngEntryProblem(const RipngEntry& e) {
    if (e.metric < 1 || e.metric > kInfinity) return "metric outside 1..16";
    if (e.length > 128) return "prefix length past 128";
    if (e.prefix[0] == 0xFF) return "multicast prefix";
    if (e.prefix[0] == 0xFE && (e.prefix[1] & 0xC0) == 0x80) return "link-local prefix";
    return nullptr;
}

const char* ripngNextHopProblem(const RipngEntry& e) {
    if (!(e.prefix[0] == 0xFE && (e.prefix[1] & 0xC0) == 0x80)) return "next hop is not link-local";
    return nullptr;
}

}  // namespace engine::rip
