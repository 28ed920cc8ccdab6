#include "engine/bgp/update.h"

#include <algorithm>
#include <bitset>

namespace engine::bgp {

Prefix Prefix::v4(uint32_t address, uint8_t length) {
    Prefix p;
    p.length = length;
    uint32_t mask = length == 0 ? 0 : ~uint32_t(0) << (32 - std::min<uint8_t>(length, 32));
    store32(p.bytes.data(), address & mask);
    return p;
}

size_t prefixHeaderSize(uint8_t safi) { return safi == 4 ? 3 : safi == 128 ? 11 : 0; }

bool decodePrefixes(ByteView field, AfiSafi family, std::vector<Prefix>& out) {
    const bool v6 = family.afi == 2;
    const unsigned width = v6 ? 128 : 32;
    const size_t header = prefixHeaderSize(family.safi);
    Reader r(field);
    while (!r.empty()) {
        unsigned bits = r.u8();
        if (bits < header * 8 || bits - header * 8 > width) return false;
        Prefix p;
        p.v6 = v6;
        p.safi = family.safi;
        p.length = uint8_t(bits - header * 8);
        if (header) {
            ByteView label = r.bytes(3);
            if (r.failed()) return false;
            p.labelField = uint32_t(label[0]) << 16 | uint32_t(label[1]) << 8 | label[2];
            if (header == 11) p.rd = uint64_t(r.u32()) << 32 | r.u32();
        }
        size_t n = (p.length + 7u) / 8;
        ByteView b = r.bytes(n);
        if (r.failed()) return false;
        std::copy(b.begin(), b.end(), p.bytes.begin());
        // Bits past the length are not part of the prefix (RFC 4271 4.3: trailing bits are irrelevant).
        if (p.length % 8) p.bytes[n - 1] &= uint8_t(0xff << (8 - p.length % 8));
        out.push_back(p);
    }
    return true;
}

void encodePrefix(Bytes& out, const Prefix& p) {
    const size_t header = prefixHeaderSize(p.safi);
    out.push_back(uint8_t(p.length + header * 8));
    if (header) {
        out.push_back(uint8_t(p.labelField >> 16));
        out.push_back(uint8_t(p.labelField >> 8));
        out.push_back(uint8_t(p.labelField));
        if (header == 11) {
            Writer w(out);
            w.u32(uint32_t(p.rd >> 32));
            w.u32(uint32_t(p.rd));
        }
    }
    out.insert(out.end(), p.bytes.begin(), p.bytes.begin() + (p.length + 7) / 8);
}

std::vector<uint32_t> flatten(const AsPath& path) {
    std::vector<uint32_t> v;
    for (const AsSegment& s : path) v.insert(v.end(), s.asns.begin(), s.asns.end());
    return v;
}

size_t pathLength(const AsPath& path) {
    size_t n = 0;
    for (const AsSegment& s : path) {
        if (s.type == 2) n += s.asns.size();
        else if (s.type == 1) n += 1;
    }
    return n;
}

namespace {

// ---- decoding --------------------------------------------------------------

std::optional<AsPath> decodeAsPath(ByteView v, size_t asSize) {
    AsPath path;
    Reader r(v);
    while (!r.empty()) {
        AsSegment s;
        s.type = r.u8();
        uint8_t count = r.u8();
        if (r.failed() || s.type < 1 || s.type > 4 || count == 0) return std::nullopt;
        if (r.remaining() < count * asSize) return std::nullopt;
        s.asns.reserve(count);
        for (int i = 0; i < count; ++i) s.asns.push_back(asSize == 4 ? r.u32() : r.u16());
        path.push_back(std::move(s));
    }
    return path;
}

// RFC 6793 4.2.3: the leading ASes of AS_PATH that AS4_PATH does not
// cover, then AS4_PATH.
AsPath mergeAs4Path(const AsPath& asPath, const AsPath& as4Path) {
    size_t n2 = pathLength(asPath), n4 = pathLength(as4Path);
    if (n2 < n4) return asPath;
    size_t keep = n2 - n4;
    AsPath merged;
    for (const AsSegment& s : asPath) {
        if (keep == 0) break;
        if (s.type == 3 || s.type == 4) {  // confederation segments are kept and not counted
            merged.push_back(s);
            continue;
        }
        if (s.type == 1) {
            merged.push_back(s);
            --keep;
            continue;
        }
        AsSegment part{s.type, {}};
        for (uint32_t as : s.asns) {
            if (keep == 0) break;
            part.asns.push_back(as);
            --keep;
        }
        merged.push_back(std::move(part));
    }
    merged.insert(merged.end(), as4Path.begin(), as4Path.end());
    return merged;
}

struct AttrRule {
    bool known = false;
    bool optional = false;
    bool transitive = false;
    ErrorAction onMalformed = ErrorAction::TreatAsWithdraw;
};

AttrRule ruleOf(uint8_t type) {
    using E = ErrorAction;
    switch (type) {
    case attr::kOrigin:
    case attr::kAsPath:
    case attr::kNextHop:
    case attr::kLocalPref:
        return {true, false, true, E::TreatAsWithdraw};
    case attr::kAtomicAggregate:
        return {true, false, true, E::AttributeDiscard};
    case attr::kMed:
    case attr::kOriginatorId:
    case attr::kClusterList:
        return {true, true, false, E::TreatAsWithdraw};
    case attr::kMpReach:
    case attr::kMpUnreach:
        return {true, true, false, E::SessionReset};
    case attr::kAggregator:
    case attr::kAs4Path:
    case attr::kAs4Aggregator:
        return {true, true, true, E::AttributeDiscard};
    case attr::kCommunities:
    case attr::kExtendedCommunities:
        return {true, true, true, E::TreatAsWithdraw};
    default:
        return {};
    }
}

bool familyKnown(AfiSafi f) {
    return (f.afi == 1 || f.afi == 2) && (f.safi == 1 || f.safi == 2 || f.safi == 4 || f.safi == 128);
}

// Next hop lengths of each family (RFC 4760, 8950, 4364, 4659).
bool nextHopLengthOk(AfiSafi f, size_t n) {
    if (f.safi == 128) return f.afi == 1 ? (n == 12 || n == 24) : (n == 24 || n == 48);
    return f.afi == 1 ? (n == 4 || n == 16 || n == 32) : (n == 16 || n == 32);
}

class UpdateDecoder {
public:
    UpdateDecoder(const UpdateOptions& o, Update& u) : opts_(o), u_(u) {}

