// UPDATE and its path attributes against bytes written from RFC 4271,
// 4760, 6793, 1997, 4360 and 4456, and the RFC 7606 verdict on each kind
// of malformed attribute.
#include <gtest/gtest.h>

#include <ostream>

#include "bgp_hex.h"
#include "engine/bgp/update.h"

using namespace engine::bgp;
using bgptest::hex;
using bgptest::message;

namespace {

Bytes updateBody(const Bytes& withdrawn, const Bytes& attrs, const Bytes& nlri) {
    Bytes b;
    b.push_back(uint8_t(withdrawn.size() >> 8));
    b.push_back(uint8_t(withdrawn.size()));
    b.insert(b.end(), withdrawn.begin(), withdrawn.end());
    b.push_back(uint8_t(attrs.size() >> 8));
    b.push_back(uint8_t(attrs.size()));
    b.insert(b.end(), attrs.begin(), attrs.end());
    b.insert(b.end(), nlri.begin(), nlri.end());
    return b;
}

Bytes update(const std::string& attrs, const std::string& nlri = "18 140000", const std::string& withdrawn = "") {
    return message(2, updateBody(hex(withdrawn), hex(attrs), hex(nlri)));
}

Prefix v6(std::string_view hexBytes, uint8_t length) {
    Prefix p;
    p.v6 = true;
    p.length = length;
    Bytes b = hex(hexBytes);
    std::copy(b.begin(), b.end(), p.bytes.begin());
    return p;
}

// Every attribute of RFC 4271 and its companions, 4-octet ASes.
const std::string kEveryAttribute =
    "40 01 01 00"                       // ORIGIN IGP
    "40 02 0a 02 02 0000fde9 00010000"  // AS_PATH: sequence 65001 65536
    "40 03 04 c0000201"                 // NEXT_HOP 192.0.2.1
    "80 04 04 00000064"                 // MED 100
    "40 05 04 000000c8"                 // LOCAL_PREF 200
    "40 06 00"                          // ATOMIC_AGGREGATE
    "c0 07 08 0000fde9 c0000202"        // AGGREGATOR 65001 192.0.2.2
    "c0 08 08 ffffff01 fde90064"        // COMMUNITIES NO_EXPORT 65001:100
    "80 09 04 0a000001"                 // ORIGINATOR_ID 10.0.0.1
    "80 0a 04 0a000002"                 // CLUSTER_LIST 10.0.0.2
    "c0 10 08 0002fde900000064"         // EXTENDED COMMUNITIES: route target 65001:100
    "c0 63 02 abcd";                    // an unknown optional transitive attribute

TEST(Update, DecodesEveryAttributeAndEncodesTheSameBytesWithThePartialBitOfWhatItPassesOn) {
    Bytes wire = update(kEveryAttribute, "18 140000 18 140001", "10 0a01");
    auto u = decodeUpdate(wire, {.as4 = true, .internal = true});
    ASSERT_TRUE(u.ok()) << int(u.error().code) << "/" << int(u.error().subcode);
    EXPECT_EQ(u->action, ErrorAction::None);
    EXPECT_TRUE(u->errors.empty());
    EXPECT_EQ(u->withdrawn, std::vector<Prefix>{Prefix::v4(0x0a010000, 16)});
    EXPECT_EQ(u->nlri, (std::vector<Prefix>{Prefix::v4(0x14000000, 24), Prefix::v4(0x14000100, 24)}));
    const PathAttributes& a = u->attributes;
    EXPECT_EQ(a.origin, 0);
    EXPECT_EQ(a.asPath, (AsPath{{2, {65001, 65536}}}));
    EXPECT_EQ(a.nextHop, 0xc0000201u);
    EXPECT_EQ(a.med, 100u);
    EXPECT_EQ(a.localPref, 200u);
    EXPECT_TRUE(a.atomicAggregate);
    EXPECT_EQ(a.aggregator, (Aggregator{65001, 0xc0000202}));
    EXPECT_EQ(a.communities, (std::vector<uint32_t>{0xffffff01, 0xfde90064}));
    EXPECT_EQ(a.originatorId, 0x0a000001u);
    EXPECT_EQ(a.clusterList, std::vector<uint32_t>{0x0a000002});
    ASSERT_EQ(a.extendedCommunities.size(), 1u);
    EXPECT_EQ(a.extendedCommunities[0], (std::array<uint8_t, 8>{0, 2, 0xfd, 0xe9, 0, 0, 0, 0x64}));
    // Passed on with the partial bit.
    EXPECT_EQ(a.unknown, (std::vector<RawAttribute>{{0xe0, 0x63, {0xab, 0xcd}}}));
    Bytes again = encodeUpdate(u->withdrawn, u->attributes, u->nlri, true);
    Bytes expected = wire;
    expected[expected.size() - 8 - 5] = 0xe0;  // the unknown attribute's flags
    EXPECT_EQ(bgptest::toHex(again), bgptest::toHex(expected));
}

TEST(Update, Ipv6InMultiprotocolReachWithALinkLocalNextHop) {
    Bytes wire = update(
        "80 0e 2c 0002 01 20 20010db8000000000000000000000001 fe800000000000000000000000000001 00"
        "   30 20010db80001"  // 2001:db8:1::/48
        "40 01 01 02"
        "40 02 00",
        "");
    auto u = decodeUpdate(wire, {.as4 = true});
    ASSERT_TRUE(u.ok()) << int(u.error().code) << "/" << int(u.error().subcode);
    EXPECT_EQ(u->action, ErrorAction::None);
    ASSERT_TRUE(u->attributes.mpReach);
    EXPECT_EQ(u->attributes.mpReach->family, kIpv6Unicast);
    EXPECT_EQ(u->attributes.mpReach->nextHop.size(), 32u);
    EXPECT_EQ(u->attributes.mpReach->nlri, std::vector<Prefix>{v6("20010db80001", 48)});
    EXPECT_EQ(u->attributes.origin, 2);
    // And back: the multiprotocol attribute first.
    EXPECT_EQ(bgptest::toHex(encodeUpdate({}, u->attributes, {}, true)), bgptest::toHex(wire));
}

TEST(Update, EndOfRibMarkers) {
    Bytes v4 = message(2, hex("0000 0000"));
    EXPECT_EQ(encodeEndOfRib(kIpv4Unicast), v4);
    Bytes v6 = message(2, hex("0000 0006 80 0f 03 0002 01"));
    EXPECT_EQ(encodeEndOfRib(kIpv6Unicast), v6);
    for (const auto& [bytes, family] : {std::pair{v4, kIpv4Unicast}, std::pair{v6, kIpv6Unicast}}) {
        auto u = decodeUpdate(bytes, {});
        ASSERT_TRUE(u.ok());
        EXPECT_EQ(u->endOfRib, family);
    }
    // A withdrawal of one IPv6 prefix is not an end marker.
    auto w = decodeUpdate(update("80 0f 06 0002 01 10 2001", ""), {});
    ASSERT_TRUE(w.ok());
    EXPECT_FALSE(w->endOfRib);
}

TEST(Update, TwoOctetSessionCarriesWideAsesInAs4Path) {
    PathAttributes a;
    a.origin = 0;
    a.asPath = AsPath{{2, {65001, 65536}}};
    a.nextHop = 0xc0000201;
    a.aggregator = Aggregator{70000, 0xc0000202};
    Bytes wire = encodeUpdate({}, a, {Prefix::v4(0x14000000, 24)}, false);
    EXPECT_EQ(bgptest::toHex(wire),
              bgptest::toHex(update("40 01 01 00"
                                    "40 02 06 02 02 fde9 5ba0"  // AS_TRANS for 65536
                                    "40 03 04 c0000201"
                                    "c0 07 06 5ba0 c0000202"            // AGGREGATOR with AS_TRANS
                                    "c0 11 0a 02 02 0000fde9 00010000"  // AS4_PATH
                                    "c0 12 08 00011170 c0000202")));    // AS4_AGGREGATOR 70000
    auto u = decodeUpdate(wire, {.as4 = false});
    ASSERT_TRUE(u.ok());
    EXPECT_EQ(u->attributes.asPath, (AsPath{{2, {65001, 65536}}}));
    EXPECT_EQ(u->attributes.aggregator, (Aggregator{70000, 0xc0000202}));
    EXPECT_FALSE(u->attributes.as4Path);
}

TEST(Update, As4PathLongerThanAsPathIsIgnored) {
    auto u = decodeUpdate(update("40 01 01 00 40 02 04 02 01 fde9 40 03 04 c0000201"
                                 "c0 11 0a 02 02 0000fde9 00010000"),
                          {.as4 = false});
    ASSERT_TRUE(u.ok());
    EXPECT_EQ(u->attributes.asPath, (AsPath{{2, {65001}}}));
}

TEST(Update, PrependedTwoOctetAsesStayInFrontOfAs4Path) {
    // AS_PATH 65002 23456 23456, AS4_PATH 70000 80000: 65002 70000 80000.
    auto u = decodeUpdate(update("40 01 01 00 40 02 08 02 03 fdea 5ba0 5ba0 40 03 04 c0000201"
                                 "c0 11 0a 02 02 00011170 00013880"),
                          {.as4 = false});
    ASSERT_TRUE(u.ok());
    EXPECT_EQ(flatten(*u->attributes.asPath), (std::vector<uint32_t>{65002, 70000, 80000}));
}

// ---- RFC 7606 --------------------------------------------------------------

const std::string O = "40 01 01 00 ";
const std::string P = "40 02 00 ";
const std::string N = "40 03 04 c0000201 ";
const std::string kMpReachV6 = "90 0e 0015 0002 01 10 20010db8000000000000000000000001 00 ";

struct Rfc7606Case {
    const char* name;
    std::string attrs;
    ErrorAction action;
    uint8_t type;     // the attribute the error is filed under
    uint8_t subcode;  // the subcode filed, or sent for a reset
    bool as4 = true;
    bool internal = true;
    std::string resetData = "";
};
void PrintTo(const Rfc7606Case& c, std::ostream* os) { *os << c.name; }

class Rfc7606Test : public ::testing::TestWithParam<Rfc7606Case> {};

TEST_P(Rfc7606Test, Classifies) {
    const Rfc7606Case& c = GetParam();
    auto u = decodeUpdate(update(c.attrs), {.as4 = c.as4, .internal = c.internal});
    if (c.action == ErrorAction::SessionReset) {
        ASSERT_FALSE(u.ok());
        EXPECT_EQ(u.error(), (Notification{3, c.subcode, hex(c.resetData)}));
        return;
    }
    ASSERT_TRUE(u.ok()) << int(u.error().code) << "/" << int(u.error().subcode);
    EXPECT_EQ(u->action, c.action);
    if (c.action == ErrorAction::None) {
        EXPECT_TRUE(u->errors.empty());
    } else {
        ASSERT_EQ(u->errors.size(), 1u);
        EXPECT_EQ(u->errors[0], (AttributeError{c.type, c.action, c.subcode}));
    }
    EXPECT_EQ(u->nlri.size(), 1u);  // the NLRI is still located
}

using E = ErrorAction;
INSTANTIATE_TEST_SUITE_P(
    Table, Rfc7606Test,
    ::testing::Values(
        Rfc7606Case{"well_formed", O + P + N, E::None, 0, 0},
        Rfc7606Case{"origin_value_3", "40 01 01 03" + P + N, E::TreatAsWithdraw, 1, 6},
        Rfc7606Case{"origin_of_2_bytes", "40 01 02 0000" + P + N, E::TreatAsWithdraw, 1, 5},
        Rfc7606Case{"as_path_segment_type_5", O + "40 02 06 05 01 0000fde9" + N, E::TreatAsWithdraw, 2, 11},
        Rfc7606Case{"as_path_segment_past_its_end", O + "40 02 06 02 02 0000fde9" + N, E::TreatAsWithdraw, 2, 11},
        Rfc7606Case{"as_path_empty_segment", O + "40 02 02 02 00" + N, E::TreatAsWithdraw, 2, 11},
        Rfc7606Case{"as_path_of_2_octets_on_a_4_octet_session", O + "40 02 04 02 01 fde9" + N, E::TreatAsWithdraw, 2,
                    11},
        Rfc7606Case{"next_hop_of_5_bytes", O + P + "40 03 05 c000020101", E::TreatAsWithdraw, 3, 5},
        Rfc7606Case{"med_of_3_bytes", O + P + N + "80 04 03 000064", E::TreatAsWithdraw, 4, 5},
        Rfc7606Case{"local_pref_of_2_bytes", O + P + N + "40 05 02 0064", E::TreatAsWithdraw, 5, 5},
        Rfc7606Case{"local_pref_from_an_external_peer_is_disregarded", O + P + N + "40 05 02 0064", E::None, 0, 0, true,
                    false},
        Rfc7606Case{"atomic_aggregate_of_1_byte", O + P + N + "40 06 01 00", E::AttributeDiscard, 6, 5},
        Rfc7606Case{"aggregator_of_6_bytes_on_a_4_octet_session", O + P + N + "c0 07 06 fde9 c0000202",
                    E::AttributeDiscard, 7, 5},
        Rfc7606Case{"communities_of_3_bytes", O + P + N + "c0 08 03 ffff01", E::TreatAsWithdraw, 8, 9},
        Rfc7606Case{"communities_empty", O + P + N + "c0 08 00", E::TreatAsWithdraw, 8, 9},
        Rfc7606Case{"originator_id_of_3_bytes", O + P + N + "80 09 03 0a0000", E::TreatAsWithdraw, 9, 5},
        Rfc7606Case{"cluster_list_of_6_bytes", O + P + N + "80 0a 06 0a0000020a00", E::TreatAsWithdraw, 10, 5},
        Rfc7606Case{"extended_communities_of_7_bytes", O + P + N + "c0 10 07 00020000000000", E::TreatAsWithdraw, 16,
                    9},
        Rfc7606Case{"origin_flagged_optional", "c0 01 01 00" + P + N, E::TreatAsWithdraw, 1, 4},
        Rfc7606Case{"med_flagged_transitive", O + P + N + "c0 04 04 00000064", E::TreatAsWithdraw, 4, 4},
        Rfc7606Case{"med_twice", O + P + N + "80 04 04 00000064 80 04 04 00000065", E::AttributeDiscard, 4, 1},
        Rfc7606Case{"unknown_optional_non_transitive_ignored", O + P + N + "80 63 01 00", E::None, 0, 0},
        Rfc7606Case{"attribute_past_the_attribute_field", O + P + N + "c0 08 08 ffffff01", E::TreatAsWithdraw, 8, 5},
        Rfc7606Case{"two_bytes_left_over", O + P + N + "c0 08", E::TreatAsWithdraw, 8, 5},
        Rfc7606Case{"next_hop_missing", O + P, E::TreatAsWithdraw, 3, 3},
        Rfc7606Case{"origin_missing", P + N, E::TreatAsWithdraw, 1, 3},
        Rfc7606Case{"as4_path_malformed_on_a_2_octet_session", O + P + N + "c0 11 03 02 01 00", E::AttributeDiscard, 17,
                    9, false},
        Rfc7606Case{"as4_path_with_a_confederation_segment", O + P + N + "c0 11 06 03 01 0000fde9", E::AttributeDiscard,
                    17, 9, false},
        Rfc7606Case{"as4_aggregator_of_6_bytes", O + P + N + "c0 12 06 fde9 c0000202", E::AttributeDiscard, 18, 9,
                    false},
        // Session resets: the NOTIFICATION carries the attribute where RFC 4271 says so.
        Rfc7606Case{"unrecognized_well_known", O + P + N + "40 63 01 00", E::SessionReset, 0, 2, true, true,
                    "40 63 01 00"},
        Rfc7606Case{"mp_reach_twice", O + P + N + kMpReachV6 + kMpReachV6, E::SessionReset, 0, 1},
        Rfc7606Case{"mp_reach_next_hop_of_8_bytes", O + P + N + "80 0e 0d 0002 01 08 0000000000000001 00",
                    E::SessionReset, 0, 9, true, true, "80 0e 0d 0002 01 08 0000000000000001 00"},
        Rfc7606Case{"mp_reach_cut_short", O + P + N + "80 0e 04 0002 01 10", E::SessionReset, 0, 9, true, true,
                    "80 0e 04 0002 01 10"},
        Rfc7606Case{"mp_reach_flagged_well_known", O + P + N + "40 0e 05 0002 01 00 00", E::SessionReset, 0, 4, true,
                    true, "40 0e 05 0002 01 00 00"},
        Rfc7606Case{"mp_unreach_prefix_of_129_bits", O + P + N + "80 0f 05 0002 01 81 00", E::SessionReset, 0, 9, true,
                    true, "80 0f 05 0002 01 81 00"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Rfc7606, TheFirstOfTwoIsKept) {
    auto u = decodeUpdate(update(O + P + N + "80 04 04 00000064 80 04 04 00000065"), {.as4 = true});
    ASSERT_TRUE(u.ok());
    EXPECT_EQ(u->attributes.med, 100u);
}

TEST(Rfc7606, WithoutNlriNoAttributeIsMandatory) {
    auto u = decodeUpdate(update("", "", "18 140000"), {});
    ASSERT_TRUE(u.ok());
    EXPECT_EQ(u->action, ErrorAction::None);
    EXPECT_EQ(u->withdrawn.size(), 1u);
}

struct FieldErrorCase {
    const char* name;
    Bytes body;
    uint8_t subcode;
};
void PrintTo(const FieldErrorCase& c, std::ostream* os) { *os << c.name; }

class UpdateFieldTest : public ::testing::TestWithParam<FieldErrorCase> {};

TEST_P(UpdateFieldTest, ResetsTheSession) {
    auto u = decodeUpdate(message(2, GetParam().body), {});
    ASSERT_FALSE(u.ok());
    EXPECT_EQ(u.error().code, 3);
    EXPECT_EQ(u.error().subcode, GetParam().subcode);
}

INSTANTIATE_TEST_SUITE_P(
    Rfc4271, UpdateFieldTest,
    ::testing::Values(FieldErrorCase{"withdrawn_length_past_the_message", hex("0010 10 0a01 0000"), 1},
                      FieldErrorCase{"attribute_length_past_the_message", hex("0000 0050 40 01 01 00"), 1},
                      FieldErrorCase{"nlri_of_33_bits", updateBody({}, hex(O + P + N), hex("21 0a000000 00")), 10},
                      FieldErrorCase{"nlri_cut_short", updateBody({}, hex(O + P + N), hex("18 1400")), 10},
                      FieldErrorCase{"withdrawn_of_33_bits", hex("0006 21 0a00000000 0000"), 10}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Prefixes, TrailingBitsAreCleared) {
    std::vector<Prefix> out;
    ASSERT_TRUE(decodePrefixes(hex("17 0a0001"), kIpv4Unicast, out));  // 10.0.1.0/23: the last bit is not part of it
    EXPECT_EQ(out[0], Prefix::v4(0x0a000000, 23));
}

}  // namespace
