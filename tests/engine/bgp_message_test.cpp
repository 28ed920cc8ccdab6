// Header, OPEN, NOTIFICATION, KEEPALIVE and ROUTE-REFRESH against byte
// strings written from RFC 4271, 4760, 2918, 6793, 4724, 8654 and 7313.
#include <gtest/gtest.h>

#include <ostream>

#include "bgp_hex.h"
#include "engine/bgp/message.h"

using namespace engine::bgp;
using bgptest::hex;
using bgptest::message;

namespace {

// ---- header --------------------------------------------------------------

struct HeaderCase {
    const char* name;
    Bytes bytes;
    size_t maxSize;
    std::optional<Notification> error;  // nullopt: accepted
};
void PrintTo(const HeaderCase& c, std::ostream* os) { *os << c.name; }

Bytes withHeader(std::string_view marker, uint16_t length, uint8_t type, size_t bodySize) {
    Bytes b = hex(marker);
    b.push_back(uint8_t(length >> 8));
    b.push_back(uint8_t(length));
    b.push_back(type);
    b.resize(b.size() + bodySize, 0);
    return b;
}

class HeaderTest : public ::testing::TestWithParam<HeaderCase> {};

TEST_P(HeaderTest, JudgesTheHeader) {
    const HeaderCase& c = GetParam();
    auto h = decodeHeader(c.bytes, c.maxSize);
    if (c.error) {
        ASSERT_FALSE(h.ok());
        EXPECT_EQ(h.error(), *c.error);
    } else {
        ASSERT_TRUE(h.ok()) << int(h.error().code) << "/" << int(h.error().subcode);
    }
}

const std::string_view kOnes = bgptest::kMarker;

INSTANTIATE_TEST_SUITE_P(
    Rfc4271, HeaderTest,
    ::testing::Values(
        HeaderCase{"keepalive", withHeader(kOnes, 19, 4, 0), 4096, std::nullopt},
        HeaderCase{"marker_with_a_zero_bit", withHeader("fffffffffffffffffffffffffffffffe", 19, 4, 0), 4096,
                   Notification{1, 1, {}}},
        HeaderCase{"length_below_19", withHeader(kOnes, 18, 4, 0), 4096, Notification{1, 2, {0x00, 0x12}}},
        HeaderCase{"length_past_4096", withHeader(kOnes, 4097, 2, 0), 4096, Notification{1, 2, {0x10, 0x01}}},
        HeaderCase{"length_past_4096_extended", withHeader(kOnes, 4097, 2, 0), 65535, std::nullopt},
        HeaderCase{"unknown_type", withHeader(kOnes, 19, 6, 0), 4096, Notification{1, 3, {0x06}}},
        HeaderCase{"type_zero", withHeader(kOnes, 19, 0, 0), 4096, Notification{1, 3, {0x00}}},
        HeaderCase{"keepalive_of_20", withHeader(kOnes, 20, 4, 1), 4096, Notification{1, 2, {0x00, 0x14}}},
        HeaderCase{"open_of_28", withHeader(kOnes, 28, 1, 9), 4096, Notification{1, 2, {0x00, 0x1c}}},
        HeaderCase{"update_of_22", withHeader(kOnes, 22, 2, 3), 4096, Notification{1, 2, {0x00, 0x16}}},
        HeaderCase{"notification_of_20", withHeader(kOnes, 20, 3, 1), 4096, Notification{1, 2, {0x00, 0x14}}},
        HeaderCase{"route_refresh_short_is_left_to_its_decoder", withHeader(kOnes, 19, 5, 0), 4096, std::nullopt}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Frame, WaitsForTheWholeMessageButJudgesTheHeaderAtOnce) {
    Bytes ka = withHeader(kOnes, 19, 4, 0);
    Bytes two = bgptest::cat({ka, ka});
    EXPECT_EQ(nextFrame(ByteView(two).first(18)).length, 0u);
    EXPECT_EQ(nextFrame(two).length, 19u);
    Bytes update = withHeader(kOnes, 30, 2, 11);
    EXPECT_EQ(nextFrame(ByteView(update).first(25)).length, 0u);
    EXPECT_FALSE(nextFrame(ByteView(update).first(25)).error);
    // A length past the limit is answered with only the header in.
    Bytes huge = withHeader(kOnes, 60000, 2, 0);
    Frame f = nextFrame(huge);
    ASSERT_TRUE(f.error);
    EXPECT_EQ(*f.error, (Notification{1, 2, {0xea, 0x60}}));
}

// ---- OPEN ------------------------------------------------------------------

// AS 65536 (so My AS is AS_TRANS), hold 90, identifier 10.0.0.1, and one
// optional parameter per capability.
const Bytes kOpenBody =
    hex("04 5ba0 005a 0a000001"
        "2a"                           // 42 bytes of optional parameters
        "02 06 01 04 0001 00 01"       // multiprotocol IPv4 unicast
        "02 06 01 04 0002 00 01"       // multiprotocol IPv6 unicast
        "02 02 02 00"                  // route refresh
        "02 02 06 00"                  // extended message
        "02 08 40 06 8078 0001 01 80"  // graceful restart: restarting, 120 s, IPv4 unicast forwarding kept
        "02 06 41 04 00010000");       // 4-octet AS 65536

Open expectedOpen() {
    Open o = makeOpen(65536, 90, 0x0a000001);
    o.caps.multiprotocol = {kIpv4Unicast, kIpv6Unicast};
    o.caps.routeRefresh = true;
    o.caps.extendedMessage = true;
    o.caps.gracefulRestart = GracefulRestart{true, false, 120, {{kIpv4Unicast, true}}};
    return o;
}

TEST(Open, EncodesAndDecodesTheBytesOfTheRfcs) {
    Bytes wire = message(1, kOpenBody);
    EXPECT_EQ(bgptest::toHex(encodeOpen(expectedOpen())), bgptest::toHex(wire));
    auto o = decodeOpen(wire);
    ASSERT_TRUE(o.ok());
    EXPECT_EQ(o.value(), expectedOpen());
    EXPECT_EQ(o->asNumber(), 65536u);
    EXPECT_EQ(o->myAs, kAsTrans);
}

TEST(Open, SeveralCapabilitiesInOneParameterAndUnknownOnesKept) {
    Bytes body = hex("04 fde9 0009 c0000201 0c  02 0a 02 00 80 00 41 04 0000fde9");
    auto o = decodeOpen(message(1, body));
    ASSERT_TRUE(o.ok()) << int(o.error().code) << "/" << int(o.error().subcode);
    EXPECT_TRUE(o->caps.routeRefresh);
    ASSERT_EQ(o->caps.other.size(), 1u);
    EXPECT_EQ(o->caps.other[0].code, 0x80);
    EXPECT_EQ(o->asNumber(), 65001u);
}

TEST(Open, ExtendedParameterLengths) {
    // RFC 9072: 255, 255, a 2-byte length (12), then parameters with 2-byte lengths.
    auto o = decodeOpen(message(1, hex("04 fde9 005a 0a000001 ff ff 000c"
                                       "02 0002 02 00"            // route refresh
                                       "02 0004 06 00 02 00")));  // extended message, route refresh again
    ASSERT_TRUE(o.ok()) << int(o.error().code) << "/" << int(o.error().subcode);
    EXPECT_TRUE(o->caps.routeRefresh);
    EXPECT_TRUE(o->caps.extendedMessage);
    auto bad = decodeOpen(message(1, hex("04 fde9 005a 0a000001 ff ff 000d 02 0002 02 00 02 0004 06 00 02 00")));
    ASSERT_FALSE(bad.ok());
    EXPECT_EQ(bad.error().code, 1);
}

struct OpenErrorCase {
    const char* name;
    Bytes body;
    Notification error;
};
void PrintTo(const OpenErrorCase& c, std::ostream* os) { *os << c.name; }

class OpenErrorTest : public ::testing::TestWithParam<OpenErrorCase> {};

TEST_P(OpenErrorTest, AnswersWithTheRightNotification) {
    auto o = decodeOpen(message(1, GetParam().body));
    ASSERT_FALSE(o.ok());
    EXPECT_EQ(o.error(), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Rfc4271, OpenErrorTest,
    ::testing::Values(
        OpenErrorCase{"version_3", hex("03 fde9 005a 0a000001 00"), {2, 1, {0x00, 0x04}}},
        OpenErrorCase{"hold_time_1", hex("04 fde9 0001 0a000001 00"), {2, 6, {}}},
        OpenErrorCase{"hold_time_2", hex("04 fde9 0002 0a000001 00"), {2, 6, {}}},
        OpenErrorCase{"identifier_zero", hex("04 fde9 005a 00000000 00"), {2, 3, {}}},
        OpenErrorCase{"parameter_type_1", hex("04 fde9 005a 0a000001 04 01 02 0000"), {2, 4, {}}},
        OpenErrorCase{"parameters_longer_than_said", hex("04 fde9 005a 0a000001 03 02 02 0200"), {1, 2, {0x00, 0x21}}},
        OpenErrorCase{"parameter_past_the_message", hex("04 fde9 005a 0a000001 02 02 09"), {2, 0, {}}},
        OpenErrorCase{"capability_past_its_parameter", hex("04 fde9 005a 0a000001 04 02 02 41 04"), {2, 0, {}}},
        OpenErrorCase{"multiprotocol_of_3_bytes", hex("04 fde9 005a 0a000001 07 02 05 01 03 000101"), {2, 0, {}}},
        OpenErrorCase{"four_octet_as_of_2_bytes", hex("04 fde9 005a 0a000001 06 02 04 41 02 fde9"), {2, 0, {}}},
        OpenErrorCase{"graceful_restart_odd_length", hex("04 fde9 005a 0a000001 07 02 05 40 03 0078 00"), {2, 0, {}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Open, PeerAsChecked) {
    Open o = makeOpen(65002, 90, 1);
    EXPECT_FALSE(checkPeerOpen(o, 65002));
    EXPECT_FALSE(checkPeerOpen(o, 0));
    auto n = checkPeerOpen(o, 65003);
    ASSERT_TRUE(n);
    EXPECT_EQ(*n, (Notification{2, 2, {}}));
}

struct NegotiateCase {
    const char* name;
    Open ours, theirs;
    bool as4, extended;
    uint16_t hold;
    std::vector<AfiSafi> families;
};
void PrintTo(const NegotiateCase& c, std::ostream* os) { *os << c.name; }

Open openWith(bool as4, bool ext, uint16_t hold, std::vector<AfiSafi> mp) {
    Open o;
    o.holdTime = hold;
    if (as4) o.caps.as4 = 65001;
    o.caps.extendedMessage = ext;
    o.caps.multiprotocol = std::move(mp);
    return o;
}

class NegotiateTest : public ::testing::TestWithParam<NegotiateCase> {};

TEST_P(NegotiateTest, Agrees) {
    const auto& c = GetParam();
    Session s = negotiate(c.ours, c.theirs);
    EXPECT_EQ(s.as4, c.as4);
    EXPECT_EQ(s.extendedMessage, c.extended);
    EXPECT_EQ(s.maxMessage(), c.extended ? 65535u : 4096u);
    EXPECT_EQ(s.holdTime, c.hold);
    EXPECT_EQ(s.keepalive, c.hold / 3);
    EXPECT_EQ(s.families, c.families);
}

INSTANTIATE_TEST_SUITE_P(Capabilities, NegotiateTest,
                         ::testing::Values(NegotiateCase{"both_everything",
                                                         openWith(true, true, 90, {kIpv4Unicast, kIpv6Unicast}),
                                                         openWith(true, true, 9, {kIpv6Unicast, kIpv4Unicast}),
                                                         true,
                                                         true,
                                                         9,
                                                         {kIpv4Unicast, kIpv6Unicast}},
                                           NegotiateCase{"one_side_only",
                                                         openWith(true, true, 9, {kIpv4Unicast, kIpv6Unicast}),
                                                         openWith(false, false, 90, {kIpv4Unicast}),
                                                         false,
                                                         false,
                                                         9,
                                                         {kIpv4Unicast}},
                                           NegotiateCase{"no_multiprotocol_means_ipv4",
                                                         openWith(false, false, 0, {}),
                                                         openWith(false, false, 90, {}),
                                                         false,
                                                         false,
                                                         0,
                                                         {kIpv4Unicast}},
                                           NegotiateCase{"no_common_family",
                                                         openWith(true, false, 30, {kIpv6Unicast}),
                                                         openWith(true, false, 30, {kIpv4Unicast}),
                                                         true,
                                                         false,
                                                         30,
                                                         {}}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- NOTIFICATION, KEEPALIVE, ROUTE-REFRESH --------------------------------

TEST(Notification, Bytes) {
    Bytes cease = message(3, hex("06 02"));
    EXPECT_EQ(encodeNotification({6, 2, {}}), cease);
    EXPECT_EQ(decodeNotification(cease), (Notification{6, 2, {}}));
    Bytes withData = message(3, hex("01 02 0012"));
    EXPECT_EQ(encodeNotification({1, 2, {0x00, 0x12}}), withData);
    EXPECT_EQ(decodeNotification(withData), (Notification{1, 2, {0x00, 0x12}}));
    EXPECT_FALSE(decodeNotification(message(3, hex("06"))));  // 20 bytes: below the minimum
    Notification big{3, 1, Bytes(5000, 7)};
    EXPECT_EQ(encodeNotification(big).size(), 4096u);
}

TEST(RouteRefresh, Bytes) {
    Bytes v6 = message(5, hex("0002 00 01"));
    EXPECT_EQ(encodeRouteRefresh({kIpv6Unicast, 0}), v6);
    auto rr = decodeRouteRefresh(v6);
    ASSERT_TRUE(rr.ok());
    EXPECT_EQ(rr.value(), (RouteRefresh{kIpv6Unicast, 0}));
    Bytes longer = message(5, hex("0001 00 01 00"));
    auto bad = decodeRouteRefresh(longer);
    ASSERT_FALSE(bad.ok());
    EXPECT_EQ(bad.error(), (Notification{7, 1, longer}));
}

}  // namespace