    // false: a session reset, in notification_.
    bool attributes(ByteView all) {
        Reader r(all);
        while (!r.empty()) {
            size_t start = r.position();
            uint8_t flags = r.u8();
            uint8_t type = r.u8();
            size_t len = (flags & attr::kExtendedLength) ? r.u16() : r.u8();
            if (r.failed() || len > r.remaining()) {
                // RFC 7606 4: an attribute that runs past the attribute field;
                // its total length still locates the NLRI.
                note(type, ErrorAction::TreatAsWithdraw, err::kAttributeLength);
                return true;
            }
            ByteView value = r.bytes(len);
            ByteView whole = all.subspan(start, r.position() - start);
            if (seen_[type]) {
                if (type == attr::kMpReach || type == attr::kMpUnreach) return reset(err::kMalformedAttributeList, {});
                note(type, ErrorAction::AttributeDiscard, err::kMalformedAttributeList);
                continue;
            }
            seen_[type] = true;
            if (!one(flags, type, value, whole)) return false;
        }
        return true;
    }

    bool finish(bool hasNlri) {
        PathAttributes& a = u_.attributes;
        if (!opts_.as4) {
            if (a.as4Path && a.asPath) a.asPath = mergeAs4Path(*a.asPath, *a.as4Path);
            if (a.as4Aggregator && a.aggregator && a.aggregator->as == kAsTrans) a.aggregator = a.as4Aggregator;
        }
        a.as4Path.reset();
        a.as4Aggregator.reset();
        // RFC 7606 3(d): a missing well-known mandatory attribute withdraws.
        bool reach = hasNlri || (a.mpReach && !a.mpReach->nlri.empty());
        if (reach) {
            if (!a.origin && !missingHandled(attr::kOrigin))
                note(attr::kOrigin, ErrorAction::TreatAsWithdraw, err::kMissingWellKnown);
            if (!a.asPath && !missingHandled(attr::kAsPath))
                note(attr::kAsPath, ErrorAction::TreatAsWithdraw, err::kMissingWellKnown);
            if (hasNlri && !a.nextHop && !missingHandled(attr::kNextHop))
                note(attr::kNextHop, ErrorAction::TreatAsWithdraw, err::kMissingWellKnown);
        }
        return true;
    }

