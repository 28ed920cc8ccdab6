// Adj-RIB-In: what the peer's UPDATEs leave in it, the route filter on
// input, the route limit, interned attribute sets, the snapshot records,
// and its size for a million routes.
#include <gtest/gtest.h>

#include <ostream>

#include <cstdio>

#include "bgp_hex.h"
#include "engine/bgp/builder.h"
#include "engine/bgp/rib.h"

using namespace engine::bgp;
using hal::EIPAddress;

namespace {

EIPAddress v4(uint8_t a, uint8_t b, uint8_t c, uint8_t d) {
    return EIPAddress::FromV4(uint32_t(a) << 24 | b << 16 | c << 8 | d);
}
EIPAddress v6(std::string_view hexBytes) {
    std::array<uint8_t, 16> b{};
    Bytes h = bgptest::hex(hexBytes);
    std::copy(h.begin(), h.end(), b.begin());
    return EIPAddress::FromV6(b);
}

hal::EBGP::ConfigRouteRange range(EIPAddress first, uint8_t len, uint32_t count) {
    hal::EBGP::ConfigRouteRange r;
    r.firstNetwork = first;
    r.fromPrefix = r.thruPrefix = len;
    r.numberOfRoutes = count;
    return r;
}

EncodeSession peer() {
    EncodeSession s;
    s.localAs = 65002;
    s.internal = false;
    s.localAddress = v4(10, 1, 0, 1);
    return s;
}

// Feeds every UPDATE of a stream to the RIB; the totals of what it did.
AdjRibIn::Applied feed(AdjRibIn& rib, const Bytes& stream) {
    AdjRibIn::Applied sum;
    size_t at = 0;
    while (at < stream.size()) {
        Frame f = nextFrame(ByteView(stream).subspan(at));
        EXPECT_GT(f.length, 0u);
        if (f.length == 0) break;
        auto u = decodeUpdate(ByteView(stream).subspan(at, f.length), {.as4 = true, .internal = false});
        EXPECT_TRUE(u.ok());
        if (!u.ok()) break;
        auto a = rib.apply(u.value());
        sum.announced += a.announced;
        sum.withdrawn += a.withdrawn;
        sum.filtered += a.filtered;
        sum.overLimit += a.overLimit;
        sum.refreshed += a.refreshed;
        at += f.length;
    }
    return sum;
}

Bytes announce(const hal::EBGP::ConfigRouteRange& r, UpdateEncoder::Kind kind = UpdateEncoder::Kind::Announce) {
    UpdateEncoder enc(peer(), kind);
    EXPECT_TRUE(enc.add(r, 65002));
    return enc.all();
}

TEST(Rib, LearnsAndSnapshotsWithAttributes) {
    AdjRibIn rib;
    auto r = range(v4(20, 0, 0, 0), 24, 3000);
    r.medEnabled = true;
    r.med = 5;
    r.origin = 1;
    r.communities = {0xfde90064};
    auto a = feed(rib, announce(r));
    EXPECT_EQ(a.announced, 3000u);
    EXPECT_EQ(rib.size(), 3000u);
    EXPECT_EQ(rib.attributeSets(), 1u);
    auto snap = rib.snapshot();
    ASSERT_EQ(snap.size(), 3000u);
    const auto& first = snap.front();
    EXPECT_EQ(first.family, 1);
    EXPECT_EQ(first.network, v4(20, 0, 0, 0));
    EXPECT_EQ(first.prefixLength, 24);
    EXPECT_EQ(first.nextHop, v4(10, 1, 0, 1));
    EXPECT_EQ(first.origin, 1);
    EXPECT_EQ(first.asPath, std::vector<uint16_t>{65002});
    EXPECT_EQ(first.med, 5u);
    EXPECT_EQ(first.communities, std::vector<uint32_t>{0xfde90064});
    EXPECT_EQ(snap.back().network, v4(20, 11, 183, 0));  // 2999 = 11 * 256 + 183
}

TEST(Rib, Ipv6RoutesAndTheirNextHop) {
    AdjRibIn rib;
    EncodeSession s = peer();
    s.localAddress = v6("20010db8000000000000000000000001");
    UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(range(v6("20010db8"), 64, 10), 65002));
    feed(rib, enc.all());
    auto snap = rib.snapshot();
    ASSERT_EQ(snap.size(), 10u);
    EXPECT_EQ(snap[0].family, 5);
    EXPECT_EQ(snap[0].network, v6("20010db8"));
    EXPECT_EQ(snap[0].nextHop, v6("20010db8000000000000000000000001"));
    EXPECT_EQ(snap[9].network, v6("20010db800000009"));
}

