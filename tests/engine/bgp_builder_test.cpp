// UPDATEs from route ranges: the exact bytes of a one-route range, which
// prefixes a range gives (first, last, count, step, the end of the address
// space), how tightly they are packed, the attributes each option gives on
// internal and external sessions, next hop modes, withdrawals and the
// writing in pieces. The output is read back with the decoder.
#include <gtest/gtest.h>

#include <ostream>

#include <functional>
#include <map>
#include <memory>
#include <set>

#include "bgp_hex.h"
#include "engine/bgp/builder.h"

using namespace engine::bgp;
using bgptest::hex;
using bgptest::message;
using hal::EIPAddress;

namespace {

EIPAddress v4(const char* text) {
    unsigned a, b, c, d;
    EXPECT_EQ(sscanf(text, "%u.%u.%u.%u", &a, &b, &c, &d), 4);
    return EIPAddress::FromV4(a << 24 | b << 16 | c << 8 | d);
}

EIPAddress v6(std::string_view hexBytes) {
    std::array<uint8_t, 16> b{};
    Bytes h = hex(hexBytes);
    std::copy(h.begin(), h.end(), b.begin());
    return EIPAddress::FromV6(b);
}

EncodeSession external(uint32_t as = 65001) {
    EncodeSession s;
    s.localAs = as;
    s.internal = false;
    s.localAddress = v4("10.1.0.2");
    return s;
}

EncodeSession internal() {
    EncodeSession s = external(64512);
    s.internal = true;
    return s;
}

hal::EBGP::ConfigRouteRange range(EIPAddress first, uint8_t from, uint8_t thru, uint32_t count, uint32_t step = 1) {
    hal::EBGP::ConfigRouteRange r;
    r.firstNetwork = first;
    r.fromPrefix = from;
    r.thruPrefix = thru;
    r.numberOfRoutes = count;
    r.routeStep = step;
    return r;
}

// Every UPDATE of a byte stream, decoded.
std::vector<Update> decodeAll(const Bytes& stream, bool as4 = true, bool internal = false, size_t max = 4096) {
    std::vector<Update> out;
    size_t at = 0;
    while (at < stream.size()) {
        Frame f = nextFrame(ByteView(stream).subspan(at), max);
        EXPECT_FALSE(f.error);
        EXPECT_GT(f.length, 0u);
        if (f.error || f.length == 0) break;
        auto u = decodeUpdate(ByteView(stream).subspan(at, f.length), {.as4 = as4, .internal = internal});
        EXPECT_TRUE(u.ok());
        if (!u.ok()) break;
        EXPECT_EQ(u->action, ErrorAction::None);
        out.push_back(std::move(u.value()));
        at += f.length;
    }
    return out;
}

std::vector<Prefix> announced(const std::vector<Update>& us) {
    std::vector<Prefix> all;
    for (const Update& u : us) {
        all.insert(all.end(), u.nlri.begin(), u.nlri.end());
        if (u.attributes.mpReach)
            all.insert(all.end(), u.attributes.mpReach->nlri.begin(), u.attributes.mpReach->nlri.end());
    }
    return all;
}

struct PrefixCase {
    const char* name;
    EIPAddress first;
    uint8_t from, thru;
    uint32_t count, step;
    size_t total;
    Prefix firstPrefix, lastPrefix;
};
void PrintTo(const PrefixCase& c, std::ostream* os) { *os << c.name; }

Prefix p4(const char* text, uint8_t len) { return Prefix::v4(v4(text).GetV4(), len); }
Prefix p6(std::string_view hexBytes, uint8_t len) {
    Prefix p;
    p.v6 = true;
    p.length = len;
    p.bytes = v6(hexBytes).GetBytes();
    return p;
}

class BuilderPrefixTest : public ::testing::TestWithParam<PrefixCase> {};

TEST_P(BuilderPrefixTest, GivesThePrefixesOfTheRange) {
    const PrefixCase& c = GetParam();
    EncodeSession s = external();
    if (c.first.IsV6()) s.localAddress = v6("20010db8000000000000000000000002");
    UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
    auto r = range(c.first, c.from, c.thru, c.count, c.step);
    ASSERT_TRUE(enc.add(r, 65001));
    EXPECT_EQ(rangePrefixCount(r), c.total);
    EXPECT_EQ(enc.prefixCount(), c.total);
    std::vector<Prefix> all = announced(decodeAll(enc.all()));
    ASSERT_EQ(all.size(), c.total);
    EXPECT_EQ(all.front(), c.firstPrefix);
    EXPECT_EQ(all.back(), c.lastPrefix);
    EXPECT_EQ(std::set<Prefix>(all.begin(), all.end()).size(), all.size()) << "a prefix twice";
}

INSTANTIATE_TEST_SUITE_P(
    Ranges, BuilderPrefixTest,
    ::testing::Values(
        PrefixCase{"a_thousand_24s", v4("20.0.0.0"), 24, 24, 1000, 1, 1000, p4("20.0.0.0", 24), p4("20.3.231.0", 24)},
        PrefixCase{"step_2", v4("20.0.0.0"), 24, 24, 1000, 2, 1000, p4("20.0.0.0", 24), p4("20.7.206.0", 24)},
        PrefixCase{"host_bits_of_the_first_network_cleared", v4("20.0.0.77"), 24, 24, 3, 1, 3, p4("20.0.0.0", 24),
                   p4("20.0.2.0", 24)},
        PrefixCase{"three_lengths", v4("10.0.0.0"), 16, 18, 3, 1, 9, p4("10.0.0.0", 16), p4("10.0.128.0", 18)},
        PrefixCase{"stops_at_the_end_of_the_space", v4("255.255.250.0"), 24, 24, 100, 1, 6, p4("255.255.250.0", 24),
                   p4("255.255.255.0", 24)},
        PrefixCase{"step_0_gives_one", v4("10.0.0.1"), 32, 32, 5, 0, 1, p4("10.0.0.1", 32), p4("10.0.0.1", 32)},
        PrefixCase{"default_route", v4("0.0.0.0"), 0, 0, 3, 1, 1, p4("0.0.0.0", 0), p4("0.0.0.0", 0)},
        PrefixCase{"odd_length_step_3", v4("10.0.0.0"), 23, 23, 4, 3, 4, p4("10.0.0.0", 23), p4("10.0.18.0", 23)},
        PrefixCase{"host_routes", v4("192.0.2.0"), 32, 32, 256, 1, 256, p4("192.0.2.0", 32), p4("192.0.2.255", 32)},
        PrefixCase{"ipv6_a_thousand_64s", v6("20010db8"), 64, 64, 1000, 1, 1000, p6("20010db8", 64),
                   p6("20010db8000003e7", 64)},
        PrefixCase{"ipv6_two_lengths", v6("20010db8"), 47, 48, 2, 1, 4, p6("20010db8", 47), p6("20010db80001", 48)},
        PrefixCase{"ipv6_end_of_space", v6("ffffffffffffffffffffffffffffff00"), 120, 120, 9, 1, 1,
                   p6("ffffffffffffffffffffffffffffff00", 120), p6("ffffffffffffffffffffffffffffff00", 120)}),
    [](const auto& info) { return std::string(info.param.name); });

// The attribute block of a plain external route: ORIGIN (4), AS_PATH of
// one 4-octet AS (9), NEXT_HOP (7).
constexpr size_t kPlainAttributes = 20;

struct PackingCase {
    const char* name;
    size_t maxMessage;
    uint32_t routes;  // /24s: 4 bytes each
    size_t messages;
};
void PrintTo(const PackingCase& c, std::ostream* os) { *os << c.name; }

class BuilderPackingTest : public ::testing::TestWithParam<PackingCase> {};

TEST_P(BuilderPackingTest, FillsEachMessage) {
    const PackingCase& c = GetParam();
    EncodeSession s = external();
    s.maxMessage = c.maxMessage;
    UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(range(v4("20.0.0.0"), 24, 24, c.routes), 65001));
    Bytes all = enc.all();
    auto us = decodeAll(all, true, false, c.maxMessage);
    EXPECT_EQ(us.size(), c.messages);
    EXPECT_EQ(enc.messageCount(), c.messages);
    EXPECT_EQ(announced(us).size(), c.routes);
    const size_t perMessage = (c.maxMessage - 23 - kPlainAttributes) / 4;
    // Every message but the last is full.
    for (size_t i = 0; i + 1 < us.size(); ++i) EXPECT_EQ(us[i].nlri.size(), perMessage);
    EXPECT_EQ(all.size(), c.messages * (23 + kPlainAttributes) + 4 * c.routes);
}