    Notification notification_;

private:
    bool missingHandled(uint8_t type) const {
        return std::any_of(u_.errors.begin(), u_.errors.end(), [&](const AttributeError& e) { return e.type == type; });
    }

    void note(uint8_t type, ErrorAction action, uint8_t subcode) {
        u_.errors.push_back({type, action, subcode});
        u_.action = std::max(u_.action, action);
    }

    bool reset(uint8_t subcode, ByteView data) {
        notification_ = notification(err::kUpdate, subcode, Bytes(data.begin(), data.end()));
        return false;
    }

    // An attribute that is malformed: its rule's action.
    bool malformed(uint8_t type, uint8_t subcode, ByteView whole) {
        ErrorAction action = ruleOf(type).onMalformed;
        if (action == ErrorAction::SessionReset) return reset(subcode, whole);
        note(type, action, subcode);
        return true;
    }

    bool one(uint8_t flags, uint8_t type, ByteView v, ByteView whole) {
        AttrRule rule = ruleOf(type);
        PathAttributes& a = u_.attributes;
        if (!rule.known) {
            if (!(flags & attr::kOptional)) return reset(err::kUnrecognizedWellKnown, whole);
            // Optional: a transitive one is passed on marked partial, a
            // non-transitive one quietly ignored (RFC 4271 5).
            if (flags & attr::kTransitive)
                a.unknown.push_back(
                    {uint8_t((flags | attr::kPartial) & ~attr::kExtendedLength), type, Bytes(v.begin(), v.end())});
            return true;
        }
        bool optional = (flags & attr::kOptional) != 0, transitive = (flags & attr::kTransitive) != 0;
        if (optional != rule.optional || transitive != rule.transitive) {
            // RFC 7606 3(c): treat-as-withdraw, except where the attribute's
            // own handling is stronger.
            if (rule.onMalformed == ErrorAction::SessionReset) return reset(err::kAttributeFlags, whole);
            note(type, ErrorAction::TreatAsWithdraw, err::kAttributeFlags);
            return true;
        }
        Reader r(v);
        const size_t asSize = opts_.as4 ? 4 : 2;
        switch (type) {
        case attr::kOrigin:
            if (v.size() != 1) return malformed(type, err::kAttributeLength, whole);
            if (v[0] > 2) return malformed(type, err::kInvalidOrigin, whole);
            a.origin = v[0];
            return true;
        case attr::kAsPath: {
            auto p = decodeAsPath(v, asSize);
            if (!p) return malformed(type, err::kMalformedAsPath, whole);
            a.asPath = std::move(*p);
            return true;
        }
        case attr::kNextHop:
            if (v.size() != 4) return malformed(type, err::kAttributeLength, whole);
            a.nextHop = r.u32();
            return true;
        case attr::kMed:
            if (v.size() != 4) return malformed(type, err::kAttributeLength, whole);
            a.med = r.u32();
            return true;
        case attr::kLocalPref:
            if (!opts_.internal) return true;  // RFC 4271 5.1.5: disregarded from external peers
            if (v.size() != 4) return malformed(type, err::kAttributeLength, whole);
            a.localPref = r.u32();
            return true;
        case attr::kAtomicAggregate:
            if (!v.empty()) return malformed(type, err::kAttributeLength, whole);
            a.atomicAggregate = true;
            return true;
        case attr::kAggregator:
            if (v.size() != 4 + asSize) return malformed(type, err::kAttributeLength, whole);
            a.aggregator = Aggregator{asSize == 4 ? r.u32() : r.u16(), r.u32()};
            return true;
        case attr::kCommunities:
            if (v.empty() || v.size() % 4) return malformed(type, err::kOptionalAttribute, whole);
            while (!r.empty()) a.communities.push_back(r.u32());
            return true;
        case attr::kOriginatorId:
            if (v.size() != 4) return malformed(type, err::kAttributeLength, whole);
            a.originatorId = r.u32();
            return true;
        case attr::kClusterList:
            if (v.empty() || v.size() % 4) return malformed(type, err::kAttributeLength, whole);
            while (!r.empty()) a.clusterList.push_back(r.u32());
            return true;
        case attr::kExtendedCommunities:
            if (v.empty() || v.size() % 8) return malformed(type, err::kOptionalAttribute, whole);
            while (!r.empty()) {
                std::array<uint8_t, 8> c{};
                ByteView b = r.bytes(8);
                std::copy(b.begin(), b.end(), c.begin());
                a.extendedCommunities.push_back(c);
            }
            return true;
        case attr::kAs4Path: {
            if (opts_.as4) return true;  // RFC 6793 4.1: not expected between 4-octet speakers; ignored
            auto p = decodeAsPath(v, 4);
            bool confed = p && std::any_of(p->begin(), p->end(), [](const AsSegment& s) { return s.type > 2; });
            if (!p || confed) return malformed(type, err::kOptionalAttribute, whole);
            a.as4Path = std::move(*p);
            return true;
        }
        case attr::kAs4Aggregator:
            if (opts_.as4) return true;
            if (v.size() != 8) return malformed(type, err::kOptionalAttribute, whole);
            a.as4Aggregator = Aggregator{r.u32(), r.u32()};
            return true;
        case attr::kMpReach: {
            MpReach m;
            m.family.afi = r.u16();
            m.family.safi = r.u8();
            uint8_t nhLen = r.u8();
            ByteView nh = r.bytes(nhLen);
            r.u8();  // reserved
            if (r.failed()) return malformed(type, err::kOptionalAttribute, whole);
            m.nextHop.assign(nh.begin(), nh.end());
            if (familyKnown(m.family)) {
                if (!nextHopLengthOk(m.family, nhLen) || !decodePrefixes(r.rest(), m.family, m.nlri))
                    return malformed(type, err::kOptionalAttribute, whole);
            }
            a.mpReach = std::move(m);
            return true;
        }
        case attr::kMpUnreach: {
            MpUnreach m;
            m.family.afi = r.u16();
            m.family.safi = r.u8();
            if (r.failed()) return malformed(type, err::kOptionalAttribute, whole);
            if (familyKnown(m.family) && !decodePrefixes(r.rest(), m.family, m.withdrawn))
                return malformed(type, err::kOptionalAttribute, whole);
            a.mpUnreach = std::move(m);
            return true;
        }
        default:
            return true;
        }
    }