TEST(Rib, WithdrawalsAndReplacementsFreeAttributeSets) {
    AdjRibIn rib;
    auto r = range(v4(20, 0, 0, 0), 24, 100);
    feed(rib, announce(r));
    r.med = 9;
    r.medEnabled = true;
    auto half = r;
    half.numberOfRoutes = 50;
    feed(rib, announce(half));  // the first 50 move to a second set
    EXPECT_EQ(rib.size(), 100u);
    EXPECT_EQ(rib.attributeSets(), 2u);
    feed(rib, announce(r));  // all move: the first set goes
    EXPECT_EQ(rib.attributeSets(), 1u);
    auto w = feed(rib, announce(half, UpdateEncoder::Kind::Withdraw));
    EXPECT_EQ(w.withdrawn, 50u);
    EXPECT_EQ(rib.size(), 50u);
    w = feed(rib, announce(half, UpdateEncoder::Kind::Withdraw));
    EXPECT_EQ(w.withdrawn, 0u);  // not held any more
    feed(rib, announce(r, UpdateEncoder::Kind::Withdraw));
    EXPECT_EQ(rib.size(), 0u);
    EXPECT_EQ(rib.attributeSets(), 0u);
    EXPECT_TRUE(rib.snapshot().empty());
}

TEST(Rib, TreatAsWithdrawRemovesWhatTheUpdateAnnounces) {
    AdjRibIn rib;
    feed(rib, announce(range(v4(20, 0, 0, 0), 24, 2)));
    // ORIGIN 3 is malformed: the prefix 20.0.0.0/24 is to be withdrawn.
    Bytes bad = bgptest::message(2, bgptest::hex("0000 000e 40 01 01 03 40 02 00 40 03 04 0a010001 18 140000"));
    auto u = decodeUpdate(bad, {.as4 = true});
    ASSERT_TRUE(u.ok());
    ASSERT_EQ(u->action, ErrorAction::TreatAsWithdraw);
    auto a = rib.apply(u.value());
    EXPECT_EQ(a.withdrawn, 1u);
    EXPECT_EQ(a.announced, 0u);
    ASSERT_EQ(rib.size(), 1u);
    EXPECT_EQ(rib.snapshot()[0].network, v4(20, 0, 1, 0));
}

hal::EBGP::ConfigPrefixFilter prefixFilter(uint8_t family, EIPAddress net, uint8_t len, bool exact) {
    hal::EBGP::ConfigPrefixFilter f;
    f.family = family;
    f.network = net;
    f.prefixLength = len;
    f.exactMatch = exact;
    return f;
}

struct FilterCase {
    const char* name;
    RibFilter filter;
    uint8_t family;
    Prefix prefix;
    bool kept;
};
void PrintTo(const FilterCase& c, std::ostream* os) { *os << c.name; }

RibFilter filterOf(bool enabled, uint8_t family, bool usePrefixFilters,
                   std::vector<hal::EBGP::ConfigPrefixFilter> prefixFilters = {}) {
    RibFilter f;
    f.enabled = enabled;
    f.family = family;
    f.usePrefixFilters = usePrefixFilters;
    f.prefixFilters = std::move(prefixFilters);
    return f;
}

Prefix p4(uint8_t a, uint8_t b, uint8_t c, uint8_t d, uint8_t len) { return Prefix::v4(v4(a, b, c, d).GetV4(), len); }

