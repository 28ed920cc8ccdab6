// RIP and RIPng packets against byte strings written from RFC 2453 (sections
// 3.6, 4 and 4.1), RFC 1058 (3.4) and RFC 2080 (2.1, 2.1.1).
#include <gtest/gtest.h>

#include <ostream>

#include "bgp_hex.h"
#include "engine/rip/packet.h"

using namespace engine::rip;
using bgptest::hex;
using bgptest::toHex;

namespace {

// ---- RIP: encode and decode the same bytes --------------------------------

struct RipCase {
    const char* name;
    RipPacket packet;
    const char* bytes;
};
void PrintTo(const RipCase& c, std::ostream* os) { *os << c.name; }

class RipRoundTrip : public ::testing::TestWithParam<RipCase> {};

TEST_P(RipRoundTrip, EncodesAndDecodesTheRfcBytes) {
    const RipCase& c = GetParam();
    EXPECT_EQ(toHex(encodeRip(c.packet)), toHex(hex(c.bytes)));
    auto d = decodeRip(hex(c.bytes));
    ASSERT_TRUE(d.ok()) << d.error();
    EXPECT_EQ(d.value(), c.packet);
}

INSTANTIATE_TEST_SUITE_P(
    Rfc2453, RipRoundTrip,
    ::testing::Values(RipCase{"v2_response_one_route",
                              {Command::Response, 2, std::nullopt, {{2, 7, 0x0A010200, 0xFFFFFF00, 0x0A000001, 3}}},
                              "02 02 0000  0002 0007 0a010200 ffffff00 0a000001 00000003"},
                      RipCase{"v1_response",
                              {Command::Response, 1, std::nullopt, {{2, 0, 0xAC100000, 0, 0, 16}}},
                              "02 01 0000  0002 0000 ac100000 00000000 00000000 00000010"},
                      RipCase{"whole_table_request",
                              {Command::Request, 2, std::nullopt, {{0, 0, 0, 0, 0, 16}}},
                              "01 02 0000  0000 0000 00000000 00000000 00000000 00000010"},
                      RipCase{"simple_password_padded",
                              {Command::Response, 2, "secret", {{2, 0, 0x14000000, 0xFF000000, 0, 1}}},
                              "02 02 0000  ffff 0002 736563726574 00000000000000000000"
                              "            0002 0000 14000000 ff000000 00000000 00000001"},
                      RipCase{"password_of_sixteen_bytes",
                              {Command::Response, 2, "0123456789abcdef", {}},
                              "02 02 0000  ffff 0002 30313233343536373839616263646566"}),
    [](const auto& info) { return std::string(info.param.name); });

// ---- RIP: refused packets --------------------------------------------------

struct RefusedCase {
    const char* name;
    std::string bytes;
    const char* reason;
};
void PrintTo(const RefusedCase& c, std::ostream* os) { *os << c.name; }

std::string entries(int n) {
    std::string s;
    for (int i = 0; i < n; ++i) s += "0002 0000 0a000000 ff000000 00000000 00000001 ";
    return s;
}

class RipRefused : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(RipRefused, GivesTheReason) {
    auto d = decodeRip(hex(GetParam().bytes));
    ASSERT_FALSE(d.ok());
    EXPECT_EQ(d.error(), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Rfc2453, RipRefused,
    ::testing::Values(
        RefusedCase{"empty", "", "shorter than the 4-byte header"},
        RefusedCase{"three_bytes", "020200", "shorter than the 4-byte header"},
        RefusedCase{"truncated_entry", "02020000 0002 0000 0a000000", "length is not 4 + 20 bytes per entry"},
        RefusedCase{"command_3", "03020000", "unknown command"},
        RefusedCase{"command_0", "00020000", "unknown command"}, RefusedCase{"version_0", "02000000", "version 0"},
        RefusedCase{"version_3", "02030000", "version 3"},
        RefusedCase{"v1_header_mbz", "02010001", "must-be-zero bytes of the header are set"},
        RefusedCase{"v1_entry_mask", "02010000 0002 0000 0a000000 ff000000 00000000 00000001",
                    "must-be-zero bytes of an entry are set"},
        RefusedCase{"twenty_six_entries", "02020000" + entries(26), "more than 25 entries"},
        RefusedCase{"auth_not_first", "02020000" + entries(1) + "ffff 0002 00000000000000000000000000000000",
                    "authentication entry is not the first"},
        RefusedCase{"auth_type_3", "02020000 ffff 0003 00000000000000000000000000000000", "authentication type 3"},
        RefusedCase{"auth_in_v1", "02010000 ffff 0002 00000000000000000000000000000000",
                    "authentication entry in a version 1 packet"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(RipDecode, AcceptsTwentyFiveEntries) {
    auto d = decodeRip(hex("02020000" + entries(25)));
    ASSERT_TRUE(d.ok());
    EXPECT_EQ(d->entries.size(), 25u);
}

TEST(RipDecode, WholeTableRequestIsOneEntryOfFamilyZeroAndMetric16) {
    EXPECT_TRUE(isWholeTableRequest(decodeRip(hex("01020000 0000 0000 00000000 00000000 00000000 00000010")).value()));
    EXPECT_FALSE(isWholeTableRequest(decodeRip(hex("01020000 0002 0000 0a000000 ff000000 00000000 00000010")).value()));
    EXPECT_FALSE(isWholeTableRequest(decodeRip(hex("02020000 0000 0000 00000000 00000000 00000000 00000010")).value()));
}

// ---- RIP: entries a response may not use ------------------------------------

struct EntryCase {
    const char* name;
    RipEntry entry;
    const char* problem;  // nullptr: used
};
void PrintTo(const EntryCase& c, std::ostream* os) { *os << c.name; }

class RipEntryCheck : public ::testing::TestWithParam<EntryCase> {};

TEST_P(RipEntryCheck, JudgesTheEntry) {
    const char* p = ripEntryProblem(GetParam().entry);
    if (!GetParam().problem) {
        EXPECT_EQ(p, nullptr) << p;
    } else {
        ASSERT_NE(p, nullptr);
        EXPECT_STREQ(p, GetParam().problem);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rfc2453, RipEntryCheck,
    ::testing::Values(EntryCase{"fine", {2, 0, 0x0A000000, 0xFF000000, 0, 1}, nullptr},
                      EntryCase{"infinity", {2, 0, 0x0A000000, 0xFF000000, 0, 16}, nullptr},
                      EntryCase{"default_route", {2, 0, 0, 0, 0, 1}, nullptr},
                      EntryCase{"metric_0", {2, 0, 0x0A000000, 0xFF000000, 0, 0}, "metric outside 1..16"},
                      EntryCase{"metric_17", {2, 0, 0x0A000000, 0xFF000000, 0, 17}, "metric outside 1..16"},
                      EntryCase{"family_7", {7, 0, 0x0A000000, 0xFF000000, 0, 1}, "address family is not IP"},
                      EntryCase{"multicast", {2, 0, 0xE0000009, 0xFFFFFFFF, 0, 1}, "multicast or reserved address"},
                      EntryCase{"loopback", {2, 0, 0x7F000001, 0xFFFFFFFF, 0, 1}, "loopback address"},
                      EntryCase{"zero_net", {2, 0, 0x00010000, 0xFFFF0000, 0, 1}, "address in 0.0.0.0/8"},
                      EntryCase{"holey_mask", {2, 0, 0x0A000000, 0xFF00FF00, 0, 1}, "mask is not contiguous"},
                      EntryCase{"host_bits", {2, 0, 0x0A000001, 0xFF000000, 0, 1}, "host bits set past the mask"}),
    [](const auto& info) { return std::string(info.param.name); });

// ---- RIPng ---------------------------------------------------------------------

const char* kNextHopThenRoute =
    "02 01 0000"
    "  fe800000000000000000000000000001 0000 00 ff"   // next hop fe80::1
    "  20010db8000100000000000000000000 002a 40 02";  // 2001:db8:1::/64 tag 42 metric 2

TEST(Ripng, EncodesAndDecodesTheRfcBytes) {
    RipngPacket p;
    p.entries.push_back({{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 0, 0, kRipngNextHop});
    p.entries.push_back({{0x20, 0x01, 0x0d, 0xb8, 0, 1}, 42, 64, 2});
    EXPECT_EQ(toHex(encodeRipng(p)), toHex(hex(kNextHopThenRoute)));
    auto d = decodeRipng(hex(kNextHopThenRoute));
    ASSERT_TRUE(d.ok()) << d.error();
    EXPECT_EQ(d.value(), p);
    EXPECT_EQ(ripngNextHopProblem(d->entries[0]), nullptr);
    EXPECT_EQ(ripngEntryProblem(d->entries[1]), nullptr);
}

class RipngRefused : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(RipngRefused, GivesTheReason) {
    auto d = decodeRipng(hex(GetParam().bytes));
    ASSERT_FALSE(d.ok());
    EXPECT_EQ(d.error(), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(Rfc2080, RipngRefused,
                         ::testing::Values(RefusedCase{"two_bytes", "0201", "shorter than the 4-byte header"},
                                           RefusedCase{"truncated_entry", "02010000 20010db8",
                                                       "length is not 4 + 20 bytes per entry"},
                                           RefusedCase{"version_2", "02020000", "version 2"},
                                           RefusedCase{"command_9", "09010000", "unknown command"}),
                         [](const auto& info) { return std::string(info.param.name); });

struct NgEntryCase {
    const char* name;
    RipngEntry entry;
    const char* problem;
};
void PrintTo(const NgEntryCase& c, std::ostream* os) { *os << c.name; }
class RipngEntryCheck : public ::testing::TestWithParam<NgEntryCase> {};

TEST_P(RipngEntryCheck, JudgesTheEntry) {
    const char* p = ripngEntryProblem(GetParam().entry);
    if (!GetParam().problem) {
        EXPECT_EQ(p, nullptr) << p;
    } else {
        ASSERT_NE(p, nullptr);
        EXPECT_STREQ(p, GetParam().problem);
    }
}

INSTANTIATE_TEST_SUITE_P(Rfc2080, RipngEntryCheck,
                         ::testing::Values(NgEntryCase{"fine", {{0x20, 0x01}, 0, 48, 1}, nullptr},
                                           NgEntryCase{"metric_0", {{0x20, 0x01}, 0, 48, 0}, "metric outside 1..16"},
                                           NgEntryCase{"metric_17", {{0x20, 0x01}, 0, 48, 17}, "metric outside 1..16"},
                                           NgEntryCase{
                                               "length_129", {{0x20, 0x01}, 0, 129, 1}, "prefix length past 128"},
                                           NgEntryCase{"multicast", {{0xff, 0x02}, 0, 16, 1}, "multicast prefix"},
                                           NgEntryCase{"link_local", {{0xfe, 0x80}, 0, 64, 1}, "link-local prefix"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Ripng, NextHopOtherThanLinkLocalIsNotUsed) {
    EXPECT_NE(ripngNextHopProblem({{0x20, 0x01}, 0, 0, kRipngNextHop}), nullptr);
}

TEST(Ripng, WholeTableRequest) {
    EXPECT_TRUE(isWholeTableRequest(decodeRipng(hex("01010000 00000000000000000000000000000000 0000 00 10")).value()));
    EXPECT_FALSE(isWholeTableRequest(decodeRipng(hex("01010000 20010000000000000000000000000000 0000 10 10")).value()));
}

TEST(Ripng, EntriesPerPacketFollowTheMtu) {
    EXPECT_EQ(ripngEntriesPerPacket(1500), 72u);  // (1500 - 40 - 8 - 4) / 20
    EXPECT_EQ(ripngEntriesPerPacket(1280), 61u);
    EXPECT_EQ(ripngEntriesPerPacket(10), 1u);
}

TEST(Ripng, AHugePacketDecodesEntryByEntry) {
    std::string s = "02010000";
    for (int i = 0; i < 3000; ++i) s += "20010db8000000000000000000000000 0000 20 01";
    auto d = decodeRipng(hex(s));
    ASSERT_TRUE(d.ok());
    EXPECT_EQ(d->entries.size(), 3000u);
}

}  // namespace