// (4096 - 43) / 4 = 1013 prefixes of a /24 fit one message; 4095 bytes.
INSTANTIATE_TEST_SUITE_P(Boundary, BuilderPackingTest,
                         ::testing::Values(PackingCase{"one_short_of_full", 4096, 1012, 1},
                                           PackingCase{"full", 4096, 1013, 1}, PackingCase{"one_over", 4096, 1014, 2},
                                           PackingCase{"a_million", 4096, 1000000, 988},
                                           PackingCase{"extended_messages", 65535, 1000000, 62}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Builder, RangesWithTheSameAttributesShareMessages) {
    UpdateEncoder enc(external(), UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(range(v4("20.0.0.0"), 24, 24, 600), 65001));
    ASSERT_TRUE(enc.add(range(v4("30.0.0.0"), 24, 24, 600), 65001));
    auto r = range(v4("40.0.0.0"), 24, 24, 10);
    r.medEnabled = true;
    ASSERT_TRUE(enc.add(r, 65001));
    auto us = decodeAll(enc.all());
    ASSERT_EQ(us.size(), 3u);  // 1200 in two, the one with a MED in a third
    EXPECT_EQ(us[0].nlri.size(), 1013u);
    EXPECT_EQ(us[1].nlri.size(), 187u);
    EXPECT_EQ(us[2].attributes.med, 0u);
}

struct AttributeCase {
    const char* name;
    bool internal;
    std::function<void(hal::EBGP::ConfigRouteRange&)> set;
    std::function<void(const PathAttributes&)> check;
};
void PrintTo(const AttributeCase& c, std::ostream* os) { *os << c.name; }

hal::EBGP::ConfigAsPathSegment segment(uint8_t type, std::vector<uint16_t> ases) {
    hal::EBGP::ConfigAsPathSegment s;
    s.type = type;
    s.asNumbers = std::move(ases);
    return s;
}

class BuilderAttributeTest : public ::testing::TestWithParam<AttributeCase> {};

TEST_P(BuilderAttributeTest, SendsWhatTheRangeSays) {
    const AttributeCase& c = GetParam();
    auto r = range(v4("20.0.0.0"), 24, 24, 1);
    c.set(r);
    EncodeSession s = c.internal ? internal() : external();
    UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(r, s.localAs));
    auto us = decodeAll(enc.all(), true, c.internal);
    ASSERT_EQ(us.size(), 1u);
    c.check(us[0].attributes);
}