class RibFilterTest : public ::testing::TestWithParam<FilterCase> {};

TEST_P(RibFilterTest, KeepsWhatTheFilterCovers) {
    const FilterCase& c = GetParam();
    EXPECT_EQ(c.filter.accepts(c.family, c.prefix), c.kept);
}

const auto k10_8 = prefixFilter(1, v4(10, 0, 0, 0), 8, false);
const auto k10_8exact = prefixFilter(1, v4(10, 0, 0, 0), 8, true);

INSTANTIATE_TEST_SUITE_P(
    Table, RibFilterTest,
    ::testing::Values(
        FilterCase{"disabled_keeps_all", filterOf(false, 5, true, {}), 1, p4(1, 2, 3, 0, 24), true},
        FilterCase{"family_all", filterOf(true, 0, false), 5, p4(1, 2, 3, 0, 24), true},
        FilterCase{"family_other", filterOf(true, 5, false), 1, p4(1, 2, 3, 0, 24), false},
        FilterCase{"family_same", filterOf(true, 1, false), 1, p4(1, 2, 3, 0, 24), true},
        FilterCase{"inside_the_prefix", filterOf(true, 0, true, {k10_8}), 1, p4(10, 2, 3, 0, 24), true},
        FilterCase{"the_prefix_itself", filterOf(true, 0, true, {k10_8}), 1, p4(10, 0, 0, 0, 8), true},
        FilterCase{"shorter_than_the_prefix", filterOf(true, 0, true, {k10_8}), 1, p4(10, 0, 0, 0, 7), false},
        FilterCase{"outside_the_prefix", filterOf(true, 0, true, {k10_8}), 1, p4(11, 0, 0, 0, 24), false},
        FilterCase{"exact_the_prefix", filterOf(true, 0, true, {k10_8exact}), 1, p4(10, 0, 0, 0, 8), true},
        FilterCase{"exact_longer", filterOf(true, 0, true, {k10_8exact}), 1, p4(10, 2, 0, 0, 16), false},
        FilterCase{"prefix_filter_of_another_family",
                   filterOf(true, 0, true, {prefixFilter(2, v4(10, 0, 0, 0), 8, false)}), 1, p4(10, 2, 0, 0, 16),
                   false},
        FilterCase{"any_of_several", filterOf(true, 0, true, {k10_8exact, prefixFilter(1, v4(20, 0, 0, 0), 16, false)}),
                   1, p4(20, 0, 9, 0, 24), true},
        FilterCase{"no_prefix_filters_keep_nothing", filterOf(true, 0, true, {}), 1, p4(10, 0, 0, 0, 8), false},
        FilterCase{"odd_length", filterOf(true, 0, true, {prefixFilter(1, v4(10, 0, 0, 0), 9, false)}), 1,
                   p4(10, 128, 0, 0, 16), false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Rib, FilterFromTheNeighborRecord) {
    hal::EBGP::ConfigNeighbor n;
    n.routeFilter.enabled = true;
    n.routeFilter.usePrefixFilters = true;
    n.prefixFilters.Add(k10_8);
    auto off = k10_8exact;
    off.network = v4(20, 0, 0, 0);
    off.enabled = false;
    n.prefixFilters.Add(off);
    AdjRibIn rib(RibFilter::of(n));
    auto a = feed(rib, announce(range(v4(10, 255, 250, 0), 24, 10)));  // 6 inside 10/8, 4 in 11/8
    EXPECT_EQ(a.announced, 6u);
    EXPECT_EQ(a.filtered, 4u);
    a = feed(rib, announce(range(v4(20, 0, 0, 0), 24, 3)));  // only a disabled filter covers them
    EXPECT_EQ(a.filtered, 3u);
    EXPECT_EQ(rib.size(), 6u);
}

TEST(Rib, MaxRoutesCapsAndSaysSo) {
    RibFilter f;
    f.enabled = true;
    f.maxRoutes = 10;
    AdjRibIn rib(f);
    auto r = range(v4(20, 0, 0, 0), 24, 25);
    auto a = feed(rib, announce(r));
    EXPECT_EQ(a.announced, 10u);
    EXPECT_EQ(a.overLimit, 15u);
    EXPECT_EQ(rib.size(), 10u);
    EXPECT_TRUE(rib.maxRoutesReached());
    // Routes held may still change.
    auto first = range(v4(20, 0, 0, 0), 24, 10);
    first.medEnabled = true;
    a = feed(rib, announce(first));
    EXPECT_EQ(a.announced, 10u);
    EXPECT_EQ(a.overLimit, 0u);
    feed(rib, announce(range(v4(20, 0, 0, 0), 24, 1), UpdateEncoder::Kind::Withdraw));
    EXPECT_FALSE(rib.maxRoutesReached());
    EXPECT_EQ(rib.size(), 9u);
}

TEST(Rib, FourOctetAsesShowAsAsTrans) {
    AdjRibIn rib;
    EncodeSession s = peer();
    UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(range(v4(20, 0, 0, 0), 24, 1), 4200000000u));
    feed(rib, enc.all());
    EXPECT_EQ(rib.snapshot().at(0).asPath, std::vector<uint16_t>{kAsTrans});
}

TEST(Rib, GracefulRestartKeepsRoutesStaleUntilRefreshedOrSwept) {
    AdjRibIn rib;
    EncodeSession s6 = peer();
    s6.localAddress = v6("20010db8000000000000000000000001");
    auto announce6 = [&](const hal::EBGP::ConfigRouteRange& r, UpdateEncoder::Kind kind) {
        UpdateEncoder enc(s6, kind);
        EXPECT_TRUE(enc.add(r, 65002));
        return enc.all();
    };
    auto r4 = range(v4(20, 0, 0, 0), 24, 100);
    auto r6 = range(v6("20010db8"), 64, 10);
    feed(rib, announce(r4));
    feed(rib, announce6(r6, UpdateEncoder::Kind::Announce));
    EXPECT_EQ(rib.markStale(), 110u);
    EXPECT_EQ(rib.staleCount(), 110u);

    auto first60 = range(v4(20, 0, 0, 0), 24, 60);
    EXPECT_EQ(feed(rib, announce(first60)).refreshed, 60u);
    auto five6 = range(v6("20010db8"), 64, 5);
    five6.medEnabled = true;  // refreshed with other attributes
    EXPECT_EQ(feed(rib, announce6(five6, UpdateEncoder::Kind::Announce)).refreshed, 5u);
    EXPECT_EQ(feed(rib, announce(first60)).refreshed, 0u);  // fresh already
    auto gone = range(v4(20, 0, 90, 0), 24, 10);
    EXPECT_EQ(feed(rib, announce(gone, UpdateEncoder::Kind::Withdraw)).withdrawn, 10u);
    EXPECT_EQ(rib.staleCount(), 35u);  // 30 IPv4 and 5 IPv6

    // An End-of-RIB sweeps its own family only.
    EXPECT_EQ(rib.sweepStale(5), 5u);
    EXPECT_EQ(rib.sweepStale(2), 0u);
    EXPECT_EQ(rib.staleCount(), 30u);
    EXPECT_EQ(rib.sweepStale(), 30u);
    EXPECT_EQ(rib.staleCount(), 0u);
    EXPECT_EQ(rib.size(), 65u);
    EXPECT_EQ(rib.attributeSets(), 2u);  // the IPv6 routes' old set went with the last of them
    auto snap = rib.snapshot();
    ASSERT_EQ(snap.size(), 65u);
    EXPECT_EQ(snap[59].network, v4(20, 0, 59, 0));
    EXPECT_EQ(snap[60].family, 5);
    EXPECT_EQ(rib.sweepStale(), 0u);
}

TEST(Rib, LabelledAndVpnRoutesWithTheirLabels) {
    hal::EBGP::ConfigMplsRouteRange mpls;
    mpls.firstNetwork = v4(20, 0, 0, 0);
    mpls.numberOfRoutes = 5;
    mpls.labels = {1, 100};  // incrementing from 100
    hal::EBGP::ConfigVpnRouteRange vpn;
    vpn.firstNetwork = v4(30, 0, 0, 0);
    vpn.numberOfRoutes = 2;
    vpn.distinguisherStep = 1;  // two routes of 30.0.0.0/24 would clash without it; these differ anyway
    hal::EBGP::ConfigL3Site site;
    hal::EBGP::ConfigRouteTarget target;
    target.target.asNumber = 65002;
    target.target.assignedNumber = 4000000000u;
    site.exportTargets.Add(target);
    target.target.type = 1;
    target.target.ipAddress = v4(192, 0, 2, 1);
    target.target.assignedNumber = 7;
    site.exportTargets.Add(target);
    AdjRibIn rib;
    UpdateEncoder enc(peer(), UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.addLabelled(mpls, 65002));
    ASSERT_TRUE(enc.addVpn(vpn, site, 65002));
    vpn.distinguisher.assignedNumber = 99;  // the same prefixes under other distinguishers are other routes
    ASSERT_TRUE(enc.addVpn(vpn, site, 65002));
    feed(rib, enc.all());
    auto snap = rib.snapshot();
    ASSERT_EQ(snap.size(), 9u);
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(snap[i].family, 3);
        EXPECT_EQ(snap[i].network, v4(20, 0, uint8_t(i), 0));
        EXPECT_EQ(snap[i].label, 100 + i);
        EXPECT_EQ(snap[i].nextHop, v4(10, 1, 0, 1));
        EXPECT_EQ(snap[i].routeDistinguisher, "");
        EXPECT_TRUE(snap[i].routeTargets.empty());
    }
    // By prefix, then distinguisher: 30.0.0.0 under 64512:1 and :99, 30.0.1.0 under :2 and :100.
    const char* rds[] = {"64512:1", "64512:99", "64512:2", "64512:100"};
    for (size_t i = 5; i < 9; ++i) {
        EXPECT_EQ(snap[i].routeDistinguisher, rds[i - 5]);
        EXPECT_EQ(snap[i].routeTargets, (std::vector<std::string>{"65002:4000000000", "192.0.2.1:7"}));
    }
    EXPECT_EQ(rib.attributeSets(), 2u);  // the VPN routes share one set, targets and all
    EXPECT_EQ(snap[5].family, 4);
    EXPECT_EQ(snap[5].label, 16u);
    EXPECT_EQ(snap[5].nextHop, v4(10, 1, 0, 1));  // the distinguisher of the next hop is not part of it
    UpdateEncoder gone(peer(), UpdateEncoder::Kind::Withdraw);
    ASSERT_TRUE(gone.addLabelled(mpls, 65002));
    ASSERT_TRUE(gone.addVpn(vpn, site, 65002));
    EXPECT_EQ(feed(rib, gone.all()).withdrawn, 7u);  // by prefix and distinguisher, whatever the label field
    EXPECT_EQ(rib.size(), 2u);
}