    const UpdateOptions& opts_;
    Update& u_;
    std::bitset<256> seen_;
};

// ---- encoding --------------------------------------------------------------

void attribute(Bytes& out, uint8_t flags, uint8_t type, ByteView value) {
    Writer w(out);
    if (value.size() > 255) flags |= attr::kExtendedLength;
    else flags &= uint8_t(~attr::kExtendedLength);
    w.u8(flags);
    w.u8(type);
    if (flags & attr::kExtendedLength) w.u16(uint16_t(value.size()));
    else w.u8(uint8_t(value.size()));
    w.bytes(value);
}

constexpr uint8_t kWellKnown = attr::kTransitive;
constexpr uint8_t kOptTrans = attr::kOptional | attr::kTransitive;
constexpr uint8_t kOptNonTrans = attr::kOptional;

bool needsAs4(const AsPath& p) {
    return std::any_of(p.begin(), p.end(), [](const AsSegment& s) {
        return std::any_of(s.asns.begin(), s.asns.end(), [](uint32_t as) { return as > 0xffff; });
    });
}

// Segments of at most 255 ASes; with 2-octet ASes, AS_TRANS for the wide ones.
Bytes asPathValue(const AsPath& path, bool wide, bool skipConfed = false) {
    Bytes v;
    Writer w(v);
    for (const AsSegment& s : path) {
        if (skipConfed && s.type > 2) continue;
        for (size_t i = 0; i < s.asns.size() || i == 0; i += 255) {
            size_t n = std::min<size_t>(255, s.asns.size() - i);
            if (n == 0) break;
            w.u8(s.type);
            w.u8(uint8_t(n));
            for (size_t k = i; k < i + n; ++k) {
                uint32_t as = s.asns[k];
                if (wide) w.u32(as);
                else w.u16(as > 0xffff ? kAsTrans : uint16_t(as));
            }
        }
    }
    return v;
}

Bytes u32Value(uint32_t v) {
    Bytes b(4);
    store32(b.data(), v);
    return b;
}

Bytes aggregatorValue(const Aggregator& a, bool wide) {
    Bytes v;
    Writer w(v);
    if (wide) w.u32(a.as);
    else w.u16(a.as > 0xffff ? kAsTrans : uint16_t(a.as));
    w.u32(a.address);
    return v;
}

}  // namespace

void encodeAttributes(Bytes& out, const PathAttributes& a, bool as4) {
    if (a.mpReach) {
        Bytes v;
        Writer w(v);
        w.u16(a.mpReach->family.afi);
        w.u8(a.mpReach->family.safi);
        w.u8(uint8_t(a.mpReach->nextHop.size()));
        w.bytes(a.mpReach->nextHop);
        w.u8(0);
        for (const Prefix& p : a.mpReach->nlri) encodePrefix(v, p);
        attribute(out, kOptNonTrans, attr::kMpReach, v);
    }
    if (a.mpUnreach) {
        Bytes v;
        Writer w(v);
        w.u16(a.mpUnreach->family.afi);
        w.u8(a.mpUnreach->family.safi);
        for (const Prefix& p : a.mpUnreach->withdrawn) encodePrefix(v, p);
        attribute(out, kOptNonTrans, attr::kMpUnreach, v);
    }
    if (a.origin) attribute(out, kWellKnown, attr::kOrigin, Bytes{*a.origin});
    if (a.asPath) attribute(out, kWellKnown, attr::kAsPath, asPathValue(*a.asPath, as4));
    if (a.nextHop) attribute(out, kWellKnown, attr::kNextHop, u32Value(*a.nextHop));
    if (a.med) attribute(out, kOptNonTrans, attr::kMed, u32Value(*a.med));
    if (a.localPref) attribute(out, kWellKnown, attr::kLocalPref, u32Value(*a.localPref));
    if (a.atomicAggregate) attribute(out, kWellKnown, attr::kAtomicAggregate, {});
    if (a.aggregator) attribute(out, kOptTrans, attr::kAggregator, aggregatorValue(*a.aggregator, as4));
    if (!a.communities.empty()) {
        Bytes v;
        for (uint32_t c : a.communities) Writer(v).u32(c);
        attribute(out, kOptTrans, attr::kCommunities, v);
    }
    if (a.originatorId) attribute(out, kOptNonTrans, attr::kOriginatorId, u32Value(*a.originatorId));
    if (!a.clusterList.empty()) {
        Bytes v;
        for (uint32_t c : a.clusterList) Writer(v).u32(c);
        attribute(out, kOptNonTrans, attr::kClusterList, v);
    }
    if (!a.extendedCommunities.empty()) {
        Bytes v;
        for (const auto& c : a.extendedCommunities) v.insert(v.end(), c.begin(), c.end());
        attribute(out, kOptTrans, attr::kExtendedCommunities, v);
    }
    if (!as4) {
        if (a.as4Path) attribute(out, kOptTrans, attr::kAs4Path, asPathValue(*a.as4Path, true, true));
        else if (a.asPath && needsAs4(*a.asPath))
            attribute(out, kOptTrans, attr::kAs4Path, asPathValue(*a.asPath, true, true));
        if (a.as4Aggregator) attribute(out, kOptTrans, attr::kAs4Aggregator, aggregatorValue(*a.as4Aggregator, true));
        else if (a.aggregator && a.aggregator->as > 0xffff)
            attribute(out, kOptTrans, attr::kAs4Aggregator, aggregatorValue(*a.aggregator, true));
    }
    for (const RawAttribute& raw : a.unknown) attribute(out, raw.flags, raw.type, raw.value);
}

Bytes encodeUpdate(const std::vector<Prefix>& withdrawn, const PathAttributes& attrs, const std::vector<Prefix>& nlri,
                   bool as4) {
    Bytes out;
    beginMessage(out, MessageType::Update);
    size_t wAt = out.size();
    out.resize(out.size() + 2);
    for (const Prefix& p : withdrawn) encodePrefix(out, p);
    store16(out.data() + wAt, uint16_t(out.size() - wAt - 2));
    size_t aAt = out.size();
    out.resize(out.size() + 2);
    encodeAttributes(out, attrs, as4);
    store16(out.data() + aAt, uint16_t(out.size() - aAt - 2));
    for (const Prefix& p : nlri) encodePrefix(out, p);
    endMessage(out, 0);
    return out;
}

Bytes encodeEndOfRib(AfiSafi family) {
    PathAttributes a;
    if (family != kIpv4Unicast) a.mpUnreach = MpUnreach{family, {}};
    return encodeUpdate({}, a, {}, true);
}

Result<Update> decodeUpdate(ByteView msg, const UpdateOptions& opts) {
    auto h = decodeHeader(msg, kMaxExtendedMessage);
    if (!h) return h.error();
    if (h->type != MessageType::Update || h->length != msg.size())
        return notification(err::kHeader, err::kBadLength, {uint8_t(msg.size() >> 8), uint8_t(msg.size())});
    Reader r(msg.subspan(kHeaderSize));
    uint16_t wlen = r.u16();
    ByteView withdrawn = r.bytes(wlen);
    uint16_t alen = r.u16();
    ByteView attrs = r.bytes(alen);
    if (r.failed()) return notification(err::kUpdate, err::kMalformedAttributeList);
    ByteView nlri = r.rest();

    Update u;
    if (!decodePrefixes(withdrawn, kIpv4Unicast, u.withdrawn) || !decodePrefixes(nlri, kIpv4Unicast, u.nlri))
        return notification(err::kUpdate, err::kInvalidNetworkField);
    UpdateDecoder d(opts, u);
    if (!d.attributes(attrs)) return d.notification_;
    d.finish(!u.nlri.empty());
    const PathAttributes& a = u.attributes;
    if (wlen == 0 && alen == 0 && nlri.empty()) u.endOfRib = kIpv4Unicast;
    else if (wlen == 0 && nlri.empty() && a.mpUnreach && a.mpUnreach->withdrawn.empty() && !a.mpReach && [&] {
                 PathAttributes only;
                 only.mpUnreach = a.mpUnreach;
                 return a == only;
             }())
        u.endOfRib = a.mpUnreach->family;
    return u;
}

}  // namespace engine::bgp