using A = const PathAttributes&;
using R = hal::EBGP::ConfigRouteRange&;
INSTANTIATE_TEST_SUITE_P(
    Options, BuilderAttributeTest,
    ::testing::Values(
        AttributeCase{"external_defaults", false, [](R) {},
                      [](A a) {
                          EXPECT_EQ(a.origin, 0);
                          EXPECT_EQ(a.asPath, (AsPath{{2, {65001}}}));
                          EXPECT_EQ(a.nextHop, v4("10.1.0.2").GetV4());
                          EXPECT_FALSE(a.localPref);
                          EXPECT_FALSE(a.med);
                          EXPECT_FALSE(a.atomicAggregate);
                          EXPECT_FALSE(a.aggregator);
                      }},
        AttributeCase{"internal_defaults", true, [](R) {},
                      [](A a) {
                          EXPECT_EQ(a.asPath, AsPath{});
                          EXPECT_EQ(a.localPref, 100u);
                      }},
        AttributeCase{"origin_incomplete", false, [](R r) { r.origin = 2; }, [](A a) { EXPECT_EQ(a.origin, 2); }},
        AttributeCase{"mode_none_sends_the_items", false,
                      [](R r) {
                          r.asPathMode = 0;
                          r.asPath.Add(segment(2, {65010, 65011}));
                      },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{2, {65010, 65011}}}));
                      }},
        AttributeCase{"mode_sequence_puts_a_segment_in_front", false,
                      [](R r) {
                          r.asPathMode = 1;
                          r.asPath.Add(segment(1, {65010, 65011}));
                      },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{2, {65001}}, {1, {65010, 65011}}}));
                      }},
        AttributeCase{"mode_set", false, [](R r) { r.asPathMode = 2; },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{1, {65001}}}));
                      }},
        AttributeCase{"mode_confederation_sequence", false, [](R r) { r.asPathMode = 3; },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{3, {65001}}}));
                      }},
        AttributeCase{"mode_confederation_set", false, [](R r) { r.asPathMode = 4; },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{4, {65001}}}));
                      }},
        AttributeCase{"mode_prepend_joins_a_leading_sequence", false,
                      [](R r) {
                          r.asPathMode = 5;
                          r.asPath.Add(segment(2, {65010}));
                          r.asPath.Add(segment(1, {65020}));
                      },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{2, {65001, 65010}}, {1, {65020}}}));
                      }},
        AttributeCase{"mode_prepend_before_a_set", false,
                      [](R r) {
                          r.asPathMode = 5;
                          r.asPath.Add(segment(1, {65020}));
                      },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{2, {65001}}, {1, {65020}}}));
                      }},
        AttributeCase{"internal_sessions_send_the_items_alone", true,
                      [](R r) {
                          r.asPathMode = 1;
                          r.asPath.Add(segment(2, {65010}));
                      },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{2, {65010}}}));
                      }},
        AttributeCase{"empty_items_are_skipped", false, [](R r) { r.asPath.Add(segment(2, {})); },
                      [](A a) {
                          EXPECT_EQ(a.asPath, (AsPath{{2, {65001}}}));
                      }},
        AttributeCase{"next_hop_as_given", false,
                      [](R r) {
                          r.nextHopSetMode = 0;
                          r.nextHop = v4("192.0.2.9");
                      },
                      [](A a) { EXPECT_EQ(a.nextHop, v4("192.0.2.9").GetV4()); }},
        AttributeCase{"local_pref_internal", true, [](R r) { r.localPreference = 250; },
                      [](A a) { EXPECT_EQ(a.localPref, 250u); }},
        AttributeCase{"local_pref_not_external", false, [](R r) { r.localPreference = 250; },
                      [](A a) { EXPECT_FALSE(a.localPref); }},
        AttributeCase{"med", false,
                      [](R r) {
                          r.medEnabled = true;
                          r.med = 77;
                      },
                      [](A a) { EXPECT_EQ(a.med, 77u); }},
        AttributeCase{"med_value_without_the_switch", false, [](R r) { r.med = 77; }, [](A a) { EXPECT_FALSE(a.med); }},
        AttributeCase{"communities_in_order", false,
                      [](R r) {
                          r.communities = {0xffffff01, 0xfde90064};
                      },
                      [](A a) {
                          EXPECT_EQ(a.communities, (std::vector<uint32_t>{0xffffff01, 0xfde90064}));
                      }},
        AttributeCase{
            "extended_community", false,
            [](R r) {
                hal::EBGP::ConfigExtendedCommunity c;
                c.type = 0x00;
                c.subType = 0x02;
                c.value.bytes = {0xfd, 0xe9, 0, 0, 0, 0x64};
                r.extendedCommunities.Add(c);
            },
            [](A a) {
                ASSERT_EQ(a.extendedCommunities.size(), 1u);
                EXPECT_EQ(a.extendedCommunities[0], (std::array<uint8_t, 8>{0, 2, 0xfd, 0xe9, 0, 0, 0, 0x64}));
            }},
        AttributeCase{"atomic_aggregate_and_aggregator", false,
                      [](R r) {
                          r.atomicAggregate = true;
                          r.aggregatorAs = 65099;
                          r.aggregatorAddress = v4("192.0.2.7");
                      },
                      [](A a) {
                          EXPECT_TRUE(a.atomicAggregate);
                          EXPECT_EQ(a.aggregator, (Aggregator{65099, v4("192.0.2.7").GetV4()}));
                      }},
        AttributeCase{"reflection_attributes_internal", true,
                      [](R r) {
                          r.originatorId = v4("10.9.9.9");
                          r.clusterList = {v4("1.1.1.1"), v4("2.2.2.2")};
                      },
                      [](A a) {
                          EXPECT_EQ(a.originatorId, v4("10.9.9.9").GetV4());
                          EXPECT_EQ(a.clusterList, (std::vector<uint32_t>{0x01010101, 0x02020202}));
                      }},
        AttributeCase{"reflection_attributes_not_external", false,
                      [](R r) {
                          r.originatorId = v4("10.9.9.9");
                          r.clusterList = {v4("1.1.1.1")};
                      },
                      [](A a) {
                          EXPECT_FALSE(a.originatorId);
                          EXPECT_TRUE(a.clusterList.empty());
                      }}),
    [](const auto& info) { return std::string(info.param.name); });

