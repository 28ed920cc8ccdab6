#include "engine/bgp/builder.h"

#include <algorithm>
#include <cstring>

namespace engine::bgp {

namespace {

u128 toInt(const hal::EIPAddress& a) {
    const auto& b = a.GetBytes();
    u128 v = 0;
    for (int i = 0; i < (a.IsV6() ? 16 : 4); ++i) v = v << 8 | b[size_t(i)];
    return v;
}

// Networks available from `base` on, in steps of `step` units of `length`.
uint64_t fitCount(u128 base, unsigned width, uint8_t length, uint64_t wanted, uint32_t step) {
    if (wanted == 0) return 0;
    if (step == 0 || length == 0) return 1;
    u128 maxAddr = width == 128 ? ~u128(0) : (u128(1) << width) - 1;
    u128 units = (maxAddr - base) >> (width - length);  // whole prefixes above base
    u128 more = units / step;
    return more + 1 < wanted ? uint64_t(more + 1) : wanted;
}

u128 maskOf(unsigned width, uint8_t length) {
    if (length == 0) return 0;
    u128 all = width == 128 ? ~u128(0) : (u128(1) << width) - 1;
    return all & ~((u128(1) << (width - length)) - 1);
}

// The offset of the value of attribute `type` in an encoded attribute list.
size_t findAttribute(const Bytes& attrs, uint8_t type) {
    size_t i = 0;
    while (i + 3 <= attrs.size()) {
        uint8_t flags = attrs[i];
        bool ext = flags & attr::kExtendedLength;
        size_t len = ext ? size_t(attrs[i + 2]) << 8 | attrs[i + 3] : attrs[i + 2];
        size_t value = i + (ext ? 4 : 3);
        if (attrs[i + 1] == type) return value;
        i = value + len;
    }
    return attrs.size();
}

void putAddress(uint8_t* p, u128 v, size_t size) {
    for (size_t i = 0; i < size; ++i) p[i] = uint8_t(v >> (8 * (size - 1 - i)));
}

}  // namespace

uint32_t rangeAs(const hal::EBGP::ConfigNeighbor& n, uint32_t sessionAs, size_t position) {
    if (n.asNumMode == 1) return sessionAs + uint32_t(position) * n.asNumStep;
    return sessionAs;
}

uint64_t rangePrefixCount(const hal::EBGP::ConfigRoutes& r) {
    bool v6 = r.firstNetwork.IsV6();
    unsigned width = v6 ? 128 : 32;
    uint64_t total = 0;
    for (unsigned len = r.fromPrefix; len <= std::min<unsigned>(r.thruPrefix, width); ++len) {
        u128 base = toInt(r.firstNetwork) & maskOf(width, uint8_t(len));
        total += fitCount(base, width, uint8_t(len), r.numberOfRoutes, r.routeStep);
    }
    return total;
}

PathAttributes rangeAttributes(const hal::EBGP::ConfigRoutes& r, const EncodeSession& s, uint32_t pathAs) {
    PathAttributes a;
    a.origin = r.origin;
    AsPath path;
    r.asPath.ForEach([&](const hal::EBGP::ConfigAsPathSegment& seg) {
        if (seg.asNumbers.empty()) return;  // a segment of no AS is malformed on the wire
        path.push_back({seg.type, std::vector<uint32_t>(seg.asNumbers.begin(), seg.asNumbers.end())});
    });
    if (!s.internal) {
        switch (r.asPathMode) {
        case 1:
        case 2:
        case 3:
        case 4: {
            static constexpr uint8_t kSegment[] = {0, 2, 1, 3, 4};
            path.insert(path.begin(), AsSegment{kSegment[r.asPathMode], {pathAs}});
            break;
        }
        case 5:
            if (!path.empty() && path.front().type == 2 && path.front().asns.size() < 255)
                path.front().asns.insert(path.front().asns.begin(), pathAs);
            else path.insert(path.begin(), AsSegment{2, {pathAs}});
            break;
        default:
            break;
        }
    }
    a.asPath = std::move(path);
    if (s.internal) a.localPref = r.localPreference;
    if (r.medEnabled) a.med = r.med;
    a.atomicAggregate = r.atomicAggregate;
    if (r.aggregatorAs != 0)
        a.aggregator = Aggregator{r.aggregatorAs, r.aggregatorAddress.IsV6() ? 0 : r.aggregatorAddress.GetV4()};
    a.communities = r.communities;
    if (s.internal) {
        if (!r.originatorId.IsV6() && r.originatorId.GetV4() != 0) a.originatorId = r.originatorId.GetV4();
        for (const hal::EIPAddress& c : r.clusterList)
            if (!c.IsV6()) a.clusterList.push_back(c.GetV4());
    }
    r.extendedCommunities.ForEach([&](const hal::EBGP::ConfigExtendedCommunity& c) {
        std::array<uint8_t, 8> v{c.type, c.subType};
        std::copy_n(c.value.bytes.begin(), std::min<size_t>(6, c.value.bytes.size()), v.begin() + 2);
        a.extendedCommunities.push_back(v);
    });
    return a;
}

UpdateEncoder::UpdateEncoder(const EncodeSession& s, Kind kind) : s_(s), kind_(kind) {
    s_.maxMessage = std::clamp<size_t>(s_.maxMessage, kMaxMessage, kMaxExtendedMessage);
}

UpdateEncoder::Group& UpdateEncoder::groupFor(Group&& g, bool mergeable) {
    if (mergeable) {
        auto key = std::make_pair(g.head, g.tail);
        auto it = shared_.find(key);
        if (it != shared_.end() && it->second >= group_) return groups_[it->second];
        shared_[key] = groups_.size();
    }
    groups_.push_back(std::move(g));
    return groups_.back();
}

uint64_t RouteDistinguisher::at(uint64_t route) const {
    uint64_t move = uint64_t(step) * route;
    if (type == 1) {
        uint32_t g = uint32_t(global + (stepGlobal ? move : 0));
        uint16_t l = uint16_t(local + (stepGlobal ? 0 : move));
        return uint64_t(1) << 48 | uint64_t(g) << 16 | l;
    }
    uint16_t g = uint16_t(global + (stepGlobal ? move : 0));
    uint32_t l = uint32_t(local + (stepGlobal ? 0 : move));
    return uint64_t(g) << 32 | l;
}

namespace {

RouteLabels labelsOf(const hal::EBGP::ConfigLabels& l) { return {l.startLabel, l.labelMode == 1}; }

// A route target: type 0x00 (AS) or 0x01 (address), sub-type 0x02.
std::array<uint8_t, 8> routeTarget(const hal::EBGP::ConfigAdministrator& a) {
    std::array<uint8_t, 8> c{};
    c[1] = 0x02;
    if (a.type == 1) {
        c[0] = 0x01;
        store32(c.data() + 2, a.ipAddress.IsV6() ? 0 : a.ipAddress.GetV4());
        store16(c.data() + 6, uint16_t(a.assignedNumber));
    } else {
        store16(c.data() + 2, a.asNumber);
        store32(c.data() + 4, a.assignedNumber);
    }
    return c;
}

}  // namespace

bool UpdateEncoder::add(const hal::EBGP::ConfigRoutes& r, uint32_t pathAs, uint8_t safi) {
    Extras x;
    x.safi = safi;
    return addRange(r, pathAs, x);
}

bool UpdateEncoder::addLabelled(const hal::EBGP::ConfigMplsRouteRange& r, uint32_t pathAs) {
    Extras x;
    x.safi = 4;
    x.labels = labelsOf(r.labels);
    return addRange(r, pathAs, x);
}

bool UpdateEncoder::addVpn(const hal::EBGP::ConfigVpnRouteRange& r, const hal::EBGP::ConfigL3Site& site,
                           uint32_t pathAs) {
    Extras x;
    x.safi = 128;
    x.labels = labelsOf(r.labels);
    const hal::EBGP::ConfigAdministrator& d = r.distinguisher;
    x.rd.type = d.type == 1 ? 1 : 0;
    x.rd.global = d.type == 1 ? (d.ipAddress.IsV6() ? 0 : d.ipAddress.GetV4()) : d.asNumber;
    x.rd.local = d.assignedNumber;
    x.rd.step = r.distinguisherStep;
    x.rd.stepGlobal = r.distinguisherIncrementMode == 0;
    site.exportTargets.ForEach(
        [&](const hal::EBGP::ConfigRouteTarget& t) { x.communities.push_back(routeTarget(t.target)); });
    return addRange(r, pathAs, x);
}

bool UpdateEncoder::addRange(const hal::EBGP::ConfigRoutes& r, uint32_t pathAs, const Extras& x) {
    const uint8_t safi = x.safi;
    if (!r.enabled) {
        error_ = "the range is disabled";
        return false;
    }
    const bool v6 = r.firstNetwork.IsV6();
    const unsigned width = v6 ? 128 : 32;
    Group g;
    g.v6 = v6;
    g.family = AfiSafi{uint16_t(v6 ? 2 : 1), safi};
    g.inNlriField = !v6 && safi == 1;
    g.header = prefixHeaderSize(safi);
    g.labels = x.labels;
    g.rd = x.rd;
    bool mergeable = g.header == 0;  // labels and distinguishers are counted per range

    if (kind_ == Kind::Withdraw) {
        if (!g.inNlriField) {
            Writer w(g.head);
            w.u8(attr::kOptional | attr::kExtendedLength);
            w.u8(attr::kMpUnreach);
            w.u16(0);
            w.u16(g.family.afi);
            w.u8(g.family.safi);
        }
    } else {
        const hal::EIPAddress& nhAddr = r.nextHopSetMode == 0 ? r.nextHop : s_.localAddress;
        if (!v6 && nhAddr.IsV6()) {
            error_ = "an IPv4 range needs an IPv4 next hop";
            return false;
        }
        u128 nh = toInt(nhAddr);
        if (v6 && !nhAddr.IsV6()) nh |= u128(0xffff) << 32;  // IPv4-mapped
        g.nh = nh;
        g.nhSize = v6 ? 16 : 4;
        g.nhVaries = r.nextHopMode == 1 || r.nextHopMode == 2;
        mergeable = mergeable && !g.nhVaries;
        PathAttributes a = rangeAttributes(r, s_, pathAs);
        a.extendedCommunities.insert(a.extendedCommunities.end(), x.communities.begin(), x.communities.end());
        if (g.inNlriField) {
            a.nextHop = uint32_t(nh);
            encodeAttributes(g.head, a, s_.as4);
            g.nhAt = findAttribute(g.head, attr::kNextHop);
        } else {
            encodeAttributes(g.tail, a, s_.as4);
            bool linkLocal = v6 && r.nextHopSetMode == 1 && s_.linkLocal;
            const size_t rdZero = safi == 128 ? 8 : 0;  // a VPN next hop has a distinguisher of zero
            Writer w(g.head);
            w.u8(attr::kOptional | attr::kExtendedLength);
            w.u8(attr::kMpReach);
            w.u16(0);
            w.u16(g.family.afi);
            w.u8(g.family.safi);
            w.u8(uint8_t(rdZero + g.nhSize + (linkLocal ? rdZero + 16 : 0)));
            g.head.resize(g.head.size() + rdZero);
            g.nhAt = g.head.size();
            g.head.resize(g.head.size() + g.nhSize);
            putAddress(g.head.data() + g.nhAt, nh, g.nhSize);
            if (linkLocal) {
                g.head.resize(g.head.size() + rdZero);
                g.head.insert(g.head.end(), s_.linkLocal->begin(), s_.linkLocal->end());
            }
            w.u8(0);  // reserved
        }
    }

    // Room for the attributes and at least the longest prefix.
    if (kHeaderSize + 4 + g.head.size() + g.tail.size() + 17 + g.header > s_.maxMessage) {
        error_ = "the path attributes of the range do not fit in a message";
        return false;
    }
    uint64_t routeIndex = 0;
    unsigned lengthIndex = 0;
    std::vector<Run> runs;
    for (unsigned len = r.fromPrefix; len <= std::min<unsigned>(r.thruPrefix, width); ++len, ++lengthIndex) {
        Run run;
        run.length = uint8_t(len);
        run.base = toInt(r.firstNetwork) & maskOf(width, run.length);
        run.count = fitCount(run.base, width, run.length, r.numberOfRoutes, r.routeStep);
        run.step = len == 0 ? 0 : u128(r.routeStep) << (width - len);
        if (run.count <= 1) run.step = 0;
        if (kind_ == Kind::Announce && r.nextHopMode == 1) {
            run.nhOffset = routeIndex;
            run.nhPerRoute = true;
        } else if (kind_ == Kind::Announce && r.nextHopMode == 2) {
            run.nhOffset = lengthIndex;
        }
        run.routeBase = routeIndex;
        routeIndex += run.count;
        if (run.count) runs.push_back(run);
    }
    prefixes_ += routeIndex;
    if (runs.empty()) return true;
    Group& target = groupFor(std::move(g), mergeable);
    target.runs.insert(target.runs.end(), runs.begin(), runs.end());
    return true;
}

size_t UpdateEncoder::fill(uint8_t* out, size_t cap) {
    // A message is always built as full as the session allows; when the
    // caller's room is smaller it waits in pending_ for the next call.
    size_t used = 0;
    auto flushPending = [&] {
        if (pending_.size() > cap - used) return false;
        std::memcpy(out + used, pending_.data(), pending_.size());
        used += pending_.size();
        pending_.clear();
        return true;
    };
    if (!pending_.empty() && !flushPending()) return 0;
    while (group_ < groups_.size()) {
        if (cap - used >= s_.maxMessage) {
            used += writeOne(out + used, cap - used);
            continue;
        }
        pending_.resize(s_.maxMessage);
        pending_.resize(writeOne(pending_.data(), pending_.size()));
        if (!flushPending()) break;
    }
    return used;
}

size_t UpdateEncoder::writeOne(uint8_t* out, size_t cap) {
    Group& g = groups_[group_];
    const size_t limit = std::min(cap, s_.maxMessage);  // cap is at least the session's largest message
    // Header; the lengths are filled in at the end.
    std::memset(out, 0xff, 16);
    out[18] = uint8_t(MessageType::Update);
    uint8_t* p = out + kHeaderSize;
    uint8_t* withdrawnLen = p;
    p += 2;
    uint8_t* attrLen = nullptr;
    if (kind_ == Kind::Announce || !g.inNlriField) {
        store16(withdrawnLen, 0);
        attrLen = p;
        p += 2;
    }
    uint8_t* head = p;
    if (!g.head.empty()) std::memcpy(p, g.head.data(), g.head.size());
    p += g.head.size();
    uint8_t* const prefixesAt = p;
    uint8_t* const end = out + limit - g.tail.size() - (attrLen ? 0 : 2);

    u128 msgNh = 0;
    bool first = true;
    while (run_ < g.runs.size()) {
        const Run& run = g.runs[run_];
        const size_t nbytes = (run.length + 7u) / 8, nb = 1 + g.header + nbytes;
        if (g.nhVaries) {
            u128 nh = g.nh + run.nhOffset + (run.nhPerRoute ? index_ : 0);
            if (first) msgNh = nh;
            else if (nh != msgNh) break;
        }
        first = false;
        uint64_t k = uint64_t(end - p) / nb;
        k = std::min(k, run.nhPerRoute ? 1 : run.count - index_);
        if (k == 0) break;
        const uint8_t len = run.length;
        if (g.header) {
            // Labelled and VPN routes: the label field (and distinguisher) of each route.
            const unsigned width = g.v6 ? 128 : 32;
            u128 a = run.base + run.step * index_;
            for (uint64_t i = 0; i < k; ++i, a += run.step) {
                const uint64_t route = run.routeBase + index_ + i;
                p[0] = uint8_t(len + g.header * 8);
                uint32_t label = (g.labels.start + (g.labels.increment ? uint32_t(route) : 0)) & 0xfffff;
                uint32_t field = kind_ == Kind::Withdraw ? kWithdrawLabelField : label << 4 | 1;
                p[1] = uint8_t(field >> 16);
                p[2] = uint8_t(field >> 8);
                p[3] = uint8_t(field);
                if (g.header == 11) {
                    uint64_t rd = g.rd.at(route);
                    store32(p + 4, uint32_t(rd >> 32));
                    store32(p + 8, uint32_t(rd));
                }
                uint8_t* q = p + 1 + g.header;
                for (size_t j = 0; j < nbytes; ++j) q[j] = uint8_t(a >> (width - 8 - 8 * j));
                p += nb;
            }
        } else if (!g.v6) {
            uint64_t a = uint64_t(run.base + run.step * index_);
            const uint64_t step = uint64_t(run.step);
            uint64_t i = 0;
            if (nbytes >= 2) {
                // Four address bytes at once; the spare ones are overwritten
                // by the next prefix, so the last one goes byte by byte.
                for (; i + 1 < k; ++i, a += step) {
                    p[0] = len;
                    store32(p + 1, uint32_t(a));
                    p += nb;
                }
            }
            for (; i < k; ++i, a += step) {
                p[0] = len;
                for (size_t j = 0; j < nbytes; ++j) p[1 + j] = uint8_t(a >> (24 - 8 * j));
                p += nb;
            }
        } else {
            u128 a = run.base + run.step * index_;
            for (uint64_t i = 0; i < k; ++i, a += run.step) {
                p[0] = len;
                for (size_t j = 0; j < nbytes; ++j) p[1 + j] = uint8_t(a >> (120 - 8 * j));
                p += nb;
            }
        }
        index_ += k;
        if (index_ == run.count) {
            ++run_;
            index_ = 0;
        } else {
            break;  // the message is full
        }
    }
    const size_t prefixBytes = size_t(p - prefixesAt);
    if (g.nhVaries) putAddress(head + g.nhAt, msgNh, g.nhSize);
    if (!g.inNlriField) store16(head + 2, uint16_t(g.head.size() - 4 + prefixBytes));  // MP attribute length
    if (!g.tail.empty()) std::memcpy(p, g.tail.data(), g.tail.size());
    p += g.tail.size();
    if (attrLen) {
        size_t total = g.inNlriField ? g.head.size() : g.head.size() + prefixBytes + g.tail.size();
        store16(attrLen, uint16_t(total));
    } else {  // IPv4 withdrawals: the withdrawn routes field, then no attributes
        store16(withdrawnLen, uint16_t(prefixBytes));
        store16(p, 0);
        p += 2;
    }
    size_t length = size_t(p - out);
    store16(out + 16, uint16_t(length));
    ++messages_;
    if (run_ >= g.runs.size()) {
        ++group_;
        run_ = 0;
        index_ = 0;
    }
    return length;
}

Bytes UpdateEncoder::all() {
    Bytes out;
    const size_t chunk = std::max<size_t>(1 << 20, s_.maxMessage);
    while (!done()) {
        size_t at = out.size();
        out.resize(at + chunk);
        size_t n = fill(out.data() + at, chunk);
        out.resize(at + n);
        if (n == 0) break;
    }
    return out;
}

void addNeighborRanges(UpdateEncoder& enc, const hal::EBGP::ConfigNeighbor& n, uint32_t sessionAs,
                       const std::vector<AfiSafi>& families) {
    auto carries = [&](const hal::EBGP::ConfigRoutes& r, uint8_t safi) {
        AfiSafi f{uint16_t(r.firstNetwork.IsV6() ? 2 : 1), safi};
        return r.enabled && std::find(families.begin(), families.end(), f) != families.end();
    };
    for (size_t i = 0; i < n.routeRanges.Size(); ++i) {
        const hal::EBGP::ConfigRouteRange& r = *n.routeRanges.At(i);
        if (carries(r, 1)) enc.add(r, rangeAs(n, sessionAs, i), 1);
    }
    for (size_t i = 0; i < n.mplsRouteRanges.Size(); ++i) {
        const hal::EBGP::ConfigMplsRouteRange& r = *n.mplsRouteRanges.At(i);
        if (carries(r, 4)) enc.addLabelled(r, rangeAs(n, sessionAs, i));
    }
    n.l3Sites.ForEach([&](const hal::EBGP::ConfigL3Site& site) {
        if (!site.enabled) return;
        for (size_t i = 0; i < site.vpnRouteRanges.Size(); ++i) {
            const hal::EBGP::ConfigVpnRouteRange& r = *site.vpnRouteRanges.At(i);
            if (carries(r, 128)) enc.addVpn(r, site, rangeAs(n, sessionAs, i));
        }
    });
}

}  // namespace engine::bgp
