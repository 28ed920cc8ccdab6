// A seeded mutation fuzzer over every decoder: valid messages of each kind
// are bit-flipped, overwritten, cut short, lengthened, given absurd length
// fields, and fed to the framing, the decoders and the Adj-RIB-In. Nothing
// may crash or read out of bounds (the sanitizer build runs this too); an
// UPDATE that is accepted must encode again into one that decodes to the
// same values; the RIB's counts must agree with its snapshot. The same
// mutations, cut into random pieces, go to a state machine in each state.
// Another part encodes random route ranges and reads them back. Each part
// runs for a second or less with a fixed seed, so a failure repeats.
#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "bgp_hex.h"
#include "engine/bgp/builder.h"
#include "engine/bgp/fsm.h"
#include "engine/bgp/rib.h"

using namespace engine::bgp;
using bgptest::hex;
using bgptest::message;

namespace {

using Clock = std::chrono::steady_clock;

std::vector<Bytes> seeds() {
    std::vector<Bytes> s;
    Open o = makeOpen(65536, 90, 0x0a000001);
    o.caps.multiprotocol = {kIpv4Unicast, kIpv6Unicast};
    o.caps.routeRefresh = o.caps.extendedMessage = true;
    o.caps.gracefulRestart = GracefulRestart{true, true, 120, {{kIpv4Unicast, true}, {kIpv6Unicast, false}}};
    o.caps.other = {{0x80, {}}, {0x47, {1, 2, 3}}};
    s.push_back(encodeOpen(o));
    s.push_back(message(1, hex("04 fde9 005a 0a000001 ff ff 000c 02 0002 02 00 02 0004 06 00 02 00")));
    s.push_back(encodeNotification({6, 2, {1, 2, 3}}));
    s.push_back(encodeKeepalive());
    s.push_back(encodeRouteRefresh({kIpv6Unicast, 1}));
    s.push_back(encodeEndOfRib(kIpv4Unicast));
    s.push_back(encodeEndOfRib(kIpv6Unicast));
    s.push_back(message(2, hex("0003 10 0a01 005d"
                               "40 01 01 00 40 02 0a 02 02 0000fde9 00010000 40 03 04 c0000201"
                               "80 04 04 00000064 40 05 04 000000c8 40 06 00 c0 07 08 0000fde9 c0000202"
                               "c0 08 08 ffffff01 fde90064 80 09 04 0a000001 80 0a 04 0a000002"
                               "c0 10 08 0002fde900000064 c0 63 02 abcd"
                               "18 140000 18 140001")));
    s.push_back(message(2, hex("0000 0036 80 0e 2c 0002 01 20 20010db8000000000000000000000001"
                               "fe800000000000000000000000000001 00 30 20010db80001"
                               "40 01 01 02 40 02 00")));
    PathAttributes a;
    a.origin = 0;
    a.asPath = AsPath{{2, {65001, 65536}}, {1, {70000, 3}}};
    a.nextHop = 0xc0000201;
    a.aggregator = Aggregator{70000, 0xc0000202};
    a.mpUnreach = MpUnreach{kIpv6Unicast, {}};
    s.push_back(encodeUpdate({Prefix::v4(0x0a000000, 8)}, a, {Prefix::v4(0x14000000, 24)}, false));
    EncodeSession session;
    session.localAs = 65001;
    session.internal = false;
    session.localAddress = hal::EIPAddress::FromV4(0x0a010002);
    for (auto kind : {UpdateEncoder::Kind::Announce, UpdateEncoder::Kind::Withdraw}) {
        UpdateEncoder enc(session, kind);
        hal::EBGP::ConfigRouteRange r;
        r.firstNetwork = hal::EIPAddress::FromV4(0x14000000);
        r.fromPrefix = 22;
        r.thruPrefix = 25;
        r.numberOfRoutes = 3;
        r.communities = {1, 2};
        r.medEnabled = true;
        enc.add(r, 65001);
        r.firstNetwork = hal::EIPAddress::FromV6({0x20, 0x01, 0x0d, 0xb8});
        r.fromPrefix = 47;
        r.thruPrefix = 65;
        enc.add(r, 65001);
        hal::EBGP::ConfigMplsRouteRange mpls;
        mpls.firstNetwork = hal::EIPAddress::FromV4(0x1e000000);
        mpls.numberOfRoutes = 3;
        mpls.labels.labelMode = 1;
        enc.addLabelled(mpls, 65001);
        hal::EBGP::ConfigVpnRouteRange vpn;
        vpn.firstNetwork = hal::EIPAddress::FromV6({0x20, 0x01, 0x0d, 0xb8});
        vpn.fromPrefix = vpn.thruPrefix = 64;
        vpn.numberOfRoutes = 3;
        vpn.distinguisherStep = 1;
        hal::EBGP::ConfigL3Site site;
        hal::EBGP::ConfigRouteTarget rt;
        site.exportTargets.Add(rt);
        enc.addVpn(vpn, site, 65001);
        Bytes all = enc.all();
        for (size_t at = 0; at < all.size();) {
            size_t len = nextFrame(ByteView(all).subspan(at)).length;
            s.emplace_back(all.begin() + long(at), all.begin() + long(at + len));
            at += len;
        }
    }
    return s;
}

Bytes mutate(Bytes m, std::mt19937_64& rng) {
    auto pick = [&](size_t n) { return n == 0 ? size_t(0) : size_t(rng() % n); };
    int rounds = 1 + int(rng() % 4);
    for (int k = 0; k < rounds; ++k) {
        switch (rng() % 8) {
        case 0:
            if (!m.empty()) m[pick(m.size())] ^= uint8_t(1u << (rng() % 8));
            break;
        case 1:
            if (!m.empty()) m[pick(m.size())] = uint8_t(rng());
            break;
        case 2:
            if (!m.empty()) m[pick(m.size())] = (rng() & 1) ? 0xff : 0x00;
            break;
        case 3:
            m.resize(pick(m.size() + 1));
            break;
        case 4:
            for (size_t n = 1 + pick(40); n > 0; --n) m.push_back(uint8_t(rng()));
            break;
        case 5:
            if (m.size() > 2) {  // a 16-bit field to something absurd
                size_t at = pick(m.size() - 1);
                uint16_t v = (rng() & 1) ? 0xffff : uint16_t(rng() % 300);
                m[at] = uint8_t(v >> 8);
                m[at + 1] = uint8_t(v);
            }
            break;
        case 6:
            if (!m.empty()) m.insert(m.begin() + long(pick(m.size())), uint8_t(rng()));
            break;
        case 7:
            if (!m.empty()) m.erase(m.begin() + long(pick(m.size())));
            break;
        }
    }
    // Most of the time the header is made right again, so that the
    // mutation reaches the body.
    if (m.size() >= kHeaderSize && m.size() <= 65535 && rng() % 4 != 0) {
        std::fill(m.begin(), m.begin() + 16, 0xff);
        m[16] = uint8_t(m.size() >> 8);
        m[17] = uint8_t(m.size());
    }
    return m;
}

void checkRoundTrip(const Update& u, const UpdateOptions& opts) {
    Bytes again = encodeUpdate(u.withdrawn, u.attributes, u.nlri, true);
    auto back = decodeUpdate(again, opts);
    ASSERT_TRUE(back.ok()) << bgptest::toHex(again);
    EXPECT_EQ(back->withdrawn, u.withdrawn);
    EXPECT_EQ(back->nlri, u.nlri);
    EXPECT_EQ(back->attributes, u.attributes) << bgptest::toHex(again);
}

void checkRib(const AdjRibIn& rib) {
    auto snap = rib.snapshot();
    ASSERT_EQ(snap.size(), rib.size());
    ASSERT_LE(rib.attributeSets(), rib.size());
}

TEST(Fuzz, MutatedMessagesNeverHurtTheDecoders) {
    std::mt19937_64 rng(20261125);
    const std::vector<Bytes> corpus = seeds();
    RibFilter limited;
    limited.enabled = true;
    limited.maxRoutes = 50;
    AdjRibIn plain, capped(limited);
    const auto stop = Clock::now() + std::chrono::milliseconds(1000);
    uint64_t runs = 0, accepted = 0;
    while (Clock::now() < stop && runs < 2000000) {
        Bytes m = mutate(corpus[rng() % corpus.size()], rng);
        ++runs;
        Frame f = nextFrame(m, (rng() & 1) ? kMaxMessage : kMaxExtendedMessage);
        if (f.length) {
            ASSERT_LE(f.length, m.size());
        }
        (void)decodeHeader(m, kMaxMessage);
        if (m.size() < kHeaderSize) continue;
        (void)decodeOpen(m);
        (void)decodeNotification(m);
        (void)decodeKeepalive(m);
        (void)decodeRouteRefresh(m);
        for (bool as4 : {true, false}) {
            UpdateOptions opts{as4, (runs & 1) != 0};
            auto u = decodeUpdate(m, opts);
            if (!u.ok()) {
                EXPECT_EQ(u.error().code, u.error().code == 1 ? 1 : 3);
                continue;
            }
            ++accepted;
            plain.apply(u.value());
            capped.apply(u.value());
            if (as4 && m.size() <= kMaxMessage) checkRoundTrip(u.value(), opts);
            if (::testing::Test::HasFailure()) return;
        }
        if (runs % 5000 == 0) {
            checkRib(plain);
            checkRib(capped);
            ASSERT_LE(capped.size(), 50u);
        }
    }
    checkRib(plain);
    std::printf("fuzz: %llu mutated messages, %llu UPDATE decodes accepted, %zu routes learned\n",
                static_cast<unsigned long long>(runs), static_cast<unsigned long long>(accepted), plain.size());
    EXPECT_GT(runs, 1000u);
    EXPECT_GT(accepted, 100u);
}

TEST(Fuzz, MutatedStreamsIntoTheStateMachine) {
    std::mt19937_64 rng(6608);
    const std::vector<Bytes> corpus = seeds();
    Open peer = makeOpen(65002, 9, 2);
    peer.caps.multiprotocol = {kIpv4Unicast, kIpv6Unicast};
    peer.caps.extendedMessage = true;
    const auto stop = Clock::now() + std::chrono::milliseconds(500);
    uint64_t sessions = 0;
    while (Clock::now() < stop) {
        Counters counters;
        FsmConfig c;
        c.open = makeOpen(65001, 9, 1);
        c.open.caps = peer.caps;
        c.internal = rng() & 1;
        Fsm f(c, counters);
        f.start();
        f.connected();
        // Some sessions get as far as Established first.
        int reach = int(rng() % 3);
        if (reach >= 1) f.received(encodeOpen(peer));
        if (reach >= 2) f.received(encodeKeepalive());
        ++sessions;
        Bytes stream;
        for (int n = 1 + int(rng() % 8); n > 0; --n) {
            Bytes m = mutate(corpus[rng() % corpus.size()], rng);
            stream.insert(stream.end(), m.begin(), m.end());
        }
        for (size_t at = 0; at < stream.size() && f.state() != State::Idle;) {
            size_t n = std::min(stream.size() - at, size_t(1 + rng() % 600));
            for (const Action& a : f.received(ByteView(stream).subspan(at, n))) {
                // Whatever it answers is one well-formed message.
                if (a.kind == Action::Kind::Send) {
                    ASSERT_EQ(nextFrame(a.bytes).length, a.bytes.size());
                }
            }
            at += n;
        }
        ASSERT_EQ(counters.state.load(), uint8_t(f.state()));
    }
    EXPECT_GT(sessions, 100u);
}

TEST(Fuzz, RandomRangesEncodeIntoWhatTheyDescribe) {
    std::mt19937_64 rng(4271);
    const auto stop = Clock::now() + std::chrono::milliseconds(1000);
    uint64_t ranges = 0;
    while (Clock::now() < stop && ranges < 200000) {
        ++ranges;
        bool v6 = rng() & 1;
        unsigned width = v6 ? 128 : 32;
        hal::EBGP::ConfigRouteRange r;
        std::array<uint8_t, 16> bytes{};
        for (auto& b : bytes) b = uint8_t(rng());
        r.firstNetwork = v6 ? hal::EIPAddress::FromV6(bytes) : hal::EIPAddress::FromV4(uint32_t(rng()));
        r.fromPrefix = uint8_t(rng() % (width + 1));
        r.thruPrefix = uint8_t(std::min<unsigned>(width, r.fromPrefix + unsigned(rng() % 4)));
        r.numberOfRoutes = uint32_t(rng() % 60);
        r.routeStep = (rng() % 5 == 0) ? uint32_t(rng()) : uint32_t(rng() % 4);
        r.origin = uint8_t(rng() % 3);
        r.asPathMode = uint8_t(rng() % 6);
        r.nextHopMode = uint8_t(rng() % 3);
        r.medEnabled = rng() & 1;
        r.atomicAggregate = rng() & 1;
        r.aggregatorAs = uint16_t(rng() % 3 == 0 ? rng() : 0);
        for (int i = int(rng() % 3); i > 0; --i) r.communities.push_back(uint32_t(rng()));
        if (rng() & 1) {
            hal::EBGP::ConfigAsPathSegment seg;
            seg.type = uint8_t(1 + rng() % 4);
            for (int i = int(rng() % 300); i > 0; --i) seg.asNumbers.push_back(uint16_t(rng()));
            r.asPath.Add(seg);
        }
        EncodeSession s;
        s.localAs = uint32_t(rng());
        s.internal = rng() & 1;
        s.as4 = rng() & 1;
        s.maxMessage = (rng() & 1) ? kMaxMessage : kMaxExtendedMessage;
        s.localAddress = v6 ? hal::EIPAddress::FromV6(bytes) : hal::EIPAddress::FromV4(uint32_t(rng()));
        auto kind = (rng() & 1) ? UpdateEncoder::Kind::Announce : UpdateEncoder::Kind::Withdraw;
        UpdateEncoder enc(s, kind);
        switch (rng() % 3) {
        case 0:
            ASSERT_TRUE(enc.add(r, s.localAs)) << enc.error();
            break;
        case 1: {
            hal::EBGP::ConfigMplsRouteRange m;
            static_cast<hal::EBGP::ConfigRoutes&>(m) = r;
            m.labels.labelMode = uint8_t(rng() & 1);
            m.labels.startLabel = uint32_t(rng());
            ASSERT_TRUE(enc.addLabelled(m, s.localAs)) << enc.error();
            break;
        }
        default: {
            hal::EBGP::ConfigVpnRouteRange v;
            static_cast<hal::EBGP::ConfigRoutes&>(v) = r;
            v.distinguisher.type = uint8_t(rng() & 1);
            v.distinguisherStep = uint32_t(rng() % 3);
            v.distinguisherIncrementMode = uint8_t(rng() & 1);
            hal::EBGP::ConfigL3Site site;
            ASSERT_TRUE(enc.addVpn(v, site, s.localAs)) << enc.error();
            break;
        }
        }
        Bytes all = enc.all();
        uint64_t seen = 0;
        for (size_t at = 0; at < all.size();) {
            Frame f = nextFrame(ByteView(all).subspan(at), s.maxMessage);
            ASSERT_FALSE(f.error);
            ASSERT_GT(f.length, 0u);
            auto u = decodeUpdate(ByteView(all).subspan(at, f.length), {s.as4, s.internal});
            ASSERT_TRUE(u.ok());
            ASSERT_EQ(u->action, ErrorAction::None);
            seen += u->nlri.size() + u->withdrawn.size();
            if (u->attributes.mpReach) seen += u->attributes.mpReach->nlri.size();
            if (u->attributes.mpUnreach) seen += u->attributes.mpUnreach->withdrawn.size();
            at += f.length;
        }
        ASSERT_EQ(seen, rangePrefixCount(r));
    }
    EXPECT_GT(ranges, 100u);
}

}  // namespace