// One UPDATE byte for byte: a plain IPv4 route (RFC 4271), an IPv6 one in
// MP_REACH_NLRI with its global and link-local next hops (RFC 4760, 2545);
// labelled and VPN routes as RFC 8277 (label field: 20-bit
// label, 3 traffic-class bits, bottom-of-stack bit), RFC 4364 (VPN-IPv4:
// label field, 8-byte distinguisher, prefix; next hop a zero distinguisher
// and the address, 4.3.2), RFC 4659 (VPN-IPv6; an IPv4 session's next hop
// as IPv4-mapped IPv6, 3.2) and RFC 4360 (route targets: type 0x00 AS,
// 0x01 address, sub-type 0x02) write them. Every case is on an external
// session from AS 65001 (ORIGIN and AS_PATH after MP_REACH_NLRI).
struct LabelledCase {
    const char* name;
    std::function<bool(UpdateEncoder&)> add;
    const char* expected;  // the UPDATE's body
    bool v6Session = false;
    UpdateEncoder::Kind kind = UpdateEncoder::Kind::Announce;
};
void PrintTo(const LabelledCase& c, std::ostream* os) { *os << c.name; }

class LabelledBytesTest : public ::testing::TestWithParam<LabelledCase> {};

TEST_P(LabelledBytesTest, WritesTheRfcBytes) {
    EncodeSession s = external();
    if (GetParam().v6Session) {
        s.localAddress = v6("20010db8000000000000000000000002");
        s.linkLocal = std::array<uint8_t, 16>{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
    }
    UpdateEncoder enc(s, GetParam().kind);
    ASSERT_TRUE(GetParam().add(enc)) << enc.error();
    EXPECT_EQ(bgptest::toHex(enc.all()), bgptest::toHex(message(2, hex(GetParam().expected))));
    EXPECT_EQ(enc.messageCount(), 1u);
    EXPECT_TRUE(enc.done());
}

namespace {

hal::EBGP::ConfigAdministrator administrator(uint8_t type, uint16_t as, const char* address, uint32_t number) {
    hal::EBGP::ConfigAdministrator a;
    a.type = type;
    a.asNumber = as;
    a.ipAddress = v4(address);
    a.assignedNumber = number;
    return a;
}

hal::EBGP::ConfigVpnRouteRange vpnRange(EIPAddress first, uint8_t length, uint32_t count, uint32_t label,
                                        bool increment, hal::EBGP::ConfigAdministrator rd, uint32_t rdStep = 0) {
    hal::EBGP::ConfigVpnRouteRange r;
    static_cast<hal::EBGP::ConfigRoutes&>(r) = range(first, length, length, count);
    r.labels.startLabel = label;
    r.labels.labelMode = increment ? 1 : 0;
    r.distinguisher = rd;
    r.distinguisherStep = rdStep;
    return r;
}

hal::EBGP::ConfigL3Site siteExporting(std::initializer_list<hal::EBGP::ConfigAdministrator> targets) {
    hal::EBGP::ConfigL3Site site;
    for (const auto& t : targets) {
        hal::EBGP::ConfigRouteTarget rt;
        rt.target = t;
        site.exportTargets.Add(rt);
    }
    return site;
}

hal::EBGP::ConfigMplsRouteRange labelledRange(EIPAddress first, uint8_t from, uint8_t thru, uint32_t count,
                                              uint32_t label) {
    hal::EBGP::ConfigMplsRouteRange r;
    static_cast<hal::EBGP::ConfigRoutes&>(r) = range(first, from, thru, count);
    r.labels.startLabel = label;
    r.labels.labelMode = 1;
    return r;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    Rfc8277Rfc4364Rfc4659, LabelledBytesTest,
    ::testing::Values(
        LabelledCase{"ipv4_one_route",
                     [](UpdateEncoder& e) { return e.add(range(v4("20.0.0.0"), 24, 24, 1), 65001); },
                     "0000 0014  40 01 01 00  40 02 06 02 01 0000fde9  40 03 04 0a010002  18 140000"},
        LabelledCase{"ipv6_one_route_global_and_link_local_next_hops",
                     [](UpdateEncoder& e) { return e.add(range(v6("20010db80001"), 48, 48, 1), 65001); },
                     "0000 003d"
                     "90 0e 002c 0002 01 20 20010db8000000000000000000000002"
                     "   fe800000000000000000000000000002 00 30 20010db80001"
                     "40 01 01 00  40 02 06 02 01 0000fde9",
                     true},
        LabelledCase{"labelled_ipv4_default_label_mode",
                     [](UpdateEncoder& e) {
                         hal::EBGP::ConfigMplsRouteRange r;
                         r.firstNetwork = v4("20.0.0.0");
                         r.labels.startLabel = 100;
                         return e.addLabelled(r, 65001);
                     },
                     "0000 0021"
                     "90 0e 0010 0001 04 04 0a010002 00"
                     "   30 000641 140000"  // 48 bits: label 100, bottom of stack
                     "40 01 01 00  40 02 06 02 01 0000fde9"},
        LabelledCase{"labelled_ipv4_withdrawal_carries_the_withdraw_label_field",  // RFC 8277 2.4
                     [](UpdateEncoder& e) {
                         hal::EBGP::ConfigMplsRouteRange r;
                         r.firstNetwork = v4("20.0.0.0");
                         r.labels.startLabel = 100;
                         return e.addLabelled(r, 65001);
                     },
                     "0000 000e 90 0f 000a 0001 04 30 800000 140000", false, UpdateEncoder::Kind::Withdraw},
        LabelledCase{"vpn4_default_label_16_and_one_target",
                     [](UpdateEncoder& e) {
                         hal::EBGP::ConfigVpnRouteRange r;
                         r.firstNetwork = v4("20.0.0.0");
                         r.distinguisher.asNumber = 65001;
                         r.distinguisher.assignedNumber = 7;
                         hal::EBGP::ConfigRouteTarget rt;
                         rt.target.asNumber = 65001;
                         rt.target.assignedNumber = 7;
                         hal::EBGP::ConfigL3Site site;
                         site.exportTargets.Add(rt);
                         return e.addVpn(r, site, 65001);
                     },
                     "0000 003c"
                     "90 0e 0020 0001 80 0c 0000000000000000 0a010002 00"
                     "   70 000101 0000fde900000007 140000"  // 112 bits: label 16, RD 65001:7
                     "40 01 01 00  40 02 06 02 01 0000fde9"
                     "c0 10 08 0002fde900000007"},  // route target 65001:7
        LabelledCase{"vpn4_address_distinguisher_and_two_targets",
                     [](UpdateEncoder& e) {
                         return e.addVpn(vpnRange(v4("20.0.0.0"), 24, 2, 100, false,
                                                  administrator(1, 0, "192.0.2.1", 5)),
                                         siteExporting({administrator(1, 0, "192.0.2.1", 9),
                                                        administrator(0, 65001, "0.0.0.0", 7)}),
                                         65001);
                     },
                     "0000 0053"
                     "90 0e 002f 0001 80 0c 0000000000000000 0a010002 00"
                     "   70 000641 0001c00002010005 140000"  // label 100 fixed, RD 192.0.2.1:5
                     "   70 000641 0001c00002010005 140001"
                     "40 01 01 00  40 02 06 02 01 0000fde9"
                     "c0 10 10 0102c00002010009 0002fde900000007"},  // RT 192.0.2.1:9, RT 65001:7
        LabelledCase{"vpn4_label_and_distinguisher_move_per_route",
                     [](UpdateEncoder& e) {
                         return e.addVpn(vpnRange(v4("20.0.0.0"), 24, 2, 100, true,
                                                  administrator(0, 65001, "0.0.0.0", 7), 1),
                                         {}, 65001);
                     },
                     "0000 0040"
                     "90 0e 002f 0001 80 0c 0000000000000000 0a010002 00"
                     "   70 000641 0000fde900000007 140000"  // label 100, RD 65001:7
                     "   70 000651 0000fde900000008 140001"  // label 101, RD 65001:8
                     "40 01 01 00  40 02 06 02 01 0000fde9"},
        LabelledCase{"vpn6_on_an_ipv4_session_has_a_mapped_next_hop",
                     [](UpdateEncoder& e) {
                         return e.addVpn(vpnRange(v6("20010db80001"), 48, 1, 16, false,
                                                  administrator(0, 65001, "0.0.0.0", 7)),
                                         {}, 65001);
                     },
                     "0000 0040"
                     "90 0e 002f 0002 80 18 0000000000000000 00000000000000000000ffff0a010002 00"
                     "   88 000101 0000fde900000007 20010db80001"  // 136 bits: 24 + 64 + 48
                     "40 01 01 00  40 02 06 02 01 0000fde9"},
        LabelledCase{"vpn6_global_and_link_local_next_hops_each_behind_a_zero_distinguisher",
                     [](UpdateEncoder& e) {
                         return e.addVpn(vpnRange(v6("20010db80001"), 48, 1, 16, false,
                                                  administrator(0, 65001, "0.0.0.0", 7)),
                                         {}, 65001);
                     },
                     "0000 0058"
                     "90 0e 0047 0002 80 30"
                     "   0000000000000000 20010db8000000000000000000000002"
                     "   0000000000000000 fe800000000000000000000000000002 00"
                     "   88 000101 0000fde900000007 20010db80001"
                     "40 01 01 00  40 02 06 02 01 0000fde9",
                     true},
        LabelledCase{"labelled_ipv6_increments_per_prefix",
                     [](UpdateEncoder& e) { return e.addLabelled(labelledRange(v6("20010db80001"), 48, 48, 2, 200), 65001); },
                     "0000 003a"
                     "90 0e 0029 0002 04 10 00000000000000000000ffff0a010002 00"
                     "   48 000c81 20010db80001"  // label 200, bottom of stack
                     "   48 000c91 20010db80002"  // label 201
                     "40 01 01 00  40 02 06 02 01 0000fde9"},
        LabelledCase{"labelled_ipv4_increments_across_prefix_lengths",
                     [](UpdateEncoder& e) { return e.addLabelled(labelledRange(v4("20.0.0.0"), 24, 25, 1, 16), 65001); },
                     "0000 0029"
                     "90 0e 0018 0001 04 04 0a010002 00"
                     "   30 000101 140000"     // /24, label 16
                     "   31 000111 14000000"  // /25, label 17
                     "40 01 01 00  40 02 06 02 01 0000fde9"},
        LabelledCase{"vpn4_withdrawal_carries_the_withdraw_label_field",
                     [](UpdateEncoder& e) {
                         return e.addVpn(vpnRange(v4("20.0.0.0"), 24, 1, 100, false,
                                                  administrator(1, 0, "192.0.2.1", 5)),
                                         {}, 65001);
                     },
                     "0000 0016 90 0f 0012 0001 80 70 800000 0001c00002010005 140000", false,
                     UpdateEncoder::Kind::Withdraw}),
    [](const auto& info) { return std::string(info.param.name); });

struct RdCase {
    const char* name;
    RouteDistinguisher rd;
    uint64_t route;
    uint64_t expected;
};
void PrintTo(const RdCase& c, std::ostream* os) { *os << c.name; }

class RouteDistinguisherTest : public ::testing::TestWithParam<RdCase> {};

TEST_P(RouteDistinguisherTest, MovesTheRightPart) {
    EXPECT_EQ(GetParam().rd.at(GetParam().route), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rfc4364, RouteDistinguisherTest,
    ::testing::Values(
        RdCase{"as_fixed", {0, 65001, 7, 0, false}, 9, 0x0000fde900000007},
        RdCase{"as_local_part", {0, 65001, 7, 2, false}, 3, 0x0000fde90000000d},
        RdCase{"as_global_part", {0, 65001, 7, 1, true}, 3, 0x0000fdec00000007},
        RdCase{"as_global_part_wraps_in_16_bits", {0, 65535, 7, 1, true}, 2, 0x0000000100000007},
        RdCase{"address_local_part", {1, 0xc0000201, 7, 1, false}, 3, 0x0001c0000201000a},
        RdCase{"address_local_part_wraps_in_16_bits", {1, 0xc0000201, 0xffff, 1, false}, 1, 0x0001c00002010000},
        RdCase{"address_global_part", {1, 0xc0000201, 7, 256, true}, 1, 0x0001c00003010007}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Builder, FourOctetAsOnATwoOctetSession) {
    EncodeSession s = external(4200000000u);
    s.as4 = false;
    UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(range(v4("20.0.0.0"), 24, 24, 1), 4200000000u));
    auto us = decodeAll(enc.all(), false);
    ASSERT_EQ(us.size(), 1u);
    EXPECT_EQ(us[0].attributes.asPath, (AsPath{{2, {4200000000u}}}));
}

TEST(Builder, NextHopIncrementsPerRoute) {
    auto r = range(v4("20.0.0.0"), 24, 25, 3);
    r.nextHopSetMode = 0;
    r.nextHop = v4("192.0.2.1");
    r.nextHopMode = 1;
    UpdateEncoder enc(external(), UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(r, 65001));
    auto us = decodeAll(enc.all());
    ASSERT_EQ(us.size(), 6u);
    for (size_t i = 0; i < us.size(); ++i) {
        ASSERT_EQ(us[i].nlri.size(), 1u);
        EXPECT_EQ(us[i].attributes.nextHop, v4("192.0.2.1").GetV4() + i);
    }
}

TEST(Builder, NextHopIncrementsPerPrefixLength) {
    auto r = range(v4("20.0.0.0"), 24, 26, 2000);
    r.nextHopSetMode = 0;
    r.nextHop = v4("192.0.2.1");
    r.nextHopMode = 2;
    UpdateEncoder enc(external(), UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(r, 65001));
    auto us = decodeAll(enc.all());
    std::map<uint8_t, std::set<uint32_t>> hopsByLength;
    for (const Update& u : us)
        for (const Prefix& p : u.nlri) hopsByLength[p.length].insert(*u.attributes.nextHop);
    ASSERT_EQ(hopsByLength.size(), 3u);
    EXPECT_EQ(hopsByLength[24], std::set<uint32_t>{v4("192.0.2.1").GetV4()});
    EXPECT_EQ(hopsByLength[25], std::set<uint32_t>{v4("192.0.2.2").GetV4()});
    EXPECT_EQ(hopsByLength[26], std::set<uint32_t>{v4("192.0.2.3").GetV4()});
    EXPECT_EQ(announced(us).size(), 6000u);
    EXPECT_EQ(us.size(), 8u);  // 2000 /24s in two (1013 a message), /25s and /26s (5 bytes: 810) in three each
}

TEST(Builder, Ipv4NextHopOfIpv6RoutesIsMapped) {
    UpdateEncoder enc(external(), UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(enc.add(range(v6("20010db8"), 64, 64, 1), 65001));
    auto us = decodeAll(enc.all());
    ASSERT_EQ(us.size(), 1u);
    EXPECT_EQ(us[0].attributes.mpReach->nextHop, hex("00000000000000000000ffff0a010002"));
}

TEST(Builder, Ipv4RoutesRefuseAnIpv6NextHop) {
    EncodeSession s = external();
    s.localAddress = v6("20010db8000000000000000000000002");
    UpdateEncoder enc(s, UpdateEncoder::Kind::Announce);
    EXPECT_FALSE(enc.add(range(v4("20.0.0.0"), 24, 24, 1), 65001));
    EXPECT_FALSE(enc.error().empty());
    EXPECT_TRUE(enc.all().empty());
}

TEST(Builder, WithdrawalsNameTheSamePrefixes) {
    for (EIPAddress first : {v4("20.0.0.0"), v6("20010db8")}) {
        auto r = range(first, first.IsV6() ? 48 : 22, first.IsV6() ? 64 : 24, 1500, 3);
        UpdateEncoder add(external(), UpdateEncoder::Kind::Announce);
        UpdateEncoder remove(external(), UpdateEncoder::Kind::Withdraw);
        ASSERT_TRUE(add.add(r, 65001));
        ASSERT_TRUE(remove.add(r, 65001));
        std::vector<Prefix> gone;
        for (const Update& u : decodeAll(remove.all())) {
            EXPECT_FALSE(u.attributes.mpReach);
            EXPECT_TRUE(u.nlri.empty());
            gone.insert(gone.end(), u.withdrawn.begin(), u.withdrawn.end());
            if (u.attributes.mpUnreach)
                gone.insert(gone.end(), u.attributes.mpUnreach->withdrawn.begin(),
                            u.attributes.mpUnreach->withdrawn.end());
        }
        EXPECT_EQ(gone, announced(decodeAll(add.all())));
    }
}

TEST(Builder, WritingInPiecesGivesTheSameBytes) {
    auto make = [] {
        auto enc = std::make_unique<UpdateEncoder>(external(), UpdateEncoder::Kind::Announce);
        enc->add(range(v4("20.0.0.0"), 20, 24, 3000), 65001);
        enc->add(range(v6("20010db8"), 60, 64, 500), 65001);
        return enc;
    };
    Bytes whole = make()->all();
    auto enc = make();
    Bytes pieces;
    uint8_t buf[5000];
    while (size_t n = enc->fill(buf, sizeof buf)) pieces.insert(pieces.end(), buf, buf + n);
    EXPECT_TRUE(enc->done());
    EXPECT_EQ(pieces, whole);
    // A buffer smaller than one message holds nothing.
    auto small = make();
    EXPECT_EQ(small->fill(buf, 40), 0u);
    EXPECT_FALSE(small->done());
}

TEST(Builder, NeighborRangesByFamilyAndAsIncrement) {
    hal::EBGP::ConfigNeighbor n;
    n.asNumMode = 1;
    n.asNumStep = 10;
    n.routeRanges.Add(range(v4("20.0.0.0"), 24, 24, 1));
    n.routeRanges.Add(range(v6("20010db8"), 64, 64, 1));
    n.routeRanges.Add(range(v4("30.0.0.0"), 24, 24, 1));
    auto disabled = range(v4("40.0.0.0"), 24, 24, 1);
    disabled.enabled = false;
    n.routeRanges.Add(disabled);
    hal::EBGP::ConfigMplsRouteRange mpls;
    mpls.firstNetwork = v4("50.0.0.0");
    n.mplsRouteRanges.Add(mpls);
    hal::EBGP::ConfigL3Site site;
    hal::EBGP::ConfigVpnRouteRange vpn;
    vpn.firstNetwork = v4("60.0.0.0");
    site.vpnRouteRanges.Add(vpn);
    n.l3Sites.Add(site);
    site.enabled = false;
    n.l3Sites.Add(site);
    UpdateEncoder enc(external(), UpdateEncoder::Kind::Announce);
    addNeighborRanges(enc, n, 65001, {kIpv4Unicast, AfiSafi{1, 128}});
    auto us = decodeAll(enc.all());
    ASSERT_EQ(us.size(), 3u);
    EXPECT_EQ(us[0].attributes.asPath, (AsPath{{2, {65001}}}));
    EXPECT_EQ(us[1].attributes.asPath, (AsPath{{2, {65021}}}));  // the third range: 65001 + 2 * 10
    EXPECT_EQ(us[1].nlri, std::vector<Prefix>{p4("30.0.0.0", 24)});
    // No labelled routes: the session does not carry them; one VPN route, of the enabled site.
    ASSERT_TRUE(us[2].attributes.mpReach);
    EXPECT_EQ(us[2].attributes.mpReach->family, (AfiSafi{1, 128}));
    EXPECT_EQ(us[2].attributes.mpReach->nlri.size(), 1u);
}

TEST(Builder, AttributesTooLargeForAMessageAreRefused) {
    auto r = range(v4("20.0.0.0"), 24, 24, 10);
    r.communities.assign(1100, 0xfde90001);  // 4400 bytes of COMMUNITIES
    UpdateEncoder small(external(), UpdateEncoder::Kind::Announce);
    EXPECT_FALSE(small.add(r, 65001));
    EXPECT_TRUE(small.done());
    EncodeSession s = external();
    s.maxMessage = kMaxExtendedMessage;
    UpdateEncoder large(s, UpdateEncoder::Kind::Announce);
    ASSERT_TRUE(large.add(r, 65001));
    auto us = decodeAll(large.all(), true, false, kMaxExtendedMessage);
    ASSERT_EQ(us.size(), 1u);
    EXPECT_EQ(us[0].attributes.communities.size(), 1100u);
    EXPECT_EQ(us[0].nlri.size(), 10u);
}

}  // namespace
