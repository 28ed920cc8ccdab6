#include "engine/bgp/message.h"

#include <algorithm>

namespace engine::bgp {

Notification notification(uint8_t code, uint8_t subcode, Bytes data) { return {code, subcode, std::move(data)}; }

namespace {

Notification badLength(uint16_t length) {
    return notification(err::kHeader, err::kBadLength, {uint8_t(length >> 8), uint8_t(length)});
}

// The smallest length of each type (RFC 4271 4.2 to 4.5).
size_t minimumLength(MessageType t) {
    switch (t) {
    case MessageType::Open:
        return 29;
    case MessageType::Update:
        return 23;
    case MessageType::Notification:
        return 21;
    default:
        return kHeaderSize;
    }
}

}  // namespace

Result<Header> decodeHeader(ByteView msg, size_t maxSize) {
    if (msg.size() < kHeaderSize) return badLength(uint16_t(msg.size()));
    for (size_t i = 0; i < 16; ++i)
        if (msg[i] != 0xff) return notification(err::kHeader, err::kNotSynchronized);
    Reader r(msg.subspan(16));
    Header h;
    h.length = r.u16();
    uint8_t type = r.u8();
    if (h.length < kHeaderSize || h.length > maxSize) return badLength(h.length);
    if (type < 1 || type > 5) return notification(err::kHeader, err::kBadType, {type});
    h.type = MessageType(type);
    if (h.length < minimumLength(h.type) || (h.type == MessageType::Keepalive && h.length != kHeaderSize))
        return badLength(h.length);
    return h;
}

Frame nextFrame(ByteView buffer, size_t maxSize) {
    Frame f;
    if (buffer.size() < kHeaderSize) return f;
    auto h = decodeHeader(buffer.first(kHeaderSize), maxSize);
    if (!h) {
        f.error = h.error();
        return f;
    }
    if (buffer.size() >= h->length) f.length = h->length;
    return f;
}

void beginMessage(Bytes& out, MessageType type) {
    out.insert(out.end(), 16, 0xff);
    out.push_back(0);
    out.push_back(0);
    out.push_back(uint8_t(type));
}

void endMessage(Bytes& out, size_t start) {
    size_t len = out.size() - start;
    store16(out.data() + start + 16, uint16_t(len));
}

// ---- OPEN ------------------------------------------------------------------

namespace {

namespace cap {
constexpr uint8_t kMultiprotocol = 1, kRouteRefresh = 2, kExtendedMessage = 6, kGracefulRestart = 64, kAs4 = 65;
}

void capability(Writer& w, uint8_t code, const Bytes& value) {
    w.u8(2);  // optional parameter: capabilities
    w.u8(uint8_t(2 + value.size()));
    w.u8(code);
    w.u8(uint8_t(value.size()));
    w.bytes(value);
}

// One capability's value; false when it is malformed.
bool decodeCapability(uint8_t code, ByteView value, Capabilities& caps) {
    Reader r(value);
    switch (code) {
    case cap::kMultiprotocol: {
        if (value.size() != 4) return false;
        AfiSafi f;
        f.afi = r.u16();
        r.u8();
        f.safi = r.u8();
        if (std::find(caps.multiprotocol.begin(), caps.multiprotocol.end(), f) == caps.multiprotocol.end())
            caps.multiprotocol.push_back(f);
        return true;
    }
    case cap::kRouteRefresh:
        caps.routeRefresh = true;
        return true;
    case cap::kExtendedMessage:
        caps.extendedMessage = true;
        return true;
    case cap::kAs4:
        if (value.size() != 4) return false;
        caps.as4 = r.u32();
        return true;
    case cap::kGracefulRestart: {
        if (value.size() < 2 || (value.size() - 2) % 4 != 0) return false;
        GracefulRestart gr;
        uint16_t flagsTime = r.u16();
        gr.restarting = (flagsTime & 0x8000) != 0;
        gr.notification = (flagsTime & 0x4000) != 0;
        gr.time = flagsTime & 0x0fff;
        while (!r.empty()) {
            GracefulRestart::Family f;
            f.family.afi = r.u16();
            f.family.safi = r.u8();
            f.forwarding = (r.u8() & 0x80) != 0;
            gr.families.push_back(f);
        }
        caps.gracefulRestart = std::move(gr);
        return true;
    }
    default:
        caps.other.push_back({code, Bytes(value.begin(), value.end())});
        return true;
    }
}

}  // namespace

Open makeOpen(uint32_t as, uint16_t holdTime, uint32_t bgpId) {
    Open o;
    o.myAs = as > 0xffff ? kAsTrans : uint16_t(as);
    o.holdTime = holdTime;
    o.bgpId = bgpId;
    o.caps.as4 = as;
    return o;
}

Bytes encodeOpen(const Open& open) {
    Bytes out;
    beginMessage(out, MessageType::Open);
    Writer w(out);
    w.u8(open.version);
    w.u16(open.myAs);
    w.u16(open.holdTime);
    w.u32(open.bgpId);
    size_t optLenAt = w.size();
    w.u8(0);
    const Capabilities& c = open.caps;
    for (const AfiSafi& f : c.multiprotocol)
        capability(w, cap::kMultiprotocol, {uint8_t(f.afi >> 8), uint8_t(f.afi), 0, f.safi});
    if (c.routeRefresh) capability(w, cap::kRouteRefresh, {});
    if (c.extendedMessage) capability(w, cap::kExtendedMessage, {});
    if (c.gracefulRestart) {
        const GracefulRestart& gr = *c.gracefulRestart;
        uint16_t flagsTime =
            uint16_t((gr.restarting ? 0x8000 : 0) | (gr.notification ? 0x4000 : 0) | (gr.time & 0x0fff));
        Bytes v{uint8_t(flagsTime >> 8), uint8_t(flagsTime)};
        for (const auto& f : gr.families) {
            v.insert(v.end(), {uint8_t(f.family.afi >> 8), uint8_t(f.family.afi), f.family.safi,
                               uint8_t(f.forwarding ? 0x80 : 0)});
        }
        capability(w, cap::kGracefulRestart, v);
    }
    if (c.as4) {
        Bytes v(4);
        store32(v.data(), *c.as4);
        capability(w, cap::kAs4, v);
    }
    for (const RawCapability& raw : c.other) capability(w, raw.code, raw.value);
    out[optLenAt] = uint8_t(out.size() - optLenAt - 1);
    endMessage(out, 0);
    return out;
}

Result<Open> decodeOpen(ByteView msg) {
    auto h = decodeHeader(msg, kMaxExtendedMessage);
    if (!h) return h.error();
    if (h->type != MessageType::Open || h->length != msg.size()) return badLength(uint16_t(msg.size()));
    Reader r(msg.subspan(kHeaderSize));
    Open o;
    o.version = r.u8();
    o.myAs = r.u16();
    o.holdTime = r.u16();
    o.bgpId = r.u32();
    size_t optLen = r.u8();
    if (o.version != 4) return notification(err::kOpen, err::kUnsupportedVersion, {0, 4});
    // RFC 9072: a length of 255 and a first type of 255 announce a 2-byte
    // length, and 2-byte lengths for each parameter.
    const bool extended = optLen == 255 && r.remaining() >= 3 && msg[kHeaderSize + 10] == 255;
    if (extended) {
        r.u8();
        optLen = r.u16();
    }
    if (optLen != r.remaining()) return badLength(h->length);
    while (!r.empty()) {
        uint8_t type = r.u8();
        size_t len = extended ? r.u16() : r.u8();
        ByteView params = r.bytes(len);
        if (r.failed()) return notification(err::kOpen, 0);
        if (type != 2) return notification(err::kOpen, err::kUnsupportedOptParam);
        Reader c(params);
        while (!c.empty()) {
            uint8_t code = c.u8();
            uint8_t clen = c.u8();
            ByteView value = c.bytes(clen);
            if (c.failed() || !decodeCapability(code, value, o.caps)) return notification(err::kOpen, 0);
        }
    }
    if (o.holdTime == 1 || o.holdTime == 2) return notification(err::kOpen, err::kUnacceptableHoldTime);
    if (o.bgpId == 0) return notification(err::kOpen, err::kBadBgpId);
    return o;
}

std::optional<Notification> checkPeerOpen(const Open& peer, uint32_t expectedAs) {
    if (expectedAs != 0 && peer.asNumber() != expectedAs) return notification(err::kOpen, err::kBadPeerAs);
    return std::nullopt;
}

bool Session::has(AfiSafi f) const { return std::find(families.begin(), families.end(), f) != families.end(); }

Session negotiate(const Open& ours, const Open& theirs) {
    Session s;
    s.as4 = ours.caps.as4.has_value() && theirs.caps.as4.has_value();
    s.extendedMessage = ours.caps.extendedMessage && theirs.caps.extendedMessage;
    s.routeRefresh = ours.caps.routeRefresh && theirs.caps.routeRefresh;
    s.holdTime = std::min(ours.holdTime, theirs.holdTime);
    s.keepalive = uint16_t(s.holdTime / 3);
    if (ours.caps.multiprotocol.empty() && theirs.caps.multiprotocol.empty()) {
        s.families.push_back(kIpv4Unicast);
    } else {
        for (const AfiSafi& f : ours.caps.multiprotocol) {
            if (std::find(theirs.caps.multiprotocol.begin(), theirs.caps.multiprotocol.end(), f) !=
                theirs.caps.multiprotocol.end())
                s.families.push_back(f);
        }
    }
    return s;
}

// ---- NOTIFICATION, KEEPALIVE, ROUTE-REFRESH --------------------------------

Bytes encodeNotification(const Notification& n) {
    Bytes out;
    beginMessage(out, MessageType::Notification);
    out.push_back(n.code);
    out.push_back(n.subcode);
    size_t room = kMaxMessage - out.size();
    out.insert(out.end(), n.data.begin(), n.data.begin() + long(std::min(room, n.data.size())));
    endMessage(out, 0);
    return out;
}

std::optional<Notification> decodeNotification(ByteView msg) {
    auto h = decodeHeader(msg, kMaxExtendedMessage);
    if (!h || h->type != MessageType::Notification || h->length != msg.size()) return std::nullopt;
    Reader r(msg.subspan(kHeaderSize));
    Notification n;
    n.code = r.u8();
    n.subcode = r.u8();
    ByteView data = r.rest();
    n.data.assign(data.begin(), data.end());
    return n;
}

Bytes encodeKeepalive() {
    Bytes out;
    beginMessage(out, MessageType::Keepalive);
    endMessage(out, 0);
    return out;
}

Result<std::monostate> decodeKeepalive(ByteView msg) {
    auto h = decodeHeader(msg, kMaxExtendedMessage);
    if (!h) return h.error();
    if (h->type != MessageType::Keepalive || msg.size() != kHeaderSize) return badLength(uint16_t(msg.size()));
    return std::monostate{};
}

Bytes encodeRouteRefresh(const RouteRefresh& rr) {
    Bytes out;
    beginMessage(out, MessageType::RouteRefresh);
    Writer w(out);
    w.u16(rr.family.afi);
    w.u8(rr.subtype);
    w.u8(rr.family.safi);
    endMessage(out, 0);
    return out;
}

Result<RouteRefresh> decodeRouteRefresh(ByteView msg) {
    auto h = decodeHeader(msg, kMaxExtendedMessage);
    if (!h) return h.error();
    if (h->type != MessageType::RouteRefresh || h->length != msg.size()) return badLength(uint16_t(msg.size()));
    if (msg.size() != 23) return notification(err::kRouteRefresh, 1, Bytes(msg.begin(), msg.end()));
    Reader r(msg.subspan(kHeaderSize));
    RouteRefresh rr;
    rr.family.afi = r.u16();
    rr.subtype = r.u8();
    rr.family.safi = r.u8();
    return rr;
}

}  // namespace engine::bgp