// A VPN-IPv6 next hop is learned without its zero distinguisher: the
// IPv4-mapped address of an IPv4 session (24 bytes), the global address
// when a link-local one follows (48 bytes).
TEST(Rib, VpnIpv6NextHopsWithoutTheirDistinguisher) {
    struct Case {
        bool v6Session;
        EIPAddress expected;
    } cases[] = {{false, v6("00000000000000000000ffff0a010001")}, {true, v6("20010db8000000000000000000000001")}};
    for (const Case& c : cases) {
        EncodeSession s = peer();
        if (c.v6Session) {
            s.localAddress = v6("20010db8000000000000000000000001");
            s.linkLocal = std::array<uint8_t, 16>{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
        }
        hal::EBGP::ConfigVpnRouteRange vpn;
        vpn.firstNetwork = v6("20010db8");
        vpn.fromPrefix = vpn.thruPrefix = 48;
        AdjRibIn rib;
        UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
        ASSERT_TRUE(enc.addVpn(vpn, hal::EBGP::ConfigL3Site{}, 65002));
        feed(rib, enc.all());
        auto snap = rib.snapshot();
        ASSERT_EQ(snap.size(), 1u);
        EXPECT_EQ(snap[0].family, 8);
        EXPECT_EQ(snap[0].nextHop, c.expected) << c.v6Session;
        EXPECT_EQ(snap[0].routeDistinguisher, "64512:1");
    }
}

// The text of distinguishers and targets, both ways: each type's widths,
// the normal form, and texts that are none.
struct AdminCase {
    const char* text;
    const char* bytes;       // type and six bytes; "" when the text is refused
    const char* normalForm;  // "" : the text itself
};
void PrintTo(const AdminCase& c, std::ostream* os) { *os << c.text; }
class AdministratorTextTest : public ::testing::TestWithParam<AdminCase> {};

TEST_P(AdministratorTextTest, ReadsAndWrites) {
    const AdminCase& c = GetParam();
    auto a = hal::EBGP::parseAdministrator(c.text);
    if (*c.bytes == 0) {
        EXPECT_FALSE(a);
        return;
    }
    ASSERT_TRUE(a);
    Bytes wire{a->type};
    wire.insert(wire.end(), a->value.begin(), a->value.end());
    EXPECT_EQ(bgptest::toHex(wire), bgptest::toHex(bgptest::hex(c.bytes)));
    EXPECT_EQ(hal::EBGP::administratorText(*a), *c.normalForm ? c.normalForm : c.text);
    EXPECT_EQ(hal::EBGP::distinguisherOf(hal::EBGP::distinguisherWire(*a)), *a);
}

INSTANTIATE_TEST_SUITE_P(
    Rfc4364Rfc4360, AdministratorTextTest,
    ::testing::Values(AdminCase{"65001:7", "00 fde9 00000007", ""},
                      AdminCase{"0:4294967295", "00 0000 ffffffff", ""},
                      AdminCase{"65535:0", "00 ffff 00000000", ""},
                      AdminCase{"192.0.2.1:65535", "01 c0000201 ffff", ""},
                      AdminCase{"65536:1", "02 00010000 0001", ""},  // a wider AS: type 2
                      AdminCase{"4294967295:65535", "02 ffffffff ffff", ""},
                      AdminCase{"065001:07", "00 fde9 00000007", "65001:7"},
                      AdminCase{"192.0.2.1:65536", "", ""}, AdminCase{"65536:65536", "", ""},
                      AdminCase{"4294967296:1", "", ""}, AdminCase{"65001:4294967296", "", ""},
                      AdminCase{"65001", "", ""}, AdminCase{"AS:1", "", ""}, AdminCase{"1.2.3:4", "", ""},
                      AdminCase{"-1:4", "", ""}, AdminCase{":", "", ""}));

TEST(AdministratorText, UnknownTypesShowTheirBytes) {
    EXPECT_EQ(hal::EBGP::administratorText(hal::EBGP::distinguisherOf(0x0003'0102'0304'0506)), "3:010203040506");
}

// A million /24s sharing one attribute set: bytes per route of the store.
TEST(Rib, AMillionRoutesIn48BytesEach) {
    AdjRibIn rib;
    auto a = feed(rib, announce(range(v4(20, 0, 0, 0), 24, 1000000)));
    ASSERT_EQ(a.announced, 1000000u);
    ASSERT_EQ(rib.size(), 1000000u);
    double perRoute = double(rib.memoryBytes()) / 1e6;
    std::printf("Adj-RIB-In: %.1f bytes per route for 1,000,000 IPv4 routes\n", perRoute);
    EXPECT_LE(perRoute, 48.0);
    // Every prefix is found again on withdrawal, however the table wrapped.
    auto w = feed(rib, announce(range(v4(20, 0, 0, 0), 24, 1000000), UpdateEncoder::Kind::Withdraw));
    EXPECT_EQ(w.withdrawn, 1000000u);
    EXPECT_EQ(rib.size(), 0u);
}

}  // namespace
